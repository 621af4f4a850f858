// The node-map cache: a second load of an unchanged description comes from
// the cache and equals a fresh parse; a changed source, a truncated or a
// damaged cache file is noticed and the description parsed again.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "GenApi/GenApi.h"
#include "cache/node_map_cache.h"

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

// Everything the browser asks of a node, as one text per node.
std::string describe(INode* n) {
    std::string text = std::string(n->GetName()) + "|" + std::string(n->GetDisplayName()) + "|" +
                       std::string(n->GetToolTip()) + "|" + std::string(n->GetDescription()) + "|" +
                       std::to_string(n->GetVisibility()) + "|" + std::to_string(n->GetPrincipalInterfaceType()) +
                       "|" + std::to_string(n->GetPollingTime()) + "|" + std::to_string(n->IsFeature()) + "|" +
                       std::to_string(n->GetCachingMode()) + "|";
    gcstring_vector props;
    n->GetPropertyNames(props);
    for (const auto& p : props) {
        gcstring value, attributes;
        n->GetProperty(p, value, attributes);
        text += std::string(p) + "=" + std::string(value) + "[" + std::string(attributes) + "];";
    }
    NodeList_t children;
    n->GetChildren(children);
    for (INode* c : children) text += std::string(c->GetName()) + ",";
    try {
        text += "|" + std::to_string(n->GetAccessMode());
        if (CValuePtr v = n; v && IsReadable(n->GetAccessMode())) text += "|" + std::string(v->ToString());
        if (CIntegerPtr i = n) text += "|" + std::to_string(i->GetMin()) + ".." + std::to_string(i->GetMax());
    } catch (const GenICam::GenericException& e) {
        text += std::string("|raises ") + e.GetDescription();
    }
    return text;
}

void expectEqualMaps(INodeMap& a, INodeMap& b) {
    CMemoryPort portA, portB;
    a.Connect(&portA);
    b.Connect(&portB);
    NodeList_t na, nb;
    a.GetNodes(na);
    b.GetNodes(nb);
    ASSERT_EQ(na.size(), nb.size());
    for (size_t i = 0; i < na.size(); ++i) {
        INode* other = b.GetNode(na[i]->GetName());
        ASSERT_NE(other, nullptr) << na[i]->GetName();
        EXPECT_EQ(describe(na[i]), describe(other));
    }
}

} // namespace

TEST_F(CacheTest, SecondLoadComesFromTheCacheAndEqualsAFreshParse) {
    uint64_t hits = NodeMapCache::hits();
    auto parsed = load();
    EXPECT_EQ(NodeMapCache::hits(), hits);
    onlyCacheFile();
    auto cached = load();
    EXPECT_EQ(NodeMapCache::hits(), hits + 1);
    expectEqualMaps(*parsed, *cached);

    // A cached map works like a parsed one: writes, dependents, callbacks.
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
