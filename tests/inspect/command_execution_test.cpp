// The action button over the simulated camera behind a real imaging-library
// system and over inline descriptions; only the sleep and the viewer stand in.

#include <chrono>
#include <stdexcept>

#include "inspect/command_execution.h"
#include "inspect_support.h"

namespace {

using quillon::inspect::ActionOutcome;
using quillon::inspect::RunAction;
using Reports = std::vector<std::pair<std::string, std::string>>;

// Records what it was shown; changes the bytes when asked to.
struct Viewer : quillon::inspect::MemoryViewer {
    std::string caption;
    std::vector<uint8_t> shown;
    bool change = false;
    bool Edit(const std::string& c, uint8_t* buffer, size_t length) override {
        caption = c;
        shown.assign(buffer, buffer + length);
        for (size_t i = 0; change && i < length; ++i)
            buffer[i] = static_cast<uint8_t>(255 - i);
        return change;
    }
};

// A system (which completes commands asynchronously) and a sequence (no
// system at all), over the camera on a clock that the sleeps move on.
struct CommandExecution : ::testing::Test {
    QOR_ID app = 0, sys = 0, seq = 0;
    qorvis::sim::ManualClock clock;
    qorvis::sim::ConnectedSimulatedCamera camera{clock.clock()};
    quillon_inspect_test::HostRecorder host;
    Viewer viewer;
    std::vector<int64_t> sleeps;
    void SetUp() override {
        QappAlloc(QOR_TEXT("inspect tests"), &app);
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_ENABLE); // as a host may have it
        QsysAlloc(app, Q_SYSTEM_SIMULATED, 0, Q_DEFAULT, &sys);
        QseqAlloc(sys, 0, 1, Q_DEFAULT, &seq);
    }
    void TearDown() override {
        QsysFree(sys);
        QappFree(app);
    }
    ActionOutcome Run(const char* name, QOR_ID system, GenApi::INodeMap* map = nullptr) {
        map = map ? map : camera.nodeMap();
        return RunAction(map->GetNode(name), name, host.context(map), system, viewer,
                         [this](int64_t ms) {
                             sleeps.push_back(ms);
                             clock.advance(std::chrono::milliseconds(ms));
                         });
    }
};

} // namespace

TEST_F(CommandExecution, OnlyAnAsynchronousSystemIsPolledUntilTheCommandIsDone) {
    // A "system" that is none fails the completion inquire, quietly though
    // the host prints errors: the command returns while the start is pending.
    testing::internal::CaptureStderr();
    EXPECT_EQ(Run("AcquisitionStart", seq), ActionOutcome::CommandExecuted);
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
    Run("AcquisitionStop", seq);
    host.reports.clear();
    EXPECT_EQ(Run("AcquisitionStart", sys), ActionOutcome::CommandExecuted);
    EXPECT_EQ(sleeps, (std::vector<int64_t>{150, 150}));
    EXPECT_TRUE(camera.device.acquisitionActive());
    EXPECT_EQ(host.reports, (Reports{{"CMD_AcquisitionStart", "Execute"}}));

    // Elsewhere the command's own polling time, else its value node's; the
    // registers read back the command value until the third sleep clears them.
    quillon_inspect_test::MemoryDevice device(
        "<Command "
        "Name=\"Own\"><PollingTime>40</PollingTime><pValue>RegA</pValue><CommandValue>1</"
        "CommandValue>"
        "</Command><Command "
        "Name=\"Value\"><pValue>RegB</pValue><CommandValue>1</CommandValue></Command>"
        "<IntReg "
        "Name=\"RegA\"><Address>0x100</Address><Length>4</Length><AccessMode>RW</AccessMode>"
        "<pPort>Device</pPort><Cachable>NoCache</Cachable></IntReg><IntReg "
        "Name=\"RegB\"><Address>0x104"
        "</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</"
        "pPort><PollingTime>20"
        "</PollingTime><Cachable>NoCache</Cachable></IntReg>");
    for (auto [name, address, period] : {std::tuple{"Own", 0x100, 40}, {"Value", 0x104, 20}}) {
        std::vector<int64_t> periods;
        const auto clearAtThree = [&, at = address](int64_t ms) {
            periods.push_back(ms);
            if (periods.size() == 3) device.port.Write("\0\0\0\0", at, 4);
        };
        EXPECT_EQ(RunAction(device.node(name), name, host.context(device.nodeMap()), sys, viewer,
                            clearAtThree),
                  ActionOutcome::CommandExecuted);
        EXPECT_EQ(periods, std::vector<int64_t>(3, period)) << name;
    }
}
