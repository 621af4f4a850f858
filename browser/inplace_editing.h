// Which in-place editor the browser puts over the value column of the
// selected row, and what it holds. The window places the editor and hands
// the typed text to the commit (inspect/value_commit.h); a command or a
// register goes through the action button (inspect/command_execution.h).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "types/feature_row.h"

namespace quillon::browser {

enum class EditorKind {
    None,     // categories, read-only or unavailable features, everything else
    Edit,     // floats, strings, and integers shown as hex, IPv4 or MAC text
    Integer,  // a spin box over [minimum, maximum] by the increment
    Combo,    // the enumeration's available entries
    Check,    // a boolean: the tree's check icon toggles it
    Command,  // the "Execute()" button
    Register, // the button that opens the register in the memory viewer
};

// An integer range gets a slider when it has at most this many steps.
inline constexpr int64_t kMaxSliderSteps = 100000;

struct EditorPlan {
    EditorKind kind = EditorKind::None;
    std::string text;  // Edit and Integer: the current value as the row shows it
    int64_t value = 0; // Integer: current value
    int64_t minimum = 0, maximum = 0, increment = 1; // Integer
    bool slider = false;                             // Integer: the range suits a slider
    std::vector<std::string> choices; // Combo: symbolic names of the available entries
    int current = -1;                 // Combo: index of the current entry, -1 when none
    bool checked = false;             // Check
};

// The editor for a row. Reads the node (verified values are not needed: the
// row's value was just shown); GenICam exceptions pass through so the window
// can show them in its error box.
EditorPlan PlanEditor(const FeatureRow& row);

// The slider position of an integer value and back: steps of the increment
// from the minimum.
int SliderPosition(const EditorPlan& plan, int64_t value);
int64_t SliderValue(const EditorPlan& plan, int position);

// Toggles a boolean row's value through the commit and reports it to the
// host; answers the message to show, empty when written.
std::string ToggleBoolean(const FeatureRow& row);

} // namespace quillon::browser
