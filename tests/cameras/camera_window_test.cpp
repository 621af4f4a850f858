// The browser window on a camera that stops answering: its rows show Error,
// the error box says why, and the window goes on working.
#include "camera_support.h" // GLib's headers before Qt's keywords

#include <QApplication>
#include <QCheckBox>
#include <QTest>

#include <chrono>
#include <thread>

#include "../gui/gui_support.h"
#include "browser/browser_settings.h"
#include "controls/column_tree_widget.h"

using namespace camera_test;

TEST(CameraWindow, AStoppedCameraShowsErrorInItsRowsAndTheErrorBoxAndTheWindowLives) {
    REQUIRE_PRIVATE_NETWORK();
    FakeCamera camera(QUILLON_CAMERA_FIXTURE);
    CameraSystem system;
    quillon::browser::MemorySettingsStore store;
    quillon::browser::NodeMapEntry entry;
    entry.context = system.Context();
    quillon::browser::CTessel window(quillon::browser::BrowserSetup{{entry}, 0, {}, false}, &store);
    window.show();
    auto text = [&](const char* feature) {
        return window.tree().ItemText(quillon_gui_test::FeatureItem(window, feature));
    };
    auto settle = [](int ticks) {
        for (int i = 0; i < ticks; ++i) {
            QApplication::processEvents();
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    };
    EXPECT_EQ(text("Width"), "Width \t 512");
    EXPECT_TRUE(window.errorBox().isHidden());

    camera.Stop();
    // F5 reads the visible rows again: the first read waits for the camera's
    // time-out, the others fail at once.
    QTest::keyClick(&window, Qt::Key_F5);
    settle(20);
    EXPECT_EQ(text("Width"), "Width \t Error");
    EXPECT_EQ(text("DeviceTemperature"), "DeviceTemperature \t Error");
    EXPECT_TRUE(Has(window.errorBox().toPlainText().toStdString(),
                    "Error in QdigReadCamera: Camera not responding."));
    // Polling on and off, a rebuild, and the window closes as usual.
    window.pollingCheck().click();
    settle(40);
    window.pollingCheck().click();
    window.session().Refresh();
    EXPECT_EQ(text("DeviceTemperature"), "DeviceTemperature \t Error");
    window.close();
    camera.Start(); // back, so that closing the camera is answered
}
