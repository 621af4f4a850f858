// The browser window as a user meets it: how long it takes from opening the
// window on the largest vendor description to the tree's first complete
// paint, and how much CPU the open window costs while it polls and idles.
#include <benchmark/benchmark.h>

#include "bench_support.h"

#include <sys/resource.h>

#include <QApplication>
#include <QCheckBox>
#include <QEventLoop>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListView>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <tuple>
#include <utility>

#include "GenApi/GenApi.h"
#include "browser/tessel_window.h"
#include "controls/column_tree_widget.h"
#include "description_generator.h"
#include "inspect/find_window.h"
#include "sim/sim_camera.h"

using namespace quillon::browser;

namespace {

using Clock = std::chrono::steady_clock;

// The largest description (by file size) among the corpus's .xml and .zip files.
std::string LargestDescription() {
    std::filesystem::path largest;
    std::uintmax_t size = 0;
    for (const auto& entry : std::filesystem::directory_iterator(QUILLON_CORPUS_DIR)) {
        const std::string ext = entry.path().extension().string();
        if (!entry.is_regular_file() || (ext != ".xml" && ext != ".zip")) continue;
        if (entry.file_size() > size) {
            size = entry.file_size();
            largest = entry.path();
        }
    }
    return largest.string();
}

BrowserSetup SetupFor(GenApi::INodeMap* nodeMap) {
    NodeMapEntry entry;
    entry.context.nodeMap = nodeMap;
    return BrowserSetup{{entry}, 0, {}, false};
}

// Counts the paint events that reach a widget.
class PaintCounter final : public QObject {
public:
    int paints = 0;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint) ++paints;
        return QObject::eventFilter(watched, event);
    }
};

// Opens the window on `device`, shows it and waits for the tree's first
// paint; answers the seconds taken and the number of rows.
std::pair<double, size_t> OpenToFirstPaint(const quillon_bench::LoadedDescription& device) {
    MemorySettingsStore store;
    PaintCounter counter;
    const auto start = Clock::now();
    CTessel window(SetupFor(device.map._Ptr()), &store);
    window.tree().viewport()->installEventFilter(&counter);
    window.show();
    // A paint event is counted before it is handled; processEvents returns
    // only after it has been handled.
    while (counter.paints == 0)
        QApplication::processEvents();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    return {seconds, window.session().model().featureRows().size() +
                         window.session().model().categoryRows().size()};
}

// "first": the process's first window only (fonts, style and the platform's
// first window are set up on the way); "again": every further window.
void BM_WindowOpenToFirstPaint(benchmark::State& state) {
    const std::string file = LargestDescription();
    if (file.empty()) {
        state.SkipWithError("no description in the corpus folder");
        return;
    }
    const quillon_bench::LoadedDescription device(file);
    state.SetLabel(std::filesystem::path(file).filename().string());
    size_t rows = 0;
    for (auto _ : state) {
        double seconds = 0;
        std::tie(seconds, rows) = OpenToFirstPaint(device);
        state.SetIterationTime(seconds);
    }
    state.counters["rows"] = static_cast<double>(rows);
}
// Registered first, so that it runs before any other window was opened.
BENCHMARK(BM_WindowOpenToFirstPaint)
    ->Name("BM_WindowOpenToFirstPaint/first")
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WindowOpenToFirstPaint)
    ->Name("BM_WindowOpenToFirstPaint/again")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// ---- 100k features: a generated description (description_generator.h)
// whose categories list 100,000 features.

struct GeneratedDevice {
    GenApi::CMemoryPort port;
    GenApi::CNodeMapRef map;
    size_t features = 0;
    GeneratedDevice() {
        const auto d = quillon_bench::GenerateDescriptionWithFeatures(100000);
        features = d.features;
        map._LoadXMLFromString(GenICam::gcstring(d.xml));
        map._Connect(&port);
    }
};

GeneratedDevice& Generated100k() {
    static GeneratedDevice device;
    return device;
}

// From constructing the window on 100k features to the tree's first paint.
void BM_WindowOpenToFirstPaint100k(benchmark::State& state) {
    GeneratedDevice& device = Generated100k();
    size_t rows = 0;
    for (auto _ : state) {
        MemorySettingsStore store;
        PaintCounter counter;
        const auto start = Clock::now();
        CTessel window(SetupFor(device.map._Ptr()), &store);
        window.tree().viewport()->installEventFilter(&counter);
        window.show();
        while (counter.paints == 0)
            QApplication::processEvents();
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
        rows = window.session().model().featureRows().size() +
               window.session().model().categoryRows().size();
    }
    state.counters["features"] = static_cast<double>(device.features);
    state.counters["rows"] = static_cast<double>(rows);
}
BENCHMARK(BM_WindowOpenToFirstPaint100k)
    ->Iterations(3)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// From constructing the window on 100k features until its tree is complete,
