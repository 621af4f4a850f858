// The window title from the node maps, and the fixed
// control texts the GUI shows.
#include <gtest/gtest.h>

#include <string>

#include "browser/browser_title.h"
#include "browser_support.h"
#include "sim/sim_camera.h"

using namespace quillon::browser;
using quillon_browser_test::Entry;
using quillon_browser_test::InlineMap;

namespace {

std::string Names(const char* vendor, const char* model, const char* vendorExtra = "") {
    std::string body = "<Category Name=\"Root\"/><Integer Name=\"Zero\"><Value>0</Value></Integer>";
    if (vendor)
        body += std::string("<String Name=\"DeviceVendorName\">") + vendorExtra + "<Value>" + vendor + "</Value></String>";
    if (model) body += std::string("<String Name=\"DeviceModelName\"><Value>") + model + "</Value></String>";
    return body;
}

} // namespace

TEST(BrowserTitle, NamesTheDeviceFromTheFirstNodeMapWithBothReadableNames) {
    InlineMap vendorOnly{Names("Lone", nullptr)};
    InlineMap unavailable{Names("Hidden", "H1", "<pIsAvailable>Zero</pIsAvailable>")};
    InlineMap second{Names("Acme", "A-100")};
    qorvis::sim::ConnectedSimulatedCamera camera;

    EXPECT_EQ(DeviceTitle({Entry(camera.nodeMap())}, 3), "Torvex TVX1280M (Q_DEV3) Features");
    // A map with only one name, or with an unreadable one, does not name the device.
    EXPECT_EQ(DeviceTitle({Entry(vendorOnly.nodeMap()), Entry(unavailable.nodeMap()), Entry(second.nodeMap()),
                           Entry(camera.nodeMap())},
                          12),
              "Acme A-100 (Q_DEV12) Features");
}

TEST(BrowserTitle, FallsBackToTheDeviceNumber) {
    InlineMap none{Names(nullptr, nullptr)};
    InlineMap modelOnly{Names(nullptr, "M")};

    EXPECT_EQ(DeviceTitle({Entry(none.nodeMap()), Entry(modelOnly.nodeMap())}, 0), "Quillon (Q_DEV0)");
    EXPECT_EQ(DeviceTitle({}, -1), "Quillon (Q_DEV-1)");
    EXPECT_EQ(DeviceTitle({Entry(none.nodeMap())}, 4294967296), "Quillon (Q_DEV4294967296)");
}

TEST(BrowserTitle, ControlTexts) {
    ASSERT_EQ(kLevelChoices.size(), 3u);
    EXPECT_STREQ(kLevelChoices[0].text, "Standard");
    EXPECT_STREQ(kLevelChoices[1].text, "Advanced");
    EXPECT_STREQ(kLevelChoices[2].text, "Guru");
    // Combo entries carry the GenApi visibility the tree is built at.
    EXPECT_EQ(kLevelChoices[0].level, kStandard);
    EXPECT_EQ(kLevelChoices[1].level, kAdvanced);
    EXPECT_EQ(kLevelChoices[2].level, kGuru);
    EXPECT_EQ(kInitialLevel, kGuru);
    EXPECT_STREQ(kCommandButtonTip, "Click on the button to execute the command.");
    EXPECT_STREQ(kPollingTip, "Activate polling for feature tree.");
    EXPECT_STREQ(kLevelTip, "Set feature display level.");
    EXPECT_STREQ(kFindTip, "Find feature (Ctrl+F)");
}
