// The engine on broken and hostile descriptions: every failure must arrive as
// a GenICam exception that says what and where, never as a crash, a hang or
// another exception type, and the node map must keep working afterwards.
#include <gtest/gtest.h>
#include <zip.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <pthread.h>
#include <unistd.h>

#include "GenApi/GenApi.h"

namespace {

namespace fs = std::filesystem;
using namespace GenApi;

// ---------------------------------------------------------------- helpers

::testing::AssertionResult Has(const std::string& text, const std::string& part) {
    if (text.find(part) != std::string::npos) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "'" << text << "' does not mention '" << part << "'";
}

::testing::AssertionResult HasNo(const std::string& text, const std::string& part) {
    if (text.find(part) == std::string::npos) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "'" << text << "' mentions '" << part << "'";
}

// A description with a healthy feature beside whatever broken part `body` adds.
std::string description(const std::string& body) {
    return R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Bad" VendorName="Tests" StandardNameSpace="None" SchemaMajorVersion="1"
    SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
    ProductGuid="00000000-0000-0000-0000-000000000001" VersionGuid="00000000-0000-0000-0000-000000000002"
    xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Category Name="Root"><pFeature>Healthy</pFeature></Category>
  <Integer Name="Healthy"><Value>42</Value></Integer>
  <IntReg Name="HealthyReg"><Address>0x10</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Port Name="Device"/>
)" + body + "\n</RegisterDescription>\n";
}

// The description text of the GenICam exception `f` raises; a failure when it
// raises nothing or something else.
template <class F>
std::string genicamError(F&& f) {
    try {
        f();
    } catch (const GenICam::GenericException& e) {
        return e.GetDescription();
    } catch (const std::exception& e) {
        ADD_FAILURE() << "not a GenICam exception: " << e.what();
        return {};
    } catch (...) {
        ADD_FAILURE() << "not an exception object";
        return {};
    }
    ADD_FAILURE() << "no exception";
    return {};
}

// True when `f` works, false when it raises a GenICam exception; anything
// else escapes and fails the test.
template <class F>
bool worksOrRaisesGenICam(F&& f) {
    try {
        f();
        return true;
    } catch (const GenICam::GenericException&) {
        return false;
    }
}

// The node map still answers after whatever went wrong before.
void expectHealthy(CNodeMapRef& ref) {
    CIntegerPtr healthy = ref._GetNode("Healthy");
    ASSERT_TRUE(healthy.IsValid());
    EXPECT_EQ(healthy->GetValue(), 42);
    CIntegerPtr reg = ref._GetNode("HealthyReg");
    ASSERT_TRUE(reg.IsValid());
    if (IsWritable(reg->GetAccessMode())) {
        reg->SetValue(0x1234);
        EXPECT_EQ(reg->GetValue(), 0x1234);
    }
}

// Runs `f` on a thread with a stack of `bytes`: what a description makes the
// engine do must fit the 1 MiB threads of common platforms, not only a main
// thread's 8 MiB. Exceptions other than GenICam ones fail the test.
void onStackOf(size_t bytes, const std::function<void()>& f) {
    struct Job {
        const std::function<void()>& f;
        std::string error;
    } job{f, {}};
    pthread_attr_t attr;
    ASSERT_EQ(pthread_attr_init(&attr), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attr, bytes), 0);
    pthread_t thread;
    auto run = [](void* p) -> void* {
        auto* j = static_cast<Job*>(p);
        try {
            j->f();
        } catch (const std::exception& e) {
            j->error = e.what();
        } catch (...) {
            j->error = "not an exception object";
        }
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attr, run, &job), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attr);
    EXPECT_EQ(job.error, "");
}

constexpr size_t kSmallStack = 1u << 20;

// The 1-based line of the first occurrence of `what` in `text`.
size_t lineOf(const std::string& text, const std::string& what) {
    size_t at = text.find(what);
    return static_cast<size_t>(std::count(text.begin(), text.begin() + static_cast<ptrdiff_t>(at), '\n')) + 1;
}

int64_t intValue(CNodeMapRef& ref, const char* name) {
    CIntegerPtr p = ref._GetNode(name);
    return p->GetValue();
}

class BadInput : public ::testing::Test {
protected:
    void SetUp() override {
        static std::atomic<int> counter{0};
        dir_ = fs::temp_directory_path() /
               ("quillon_bad_input_" + std::to_string(::getpid()) + "_" + std::to_string(counter++));
        fs::create_directories(dir_);
    }
    void TearDown() override {
        std::error_code ec;
        fs::remove_all(dir_, ec);
    }

    std::string write(const std::string& name, const std::string& bytes) {
        fs::path p = dir_ / name;
        std::ofstream(p, std::ios::binary) << bytes;
        return p.string();
    }

    std::string read(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    }

    // A zip archive of the given members (a name ending in '/' is a folder),
    // deflated by libzip.
    std::string zipOf(const std::vector<std::pair<std::string, std::string>>& members) {
        std::string path = (dir_ / ("archive" + std::to_string(zips_++) + ".zip")).string();
        int error = 0;
        zip_t* z = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
        if (!z) {
            ADD_FAILURE() << "zip_open failed: " << error;
            return {};
        }
        for (const auto& [name, content] : members) {
            if (!name.empty() && name.back() == '/') {
                zip_dir_add(z, name.substr(0, name.size() - 1).c_str(), ZIP_FL_ENC_UTF_8);
                continue;
            }
            zip_source_t* s = zip_source_buffer(z, content.data(), content.size(), 0);
            zip_int64_t index = zip_file_add(z, name.c_str(), s, ZIP_FL_ENC_UTF_8);
            if (index < 0) {
                zip_source_free(s);
                ADD_FAILURE() << "zip_file_add failed";
                continue;
            }
            zip_set_file_compression(z, static_cast<zip_uint64_t>(index), ZIP_CM_DEFLATE, 1);
        }
        if (zip_close(z) != 0) {
            ADD_FAILURE() << "zip_close failed: " << zip_strerror(z);
            zip_discard(z);
        }
        return read(path);
    }

    fs::path dir_;
    int zips_ = 0;
};

// Loads from memory, connects a memory port and checks the healthy part.
struct Loaded {
    explicit Loaded(const std::string& xml) {
        ref._LoadXMLFromString(xml);
        EXPECT_TRUE(ref._Connect(&port));
    }
    CNodeMapRef ref;
    CMemoryPort port;
};

// ---------------------------------------------------------------- malformed XML