// the event loop running meanwhile; "longest_turn" is the longest the loop
// was kept from other events (keys, paints) by one slice of the build.
void BM_WindowTreeComplete100k(benchmark::State& state) {
    GeneratedDevice& device = Generated100k();
    double longest = 0;
    for (auto _ : state) {
        MemorySettingsStore store;
        const auto start = Clock::now();
        CTessel window(SetupFor(device.map._Ptr()), &store);
        window.show();
        while (window.session().model().building()) {
            const auto turn = Clock::now();
            QApplication::processEvents(QEventLoop::AllEvents);
            longest = std::max(longest, std::chrono::duration<double>(Clock::now() - turn).count());
        }
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    }
    state.counters["longest_turn_ms"] = longest * 1000;
}
BENCHMARK(BM_WindowTreeComplete100k)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);

void SendKey(QWidget& target, int key, const QString& text) {
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, text);
    QApplication::sendEvent(&target, &press);
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, text);
    QApplication::sendEvent(&target, &release);
}

// One keystroke in the find window over the names of 100k features: from the
// key to the list's repaint. The query grows "g", "ga", "gai", "gain" and is
// erased again between rounds (not timed); each letter is one iteration.
void BM_FindKeystroke100k(benchmark::State& state) {
    GeneratedDevice& device = Generated100k();
    MemorySettingsStore store;
    CTessel window(SetupFor(device.map._Ptr()), &store);
    window.show();
    window.session().FinishBuild();
    window.ShowFindDialog();
    quillon::inspect::FindWindow& find = window.findWindow();
    QApplication::processEvents();
    PaintCounter counter;
    find.nameList().viewport()->installEventFilter(&counter);
    const QString word = QStringLiteral("gain");
    int typed = 0;
    double longest = 0;
    for (auto _ : state) {
        if (typed == word.size()) {
            find.queryEdit().selectAll();
            SendKey(find.queryEdit(), Qt::Key_Backspace, QString());
            QApplication::processEvents();
            typed = 0;
        }
        const QChar letter = word[typed++];
        counter.paints = 0;
        const auto start = Clock::now();
        SendKey(find.queryEdit(), letter.toUpper().unicode(), QString(letter));
        while (counter.paints == 0)
            QApplication::processEvents();
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        longest = std::max(longest, seconds);
        state.SetIterationTime(seconds);
    }
    state.counters["slowest_ms"] = longest * 1000;
    state.counters["names"] = static_cast<double>(find.shown().size());
}
BENCHMARK(BM_FindKeystroke100k)->Iterations(12)->UseManualTime()->Unit(benchmark::kMillisecond);

double ProcessCpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// The window shown on the simulated camera with "Polling" checked, left to
// its event loop: the polling thread's passes and the redraws of the polled
// rows, as a fraction of one core.
void BM_IdleWithPollingCpu(benchmark::State& state) {
    qorvis::sim::ConnectedSimulatedCamera camera;
    MemorySettingsStore store;
    CTessel window(SetupFor(camera.nodeMap()), &store);
    window.show();
    window.pollingCheck().click();
    QApplication::processEvents(); // settle the first layout and paint
    const int idleMs = static_cast<int>(state.range(0));
    double cpuPercent = 0;
    uint64_t reads = 0;
    for (auto _ : state) {
        const uint64_t readsBefore = camera.device.readCount();
        QEventLoop idle;
        QTimer::singleShot(idleMs, Qt::PreciseTimer, &idle, &QEventLoop::quit);
        const double cpuBefore = ProcessCpuSeconds();
        const auto start = Clock::now();
        idle.exec();
        const double wall = std::chrono::duration<double>(Clock::now() - start).count();
        cpuPercent = 100.0 * (ProcessCpuSeconds() - cpuBefore) / wall;
        reads = camera.device.readCount() - readsBefore;
        state.SetIterationTime(wall);
    }
    window.pollingCheck().click();
    state.counters["cpu_percent"] = cpuPercent;
    state.counters["device_reads"] = static_cast<double>(reads); // none would mean nothing polled
}
BENCHMARK(BM_IdleWithPollingCpu)
    ->Arg(3000)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    // Drawn off screen unless a platform was chosen.
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
