// One feature read from a GigE Vision camera over GVCP on loopback (Aravis's
// fake camera, in a private network namespace of the benchmark's own):
// through the imaging library's camera node map (our engine, the library's
// port over Aravis's device layer) against Aravis reading the same feature
// with its own engine, and the same register, in the same run. The register
// caches are passed by, so every read is a round trip.
#include <arv.h>
#include <benchmark/benchmark.h>

#include <cstdio>

#include "../tests/support/private_network.h"
#include "GenApi/GenApi.h"
#include "qorvis.h"

namespace {

constexpr uint32_t kWidthRegister = 0x100; // Width in Aravis's fake camera description

struct Camera {
    ArvGvFakeCamera* fake = arv_gv_fake_camera_new_full("127.0.0.1", "GV01", nullptr);
    QOR_ID app = 0, sys = 0, dig = 0;
    GenApi::INodeMap* map = nullptr;
    ArvDevice* aravis = nullptr;
    Camera() {
        QappAlloc(QOR_TEXT(""), &app);
        QsysAlloc(app, Q_SYSTEM_CAMERAS, Q_DEFAULT, Q_DEFAULT, &sys);
        QdigAlloc(sys, Q_DEFAULT, QOR_TEXT("127.0.0.1"), Q_DEFAULT, &dig);
        QOR_INT64 pointer = 0;
        QdigInquire(dig, Q_GC_NODE_MAP, &pointer);
        map = reinterpret_cast<GenApi::INodeMap*>(pointer);
        // A second client of the same camera, for Aravis's own reads (the
        // library's digitizer controls the camera; reads need no control).
        aravis = arv_open_device("127.0.0.1", nullptr);
    }
};

Camera& camera() {
    static auto* c = new Camera;
    return *c;
}

void BM_QuillonFeatureRead(benchmark::State& state) {
    GenApi::CIntegerPtr width = camera().map->GetNode("Width");
    for (auto _ : state)
        benchmark::DoNotOptimize(width->GetValue(false, true));
}

void BM_QuillonRegisterRead(benchmark::State& state) {
    uint32_t value = 0;
    for (auto _ : state) {
        QdigReadCamera(camera().dig, kWidthRegister, 4, &value);
        benchmark::DoNotOptimize(value);
    }
}

void BM_AravisFeatureRead(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(
            arv_device_get_integer_feature_value(camera().aravis, "Width", nullptr));
}

void BM_AravisRegisterRead(benchmark::State& state) {
    guint32 value = 0;
    for (auto _ : state) {
        arv_device_read_register(camera().aravis, kWidthRegister, &value, nullptr);
        benchmark::DoNotOptimize(value);
    }
}

// Run with --benchmark_enable_random_interleaving=true, so that both sides
// see the same load of the machine.
BENCHMARK(BM_QuillonFeatureRead)->Repetitions(10);
BENCHMARK(BM_AravisFeatureRead)->Repetitions(10);
BENCHMARK(BM_QuillonRegisterRead)->Repetitions(10);
BENCHMARK(BM_AravisRegisterRead)->Repetitions(10);

} // namespace

int main(int argc, char** argv) {
    const std::string unavailable = quillon_test_support::EnterPrivateNetwork(argv);
    if (!unavailable.empty()) {
        std::fprintf(stderr, "camera_bench: skipped: %s\n", unavailable.c_str());
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    if (!camera().map || !camera().aravis) {
        std::fprintf(stderr, "camera_bench: the fake camera could not be opened\n");
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
