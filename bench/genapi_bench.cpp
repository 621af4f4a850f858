// Engine speed on the vendor descriptions: load time, time per value read over
// a memory port, and the memory a loaded node map holds.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "GenApi/GenApi.h"

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

std::unique_ptr<INodeMap> load(const std::string& xml) {
    return std::unique_ptr<INodeMap>(CNodeMapFactory(ContentType_Xml, xml.data(), xml.size()).CreateNodeMap());
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
    // Heap held by the node map once the description text is gone (blocks
    // from the heap and blocks mapped on their own).
    malloc_trim(0);
    auto heap = [] {
        struct mallinfo2 m = mallinfo2();
        return m.uordblks + m.hblkhd;
    };
    size_t before = heap();
    auto map = load(xml);
    size_t after = heap();
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
    // Seconds per read (shown with an SI prefix: "n" is nanoseconds).
    state.counters["time_per_read"] = benchmark::Counter(static_cast<double>(readable.size()),
                                                         benchmark::Counter::kIsIterationInvariantRate |
                                                             benchmark::Counter::kInvert);
    state.counters["values"] = static_cast<double>(readable.size());
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
