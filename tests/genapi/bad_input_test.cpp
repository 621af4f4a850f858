// The engine on broken and hostile descriptions: every failure arrives as a
// GenICam exception that says what and where, never as a crash, a hang or
// another exception type, and the node map keeps working afterwards.
#include <gtest/gtest.h>
#include <zip.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <pthread.h>
#include <unistd.h>

#include "engine_support.h"

namespace {

namespace fs = std::filesystem;
using namespace GenApi;
using quillon_test::raised;

// A description with a healthy feature beside whatever broken part `body` adds.
std::string description(const std::string& body) {
    return quillon_test_support::Description(
        "<Integer Name=\"Healthy\"><Value>42</Value></Integer><IntReg Name=\"HealthyReg\">"
        "<Address>0x10</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
        "</IntReg>\n" +
        body + "\n");
}

// The node map still answers after whatever went wrong before.
void expectHealthy(quillon_test::Device& d) {
    d.play("Healthy?42 HealthyReg=4660 HealthyReg?4660");
}

// True when `f` works, false when it raises a GenICam exception; anything
// else escapes and fails the test.
template <class F> bool worksOrRaises(F&& f) {
    try {
        f();
        return true;
    } catch (const GenICam::GenericException&) {
        return false;
    }
}

// Runs `f` on a thread with a 1 MiB stack: what a description makes the
// engine do must fit the threads of common platforms, not only a main
// thread's 8 MiB.
void onSmallStack(const std::function<void()>& f) {
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstacksize(&attr, 1u << 20);
    pthread_t thread;
    auto run = [](void* p) -> void* {
        return (*static_cast<const std::function<void()>*>(p))(), nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attr, run, const_cast<std::function<void()>*>(&f)), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attr);
}

// A zip archive of the given members (a name ending in '/' is a folder).
std::string zipOf(const std::vector<std::pair<std::string, std::string>>& members) {
    zip_source_t* out = zip_source_buffer_create(nullptr, 0, 0, nullptr);
    zip_source_keep(out);
    zip_t* z = zip_open_from_source(out, ZIP_TRUNCATE, nullptr);
    for (const auto& [name, content] : members) {
        if (name.back() == '/')
            zip_dir_add(z, name.substr(0, name.size() - 1).c_str(), 0);
        else
            zip_file_add(z, name.c_str(), zip_source_buffer(z, content.data(), content.size(), 0),
                         0);
    }
    zip_close(z);
    zip_stat_t st;
    zip_source_stat(out, &st);
    std::string bytes(st.size, '\0');
    zip_source_open(out);
    zip_source_read(out, bytes.data(), st.size);
    zip_source_close(out);
    zip_source_free(out);
    return bytes;
}

struct BadInput : ::testing::Test {
    fs::path dir = fs::temp_directory_path() / ("quillon_bad_input_" + std::to_string(::getpid()));
    void SetUp() override { fs::create_directories(dir); }
    void TearDown() override { fs::remove_all(dir); }
    std::string write(const std::string& name, const std::string& bytes) {
        std::ofstream((dir / name).string(), std::ios::binary) << bytes;
        return (dir / name).string();
    }
};

// The 1-based line of the first occurrence of `what` in `text`.
std::string lineOf(const std::string& text, const std::string& what) {
    return "line " +
           std::to_string(std::count(text.begin(), text.begin() + text.find(what), '\n') + 1);
}

