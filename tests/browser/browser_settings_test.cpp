// The stored placement, columns and level as a load applies them, and the
// title computed from the node maps.
#include <gtest/gtest.h>

#include <string>

#include "browser/browser_settings.h"
#include "browser/browser_title.h"
#include "browser_support.h"
#include "sim/sim_camera.h"

using namespace quillon::browser;
using quillon_browser_test::Entry;
using quillon_browser_test::InlineMap;

TEST(BrowserSettings, StoredValuesAreAppliedOnlyWithinTheirLimits) {
    using P = std::optional<int32_t>;
    // Moved when both coordinates are in 0..65535; too small or missing sizes are the default.
    for (auto [x, y, width, height, placement] :
         {std::tuple{P{0}, P{0}, P{100}, P{100}, "0,0 100x100"},
          {65535, 65535, 800, 600, "65535,65535 800x600"},
          {-5, 20, 800, 600, "800x600"},
          {20, -1, 99, 600, "520x650"},
          {65536, 20, 800, 99, "520x650"},
          {20, 65536, 800, std::nullopt, "520x650"},
          {std::nullopt, 20, std::nullopt, 600, "520x650"}}) {
        const WindowPlacement p = PlacementFromStored(x, y, width, height);
        EXPECT_EQ((p.move ? std::to_string(p.x) + "," + std::to_string(p.y) + " " : "") +
                      std::to_string(p.width) + "x" + std::to_string(p.height),
                  placement);
    }
    // The name column keeps 20 pixels on either side; half the client without a stored one.
    for (auto [saved, client, name] : {std::tuple{P{150}, 400, 150},
                                       {5000, 400, 380},
                                       {380, 400, 380},
                                       {5, 400, 20},
                                       {std::nullopt, 401, 200},
                                       {100, 30, 20}}) {
        EXPECT_EQ(ColumnsFromStored(saved, client).name, name) << client;
        EXPECT_EQ(ColumnsFromStored(saved, client).value, client - name) << client;
    }
    // A level is applied when it is a combo entry other than the current one.
    for (auto [stored, current, applied] : {std::tuple{P{0}, 2, P{0}},
                                            {1, 0, 1},
                                            {2, 2, std::nullopt},
                                            {std::nullopt, 2, std::nullopt},
                                            {3, 2, std::nullopt},
                                            {-1, 2, std::nullopt}})
        EXPECT_EQ(LevelFromStored(stored, current), applied);
}

TEST(BrowserTitle, NamesTheDeviceFromTheFirstNodeMapWithBothNamesReadable) {
    const auto names = [](std::string vendor, std::string model) {
        return "<Category Name=\"Root\"/><Integer Name=\"Zero\"><Value>0</Value></Integer>" +
               vendor + model;
    };
    const std::string vendor = "<String Name=\"DeviceVendorName\"><Value>Acme</Value></String>";
    const std::string model = "<String Name=\"DeviceModelName\"><Value>A-100</Value></String>";
    InlineMap vendorOnly{names(vendor, "")}, modelOnly{names("", model)},
        both{names(vendor, model)};
    InlineMap unavailable{
        names("<String Name=\"DeviceVendorName\"><pIsAvailable>Zero</pIsAvailable><Value>H"
              "</Value></String>",
              model)};
    qorvis::sim::ConnectedSimulatedCamera camera;
    EXPECT_EQ(DeviceTitle({Entry(camera.nodeMap())}, 3), "Torvex TVX1280M (Q_DEV3) Features");
    EXPECT_EQ(
        DeviceTitle({Entry(vendorOnly.nodeMap()), Entry(unavailable.nodeMap()),
                     Entry(modelOnly.nodeMap()), Entry(both.nodeMap()), Entry(camera.nodeMap())},
                    12),
        "Acme A-100 (Q_DEV12) Features");
    EXPECT_EQ(DeviceTitle({Entry(modelOnly.nodeMap())}, 4294967296), "Quillon (Q_DEV4294967296)");
}