TEST_F(BadInput, MalformedXmlNamesTheFileAndTheLine) {
    std::string xml = description("<Integer Name=\"Broken\"><Value>1</Valu></Integer>");
    std::string line = "line " + std::to_string(lineOf(xml, "</Valu>"));
    std::string path = write("mismatch.xml", xml);
    CNodeMapRef ref;
    std::string text = genicamError([&] { ref._LoadXMLFromFile(path); });
    EXPECT_TRUE(Has(text, path));
    EXPECT_TRUE(Has(text, line));
    EXPECT_FALSE(ref._IsValid());
    // A failed load leaves nothing half attached behind.
    ref._LoadXMLFromString(description(""));
    EXPECT_EQ(intValue(ref, "Healthy"), 42);
}

TEST_F(BadInput, UnclosedTagNamesTheFileAndALine) {
    // The Integer is never closed: the parser notices at the root's end tag.
    std::string xml = description("<Integer Name=\"Open\"><Value>1</Value>");
    size_t lines = static_cast<size_t>(std::count(xml.begin(), xml.end(), '\n'));
    std::string path = write("unclosed.xml", xml);
    CNodeMapRef ref;
    std::string text = genicamError([&] { ref._LoadXMLFromFile(path); });
    EXPECT_TRUE(Has(text, path));
    EXPECT_TRUE(Has(text, "line " + std::to_string(lines)));

    // Cut off in the middle of the document.
    std::string truncated = xml.substr(0, xml.size() / 2);
    path = write("truncated.xml", truncated);
    CNodeMapRef ref2;
    text = genicamError([&] { ref2._LoadXMLFromFile(path); });
    EXPECT_TRUE(Has(text, path));
    EXPECT_TRUE(Has(text, "line "));
}

TEST_F(BadInput, LineNumbersCountTheSkippedHeaderLines) {
    // Text before the first '<' is skipped, but it is still part of the file
    // the user opens in an editor.
    std::string xml = "camera dump header\r\nsecond header line\r\n" +
                      description("<Integer Name=\"Broken\"><Value>1</Valu></Integer>");
    std::string path = write("header_and_mismatch.xml", xml);
    CNodeMapRef ref;
    std::string text = genicamError([&] { ref._LoadXMLFromFile(path); });
    EXPECT_TRUE(Has(text, path));
    EXPECT_TRUE(Has(text, "line " + std::to_string(lineOf(xml, "</Valu>"))));
}

TEST_F(BadInput, TextBeforeTheFirstTagIsSkipped) {
    for (const std::string& preamble :
         {std::string("PixeLINK Inc.-PL-B771G - GEV Camera-771001261 (10.130.0.10)\n"), std::string("\xEF\xBB\xBF"),
          std::string("  \r\n\t"), std::string("garbage without a newline ")}) {
        SCOPED_TRACE(preamble);
        CNodeMapRef ref;
        ref._LoadXMLFromString(preamble + description(""));
        CMemoryPort port;
        ref._Connect(&port);
        expectHealthy(ref);
        std::string path = write("preamble.xml", preamble + description(""));
        CNodeMapRef fromFile;
        fromFile._LoadXMLFromFile(path);
        EXPECT_EQ(intValue(fromFile, "Healthy"), 42);
    }
}

TEST_F(BadInput, EmptyInputRaises) {
    for (const std::string& xml : {std::string(), std::string(" \n\t\r\n"), std::string("no markup at all")}) {
        SCOPED_TRACE("'" + xml + "'");
        CNodeMapRef ref;
        std::string text = genicamError([&] { ref._LoadXMLFromString(xml); });
        // Nothing was loaded, so nothing was released either.
        EXPECT_TRUE(HasNo(text, "released"));
        EXPECT_FALSE(ref._IsValid());

        std::string path = write("empty.xml", xml);
        CNodeMapRef fromFile;
        text = genicamError([&] { fromFile._LoadXMLFromFile(path); });
        EXPECT_TRUE(Has(text, path));
        EXPECT_TRUE(HasNo(text, "released"));
    }
    std::string text = genicamError([] { CNodeMapFactory(ContentType_Xml, nullptr, 0); });
    EXPECT_FALSE(text.empty());
    CNodeMapFactory empty;
    EXPECT_TRUE(empty.IsEmpty());
    genicamError([&] { std::unique_ptr<INodeMap>(empty.CreateNodeMap()); });
}

TEST_F(BadInput, MissingFileRaisesNamingIt) {
    std::string path = (dir_ / "does_not_exist.xml").string();
    CNodeMapRef ref;
    EXPECT_TRUE(Has(genicamError([&] { ref._LoadXMLFromFile(path); }), path));
    std::string zipPath = (dir_ / "does_not_exist.zip").string();
    EXPECT_TRUE(Has(genicamError([&] { ref._LoadXMLFromZIPFile(zipPath); }), zipPath));
    // A folder is no file either.
    EXPECT_TRUE(Has(genicamError([&] { ref._LoadXMLFromFile(dir_.string()); }), dir_.string()));
    EXPECT_FALSE(ref._IsValid());
}

TEST_F(BadInput, FilesTooLargeToBeADescriptionAreRefusedUnread) {
    // Sparse files: no disk space, but reading them would take their size in memory.
    for (uintmax_t size : {uintmax_t{65} << 20, uintmax_t{1} << 40}) {
        SCOPED_TRACE(size);
        std::string path = write("huge.xml", description(""));
        std::error_code ec;
        fs::resize_file(path, size, ec);
        if (ec) GTEST_SKIP() << "no sparse file of " << size << " bytes here: " << ec.message();
        CNodeMapRef ref;
        EXPECT_TRUE(Has(genicamError([&] { ref._LoadXMLFromFile(path); }), path));
        EXPECT_TRUE(Has(genicamError([&] { ref._LoadXMLFromZIPFile(path); }), path));
        EXPECT_FALSE(ref._IsValid());
    }
}

TEST_F(BadInput, StrayBytesInTheXmlRaiseOrAreKept) {
    std::string xml = description("<Integer Name=\"Odd\"><ToolTip>a\xFF\xFE" "b</ToolTip><Value>5</Value></Integer>");
    std::string withNul = xml;
    withNul.insert(withNul.find("<Integer Name=\"Odd\""), std::string("\0", 1));
    for (const std::string& text : {xml, withNul, xml.substr(0, xml.size() - 3)}) {
        CNodeMapRef ref;
        if (worksOrRaisesGenICam([&] { ref._LoadXMLFromString(text); })) {
            EXPECT_EQ(intValue(ref, "Healthy"), 42);
        }
    }
}

