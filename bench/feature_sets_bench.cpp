// Saving and loading feature sets: the simulated camera (register accesses
// through its device model, selector slices included) and the largest vendor
// description over a zero-filled memory port. A load of the file just saved
// changes nothing (every line read and compared); a load that alternates
// between two files writes a line per iteration's changed features.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

#include "GenApi/GenApi.h"
#include "GenApi/MemoryPort.h"
#include "inspect/feature_set_format.h"
#include "inspect/feature_sets.h"
#include "sim/sim_camera.h"

using namespace quillon::inspect;

namespace {

std::string largestDescription() {
    namespace fs = std::filesystem;
    fs::path largest;
    for (const auto& file : fs::directory_iterator(QUILLON_CORPUS_DIR))
        if (file.path().extension() == ".xml" &&
            (largest.empty() || file.file_size() > fs::file_size(largest)))
            largest = file.path();
    return largest.string();
}

struct Vendor {
    GenApi::CMemoryPort port;
    GenApi::CNodeMapRef map;
    explicit Vendor(const std::string& file) {
        map._LoadXMLFromFile(file.c_str());
        GenApi::NodeList_t nodes;
        map._GetNodes(nodes);
        for (GenApi::INode* node : nodes)
            if (node->GetPrincipalInterfaceType() == GenApi::intfIPort)
                map._Connect(&port, node->GetName());
    }
};

std::vector<quillon::browser::NodeMapEntry> entriesOf(GenApi::INodeMap* map) {
    quillon::browser::NodeMapEntry entry;
    entry.context.nodeMap = map;
    return {entry};
}

void save(benchmark::State& state, GenApi::INodeMap* map) {
    size_t lines = 0;
    for (auto _ : state) {
        const FeatureSet set = ReadFeatureSet(entriesOf(map));
        const std::string text = WriteFeatureSet(set);
        lines = set.sections[0].lines.size();
        benchmark::DoNotOptimize(text.data());
    }
    state.counters["lines"] = static_cast<double>(lines);
}

void load(benchmark::State& state, GenApi::INodeMap* map, const std::string& second) {
    const std::string first = WriteFeatureSet(ReadFeatureSet(entriesOf(map)));
    bool odd = false;
    size_t applied = 0;
    for (auto _ : state) {
        const std::string& text = second.empty() || !odd ? first : second;
        odd = !odd;
        const LoadReport report =
            LoadFeatureSet(ParseFeatureSet(text).set, entriesOf(map), "bench.txt");
        applied = report.Count(LineOutcome::Applied);
    }
    state.counters["applied"] = static_cast<double>(applied);
}

void BM_SaveSimulatedCamera(benchmark::State& state) {
    qorvis::sim::ConnectedSimulatedCamera camera;
    save(state, camera.nodeMap());
}
BENCHMARK(BM_SaveSimulatedCamera)->Unit(benchmark::kMillisecond);

void BM_LoadSimulatedCameraUnchanged(benchmark::State& state) {
    qorvis::sim::ConnectedSimulatedCamera camera;
    load(state, camera.nodeMap(), {});
}
BENCHMARK(BM_LoadSimulatedCameraUnchanged)->Unit(benchmark::kMillisecond);

void BM_LoadSimulatedCameraChanging(benchmark::State& state) {
    qorvis::sim::ConnectedSimulatedCamera camera;
    std::string second = WriteFeatureSet(ReadFeatureSet(entriesOf(camera.nodeMap())));
    for (auto [from, to] : {std::pair{"\nWidth = 1280\n", "\nWidth = 640\n"},
                            {"\nGamma = 1\n", "\nGamma = 2.2\n"},
                            {"[LUTIndex=9] = 9\n", "[LUTIndex=9] = 90\n"}})
        second.replace(second.find(from), std::string(from).size(), to);
    load(state, camera.nodeMap(), second);
}
BENCHMARK(BM_LoadSimulatedCameraChanging)->Unit(benchmark::kMillisecond);

void BM_SaveLargestVendorDescription(benchmark::State& state) {
    Vendor vendor(largestDescription());
    save(state, vendor.map._Ptr());
    state.SetLabel(std::filesystem::path(largestDescription()).filename().string());
}
BENCHMARK(BM_SaveLargestVendorDescription)->Unit(benchmark::kMillisecond);

void BM_LoadLargestVendorDescriptionUnchanged(benchmark::State& state) {
    Vendor vendor(largestDescription());
    load(state, vendor.map._Ptr(), {});
}
BENCHMARK(BM_LoadLargestVendorDescriptionUnchanged)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
