// The action button over real node maps: the simulated camera behind a real
// imaging-library system (which answers the command-completion inquire), and
// inline descriptions over a memory port. Only the sleep and the memory
// viewer are stand-ins.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "inspect/command_execution.h"
#include "inspect/register_editing.h"
#include "inspect_support.h"
#include "qorvis.h"

namespace {

using quillon::inspect::ActionOutcome;
using quillon::inspect::RunAction;
using Reports = std::vector<std::pair<std::string, std::string>>;

// A viewer that records what it was shown and optionally changes the bytes.
struct RecordingViewer : quillon::inspect::MemoryViewer {
    int calls = 0;
    std::string caption;
    std::vector<uint8_t> shown;
    bool change = false;
    bool Edit(const std::string& c, uint8_t* buffer, size_t length) override {
        ++calls;
        caption = c;
        shown.assign(buffer, buffer + length);
        for (size_t i = 0; change && i < length; ++i)
            buffer[i] = static_cast<uint8_t>(255 - i);
        return change;
    }
};

// An application with a system (the dialog's object, which completes
// commands asynchronously) and a sequence, over the camera on a manual clock.
struct CommandExecution : ::testing::Test {
    QOR_ID app = 0, sys = 0, dig = 0, seq = 0;
    qorvis::sim::ManualClock clock;
    qorvis::sim::ConnectedSimulatedCamera camera{clock.clock()};
    quillon_inspect_test::HostRecorder host;
    RecordingViewer viewer;
    std::vector<int64_t> sleeps;
    // Instead of waiting, moves the camera's time on by the period asked for.
    quillon::inspect::CompletionSleep advance = [this](int64_t ms) {
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
        QsysFree(sys);
        QappFree(app);
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_ENABLE);
    }
    ActionOutcome Run(const char* name, QOR_ID system) {
        return RunAction(camera.nodeMap()->GetNode(name), name, host.context(camera.nodeMap()),
                         system, viewer, advance);
    }
};

} // namespace

TEST_F(CommandExecution, WithoutAnAsynchronousSystemTheCommandReturnsAtOnce) {
    // A "system" that is none (the host passed its sequence) fails the
    // completion inquire quietly, even though the host prints errors.
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_ENABLE);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Run("AcquisitionStart", seq), ActionOutcome::CommandExecuted);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    QOR_INT64 print = -1;
    QappInquire(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, &print);
    EXPECT_EQ(print, Q_PRINT_ENABLE) << "the host's print setting is restored";
    EXPECT_TRUE(sleeps.empty());
    EXPECT_FALSE(camera.device.acquisitionActive()) << "returned while the start is still pending";
    EXPECT_EQ(quillon::inspect::InquireCommandCompletion(0), 1);
}

TEST_F(CommandExecution, TheSimulatedSystemIsPolledEvery150MsUntilTheCommandIsDone) {
    // The start takes 300 ms; neither the command nor its register has a polling time.
    EXPECT_EQ(quillon::inspect::InquireCommandCompletion(sys), Q_GC_COMMAND_ASYNCHRONOUS);
    EXPECT_EQ(Run("AcquisitionStart", sys), ActionOutcome::CommandExecuted);
    EXPECT_EQ(sleeps, (std::vector<int64_t>{150, 150}));
    EXPECT_TRUE(camera.device.acquisitionActive()) << "reported only once the command is done";
    EXPECT_EQ(host.reports, (Reports{{"CMD_AcquisitionStart", "Execute"}}));
}

TEST_F(CommandExecution, ThePeriodIsTheCommandsPollingTimeElseItsValueNodes) {
    // The registers read back the command value until the sleep clears them.
    quillon_inspect_test::MemoryDevice device(
        "<Command Name=\"OwnPeriod\"><PollingTime>40</PollingTime><pValue>RegA</pValue>"
        "<CommandValue>1</CommandValue></Command>"
        "<Command "
        "Name=\"ValuePeriod\"><pValue>RegB</pValue><CommandValue>1</CommandValue></Command>"
        "<IntReg "
        "Name=\"RegA\"><Address>0x100</Address><Length>4</Length><AccessMode>RW</AccessMode>"
        "<pPort>Device</pPort><Cachable>NoCache</Cachable></IntReg>"
        "<IntReg "
        "Name=\"RegB\"><Address>0x104</Address><Length>4</Length><AccessMode>RW</AccessMode>"
        "<pPort>Device</pPort><PollingTime>20</PollingTime><Cachable>NoCache</Cachable></IntReg>");
    for (auto [name, address, period] :
         {std::tuple{"OwnPeriod", 0x100, 40}, {"ValuePeriod", 0x104, 20}}) {
        std::vector<int64_t> periods;
        const auto completeAfterThree = [&, at = address](int64_t ms) {
            periods.push_back(ms);
            const uint32_t zero = 0;
            if (periods.size() == 3) device.port.Write(&zero, at, 4);
        };
        host.reports.clear();
        EXPECT_EQ(RunAction(device.node(name), name, host.context(device.nodeMap()), sys, viewer,
                            completeAfterThree),
                  ActionOutcome::CommandExecuted);
        EXPECT_EQ(periods, std::vector<int64_t>(3, period)) << name;
        EXPECT_EQ(host.reports, (Reports{{std::string("CMD_") + name, "Execute"}}));
    }
}

