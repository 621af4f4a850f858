// The browser's cost of showing a large vendor description: building the
// feature tree at level Guru, which writes every row's text, and rewriting
// every row as a full refresh does.
#include <benchmark/benchmark.h>

#include "bench_support.h"

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "GenApi/GenApi.h"
#include "GenApi/MemoryPort.h"
#include "browser/text_tree.h"
#include "browser/tree_model.h"
#include "description_generator.h"
#include "inspect/find_feature.h"
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

// ---- scale: generated descriptions of 10k, 100k and 500k nodes; each figure
// also per row (or name), which stays flat when the cost grows linearly.

struct Generated {
    GenApi::CMemoryPort port;
    GenApi::CNodeMapRef map;
    NodeMapEntry entry;
    explicit Generated(size_t nodes) {
        const auto d = quillon_bench::GenerateDescription(nodes);
        map._LoadXMLFromString(GenICam::gcstring(d.xml));
        map._Connect(&port);
        entry.context.nodeMap = map._Ptr();
    }
};

// One loaded description per size for the whole run.
Generated& generated(size_t nodes) {
    static std::map<size_t, std::unique_ptr<Generated>> made;
    auto& g = made[nodes];
    if (!g) g = std::make_unique<Generated>(nodes);
    return *g;
}

benchmark::Counter perItem(size_t items) {
    return benchmark::Counter(static_cast<double>(items),
                              benchmark::Counter::kIsIterationInvariantRate |
                                  benchmark::Counter::kInvert);
}

std::vector<quillon::inspect::FindRow> findRows(const std::deque<FeatureRow>& from) {
    std::vector<quillon::inspect::FindRow> out;
    for (const FeatureRow& r : from)
        if (r.treeItem)
            out.push_back({r.label, r.node ? std::string(r.node->GetName()) : r.label, r.treeItem});
    return out;
}

// The tree at level Guru with every row's text, from a cold value cache.
void BM_BuildTreeGenerated(benchmark::State& state) {
    Generated& g = generated(static_cast<size_t>(state.range(0)));
    size_t rows = 0;
    for (auto _ : state) {
        g.map._Ptr()->InvalidateNodes();
        auto tree = std::make_unique<TextTree>();
        auto model = std::make_unique<FeatureTreeModel>(*tree, nullptr);
        model->Build({g.entry}, kGuru);
        rows = tree->size();
        state.PauseTiming(); // tearing the tree down is not building it
        model.reset();
        tree.reset();
        state.ResumeTiming();
    }
    state.counters["rows"] = static_cast<double>(rows);
    state.counters["time_per_row"] = perItem(rows);
}
BENCHMARK(BM_BuildTreeGenerated)
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(500000)
    ->Unit(benchmark::kMillisecond);

// F5 over the whole tree: every value read again from the device and every
// row rewritten.
void BM_RereadEveryRowGenerated(benchmark::State& state) {
    Generated& g = generated(static_cast<size_t>(state.range(0)));
    TextTree tree;
    FeatureTreeModel model(tree, nullptr);
    model.Build({g.entry}, kGuru);
    for (auto _ : state) {
        g.map._Ptr()->InvalidateNodes();
        model.RewriteAll();
    }
    state.counters["rows"] = static_cast<double>(tree.size());
    state.counters["time_per_row"] = perItem(tree.size());
}
BENCHMARK(BM_RereadEveryRowGenerated)
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(500000)
    ->Unit(benchmark::kMillisecond);

// One keystroke in the find window: every name (label and node name of every
// row) filtered by the query so far and sorted. "e" is the first keystroke of
// a query that matches most names; "gain 1" a narrow one.
void BM_FindKeystrokeGenerated(benchmark::State& state, const char* query) {
    Generated& g = generated(static_cast<size_t>(state.range(0)));
    TextTree tree;
    FeatureTreeModel model(tree, nullptr);
    model.Build({g.entry}, kGuru);
    quillon::inspect::FeatureFinder finder;
    finder.Refill(findRows(model.featureRows()), findRows(model.categoryRows()));
    size_t shown = 0;
    for (auto _ : state)
        shown = finder.Filter(query).size();
    state.counters["names"] = static_cast<double>(finder.Entries().size());
    state.counters["shown"] = static_cast<double>(shown);
    state.counters["time_per_name"] = perItem(finder.Entries().size());
}
BENCHMARK_CAPTURE(BM_FindKeystrokeGenerated, e, "e")
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(500000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_FindKeystrokeGenerated, gain_1, "gain 1")
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(500000)
    ->Unit(benchmark::kMillisecond);

// Selecting a feature: the property text and access code of the ten features
// of one channel, at every size (reported per feature: flat when it does not
// depend on the size of the map).
void BM_PropertyTextGenerated(benchmark::State& state) {
    Generated& g = generated(static_cast<size_t>(state.range(0)));
    std::vector<GenApi::INode*> features;
    for (const char* name : {"Selector", "Gain", "Mode", "Exposure", "Width", "Enable", "Reset",
                             "Label", "WidthMax", "Offset"})
        features.push_back(g.map._GetNode((std::string(name) + "7").c_str()));
    for (auto _ : state)
        for (GenApi::INode* n : features) {
            std::string name(n->GetName());
            std::string typed =
                quillon::inspect::FeaturePropertyText(n, name, ReadPropertyFlags(n));
            auto snippets = quillon::inspect::GenerateSnippets(
                n, quillon::inspect::MakeSnippetRequest(n, Q_DIGITIZER_OBJECT));
            benchmark::DoNotOptimize(
                quillon::inspect::PropertyBoxText(typed, snippets.ShownPieces()));
        }
    state.counters["time_per_feature"] = perItem(features.size());
}
BENCHMARK(BM_PropertyTextGenerated)
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(500000)
    ->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
