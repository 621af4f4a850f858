// The engine on broken and hostile descriptions: every failure arrives as a
// GenICam exception that says what and where, never as a crash, a hang or
// another exception type, and the node map keeps working afterwards.
#include <gtest/gtest.h>
#include <zip.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <utility>

#include <pthread.h>
#include <unistd.h>

#include "engine_support.h"

namespace {

namespace fs = std::filesystem;
using namespace GenApi;
using quillon_test::Device;
using quillon_test::raised;

// A description with healthy nodes beside whatever broken part `body` adds.
std::string description(const std::string& body) {
    return quillon_test_support::Description(
        "<Integer Name=\"Healthy\"><Value>42</Value></Integer><IntReg Name=\"HealthyReg\"><Address>"
        "16</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></"
        "IntReg>\n" +
        body + "\n");
}

// The node map still answers after whatever went wrong before.
void expectHealthy(Device& d) {
    d.play("Healthy?42 HealthyReg=4660 HealthyReg?4660");
}

// Runs `f`: a GenICam exception is an answer, anything else fails the test.
template <class F> void worksOrRaises(F&& f) {
    try {
        f();
    } catch (const GenICam::GenericException&) {
    }
}

// A zip archive of the given members (a name ending in '/' is a folder).
std::string zipOf(const std::vector<std::pair<std::string, std::string>>& members) {
    zip_source_t* out = zip_source_buffer_create(nullptr, 0, 0, nullptr);
    zip_source_keep(out);
    zip_t* z = zip_open_from_source(out, ZIP_TRUNCATE, nullptr);
    for (const auto& [name, bytes] : members)
        if (name.back() == '/')
            zip_dir_add(z, name.substr(0, name.size() - 1).c_str(), 0);
        else
            zip_file_add(z, name.c_str(), zip_source_buffer(z, bytes.data(), bytes.size(), 0), 0);
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
    // The message a load from a file raises must name the file and `part`.
    void expectRefused(const std::string& bytes, const std::string& part, bool zip = false) {
        std::string path = write(zip ? "broken.zip" : "broken.xml", bytes);
        CNodeMapRef ref;
        std::string what = raised([&] {
            if (zip)
                ref._LoadXMLFromZIPFile(path);
            else
                ref._LoadXMLFromFile(path);
        });
        EXPECT_NE(what.find(path), std::string::npos) << what;
        EXPECT_NE(what.find(part), std::string::npos) << what;
        EXPECT_EQ(what.find("released"), std::string::npos) << "nothing was loaded: " << what;
        // From memory too; and the reference still takes a sound description.
        raised([&] {
            if (zip)
                ref._LoadXMLFromZIPData(bytes.data(), bytes.size());
            else
                ref._LoadXMLFromString(bytes);
        });
        EXPECT_FALSE(ref._IsValid());
        ref._LoadXMLFromString(description(""));
        EXPECT_EQ(CIntegerPtr(ref._GetNode("Healthy"))->GetValue(), 42);
    }
};

// A file that is no description raises naming it and, where known, the line
// (counting the text skipped before the first tag).
TEST_F(BadInput, BrokenFilesRaiseNamingTheFileAndTheLine) {
    const std::string broken = description("<Integer Name=\"B\"><Value>1</Valu></Integer>");
    const std::string header = "camera dump header\r\nsecond header line\r\n" + broken;
    const std::string open = description("<Integer Name=\"Open\"><Value>1</Value>");
    auto line = [](const std::string& text, size_t at) {
        return "line " + std::to_string(std::count(text.begin(), text.begin() + at, '\n') + 1);
    };
    expectRefused(broken, line(broken, broken.find("</Valu>")));
    expectRefused(header, line(header, header.find("</Valu>")));
    expectRefused(open, line(open, open.size() - 2));
    expectRefused(open.substr(0, open.size() / 2), "line ");
    expectRefused("<", "line 1");
    for (const char* bytes :
         {"", " \n\t\r\n", "no markup at all", "<html><body>cam</body></html>",
          "<?xml version=\"1.0\"?><RegisterDescriptions/>", "<?xml version=\"1.0\"?>"})
        expectRefused(bytes, "");
    // Missing files, folders, files too large to be read (sparse ones).
    std::string huge = write("huge.xml", ""), large = write("large.xml", "");
    fs::resize_file(huge, uintmax_t{1} << 40);
    fs::resize_file(large, uintmax_t{65} << 20);
    for (const std::string& path : {(dir / "missing.xml").string(), dir.string(), huge, large}) {
        CNodeMapRef ref;
        EXPECT_NE(raised([&] { ref._LoadXMLFromFile(path); }).find(path), std::string::npos);
        EXPECT_NE(raised([&] { ref._LoadXMLFromZIPFile(path); }).find(path), std::string::npos);
    }
    raised([] { CNodeMapFactory(ContentType_Xml, nullptr, 0); });
    raised([] { delete CNodeMapFactory().CreateNodeMap(); });
}

// Text before the first tag is skipped; a reference holding a node map
// refuses another and keeps the first, still connected.
TEST_F(BadInput, PreamblesAreSkippedAndOccupiedReferencesKept) {
    for (std::string preamble : {"PixeLINK Inc.-PL-B771G - GEV Camera-771001261 (10.130.0.10)\n",
                                 "\xEF\xBB\xBF", "  \r\n\t", "garbage without a newline "}) {
        Device fromText(preamble + description("")),
            fromFile(write("p.xml", preamble + description("")));
        expectHealthy(fromText);
        expectHealthy(fromFile);
    }
    Device d(description(""));
    std::string path = write("second.xml", description("")),
                zip = zipOf({{"a.xml", description("")}});
    raised([&] { d.map._LoadXMLFromString(description("")); });
    raised([&] { d.map._LoadXMLFromFile(path); });
    raised([&] { d.map._LoadXMLFromZIPData(zip.data(), zip.size()); });
    expectHealthy(d);
}

// Each case of fixtures/broken/definitions.xml; integer texts inside int64
// are read whatever their notation.
TEST_F(BadInput, BrokenDefinitionsRaiseAtLoadNamingWhatIsWrong) {
    std::ifstream in(quillon_test::fixturePath("broken/definitions.xml"));
    std::string cases((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    int count = 0;
    for (size_t at = cases.find("-->"); (at = cases.find("<!-- ", at)) != std::string::npos;
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
    std::istringstream edges("-9223372036854775808 -9223372036854775808 9223372036854775807 "
                             "9223372036854775807 0xFFFFFFFFFFFFFFFF -1 1.0 1 -2e3 -2000");
    for (std::string text, value; edges >> text >> value;)
        Device(description("<Integer Name=\"E\"><Value> " + text + " </Value></Integer>"))
            .play("E?" + value);
}

// Cycles through values, formulas, expressions, limits, addresses and locks,
// formulas dividing by zero or not parsing raise on every read, again on a
// second round, and never loop.
TEST_F(BadInput, CyclesAndHostileFormulasRaiseOnRead) {
    Device d("hostile.xml");
    for (int round = 0; round < 2; ++round) {
        d.play(R"(
            A?! B?! Self?! C1?! C2?! C3?! F1?! F2?! S1?! S2?! KSelf?! Exprs?! ExprSelf?! A=1! C1=1!
            F1=1! F2=1! MinCycle.min?! MinCycle=1! AddressCycle?! LockCycle=1! DivZero?! ModZero?!
            VarDivZero?! FloatDivZero?! Unbalanced?! Garbage?! Unknown?! ConvDivZero?!
            FloatConvDivZero?! ConvDivZero~1!
        )");
        for (const char* name : {"A", "C1", "F1", "S1", "KSelf", "Exprs", "LockCycle"})
            worksOrRaises([&] { d.node(name)->GetAccessMode(); });
        worksOrRaises([&] { CIntegerPtr(d.node("Minimum"))->GetValue(); });
        expectHealthy(d);
    }
    std::string what = raised([&] { CIntegerPtr(d.node("A"))->GetValue(); });
    EXPECT_TRUE(what.find("'A'") != std::string::npos || what.find("'B'") != std::string::npos)
        << what;
}

// Chains 5000 deep through values, formulas, expressions and categories give
// their value or raise on a thread with a common platform's 1 MiB stack;
// groups nested 100000 deep load or raise; nesting in a property is kept.
TEST_F(BadInput, DeepChainsAndNestingNeverOverflow) {
    std::string body = "<IntSwissKnife Name=\"Deep\"><Formula>E0</Formula>", chains, groups, nested;
    for (int i = 0; i < 5000; ++i) {
        std::string n = std::to_string(i), next = std::to_string(i + 1);
        bool last = i == 4999;
        body += "<Expression Name=\"E" + n + "\">" + (last ? "1" : "E" + next + " + 1") +
                "</Expression>";
        chains += "<Integer Name=\"I" + n + "\">" +
                  (last ? "<Value>7</Value>" : "<pValue>I" + next + "</pValue>") +
                  "</Integer><IntSwissKnife Name=\"K" + n + "\"><pVariable Name=\"V\">" +
                  (last ? "Healthy" : "K" + next) +
                  "</pVariable><Formula>V</Formula></IntSwissKnife>" + "<Category Name=\"C" + n +
                  "\"><pFeature>" + (last ? "I0" : "C" + next) + "</pFeature></Category>";
    }
    std::string xml = description(body + "</IntSwissKnife>" + chains);
    xml.replace(xml.find("<Category Name=\"Root\"/>"), 23,
                "<Category Name=\"Root\"><pFeature>C0</pFeature></Category>");
    Device d(xml);
    std::function<void()> reads = [&] {
        for (auto [head, value] : {std::pair{"I0", 7}, {"K0", 42}, {"Deep", 5000}}) {
            int64_t v = value;
            worksOrRaises([&] { v = CIntegerPtr(d.node(head))->GetValue(); });
            EXPECT_EQ(v, value) << "a value other than the right one";
            worksOrRaises([&] { CIntegerPtr(d.node(head))->GetMin(); });
        }
        d.play("I4980?7 K4980?42 C4999.feature?1 I0.feature?1 Healthy?42");
    };
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstacksize(&attr, 1u << 20);
    pthread_t thread;
    auto run = [](void* f) -> void* {
        return (*static_cast<std::function<void()>*>(f))(), nullptr;
    };
    for (int round = 0; round < 2; ++round) {
        ASSERT_EQ(pthread_create(&thread, &attr, run, &reads), 0);
        pthread_join(thread, nullptr);
    }
    pthread_attr_destroy(&attr);

    for (int i = 0; i < 100000; ++i)
        groups += "<Group Comment=\"g\">", nested += "<Deeper>";
    for (int i = 0; i < 100000; ++i)
        groups += "</Group>", nested += "</Deeper>";
    CNodeMapRef ref;
    worksOrRaises([&] { ref._LoadXMLFromString(description(groups)); });
    Device(description("<Integer Name=\"Odd\"><Value>5</Value><Ext>" + nested + "</Ext></Integer>"))
        .play("Odd?5");
}

// Unknown elements are ignored, and kept as properties.
TEST_F(BadInput, UnknownElementsAreIgnored) {
    Device d("hostile.xml");
    EXPECT_EQ(d.map._GetNode("Widget"), nullptr);
    EXPECT_EQ(d.map._GetNode("Cog"), nullptr);
    d.play("InGroup?3 Decorated?5 Decorated.prop:Sparkle?yes[Level=high] Decorated.prop:Glitter?no");
}

// Registers whose sizes, bit fields, lengths or ROM contents do not fit raise
// on use and leave the bytes around them alone; texts meaning no value raise
// and leave the value as it was.
TEST_F(BadInput, RegistersThatDoNotFitAndBadTextsRaiseOnUse) {
    Device d("hostile.xml");
    d.play(
        R"(
        Empty?!OutOfRange Long.mode?RW Long?!OutOfRange Long=0! Via?! LongSigned?! LongSigned=0!
        OddFloat?! OddFloat=1! Beyond?! Beyond~1! BeyondBig?! Reversed?! HugeRegister?!
        HugeRegister~1! Negative.length?! Negative?! Negative=0x00! Enormous?! EnormousText?!
        EnormousText=x! NegativeInt?! Block=0x0102! Block=0x0102030G! Inside?0 Inside=171
        @0x100?B00A VendorText=x! Int=garbage! Int=9223372036854775808! Int=1e30! Int=1.5! Int?5
        Int=-9223372036854775809x! Real=nan! Real=1e999! Real.f?1.5 Choice=Two! Choice?One
        Text=longer! Ip=1.2.3.4 Ip?1.2.3.4 Mac=01:23:45:67:89:AB Mac?01:23:45:67:89:AB
        Ip=1.2.x.4! Mac=01:23:45:67:89:AG! Ip?1.2.3.4 Mac?01:23:45:67:89:AB
    )");
    uint8_t buffer[8] = {};
    EXPECT_NE(raised([&] { CRegisterPtr(d.node("Block"))->Set(buffer, 8); }).find("'Block'"),
              std::string::npos);
    raised([&] { CRegisterPtr(d.node("Block"))->Get(buffer, 3); });
    raised([&] { CEnumerationPtr(d.node("Choice"))->SetIntValue(2); });
    worksOrRaises([&] { CRegisterPtr(d.node("TopOfMemory"))->ToString(); });
    // Device bytes chosen to point every offset of the ROM somewhere else.
    for (std::string rom : {std::string(128, 'F'), std::string(128, '0'),
                            std::string("00000000FFFF000081FFFFFF03000001"),
                            std::string("0F000000000000000000000000000000"),
                            std::string("000000000002000081000001FFFF000061626364")}) {
        d.play("@0x400=" + rom + " *.invalidate()");
        std::string text;
        worksOrRaises([&] { CIntegerPtr(d.node("Vendor"))->GetValue(); });
        worksOrRaises([&] { text = CStringPtr(d.node("VendorText"))->GetValue(); });
        EXPECT_LE(text.size(), 64u);
    }
    std::vector<std::string> texts = {std::string(100000, '7'),
                                      std::string("0x1\0"
                                                  "2",
                                                  4),
                                      ""};
    std::istringstream words("garbage 0x 1e999 nan - 1.2.3 256.1.1.1 1..2.3 zz:00:00:00:00:00 "
                             "12:34:56:78:9A:BC:DE 0xABCDEFG 9223372036854775808");
    for (std::string word; words >> word;)
        texts.push_back(word);
    for (const char* name : {"Int", "Ip", "Mac", "Real", "Choice", "Flag", "Text", "Go"})
        for (const std::string& bad : texts) {
            worksOrRaises([&] { CValuePtr(d.node(name))->FromString(bad); });
            worksOrRaises([&] { CValuePtr(d.node(name))->ToString(); });
        }
    expectHealthy(d);
}

// Zip members inflating past 64 MiB (whatever the directory claims), archives
// without a description, broken or damaged ones raise; beside junk, the
// description is taken.
TEST_F(BadInput, ZipArchivesThatAreNoDescriptionRaise) {
    std::string bomb = zipOf({{"bomb.xml", std::string(65u << 20, '\0')}}), liar = bomb;
    ASSERT_LT(bomb.size(), 1u << 20);
    liar.replace(22, 4, std::string("\x00\x10\x00\x00", 4));
    liar.replace(liar.find(std::string("PK\x01\x02", 4)) + 24, 4,
                 std::string("\x00\x10\x00\x00", 4));
    std::string good = zipOf({{"camera.xml", description("")}}), corrupt = good;
    // Flipped bytes in the deflated data fail the checksum or the inflater.
    size_t data = 30 + static_cast<uint8_t>(good[26]) + static_cast<uint8_t>(good[28]);
    for (size_t i = data; i < data + 16; ++i)
        corrupt[i] = static_cast<char>(corrupt[i] ^ 0x5A);
    expectRefused(bomb, "bomb.xml", true);
    expectRefused(liar, "bomb.xml", true);
    expectRefused(zipOf({{"__MACOSX/", ""},
                         {"__MACOSX/._camera.xml", std::string("\0\x05\x16\x07junk", 8)},
                         {"folder/._camera.xml", "resource fork"},
                         {"readme.txt", "no description"}}),
                  ".xml", true);
    for (std::string bytes :
         {std::string("not a zip"), std::string(), good.substr(0, good.size() / 2),
          std::string("PK\x03\x04", 4), corrupt})
        expectRefused(bytes, "", true);
    expectRefused(bomb, "bomb.xml"); // recognised by its signature as plain XML
    std::string both = zipOf(
        {{"__MACOSX/", ""}, {"__MACOSX/._camera.xml", "junk"}, {"camera.xml", description("")}});
    CNodeMapRef ref;
    ref._LoadXMLFromZIPData(both.data(), both.size());
    EXPECT_EQ(CIntegerPtr(ref._GetNode("Healthy"))->GetValue(), 42);
}

} // namespace
