// The generated access code is real code: every generic feature call that the
// property box shows for a row of the simulated camera's tree is pasted into
// one C++ program, compiled with the system g++ against qorvis.h, linked with
// the built libraries and run on a simulated system; the values it reads and
// writes are checked.
//
// Left out, as they are not meant to compile: one-line calls (they name the
// feature bare, after its older constant), sequence targets (their names are
// empty), 64-bit enumeration size declarations (the "QOR_INT6464" spelling),
// and control blocks of integers shown as IPv4 or MAC addresses, whose value
// text is the dotted or dash-separated address.
//
// A session of edits on the browsed camera, recorded as code, runs last: the
// program's camera must then hold what the edits left on the browsed one.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "GenApi/Pointer.h"
#include "browser/property_box.h"
#include "browser/text_tree.h"
#include "inspect/property_text.h"
#include "inspect/session_code.h"
#include "inspect/snippet_generator.h"
#include "inspect/value_commit.h"
#include "inspect_support.h"
#include "qorvis.h"
#include "types/integer_display.h"

using namespace quillon::inspect;
namespace fs = std::filesystem;

namespace {

struct Piece {
    std::string id;   // "<phase>:<feature>"
    std::string code; // the generated lines, then what prints their result
};

// Puts `print` in front of the block's last line when that line releases a
// buffer, so the value is printed while it exists; else after the block.
std::string WithPrint(const std::string& block, const std::string& print) {
    size_t last = block.rfind("\tdelete [] ");
    if (last == std::string::npos) return block + print;
    return block.substr(0, last) + print + block.substr(last);
}

std::string PrintFor(GenApi::INode* node, const std::string& id) {
    std::string name(node->GetName());
    std::string unit;
    GenApi::EInterfaceType type = node->GetPrincipalInterfaceType();
    if (type == GenApi::intfIInteger) unit = std::string(GenApi::CIntegerPtr(node)->GetUnit());
    if (type == GenApi::intfIFloat) unit = std::string(GenApi::CFloatPtr(node)->GetUnit());
    std::string var = VariableName(name, unit);
    // Nothing is printed after a failed read: the variable holds no value.
    std::string head =
        "\tif (!QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, 0)) std::printf(\"VALUE " + id + " ";
    switch (type) {
    case GenApi::intfIInteger:
    case GenApi::intfIBoolean:
        return head + "%lld\\n\", (long long)" + var + ");\n";
    case GenApi::intfIFloat:
        return head + "%.17g\\n\", " + var + ");\n";
    case GenApi::intfIString:
    case GenApi::intfIEnumeration:
        return head + "%.*s\\n\", (int)" + var + "StringSize, " + var + "Ptr);\n";
    case GenApi::intfIRegister:
        return head + "%lld %d\\n\", (long long)" + var + "Size, (int)p" + var + "[1]);\n";
    default:
        return {};
    }
}

bool AddressRepresentation(GenApi::INode* node) {
    GenApi::CIntegerPtr integer(node);
    if (!integer.IsValid()) return false;
    GenApi::ERepresentation r = quillon::browser::DisplayRepresentation(
        std::string(node->GetName()), integer->GetRepresentation());
    return r == GenApi::IPV4Address || r == GenApi::MACAddress;
}

std::string Program(const std::vector<Piece>& pieces) {
    std::string p =
        "#include <cstdio>\n#include \"qorvis.h\"\n\n"
        "static QOR_ID QorSystem = 0;\nstatic QOR_ID QorDigitizer = 0;\n\n"
        "static void Report(const char* id) {\n"
        "\tchar text[256] = \"\";\n"
        "\tQOR_INT code = QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, 0);\n"
        "\tif (code) QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT_SUB_1 + Q_TEXT, text);\n"
        "\tstd::printf(\"RESULT %s %lld %s\\n\", id, (long long)code, text);\n"
        "\tQappControl(Q_DEFAULT_APPLICATION, Q_ERROR_RESET, Q_DEFAULT);\n"
        "}\n\n";
    for (size_t i = 0; i < pieces.size(); ++i)
        p += "static void Snippet" + std::to_string(i) + "() {\n" + pieces[i].code + "}\n\n";
    p +=
        "int main() {\n"
        "\tQappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);\n"
        "\tQsysAlloc(Q_DEFAULT_APPLICATION, Q_SYSTEM_SIMULATED, Q_DEFAULT, 0, &QorSystem);\n"
        "\tQdigAlloc(QorSystem, Q_DEFAULT, QOR_TEXT(\"DEFAULT\"), 0, &QorDigitizer);\n"
        "\tif (!QorSystem || !QorDigitizer) { std::printf(\"ALLOCATION FAILED\\n\"); return 2; }\n";
    for (size_t i = 0; i < pieces.size(); ++i)
        p += "\tSnippet" + std::to_string(i) + "();\n\tReport(\"" + pieces[i].id + "\");\n";
    p += "\tQdigFree(QorDigitizer);\n\tQsysFree(QorSystem);\n\tstd::printf(\"DONE\\n\");\n\treturn "
         "0;\n}\n";
    return p;
}

bool HaveCompiler() {
    return std::system("command -v g++ >/dev/null 2>&1") == 0;
}

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

} // namespace

