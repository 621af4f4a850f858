// The action button over real node maps: the simulated camera behind a real
// imaging-library object (which answers the command-completion inquire), and
// inline descriptions over a memory port. Only the sleep and the memory
// viewer are stand-ins.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "GenApi/GenApi.h"
#include "inspect/command_execution.h"
#include "inspect/register_editing.h"
#include "inspect_fixtures.h"
#include "qorvis.h"
#include "sim/sim_camera.h"

namespace {

using quillon::inspect::ActionOutcome;
using quillon::inspect::RunAction;
using quillon_inspect_test::HostRecorder;
using quillon_inspect_test::MemoryDevice;
using Reports = std::vector<std::pair<std::string, std::string>>;

// A viewer that records what it was shown and optionally changes the bytes.
struct RecordingViewer : quillon::inspect::MemoryViewer {
    int calls = 0;
    std::string caption;
    std::vector<uint8_t> shown;
    std::function<bool(uint8_t*, size_t)> edit = [](uint8_t*, size_t) { return false; };
    bool Edit(const std::string& c, uint8_t* buffer, size_t length) override {
        ++calls;
        caption = c;
        shown.assign(buffer, buffer + length);
        return edit(buffer, length);
    }
};

// An imaging-library application with a system (the dialog's object, which
// completes commands asynchronously), a digitizer and a sequence.
class CommandExecution : public ::testing::Test {
protected:
    QOR_ID app = 0, sys = 0, dig = 0, seq = 0;
    qorvis::sim::ManualClock clock;
    qorvis::sim::ConnectedSimulatedCamera camera{clock.clock()};
    HostRecorder host;
    RecordingViewer viewer;
    std::vector<int64_t> sleeps;
    // Instead of waiting, moves the camera's time on by the period asked for.
    quillon::inspect::CompletionSleep advanceClock = [this](int64_t ms) {
        sleeps.push_back(ms);
        clock.advance(std::chrono::milliseconds(ms));
    };

    void SetUp() override {
        ASSERT_NE(QappAlloc(QOR_TEXT("inspect tests"), &app), 0);
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
        ASSERT_NE(QsysAlloc(app, Q_SYSTEM_SIMULATED, 0, Q_DEFAULT, &sys), 0);
        ASSERT_NE(QdigAlloc(sys, 0, QOR_TEXT(""), Q_DEFAULT, &dig), 0);
        ASSERT_NE(QseqAlloc(sys, 0, 1, Q_DEFAULT, &seq), 0);
    }
    void TearDown() override {
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_RESET, 0);
        if (sys) QsysFree(sys);
        if (app) QappFree(app);
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_ENABLE);
    }
    quillon::browser::NodeMapContext digitizerContext() {
        auto c = host.context(camera.nodeMap());
        c.object = dig;
        c.objectKind = Q_DIGITIZER_OBJECT;
        return c;
    }
    ActionOutcome run(const char* name, const quillon::browser::NodeMapContext& c,
                      QOR_ID system = -1) {
        return RunAction(camera.nodeMap()->GetNode(name), name, c, system == -1 ? sys : system,
                         viewer, advanceClock);
    }
};

TEST_F(CommandExecution, SynchronousObjectsReturnRightAfterExecuteWithoutPrintingTheFailedInquire) {
    auto c = digitizerContext();
    // A "system" that is none (the host passed its sequence) fails the
    // completion inquire, and must fail quietly even though the host prints
    // errors; the row's own digitizer is not asked.
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_ENABLE);
    testing::internal::CaptureStderr();
    EXPECT_EQ(quillon::inspect::InquireCommandCompletion(seq), 1);
    ActionOutcome outcome = run("AcquisitionStart", c, seq);
    std::string printed = testing::internal::GetCapturedStderr();
    EXPECT_EQ(printed, "");
    QOR_INT64 print = -1;
    QappInquire(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, &print);
    EXPECT_EQ(print, Q_PRINT_ENABLE) << "the host's print setting is restored";

    EXPECT_EQ(outcome, ActionOutcome::CommandExecuted);
    EXPECT_TRUE(sleeps.empty()) << "IsDone is not polled for a synchronous object";
    EXPECT_FALSE(camera.device.acquisitionActive()) << "returned while the start is still pending";
    EXPECT_EQ(host.reports, (Reports{{"CMD_AcquisitionStart", "Execute"}}));

    // Without a system the command is treated the same way.
    EXPECT_EQ(quillon::inspect::InquireCommandCompletion(0), 1);
}

