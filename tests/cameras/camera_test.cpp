// The camera system over Aravis's fake GigE Vision camera, on real GVCP on
// loopback inside a private network namespace: discovery and naming, the
// tree against the same description over memory, edits, commands the camera
// completes later, polling, a camera that stops answering, and the window.
#include "camera_support.h" // GLib's headers before Qt's keywords

#include <QApplication>
#include <QCheckBox>
#include <QTest>

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>

#include "../support/private_network.h"
#include "GenApi/MemoryPort.h"
#include "browser/browser_settings.h"
#include "browser/tessel_window.h"
#include "controls/column_tree_widget.h"
#include "inspect/command_execution.h"
#include "inspect/value_commit.h"

using namespace camera_test;
using namespace std::chrono_literals;

namespace {

class Cameras : public ::testing::Test {
protected:
    void SetUp() override { REQUIRE_PRIVATE_NETWORK(); }
};

std::string Text(QOR_ID object, QOR_INT64 type, bool system = false) {
    std::string text(128, '\0');
    system ? QsysInquire(object, type, text.data()) : QdigInquire(object, type, text.data());
    return text.c_str();
}

int64_t TakeError() {
    const int64_t code = QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, nullptr);
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_RESET, 0);
    return code;
}

} // namespace

TEST_F(Cameras, DiscoveryListsTheCameraAndEachOfItsNamesOpensIt) {
    FakeCamera camera;
    camera.SetMemory(0xe8, std::string("bench-left", 11));              // user name
    camera.SetMemory(0x0a, std::string("\x02\x42\xac\x11\x00\x07", 6)); // MAC address
    CameraSystem system(nullptr);
    QOR_INT64 count = -1;
    QsysInquire(system.sys, Q_SYS_CAMERA_COUNT, &count);
    EXPECT_EQ(count, 0) << "nothing is discovered before it is asked for";
    QsysControl(system.sys, Q_SYS_CAMERA_DISCOVERY, 1);
    QsysInquire(system.sys, Q_SYS_CAMERA_COUNT, &count);
    ASSERT_EQ(count, 1);
    std::string listed;
    for (QOR_INT64 type :
         {Q_SYS_CAMERA_ID, Q_SYS_CAMERA_VENDOR, Q_SYS_CAMERA_MODEL, Q_SYS_CAMERA_SERIAL_NUMBER,
          Q_SYS_CAMERA_PROTOCOL, Q_SYS_CAMERA_ADDRESS, Q_SYS_CAMERA_PHYSICAL_ADDRESS})
        listed += Text(system.sys, type, true) + ";";
    EXPECT_EQ(listed, "Aravis-Fake-GV01;Aravis;Fake;GV01;GigEVision;127.0.0.1;02:42:ac:11:00:07;");
    EXPECT_EQ(Quillon("cameras", false).out,
              "Aravis-Fake-GV01\tAravis\tFake\tGV01\tGigEVision\t127.0.0.1\n");

    // The device number counts in discovery order; a format names the camera.
    for (const char* format :
         {"", "Aravis-Fake-GV01", "GV01", "bench-left", "127.0.0.1", "02:42:AC:11:00:07"}) {
        QOR_ID dig = 0;
        QdigAlloc(system.sys, *format ? Q_DEFAULT : 0, format, Q_DEFAULT, &dig);
        ASSERT_NE(dig, 0) << format;
        std::string described;
        for (QOR_INT64 type : {Q_DIG_CAMERA_VENDOR, Q_DIG_CAMERA_MODEL, Q_DIG_CAMERA_SERIAL_NUMBER,
                               Q_DIG_CAMERA_USER_NAME, Q_DIG_CAMERA_PROTOCOL, Q_DIG_CAMERA_ADDRESS})
            described += Text(dig, type) + ";";
        EXPECT_EQ(described, "Aravis;Fake;GV01;bench-left;GigEVision;127.0.0.1;") << format;
        QdigFree(dig);
    }
    QOR_ID none = 0;
    QdigAlloc(system.sys, 1, "", Q_DEFAULT, &none);
    EXPECT_EQ(TakeError(), Q_ERR_OUT_OF_RANGE);
    QdigAlloc(system.sys, Q_DEFAULT, "GV02", Q_DEFAULT, &none);
    EXPECT_EQ(TakeError() + none, Q_ERR_CAMERA) << "no camera of that name";
    QsysControl(system.sys, Q_SYS_CAMERA_SELECTOR, 1);
    EXPECT_EQ(TakeError(), Q_ERR_OUT_OF_RANGE) << "one camera, selected as 0 only";
}

