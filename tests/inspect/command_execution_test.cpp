// The action button over the simulated camera behind a real imaging-library
// system; only the sleep and the memory viewer stand in.

#include <chrono>

#include "inspect/command_execution.h"
#include "inspect_support.h"

namespace {

using quillon::inspect::ActionOutcome;

struct NoViewer : quillon::inspect::MemoryViewer {
    bool Edit(const std::string&, uint8_t*, size_t) override { return false; }
};

} // namespace

// Over a system (which completes commands asynchronously) and a sequence (no
// system at all), with the camera on a clock that the sleeps move on.
TEST(CommandExecution, OnlyAnAsynchronousSystemIsPolledUntilTheCommandIsDone) {
    QOR_ID app = 0, sys = 0, seq = 0;
    QappAlloc(QOR_TEXT("inspect tests"), &app);
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_ENABLE); // as a host may have it
    QsysAlloc(app, Q_SYSTEM_SIMULATED, 0, Q_DEFAULT, &sys);
    QseqAlloc(sys, 0, 1, Q_DEFAULT, &seq);
    qorvis::sim::ManualClock clock;
    qorvis::sim::ConnectedSimulatedCamera camera{clock.clock()};
    quillon_inspect_test::HostRecorder host;
    NoViewer viewer;
    std::vector<int64_t> sleeps;
    const auto run = [&](const char* name, QOR_ID system) {
        return quillon::inspect::RunAction(camera.nodeMap()->GetNode(name), name,
                                           host.context(camera.nodeMap()), system, viewer,
                                           [&](int64_t ms) {
                                               sleeps.push_back(ms);
                                               clock.advance(std::chrono::milliseconds(ms));
                                           });
    };
    // A "system" that is none fails the completion inquire, quietly though
    // the host prints errors: the command returns while the start is pending.
    testing::internal::CaptureStderr();
    EXPECT_EQ(run("AcquisitionStart", seq), ActionOutcome::CommandExecuted);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    QOR_INT64 print = -1;
    QappInquire(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, &print);
    EXPECT_EQ(print, Q_PRINT_ENABLE) << "the host's print setting is restored";
    EXPECT_TRUE(sleeps.empty());
    EXPECT_FALSE(camera.device.acquisitionActive());
    EXPECT_EQ(quillon::inspect::InquireCommandCompletion(0), 1);
    // The start takes 300 ms; neither the command nor its register has a
    // polling time: every 150 ms. It is reported once done.
    clock.advance(std::chrono::seconds(1));
    run("AcquisitionStop", seq);
    host.reports.clear();
    EXPECT_EQ(run("AcquisitionStart", sys), ActionOutcome::CommandExecuted);
    EXPECT_EQ(sleeps, (std::vector<int64_t>{150, 150}));
    EXPECT_TRUE(camera.device.acquisitionActive());
    EXPECT_EQ(host.reports, (std::vector<std::pair<std::string, std::string>>{
                                {"CMD_AcquisitionStart", "Execute"}}));
    QsysFree(sys);
    QappFree(app);
}
