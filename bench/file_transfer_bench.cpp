// Moving files through the simulated camera's file access protocol in
// process: bytes per second for whole files and the cost of one chunk (the
// device's FileAccessBuffer length).
#include <benchmark/benchmark.h>

#include <vector>

#include "GenApi/GenApi.h"
#include "sim/sim_camera.h"

using namespace GenApi;
using qorvis::sim::SimulatedCamera;

namespace {

struct Camera : qorvis::sim::ConnectedSimulatedCamera {
    int64_t chunk() { return CRegisterPtr(map._GetNode("FileAccessBuffer"))->GetLength(); }
};

void BM_Upload(benchmark::State& state) {
    Camera camera;
    std::vector<char> data(static_cast<size_t>(state.range(0)), 'q');
    for (auto _ : state) {
        ODevFileStream out(camera.map._Ptr(), "UserSet2");
        out.write(data.data(), static_cast<std::streamsize>(data.size()));
        out.close();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
    double chunks = static_cast<double>((state.range(0) + camera.chunk() - 1) / camera.chunk());
    state.counters["chunk_bytes"] = static_cast<double>(camera.chunk());
    state.counters["time_per_chunk"] =
        benchmark::Counter(chunks, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_Download(benchmark::State& state) {
    Camera camera;
    camera.device.setFileContents("UserSet2", std::vector<uint8_t>(static_cast<size_t>(state.range(0)), 7));
    std::vector<char> buffer(2048);
    for (auto _ : state) {
        IDevFileStream in(camera.map._Ptr(), "UserSet2");
        while (in) in.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
        in.close();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
    double chunks = static_cast<double>((state.range(0) + camera.chunk() - 1) / camera.chunk());
    state.counters["chunk_bytes"] = static_cast<double>(camera.chunk());
    state.counters["time_per_chunk"] =
        benchmark::Counter(chunks, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

} // namespace

BENCHMARK(BM_Upload)->Arg(1 << 20)->Arg(10 << 20)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Download)->Arg(1 << 20)->Arg(10 << 20)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