TEST_F(Cameras, TreeOverGvcpShowsWhatTheSameDescriptionShowsOverTheCamerasMemory) {
    for (const auto& [file, zipped] :
         {std::pair{std::string(), false}, {std::string(QUILLON_CAMERA_FIXTURE), true}}) {
        SCOPED_TRACE(zipped ? "the test description, zipped" : "Aravis's own description");
        FakeCamera camera(file, zipped);
        CameraSystem system;
        EXPECT_EQ(system.Inquire(Q_DIG_DESCRIPTION_ZIPPED), zipped ? Q_TRUE : Q_FALSE);
        const std::string served = camera.Served(), overGvcp = TreeText(system.CameraMap());
        EXPECT_EQ(system.Inquire(Q_DIG_DESCRIPTION_SIZE), static_cast<int64_t>(served.size()));
        GenApi::CMemoryPort memory;
        const std::string bytes = camera.Memory(0, 0xfffc);
        memory.Write(bytes.data(), 0, static_cast<int64_t>(bytes.size()));
        GenApi::CNodeMapRef copy;
        if (zipped)
            copy._LoadXMLFromZIPData(served.data(), served.size());
        else
            copy._LoadXMLFromString(served.c_str());
        copy._Connect(&memory);
        EXPECT_EQ(overGvcp, TreeText(copy._Ptr()));
        EXPECT_FALSE(Has(overGvcp, "\t Error") ||
                     std::count(overGvcp.begin(), overGvcp.end(), '\n') < 14)
            << overGvcp;
    }
}

TEST_F(Cameras, EditsReachTheCameraWithinTheFeaturesRanges) {
    FakeCamera camera(QUILLON_CAMERA_FIXTURE);
    camera.SetRegister(0x118, 1024); // SensorWidth: Width's maximum
    auto system = std::make_unique<CameraSystem>();
    float exposure = 1500.5f;
    uint32_t exposureBits = 0;
    std::memcpy(&exposureBits, &exposure, 4);
    struct Case {
        const char *feature, *text, *refusal; // no refusal: written
        uint32_t address, device;             // the register afterwards
    };
    for (const Case& c : {Case{"Width", "640", "", 0x100, 640},
                          {"Width", "1040", "1040", 0x100, 640}, // above the maximum
                          {"Width", "650", "650", 0x100, 640},   // off the increment of 16
                          {"PixelFormat", "Mono16", "", 0x128, 17825799},
                          {"ReverseX", "true", "", 0x1008, 0x80000000}, // bit 0, big-endian
                          {"ExposureTime", "1500.5", "", 0x100c, exposureBits},
                          {"DeviceUserID", "left", "", 0xe8, 0x6c656674}}) {
        SCOPED_TRACE(std::string(c.feature) + " = " + c.text);
        auto result = quillon::inspect::CommitValue(system->CameraMap()->GetNode(c.feature),
                                                    c.feature, c.text, system->Context());
        EXPECT_EQ(result.written, !*c.refusal) << result.message;
        EXPECT_TRUE(Has(result.message, c.refusal)) << result.message;
        EXPECT_EQ(camera.Register(c.address), c.device);
    }
    // The tool, once this process has let go of the camera (a GigE Vision
    // camera takes writes from the one application that controls it).
    system.reset();
    EXPECT_EQ(Quillon("get --camera 127.0.0.1 Width", false).out, "640\n");
    EXPECT_EQ(Quillon("set --camera 127.0.0.1 Width 768", false).status, 0);
    EXPECT_EQ(camera.Register(0x100), 768u);
    EXPECT_EQ(Quillon("set --camera 127.0.0.1 Width 2048").status, 2);
}

TEST_F(Cameras, ACommandWaitsUntilTheCameraReportsItDone) {
    FakeCamera camera(QUILLON_CAMERA_FIXTURE);
    CameraSystem system;
    ASSERT_EQ(system.Inquire(Q_GC_COMMAND_COMPLETION), Q_GC_COMMAND_ASYNCHRONOUS);
    // The camera works on the command for a while, then clears its register.
    std::atomic<bool> cleared{false};
    std::thread device([&] {
        while (camera.Register(0x1004) != 1)
            std::this_thread::sleep_for(2ms);
        std::this_thread::sleep_for(300ms);
        cleared = true;
        camera.SetRegister(0x1004, 0);
    });
    int checks = 0;
    auto wait = [&](int64_t period) { ++checks, std::this_thread::sleep_for(period * 1ms); };
    quillon::inspect::ExecuteCommand(system.CameraMap()->GetNode("UserSetLoad"), "UserSetLoad",
                                     system.Context(), system.sys, wait);
    EXPECT_TRUE(cleared && checks >= 1) << "Execute() returned before the camera was done";
    device.join();
}

