// What the column tree does with the mouse: clicks on rows and the tool tip
// areas per cell. Pure decisions; the widget does the hit testing of the
// platform tree (item, part of the row) and carries out the answer.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "controls/column_tree_layout.h"

namespace quillon::controls {

// --- Clicks ---------------------------------------------------------------

enum class ClickKind { ButtonDown, DoubleClick };

// Where the platform's hit test puts the point within the row.
enum class RowPart {
    LabelOrRight, // on the item's label or right of it
    Elsewhere,    // indentation, expand button, icon, ...
};

struct ClickInput {
    ClickKind kind = ClickKind::ButtonDown;
    Point point;
    bool onItem = false; // an item lies under the point
    RowPart part = RowPart::Elsewhere;
    bool fullRowSelect = true;
    Rect textRect;          // the item's text rectangle
    int field0Width = 0;    // width of the name field in the tree's font
    Rect expandIcon;        // as stored by the last paint of the row (empty: none)
    Rect checkIcon;         // as stored by the last paint of the row (empty: none)
    int column0Width = 0;
    int totalWidth = 0;
};

// What to do, in this order: focus, hand to the tree's own handling, select,
// toggle expansion (preceded by a double-click notification to the parent),
// select again and toggle the boolean value.
struct ClickDecision {
    bool focus = false;
    bool passToTree = false;
    bool select = false;
    bool toggleExpansion = false;
    bool toggleBoolean = false;

    bool Nothing() const { return !focus && !passToTree && !select && !toggleExpansion && !toggleBoolean; }
    friend bool operator==(const ClickDecision&, const ClickDecision&) = default;
};

// Pixels right of the name field that still count as the name in a tree
// without full-row selection.
inline constexpr int kNameClickSlack = 6;

ClickDecision DecideClick(const ClickInput& in);

// --- Tool tips ------------------------------------------------------------

inline constexpr int kToolTipDeadZone = 20; // left of the column 0 divider: no tool
inline constexpr int kToolTipMaxChars = 199;
inline constexpr std::uint64_t kValueToolBit = std::uint64_t{1} << 63;

enum class ToolTipArea { None, Name, Value };

// The area of x: value right of column 0, nothing within the 20 pixels left
// of its divider, the name before that.
ToolTipArea ToolTipAreaAt(int x, int column0Width);

struct ToolTipInput {
    Point point;
    bool onItem = false;
    bool hasNode = false;    // the row record carries a feature node
    std::uint64_t item = 0;  // the item handle, top bit clear
    Rect textRect;           // the item's text rectangle
    int column0Width = 0;
    int clientRight = 0;
};

struct ToolTipTool {
    ToolTipArea area = ToolTipArea::None;
    std::uint64_t id = 0; // the item handle, with the top bit set for the value area
    Rect rect;
    friend bool operator==(const ToolTipTool&, const ToolTipTool&) = default;
};

// The tool under the point, or nothing; name and value of one row are two
// tools so that the tip changes when the mouse crosses the divider.
std::optional<ToolTipTool> ToolTipAt(const ToolTipInput& in);

// The tip text: in the value area of an enumeration, the current entry's
// tool tip (empty without a current entry); otherwise the node's own.
// At most kToolTipMaxChars characters (UTF-8, never cut inside one).
std::string ToolTipText(ToolTipArea area, bool isEnumeration, std::optional<std::string_view> currentEntryToolTip,
                        std::string_view nodeToolTip);

} // namespace quillon::controls
