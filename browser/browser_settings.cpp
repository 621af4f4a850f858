#include "browser/browser_settings.h"

#include <algorithm>

#include "browser/browser_title.h"

namespace quillon::browser {

const char* SettingsKey(bool separateSettings) {
    return separateSettings ? kSeparateSettingsKey : kSettingsKey;
}

std::optional<int32_t> MemorySettingsStore::Read(const std::string& key, const std::string& name) const {
    auto it = values_.find({key, name});
    if (it == values_.end()) return std::nullopt;
    return it->second;
}

void MemorySettingsStore::Write(const std::string& key, const std::string& name, int32_t value) {
    values_[{key, name}] = value;
}

void SaveSettings(SettingsStore& store, bool separateSettings, const BrowserSettings& settings) {
    const std::string key = SettingsKey(separateSettings);
    store.Write(key, kPosX, settings.posX);
    store.Write(key, kPosY, settings.posY);
    store.Write(key, kWidth, settings.width);
    store.Write(key, kHeight, settings.height);
    store.Write(key, kSlidderPos, settings.slidderPos);
    store.Write(key, kUserLevel, settings.userLevel);
}

WindowPlacement PlacementFromStored(std::optional<int32_t> posX, std::optional<int32_t> posY,
                                    std::optional<int32_t> width, std::optional<int32_t> height) {
    WindowPlacement placement;
    auto usable = [](std::optional<int32_t> v) { return v && *v >= 0 && *v < kPositionLimit; };
    if (usable(posX) && usable(posY)) {
        placement.move = true;
        placement.x = *posX;
        placement.y = *posY;
    }
    // A window too small to use (or never saved) gets the size it starts with.
    if (!width || !height || *width < kMinimumSize || *height < kMinimumSize) {
        placement.width = kDefaultWidth;
        placement.height = kDefaultHeight;
    } else {
        placement.width = *width;
        placement.height = *height;
    }
    return placement;
}

ColumnWidths ColumnsFromStored(std::optional<int32_t> slidderPos, int32_t clientWidth) {
    ColumnWidths columns;
    if (slidderPos) {
        // The value column keeps at least a margin visible; the name column
        // never collapses completely.
        columns.name = std::max(std::min(*slidderPos, clientWidth - kColumnMargin), kColumnMargin);
    } else {
        columns.name = clientWidth / 2;
    }
    columns.value = clientWidth - columns.name;
    return columns;
}

std::optional<int> LevelFromStored(std::optional<int32_t> userLevel, int currentLevel) {
    if (!userLevel || *userLevel == currentLevel) return std::nullopt;
    for (const LevelChoice& choice : kLevelChoices)
        if (choice.level == *userLevel) return choice.level;
    return std::nullopt; // not an entry of the combo: nothing to select
}

void LoadSettings(const SettingsStore& store, bool separateSettings, SettingsTarget& target) {
    const std::string key = SettingsKey(separateSettings);
    const WindowPlacement placement = PlacementFromStored(store.Read(key, kPosX), store.Read(key, kPosY),
                                                          store.Read(key, kWidth), store.Read(key, kHeight));
    if (placement.move) target.MoveWindow(placement.x, placement.y, placement.width, placement.height);
    else target.ResizeWindow(placement.width, placement.height);
    // The columns are split over the client width the new size gives.
    const ColumnWidths columns = ColumnsFromStored(store.Read(key, kSlidderPos), target.TreeClientWidth());
    target.SetColumnWidths(columns.name, columns.value);
    if (auto level = LevelFromStored(store.Read(key, kUserLevel), target.SelectedLevel())) target.ChangeLevel(*level);
}

} // namespace quillon::browser