TEST_F(BadInput, LoadingIntoAnOccupiedReferenceIsRefused) {
    CNodeMapRef ref;
    ref._LoadXMLFromString(description(""));
    CMemoryPort port;
    ref._Connect(&port);
    std::string path = write("second.xml", description(""));
    std::string zip = zipOf({{"second.xml", description("")}});
    genicamError([&] { ref._LoadXMLFromString(description("")); });
    genicamError([&] { ref._LoadXMLFromFile(path); });
    genicamError([&] { ref._LoadXMLFromZIPData(zip.data(), zip.size()); });
    // The first map stays, still connected.
    expectHealthy(ref);
    EXPECT_GT(port.WriteCount(), 0u);
}

TEST_F(BadInput, OtherRootElementsAreRefused) {
    for (const std::string& xml : {std::string("<html><body>camera</body></html>"),
                                   std::string("<?xml version=\"1.0\"?><RegisterDescriptions/>"),
                                   std::string("<?xml version=\"1.0\"?>")}) {
        SCOPED_TRACE(xml);
        std::string path = write("other_root.xml", xml);
        CNodeMapRef ref;
        EXPECT_TRUE(Has(genicamError([&] { ref._LoadXMLFromFile(path); }), path));
    }
}

TEST_F(BadInput, BrokenNodeDefinitionsRaiseAtLoadNamingTheNode) {
    struct Case {
        const char* body;
        const char* mentions;
    };
    for (const Case& c : {
             Case{"<Integer Name=\"Twice\"><Value>1</Value></Integer><Integer Name=\"Twice\"><Value>2</Value></Integer>",
                  "Twice"},
             Case{"<Integer><Value>1</Value></Integer>", "Integer"},
             Case{"<Integer Name=\"NotANumber\"><Value>twelve</Value></Integer>", "NotANumber"},
             Case{"<Integer Name=\"TooBig\"><Value>99999999999999999999999</Value></Integer>", "TooBig"},
             Case{"<Integer Name=\"NoValue\"><Min>1</Min></Integer>", "NoValue"},
             Case{"<Boolean Name=\"Undecided\"><Value>1</Value><OnValue>1</OnValue><OffValue>1</OffValue></Boolean>",
                  "Undecided"},
             Case{"<IntReg Name=\"NoLength\"><Address>0</Address><AccessMode>RO</AccessMode><pPort>Device</pPort>"
                  "</IntReg>",
                  "NoLength"},
             Case{"<IntReg Name=\"HugeLength\"><Address>0</Address><Length>0x7FFFFFFFFFFFFFFF</Length>"
                  "<AccessMode>RO</AccessMode><pPort>Device</pPort></IntReg>",
                  "HugeLength"},
             Case{"<IntReg Name=\"PortIsNoPort\"><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode>"
                  "<pPort>Healthy</pPort></IntReg>",
                  "PortIsNoPort"},
             Case{"<Integer Name=\"Shy\"><Visibility>Shy</Visibility><Value>1</Value></Integer>", "Shy"},
             Case{"<Integer Name=\"OddEvent\"><EventID>12zz</EventID><Value>1</Value></Integer>", "OddEvent"},
             Case{"<Converter Name=\"Half\"><pValue>Healthy</pValue></Converter>", "Half"},
             Case{"<StructReg Comment=\"s\"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
                  "<StructEntry><Bit>1</Bit></StructEntry></StructReg>",
                  "MaskedIntReg"},
         }) {
        SCOPED_TRACE(c.body);
        CNodeMapRef ref;
        EXPECT_TRUE(Has(genicamError([&] { ref._LoadXMLFromString(description(c.body)); }), c.mentions));
    }
}

// ---------------------------------------------------------------- references

TEST_F(BadInput, MissingReferenceNamesBothNodes) {
    for (const char* body : {
             "<Integer Name=\"Dangling\"><pValue>NoSuchNode</pValue></Integer>",
             "<Integer Name=\"Dangling\"><Value>1</Value><pIsAvailable>NoSuchNode</pIsAvailable></Integer>",
             "<Integer Name=\"Dangling\"><Value>1</Value><pMax>NoSuchNode</pMax></Integer>",
             "<IntSwissKnife Name=\"Dangling\"><pVariable Name=\"X\">NoSuchNode</pVariable><Formula>X</Formula>"
             "</IntSwissKnife>",
             "<Category Name=\"Dangling\"><pFeature>NoSuchNode</pFeature></Category>",
             "<IntReg Name=\"Dangling\"><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode>"
             "<pPort>NoSuchNode</pPort></IntReg>",
             "<Enumeration Name=\"Dangling\"><EnumEntry Name=\"A\"><Value>0</Value>"
             "<pIsAvailable>NoSuchNode</pIsAvailable></EnumEntry><Value>0</Value></Enumeration>",
         }) {
        SCOPED_TRACE(body);
        CNodeMapRef ref;
        std::string text = genicamError([&] { ref._LoadXMLFromString(description(body)); });
        EXPECT_TRUE(Has(text, "Dangling"));
        EXPECT_TRUE(Has(text, "NoSuchNode"));
    }
}