TEST(SnippetCompile, GeneratedCameraCodeCompilesRunsAndAccessesTheFeatures) {
    if (!HaveCompiler()) GTEST_SKIP() << "g++ is not installed";

    // The browsed camera holds values other than the power-on ones, so the
    // generated control blocks carry them to the program's own camera and
    // its inquire blocks must read them back.
    quillon_inspect_test::Camera c;
    GenApi::CIntegerPtr(c.node("Width"))->SetValue(640);
    GenApi::CBooleanPtr(c.node("ReverseX"))->SetValue(true);
    GenApi::CStringPtr(c.node("DeviceUserID"))->SetValue("Quillon");
    GenApi::CFloatPtr(c.node("BlackLevel"))->SetValue(1.25);
    GenApi::CEnumerationPtr(c.node("PixelFormat"))->FromString("Mono12");
    GenApi::CIntegerPtr(c.node("TorvexScratch"))->SetValue(0x12345678);
    GenApi::CEnumerationPtr(c.node("GainSelector"))->FromString("DigitalAll");
    GenApi::CFloatPtr(c.node("Gain"))->SetValue(3.5);

    // What the window's property box shows for every row of the tree: a
    // selected feature's code sets its selector first.
    quillon::browser::TextTree tree;
    quillon::browser::FeatureTreeModel model(tree, nullptr);
    quillon::browser::NodeMapEntry entry;
    entry.context.nodeMap = c.camera.nodeMap();
    model.Build({entry}, quillon::browser::kGuru);
    std::vector<Piece> controls, inquires, commands;
    Piece widthAgain;
    int features = 0;
    for (const quillon::browser::FeatureRow& row : model.featureRows()) {
        if (!row.treeItem) continue;
        GenApi::INode* node = row.node;
        std::string name(node->GetName());
        SnippetTexts t = quillon::browser::RowSnippets(model, row);
        if (t.controlBlock.empty() && t.inquireBlock.empty()) continue;
        ++features;
        ASSERT_FALSE(t.showOneLine) << name; // the camera's features have no older constants
        const bool command = node->GetPrincipalInterfaceType() == GenApi::intfICommand;
        if (t.showControl && !t.controlBlock.empty() && !AddressRepresentation(node) &&
            t.controlBlock.find("QOR_INT6464") == std::string::npos)
            (command ? commands : controls).push_back({"control:" + name, t.controlBlock});
        if (t.showInquire && !t.inquireBlock.empty() &&
            t.inquireBlock.find("QOR_INT6464") == std::string::npos) {
            std::string id = "inquire:" + name;
            inquires.push_back({id, WithPrint(t.inquireBlock, PrintFor(node, id))});
            if (name == "Width")
                widthAgain = {"after:Width",
                              WithPrint(t.inquireBlock, PrintFor(node, "after:Width"))};
        }
    }
    EXPECT_GE(features, 100);
    ASSERT_FALSE(widthAgain.id.empty());
    // Settings first, then every read, then the commands (a reset last), then
    // one read that shows what the commands did.
    std::stable_partition(commands.begin(), commands.end(),
                          [](const Piece& p) { return p.id != "control:DeviceReset"; });
    std::vector<Piece> pieces = controls;
    pieces.insert(pieces.end(), inquires.begin(), inquires.end());
    pieces.insert(pieces.end(), commands.begin(), commands.end());
    pieces.push_back(widthAgain);
    // Gain's own lines must choose its selector's entry: the selector is
    // moved to another one just before Gain is read.
    auto gain = std::find_if(pieces.begin(), pieces.end(),
                             [](const Piece& p) { return p.id == "inquire:Gain"; });
    ASSERT_NE(gain, pieces.end());
    pieces.insert(
        gain, {"move:GainSelector",
               "\tQdigControlFeature(QorDigitizer, Q_FEATURE_VALUE, QOR_TEXT(\"GainSelector\"), "
               "Q_TYPE_STRING, QOR_TEXT(\"AnalogAll\"));\n"});

    // Five edits as the window commits them; LineInverter's step must set
    // LineSelector first, as the browsed camera had it when it was edited.
    SessionCode session;
    quillon::browser::NodeMapContext context;
    context.nodeMap = c.camera.nodeMap();
    GenApi::CEnumerationPtr(c.node("LineSelector"))->FromString("Line2");
    const char* edits[][2] = {{"Width", "800"},
                              {"PixelFormat", "Mono16"},
                              {"GainSelector", "AnalogAll"},
                              {"Gain", "4.5"},
                              {"LineInverter", "1"}};
    for (const auto& [name, value] : edits) {
        ASSERT_TRUE(CommitValue(c.node(name), name, value, context).written) << name;
        session.Record(c.node(name), Q_DIGITIZER_OBJECT);
    }
    GenApi::CEnumerationPtr(c.node("LineSelector"))->FromString("Line0");
    pieces.push_back({"session", session.Text()});
    // Read back under whatever selectors the session left.
    for (const char* name :
         {"Width", "PixelFormat", "GainSelector", "Gain", "LineSelector", "LineInverter"}) {
        GenApi::INode* node = c.node(name);
        const std::string id = std::string("session:") + name;
        const SnippetTexts own =
            GenerateSnippets(node, MakeSnippetRequest(node, Q_DIGITIZER_OBJECT));
        pieces.push_back({id, WithPrint(own.inquireBlock, PrintFor(node, id))});
    }

    fs::path dir = fs::temp_directory_path() / ("quillon_snippets_" + std::to_string(::getpid()));
    fs::create_directories(dir);
    {
        std::ofstream out(dir / "snippets.cpp");
        out << Program(pieces);
    }
    std::string compile = "g++ -std=c++17 -w -I\"" QUILLON_SOURCE_DIR "/qorvis\" \"" +
                          (dir / "snippets.cpp").string() +
                          "\" \"" QORVIS_LIB "\" \"" GENAPI_LIB "\" " QORVIS_LINK_FLAGS " -o \"" +
                          (dir / "snippets").string() + "\" >\"" + (dir / "compile.log").string() +
                          "\" 2>&1";
    ASSERT_EQ(std::system(compile.c_str()), 0)
        << ReadFile(dir / "compile.log") << "\nprogram: " << (dir / "snippets.cpp");
    std::string run = "ASAN_OPTIONS=detect_leaks=0 \"" + (dir / "snippets").string() + "\" >\"" +
                      (dir / "run.log").string() + "\" 2>&1";
    int status = std::system(run.c_str());
    std::string output = ReadFile(dir / "run.log");
    ASSERT_EQ(status, 0) << output;
    ASSERT_NE(output.find("DONE\n"), std::string::npos) << output;

    std::map<std::string, std::string> results, values;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string kind, id;
        words >> kind >> id;
        std::string rest;
        std::getline(words, rest);
        if (!rest.empty() && rest[0] == ' ') rest.erase(0, 1);
        if (kind == "RESULT") results[id] = rest;
        if (kind == "VALUE") values[id] = rest;
    }
    ASSERT_EQ(results.size(), pieces.size()) << output;

    // Every call succeeds, except on the shutter mode, whose device value
    // matches no entry: its value text is empty and its reads fail.
    for (const auto& [id, result] : results) {
        bool expectedFailure =
            id == "control:SensorShutterMode" || id == "inquire:SensorShutterMode";
        if (expectedFailure)
            EXPECT_NE(result.substr(0, 2), "0 ") << id << ": " << result;
        else
            EXPECT_EQ(result.substr(0, 2), "0 ") << id << ": " << result;
    }
    // Written by the control blocks and read back by the inquire blocks.
    EXPECT_EQ(values["inquire:Width"], "640");
    EXPECT_EQ(values["inquire:ReverseX"], "1");
    EXPECT_EQ(values["inquire:DeviceUserID"], "Quillon");
    EXPECT_EQ(values["inquire:BlackLevel"], "1.25");
    EXPECT_EQ(values["inquire:PixelFormat"], "Mono12");
    EXPECT_EQ(values["inquire:TorvexScratch"], "305419896");
    // Gain is shown under GainSelector: the selector's lines come first, so
    // Gain is read under DigitalAll.
    EXPECT_EQ(values["inquire:GainSelector"], "DigitalAll");
    EXPECT_EQ(values["inquire:Gain"], "3.5");
    // Read as the device has them.
    EXPECT_EQ(values["inquire:Height"], "1024");
    EXPECT_EQ(values["inquire:DeviceVendorName"], "Torvex");
    EXPECT_EQ(values["inquire:GevCurrentIPAddress"], std::to_string(0xC0A80001));
    EXPECT_EQ(values["inquire:LUTValueAll"].substr(0, 4), "256 ");
    // The commands ran: the reset brought the width back to its power-on value.
    EXPECT_TRUE(results.count("control:TriggerSoftware"));
    EXPECT_TRUE(results.count("control:DeviceReset"));
    EXPECT_EQ(values["after:Width"], "1280");
    // The session did again what was done by hand, selectors included.
    EXPECT_EQ(values["session:Width"], "800");
    EXPECT_EQ(values["session:PixelFormat"], "Mono16");
    EXPECT_EQ(values["session:GainSelector"], "AnalogAll");
    EXPECT_EQ(values["session:Gain"], "4.5");
    EXPECT_EQ(values["session:LineSelector"], "Line2");
    EXPECT_EQ(values["session:LineInverter"], "1");

    std::error_code ignored;
    if (!HasFailure()) fs::remove_all(dir, ignored);
}
