// Geometry of the column tree: the tree with a header of resizable columns
// above it, scrolled horizontally as one. Everything here is pure computation
// (no windowing system); the widget feeds in its metrics and applies what
// comes out, so the rules stay testable without a window.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quillon::controls {

inline constexpr int kMaxColumns = 16;          // columns beyond are neither counted nor drawn
inline constexpr int kScrollLinePixels = 15;    // one horizontal scroll line
inline constexpr int kTreeColumnReach = 300;    // always scrollable past the tree column
inline constexpr int kMinLastColumnWidth = 300; // resizing never squeezes the last column below this
inline constexpr int kDividerPadding = 20;      // added to the widest text on a divider double-click
inline constexpr int kValueIndent = 6;          // left indent of value-column texts
inline constexpr int kDefaultScrollBarWidth = 17;

struct Point {
    int x = 0;
    int y = 0;
};

// Half-open rectangle [left, right) x [top, bottom), like the platform's.
struct Rect {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    int Width() const { return right - left; }
    int Height() const { return bottom - top; }
    bool IsEmpty() const { return right <= left || bottom <= top; }
    bool Contains(Point p) const { return p.x >= left && p.x < right && p.y >= top && p.y < bottom; }
    friend bool operator==(const Rect&, const Rect&) = default;
};

// --- Row texts ------------------------------------------------------------

// The tab-separated fields of an item text: field 0 is the tree column, field
// i column i. Fields are kept verbatim (a row "label \t value" gives "label "
// and " value"). An empty text is one empty field.
std::vector<std::string_view> SplitFields(std::string_view text);

// Field `index` of `text`, or nothing when the text has fewer fields (such a
// value cell stays empty).
std::optional<std::string_view> Field(std::string_view text, int index);

// --- Column widths --------------------------------------------------------

// The widths read from the header: at most kMaxColumns of them, and their sum.
struct ColumnWidths {
    std::array<int, kMaxColumns> width{};
    int count = 0;
    int total = 0;

    int Column0() const { return count > 0 ? width[0] : 0; }
    // x of the left edge of column c (sum of the widths before it).
    int Left(int c) const;
    int Right(int c) const { return Left(c) + width[static_cast<size_t>(c)]; }
};

// Takes the header's widths, ignoring every column after the 16th.
ColumnWidths ReadColumnWidths(std::span<const int> headerWidths);

// The widths after the window was resized to `clientWidth`: the last column
// takes what the others leave, but never less than kMinLastColumnWidth.
// Unchanged when `keepLastWidth` is set or there are no columns.
ColumnWidths ResizeLastColumn(const ColumnWidths& widths, int clientWidth, bool keepLastWidth);

// Rows are 2 pixels taller than the tree's default.
inline int RowHeight(int defaultItemHeight) { return defaultItemHeight + 2; }

// --- Horizontal scrolling -------------------------------------------------

// The rightmost scrollable pixel: the columns' end, but at least the tree
// column plus kTreeColumnReach.
int ScrollExtent(const ColumnWidths& widths);

// The horizontal scroll bar as the platform takes it: range min..max, a page,
// a position.
struct HScrollBar {
    int min = 0;
    int max = 0;
    int page = 0;
    int pos = 0;

    // The largest position the bar can show (max - page + 1, at least min).
    int MaxPosition() const;
    // `offset` limited to what the bar can show.
    int Clamp(int offset) const;
};

// Range 0 .. ScrollExtent, page = client width, position = offset (a
// negative offset counts as 0).
HScrollBar MakeHScrollBar(const ColumnWidths& widths, int clientWidth, int scrollOffset);

// --- Divider double-click -------------------------------------------------

// A tree item as the measurement sees it.
struct MeasuredItem {
    std::string text;
    bool expanded = false;
    bool hasImage = false;
    std::vector<MeasuredItem> children;
};

struct MeasureMetrics {
    int indent = 19;         // the tree's indent per level
    bool linesAtRoot = true; // roots sit one indent in
};

// The width column `column` gets when its divider is double-clicked: the
// widest field of that column + kDividerPadding, over the first root item and
// the subtrees of its expanded items (other roots are not measured). Column 0
// adds the indent per level and one more for an item with an image.
// `textWidth` measures a text in the tree's font.
template <typename TextWidth>
int DividerDoubleClickWidth(std::span<const MeasuredItem> roots, int column, const MeasureMetrics& metrics,
                            TextWidth&& textWidth);

namespace detail {
template <typename TextWidth>
int WidestField(const MeasuredItem& item, int level, int column, const MeasureMetrics& m, TextWidth& textWidth) {
    int widest = 0;
    if (auto field = Field(item.text, column)) {
        widest = textWidth(*field);
        if (column == 0)
            widest += m.indent * (level + (m.linesAtRoot ? 1 : 0)) + (item.hasImage ? m.indent : 0);
    }
    if (item.expanded) {
        for (const MeasuredItem& child : item.children) {
            int w = WidestField(child, level + 1, column, m, textWidth);
            if (w > widest) widest = w;
        }
    }
    return widest;
}
} // namespace detail

template <typename TextWidth>
int DividerDoubleClickWidth(std::span<const MeasuredItem> roots, int column, const MeasureMetrics& metrics,
                            TextWidth&& textWidth) {
    int widest = roots.empty() ? 0 : detail::WidestField(roots.front(), 0, column, metrics, textWidth);
    return widest + kDividerPadding;
}

} // namespace quillon::controls
