// The camera system over Aravis's fake GigE Vision camera, on real GVCP on
// loopback inside a private network namespace: discovery and naming, the
// tree and every value against the same description over memory, edits with
// their range checks, commands the camera completes later, polling, the
// register editor, a camera that stops answering, and the host's kind-0 record.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <thread>

#include "../browser/browser_support.h"
#include "GenApi/MemoryPort.h"
#include "browser/feature_polling.h"
#include "camera_support.h"
#include "inspect/command_execution.h"
#include "inspect/value_commit.h"

using namespace camera_test;
using namespace std::chrono_literals;

namespace {

class Cameras : public ::testing::Test {
protected:
    void SetUp() override { REQUIRE_PRIVATE_NETWORK(); }
};

std::string SystemText(QOR_ID sys, QOR_INT64 type) {
    QOR_INT64 size = 0;
    QsysInquire(sys, type + Q_STRING_SIZE, &size);
    std::string text(static_cast<size_t>(size) + 1, '\0');
    QsysInquire(sys, type, text.data());
    return text.c_str();
}

int64_t PendingError() {
    return QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT, nullptr);
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
        listed += SystemText(system.sys, type) + ";";
    EXPECT_EQ(listed, "Aravis-Fake-GV01;Aravis;Fake;GV01;GigEVision;127.0.0.1;02:42:ac:11:00:07;");
    Outcome tool = Quillon("cameras");
    EXPECT_EQ(tool.status, 0);
    EXPECT_EQ(tool.out, "Aravis-Fake-GV01\tAravis\tFake\tGV01\tGigEVision\t127.0.0.1\n");

    // The device number counts in discovery order; a format names the camera.
    struct Case {
        QOR_INT device;
        const char* format;
    };
    for (const Case& c : {Case{0, ""}, Case{Q_DEFAULT, "Aravis-Fake-GV01"}, Case{Q_DEFAULT, "GV01"},
                          Case{Q_DEFAULT, "bench-left"}, Case{Q_DEFAULT, "127.0.0.1"},
                          Case{Q_DEFAULT, "02:42:AC:11:00:07"}}) {
        QOR_ID dig = 0;
        QdigAlloc(system.sys, c.device, c.format, Q_DEFAULT, &dig);
        ASSERT_NE(dig, 0) << c.format;
        std::string serial(16, '\0');
        QdigInquire(dig, Q_DIG_CAMERA_SERIAL_NUMBER, serial.data());
        EXPECT_STREQ(serial.c_str(), "GV01") << c.format;
        QdigFree(dig);
    }
    QOR_ID none = 0;
    QdigAlloc(system.sys, 1, "", Q_DEFAULT, &none);
    EXPECT_EQ(PendingError(), Q_ERR_OUT_OF_RANGE);
    QdigAlloc(system.sys, Q_DEFAULT, "GV02", Q_DEFAULT, &none);
    EXPECT_EQ(PendingError(), Q_ERR_CAMERA);
    EXPECT_EQ(none, 0);
}

TEST_F(Cameras, TreeOverGvcpShowsWhatTheSameDescriptionShowsOverTheCamerasMemory) {
    struct Served {
        const char* what;
        std::string file;
        bool zipped;
    };
    for (const Served& s : {Served{"Aravis's own description, plain", "", false},
                            Served{"the test description, zipped", QUILLON_CAMERA_FIXTURE, true}}) {
        SCOPED_TRACE(s.what);
        FakeCamera camera(s.file, s.zipped);
        CameraSystem system;
        ASSERT_NE(system.dig, 0);
        EXPECT_EQ(system.Inquire(Q_DIG_DESCRIPTION_ZIPPED), s.zipped ? Q_TRUE : Q_FALSE);
        EXPECT_EQ(system.Inquire(Q_DIG_DESCRIPTION_SIZE),
                  static_cast<int64_t>(camera.Served().size()));
        const std::string overGvcp = TreeText(system.CameraMap());

        GenApi::CMemoryPort memory;
        const std::string bytes = camera.Memory(0, 0xfffc);
        memory.Write(bytes.data(), 0, static_cast<int64_t>(bytes.size()));
        GenApi::CNodeMapRef copy;
        const std::string served = camera.Served();
        if (s.zipped)
            copy._LoadXMLFromZIPData(served.data(), served.size());
        else
            copy._LoadXMLFromString(served.c_str());
        copy._Connect(&memory);
        EXPECT_EQ(overGvcp, TreeText(copy._Ptr()));
        EXPECT_GE(std::count(overGvcp.begin(), overGvcp.end(), '\n'), 14);
        EXPECT_FALSE(Has(overGvcp, "\t Error")) << overGvcp;
    }
}

