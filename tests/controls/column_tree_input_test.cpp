// Column tree mouse rules: row clicks and the tool tip areas per cell.
#include <gtest/gtest.h>

#include <string>

#include "controls/column_tree_input.h"

using namespace quillon::controls;

namespace {

// A row 18 high at y 40, its text from x 60 to 400; column 0 is 250 wide, the
// columns 600 in all.
ClickInput Row(ClickKind kind, int x, RowPart part = RowPart::LabelOrRight, bool fullRow = true) {
    ClickInput in;
    in.kind = kind;
    in.point = {x, 45};
    in.onItem = true;
    in.part = part;
    in.fullRowSelect = fullRow;
    in.textRect = {60, 40, 400, 58};
    in.field0Width = 50;
    in.column0Width = 250;
    in.totalWidth = 600;
    return in;
}

ClickDecision Is(bool focus, bool pass, bool select, bool toggle, bool toggleBool) {
    return ClickDecision{focus, pass, select, toggle, toggleBool};
}

} // namespace

TEST(ColumnTreeClick, NoItemNoAction) {
    ClickInput in = Row(ClickKind::ButtonDown, 100);
    in.onItem = false;
    EXPECT_TRUE(DecideClick(in).Nothing());
    in.kind = ClickKind::DoubleClick;
    EXPECT_TRUE(DecideClick(in).Nothing());
}

TEST(ColumnTreeClick, FullRowLabelSelectsAndIconsToggle) {
    EXPECT_EQ(DecideClick(Row(ClickKind::ButtonDown, 100)), Is(true, false, true, false, false));
    EXPECT_EQ(DecideClick(Row(ClickKind::DoubleClick, 100)), Is(false, false, false, true, false));
    // Outside the text rectangle: only the focus, a double-click nothing.
    EXPECT_EQ(DecideClick(Row(ClickKind::ButtonDown, 400)), Is(true, false, false, false, false));
    EXPECT_TRUE(DecideClick(Row(ClickKind::DoubleClick, 400)).Nothing());

    ClickInput onExpand = Row(ClickKind::ButtonDown, 65);
    onExpand.expandIcon = {60, 44, 76, 60};
    EXPECT_EQ(DecideClick(onExpand), Is(true, false, true, true, false));
    onExpand.point.x = 76; // just right of the icon
    EXPECT_EQ(DecideClick(onExpand), Is(true, false, true, false, false));

    ClickInput onCheck = Row(ClickKind::ButtonDown, 260);
    onCheck.checkIcon = {256, 41, 272, 57};
    EXPECT_EQ(DecideClick(onCheck), Is(true, false, true, false, true));
    // A double-click on the check icon toggles expansion, not the value.
    onCheck.kind = ClickKind::DoubleClick;
    EXPECT_EQ(DecideClick(onCheck), Is(false, false, false, true, false));
}

TEST(ColumnTreeClick, WithoutFullRowOnlyTheNameBehavesAsAPlainTree) {
    // Name field 50 wide from x 60, plus 6: [60, 116) goes to the tree.
    EXPECT_EQ(DecideClick(Row(ClickKind::ButtonDown, 60, RowPart::LabelOrRight, false)),
              Is(false, true, false, false, false));
    EXPECT_EQ(DecideClick(Row(ClickKind::DoubleClick, 115, RowPart::LabelOrRight, false)),
              Is(false, true, false, false, false));
    EXPECT_EQ(DecideClick(Row(ClickKind::ButtonDown, 116, RowPart::LabelOrRight, false)),
              Is(true, false, false, false, false));
    EXPECT_TRUE(DecideClick(Row(ClickKind::DoubleClick, 116, RowPart::LabelOrRight, false)).Nothing());
    EXPECT_EQ(DecideClick(Row(ClickKind::ButtonDown, 450, RowPart::LabelOrRight, false)),
              Is(true, false, false, false, false));
    EXPECT_TRUE(DecideClick(Row(ClickKind::DoubleClick, 450, RowPart::LabelOrRight, false)).Nothing());
}

