// What the column tree draws over each row after the platform tree painted
// it: the name (bold with an expanded/collapsed icon for categories), the
// grid, and per value column a text or a check icon. Computed as data; the
// widget only draws it.
#pragma once

#include <bitset>
#include <optional>
#include <string_view>
#include <vector>

#include "controls/column_tree_layout.h"

namespace quillon::controls {

inline constexpr int kIconSize = 16;
inline constexpr int kCategoryTextOffset = 18; // room for the expand icon
inline constexpr int kCategoryIconTop = 4;     // icon below the row's top
inline constexpr int kValueClipRightGap = 4;   // value texts end this far from the client's right
inline constexpr int kValueClipScrollBarExtra = 2;

// Icon resources.
inline constexpr int kIconExpanded = 1004;
inline constexpr int kIconCollapsed = 1005;
inline constexpr int kIconCheckedWritable = 1008;
inline constexpr int kIconUncheckedWritable = 1009;
inline constexpr int kIconCheckedReadOnly = 1019;
inline constexpr int kIconUncheckedReadOnly = 1020;

struct Rgb {
    int r = 0;
    int g = 0;
    int b = 0;
    friend bool operator==(const Rgb&, const Rgb&) = default;
};
inline constexpr Rgb kWritableValueColour{0, 128, 0};

// Colours by role; the platform's theme supplies the system ones.
enum class TextColour { WindowText, GrayText, Window, WritableValue };

struct Icon {
    int resource = 0;
    Rect rect;
    friend bool operator==(const Icon&, const Icon&) = default;
};

struct NameCell {
    std::string_view text; // field 0 of the row text
    Rect rect;
    bool bold = false;
    bool ellipsis = false;
    TextColour colour = TextColour::WindowText;
};

struct ValueCell {
    int column = 0;
    Rect rect;              // after the value indent (the cell's own rect when covered)
    bool coveredByControl = false; // left to the browser's in-place control
    std::optional<Icon> check;     // a boolean's check icon instead of text
    std::optional<std::string_view> text;
    TextColour colour = TextColour::WritableValue;
};

struct RowPaintInput {
    std::string_view text; // the item text, fields split at tabs
    Rect itemRect;         // the whole row
    Rect textRect;         // the item's text rectangle
    bool isCategory = false; // the item has children
    bool expanded = false;
    bool writable = false;   // access mode WO or RW
    std::optional<bool> booleanValue; // set for a boolean feature
    bool focused = false;
    std::bitset<kMaxColumns> coveredCells; // value cells the browser's controls cover
    int clientWidth = 0;
    int treeScrollX = 0; // the tree's own horizontal scroll position
    bool treeShowsVScroll = false;
    int vScrollWidth = kDefaultScrollBarWidth;
};

struct RowPaint {
    Rect background; // filled with the window colour
    NameCell name;
    std::optional<Icon> expandIcon; // categories; stored in the row record for clicks
    std::vector<int> gridX;         // a sunken right edge at each x over the row
    Rect bottomEdge;                // along the row's bottom
    std::vector<ValueCell> values;
};

// The row's paint, or nothing for an empty item rectangle.
std::optional<RowPaint> PaintRow(const ColumnWidths& widths, const RowPaintInput& in);

// The check icon of a boolean by value and writability.
int CheckIconResource(bool value, bool writable);

} // namespace quillon::controls