TEST_F(Cameras, EditsReachTheCameraWithinTheFeaturesRanges) {
    FakeCamera camera(QUILLON_CAMERA_FIXTURE);
    camera.SetRegister(0x118, 1024); // SensorWidth: Width's maximum
    camera.SetRegister(0x100, 512);
    auto system = std::make_unique<CameraSystem>();
    struct Case {
        const char* feature;
        const char* text;
        const char* refusal; // empty: written
        uint32_t address;
        uint32_t device; // the register afterwards
    };
    float exposure = 1500.5f;
    uint32_t exposureBits = 0;
    std::memcpy(&exposureBits, &exposure, 4);
    const Case cases[] = {
        {"Width", "640", "", 0x100, 640},
        {"Width", "1040", "1040", 0x100, 640}, // above the camera's maximum
        {"Width", "650", "650", 0x100, 640},   // off the increment of 16
        {"PixelFormat", "Mono16", "", 0x128, 17825799},
        {"ReverseX", "true", "", 0x1008, 0x80000000}, // bit 0 of a big-endian register
        {"ExposureTime", "1500.5", "", 0x100c, exposureBits},
        {"DeviceUserID", "left", "", 0xe8, 0x6c656674}, // "left"
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.feature) + " = " + c.text);
        auto result = quillon::inspect::CommitValue(system->CameraMap()->GetNode(c.feature),
                                                    c.feature, c.text, system->Context());
        EXPECT_EQ(result.written, std::string(c.refusal).empty()) << result.message;
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
    // The camera works on the command for a while after the write, then
    // clears its register.
    std::atomic<bool> cleared{false};
    std::thread device([&] {
        while (camera.Register(0x1004) != 1)
            std::this_thread::sleep_for(2ms);
        std::this_thread::sleep_for(300ms);
        cleared = true;
        camera.SetRegister(0x1004, 0);
    });
    int checks = 0;
    quillon::inspect::ExecuteCommand(system.CameraMap()->GetNode("UserSetLoad"), "UserSetLoad",
                                     system.Context(), system.sys, [&](int64_t period) {
                                         ++checks;
                                         std::this_thread::sleep_for(
                                             std::chrono::milliseconds(period));
                                     });
    EXPECT_TRUE(cleared) << "Execute() returned before the camera was done";
    EXPECT_GE(checks, 1);
    device.join();
}

TEST_F(Cameras, PollingRewritesRowsTheCameraChangedByItself) {
    FakeCamera camera(QUILLON_CAMERA_FIXTURE);
    camera.SetRegister(0x1000, 41);
    CameraSystem system;
    quillon_browser_test::Browser browser;
    quillon::browser::NodeMapEntry entry;
    entry.context = system.Context();
    browser.model.Build({entry}, quillon::browser::kGuru);
    ASSERT_EQ(browser.Text("DeviceTemperature"), "DeviceTemperature \t 41");

    quillon::browser::SetLibraryPolling(Q_DIGITIZER_OBJECT, system.dig, true);
    EXPECT_TRUE(quillon::browser::LibraryPollingEnabled(Q_DIGITIZER_OBJECT, system.dig));
    quillon::browser::GenICamPollingNodes polling;
    polling.AddNodeMap(system.CameraMap());
    polling.Start();
    camera.SetRegister(0x1000, 57);
    for (int i = 0; i < 150 && browser.Text("DeviceTemperature") != "DeviceTemperature \t 57";
         ++i) {
        std::this_thread::sleep_for(20ms);
        browser.changes.Tick(browser.model);
    }
    polling.Stop();
    EXPECT_EQ(browser.Text("DeviceTemperature"), "DeviceTemperature \t 57");
}

