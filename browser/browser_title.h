// The browser window's title and the fixed texts of its controls (level
// combo, tool tips, labels); the GUI only shows them.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "types/feature_row.h"

namespace quillon::browser {

// "Quillon (Q_DEV<n>)": the title when no node map names its device.
std::string DefaultTitle(int64_t deviceNumber);

// The title computed from the node maps: vendor, a blank, model and
// " (Q_DEV<n>) Features" from the first node map in which DeviceVendorName and
// DeviceModelName both exist and are readable; DefaultTitle otherwise.
// GenICam exceptions of the reads propagate.
std::string DeviceTitle(const std::vector<NodeMapEntry>& entries, int64_t deviceNumber);

// One entry of the "Feature Level:" combo box; the position in kLevelChoices
// is the combo index.
struct LevelChoice {
    const char* text;
    int level; // the GenApi visibility the tree is built at
};
inline constexpr std::array<LevelChoice, 3> kLevelChoices{{{"Standard", 0}, {"Advanced", 1}, {"Guru", 2}}};
// The level the dialog starts at, before the stored one is applied.
inline constexpr int kInitialLevel = 2;

inline constexpr const char* kPollingText = "Polling";
inline constexpr const char* kLevelLabel = "Feature Level:";
inline constexpr const char* kPropertiesLabel = "Feature properties:";
inline constexpr const char* kErrorLabel = "Error message:";

inline constexpr const char* kCommandButtonTip = "Click on the button to execute the command.";
inline constexpr const char* kPollingTip = "Activate polling for feature tree.";
inline constexpr const char* kLevelTip = "Set feature display level.";
inline constexpr const char* kFindTip = "Find feature (Ctrl+F)";

} // namespace quillon::browser
