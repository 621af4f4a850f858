// The stored placement, columns and level and how a load applies them; the
// title computed from the node maps.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "browser/browser_settings.h"
#include "browser/browser_title.h"
#include "browser_support.h"
#include "sim/sim_camera.h"

using namespace quillon::browser;
using quillon_browser_test::Entry;
using quillon_browser_test::InlineMap;

namespace {

// A window whose tree is 40 pixels narrower than the window; records calls.
struct RecordingWindow : SettingsTarget {
    std::string calls;
    int32_t x = 7, y = 9, width = 300, height = 300, name = -1, value = -1;
    int level = 2;
    void MoveWindow(int32_t nx, int32_t ny, int32_t w, int32_t h) override {
        calls += "move ";
        x = nx, y = ny, width = w, height = h;
    }
    void ResizeWindow(int32_t w, int32_t h) override {
        calls += "resize ";
        width = w, height = h;
    }
    int32_t TreeClientWidth() const override { return width - 40; }
    void SetColumnWidths(int32_t n, int32_t v) override {
        calls += "columns ";
        name = n, value = v;
    }
    int SelectedLevel() const override { return level; }
    void ChangeLevel(int l) override {
        calls += "level ";
        level = l;
    }
};

} // namespace

TEST(BrowserSettings, StoredValuesAreAppliedOnlyWithinTheirLimits) {
    using P = std::optional<int32_t>;
    // Moved only when both coordinates are in 0..65535; too small or missing sizes are the default.
    struct Row {
        P x, y, width, height;
        const char* placement;
    };
    for (const Row& r :
         {Row{0, 0, 100, 100, "move 0,0 100x100"},
          Row{65535, 65535, 800, 600, "move 65535,65535 800x600"},
          Row{-5, 20, 800, 600, "stay 800x600"}, Row{20, -1, 80, 600, "stay 520x650"},
          Row{65536, 20, 800, 99, "stay 520x650"}, Row{20, 65536, -8, 600, "stay 520x650"},
          Row{std::nullopt, 20, std::nullopt, 600, "stay 520x650"}}) {
        const WindowPlacement p = PlacementFromStored(r.x, r.y, r.width, r.height);
        EXPECT_EQ(
            (p.move ? "move " + std::to_string(p.x) + "," + std::to_string(p.y) + " " : "stay ") +
                std::to_string(p.width) + "x" + std::to_string(p.height),
            r.placement);
    }
    // The name column stays within the client width less a 20 pixel margin.
    for (auto [saved, client, name] : {std::tuple{P{150}, 400, 150},
                                       {5000, 400, 380},
                                       {380, 400, 380},
                                       {5, 400, 20},
                                       {-7, 400, 20},
                                       {std::nullopt, 401, 200},
                                       {100, 30, 20}}) {
        const ColumnWidths c = ColumnsFromStored(saved, client);
        EXPECT_EQ(c.name, name) << client;
        EXPECT_EQ(c.value, client - name) << client;
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

TEST(BrowserSettings, SavedValuesComeBackUnderTheirOwnKey) {
    MemorySettingsStore store;
    SaveSettings(store, true, BrowserSettings{100, 200, 640, 480, 250, 1});
    EXPECT_EQ(store.size(), 6u);
    for (const char* name : {kPosX, kPosY, kWidth, kHeight, kSlidderPos, kUserLevel})
        EXPECT_TRUE(store.Has(kSeparateSettingsKey, name)) << name;
    RecordingWindow separate;
    LoadSettings(store, true, separate);
    EXPECT_EQ(separate.calls, "move columns level ");
    EXPECT_EQ(std::vector({separate.x, separate.y, separate.width, separate.height, separate.name,
                           separate.value}),
              std::vector({100, 200, 640, 480, 250, 600 - 250}));
    EXPECT_EQ(separate.level, 1);

    // The shared key: out-of-range values; the columns split over the resized window.
    store.Write(kSettingsKey, kPosX, -5);
    store.Write(kSettingsKey, kWidth, 80);
    store.Write(kSettingsKey, kSlidderPos, 10000);
    store.Write(kSettingsKey, kUserLevel, 2);
    RecordingWindow shared;
    LoadSettings(store, false, shared);
    EXPECT_EQ(shared.calls, "resize columns ");
    EXPECT_EQ(std::vector({shared.x, shared.width, shared.height, shared.name, shared.value}),
              std::vector({7, 520, 650, 480 - 20, 20}));
}

TEST(BrowserTitle, NamesTheDeviceFromTheFirstNodeMapWithBothNamesReadable) {
    const auto names = [](const char* vendor, const char* model, const char* extra = "") {
        std::string body =
            "<Category Name=\"Root\"/><Integer Name=\"Zero\"><Value>0</Value></Integer>";
        if (vendor)
            body += std::string("<String Name=\"DeviceVendorName\">") + extra + "<Value>" + vendor +
                    "</Value></String>";
        if (model)
            body += std::string("<String Name=\"DeviceModelName\"><Value>") + model +
                    "</Value></String>";
        return body;
    };
    InlineMap vendorOnly{names("Lone", nullptr)}, modelOnly{names(nullptr, "M")};
    InlineMap unavailable{names("Hidden", "H1", "<pIsAvailable>Zero</pIsAvailable>")};
    InlineMap acme{names("Acme", "A-100")};
    qorvis::sim::ConnectedSimulatedCamera camera;
    EXPECT_EQ(DeviceTitle({Entry(camera.nodeMap())}, 3), "Torvex TVX1280M (Q_DEV3) Features");
    EXPECT_EQ(
        DeviceTitle({Entry(vendorOnly.nodeMap()), Entry(unavailable.nodeMap()),
                     Entry(modelOnly.nodeMap()), Entry(acme.nodeMap()), Entry(camera.nodeMap())},
                    12),
        "Acme A-100 (Q_DEV12) Features");
    EXPECT_EQ(DeviceTitle({Entry(modelOnly.nodeMap())}, 4294967296), "Quillon (Q_DEV4294967296)");
    EXPECT_EQ(DeviceTitle({}, -1), "Quillon (Q_DEV-1)");
}
