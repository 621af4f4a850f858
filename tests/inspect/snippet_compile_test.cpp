// The generated access code is real code: the generic feature calls the
// property box shows for the simulated camera's rows, and a session of edits
// recorded as code, compiled with g++ against qorvis.h, linked with the built
// libraries and run on a simulated system; the values read and written are
// checked. Left out, as not meant to compile: one-line calls, sequence
// targets, "QOR_INT6464" declarations and address integers' control blocks.

#include <unistd.h>

#include <algorithm>
#include <sstream>

#include "browser/property_box.h"
#include "browser/text_tree.h"
#include "inspect/session_code.h"
#include "inspect/snippet_generator.h"
#include "inspect/value_commit.h"
#include "inspect_support.h"
#include "types/integer_display.h"

using namespace quillon::inspect;
namespace fs = std::filesystem;

namespace {

struct Piece {
    std::string id;   // "<phase>:<feature>"
    std::string code; // the generated lines, then what prints their result
};

// The block with a line that prints the value it read (nothing after a failed
// read), put before the line that releases its buffer.
std::string WithPrint(const std::string& block, GenApi::INode* node, const std::string& id) {
    const GenApi::EInterfaceType type = node->GetPrincipalInterfaceType();
    std::string unit;
    if (type == GenApi::intfIInteger) unit = std::string(GenApi::CIntegerPtr(node)->GetUnit());
    if (type == GenApi::intfIFloat) unit = std::string(GenApi::CFloatPtr(node)->GetUnit());
    const std::string var = VariableName(std::string(node->GetName()), unit);
    std::string print =
        "\tif (!QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, 0)) std::printf(\"VALUE " + id;
    if (type == GenApi::intfIFloat)
        print += " %.17g\\n\", " + var + ");\n";
    else if (type == GenApi::intfIString || type == GenApi::intfIEnumeration)
        print += " %.*s\\n\", (int)" + var + "StringSize, " + var + "Ptr);\n";
    else if (type == GenApi::intfIRegister)
        print += " %lld %d\\n\", (long long)" + var + "Size, (int)p" + var + "[1]);\n";
    else
        print += " %lld\\n\", (long long)" + var + ");\n";
    const size_t last = block.rfind("\tdelete [] ");
    return last == std::string::npos ? block + print
                                     : block.substr(0, last) + print + block.substr(last);
}

std::string Program(const std::vector<Piece>& pieces) {
    std::string p =
        "#include <cstdio>\n#include \"qorvis.h\"\n"
        "static QOR_ID QorSystem = 0, QorDigitizer = 0;\n"
        "static void Report(const char* id) {\n\tchar text[256] = \"\";\n"
        "\tQOR_INT code = QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, 0);\n"
        "\tif (code) QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT_SUB_1 + Q_TEXT, text);\n"
        "\tstd::printf(\"RESULT %s %lld %s\\n\", id, (long long)code, text);\n"
        "\tQappControl(Q_DEFAULT_APPLICATION, Q_ERROR_RESET, Q_DEFAULT);\n}\n";
    std::string calls;
    for (size_t i = 0; i < pieces.size(); ++i) {
        p += "static void Snippet" + std::to_string(i) + "() {\n" + pieces[i].code + "}\n";
        calls += "\tSnippet" + std::to_string(i) + "();\n\tReport(\"" + pieces[i].id + "\");\n";
    }
    return p +
           "int main() {\n\tQappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);\n"
           "\tQsysAlloc(Q_DEFAULT_APPLICATION, Q_SYSTEM_SIMULATED, Q_DEFAULT, 0, &QorSystem);\n"
           "\tQdigAlloc(QorSystem, Q_DEFAULT, QOR_TEXT(\"DEFAULT\"), 0, &QorDigitizer);\n" +
           calls +
           "\tQdigFree(QorDigitizer);\n\tQsysFree(QorSystem);\n\tstd::printf(\"DONE\\n\");\n}\n";
}

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path);
    return {std::istreambuf_iterator<char>(in), {}};
}

} // namespace