TEST_F(CommandExecution, AsynchronousSystemWaitsForCompletionEvery150MsThenReports) {
    auto c = host.context(camera.nodeMap()); // a row that names no object of its own
    EXPECT_EQ(quillon::inspect::InquireCommandCompletion(sys), Q_GC_COMMAND_ASYNCHRONOUS);
    // AcquisitionStart has no polling time; neither has its pValue register.
    EXPECT_EQ(run("AcquisitionStart", c), ActionOutcome::CommandExecuted);
    ASSERT_GE(sleeps.size(), 2u) << "the start takes 300 ms";
    EXPECT_LE(sleeps.size(), 3u);
    for (int64_t s : sleeps) EXPECT_EQ(s, 150);
    EXPECT_TRUE(camera.device.acquisitionActive()) << "reported only once the command is done";
    EXPECT_EQ(host.reports, (Reports{{"CMD_AcquisitionStart", "Execute"}}));
}

TEST_F(CommandExecution, ReportsEverySelectorOfTheCommandBeforeTheCommand) {
    auto c = digitizerContext();
    GenApi::CEnumerationPtr(camera.nodeMap()->GetNode("FileSelector"))->FromString("LUTFile");
    GenApi::CEnumerationPtr(camera.nodeMap()->GetNode("FileOperationSelector"))->FromString("Close");
    EXPECT_EQ(run("FileOperationExecute", c), ActionOutcome::CommandExecuted);
    EXPECT_EQ(host.reports, (Reports{{"SELECTOR_ENUM_FileSelector", "LUTFile"},
                                     {"SELECTOR_ENUM_FileOperationSelector", "Close"},
                                     {"CMD_FileOperationExecute", "Execute"}}));
}

TEST_F(CommandExecution, HostCallbackIsCalledOnlyWithCallbackAndContextAndMayThrow) {
    auto c = digitizerContext();
    c.changeContext = nullptr;
    EXPECT_EQ(run("AcquisitionStop", c), ActionOutcome::CommandExecuted);
    c.changeContext = &host;
    c.changeCallback = nullptr;
    EXPECT_EQ(run("AcquisitionStop", c), ActionOutcome::CommandExecuted);
    EXPECT_TRUE(host.reports.empty());

    c.changeCallback = [](void*, const char*, const char*) { throw std::runtime_error("host failure"); };
    EXPECT_EQ(run("AcquisitionStop", c), ActionOutcome::CommandExecuted) << "the host's exception is dropped";
}

// A device whose every register write fails, as a disconnected camera does.
struct FailingPort : GenApi::IPort {
    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
    void Read(void* buffer, int64_t, int64_t length) override { std::memset(buffer, 0, static_cast<size_t>(length)); }
    void Write(const void*, int64_t, int64_t) override { throw ACCESS_EXCEPTION("device unplugged"); }
};

TEST(CommandFailure, ExecuteThatThrowsLeavesNoReportAndNoMessage) {
    FailingPort port;
    GenApi::CNodeMapRef map;
    map._LoadXMLFromString(GenICam::gcstring(quillon_inspect_test::inlineDescription(
        "<Command Name=\"Fire\"><pValue>FireReg</pValue><CommandValue>1</CommandValue></Command>"
        "<IntReg Name=\"FireReg\"><Address>0x100</Address><Length>4</Length><AccessMode>RW</AccessMode>"
        "<pPort>Device</pPort><Cachable>NoCache</Cachable><Sign>Unsigned</Sign>"
        "<Endianess>LittleEndian</Endianess></IntReg>")));
    map._Connect(&port);
    HostRecorder host;
    RecordingViewer viewer;
    EXPECT_EQ(RunAction(map._Ptr()->GetNode("Fire"), "Fire", host.context(map._Ptr()), 0, viewer),
              ActionOutcome::Failed);
    EXPECT_TRUE(host.reports.empty());
    EXPECT_THROW(quillon::inspect::ExecuteCommand(map._Ptr()->GetNode("Fire"), "Fire",
                                                  host.context(map._Ptr()), 0),
                 GenICam::GenericException);
    EXPECT_TRUE(host.reports.empty());
}