// A file that is no description: its path, and where known the line, in
// the message; nothing loaded, and the reference still takes a sound one.
TEST_F(BadInput, BrokenFilesRaiseNamingTheFileAndTheLine) {
    const std::string mismatch = description("<Integer Name=\"Broken\"><Value>1</Valu></Integer>");
    const std::string header = "camera dump header\r\nsecond header line\r\n" + mismatch;
    const std::string unclosed = description("<Integer Name=\"Open\"><Value>1</Value>");
    const struct {
        std::string bytes, mentions;
    } rows[] = {
        {mismatch, lineOf(mismatch, "</Valu>")},
        {header, lineOf(header, "</Valu>")}, // skipped text still counts its lines
        {unclosed, "line " + std::to_string(std::count(unclosed.begin(), unclosed.end(), '\n'))},
        {unclosed.substr(0, unclosed.size() / 2), "line "},
        {"", ""},
        {" \n\t\r\n", ""},
        {"no markup at all", ""},
        {"<html><body>camera</body></html>", ""},
        {"<?xml version=\"1.0\"?><RegisterDescriptions/>", ""},
        {"<?xml version=\"1.0\"?>", ""},
    };
    for (const auto& row : rows) {
        std::string path = write("broken.xml", row.bytes);
        CNodeMapRef ref;
        std::string what = raised([&] { ref._LoadXMLFromFile(path); });
        EXPECT_NE(what.find(path), std::string::npos) << what;
        EXPECT_NE(what.find(row.mentions), std::string::npos) << what;
        EXPECT_EQ(what.find("released"), std::string::npos) << "nothing was loaded: " << what;
        EXPECT_FALSE(ref._IsValid());
        raised([&] { ref._LoadXMLFromString(row.bytes); });
        ref._LoadXMLFromString(description(""));
        EXPECT_EQ(CIntegerPtr(ref._GetNode("Healthy"))->GetValue(), 42);
    }
    // Missing files, folders, files too large to be a description (sparse:
    // reading them would take their size in memory).
    std::string huge = write("huge.xml", description("")), zip = (dir / "missing.zip").string();
    std::string large = write("large.xml", description(""));
    fs::resize_file(huge, uintmax_t{1} << 40);
    fs::resize_file(large, uintmax_t{65} << 20);
    for (const std::string& path : {(dir / "missing.xml").string(), dir.string(), huge, large}) {
        CNodeMapRef ref;
        EXPECT_NE(raised([&] { ref._LoadXMLFromFile(path); }).find(path), std::string::npos);
        EXPECT_NE(raised([&] { ref._LoadXMLFromZIPFile(path); }).find(path), std::string::npos);
    }
    CNodeMapRef ref;
    EXPECT_NE(raised([&] { ref._LoadXMLFromZIPFile(zip); }).find(zip), std::string::npos);
    raised([] { CNodeMapFactory(ContentType_Xml, nullptr, 0); });
    raised([] { delete CNodeMapFactory().CreateNodeMap(); });
}

TEST_F(BadInput, TextBeforeTheFirstTagIsSkippedAndAnOccupiedReferenceKept) {
    for (std::string preamble : {"PixeLINK Inc.-PL-B771G - GEV Camera-771001261 (10.130.0.10)\n",
                                 "\xEF\xBB\xBF", "  \r\n\t", "garbage without a newline "}) {
        quillon_test::Device d(preamble + description(""));
        expectHealthy(d);
        quillon_test::Device fromFile(write("preamble.xml", preamble + description("")));
        expectHealthy(fromFile);
    }
    quillon_test::Device d(description(""));
    std::string path = write("second.xml", description("")),
                zip = zipOf({{"a.xml", description("")}});
    raised([&] { d.map._LoadXMLFromString(description("")); });
    raised([&] { d.map._LoadXMLFromFile(path); });
    raised([&] { d.map._LoadXMLFromZIPData(zip.data(), zip.size()); });
    expectHealthy(d); // the first map stays, still connected
}

