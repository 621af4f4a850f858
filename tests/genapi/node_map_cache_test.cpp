// The node-map cache: a second load of an unchanged description comes from
// the cache and equals a fresh parse; a changed source, a truncated or a
// damaged cache file is noticed and the description parsed again.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "GenApi/GenApi.h"
#include "cache/node_map_cache.h"
#include "node_behaviour.h"
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
    std::ofstream out(p, std::ios::binary | std::ios::trunc);
    out << bytes;
}

struct CacheTest : ::testing::Test {
    fs::path dir = fs::temp_directory_path() / ("quillon-cache-test-" + std::to_string(::getpid()));
    fs::path cacheDir = dir / "cache";
    fs::path xml = dir / "camera.xml";

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
    std::unique_ptr<INodeMap> load() {
        return std::unique_ptr<INodeMap>(CNodeMapFactory(ContentType_Xml, xml.string()).CreateNodeMap());
    }
    fs::path onlyCacheFile() {
        fs::path found;
        int count = 0;
        for (const auto& e : fs::directory_iterator(cacheDir)) found = e.path(), ++count;
        EXPECT_EQ(count, 1);
        return found;
    }
};

} // namespace

TEST_F(CacheTest, ACachedMapWorksLikeAParsedOne) {
    uint64_t hits = NodeMapCache::hits();
    load();
    EXPECT_EQ(NodeMapCache::hits(), hits);
    onlyCacheFile();
    auto cached = load();
    EXPECT_EQ(NodeMapCache::hits(), hits + 1);
    // What the description says of itself is cached too.
    auto parsed = std::unique_ptr<INodeMap>(
        CNodeMapFactory(ContentType_Xml, xml.string(), CacheUsage_Ignore).CreateNodeMap());
    const gcstring guid = dynamic_cast<IDeviceInfo*>(parsed.get())->GetVersionGuid();
    EXPECT_FALSE(guid.empty());
    EXPECT_EQ(dynamic_cast<IDeviceInfo*>(cached.get())->GetVersionGuid(), guid);

    // Writes, dependents, callbacks.
    CMemoryPort port;
    cached->Connect(&port);
    CIntegerPtr width = cached->GetNode("Width");
    ASSERT_TRUE(width.IsValid());
    int fired = 0;
    auto handle = Register(width->GetNode(), [&](INode*) { ++fired; });
    CEnumerationPtr(cached->GetNode("TestPattern"))->FromString("Off");
    width->SetValue(width->GetMax() > 64 ? 64 : width->GetMax(), false);
    EXPECT_GE(fired, 1);
    width->GetNode()->DeregisterCallback(handle);
}

TEST_F(CacheTest, AChangedDescriptionIsParsedAgain) {
    load();
    std::string text = readAll(xml);
    std::string marker = "<ToolTip>";
    size_t at = text.find(marker);
    ASSERT_NE(at, std::string::npos);
    // Same size and same modification time (a rewrite within one tick of the
    // file system's clock, or a copy that keeps the time): the content tells.
    const auto modified = fs::last_write_time(xml);
    text.replace(at + marker.size(), 8, "CHANGED ");
    writeAll(xml, text);
    fs::last_write_time(xml, modified);
    uint64_t hits = NodeMapCache::hits();
    auto map = load();
    EXPECT_EQ(NodeMapCache::hits(), hits);
    NodeList_t nodes;
    map->GetNodes(nodes);
    bool seen = false;
    for (INode* n : nodes) seen = seen || std::string(n->GetToolTip()).rfind("CHANGED ", 0) == 0;
    EXPECT_TRUE(seen);
    // The new version is cached in its turn.
    load();
    EXPECT_EQ(NodeMapCache::hits(), hits + 1);
}

TEST_F(CacheTest, TruncatedOrDamagedCacheFilesAreNoticed) {
    auto reference = load();
    fs::path cacheFile = onlyCacheFile();
    std::string good = readAll(cacheFile);
    ASSERT_GT(good.size(), 1000u);

    auto expectParsedAgain = [&](const std::string& damaged, const char* what) {
        SCOPED_TRACE(what);
        writeAll(cacheFile, damaged);
        uint64_t hits = NodeMapCache::hits();
        auto map = load();
        EXPECT_EQ(NodeMapCache::hits(), hits) << "a damaged cache must not be used";
        EXPECT_EQ(map->GetNumNodes(), reference->GetNumNodes());
        // The parse rewrote a sound cache file.
        EXPECT_EQ(readAll(cacheFile), good);
    };
    expectParsedAgain(good.substr(0, good.size() / 2), "truncated");
    expectParsedAgain(good.substr(0, 10), "header only");
    expectParsedAgain("", "empty");
    std::string flipped = good;
    flipped[flipped.size() / 2] ^= 0x40;
    expectParsedAgain(flipped, "one byte changed");
    std::string header = good;
    header[30] ^= 0x01; // the payload size in the header
    expectParsedAgain(header, "size in the header changed");
}

