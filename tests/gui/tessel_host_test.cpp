// The browser window over records as a host passes them (processed by the
// controller's record code) and the host's own imaging-library objects.
#include "device_records.h"
#include "gui_support.h"
#include "memview/memory_viewer.h"

using namespace quillon::browser;

namespace {

// A system with a digitizer, and the records the quillon host passes: the
// digitizer's camera (kind 0) and the digitizer's own description (kind 1).
struct Host {
    QOR_ID app = 0, sys = 0, dig = 0;
    ControllerDeviceDesc records[2] = {};
    std::unique_ptr<quillon::controller::DeviceSet> devices;
    MemorySettingsStore store;
    Host() {
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
        QappAlloc(QOR_TEXT(""), &app);
        QsysAlloc(app, Q_SYSTEM_SIMULATED, 0, Q_DEFAULT, &sys);
        QdigAlloc(sys, 0, QOR_TEXT(""), Q_DEFAULT, &dig);
        for (uint32_t kind : {CONTROLLER_DESC_LIBRARY_NODE_MAP, CONTROLLER_DESC_LOAD_NODE_MAP}) {
            records[kind].DescKind = kind;
            records[kind].Object = dig;
            records[kind].DeviceLoad = QUILLON_DATA_DIR;
            records[kind].Version = 3;
        }
        devices = std::make_unique<quillon::controller::DeviceSet>(records, 2);
    }
    ~Host() {
        devices.reset();
        QdigFree(dig);
        QsysFree(sys);
        QappFree(app);
    }
    CTessel* Open() {
        return new CTessel(quillon::controller::BrowserSetupFor(*devices, sys, 0), &store);
    }
    GenApi::INode* Camera(const char* name) {
        return static_cast<GenApi::INodeMap*>(records[0].NodeMap)->GetNode(name);
    }
};

} // namespace

// Execute() returns once the camera has started, as the dialog's system
// completes commands asynchronously; polling checked in one window polls in
// the next.
TEST(TesselOverHostRecords, ExecuteWaitsForTheCommandAndPollingCarriesOver) {
    Host host;
    std::unique_ptr<CTessel> window(host.Open());
    window->show();
    window->tree().SelectItem(quillon_gui_test::FeatureItem(*window, "AcquisitionStart"));
    window->editors().execute->click();
    EXPECT_TRUE(GenApi::CBooleanPtr(host.Camera("AcquisitionStatus"))->GetValue());
    GenApi::CCommandPtr(host.Camera("AcquisitionStop"))->Execute();
    EXPECT_FALSE(window->pollingCheck().isChecked() || window->session().Polling());
    window->pollingCheck().click();
    window.reset(host.Open());
    EXPECT_TRUE(window->pollingCheck().isChecked() && window->session().Polling());
    window->pollingCheck().click();
    EXPECT_FALSE(window->session().Polling());
}

// What DeleteGenicamController does to a modeless controller while the
// register viewer runs: the window goes, then the node maps it loaded.
TEST(TesselOverHostRecords, AHostDeletingTheWindowWhileTheMemoryViewerRunsEndsTheEditQuietly) {
    Host host;
    CTessel* window = host.Open();
    window->show();
    window->tree().SelectItem(quillon_gui_test::FeatureItem(*window, "LUTValueAll"));
    const QPointer<CTessel> watched(window);
    bool viewerOpen = false;
    QTimer::singleShot(0, [&] {
        viewerOpen =
            qobject_cast<quillon::memview::MemoryViewerDialog*>(QApplication::activeModalWidget());
        delete window;
        host.devices.reset();
    });
    window->editors().registerEdit->click(); // returns when the viewer's loop ends
    EXPECT_TRUE(viewerOpen && watched.isNull());
}
