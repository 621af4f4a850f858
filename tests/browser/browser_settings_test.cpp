// The stored placement and level: the keys they live under and how stored
// values are applied on load.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "browser/browser_settings.h"

using namespace quillon::browser;

namespace {

// A window whose tree is 40 pixels narrower than the window; records calls.
struct RecordingWindow : SettingsTarget {
    std::vector<std::string> calls;
    int32_t x = 7, y = 9, width = 300, height = 300;
    int32_t nameColumn = -1, valueColumn = -1;
    int level = 2;
    void MoveWindow(int32_t nx, int32_t ny, int32_t w, int32_t h) override {
        calls.push_back("move");
        x = nx, y = ny, width = w, height = h;
    }
    void ResizeWindow(int32_t w, int32_t h) override {
        calls.push_back("resize");
        width = w, height = h;
    }
    int32_t TreeClientWidth() const override { return width - 40; }
    void SetColumnWidths(int32_t name, int32_t value) override {
        calls.push_back("columns");
        nameColumn = name, valueColumn = value;
    }
    int SelectedLevel() const override { return level; }
    void ChangeLevel(int l) override {
        calls.push_back("level " + std::to_string(l));
        level = l;
    }
};

void Store(MemorySettingsStore& store, const char* key, int32_t x, int32_t y, int32_t w, int32_t h) {
    store.Write(key, "PosX", x);
    store.Write(key, "PosY", y);
    store.Write(key, "Width", w);
    store.Write(key, "Height", h);
}

} // namespace

TEST(BrowserSettings, PositionIsAppliedOnlyWhenBothCoordinatesAreInRange) {
    auto moved = [](std::optional<int32_t> x, std::optional<int32_t> y) {
        return PlacementFromStored(x, y, 800, 600).move;
    };
    EXPECT_TRUE(moved(0, 0));
    EXPECT_TRUE(moved(65535, 65535));
    EXPECT_FALSE(moved(-5, 20));
    EXPECT_FALSE(moved(20, -1));
    EXPECT_FALSE(moved(65536, 20));
    EXPECT_FALSE(moved(20, 65536));
    EXPECT_FALSE(moved(std::nullopt, 20));

    const WindowPlacement kept = PlacementFromStored(-5, 20, 800, 600);
    EXPECT_EQ(kept.width, 800);
    EXPECT_EQ(kept.height, 600);
    const WindowPlacement placed = PlacementFromStored(30, 40, 800, 600);
    EXPECT_EQ(placed.x, 30);
    EXPECT_EQ(placed.y, 40);
}

TEST(BrowserSettings, TooSmallOrMissingSizeBecomesTheDefault) {
    auto size = [](std::optional<int32_t> w, std::optional<int32_t> h) {
        const WindowPlacement p = PlacementFromStored(10, 10, w, h);
        return std::to_string(p.width) + "x" + std::to_string(p.height);
    };
    EXPECT_EQ(size(80, 600), "520x650");
    EXPECT_EQ(size(800, 99), "520x650");
    EXPECT_EQ(size(-800, 600), "520x650");
    EXPECT_EQ(size(100, 100), "100x100");
    EXPECT_EQ(size(std::nullopt, 600), "520x650");
}

TEST(BrowserSettings, NameColumnStaysWithinTheClientWidth) {
    auto split = [](std::optional<int32_t> saved, int32_t client) {
        const ColumnWidths c = ColumnsFromStored(saved, client);
        EXPECT_EQ(c.name + c.value, client);
        return c.name;
    };
    EXPECT_EQ(split(150, 400), 150);
    EXPECT_EQ(split(5000, 400), 380);
    EXPECT_EQ(split(380, 400), 380);
    EXPECT_EQ(split(5, 400), 20);
    EXPECT_EQ(split(-7, 400), 20);
    EXPECT_EQ(split(std::nullopt, 401), 200);
    // A client narrower than the margin still keeps a 20 pixel name column.
    EXPECT_EQ(split(100, 30), 20);
}

TEST(BrowserSettings, StoredLevelIsAppliedOnlyWhenItDiffersAndExists) {
    EXPECT_EQ(LevelFromStored(0, 2), 0);
    EXPECT_EQ(LevelFromStored(1, 0), 1);
    EXPECT_EQ(LevelFromStored(2, 2), std::nullopt);
    EXPECT_EQ(LevelFromStored(std::nullopt, 2), std::nullopt);
    EXPECT_EQ(LevelFromStored(3, 2), std::nullopt);
    EXPECT_EQ(LevelFromStored(-1, 2), std::nullopt);
}

TEST(BrowserSettings, SavedValuesComeBackUnderTheirOwnKey) {
    EXPECT_STREQ(SettingsKey(false), "Software/Torvex/Qorvis/Runtime/Quillon/Parameters");
    EXPECT_STREQ(SettingsKey(true), "Software/Torvex/Qorvis/Runtime/Quillon/ParametersUI");

    MemorySettingsStore store;
    SaveSettings(store, true, BrowserSettings{100, 200, 640, 480, 250, 1});
    EXPECT_EQ(store.size(), 6u);
    const std::string ui = SettingsKey(true);
    for (const char* name : {"PosX", "PosY", "Width", "Height", "SlidderPos", "UserLevel"})
        EXPECT_TRUE(store.Has(ui, name)) << name;

    RecordingWindow separate;
    LoadSettings(store, true, separate);
    EXPECT_EQ(separate.calls, (std::vector<std::string>{"move", "columns", "level 1"}));
    EXPECT_EQ(separate.x, 100);
    EXPECT_EQ(separate.y, 200);
    EXPECT_EQ(separate.width, 640);
    EXPECT_EQ(separate.height, 480);
    EXPECT_EQ(separate.nameColumn, 250);
    EXPECT_EQ(separate.valueColumn, 600 - 250);

    // The shared key holds nothing: defaults, no move, no level change.
    RecordingWindow shared;
    LoadSettings(store, false, shared);
    EXPECT_EQ(shared.calls, (std::vector<std::string>{"resize", "columns"}));
    EXPECT_EQ(shared.x, 7);
    EXPECT_EQ(shared.width, 520);
    EXPECT_EQ(shared.nameColumn, (520 - 40) / 2);
}

TEST(BrowserSettings, LoadSplitsColumnsOverTheResizedWindow) {
    MemorySettingsStore store;
    const char* key = SettingsKey(false);
    Store(store, key, -5, 20, 80, 600);
    store.Write(key, "SlidderPos", 10000);
    store.Write(key, "UserLevel", 2);

    RecordingWindow window;
    LoadSettings(store, false, window);
    EXPECT_EQ(window.calls, (std::vector<std::string>{"resize", "columns"}));
    EXPECT_EQ(window.x, 7);
    EXPECT_EQ(window.y, 9);
    EXPECT_EQ(window.width, 520);
    EXPECT_EQ(window.height, 650);
    // The client width after the resize, not before it (260).
    EXPECT_EQ(window.nameColumn, 480 - 20);
    EXPECT_EQ(window.valueColumn, 20);
}