TEST(ColumnTreeClick, ElsewhereOnTheRowSplitsAtTreeColumnAndTotalWidth) {
    // Indentation and expand buttons left of column 0's edge stay the tree's.
    EXPECT_EQ(DecideClick(Row(ClickKind::ButtonDown, 20, RowPart::Elsewhere)), Is(false, true, false, false, false));
    EXPECT_EQ(DecideClick(Row(ClickKind::DoubleClick, 249, RowPart::Elsewhere)),
              Is(false, true, false, false, false));
    EXPECT_EQ(DecideClick(Row(ClickKind::ButtonDown, 250, RowPart::Elsewhere)), Is(true, false, true, false, false));
    EXPECT_EQ(DecideClick(Row(ClickKind::DoubleClick, 600, RowPart::Elsewhere)),
              Is(false, false, false, true, false));
    // Right of all columns: the focus, nothing else.
    EXPECT_EQ(DecideClick(Row(ClickKind::ButtonDown, 601, RowPart::Elsewhere)), Is(true, false, false, false, false));
    EXPECT_TRUE(DecideClick(Row(ClickKind::DoubleClick, 601, RowPart::Elsewhere)).Nothing());
}

TEST(ColumnTreeToolTip, AreasAroundTheDivider) {
    EXPECT_EQ(ToolTipAreaAt(0, 250), ToolTipArea::Name);
    EXPECT_EQ(ToolTipAreaAt(230, 250), ToolTipArea::Name);
    EXPECT_EQ(ToolTipAreaAt(231, 250), ToolTipArea::None);
    EXPECT_EQ(ToolTipAreaAt(250, 250), ToolTipArea::None);
    EXPECT_EQ(ToolTipAreaAt(251, 250), ToolTipArea::Value);
}

TEST(ColumnTreeToolTip, NameAndValueAreTwoToolsOfOneRow) {
    ToolTipInput in;
    in.onItem = true;
    in.hasNode = true;
    in.item = 0x1234;
    in.textRect = {40, 20, 300, 38};
    in.column0Width = 250;
    in.clientRight = 700;

    in.point = {100, 25};
    auto name = ToolTipAt(in);
    ASSERT_TRUE(name.has_value());
    EXPECT_EQ(name->area, ToolTipArea::Name);
    EXPECT_EQ(name->id, 0x1234u);
    EXPECT_EQ(name->rect, (Rect{40, 20, 230, 38}));

    in.point = {500, 25}; // right of the text: still the row's value cell
    auto value = ToolTipAt(in);
    ASSERT_TRUE(value.has_value());
    EXPECT_EQ(value->area, ToolTipArea::Value);
    EXPECT_EQ(value->id, 0x1234u | kValueToolBit);
    EXPECT_NE(value->id, name->id);
    EXPECT_EQ(value->rect, (Rect{250, 20, 680, 38}));

    in.point = {240, 25};
    EXPECT_FALSE(ToolTipAt(in).has_value());
    in.point = {100, 25};
    in.hasNode = false; // caption rows carry no node
    EXPECT_FALSE(ToolTipAt(in).has_value());
    in.hasNode = true;
    in.onItem = false;
    EXPECT_FALSE(ToolTipAt(in).has_value());
}

TEST(ColumnTreeToolTip, EnumerationValueShowsTheCurrentEntrysTip) {
    EXPECT_EQ(ToolTipText(ToolTipArea::Value, true, "Global shutter.", "Sensor shutter mode."), "Global shutter.");
    EXPECT_EQ(ToolTipText(ToolTipArea::Value, true, std::nullopt, "Sensor shutter mode."), "");
    EXPECT_EQ(ToolTipText(ToolTipArea::Name, true, "Global shutter.", "Sensor shutter mode."), "Sensor shutter mode.");
    EXPECT_EQ(ToolTipText(ToolTipArea::Value, false, "ignored", "Gain."), "Gain.");
}

TEST(ColumnTreeToolTip, TextIsCutAt199CharactersNeverInsideOne) {
    std::string exact(199, 'x');
    EXPECT_EQ(ToolTipText(ToolTipArea::Name, false, std::nullopt, exact), exact);
    EXPECT_EQ(ToolTipText(ToolTipArea::Name, false, std::nullopt, exact + "yz"), exact);
    // 200 two-byte characters: 199 of them, 398 bytes.
    std::string umlauts;
    for (int i = 0; i < 200; ++i) umlauts += "\xC3\xA4";
    std::string cut = ToolTipText(ToolTipArea::Name, false, std::nullopt, umlauts);
    EXPECT_EQ(cut.size(), 398u);
    EXPECT_EQ(cut, umlauts.substr(0, 398));
}
