#include "controls/column_tree_layout.h"

#include <algorithm>

namespace quillon::controls {

std::vector<std::string_view> SplitFields(std::string_view text) {
    std::vector<std::string_view> fields;
    size_t start = 0;
    for (;;) {
        size_t tab = text.find('\t', start);
        if (tab == std::string_view::npos) {
            fields.push_back(text.substr(start));
            return fields;
        }
        fields.push_back(text.substr(start, tab - start));
        start = tab + 1;
    }
}

std::optional<std::string_view> Field(std::string_view text, int index) {
    if (index < 0) return std::nullopt;
    std::vector<std::string_view> fields = SplitFields(text);
    if (static_cast<size_t>(index) >= fields.size()) return std::nullopt;
    return fields[static_cast<size_t>(index)];
}

int ColumnWidths::Left(int c) const {
    int x = 0;
    for (int i = 0; i < c && i < count; ++i) x += width[static_cast<size_t>(i)];
    return x;
}

ColumnWidths ReadColumnWidths(std::span<const int> headerWidths) {
    ColumnWidths w;
    w.count = static_cast<int>(std::min<size_t>(headerWidths.size(), kMaxColumns));
    for (int i = 0; i < w.count; ++i) {
        w.width[static_cast<size_t>(i)] = headerWidths[static_cast<size_t>(i)];
        w.total += headerWidths[static_cast<size_t>(i)];
    }
    return w;
}

ColumnWidths ResizeLastColumn(const ColumnWidths& widths, int clientWidth, bool keepLastWidth) {
    if (keepLastWidth || widths.count == 0) return widths;
    ColumnWidths w = widths;
    size_t last = static_cast<size_t>(w.count - 1);
    int others = w.Left(w.count - 1);
    w.width[last] = std::max(clientWidth - others, kMinLastColumnWidth);
    w.total = others + w.width[last];
    return w;
}

int ScrollExtent(const ColumnWidths& widths) {
    return std::max(widths.total - 1, widths.Column0() + kTreeColumnReach);
}

int HScrollBar::MaxPosition() const { return std::max(min, max - std::max(page, 1) + 1); }

int HScrollBar::Clamp(int offset) const { return std::clamp(offset, min, MaxPosition()); }

HScrollBar MakeHScrollBar(const ColumnWidths& widths, int clientWidth, int scrollOffset) {
    return HScrollBar{0, ScrollExtent(widths), clientWidth, std::max(scrollOffset, 0)};
}

} // namespace quillon::controls