TEST_F(BadInput, CyclicValueReferencesRaiseOnRead) {
    Loaded d(description(R"(
  <Integer Name="A"><pValue>B</pValue></Integer>
  <Integer Name="B"><pValue>A</pValue></Integer>
  <Integer Name="Self"><pValue>Self</pValue></Integer>
  <Integer Name="C1"><pValue>C2</pValue></Integer>
  <IntSwissKnife Name="C2"><pVariable Name="X">C3</pVariable><Formula>X + 1</Formula></IntSwissKnife>
  <Enumeration Name="C3"><EnumEntry Name="Zero"><Value>0</Value></EnumEntry><pValue>C1</pValue></Enumeration>
  <Float Name="F1"><pValue>F2</pValue></Float>
  <Converter Name="F2"><FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom><pValue>F1</pValue></Converter>
  <Integer Name="MinCycle"><Value>1</Value><pMin>MinCycle</pMin></Integer>
  <IntReg Name="AddressCycle"><pAddress>AddressCycle</pAddress><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort></IntReg>
  <Integer Name="LockCycle"><Value>1</Value><pIsLocked>LockCycle</pIsLocked></Integer>
)"));
    for (int round = 0; round < 2; ++round) {
        for (const char* name : {"A", "B", "Self", "C1", "C2"}) {
            SCOPED_TRACE(name);
            CIntegerPtr p = d.ref._GetNode(name);
            ASSERT_TRUE(p.IsValid());
            worksOrRaisesGenICam([&] { p->GetAccessMode(); });
            genicamError([&] { p->GetValue(); });
            genicamError([&] { p->ToString(); });
            genicamError([&] { p->SetValue(1); });
        }
        CEnumerationPtr e = d.ref._GetNode("C3");
        genicamError([&] { e->GetIntValue(); });
        genicamError([&] { e->ToString(); });
        for (const char* name : {"F1", "F2"}) {
            SCOPED_TRACE(name);
            CFloatPtr f = d.ref._GetNode(name);
            genicamError([&] { f->GetValue(); });
            genicamError([&] { f->SetValue(1.0); });
            worksOrRaisesGenICam([&] { f->GetMin(); });
        }
        CIntegerPtr minCycle = d.ref._GetNode("MinCycle");
        genicamError([&] { minCycle->GetMin(); });
        genicamError([&] { minCycle->SetValue(1); });
        CIntegerPtr addressCycle = d.ref._GetNode("AddressCycle");
        genicamError([&] { addressCycle->GetValue(); });
        CIntegerPtr lockCycle = d.ref._GetNode("LockCycle");
        worksOrRaisesGenICam([&] { lockCycle->GetAccessMode(); });
        genicamError([&] { lockCycle->SetValue(1); });
        expectHealthy(d.ref);
    }
    // The cycle is named in the message.
    CIntegerPtr a = d.ref._GetNode("A");
    std::string text = genicamError([&] { a->GetValue(); });
    EXPECT_TRUE(text.find("'A'") != std::string::npos || text.find("'B'") != std::string::npos) << text;
}

TEST_F(BadInput, CyclicFormulaVariablesRaiseOnRead) {
    Loaded d(description(R"(
  <SwissKnife Name="S1"><pVariable Name="X">S2</pVariable><Formula>X + 1</Formula></SwissKnife>
  <SwissKnife Name="S2"><pVariable Name="Y">S1</pVariable><Formula>Y * 2</Formula></SwissKnife>
  <IntSwissKnife Name="K1"><pVariable Name="X">K2</pVariable><Formula>X + 1</Formula></IntSwissKnife>
  <IntSwissKnife Name="K2"><pVariable Name="Y">K1</pVariable><Formula>Y * 2</Formula></IntSwissKnife>
  <IntSwissKnife Name="KSelf"><pVariable Name="ME">KSelf</pVariable><Formula>ME</Formula></IntSwissKnife>
  <IntSwissKnife Name="Exprs"><Expression Name="P">Q + 1</Expression><Expression Name="Q">P + 1</Expression>
    <Formula>P</Formula></IntSwissKnife>
  <SwissKnife Name="ExprSelf"><Expression Name="E">E * 2</Expression><Formula>E</Formula></SwissKnife>
)"));
    for (int round = 0; round < 2; ++round) {
        for (const char* name : {"S1", "S2", "ExprSelf"}) {
            SCOPED_TRACE(name);
            CFloatPtr f = d.ref._GetNode(name);
            ASSERT_TRUE(f.IsValid());
            worksOrRaisesGenICam([&] { f->GetAccessMode(); });
            genicamError([&] { f->GetValue(); });
            genicamError([&] { f->ToString(); });
        }
        for (const char* name : {"K1", "K2", "KSelf", "Exprs"}) {
            SCOPED_TRACE(name);
            CIntegerPtr i = d.ref._GetNode(name);
            ASSERT_TRUE(i.IsValid());
            worksOrRaisesGenICam([&] { i->GetAccessMode(); });
            genicamError([&] { i->GetValue(); });
        }
        expectHealthy(d.ref);
    }
}

// ---------------------------------------------------------------- depth

TEST_F(BadInput, LongAcyclicChainsNeverCrash) {
    constexpr int kChain = 5000;
    std::string body;
    for (int i = 0; i < kChain; ++i) {
        std::string next = i + 1 < kChain ? "<pValue>I" + std::to_string(i + 1) + "</pValue>" : "<Value>7</Value>";
        body += "<Integer Name=\"I" + std::to_string(i) + "\">" + next + "</Integer>\n";
    }
    // The same depth through formulas, register addresses and categories.
    for (int i = 0; i < kChain; ++i) {
        std::string var = i + 1 < kChain ? "K" + std::to_string(i + 1) : "Healthy";
        body += "<IntSwissKnife Name=\"K" + std::to_string(i) + "\"><pVariable Name=\"V\">" + var +
                "</pVariable><Formula>V</Formula></IntSwissKnife>\n";
    }
    for (int i = 0; i < kChain; ++i) {
        std::string feature = i + 1 < kChain ? "Cat" + std::to_string(i + 1) : "I0";
        body += "<Category Name=\"Cat" + std::to_string(i) + "\"><pFeature>" + feature + "</pFeature></Category>\n";
    }
    body += "<Category Name=\"More\"><pFeature>Cat0</pFeature></Category>\n";
    std::string xml = description(body);
    xml.replace(xml.find("<pFeature>Healthy</pFeature>"), 0, "<pFeature>More</pFeature>");
    Loaded d(xml);

    onStackOf(kSmallStack, [&] {
        for (int round = 0; round < 20; ++round) {
            for (const char* head : {"I0", "K0"}) {
                CIntegerPtr p = d.ref._GetNode(head);
                int64_t v = 0;
                if (worksOrRaisesGenICam([&] { v = p->GetValue(); })) {
                    EXPECT_EQ(v, std::string(head) == "I0" ? 7 : 42);
                }
                worksOrRaisesGenICam([&] { p->GetAccessMode(); });
                worksOrRaisesGenICam([&] { p->GetMin(); });
                worksOrRaisesGenICam([&] { p->ToString(); });
            }
            // Short tails of the chains must keep working however often the long
            // ones failed before.
            EXPECT_EQ(intValue(d.ref, ("I" + std::to_string(kChain - 20)).c_str()), 7);
            EXPECT_EQ(intValue(d.ref, ("K" + std::to_string(kChain - 20)).c_str()), 42);
        }
    });
    // Features are found however deep the categories nest.
    EXPECT_TRUE(d.ref._GetNode(("Cat" + std::to_string(kChain - 1)).c_str())->IsFeature());
    EXPECT_TRUE(d.ref._GetNode("I0")->IsFeature());
    expectHealthy(d.ref);
}

TEST_F(BadInput, LongExpressionChainsNeverCrash) {
    // Expressions of one formula referring to each other, 5000 deep.
    constexpr int kChain = 5000;
    std::string body = "<IntSwissKnife Name=\"Deep\">";
    for (int i = 0; i < kChain; ++i) {
        std::string next = i + 1 < kChain ? "E" + std::to_string(i + 1) + " + 1" : "1";
        body += "<Expression Name=\"E" + std::to_string(i) + "\">" + next + "</Expression>";
    }
    body += "<Formula>E0</Formula></IntSwissKnife>";
    body += "<IntSwissKnife Name=\"Shallow\"><Expression Name=\"A\">B * 2</Expression>"
            "<Expression Name=\"B\">20 + 1</Expression><Formula>A</Formula></IntSwissKnife>";
    Loaded d(description(body));
    CIntegerPtr deep = d.ref._GetNode("Deep");
    onStackOf(kSmallStack, [&] {
        for (int round = 0; round < 3; ++round) {
            int64_t v = 0;
            if (worksOrRaisesGenICam([&] { v = deep->GetValue(); })) {
                EXPECT_EQ(v, kChain);
            }
        }
    });
    EXPECT_EQ(intValue(d.ref, "Shallow"), 42);
    expectHealthy(d.ref);
}

TEST_F(BadInput, DeeplyNestedGroupsRaiseInsteadOfOverflowing) {
    std::string body;
    for (int i = 0; i < 100000; ++i) body += "<Group Comment=\"g\">";
    body += "<Integer Name=\"Buried\"><Value>1</Value></Integer>";
    for (int i = 0; i < 100000; ++i) body += "</Group>";
    CNodeMapRef ref;
    worksOrRaisesGenICam([&] { ref._LoadXMLFromString(description(body)); });

    // Deep nesting inside a node's property is kept, not walked.
    std::string nested;
    for (int i = 0; i < 100000; ++i) nested += "<Deeper>";
    for (int i = 0; i < 100000; ++i) nested += "</Deeper>";
    CNodeMapRef ref2;
    ref2._LoadXMLFromString(description("<Integer Name=\"Odd\"><Value>5</Value><Extension>" + nested +
                                        "</Extension><Strange>" + nested + "</Strange></Integer>"));
    EXPECT_EQ(intValue(ref2, "Odd"), 5);
}

// ---------------------------------------------------------------- unknown and hostile content

TEST_F(BadInput, UnknownElementsAreIgnored) {
    Loaded d(description(R"(
  <Gizmo Name="Widget"><Value>1</Value></Gizmo>
  <Group Comment="g"><Sprocket Name="Cog"/><Integer Name="InGroup"><Value>3</Value></Integer></Group>
  <Integer Name="Decorated"><Value>5</Value><Sparkle Level="high">yes</Sparkle></Integer>
)"));
    EXPECT_EQ(d.ref._GetNode("Widget"), nullptr);
    EXPECT_EQ(d.ref._GetNode("Cog"), nullptr);
    EXPECT_EQ(intValue(d.ref, "InGroup"), 3);
    EXPECT_EQ(intValue(d.ref, "Decorated"), 5);
    gcstring value, attributes;
    EXPECT_TRUE(d.ref._GetNode("Decorated")->GetProperty("Sparkle", value, attributes));
    EXPECT_EQ(value, "yes");
    EXPECT_TRUE(Has(std::string(attributes), "high"));
    expectHealthy(d.ref);
}

TEST_F(BadInput, EntitiesAreNeverResolved) {
    std::string passwd = read("/etc/passwd");
    std::string firstLine = passwd.substr(0, passwd.find('\n'));
    std::string laughs = "<!ENTITY lol \"lolololololololololololololololololololololololololololol\">\n";
    std::string previous = "lol";
    for (int i = 1; i < 10; ++i) {
        std::string name = "lol" + std::to_string(i);
        laughs += "<!ENTITY " + name + " \"";
        for (int k = 0; k < 10; ++k) laughs += "&" + previous + ";";
        laughs += "\">\n";
        previous = name;
    }
    std::string xml = description(R"(
  <Integer Name="Leak"><ToolTip>&xxe;</ToolTip><Description>&lol9;</Description><Value>1</Value></Integer>
  <StringReg Name="Leak2"><ToolTip>[&xxe;]</ToolTip><Address>0</Address><Length>8</Length>
    <AccessMode>RO</AccessMode><pPort>Device</pPort></StringReg>
)");
    xml.insert(xml.find("<RegisterDescription"), "<!DOCTYPE RegisterDescription [\n"
                                                 "<!ENTITY xxe SYSTEM \"file:///etc/passwd\">\n" +
                                                     laughs + "]>\n");
    CNodeMapRef ref;
    if (!worksOrRaisesGenICam([&] { ref._LoadXMLFromString(xml); })) return;
    for (const char* name : {"Leak", "Leak2"}) {
        INode* n = ref._GetNode(name);
        ASSERT_NE(n, nullptr);
        for (const std::string& text : {std::string(n->GetToolTip()), std::string(n->GetDescription())}) {
            EXPECT_TRUE(HasNo(text, "root:"));
            if (!firstLine.empty()) {
                EXPECT_TRUE(HasNo(text, firstLine));
            }
            EXPECT_LT(text.size(), 4096u) << "an entity was expanded";
        }
    }
}

TEST_F(BadInput, HostileFormulasRaiseOnRead) {
    std::string deepParens = std::string(100000, '(') + "1" + std::string(100000, ')');
    std::string longSum = "1";
    for (int i = 0; i < 20000; ++i) longSum += " + 1";
    Loaded d(description(R"(
  <IntSwissKnife Name="DivZero"><Formula>1 / 0</Formula></IntSwissKnife>
  <IntSwissKnife Name="ModZero"><Formula>7 % 0</Formula></IntSwissKnife>
  <IntSwissKnife Name="VarDivZero"><pVariable Name="Z">Zero</pVariable><Formula>100 / Z</Formula></IntSwissKnife>
  <Integer Name="Zero"><Value>0</Value></Integer>
  <SwissKnife Name="FloatDivZero"><Formula>1.5 / 0</Formula></SwissKnife>
  <IntSwissKnife Name="Minimum"><Formula>(0 - 9223372036854775807 - 1) / (0 - 1)</Formula></IntSwissKnife>
  <IntSwissKnife Name="DeepParens"><Formula>)" + deepParens + R"(</Formula></IntSwissKnife>
  <SwissKnife Name="DeepParensFloat"><Formula>)" + deepParens + R"(</Formula></SwissKnife>
  <IntSwissKnife Name="Unbalanced"><Formula>((((1 + 2</Formula></IntSwissKnife>
  <IntSwissKnife Name="Garbage"><Formula>1 +* / 2 ?? :</Formula></IntSwissKnife>
  <IntSwissKnife Name="Unknown"><Formula>NOBODY + 1</Formula></IntSwissKnife>
  <IntSwissKnife Name="LongSum"><Formula>)" + longSum + R"(</Formula></IntSwissKnife>
  <IntConverter Name="ConvDivZero"><FormulaTo>FROM / 0</FormulaTo><FormulaFrom>TO / 0</FormulaFrom>
    <pValue>HealthyReg</pValue></IntConverter>
  <Converter Name="FloatConvDivZero"><FormulaTo>FROM / 0</FormulaTo><FormulaFrom>TO / 0</FormulaFrom>
    <pValue>HealthyReg</pValue></Converter>
)"));
    for (int round = 0; round < 2; ++round) {
        for (const char* name : {"DivZero", "ModZero", "VarDivZero", "DeepParens", "Unbalanced", "Garbage", "Unknown",
                                 "ConvDivZero"}) {
            SCOPED_TRACE(name);
            CIntegerPtr p = d.ref._GetNode(name);
            ASSERT_TRUE(p.IsValid());
            genicamError([&] { p->GetValue(); });
            genicamError([&] { p->ToString(); });
        }
        for (const char* name : {"FloatDivZero", "DeepParensFloat", "FloatConvDivZero"}) {
            SCOPED_TRACE(name);
            CFloatPtr p = d.ref._GetNode(name);
            ASSERT_TRUE(p.IsValid());
            genicamError([&] { p->GetValue(); });
        }
        CIntegerPtr conv = d.ref._GetNode("ConvDivZero");
        genicamError([&] { conv->SetValue(1, false); });
        CIntegerPtr minimum = d.ref._GetNode("Minimum");
        worksOrRaisesGenICam([&] { minimum->GetValue(); });
        int64_t sum = 0;
        if (worksOrRaisesGenICam([&] { sum = intValue(d.ref, "LongSum"); })) {
            EXPECT_EQ(sum, 20001);
        }
        expectHealthy(d.ref);
    }
}

// ---------------------------------------------------------------- registers

TEST_F(BadInput, IntRegTooLongForAnIntegerRaisesOnReadNotAtLoad) {
    Loaded d(description(R"(
  <IntReg Name="Long"><Address>0x100</Address><Length>100</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <IntReg Name="LongSigned"><Address>0x200</Address><Length>9</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Sign>Signed</Sign><Endianess>BigEndian</Endianess></IntReg>
  <Integer Name="Via"><pValue>Long</pValue></Integer>
  <FloatReg Name="OddFloat"><Address>0x300</Address><Length>6</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort></FloatReg>
  <IntReg Name="Fine"><Address>0x100</Address><Length>8</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort></IntReg>
)"));
    for (const char* name : {"Long", "LongSigned", "Via"}) {
        SCOPED_TRACE(name);
        CIntegerPtr p = d.ref._GetNode(name);
        ASSERT_TRUE(p.IsValid());
        EXPECT_EQ(p->GetAccessMode(), RW);
        EXPECT_TRUE(Has(genicamError([&] { p->GetValue(); }), "Long"));
        genicamError([&] { p->ToString(); });
        genicamError([&] { p->SetValue(0); });
        worksOrRaisesGenICam([&] { p->GetMin(); });
        worksOrRaisesGenICam([&] { p->GetMax(); });
    }
    CFloatPtr odd = d.ref._GetNode("OddFloat");
    genicamError([&] { odd->GetValue(); });
    genicamError([&] { odd->SetValue(1.0); });
    // The same port and addresses work for a register of a sensible size.
    CIntegerPtr fine = d.ref._GetNode("Fine");
    fine->SetValue(0x0102030405060708);
    EXPECT_EQ(fine->GetValue(), 0x0102030405060708);
    expectHealthy(d.ref);
}

TEST_F(BadInput, MaskedIntRegBitsOutsideTheRegisterRaiseOnRead) {
    Loaded d(description(R"(
  <MaskedIntReg Name="Beyond"><Address>0x100</Address><Length>2</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><LSB>20</LSB><MSB>24</MSB><Endianess>LittleEndian</Endianess></MaskedIntReg>
  <MaskedIntReg Name="BeyondBig"><Address>0x100</Address><Length>1</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Bit>9</Bit><Endianess>BigEndian</Endianess></MaskedIntReg>
  <MaskedIntReg Name="Reversed"><Address>0x100</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><LSB>7</LSB><MSB>3</MSB><Endianess>LittleEndian</Endianess></MaskedIntReg>
  <MaskedIntReg Name="HugeRegister"><Address>0x100</Address><Length>16</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><LSB>0</LSB><MSB>3</MSB></MaskedIntReg>
  <MaskedIntReg Name="Inside"><Address>0x100</Address><Length>2</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><LSB>4</LSB><MSB>11</MSB><Endianess>LittleEndian</Endianess></MaskedIntReg>
)"));
    for (const char* name : {"Beyond", "BeyondBig", "Reversed", "HugeRegister"}) {
        SCOPED_TRACE(name);
        CIntegerPtr p = d.ref._GetNode(name);
        ASSERT_TRUE(p.IsValid());
        EXPECT_TRUE(Has(genicamError([&] { p->GetValue(); }), name));
        genicamError([&] { p->SetValue(1, false); });
        worksOrRaisesGenICam([&] { p->GetMin(); });
        worksOrRaisesGenICam([&] { p->GetMax(); });
        worksOrRaisesGenICam([&] { p->ToString(); });
    }
    // A field that fits the same register works, and the failed writes left
    // its bytes alone.
    CIntegerPtr inside = d.ref._GetNode("Inside");
    EXPECT_EQ(inside->GetValue(), 0);
    inside->SetValue(0xAB);
    EXPECT_EQ(inside->GetValue(), 0xAB);
    uint8_t bytes[2] = {};
    d.port.Read(bytes, 0x100, 2);
    EXPECT_EQ(bytes[0], 0xB0);
    EXPECT_EQ(bytes[1], 0x0A);
    expectHealthy(d.ref);
}

TEST_F(BadInput, RegisterLengthsFromNodesAreCheckedOnRead) {
    Loaded d(description(R"(
  <Integer Name="NegativeLength"><Value>-4</Value></Integer>
  <Integer Name="EnormousLength"><Value>0x7FFFFFFFFFFFFFFF</Value></Integer>
  <Register Name="Negative"><Address>0</Address><pLength>NegativeLength</pLength><AccessMode>RW</AccessMode>
    <pPort>Device</pPort></Register>
  <Register Name="Enormous"><Address>0</Address><pLength>EnormousLength</pLength><AccessMode>RW</AccessMode>
    <pPort>Device</pPort></Register>
  <StringReg Name="EnormousText"><Address>0</Address><pLength>EnormousLength</pLength><AccessMode>RW</AccessMode>
    <pPort>Device</pPort></StringReg>
  <IntReg Name="NegativeInt"><Address>0</Address><pLength>NegativeLength</pLength><AccessMode>RW</AccessMode>
    <pPort>Device</pPort></IntReg>
  <Register Name="TopOfMemory"><Address>0xFFFFFFFFFFFFFFFC</Address><Length>8</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort></Register>
)"));
    for (const char* name : {"Negative", "Enormous"}) {
        SCOPED_TRACE(name);
        CRegisterPtr r = d.ref._GetNode(name);
        genicamError([&] { r->GetLength(); });
        genicamError([&] { r->ToString(); });
        uint8_t buffer[4] = {};
        genicamError([&] { r->Get(buffer, 4); });
        genicamError([&] { r->Set(buffer, 4); });
    }
    CStringPtr text = d.ref._GetNode("EnormousText");
    genicamError([&] { text->GetValue(); });
    genicamError([&] { text->SetValue("x"); });
    CIntegerPtr negativeInt = d.ref._GetNode("NegativeInt");
    genicamError([&] { negativeInt->GetValue(); });
    CRegisterPtr top = d.ref._GetNode("TopOfMemory");
    worksOrRaisesGenICam([&] { top->ToString(); });
    expectHealthy(d.ref);
}

TEST_F(BadInput, ConfigurationRomContentsCannotLeadOutOfIt) {
    Loaded d(description(R"(
  <ConfRom Name="Rom"><Address>0x400</Address><Length>64</Length><AccessMode>RO</AccessMode><pPort>Device</pPort>
  </ConfRom>
  <IntKey Name="Vendor"><p1212Parser>Rom</p1212Parser><Key>0x03</Key></IntKey>
  <TextDesc Name="VendorText"><p1212Parser>Rom</p1212Parser><Key>0x81</Key></TextDesc>
)"));
    // Device bytes chosen to point every offset of the ROM somewhere else.
    std::vector<std::vector<uint8_t>> roms = {
        std::vector<uint8_t>(64, 0xFF),
        std::vector<uint8_t>(64, 0x00),
        {0x00, 0, 0, 0, 0xFF, 0xFF, 0, 0, 0x81, 0xFF, 0xFF, 0xFF, 0x03, 0x00, 0x00, 0x01},
        {0x0F, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
        {0x00, 0, 0, 0, 0x00, 0x02, 0, 0, 0x81, 0x00, 0x00, 0x01, 0xFF, 0xFF, 0, 0, 'a', 'b', 'c', 'd'},
    };
    for (const auto& rom : roms) {
        d.port.Write(rom.data(), 0x400, static_cast<int64_t>(rom.size()));
        d.ref._Ptr()->InvalidateNodes();
        CIntegerPtr vendor = d.ref._GetNode("Vendor");
        CStringPtr text = d.ref._GetNode("VendorText");
        worksOrRaisesGenICam([&] { vendor->GetValue(); });
        std::string value;
        if (worksOrRaisesGenICam([&] { value = text->GetValue(); })) {
            EXPECT_LE(value.size(), 64u);
        }
        worksOrRaisesGenICam([&] { text->GetMaxLength(); });
        genicamError([&] { text->SetValue("x"); });
    }
    expectHealthy(d.ref);
}

TEST_F(BadInput, ValuesFromBadTextsRaise) {
    Loaded d(description(R"(
  <Integer Name="Int"><Value>5</Value><Min>0</Min><Max>100</Max></Integer>
  <IntReg Name="Ip"><Address>0x20</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Representation>IPV4Address</Representation></IntReg>
  <IntReg Name="Mac"><Address>0x28</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Representation>MACAddress</Representation></IntReg>
  <Float Name="Real"><Value>1.5</Value><Min>0</Min><Max>10</Max></Float>
  <Enumeration Name="Choice"><EnumEntry Name="One"><Value>1</Value></EnumEntry><Value>1</Value></Enumeration>
  <Boolean Name="Flag"><Value>0</Value></Boolean>
  <Register Name="Block"><Address>0x40</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort></Register>
  <StringReg Name="Text"><Address>0x50</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort></StringReg>
  <Command Name="Go"><Value>0</Value><CommandValue>1</CommandValue></Command>
)"));
    const std::string longText(100000, '7');
    for (const char* name : {"Int", "Ip", "Mac", "Real", "Choice", "Flag", "Block", "Text", "Go"}) {
        SCOPED_TRACE(name);
        CValuePtr v = d.ref._GetNode(name);
        ASSERT_TRUE(v.IsValid());
        std::string before;
        worksOrRaisesGenICam([&] { before = v->ToString(); });
        for (const std::string& bad :
             {std::string("garbage"), std::string(), std::string("0x"), std::string("1e999"), std::string("nan"),
              std::string("-"), std::string("1.2.3"), std::string("256.1.1.1"), std::string("1..2.3"),
              std::string("zz:00:00:00:00:00"), std::string("12:34:56:78:9A:BC:DE"), std::string("0xABCDEFG"),
              std::string("9223372036854775808"), std::string("1e30"), std::string("0x1\0" "2", 4), longText}) {
            worksOrRaisesGenICam([&] { v->FromString(bad); });
        }
        // A rejected text left the value alone or replaced it by a valid one.
        worksOrRaisesGenICam([&] { v->ToString(); });
    }
    for (const std::string& bad : {std::string("garbage"), std::string("9223372036854775808"), std::string("1e30"),
                                   std::string("1.5"), std::string("-9223372036854775809x"), longText}) {
        SCOPED_TRACE(bad);
        CIntegerPtr i = d.ref._GetNode("Int");
        genicamError([&] { i->FromString(bad); });
        EXPECT_EQ(i->GetValue(), 5);
    }
    CFloatPtr real = d.ref._GetNode("Real");
    genicamError([&] { real->FromString("nan"); });
    genicamError([&] { real->FromString("1e999"); });
    EXPECT_EQ(real->GetValue(), 1.5);
    CEnumerationPtr choice = d.ref._GetNode("Choice");
    genicamError([&] { choice->FromString("Two"); });
    genicamError([&] { choice->SetIntValue(2); });
    EXPECT_EQ(choice->ToString(), "One");
    CStringPtr text = d.ref._GetNode("Text");
    genicamError([&] { text->SetValue("longer than four"); });
    CRegisterPtr block = d.ref._GetNode("Block");
    uint8_t buffer[8] = {};
    genicamError([&] { block->Set(buffer, 8); });
    genicamError([&] { block->Get(buffer, 3); });
    genicamError([&] { block->FromString("0x0102"); });
    genicamError([&] { block->FromString("0x0102030G"); });
    expectHealthy(d.ref);
}

TEST_F(BadInput, IntegerTextsOutsideInt64AreRefusedAtLoad) {
    for (const char* value : {"9223372036854775808", "18446744073709551616", "1e30", "-1e30", "1e999", "1.5", "nan",
                              "inf", "0x1FFFFFFFFFFFFFFFF", "12abc", "99999999999999999999999999999"}) {
        SCOPED_TRACE(value);
        CNodeMapRef ref;
        std::string body = "<Integer Name=\"Edge\"><Value>" + std::string(value) + "</Value></Integer>";
        if (!Has(genicamError([&] { ref._LoadXMLFromString(description(body)); }), "Edge")) {
            ADD_FAILURE() << "loaded as " << intValue(ref, "Edge");
            continue;
        }
        // The same reference loads a sound description afterwards.
        ref._LoadXMLFromString(description(""));
        EXPECT_EQ(intValue(ref, "Healthy"), 42);
    }
    struct Case {
        const char* text;
        int64_t value;
    };
    for (const Case& c : {Case{"-9223372036854775808", INT64_MIN}, Case{"9223372036854775807", INT64_MAX},
                          Case{"0xFFFFFFFFFFFFFFFF", -1}, Case{"1.0", 1}, Case{"-2e3", -2000}, Case{" 12 ", 12}}) {
        SCOPED_TRACE(c.text);
        CNodeMapRef ref;
        ref._LoadXMLFromString(description("<Integer Name=\"Edge\"><Value>" + std::string(c.text) + "</Value></Integer>"));
        EXPECT_EQ(intValue(ref, "Edge"), c.value);
    }
}

// ---------------------------------------------------------------- zip archives

TEST_F(BadInput, ZipMemberInflatingPast64MiBIsRefused) {
    std::string bomb(65u << 20, '\0');
    std::string zip = zipOf({{"bomb.xml", bomb}});
    bomb.clear();
    bomb.shrink_to_fit();
    ASSERT_LT(zip.size(), 1u << 20) << "zeros should deflate well";
    CNodeMapRef ref;
    EXPECT_TRUE(Has(genicamError([&] { ref._LoadXMLFromZIPData(zip.data(), zip.size()); }), "bomb.xml"));
    std::string path = write("bomb.zip", zip);
    std::string text = genicamError([&] { ref._LoadXMLFromZIPFile(path); });
    EXPECT_TRUE(Has(text, path));
    EXPECT_TRUE(Has(text, "bomb.xml"));
    // Loaded as plain XML, the archive is recognised by its signature.
    EXPECT_TRUE(Has(genicamError([&] { ref._LoadXMLFromFile(path); }), "bomb.xml"));
    EXPECT_FALSE(ref._IsValid());
}

TEST_F(BadInput, ZipDirectoryLyingAboutTheSizeIsRefused) {
    std::string bomb(65u << 20, ' ');
    std::string zip = zipOf({{"liar.xml", bomb}});
    bomb.clear();
    bomb.shrink_to_fit();
    // Claim 4 KiB in the local header and in the central directory.
    auto patch32 = [&](size_t at, uint32_t v) {
        for (int i = 0; i < 4; ++i) zip[at + static_cast<size_t>(i)] = static_cast<char>(v >> (8 * i));
    };
    ASSERT_EQ(zip.compare(0, 4, "PK\x03\x04"), 0);
    patch32(22, 4096);
    size_t central = zip.find(std::string("PK\x01\x02", 4));
    ASSERT_NE(central, std::string::npos);
    patch32(central + 24, 4096);
    // What really comes out is counted, whatever the directory says.
    CNodeMapRef ref;
    EXPECT_TRUE(Has(genicamError([&] { ref._LoadXMLFromZIPData(zip.data(), zip.size()); }), "liar.xml"));
    EXPECT_FALSE(ref._IsValid());
}

TEST_F(BadInput, ZipWithoutADescriptionSaysSo) {
    std::string zip = zipOf({{"__MACOSX/", ""},
                             {"__MACOSX/._camera.xml", std::string("\0\x05\x16\x07junk", 8)},
                             {"folder/._camera.xml", "resource fork"},
                             {"readme.txt", "no description here"}});
    CNodeMapRef ref;
    std::string text = genicamError([&] { ref._LoadXMLFromZIPData(zip.data(), zip.size()); });
    EXPECT_TRUE(Has(text, ".xml"));
    std::string path = write("junk.zip", zip);
    text = genicamError([&] { ref._LoadXMLFromZIPFile(path); });
    EXPECT_TRUE(Has(text, path));
    EXPECT_TRUE(Has(text, ".xml"));

    // With the description beside the junk, the description is taken.
    std::string good = zipOf({{"__MACOSX/", ""},
                              {"__MACOSX/._camera.xml", "junk"},
                              {"camera.xml", description("")}});
    CNodeMapRef loaded;
    loaded._LoadXMLFromZIPData(good.data(), good.size());
    EXPECT_EQ(intValue(loaded, "Healthy"), 42);
}

TEST_F(BadInput, BrokenZipArchivesRaise) {
    std::string good = zipOf({{"camera.xml", description("")}});
    ASSERT_FALSE(good.empty());
    std::vector<std::pair<std::string, std::string>> cases = {
        {"not a zip", "this is not a zip archive at all"},
        {"empty", ""},
        {"truncated", good.substr(0, good.size() / 2)},
        {"signature only", std::string("PK\x03\x04", 4)},
    };
    // A flipped byte in the deflated data fails the checksum or the inflater.
    std::string corrupt = good;
    auto le16 = [&](size_t at) { return size_t{static_cast<uint8_t>(good[at])} | size_t{static_cast<uint8_t>(good[at + 1])} << 8; };
    size_t dataAt = 30 + le16(26) + le16(28);
    for (size_t i = dataAt; i < dataAt + 16 && i < corrupt.size(); ++i) corrupt[i] = static_cast<char>(corrupt[i] ^ 0x5A);
    cases.emplace_back("corrupt", corrupt);
    for (const auto& [what, bytes] : cases) {
        SCOPED_TRACE(what);
        CNodeMapRef ref;
        genicamError([&] { ref._LoadXMLFromZIPData(bytes.data(), bytes.size()); });
        std::string path = write("broken.zip", bytes);
        CNodeMapRef fromFile;
        EXPECT_TRUE(Has(genicamError([&] { fromFile._LoadXMLFromZIPFile(path); }), path));
    }
    CNodeMapRef ref;
    genicamError([&] { ref._LoadXMLFromZIPData(nullptr, 0); });
}

} // namespace