// The window over a camera: polling rewrites rows the camera changed by
// itself. A camera that stops answering fails once with its time-out and a
// clear message, then at once; the rows show Error, the error box says why,
// and the window goes on working.
TEST_F(Cameras, TheWindowPollsAndACameraThatStopsAnsweringFailsClearlyThenAtOnce) {
    FakeCamera camera(QUILLON_CAMERA_FIXTURE);
    camera.SetRegister(0x1000, 41);
    CameraSystem system;
    quillon::browser::MemorySettingsStore store;
    quillon::browser::NodeMapEntry entry;
    entry.context = system.Context();
    quillon::browser::CTessel window(quillon::browser::BrowserSetup{{entry}, 0, {}, false}, &store);
    window.show();
    auto text = [&](const char* feature) {
        for (const auto& row : window.session().model().featureRows())
            if (row.node && row.node->GetName() == feature)
                return window.tree().ItemText(row.treeItem);
        return std::string("<no row>");
    };
    auto settle = [](int ticks) {
        for (int i = 0; i < ticks; ++i)
            QApplication::processEvents(), std::this_thread::sleep_for(20ms);
    };
    EXPECT_EQ(text("Width"), "Width \t 512");
    EXPECT_EQ(text("DeviceTemperature"), "DeviceTemperature \t 41");
    window.pollingCheck().click();
    camera.SetRegister(0x1000, 57);
    for (int i = 0; i < 100 && text("DeviceTemperature") != "DeviceTemperature \t 57"; ++i)
        settle(1);
    EXPECT_EQ(text("DeviceTemperature"), "DeviceTemperature \t 57");
    window.pollingCheck().click();
    EXPECT_TRUE(window.errorBox().isHidden());
    camera.Stop();
    try {
        GenApi::CIntegerPtr(system.CameraMap()->GetNode("DeviceTemperature"))->GetValue();
        ADD_FAILURE() << "a stopped camera answered";
    } catch (const GenICam::AccessException& e) {
        EXPECT_TRUE(
            Has(e.GetDescription(), "Error in QdigReadCamera: Camera not responding. 127.0.0.1"))
            << e.GetDescription();
    }
    EXPECT_EQ(TakeError(), Q_ERR_CAMERA);
    // Lost: nothing more is sent, every row fails at once.
    const int64_t reads = system.Inquire(Q_DIG_CAMERA_READS);
    EXPECT_TRUE(Has(TreeText(system.CameraMap()), "DeviceTemperature \t Error"));
    EXPECT_EQ(system.Inquire(Q_DIG_CAMERA_READS), reads);
    EXPECT_EQ(system.Inquire(Q_DIG_CAMERA_PRESENT), Q_FALSE);
    EXPECT_TRUE(
        Has(Text(system.dig, Q_DIG_CAMERA_STATE), "Not responding: 127.0.0.1 did not answer"));
    // F5 reads the visible rows again.
    QTest::keyClick(&window, Qt::Key_F5);
    settle(20);
    EXPECT_EQ(text("Width"), "Width \t Error");
    EXPECT_TRUE(Has(window.errorBox().toPlainText().toStdString(),
                    "Error in QdigReadCamera: Camera not responding."));
    // Polling on and off, a rebuild, and the window closes as usual.
    window.pollingCheck().click();
    settle(40);
    window.pollingCheck().click();
    window.session().Refresh();
    EXPECT_EQ(text("DeviceTemperature"), "DeviceTemperature \t Error");
    window.close();
    // The tool ends with one line: the camera is not there to be opened.
    Outcome tool = Quillon("get --camera 127.0.0.1 Width");
    EXPECT_EQ(tool.status, 2);
    EXPECT_EQ(std::count(tool.out.begin(), tool.out.end(), '\n'), 1) << tool.out;
    camera.Start(); // back, so that closing the camera is answered
}

// Each test is a process of its own under ctest, in a private network of its own.
int main(int argc, char** argv) {
    camera_test::noPrivateNetwork = quillon_test_support::EnterPrivateNetwork(argv);
    ::testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication application(argc, argv); // the window's
    return RUN_ALL_TESTS();
}
