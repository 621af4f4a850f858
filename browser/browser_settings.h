// The browser window's persistent placement and feature level: where they
// are stored, what is saved, and how stored values are applied on load. The
// GUI maps SettingsStore onto its settings backend and SettingsTarget onto
// the window.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace quillon::browser {

// Key paths use '/' as separator; the GUI maps them to its backend's groups.
inline constexpr const char* kSettingsRoot = "Software/Torvex/Qorvis/Runtime";
inline constexpr const char* kSettingsKey = "Software/Torvex/Qorvis/Runtime/Quillon/Parameters";
inline constexpr const char* kSeparateSettingsKey = "Software/Torvex/Qorvis/Runtime/Quillon/ParametersUI";

// Value names, spelled as they are stored.
inline constexpr const char* kPosX = "PosX";
inline constexpr const char* kPosY = "PosY";
inline constexpr const char* kWidth = "Width";
inline constexpr const char* kHeight = "Height";
inline constexpr const char* kSlidderPos = "SlidderPos";
inline constexpr const char* kUserLevel = "UserLevel";

// Hosts that embed several browsers keep a second set of values apart.
const char* SettingsKey(bool separateSettings);

// 32-bit numbers under a key path.
class SettingsStore {
public:
    virtual ~SettingsStore() = default;
    virtual std::optional<int32_t> Read(const std::string& key, const std::string& name) const = 0;
    virtual void Write(const std::string& key, const std::string& name, int32_t value) = 0;
};

// A store in memory (tests and the headless tool).
class MemorySettingsStore final : public SettingsStore {
public:
    std::optional<int32_t> Read(const std::string& key, const std::string& name) const override;
    void Write(const std::string& key, const std::string& name, int32_t value) override;
    bool Has(const std::string& key, const std::string& name) const { return values_.count({key, name}) != 0; }
    size_t size() const { return values_.size(); }

private:
    std::map<std::pair<std::string, std::string>, int32_t> values_;
};

// What is saved: the window rectangle, the "Feature Name" column's width and
// the level combo's selection.
struct BrowserSettings {
    int32_t posX = 0, posY = 0;
    int32_t width = 0, height = 0;
    int32_t slidderPos = 0;
    int32_t userLevel = 0;
};

// Writes all six values under SettingsKey(separateSettings).
void SaveSettings(SettingsStore& store, bool separateSettings, const BrowserSettings& settings);

// The window geometry a load applies: a move only for a usable position,
// always a size.
struct WindowPlacement {
    bool move = false; // false: the window stays where the system placed it
    int32_t x = 0, y = 0;
    int32_t width = 0, height = 0;
};
inline constexpr int32_t kDefaultWidth = 520;
inline constexpr int32_t kDefaultHeight = 650;
inline constexpr int32_t kMinimumSize = 100;
inline constexpr int32_t kPositionLimit = 65536;

// A position with a negative or too large coordinate (or none) is not
// applied; a missing size, or one below kMinimumSize, becomes the default size.
WindowPlacement PlacementFromStored(std::optional<int32_t> posX, std::optional<int32_t> posY,
                                    std::optional<int32_t> width, std::optional<int32_t> height);

// The two column widths for the tree's client width.
struct ColumnWidths {
    int32_t name = 0;  // "Feature Name"
    int32_t value = 0; // "Value": the rest of the client width
};
inline constexpr int32_t kColumnMargin = 20;
// min(stored, client width - 20) but at least 20; half the client width when
// nothing is stored.
ColumnWidths ColumnsFromStored(std::optional<int32_t> slidderPos, int32_t clientWidth);

// The level to switch to: the stored one when it names a combo entry and
// differs from the current selection; nothing otherwise.
std::optional<int> LevelFromStored(std::optional<int32_t> userLevel, int currentLevel);

// The window a load applies to, in the order LoadSettings calls it.
class SettingsTarget {
public:
    virtual ~SettingsTarget() = default;
    virtual void MoveWindow(int32_t x, int32_t y, int32_t width, int32_t height) = 0;
    virtual void ResizeWindow(int32_t width, int32_t height) = 0;
    // The tree's client width after the window got its size.
    virtual int32_t TreeClientWidth() const = 0;
    virtual void SetColumnWidths(int32_t name, int32_t value) = 0;
    virtual int SelectedLevel() const = 0;
    // Selects `level` in the combo and rebuilds the tree at it.
    virtual void ChangeLevel(int level) = 0;
};

// Reads the values under SettingsKey(separateSettings) and applies them:
// geometry, then the columns, then the level.
void LoadSettings(const SettingsStore& store, bool separateSettings, SettingsTarget& target);

} // namespace quillon::browser
