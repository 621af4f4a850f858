// The browser's cost of showing a large vendor description: building the
// feature tree at level Guru, which writes every row's text, and rewriting
// every row as a full refresh does.
#include <benchmark/benchmark.h>

#include "bench_support.h"

#include <string>

#include "GenApi/GenApi.h"
#include "browser/text_tree.h"
#include "browser/tree_model.h"
#include "inspect/property_text.h"
#include "inspect/snippet_generator.h"
#include "qorvis.h"

using namespace quillon::browser;

namespace {

const std::string kBasler = std::string(QUILLON_CORPUS_DIR) + "/Basler_a2A2600-20gmBAS.xml";

void BM_BuildTreeWithRowTextsGuru(benchmark::State& state) {
    quillon_bench::LoadedDescription device(kBasler);
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
    quillon_bench::LoadedDescription device(kBasler);
    NodeMapEntry entry;
    entry.context.nodeMap = device.map._Ptr();
    TextTree tree;
    FeatureTreeModel model(tree, nullptr);
    model.Build({entry}, kGuru);
    for (auto _ : state)
        model.RewriteAll();
    state.counters["rows"] = static_cast<double>(tree.size());
}
BENCHMARK(BM_RewriteEveryRowGuru)->Unit(benchmark::kMillisecond);

// Selecting a feature: its property text and access-code snippets, for
// every feature of the description (reported per feature).
void BM_PropertyTextAndSnippetPerFeature(benchmark::State& state) {
    quillon_bench::LoadedDescription device(kBasler);
    GenApi::NodeList_t nodes;
    device.map._GetNodes(nodes);
    std::vector<GenApi::INode*> features;
    for (GenApi::INode* n : nodes)
        if (n->IsFeature() && n->GetPrincipalInterfaceType() != GenApi::intfICategory)
            features.push_back(n);
    for (auto _ : state) {
        for (GenApi::INode* n : features) {
            std::string name(n->GetName());
            std::string typed =
                quillon::inspect::FeaturePropertyText(n, name, ReadPropertyFlags(n));
            auto snippets = quillon::inspect::GenerateSnippets(
                n, quillon::inspect::MakeSnippetRequest(n, Q_DIGITIZER_OBJECT));
            benchmark::DoNotOptimize(
                quillon::inspect::PropertyBoxText(typed, snippets.ShownPieces()));
        }
    }
    state.counters["features"] = static_cast<double>(features.size());
    state.counters["time_per_feature"] = benchmark::Counter(
        static_cast<double>(features.size()),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_PropertyTextAndSnippetPerFeature)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