TEST(SnippetCompile, GeneratedCameraCodeCompilesRunsAndAccessesTheFeatures) {
    if (std::system("command -v g++ >/dev/null 2>&1") != 0) GTEST_SKIP() << "g++ is not installed";
    // The browsed camera holds values other than the power-on ones, so the
    // control blocks carry them to the program's camera, whose reads must see them.
    quillon_inspect_test::Camera c;
    GenApi::CIntegerPtr(c.node("Width"))->SetValue(640);
    GenApi::CBooleanPtr(c.node("ReverseX"))->SetValue(true);
    GenApi::CStringPtr(c.node("DeviceUserID"))->SetValue("Quillon");
    GenApi::CFloatPtr(c.node("BlackLevel"))->SetValue(1.25);
    GenApi::CEnumerationPtr(c.node("PixelFormat"))->FromString("Mono12");
    GenApi::CIntegerPtr(c.node("TorvexScratch"))->SetValue(0x12345678);
    GenApi::CEnumerationPtr(c.node("GainSelector"))->FromString("DigitalAll");
    GenApi::CFloatPtr(c.node("Gain"))->SetValue(3.5);

    // What the property box shows for every row of the tree: settings first,
    // then every read, then the commands (a reset last), then one read that
    // shows what the commands did.
    quillon::browser::TextTree tree;
    quillon::browser::FeatureTreeModel model(tree, nullptr);
    quillon::browser::NodeMapEntry entry;
    entry.context.nodeMap = c.camera.nodeMap();
    model.Build({entry}, quillon::browser::kGuru);
    std::vector<Piece> controls, inquires, commands;
    for (const quillon::browser::FeatureRow& row : model.featureRows()) {
        if (!row.treeItem) continue;
        const std::string name(row.node->GetName());
        const SnippetTexts t = quillon::browser::RowSnippets(model, row);
        ASSERT_FALSE(t.showOneLine) << name; // the camera's features have no older constants
        GenApi::CIntegerPtr integer(row.node);
        const auto shown =
            integer ? quillon::browser::DisplayRepresentation(name, integer->GetRepresentation())
                    : GenApi::PureNumber;
        const bool address = shown == GenApi::IPV4Address || shown == GenApi::MACAddress;
        if (t.showControl && !t.controlBlock.empty() && !address &&
            t.controlBlock.find("6464") == std::string::npos)
            (row.node->GetPrincipalInterfaceType() == GenApi::intfICommand ? commands : controls)
                .push_back({"control:" + name, t.controlBlock});
        if (t.showInquire && !t.inquireBlock.empty() &&
            t.inquireBlock.find("6464") == std::string::npos)
            inquires.push_back(
                {"inquire:" + name, WithPrint(t.inquireBlock, row.node, "inquire:" + name)});
    }
    EXPECT_GE(inquires.size(), 80u);
    std::stable_partition(commands.begin(), commands.end(),
                          [](const Piece& p) { return p.id != "control:DeviceReset"; });
    std::vector<Piece> pieces = controls;
    // Gain's own lines must choose its selector's entry: the selector is
    // moved to another one just before Gain is read.
    for (const Piece& p : inquires) {
        if (p.id == "inquire:Gain")
            pieces.push_back({"move:GainSelector",
                              "\tQdigControlFeature(QorDigitizer, Q_FEATURE_VALUE, "
                              "QOR_TEXT(\"GainSelector\"), Q_TYPE_STRING, "
                              "QOR_TEXT(\"AnalogAll\"));\n"});
        pieces.push_back(p);
    }
    pieces.insert(pieces.end(), commands.begin(), commands.end());

    // Five edits as the window commits them; LineInverter's step must set
    // LineSelector first, as the browsed camera had it when it was edited.
    SessionCode session;
    quillon::browser::NodeMapContext context;
    context.nodeMap = c.camera.nodeMap();
    GenApi::CEnumerationPtr(c.node("LineSelector"))->FromString("Line2");
    // clang-format off
    const std::pair<const char*, const char*> edits[] = {
        {"Width", "800"}, {"PixelFormat", "Mono16"}, {"GainSelector", "AnalogAll"}, {"Gain", "4.5"},
        {"LineInverter", "1"}};
    // clang-format on
    for (const auto& [name, value] : edits) {
        ASSERT_TRUE(CommitValue(c.node(name), name, value, context).written) << name;
        session.Record(c.node(name), Q_DIGITIZER_OBJECT);
    }
    GenApi::CEnumerationPtr(c.node("LineSelector"))->FromString("Line0");
    // Width after the commands, then the session, then what it left.
    const auto read = [&](const char* name, const std::string& id) {
        const SnippetTexts own =
            GenerateSnippets(c.node(name), MakeSnippetRequest(c.node(name), Q_DIGITIZER_OBJECT));
        pieces.push_back({id, WithPrint(own.inquireBlock, c.node(name), id)});
    };
    read("Width", "after:Width");
    pieces.push_back({"session", session.Text()});
    for (const char* name :
         {"Width", "PixelFormat", "GainSelector", "Gain", "LineSelector", "LineInverter"})
        read(name, std::string("session:") + name);

    const fs::path dir =
        fs::temp_directory_path() / ("quillon_snippets_" + std::to_string(::getpid()));
    fs::create_directories(dir);
    std::ofstream(dir / "snippets.cpp") << Program(pieces);
    const std::string compile =
        "g++ -std=c++17 -w -I\"" QUILLON_SOURCE_DIR "/qorvis\" \"" +
        (dir / "snippets.cpp").string() +
        "\" \"" QORVIS_LIB "\" \"" GENAPI_LIB "\" " QORVIS_LINK_FLAGS " -o \"" +
        (dir / "snippets").string() + "\" >\"" + (dir / "compile.log").string() + "\" 2>&1";
    ASSERT_EQ(std::system(compile.c_str()), 0) << ReadFile(dir / "compile.log") << "\n"
                                               << dir / "snippets.cpp";
    const std::string run = "ASAN_OPTIONS=detect_leaks=0 \"" + (dir / "snippets").string() +
                            "\" >\"" + (dir / "run.log").string() + "\" 2>&1";
    ASSERT_EQ(std::system(run.c_str()), 0) << ReadFile(dir / "run.log");
    const std::string output = ReadFile(dir / "run.log");
    std::map<std::string, std::string> results, values;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string kind, id, rest;
        words >> kind >> id;
        std::getline(words, rest);
        if (kind == "RESULT" || kind == "VALUE")
            (kind == "RESULT" ? results : values)[id] = rest.substr(rest.empty() ? 0 : 1);
    }
    ASSERT_EQ(results.size(), pieces.size()) << output;

    // Every call succeeds, except on the shutter mode, whose device value
    // matches no entry: its value text is empty and its reads fail.
    for (const auto& [id, result] : results)
        EXPECT_EQ(result.substr(0, 2) == "0 ", id.find(":SensorShutterMode") == std::string::npos)
            << id << ": " << result;
    // Written by the control blocks and read back by the inquire blocks (Gain
    // under DigitalAll, as its selector's lines come first); read as the
    // device has them; after the commands (the reset brought the width back);
    // and what the session did again, selectors included.
    // clang-format off
    const std::pair<const char*, std::string> expected[] = {
        {"inquire:Width", "640"}, {"inquire:ReverseX", "1"}, {"inquire:DeviceUserID", "Quillon"},
        {"inquire:BlackLevel", "1.25"}, {"inquire:PixelFormat", "Mono12"}, {"inquire:TorvexScratch", "305419896"},
        {"inquire:GainSelector", "DigitalAll"}, {"inquire:Gain", "3.5"}, {"inquire:Height", "1024"},
        {"inquire:DeviceVendorName", "Torvex"}, {"inquire:GevCurrentIPAddress", std::to_string(0xC0A80001)},
        {"after:Width", "1280"}, {"session:Width", "800"},
        {"session:PixelFormat", "Mono16"}, {"session:GainSelector", "AnalogAll"}, {"session:Gain", "4.5"},
        {"session:LineSelector", "Line2"}, {"session:LineInverter", "1"}};
    // clang-format on
    for (const auto& [id, value] : expected)
        EXPECT_EQ(values[id], value) << id;
    EXPECT_EQ(values["inquire:LUTValueAll"].substr(0, 4), "256 "); // the bytes are the program's
    if (!HasFailure()) fs::remove_all(dir);
}