// Commands whose register reads back the command value until the device
// clears it; the sleep clears it after the third wait.
constexpr const char* kPolledCommands =
    "<Command Name=\"OwnPeriod\"><PollingTime>40</PollingTime><pValue>RegA</pValue>"
    "<CommandValue>1</CommandValue></Command>"
    "<Command Name=\"ValuePeriod\"><pValue>RegB</pValue><CommandValue>1</CommandValue></Command>"
    "<IntReg Name=\"RegA\"><Address>0x100</Address><Length>4</Length><AccessMode>RW</AccessMode>"
    "<pPort>Device</pPort><Cachable>NoCache</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>"
    "</IntReg>"
    "<IntReg Name=\"RegB\"><Address>0x104</Address><Length>4</Length><AccessMode>RW</AccessMode>"
    "<pPort>Device</pPort><PollingTime>20</PollingTime><Cachable>NoCache</Cachable><Sign>Unsigned</Sign>"
    "<Endianess>LittleEndian</Endianess></IntReg>";

TEST_F(CommandExecution, PeriodIsTheCommandsPollingTimeElseItsValueNodesPollingTime) {
    MemoryDevice device(kPolledCommands);
    auto c = digitizerContext();
    c.nodeMap = device.nodeMap();
    for (auto [name, address, period] : {std::tuple{"OwnPeriod", 0x100, 40}, std::tuple{"ValuePeriod", 0x104, 20}}) {
        SCOPED_TRACE(name);
        std::vector<int64_t> periods;
        auto completeAfterThree = [&, addr = address](int64_t ms) {
            periods.push_back(ms);
            if (periods.size() == 3) {
                uint32_t zero = 0;
                device.port.Write(&zero, addr, 4);
            }
        };
        host.reports.clear();
        EXPECT_EQ(RunAction(device.node(name), name, c, sys, viewer, completeAfterThree),
                  ActionOutcome::CommandExecuted);
        EXPECT_EQ(periods, (std::vector<int64_t>{period, period, period}));
        EXPECT_EQ(quillon::inspect::CompletionPeriod(device.node(name)), period);
        EXPECT_EQ(host.reports, (Reports{{std::string("CMD_") + name, "Execute"}}));
    }
}

TEST_F(CommandExecution, OtherNodeTypesAreLeftUntouched) {
    uint64_t writes = camera.device.writeCount();
    auto c = digitizerContext();
    for (const char* name : {"Width", "Gain", "DeviceVendorName", "ReverseX", "PixelFormat", "Root"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(run(name, c), ActionOutcome::Ignored);
    }
    EXPECT_EQ(RunAction(nullptr, "", c, sys, viewer), ActionOutcome::Ignored);
    EXPECT_EQ(camera.device.writeCount(), writes);
    EXPECT_EQ(viewer.calls, 0);
    EXPECT_TRUE(host.reports.empty());
}

std::vector<uint8_t> lutBytes(qorvis::sim::SimulatedCamera& device) {
    std::vector<uint8_t> bytes(256);
    device.Read(bytes.data(), 0x30000, 256);
    return bytes;
}

TEST_F(CommandExecution, RegisterIsWrittenBackOnlyWhenTheViewerChangedIt) {
    auto c = digitizerContext();
    std::vector<uint8_t> identity = lutBytes(camera.device);
    ASSERT_EQ(identity[7], 7);

    uint64_t writes = camera.device.writeCount();
    EXPECT_EQ(run("LUTValueAll", c), ActionOutcome::RegisterUnchanged);
    EXPECT_EQ(viewer.calls, 1);
    EXPECT_EQ(viewer.caption, "GenICam register access: LUTValueAll");
    EXPECT_EQ(viewer.shown, identity) << "the viewer sees the device's bytes";
    EXPECT_EQ(camera.device.writeCount(), writes) << "unchanged bytes are not written";

    viewer.edit = [](uint8_t* bytes, size_t length) {
        for (size_t i = 0; i < length; ++i) bytes[i] = static_cast<uint8_t>(255 - i);
        return true;
    };
    EXPECT_EQ(run("LUTValueAll", c), ActionOutcome::RegisterWritten);
    std::vector<uint8_t> after = lutBytes(camera.device);
    EXPECT_EQ(after[0], 255);
    EXPECT_EQ(after[255], 0);
    EXPECT_TRUE(host.reports.empty()) << "a register edit is not reported to the host";
}

} // namespace