TEST_F(CacheTest, NothingIsCachedWithoutTheCacheFolderOrWhenIgnored) {
    unsetenv("GENICAM_CACHE_V3_4");
    load();
    EXPECT_TRUE(fs::is_empty(cacheDir));
    setenv("GENICAM_CACHE_V3_4", cacheDir.c_str(), 1);
    delete CNodeMapFactory(ContentType_Xml, xml.string(), CacheUsage_Ignore).CreateNodeMap();
    EXPECT_TRUE(fs::is_empty(cacheDir));
}

TEST_F(CacheTest, DescriptionsInMemoryAreKeyedByTheirContent) {
    std::string text = readAll(xml);
    uint64_t hits = NodeMapCache::hits();
    delete CNodeMapFactory(ContentType_Xml, text.data(), text.size()).CreateNodeMap();
    delete CNodeMapFactory(ContentType_Xml, text.data(), text.size()).CreateNodeMap();
    EXPECT_EQ(NodeMapCache::hits(), hits + 1);
    text.insert(text.find("<ToolTip>") + 9, "X");
    delete CNodeMapFactory(ContentType_Xml, text.data(), text.size()).CreateNodeMap();
    EXPECT_EQ(NodeMapCache::hits(), hits + 1);
}

// ---------------------------------------------------------------- cached and parsed maps alike