TEST_F(Cameras, TheRegisterEditorWritesTheCameraOnlyWhenBytesChanged) {
    FakeCamera camera(QUILLON_CAMERA_FIXTURE);
    camera.SetMemory(0x2000, std::string("0123456789abcdef"));
    CameraSystem system;
    struct Viewer : quillon::inspect::MemoryViewer {
        bool change = false;
        std::string seen;
        bool Edit(const std::string&, uint8_t* buffer, size_t length) override {
            seen.assign(reinterpret_cast<char*>(buffer), length);
            if (change) buffer[0] = 'X';
            return change;
        }
    } viewer;
    GenApi::INode* lut = system.CameraMap()->GetNode("LUTValueAll");
    for (bool change : {false, true}) {
        viewer.change = change;
        const int64_t writes = system.Inquire(Q_DIG_CAMERA_WRITES);
        auto outcome =
            quillon::inspect::RunAction(lut, "LUTValueAll", system.Context(), system.sys, viewer);
        EXPECT_EQ(viewer.seen, "0123456789abcdef");
        EXPECT_EQ(outcome, change ? quillon::inspect::ActionOutcome::RegisterWritten
                                  : quillon::inspect::ActionOutcome::RegisterUnchanged);
        EXPECT_EQ(system.Inquire(Q_DIG_CAMERA_WRITES) - writes, change ? 1 : 0);
    }
    EXPECT_EQ(camera.Memory(0x2000, 16), "X123456789abcdef");
}

TEST_F(Cameras, ACameraThatStopsAnsweringFailsClearlyThenAtOnce) {
    FakeCamera camera(QUILLON_CAMERA_FIXTURE);
    CameraSystem system;
    GenApi::CIntegerPtr temperature = system.CameraMap()->GetNode("DeviceTemperature");
    EXPECT_NO_THROW(temperature->GetValue());
    camera.Stop();
    try {
        temperature->GetValue();
        ADD_FAILURE() << "a stopped camera answered";
    } catch (const GenICam::AccessException& e) {
        EXPECT_TRUE(
            Has(e.GetDescription(), "Error in QdigReadCamera: Camera not responding. 127.0.0.1"))
            << e.GetDescription();
    }
    EXPECT_EQ(PendingError(), Q_ERR_CAMERA);
    // Lost: nothing more is sent, every row fails at once.
    const int64_t reads = system.Inquire(Q_DIG_CAMERA_READS);
    const std::string tree = TreeText(system.CameraMap());
    EXPECT_TRUE(Has(tree, "DeviceTemperature \t Error")) << tree;
    EXPECT_EQ(system.Inquire(Q_DIG_CAMERA_READS), reads);
    EXPECT_EQ(system.Inquire(Q_DIG_CAMERA_PRESENT), Q_FALSE);
    std::string state(128, '\0');
    QdigInquire(system.dig, Q_DIG_CAMERA_STATE, state.data());
    EXPECT_TRUE(Has(state, "Not responding: 127.0.0.1 did not answer")) << state;
    // The tool ends with one line: the camera is not there to be opened.
    Outcome tool = Quillon("get --camera 127.0.0.1 Width");
    EXPECT_EQ(tool.status, 2);
    EXPECT_EQ(std::count(tool.out.begin(), tool.out.end(), '\n'), 1) << tool.out;
    camera.Start(); // back, so that closing the camera is answered
}

#ifdef QUILLON_HAVE_GUI
TEST_F(Cameras, TheHostShowsTheCameraThroughAKindZeroRecord) {
    FakeCamera camera(QUILLON_CAMERA_FIXTURE);
    char home[] = "/tmp/quillon_camera_host_XXXXXX";
    ASSERT_NE(mkdtemp(home), nullptr);
    const std::string image = std::string(home) + "/camera.png";
    // No display: the host prints the tree of the node maps the library
    // handed back in the records, and saves the window.
    Outcome run =
        Quillon(std::string("--camera 127.0.0.1 --image ") + image, false,
                std::string("-u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM HOME=") + home);
    EXPECT_EQ(run.status, 0) << run.out;
    for (const char* piece : {"\nCamera\n", "    DeviceVendorName \t Aravis\n", "\nDigitizer\n",
                              "    Camera State \t Answering\n", "saved the browser window to "})
        EXPECT_TRUE(Has("\n" + run.out, piece)) << piece << "\n" << run.out;
    EXPECT_TRUE(std::filesystem::exists(image));
    std::filesystem::remove_all(home);
}
#endif