TEST_F(CommandExecution, TheHostHearsTheSelectorsFirstAndOnlyWithCallbackAndContext) {
    GenApi::CEnumerationPtr(camera.nodeMap()->GetNode("FileSelector"))->FromString("LUTFile");
    GenApi::CEnumerationPtr(camera.nodeMap()->GetNode("FileOperationSelector"))
        ->FromString("Close");
    EXPECT_EQ(Run("FileOperationExecute", seq), ActionOutcome::CommandExecuted);
    EXPECT_EQ(host.reports, (Reports{{"SELECTOR_ENUM_FileSelector", "LUTFile"},
                                     {"SELECTOR_ENUM_FileOperationSelector", "Close"},
                                     {"CMD_FileOperationExecute", "Execute"}}));
    host.reports.clear();
    auto c = host.context(camera.nodeMap());
    c.changeContext = nullptr;
    EXPECT_EQ(
        RunAction(camera.nodeMap()->GetNode("AcquisitionStop"), "AcquisitionStop", c, seq, viewer),
        ActionOutcome::CommandExecuted);
    c.changeContext = &host;
    c.changeCallback = nullptr;
    RunAction(camera.nodeMap()->GetNode("AcquisitionStop"), "AcquisitionStop", c, seq, viewer);
    EXPECT_TRUE(host.reports.empty());
    c.changeCallback = [](void*, const char*, const char*) {
        throw std::runtime_error("host failure");
    };
    EXPECT_EQ(
        RunAction(camera.nodeMap()->GetNode("AcquisitionStop"), "AcquisitionStop", c, seq, viewer),
        ActionOutcome::CommandExecuted)
        << "the host's exception is dropped";
}

TEST_F(CommandExecution, RegistersGoThroughTheViewerOtherTypesAreLeftAlone) {
    const uint64_t writes = camera.device.writeCount();
    for (const char* name :
         {"Width", "Gain", "DeviceVendorName", "ReverseX", "PixelFormat", "Root"})
        EXPECT_EQ(Run(name, seq), ActionOutcome::Ignored) << name;
    EXPECT_EQ(RunAction(nullptr, "", host.context(), sys, viewer), ActionOutcome::Ignored);
    EXPECT_EQ(viewer.calls, 0);

    // Written back only when the viewer changed the bytes.
    std::vector<uint8_t> lut(256);
    camera.device.Read(lut.data(), 0x30000, 256);
    EXPECT_EQ(Run("LUTValueAll", seq), ActionOutcome::RegisterUnchanged);
    EXPECT_EQ(viewer.caption, "GenICam register access: LUTValueAll");
    EXPECT_EQ(viewer.shown, lut) << "the viewer sees the device's bytes";
    EXPECT_EQ(camera.device.writeCount(), writes);
    viewer.change = true;
    EXPECT_EQ(Run("LUTValueAll", seq), ActionOutcome::RegisterWritten);
    camera.device.Read(lut.data(), 0x30000, 256);
    EXPECT_EQ(lut[0], 255);
    EXPECT_EQ(lut[255], 0);
    EXPECT_TRUE(host.reports.empty()) << "a register edit is not reported to the host";
}

// A device whose every register write fails, as a disconnected camera does.
struct FailingPort : GenApi::IPort {
    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
    void Read(void* buffer, int64_t, int64_t length) override {
        std::memset(buffer, 0, static_cast<size_t>(length));
    }
    void Write(const void*, int64_t, int64_t) override {
        throw ACCESS_EXCEPTION("device unplugged");
    }
};

TEST(CommandFailure, AnExecuteThatThrowsReportsNothing) {
    FailingPort port;
    GenApi::CNodeMapRef map;
    map._LoadXMLFromString(GenICam::gcstring(quillon_inspect_test::InlineDescription(
        "<Command Name=\"Fire\"><pValue>FireReg</pValue><CommandValue>1</CommandValue></Command>" +
        quillon_inspect_test::Reg("FireReg", "0x100"))));
    map._Connect(&port);
    quillon_inspect_test::HostRecorder host;
    RecordingViewer viewer;
    GenApi::INode* fire = map._Ptr()->GetNode("Fire");
    EXPECT_EQ(RunAction(fire, "Fire", host.context(map._Ptr()), 0, viewer), ActionOutcome::Failed);
    EXPECT_THROW(quillon::inspect::ExecuteCommand(fire, "Fire", host.context(map._Ptr()), 0),
                 GenICam::GenericException);
    EXPECT_TRUE(host.reports.empty());
}
