// The browser window over records as a host passes them (processed by the
// controller's record code) and the host's own imaging-library objects.
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QPointer>
#include <QTimer>

#include <memory>

#include "GenApi/GenApi.h"
#include "browser/tessel_window.h"
#include "controls/column_tree_widget.h"
#include "controls/entry_controls_widget.h"
#include "device_records.h"
#include "gui_support.h"
#include "memview/memory_viewer.h"
#include "qorvis.h"

using namespace quillon::browser;
using quillon::controller::DeviceSet;

namespace {

// A system with a digitizer, and the records the quillon host passes: the
// digitizer's camera (kind 0) and the digitizer's own description (kind 1).
struct Host {
    QOR_ID app = 0, sys = 0, dig = 0;
    ControllerDeviceDesc records[2] = {};
    std::unique_ptr<DeviceSet> devices;
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
        devices = std::make_unique<DeviceSet>(records, 2);
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

TEST(TesselOverHostRecords, ExecuteWaitsUntilTheCommandIsDoneWhenTheDialogsSystemSaysSo) {
    Host host;
    std::unique_ptr<CTessel> window(host.Open());
    window->show();
    window->tree().SelectItem(quillon_gui_test::FeatureItem(*window, "AcquisitionStart"));
    ASSERT_TRUE(window->editors().execute->isVisible());
    GenApi::CBooleanPtr running(host.Camera("AcquisitionStatus"));
    ASSERT_FALSE(running->GetValue());
    window->editors().execute->click();
    // It returned once the device reported the command done: the acquisition runs.
    EXPECT_TRUE(GenApi::CCommandPtr(host.Camera("AcquisitionStart"))->IsDone());
    EXPECT_TRUE(running->GetValue());
    GenApi::CCommandPtr(host.Camera("AcquisitionStop"))->Execute();
}

TEST(TesselOverHostRecords, PollingCheckedInOneWindowPollsInTheNext) {
    Host host;
    std::unique_ptr<CTessel> first(host.Open());
    EXPECT_FALSE(first->pollingCheck().isChecked() || first->session().Polling());
    first->pollingCheck().click();
    EXPECT_TRUE(first->session().Polling());
    first.reset();
    std::unique_ptr<CTessel> again(host.Open());
    EXPECT_TRUE(again->pollingCheck().isChecked());
    EXPECT_TRUE(again->session().Polling()) << "a box that shows checked polls";
    again->pollingCheck().click();
    EXPECT_FALSE(again->session().Polling());
}

// What DeleteGenicamController does to a modeless controller while the
// register viewer runs: the window goes, then the node maps it loaded.
TEST(TesselOverHostRecords, AHostDeletingTheWindowWhileTheMemoryViewerRunsEndsTheEditQuietly) {
    Host host;
    CTessel* window = host.Open();
    window->show();
    window->tree().SelectItem(quillon_gui_test::FeatureItem(*window, "LUTValueAll"));
    QPushButton* edit = window->editors().registerEdit;
    ASSERT_TRUE(edit->isVisible());
    const QPointer<CTessel> watched(window);
    bool viewerOpen = false;
    QTimer::singleShot(0, [&] {
        viewerOpen =
            qobject_cast<quillon::memview::MemoryViewerDialog*>(QApplication::activeModalWidget());
        delete window;
        host.devices.reset();
    });
    edit->click(); // returns when the viewer's loop ends
    EXPECT_TRUE(viewerOpen);
    EXPECT_TRUE(watched.isNull());
}

} // namespace
