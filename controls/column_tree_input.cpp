#include "controls/column_tree_input.h"

namespace quillon::controls {

ClickDecision DecideClick(const ClickInput& in) {
    ClickDecision d;
    if (!in.onItem) return d;
    const bool down = in.kind == ClickKind::ButtonDown;
    const bool inText = in.textRect.Contains(in.point);

    if (in.part == RowPart::LabelOrRight) {
        if (in.fullRowSelect) {
            d.focus = down;
            if (!inText) return d;
            if (!down) {
                d.toggleExpansion = true;
                return d;
            }
            d.select = true;
            if (in.expandIcon.Contains(in.point))
                d.toggleExpansion = true;
            else if (in.checkIcon.Contains(in.point))
                d.toggleBoolean = true; // the item is selected again first
            return d;
        }
        if (inText && in.point.x - in.textRect.left < in.field0Width + kNameClickSlack) {
            d.passToTree = true;
            return d;
        }
        d.focus = down;
        return d;
    }

    if (in.point.x < in.column0Width) {
        d.passToTree = true;
        return d;
    }
    d.focus = down;
    if (in.point.x > in.totalWidth) return d;
    if (down)
        d.select = true;
    else
        d.toggleExpansion = true;
    return d;
}

ToolTipArea ToolTipAreaAt(int x, int column0Width) {
    if (x > column0Width) return ToolTipArea::Value;
    if (x > column0Width - kToolTipDeadZone) return ToolTipArea::None;
    return ToolTipArea::Name;
}

std::optional<ToolTipTool> ToolTipAt(const ToolTipInput& in) {
    if (!in.onItem || !in.hasNode) return std::nullopt;
    ToolTipArea area = ToolTipAreaAt(in.point.x, in.column0Width);
    if (area == ToolTipArea::None) return std::nullopt;
    ToolTipTool tool;
    tool.area = area;
    tool.rect = in.textRect;
    if (area == ToolTipArea::Value) {
        tool.id = in.item | kValueToolBit;
        tool.rect.left = in.column0Width;
        tool.rect.right = in.clientRight - kToolTipDeadZone;
    } else {
        tool.id = in.item & ~kValueToolBit;
        tool.rect.right = in.column0Width - kToolTipDeadZone;
    }
    return tool;
}

namespace {
// The first `maxChars` code points of UTF-8 `text`.
std::string_view FirstCodePoints(std::string_view text, int maxChars) {
    size_t i = 0;
    for (int n = 0; i < text.size(); ++n) {
        if (n == maxChars) break;
        ++i;
        while (i < text.size() && (static_cast<unsigned char>(text[i]) & 0xC0) == 0x80) ++i;
    }
    return text.substr(0, i);
}
} // namespace

std::string ToolTipText(ToolTipArea area, bool isEnumeration, std::optional<std::string_view> currentEntryToolTip,
                        std::string_view nodeToolTip) {
    std::string_view text = nodeToolTip;
    if (area == ToolTipArea::Value && isEnumeration) text = currentEntryToolTip.value_or(std::string_view{});
    return std::string(FirstCodePoints(text, kToolTipMaxChars));
}

} // namespace quillon::controls
