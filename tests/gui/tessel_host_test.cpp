// The browser window over records as a host passes them (processed by the
// controller's record code) and the host's own imaging-library objects: the
// dialog's system decides whether a command is waited for, polling comes
// back on in the next window, and a host may delete the window while the
// memory viewer runs.
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QPointer>
#include <QPushButton>
#include <QTimer>

#include <memory>
#include <vector>

#include "GenApi/GenApi.h"
#include "browser/tessel_window.h"
#include "controls/column_tree_widget.h"
#include "controls/entry_controls_widget.h"
#include "device_records.h"
#include "gui_support.h"
#include "memview/memory_viewer.h"
#include "qorvis.h"

using namespace quillon::browser;
using quillon::controller::BrowserSetupFor;
using quillon::controller::DeviceSet;

namespace {

// A system with a digitizer, and the records the quillon host passes: the
// digitizer's camera (kind 0) and the digitizer's own description (kind 1).
struct HostObjects {
    QOR_ID app = 0, sys = 0, dig = 0;
    std::vector<ControllerDeviceDesc> records;
    HostObjects() {
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
        QappAlloc(QOR_TEXT(""), &app);
        QsysAlloc(app, Q_SYSTEM_SIMULATED, 0, Q_DEFAULT, &sys);
        QdigAlloc(sys, 0, QOR_TEXT(""), Q_DEFAULT, &dig);
        records = {Record(CONTROLLER_DESC_LIBRARY_NODE_MAP, "Camera"),
                   Record(CONTROLLER_DESC_LOAD_NODE_MAP, "Digitizer")};
    }
    ~HostObjects() {
        QdigFree(dig);
        QsysFree(sys);
        QappFree(app);
    }
    ControllerDeviceDesc Record(uint32_t kind, const char* label) const {
        ControllerDeviceDesc record{};
        record.DescKind = kind;
        record.Object = dig;
        record.DeviceLoad = QUILLON_DATA_DIR;
        record.Label1 = label;
        record.Version = 3;
        return record;
    }
    GenApi::INodeMap* camera() const { return static_cast<GenApi::INodeMap*>(records[0].NodeMap); }
};

struct HostWindow {
    HostObjects host;
    DeviceSet devices{host.records.data(), static_cast<int64_t>(host.records.size())};
    MemorySettingsStore store;
    std::unique_ptr<CTessel> Open() {
        return std::make_unique<CTessel>(BrowserSetupFor(devices, host.sys, 0), &store);
    }
};

TEST(TesselOverHostRecords, ExecuteWaitsUntilTheCommandIsDoneWhenTheDialogsSystemSaysSo) {
    HostWindow h;
    auto window = h.Open();
    window->show();
    window->tree().SelectItem(quillon_gui_test::FeatureItem(*window, "AcquisitionStart"));
    ASSERT_TRUE(window->editors().execute->isVisible());
    GenApi::CBooleanPtr running(h.host.camera()->GetNode("AcquisitionStatus"));
    ASSERT_FALSE(running->GetValue());
    window->editors().execute->click();
    // The button returned once the device reported the command done: the
    // start is no longer pending and the acquisition runs.
    EXPECT_TRUE(GenApi::CCommandPtr(h.host.camera()->GetNode("AcquisitionStart"))->IsDone());
    EXPECT_TRUE(running->GetValue());
    GenApi::CCommandPtr(h.host.camera()->GetNode("AcquisitionStop"))->Execute();
}

TEST(TesselOverHostRecords, PollingCheckedInOneWindowPollsInTheNext) {
    HostWindow h;
    {
        auto first = h.Open();
        EXPECT_FALSE(first->pollingCheck().isChecked());
        EXPECT_FALSE(first->session().Polling());
        first->pollingCheck().click();
        EXPECT_TRUE(first->session().Polling());
    }
    auto again = h.Open();
    EXPECT_TRUE(again->pollingCheck().isChecked());
    EXPECT_TRUE(again->session().Polling()) << "a box that shows checked polls";
    again->pollingCheck().click();
    EXPECT_FALSE(again->session().Polling());
}

// What DeleteGenicamController does to a modeless controller: the window
// goes, then the node maps the controller loaded.
TEST(TesselOverHostRecords, AHostDeletingTheWindowWhileTheMemoryViewerRunsEndsTheEditQuietly) {
    HostObjects host;
    auto devices =
        std::make_unique<DeviceSet>(host.records.data(), static_cast<int64_t>(host.records.size()));
    MemorySettingsStore store;
    auto* window = new CTessel(BrowserSetupFor(*devices, host.sys, 0), &store);
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
        devices.reset();
    });
    edit->click(); // returns when the viewer's loop ends
    EXPECT_TRUE(viewerOpen);
    EXPECT_TRUE(watched.isNull());
}

} // namespace
