// Engine speed on the vendor descriptions: load time, time per value read over
// a memory port, and the memory a loaded node map holds.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <pugixml.hpp>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "GenApi/GenApi.h"
#include "description_generator.h"

#ifdef QUILLON_HAVE_ARAVIS
#include <arv.h>
#endif

using namespace GenApi;
namespace fs = std::filesystem;

namespace {

std::string readFile(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// A parse, whatever cache folder the environment names.
std::unique_ptr<INodeMap> load(const std::string& xml) {
    return std::unique_ptr<INodeMap>(
        CNodeMapFactory(ContentType_Xml, xml.data(), xml.size(), CacheUsage_Ignore).CreateNodeMap());
}

// The heap a process holds: blocks from the heap and blocks mapped on their own.
size_t heapInUse() {
    struct mallinfo2 m = mallinfo2();
    return m.uordblks + m.hblkhd;
}

// Generated descriptions, made once per size.
const quillon_bench::GeneratedDescription& generated(size_t nodes) {
    static std::map<size_t, quillon_bench::GeneratedDescription> made;
    auto it = made.find(nodes);
    if (it == made.end()) it = made.emplace(nodes, quillon_bench::GenerateDescription(nodes)).first;
    return it->second;
}

// Seconds per item, shown with an SI prefix ("n" is nanoseconds).
benchmark::Counter perItem(size_t items) {
    return benchmark::Counter(static_cast<double>(items),
                              benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// One typed read of a value node; false when the node has no readable value.
bool readOnce(INode* node) {
    try {
        if (!IsReadable(node->GetAccessMode())) return false;
        switch (node->GetPrincipalInterfaceType()) {
        case intfIInteger: benchmark::DoNotOptimize(CIntegerPtr(node)->GetValue()); return true;
        case intfIFloat: benchmark::DoNotOptimize(CFloatPtr(node)->GetValue()); return true;
        case intfIBoolean: benchmark::DoNotOptimize(CBooleanPtr(node)->GetValue()); return true;
        case intfIEnumeration: benchmark::DoNotOptimize(CEnumerationPtr(node)->GetIntValue()); return true;
        case intfIString: benchmark::DoNotOptimize(CStringPtr(node)->GetValue()); return true;
        default: return false;
        }
    } catch (const GenICam::GenericException&) {
        return false;
    }
}

void BM_Load(benchmark::State& state, const fs::path& file) {
    std::string xml = readFile(file);
    for (auto _ : state) {
        auto map = load(xml);
        benchmark::DoNotOptimize(map.get());
        // Tearing the map down is not part of loading it.
        state.PauseTiming();
        map.reset();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * xml.size()));
    // Heap held by the node map once the description text is gone.
    malloc_trim(0);
    size_t before = heapInUse();
    auto map = load(xml);
    size_t after = heapInUse();
    state.counters["nodes"] = static_cast<double>(map->GetNumNodes());
    state.counters["map_bytes"] = static_cast<double>(after - before);
    state.counters["map_per_xml"] = static_cast<double>(after - before) / static_cast<double>(xml.size());
}

void BM_ReadEveryValue(benchmark::State& state, const fs::path& file) {
    std::string xml = readFile(file);
    auto map = load(xml);
    CMemoryPort port;
    map->Connect(&port);
    NodeList_t nodes, readable;
    map->GetNodes(nodes);
    for (INode* n : nodes)
        if (readOnce(n)) readable.push_back(n);
    for (auto _ : state) {
        // Every read starts from a cold cache, as the first look at a device does.
        map->InvalidateNodes();
        for (INode* n : readable) readOnce(n);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * readable.size()));
    state.counters["time_per_read"] = perItem(readable.size());
    state.counters["values"] = static_cast<double>(readable.size());
}

// pugixml alone parsing the same text in place: the floor under a load.
void BM_PugixmlParse(benchmark::State& state, const fs::path& file) {
    const std::string xml = readFile(file);
    std::string buffer;
    for (auto _ : state) {
        state.PauseTiming();
        buffer = xml;
        state.ResumeTiming();
        pugi::xml_document doc;
        benchmark::DoNotOptimize(doc.load_buffer_inplace(buffer.data(), buffer.size()));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * xml.size()));
}

// Loading from a file through the node-map cache, after a first load wrote it.
void BM_CachedLoad(benchmark::State& state, const fs::path& file) {
    fs::path dir = fs::temp_directory_path() / "quillon-bench-cache";
    fs::create_directories(dir);
    setenv("GENICAM_CACHE_V3_4", dir.c_str(), 1);
    delete CNodeMapFactory(ContentType_Xml, file.string()).CreateNodeMap();
    for (auto _ : state) {
        std::unique_ptr<INodeMap> map(CNodeMapFactory(ContentType_Xml, file.string()).CreateNodeMap());
        benchmark::DoNotOptimize(map.get());
        state.PauseTiming();
        map.reset();
        state.ResumeTiming();
    }
    unsetenv("GENICAM_CACHE_V3_4");
    fs::remove_all(dir);
}

// Every node asked for its parents once, on a freshly loaded map (the first
// call builds the reverse index).
void BM_ParentsOfEveryNode(benchmark::State& state, const fs::path& file) {
    std::string xml = readFile(file);
    for (auto _ : state) {
        state.PauseTiming();
        auto map = load(xml);
        NodeList_t nodes, parents;
        map->GetNodes(nodes);
        state.ResumeTiming();
        size_t links = 0;
        for (INode* n : nodes) {
            n->GetParents(parents);
            links += parents.size();
        }
        benchmark::DoNotOptimize(links);
        state.PauseTiming();
        map.reset();
        state.ResumeTiming();
    }
}

// Loading generated descriptions of 10k, 100k and 500k nodes: time and memory
// per node.
void BM_LoadGenerated(benchmark::State& state) {
    const auto& d = generated(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        auto map = load(d.xml);
        benchmark::DoNotOptimize(map.get());
        state.PauseTiming();
        map.reset();
        state.ResumeTiming();
    }
    malloc_trim(0);
    size_t before = heapInUse();
    auto map = load(d.xml);
    size_t after = heapInUse();
    const double nodes = static_cast<double>(map->GetNumNodes());
    state.counters["nodes"] = nodes;
    state.counters["time_per_node"] = perItem(map->GetNumNodes());
    state.counters["bytes_per_node"] = static_cast<double>(after - before) / nodes;
    state.counters["map_per_xml"] = static_cast<double>(after - before) / static_cast<double>(d.xml.size());
}
BENCHMARK(BM_LoadGenerated)->Arg(10000)->Arg(100000)->Arg(500000)->Unit(benchmark::kMillisecond);

// Every node of a generated description asked for its parents (the first
// call indexes them).
void BM_ParentsOfEveryNodeGenerated(benchmark::State& state) {
    const auto& d = generated(static_cast<size_t>(state.range(0)));
    size_t count = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto map = load(d.xml);
        NodeList_t nodes, parents;
        map->GetNodes(nodes);
        count = nodes.size();
        state.ResumeTiming();
        for (INode* n : nodes) n->GetParents(parents);
        state.PauseTiming();
        map.reset();
        state.ResumeTiming();
    }
    state.counters["time_per_node"] = perItem(count);
}
BENCHMARK(BM_ParentsOfEveryNodeGenerated)->Arg(10000)->Arg(100000)->Arg(500000)->Iterations(3)->Unit(benchmark::kMillisecond);