namespace {

// A node map over a zero-filled memory that every port node reads, with a
// count of the callbacks each node fired.
struct Mapped {
    CMemoryPort port;
    std::unique_ptr<INodeMap> map;
    NodeList_t nodes;
    std::map<std::string, int> fired;
    explicit Mapped(INodeMap* m) : map(m) {
        map->GetNodes(nodes);
        for (INode* n : nodes) {
            if (n->GetPrincipalInterfaceType() == intfIPort) map->Connect(&port, n->GetName());
            Register(n, [this](INode* c) { ++fired[std::string(c->GetName())]; });
        }
    }
};

// Changes a node as a user would (another value, an execution) and says
// what happened.
std::string change(INode* n) {
    std::string t;
    quillon_test::answer(t, [&]() -> std::string {
        if (!IsWritable(n->GetAccessMode())) return "";
        if (CIntegerPtr i = n)
            i->SetValue(i->GetValue() != i->GetMax() ? i->GetMax() : i->GetMin());
        else if (CFloatPtr f = n)
            f->SetValue(f->GetValue() != f->GetMax() ? f->GetMax() : f->GetMin());
        else if (CBooleanPtr b = n)
            b->SetValue(!b->GetValue());
        else if (CCommandPtr c = n)
            c->Execute();
        else if (CEnumerationPtr e = n) {
            NodeList_t entries;
            e->GetEntries(entries);
            if (!entries.empty()) e->SetIntValue(CEnumEntryPtr(entries.back())->GetValue());
        }
        return "done";
    });
    return t;
}

// The first nodes of `a` whose text differs from the node of the same name
// in `b`, and how many differ.
template <class Text>
void expectAlike(const Mapped& a, const Mapped& b, const char* stage, Text text) {
    int differ = 0;
    for (INode* n : a.nodes) {
        INode* other = b.map->GetNode(n->GetName());
        std::string ta = text(n), tb = other ? text(other) : "<missing>";
        if (ta != tb && ++differ <= 3) ADD_FAILURE() << stage << ": " << ta << "\n  cached: " << tb;
    }
    EXPECT_EQ(differ, 0) << stage;
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

// A field the cache drops or misreads shows here: every node's answers, each
// selector at each of its values, a change to every writable node and the
// callbacks it fires are the same in the parsed and the cached map.
TEST_P(CachedMap, BehavesAsTheParsedMap) {
    auto type = GetParam().extension() == ".zip" ? ContentType_ZippedXml : ContentType_Xml;
    uint64_t hits = NodeMapCache::hits();
    Mapped parsed(CNodeMapFactory(type, GetParam().string()).CreateNodeMap());
    Mapped cached(CNodeMapFactory(type, GetParam().string()).CreateNodeMap());
    ASSERT_EQ(NodeMapCache::hits(), hits + 1);
    ASSERT_EQ(parsed.nodes.size(), cached.nodes.size());
    expectAlike(parsed, cached, "loaded", quillon_test::NodeBehaviour);

    // Indexed values and selected features, selector value by selector value.
    for (INode* n : parsed.nodes) {
        std::vector<int64_t> values;
        try {
            if (CSelectorPtr s = n; !s->IsSelector() || !IsWritable(n->GetAccessMode())) continue;
            if (CEnumerationPtr e = n) {
                NodeList_t entries;
                e->GetEntries(entries);
                for (INode* entry : entries)
                    values.push_back(CEnumEntryPtr(entry)->GetValue());
            } else if (CIntegerPtr i = n) {
                for (int64_t v = i->GetMin(), k = 0; k < 4 && v <= i->GetMax();
                     ++k, v += i->GetInc())
                    values.push_back(v);
            }
        } catch (const GenICam::GenericException&) {
            continue; // a selector that cannot say its values over this memory
        }
        for (int64_t v : values) {
            auto select = [&](INode* s) {
                std::string t;
                quillon_test::answer(t, [&] {
                    if (CEnumerationPtr e = s)
                        e->SetIntValue(v);
                    else
                        CIntegerPtr(s)->SetValue(v);
                    FeatureList_t features;
                    CSelectorPtr(s)->GetSelectedFeatures(features);
                    std::string all;
                    for (IValue* f : features)
                        all += quillon_test::NodeAnswers(f->GetNode());
                    return all;
                });
                return t;
            };
            EXPECT_EQ(select(n), select(cached.map->GetNode(n->GetName())))
                << n->GetName() << " = " << v;
        }
    }

    for (INode* n : parsed.nodes)
        EXPECT_EQ(change(n), change(cached.map->GetNode(n->GetName()))) << n->GetName();
    expectAlike(parsed, cached, "changed", quillon_test::NodeAnswers);
    EXPECT_EQ(parsed.fired, cached.fired);
}

// A cache file changed anywhere, the change reaching the reader (as if the
// checksum had been made to match): the reader refuses it, and the
// description is parsed, or the node map it reads raises at worst GenICam
// exceptions when its values and properties are read. The sanitizers see to
// it that nothing else happens.
// Every byte takes each of three values, in the caches of the fixtures with
// formulas, converters, enumerations and the rarer node types.
TEST_F(CacheTest, ChangedBytesAreRefusedOrHarmless) {
    int refused = 0, accepted = 0;
    for (const char* fixture : {"formula_nodes.xml", "rare_nodes.xml"}) {
        std::string xmlFile = std::string(QUILLON_FIXTURE_DIR) + "/" + fixture;
        delete CNodeMapFactory(ContentType_Xml, xmlFile).CreateNodeMap();
        auto key = NodeMapCache::keyForFile(xmlFile);
        constexpr size_t kHeader = 32;
        const std::string good =
            readAll(NodeMapCache::fileFor(cacheDir.string(), key)).substr(kHeader);
        ASSERT_FALSE(good.empty()) << fixture;
        std::string bad = good;
        for (size_t at = 0; at < good.size(); ++at) {
            for (uint8_t change : {uint8_t(good[at] ^ 0x01), uint8_t{0xFF}, uint8_t{0}}) {
                bad[at] = static_cast<char>(change);
                CMemoryPort port;
                std::unique_ptr<INodeMap> map(NodeMapCache::read(bad, key, "Device"));
                if (!map) {
                    ++refused;
                    continue;
                }
                ++accepted;
                map->Connect(&port);
                NodeList_t nodes;
                map->GetNodes(nodes);
                for (INode* n : nodes) {
                    std::string text;
                    quillon_test::answer(text, [&] {
                        CValuePtr v = n;
                        return v && IsReadable(n->GetAccessMode()) ? std::string(v->ToString())
                                                                   : std::string();
                    });
                    gcstring_vector properties;
                    n->GetPropertyNames(properties);
                    for (const gcstring& p : properties) {
                        gcstring value, attributes;
                        n->GetProperty(p, value, attributes);
                    }
                }
            }
            bad[at] = good[at];
        }
    }
    std::printf("changed cache files: %d refused, %d read\n", refused, accepted);
    EXPECT_GT(refused, 0);
    EXPECT_GT(accepted, 0);
}

std::string fileName(const ::testing::TestParamInfo<fs::path>& info) {
    std::string name;
    for (char c : info.param.filename().string())
        name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(Descriptions, CachedMap, ::testing::ValuesIn(descriptions()), fileName);
