// The browser's cost of showing a large vendor description: building the
// feature tree at level Guru, which writes every row's text, and rewriting
// every row as a full refresh does.
#include <benchmark/benchmark.h>

#include <string>

#include "GenApi/GenApi.h"
#include "browser/text_tree.h"
#include "browser/tree_model.h"

using namespace quillon::browser;

namespace {

struct LoadedDescription {
    GenApi::CMemoryPort port; // outlives the node map that points at it
    GenApi::CNodeMapRef map;
    explicit LoadedDescription(const std::string& file) {
        map._LoadXMLFromFile(file.c_str());
        map._Connect(&port);
    }
};

const std::string kBasler = std::string(QUILLON_CORPUS_DIR) + "/Basler_a2A2600-20gmBAS.xml";

void BM_BuildTreeWithRowTextsGuru(benchmark::State& state) {
    LoadedDescription device(kBasler);
    NodeMapEntry entry;
    entry.context.nodeMap = device.map._Ptr();
    size_t rows = 0;
    for (auto _ : state) {
        TextTree tree;
        FeatureTreeModel model(tree, nullptr);
        model.Build({entry}, kGuru);
        rows = tree.size();
        benchmark::DoNotOptimize(rows);
    }
    state.counters["rows"] = static_cast<double>(rows);
}
BENCHMARK(BM_BuildTreeWithRowTextsGuru)->Unit(benchmark::kMillisecond);

void BM_RewriteEveryRowGuru(benchmark::State& state) {
    LoadedDescription device(kBasler);
    NodeMapEntry entry;
    entry.context.nodeMap = device.map._Ptr();
    TextTree tree;
    FeatureTreeModel model(tree, nullptr);
    model.Build({entry}, kGuru);
    for (auto _ : state) model.RewriteAll();
    state.counters["rows"] = static_cast<double>(tree.size());
}
BENCHMARK(BM_RewriteEveryRowGuru)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
