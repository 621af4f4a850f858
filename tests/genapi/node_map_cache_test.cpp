// The node-map cache: a second load of an unchanged description comes from
// the cache and behaves as a fresh parse; a changed source, a truncated or a
// damaged cache file is noticed and the description parsed again.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>

#include "cache/node_map_cache.h"
#include "engine_support.h"
#include "node_map.h"

using namespace GenApi;
namespace fs = std::filesystem;
using GenApi::detail::NodeMapCache;

namespace {

std::string readAll(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void writeAll(const fs::path& p, const std::string& bytes) {
    std::ofstream(p, std::ios::binary | std::ios::trunc) << bytes;
}

struct CacheTest : ::testing::Test {
    fs::path dir = fs::temp_directory_path() / ("quillon-cache-test-" + std::to_string(::getpid()));
    fs::path cacheDir = dir / "cache", xml = dir / "camera.xml";

    void SetUp() override {
        fs::remove_all(dir);
        fs::create_directories(cacheDir);
        fs::copy_file(fs::path(QUILLON_CORPUS_DIR) / "Basler_a2A2600-20gmBAS.xml", xml);
        setenv("GENICAM_CACHE_V3_4", cacheDir.c_str(), 1);
    }
    void TearDown() override {
        unsetenv("GENICAM_CACHE_V3_4");
        fs::remove_all(dir);
    }
    std::unique_ptr<INodeMap> load(ECacheUsage_t usage = CacheUsage_Automatic) {
        return std::unique_ptr<INodeMap>(
            CNodeMapFactory(ContentType_Xml, xml.string(), usage).CreateNodeMap());
    }
    // Loads and says whether the map came from the cache.
    bool loadHits() {
        uint64_t hits = NodeMapCache::hits();
        load();
        return NodeMapCache::hits() == hits + 1;
    }
};

} // namespace

// A rewrite keeping size and time (one clock tick): the content tells.
TEST_F(CacheTest, OnlyAnUnchangedDescriptionComesFromTheCache) {
    EXPECT_FALSE(loadHits());
    EXPECT_TRUE(loadHits());
    std::string text = readAll(xml);
    const auto modified = fs::last_write_time(xml);
    text.replace(text.find("<ToolTip>") + 9, 8, "CHANGED ");
    writeAll(xml, text);
    fs::last_write_time(xml, modified);
    EXPECT_FALSE(loadHits());
    EXPECT_TRUE(loadHits());

    // Nothing is cached without the folder or when the cache is ignored;
    // descriptions in memory are keyed by their content.
    fs::remove_all(cacheDir);
    fs::create_directories(cacheDir);
    unsetenv("GENICAM_CACHE_V3_4");
    load();
    setenv("GENICAM_CACHE_V3_4", cacheDir.c_str(), 1);
    load(CacheUsage_Ignore);
    EXPECT_TRUE(fs::is_empty(cacheDir));
    uint64_t hits = NodeMapCache::hits();
    auto fromMemory = [&] {
        delete CNodeMapFactory(ContentType_Xml, text.data(), text.size()).CreateNodeMap();
    };
    fromMemory();
    fromMemory();
    EXPECT_EQ(NodeMapCache::hits(), hits + 1);
    text.insert(text.find("<ToolTip>") + 9, "X");
    fromMemory();
    EXPECT_EQ(NodeMapCache::hits(), hits + 1);
}

TEST_F(CacheTest, TruncatedOrDamagedCacheFilesAreReplaced) {
    const size_t nodes = load()->GetNumNodes();
    ASSERT_EQ(std::distance(fs::directory_iterator(cacheDir), fs::directory_iterator()), 1);
    fs::path cacheFile = fs::directory_iterator(cacheDir)->path();
    const std::string good = readAll(cacheFile);
    std::vector<std::string> damaged = {good.substr(0, good.size() / 2), good.substr(0, 10), "",
                                        good + "x"};
    // Magic, version, payload size, checksum, payload.
    for (size_t at :
         {size_t{0}, size_t{8}, size_t{16}, size_t{30}, good.size() / 2, good.size() - 1}) {
        damaged.push_back(good);
        damaged.back()[at] ^= 0x40;
    }
    for (const std::string& bytes : damaged) {
        writeAll(cacheFile, bytes);
        uint64_t hits = NodeMapCache::hits();
        EXPECT_EQ(load()->GetNumNodes(), nodes);
        EXPECT_EQ(NodeMapCache::hits(), hits) << "a damaged cache must not be used";
        EXPECT_EQ(readAll(cacheFile), good) << "the parse rewrote a sound cache file";
    }
}

// Every bit counts, and nothing past the end, with either checksum (the portable one serves where
// the processor has no CRC instruction).
TEST(CacheChecksum, EveryBitOfEveryByteCounts) {
    std::string bytes(100, '\0');
    for (auto sum : {&NodeMapCache::checksum, &NodeMapCache::checksumPortable}) {
        const uint64_t clean = sum(bytes.data(), bytes.size());
        for (size_t at = 0; at < bytes.size(); ++at)
            for (int bit : {0, 7}) {
                bytes[at] ^= static_cast<char>(1 << bit);
                EXPECT_NE(sum(bytes.data(), bytes.size()), clean)
                    << "byte " << at << " bit " << bit;
                bytes[at] ^= static_cast<char>(1 << bit);
            }
        // And only the bytes given: what follows them does not.
        const uint64_t head = sum(bytes.data(), 64);
        bytes[70] = 'x';
        EXPECT_EQ(sum(bytes.data(), 64), head);
        bytes[70] = '\0';
    }
}

namespace {

// A node map over patterned memory, counting each node's callbacks.
struct Mapped {
    CMemoryPort port;
    std::unique_ptr<INodeMap> map;
    NodeList_t nodes;
    std::map<std::string, int> fired;
    explicit Mapped(INodeMap* m) : map(m) {
        // Bytes that differ by address: byte order and addresses show.
        std::string pattern(1 << 16, '\0');
        for (size_t i = 0; i < pattern.size(); ++i)
            pattern[i] = static_cast<char>(i * 37 + i / 256);
        port.Write(pattern.data(), 0, static_cast<int64_t>(pattern.size()));
        map->GetNodes(nodes);
        for (INode* n : nodes) {
            if (n->GetPrincipalInterfaceType() == intfIPort) map->Connect(&port, n->GetName());
            Register(n, [this](INode* c) { ++fired[std::string(c->GetName())]; });
        }
    }
};

// Changes a node as a user would, or selects `value` and reads the selected.
std::string change(INode* n, const int64_t* value = nullptr) {
    std::string t;
    quillon_test::answer(t, [&]() -> std::string {
        std::string selected;
        if (!IsWritable(n->GetAccessMode())) return "";
        if (CEnumerationPtr e = n) {
            NodeList_t entries;
            e->GetEntries(entries);
            if (value)
                e->SetIntValue(*value);
            else if (!entries.empty())
                e->SetIntValue(CEnumEntryPtr(entries.back())->GetValue());
        } else if (CIntegerPtr i = n) {
            i->SetValue(value ? *value : i->GetValue() != i->GetMax() ? i->GetMax() : i->GetMin());
        } else if (CFloatPtr f = n) {
            f->SetValue(f->GetValue() != f->GetMax() ? f->GetMax() : f->GetMin());
        } else if (CBooleanPtr b = n) {
            b->SetValue(!b->GetValue());
        } else if (CCommandPtr c = n) {
            c->Execute();
        }
        FeatureList_t features;
        if (value) CSelectorPtr(n)->GetSelectedFeatures(features);
        for (IValue* f : features)
            selected += quillon_test::NodeAnswers(f->GetNode());
        return "done " + selected;
    });
    return t;
}

std::vector<fs::path> descriptions() {
    std::vector<fs::path> files;
    for (const char* dir : {QUILLON_CORPUS_DIR, QUILLON_FIXTURE_DIR})
        for (const auto& e : fs::directory_iterator(dir))
            if (e.path().extension() == ".xml" || e.path().extension() == ".zip")
                files.push_back(e.path());
    std::sort(files.begin(), files.end());
    return files;
}

class CachedMap : public CacheTest, public ::testing::WithParamInterface<fs::path> {};

} // namespace

// A field the cache drops or misreads shows here: every node's answers,
// each selector at its values 0 to 7, a change to every writable node and
// the callbacks it fires are the same in the parsed and the cached map.
TEST_P(CachedMap, BehavesAsTheParsedMap) {
    auto type = GetParam().extension() == ".zip" ? ContentType_ZippedXml : ContentType_Xml;
    uint64_t hits = NodeMapCache::hits();
    Mapped parsed(CNodeMapFactory(type, GetParam().string()).CreateNodeMap());
    Mapped cached(CNodeMapFactory(type, GetParam().string()).CreateNodeMap());
    ASSERT_EQ(NodeMapCache::hits(), hits + 1);
    ASSERT_EQ(parsed.nodes.size(), cached.nodes.size());
    auto expectAlike = [&](const char* stage, std::string (*text)(INode*)) {
        int differ = 0;
        for (INode* n : parsed.nodes) {
            INode* other = cached.map->GetNode(n->GetName());
            std::string a = text(n), b = other ? text(other) : "<missing>";
            if (a != b && ++differ <= 3) ADD_FAILURE() << stage << ": " << a << "\n  cached: " << b;
        }
        EXPECT_EQ(differ, 0) << stage;
    };
    expectAlike("loaded", quillon_test::NodeBehaviour);
    for (INode* n : parsed.nodes)
        for (int64_t v = 0; v < 8 && CSelectorPtr(n)->IsSelector(); ++v)
            EXPECT_EQ(change(n, &v), change(cached.map->GetNode(n->GetName()), &v))
                << n->GetName() << " = " << v;
    for (INode* n : parsed.nodes)
        EXPECT_EQ(change(n), change(cached.map->GetNode(n->GetName()))) << n->GetName();
    expectAlike("changed", quillon_test::NodeAnswers);
    EXPECT_EQ(parsed.fired, cached.fired);
}

std::string fileName(const ::testing::TestParamInfo<fs::path>& info) {
    std::string name;
    for (char c : info.param.filename().string())
        name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(Descriptions, CachedMap, ::testing::ValuesIn(descriptions()), fileName);

// A cache payload changed anywhere (each byte to one of: its low bit
// flipped, all ones, zero): the reader refuses it, or its node map raises at
// worst GenICam exceptions on reads (the sanitizers see to the rest).
TEST_F(CacheTest, ChangedBytesAreRefusedOrHarmless) {
    for (const char* fixture : {"formula_nodes.xml", "rare_nodes.xml"}) {
        std::string xmlFile = quillon_test::fixturePath(fixture);
        delete CNodeMapFactory(ContentType_Xml, xmlFile).CreateNodeMap();
        auto key = NodeMapCache::keyForFile(xmlFile);
        const std::string good = readAll(NodeMapCache::fileFor(cacheDir.string(), key)).substr(32);
        std::string bad = good;
        size_t refused = 0;
        for (size_t at = 0; at < good.size(); ++at) {
            const char change[] = {static_cast<char>(good[at] ^ 0x01), '\xFF', '\0'};
            bad[at] = change[at % 3];
            std::unique_ptr<INodeMap> map(NodeMapCache::read(bad, key, "Device"));
            bad[at] = good[at];
            if (!map) {
                ++refused;
                continue;
            }
            CMemoryPort port;
            map->Connect(&port);
            NodeList_t nodes;
            map->GetNodes(nodes);
            for (INode* n : nodes) {
                std::string text;
                quillon_test::answer(text, [&] {
                    CValuePtr v = n;
                    return v && IsReadable(n->GetAccessMode()) ? std::string(v->ToString()) : "";
                });
                gcstring_vector properties;
                n->GetPropertyNames(properties);
                gcstring value, attributes;
                for (const gcstring& p : properties)
                    n->GetProperty(p, value, attributes);
            }
        }
        EXPECT_GT(refused, 0u) << fixture;
        EXPECT_LT(refused, good.size()) << fixture;
    }
}