// Each case of fixtures/broken/definitions.xml beside healthy nodes; and
// integer texts inside int64 are read whatever their notation.
TEST_F(BadInput, BrokenDefinitionsRaiseAtLoadNamingWhatIsWrong) {
    std::ifstream in(quillon_test::fixturePath("broken/definitions.xml"));
    std::string cases((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    int count = 0;
    for (size_t at = cases.find("-->") + 3; (at = cases.find("<!-- ", at)) != std::string::npos;
         ++count) {
        size_t end = cases.find(" -->", at), next = cases.find("<!-- ", end);
        std::istringstream mentions(cases.substr(at + 5, end - at - 5));
        std::string body = cases.substr(end + 4, next == std::string::npos ? next : next - end - 4);
        CNodeMapRef ref;
        std::string what = raised([&] { ref._LoadXMLFromString(description(body)); });
        for (std::string word; mentions >> word;)
            EXPECT_NE(what.find(word), std::string::npos) << what;
        at = end;
    }
    EXPECT_EQ(count, 34);
    for (auto [text, value] : {std::pair{"-9223372036854775808", "-9223372036854775808"},
                               {"9223372036854775807", "9223372036854775807"},
                               {"0xFFFFFFFFFFFFFFFF", "-1"},
                               {"1.0", "1"},
                               {"-2e3", "-2000"},
                               {" 12 ", "12"}})
        quillon_test::Device(description("<Integer Name=\"Edge\"><Value>" + std::string(text) +
                                         "</Value></Integer>"))
            .play("Edge?" + std::string(value));
}

// Cycles through values, formulas, expressions, limits, addresses and locks
// raise on every read (again on a second round), never loop or overflow.
TEST_F(BadInput, CyclesRaiseOnRead) {
    quillon_test::Device d("hostile.xml");
    for (int round = 0; round < 2; ++round) {
        d.play(R"(A?! B?! Self?! C1?! C2?! C3?! F1?! F2?! S1?! S2?! KSelf?! Exprs?! ExprSelf?!
                  A=1! C1=1! F1=1! F2=1! MinCycle.min?! MinCycle=1! AddressCycle?! LockCycle=1!)");
        for (const char* name : {"A", "C1", "F1", "S1", "KSelf", "Exprs", "LockCycle"})
            worksOrRaises([&] { d.node(name)->GetAccessMode(); });
        expectHealthy(d);
    }
    std::string what = raised([&] { CIntegerPtr(d.node("A"))->GetValue(); });
    EXPECT_TRUE(what.find("'A'") != std::string::npos || what.find("'B'") != std::string::npos)
        << what;
}

// Division by zero, hostile or broken formulas raise on read; a long flat
// formula is no danger.
TEST_F(BadInput, HostileFormulasRaiseOnRead) {
    std::string deep = std::string(100000, '(') + "1" + std::string(100000, ')'), sum = "1";
    for (int i = 0; i < 20000; ++i)
        sum += " + 1";
    quillon_test::Device d("hostile.xml"),
        generated(description("<IntSwissKnife Name=\"Deep\"><Formula>" + deep +
                              "</Formula></IntSwissKnife><SwissKnife Name=\"DeepFloat\"><Formula>" +
                              deep +
                              "</Formula></SwissKnife><IntSwissKnife Name=\"LongSum\"><Formula>" +
                              sum + "</Formula></IntSwissKnife>"));
    for (int round = 0; round < 2; ++round) {
        d.play(R"(DivZero?! ModZero?! VarDivZero?! FloatDivZero?! Unbalanced?! Garbage?! Unknown?!
                  ConvDivZero?! FloatConvDivZero?! ConvDivZero~1!)");
        generated.play("Deep?! DeepFloat?! LongSum?20001");
        worksOrRaises([&] { CIntegerPtr(d.node("Minimum"))->GetValue(); });
        expectHealthy(d);
    }
}

// Chains 5000 deep through values, formulas, expressions and categories
// either work or raise, on a small stack; their short tails keep working.
TEST_F(BadInput, DeepChainsAndNestingNeverOverflow) {
    constexpr int kChain = 5000;
    std::string body = "<IntSwissKnife Name=\"Deep\">", root = "<pFeature>Cat0</pFeature>";
    for (int i = 0; i < kChain; ++i) {
        std::string n = std::to_string(i), next = std::to_string(i + 1);
        bool last = i + 1 == kChain;
        body += "<Expression Name=\"E" + n + "\">" + (last ? "1" : "E" + next + " + 1") +
                "</Expression>";
        body += "<Integer Name=\"I" + n + "\">" +
                (last ? "<Value>7</Value>" : "<pValue>I" + next + "</pValue>") +
                "</Integer><IntSwissKnife Name=\"K" + n + "\"><pVariable Name=\"V\">" +
                (last ? "Healthy" : "K" + next) +
                "</pVariable><Formula>V</Formula></IntSwissKnife>" + "<Category Name=\"Cat" + n +
                "\"><pFeature>" + (last ? "I0" : "Cat" + next) + "</pFeature></Category>";
    }
    // Expressions and nodes of one IntSwissKnife alike: the nodes close it.
    body.insert(body.find("<Integer Name=\"I0\""), "<Formula>E0</Formula></IntSwissKnife>");
    std::string xml = description(body);
    xml.replace(xml.find("<Category Name=\"Root\"/>"), 23,
                "<Category Name=\"Root\">" + root + "</Category>");
    quillon_test::Device d(xml);
    onSmallStack([&] {
        for (int round = 0; round < 3; ++round) {
            for (const char* head : {"I0", "K0", "Deep"}) {
                const int64_t expected = head[0] == 'I' ? 7 : head[0] == 'K' ? 42 : kChain;
                int64_t v = expected;
                worksOrRaises([&] { v = CIntegerPtr(d.node(head))->GetValue(); });
                EXPECT_EQ(v, expected) << "a value other than the right one";
                worksOrRaises([&] { d.node(head)->GetAccessMode(); });
                worksOrRaises([&] { CIntegerPtr(d.node(head))->GetMin(); });
            }
            d.play("I4980?7 K4980?42");
        }
    });
    d.play("Cat4999.feature?1 I0.feature?1");
    expectHealthy(d);

    // Nesting 100000 deep: of groups raises or loads; inside a property it
    // is kept, not walked.
    std::string groups, nested;
    for (int i = 0; i < 100000; ++i)
        groups += "<Group Comment=\"g\">", nested += "<Deeper>";
    groups += "<Integer Name=\"Buried\"><Value>1</Value></Integer>";
    for (int i = 0; i < 100000; ++i)
        groups += "</Group>", nested += "</Deeper>";
    CNodeMapRef ref;
    worksOrRaises([&] { ref._LoadXMLFromString(description(groups)); });
    quillon_test::Device odd(description("<Integer Name=\"Odd\"><Value>5</Value><Extension>" +
                                         nested + "</Extension></Integer>"));
    odd.play("Odd?5");
}

// Unknown elements are ignored (kept as properties); entities, external or
// recursive, are never resolved.
TEST_F(BadInput, UnknownElementsAndEntities) {
    quillon_test::Device d("hostile.xml");
    EXPECT_EQ(d.map._GetNode("Widget"), nullptr);
    EXPECT_EQ(d.map._GetNode("Cog"), nullptr);
    d.play("InGroup?3 Decorated?5 Decorated.prop:Sparkle?'yes[Level=high]'");

    std::string laughs = "<!ENTITY lol \"lolololololololololololololololololol\">\n",
                previous = "lol";
    for (int i = 1; i < 10; ++i) {
        laughs += "<!ENTITY lol" + std::to_string(i) + " \"";
        for (int k = 0; k < 10; ++k)
            laughs += "&" + previous + ";";
        laughs += "\">\n";
        previous = "lol" + std::to_string(i);
    }
    std::string xml = description(R"(
  <Integer Name="Leak"><ToolTip>&xxe;</ToolTip><Description>&lol9;</Description><Value>1</Value></Integer>)");
    xml.insert(xml.find("<RegisterDescription"),
               "<!DOCTYPE RegisterDescription [\n<!ENTITY xxe SYSTEM \"file:///etc/passwd\">\n" +
                   laughs + "]>\n");
    CNodeMapRef ref;
    if (!worksOrRaises([&] { ref._LoadXMLFromString(xml); })) return;
    INode* leak = ref._GetNode("Leak");
    for (std::string text :
         {std::string(leak->GetToolTip()), std::string(leak->GetDescription())}) {
        EXPECT_EQ(text.find("root:"), std::string::npos);
        EXPECT_LT(text.size(), 4096u) << "an entity was expanded";
    }
}

// Registers whose sizes, bit fields, lengths or ROM contents do not fit
// raise on use, not at load, and leave the bytes around them alone.
TEST_F(BadInput, RegistersThatDoNotFitRaiseOnUse) {
    quillon_test::Device d("hostile.xml");
    d.play(
        R"(Long.mode?RW Long?!OutOfRange Long=0! Via?! LongSigned?! LongSigned=0! OddFloat?! OddFloat=1!
              Beyond?! Beyond~1! BeyondBig?! Reversed?! HugeRegister?! HugeRegister~1! Negative.length?!
              Negative?! Negative=0x00! Enormous?! EnormousText?! EnormousText=x! NegativeInt?!
              Block=0x0102! Block=0x0102030G! Inside?0 Inside=171 @0x100?B00A VendorText=x!)");
    uint8_t buffer[8] = {};
    EXPECT_NE(raised([&] { CRegisterPtr(d.node("Block"))->Set(buffer, 8); }).find("'Block'"),
              std::string::npos);
    raised([&] { CRegisterPtr(d.node("Block"))->Get(buffer, 3); });
    worksOrRaises([&] { CRegisterPtr(d.node("TopOfMemory"))->ToString(); });
    // Device bytes chosen to point every offset of the ROM somewhere else.
    for (std::string rom : {"@0x400=" + std::string(128, 'F'), "@0x400=" + std::string(128, '0'),
                            std::string("@0x400=00000000FFFF000081FFFFFF03000001"),
                            std::string("@0x400=0F000000000000000000000000000000"),
                            std::string("@0x400=000000000002000081000001FFFF000061626364")}) {
        d.play(rom + " *.invalidate()");
        std::string text;
        worksOrRaises([&] { CIntegerPtr(d.node("Vendor"))->GetValue(); });
        worksOrRaises([&] { text = CStringPtr(d.node("VendorText"))->GetValue(); });
        EXPECT_LE(text.size(), 64u);
    }
    expectHealthy(d);
}

// Texts that mean no value raise, and leave the value as it was.
TEST_F(BadInput, ValuesFromBadTextsRaise) {
    quillon_test::Device d("hostile.xml");
    d.play(R"(Int=garbage! Int=9223372036854775808! Int=1e30! Int=1.5! Int=-9223372036854775809x!
              Int?5 Real=nan! Real=1e999! Real.f?1.5 Choice=Two! Choice?One Text=longer!
              Ip=1.2.3.4 Ip?1.2.3.4 Mac=01:23:45:67:89:AB Mac?01:23:45:67:89:AB)");
    EXPECT_NE(raised([&] { CEnumerationPtr(d.node("Choice"))->SetIntValue(2); }).find("Choice"),
              std::string::npos);
    // Any text into any value: a rejected one left the value alone or
    // replaced it by a valid one.
    std::vector<std::string> texts = {"garbage",
                                      "",
                                      "0x",
                                      "1e999",
                                      "nan",
                                      "-",
                                      "1.2.3",
                                      "256.1.1.1",
                                      "1..2.3",
                                      "zz:00:00:00:00:00",
                                      "12:34:56:78:9A:BC:DE",
                                      "0xABCDEFG",
                                      "9223372036854775808",
                                      std::string(100000, '7'),
                                      std::string("0x1\0"
                                                  "2",
                                                  4)};
    for (const char* name : {"Int", "Ip", "Mac", "Real", "Choice", "Flag", "Text", "Go"})
        for (const std::string& bad : texts) {
            CValuePtr v = d.node(name);
            worksOrRaises([&] { v->FromString(bad); });
            worksOrRaises([&] { v->ToString(); });
        }
    expectHealthy(d);
}

// A deflated member inflating past 64 MiB is refused, as is one whose
// directory claims 4 KiB: what really comes out is counted.
TEST_F(BadInput, ZipArchivesThatAreNoDescriptionRaise) {
    std::string bomb = zipOf({{"bomb.xml", std::string(65u << 20, '\0')}});
    ASSERT_LT(bomb.size(), 1u << 20);
    std::string liar = bomb;
    auto patch32 = [&](size_t at) { liar.replace(at, 4, std::string("\x00\x10\x00\x00", 4)); };
    patch32(22);
    patch32(liar.find(std::string("PK\x01\x02", 4)) + 24);
    std::string good = zipOf({{"camera.xml", description("")}}), corrupt = good;
    // Flipped bytes in the deflated data fail the checksum or the inflater.
    size_t data = 30 + static_cast<uint8_t>(good[26]) + static_cast<uint8_t>(good[28]);
    for (size_t i = data; i < data + 16; ++i)
        corrupt[i] = static_cast<char>(corrupt[i] ^ 0x5A);
    std::string junk = zipOf({{"__MACOSX/", ""},
                              {"__MACOSX/._camera.xml", std::string("\0\x05\x16\x07junk", 8)},
                              {"folder/._camera.xml", "resource fork"},
                              {"readme.txt", "no description"}});
    const struct {
        std::string bytes, mentions;
    } rows[] = {{bomb, "bomb.xml"},
                {liar, "bomb.xml"},
                {junk, ".xml"},
                {"not a zip at all", ""},
                {"", ""},
                {good.substr(0, good.size() / 2), ""},
                {std::string("PK\x03\x04", 4), ""},
                {corrupt, ""}};
    for (const auto& row : rows) {
        CNodeMapRef ref;
        EXPECT_NE(raised([&] {
                      ref._LoadXMLFromZIPData(row.bytes.data(), row.bytes.size());
                  }).find(row.mentions),
                  std::string::npos);
        std::string path = write("broken.zip", row.bytes),
                    what = raised([&] { ref._LoadXMLFromZIPFile(path); });
        EXPECT_NE(what.find(path), std::string::npos) << what;
        EXPECT_NE(what.find(row.mentions), std::string::npos) << what;
        EXPECT_FALSE(ref._IsValid());
    }
    // Loaded as plain XML, an archive is recognised by its signature.
    CNodeMapRef ref;
    EXPECT_NE(raised([&] { ref._LoadXMLFromFile(write("bomb.zip", bomb)); }).find("bomb.xml"),
              std::string::npos);
    // With a description beside the junk, the description is taken.
    std::string both = zipOf(
        {{"__MACOSX/", ""}, {"__MACOSX/._camera.xml", "junk"}, {"camera.xml", description("")}});
    ref._LoadXMLFromZIPData(both.data(), both.size());
    EXPECT_EQ(CIntegerPtr(ref._GetNode("Healthy"))->GetValue(), 42);
}

} // namespace
