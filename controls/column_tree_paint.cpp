#include "controls/column_tree_paint.h"

#include <algorithm>

namespace quillon::controls {

int CheckIconResource(bool value, bool writable) {
    if (value) return writable ? kIconCheckedWritable : kIconCheckedReadOnly;
    return writable ? kIconUncheckedWritable : kIconUncheckedReadOnly;
}

std::optional<RowPaint> PaintRow(const ColumnWidths& widths, const RowPaintInput& in) {
    if (in.itemRect.IsEmpty()) return std::nullopt;
    RowPaint out;
    out.background = in.textRect;
    const std::vector<std::string_view> fields = SplitFields(in.text);

    Rect nameRect = in.textRect;
    if (in.isCategory) nameRect.left += kCategoryTextOffset;
    nameRect = Rect{nameRect.left + 2, nameRect.top + 1, nameRect.right - 2, nameRect.bottom - 1};
    out.name.text = fields.front();
    out.name.rect = nameRect;
    if (in.isCategory) {
        out.name.bold = true;
        out.name.colour = TextColour::WindowText;
        const int left = in.textRect.left;
        const int top = in.textRect.top + kCategoryIconTop;
        out.expandIcon = Icon{in.expanded ? kIconExpanded : kIconCollapsed,
                              Rect{left, top, left + kIconSize, top + kIconSize}};
    } else {
        out.name.ellipsis = true;
        out.name.colour = in.writable ? TextColour::WindowText : TextColour::GrayText;
    }

    for (int c = 0; c < widths.count; ++c) out.gridX.push_back(widths.Right(c) - 1 - in.treeScrollX);
    out.bottomEdge = in.itemRect;

    const int clipRight =
        in.clientWidth - (in.treeShowsVScroll ? in.vScrollWidth + kValueClipScrollBarExtra : kValueClipRightGap);
    for (int c = 1; c < widths.count; ++c) {
        if (static_cast<size_t>(c) >= fields.size()) continue; // missing field: empty cell
        ValueCell cell;
        cell.column = c;
        const int left = widths.Left(c) - in.treeScrollX;
        cell.rect = Rect{left, in.itemRect.top, std::min(left + widths.width[static_cast<size_t>(c)], clipRight),
                         in.itemRect.bottom};
        if (in.coveredCells.test(static_cast<size_t>(c))) {
            cell.coveredByControl = true;
            out.values.push_back(cell);
            continue;
        }
        cell.rect.left += kValueIndent;
        if (in.booleanValue.has_value()) {
            const int top = cell.rect.top + (cell.rect.Height() - kIconSize) / 2;
            cell.check = Icon{CheckIconResource(*in.booleanValue, in.writable),
                              Rect{cell.rect.left, top, cell.rect.left + kIconSize, top + kIconSize}};
        } else {
            cell.text = fields[static_cast<size_t>(c)];
            cell.colour = in.focused    ? TextColour::Window
                          : in.writable ? TextColour::WritableValue
                                        : TextColour::GrayText;
        }
        out.values.push_back(cell);
    }
    return out;
}

} // namespace quillon::controls