// One value written to a generated map whose every value was read (so
// every register holds cached bytes): the write checks which cached
// registers share bytes with it.
void BM_WriteOneValueGenerated(benchmark::State& state) {
    const auto& d = generated(static_cast<size_t>(state.range(0)));
    auto map = load(d.xml);
    CMemoryPort port;
    map->Connect(&port);
    NodeList_t nodes;
    map->GetNodes(nodes);
    for (INode* n : nodes) readOnce(n);
    CIntegerPtr offset = map->GetNode("Offset7");
    int64_t value = 0;
    for (auto _ : state) offset->SetValue(value = (value + 16) % 4096);
}
BENCHMARK(BM_WriteOneValueGenerated)->Arg(10000)->Arg(100000)->Arg(500000)->Unit(benchmark::kMicrosecond);

#ifdef QUILLON_HAVE_ARAVIS
// The open engine most Linux users know, loading the same text, for scale.
void BM_AravisLoad(benchmark::State& state, const fs::path& file) {
    std::string xml = readFile(file);
    for (auto _ : state) {
        ArvGc* gc = arv_gc_new(nullptr, xml.data(), xml.size());
        benchmark::DoNotOptimize(gc);
        g_object_unref(gc);
    }
}
#endif

int registerAll() {
    fs::path corpus = QUILLON_CORPUS_DIR;
    if (!fs::exists(corpus)) return 0;
    std::vector<fs::path> files;
    for (const auto& e : fs::directory_iterator(corpus))
        if (e.path().extension() == ".xml") files.push_back(e.path());
    std::sort(files.begin(), files.end());
    for (const auto& f : files) {
        std::string name = f.stem().string();
        benchmark::RegisterBenchmark(("Load/" + name).c_str(), BM_Load, f)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("ReadEveryValue/" + name).c_str(), BM_ReadEveryValue, f)
            ->Unit(benchmark::kMicrosecond);
        if (name == "Basler_a2A2600-20gmBAS") {
            benchmark::RegisterBenchmark(("CachedLoad/" + name).c_str(), BM_CachedLoad, f)
                ->Unit(benchmark::kMillisecond);
            benchmark::RegisterBenchmark(("ParentsOfEveryNode/" + name).c_str(), BM_ParentsOfEveryNode, f)
                ->Unit(benchmark::kMillisecond);
            benchmark::RegisterBenchmark(("PugixmlParse/" + name).c_str(), BM_PugixmlParse, f)
                ->Unit(benchmark::kMillisecond);
        }
#ifdef QUILLON_HAVE_ARAVIS
        if (name == "Basler_a2A2600-20gmBAS")
            benchmark::RegisterBenchmark(("AravisLoad/" + name).c_str(), BM_AravisLoad, f)
                ->Unit(benchmark::kMillisecond);
#endif
    }
    return 0;
}

const int registered = registerAll();

} // namespace

BENCHMARK_MAIN();
