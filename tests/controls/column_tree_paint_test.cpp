// Column tree row paint: name, category icon, grid, value cells.
#include <gtest/gtest.h>

#include "controls/column_tree_paint.h"

using namespace quillon::controls;

namespace {

RowPaintInput Feature(std::string_view text) {
    RowPaintInput in;
    in.text = text;
    in.itemRect = {0, 36, 800, 54};
    in.textRect = {38, 36, 180, 54};
    in.clientWidth = 700;
    in.writable = true;
    return in;
}

const ColumnWidths kTwo = ReadColumnWidths(std::vector<int>{250, 500});

} // namespace

TEST(ColumnTreePaint, EmptyItemRectanglePaintsNothing) {
    RowPaintInput in = Feature("Gain \t 2.5");
    in.itemRect = {0, 36, 800, 36};
    EXPECT_FALSE(PaintRow(kTwo, in).has_value());
}

TEST(ColumnTreePaint, CategoryIsBoldWithItsExpansionIcon) {
    RowPaintInput in = Feature("Acquisition Control");
    in.isCategory = true;
    in.writable = false; // categories are never greyed
    auto collapsed = PaintRow(kTwo, in);
    ASSERT_TRUE(collapsed.has_value());
    EXPECT_TRUE(collapsed->name.bold);
    EXPECT_EQ(collapsed->name.colour, TextColour::WindowText);
    EXPECT_EQ(collapsed->name.text, "Acquisition Control");
    EXPECT_EQ(collapsed->name.rect, (Rect{38 + 18 + 2, 37, 178, 53}));
    ASSERT_TRUE(collapsed->expandIcon.has_value());
    EXPECT_EQ(collapsed->expandIcon->resource, kIconCollapsed);
    EXPECT_EQ(collapsed->expandIcon->rect, (Rect{38, 40, 54, 56}));
    EXPECT_TRUE(collapsed->values.empty()); // no tab: only the tree column

    in.expanded = true;
    EXPECT_EQ(PaintRow(kTwo, in)->expandIcon->resource, kIconExpanded);
}

TEST(ColumnTreePaint, FeatureNameGreyUnlessWritable) {
    RowPaintInput in = Feature("Gain \t 2.5");
    auto rw = PaintRow(kTwo, in);
    EXPECT_FALSE(rw->name.bold);
    EXPECT_TRUE(rw->name.ellipsis);
    EXPECT_FALSE(rw->expandIcon.has_value());
    EXPECT_EQ(rw->name.text, "Gain ");
    EXPECT_EQ(rw->name.colour, TextColour::WindowText);
    in.writable = false;
    EXPECT_EQ(PaintRow(kTwo, in)->name.colour, TextColour::GrayText);
}

TEST(ColumnTreePaint, ValueCellsIndentedColouredAndClipped) {
    RowPaintInput in = Feature("Gain \t 2.5");
    auto row = PaintRow(kTwo, in);
    ASSERT_EQ(row->values.size(), 1u);
    const ValueCell& v = row->values[0];
    EXPECT_EQ(v.column, 1);
    EXPECT_EQ(v.text, " 2.5");
    EXPECT_EQ(v.colour, TextColour::WritableValue);
    EXPECT_EQ(kWritableValueColour, (Rgb{0, 128, 0}));
    // From column 1's left + 6 to the client's right - 4 (the column is wider).
    EXPECT_EQ(v.rect, (Rect{256, 36, 696, 54}));

    in.treeShowsVScroll = true;
    in.vScrollWidth = 17;
    EXPECT_EQ(PaintRow(kTwo, in)->values[0].rect.right, 700 - 19);
    in.treeScrollX = 30;
    EXPECT_EQ(PaintRow(kTwo, in)->values[0].rect.left, 226);
    EXPECT_EQ(PaintRow(kTwo, in)->gridX, (std::vector<int>{219, 719}));

    in = Feature("Gain \t 2.5");
    in.writable = false;
    EXPECT_EQ(PaintRow(kTwo, in)->values[0].colour, TextColour::GrayText);
    in.focused = true; // on the highlight
    EXPECT_EQ(PaintRow(kTwo, in)->values[0].colour, TextColour::Window);
}

TEST(ColumnTreePaint, GridAndMissingOrCoveredCells) {
    ColumnWidths three = ReadColumnWidths(std::vector<int>{100, 100, 100});
    RowPaintInput in = Feature("a\tb"); // no field 2
    auto row = PaintRow(three, in);
    EXPECT_EQ(row->gridX, (std::vector<int>{99, 199, 299}));
    EXPECT_EQ(row->bottomEdge, in.itemRect);
    ASSERT_EQ(row->values.size(), 1u);
    EXPECT_EQ(row->values[0].column, 1);

    in.text = "a\tb\tc";
    in.coveredCells.set(1);
    row = PaintRow(three, in);
    ASSERT_EQ(row->values.size(), 2u);
    EXPECT_TRUE(row->values[0].coveredByControl);
    EXPECT_FALSE(row->values[0].text.has_value());
    EXPECT_EQ(row->values[0].rect.left, 100); // not indented: the control owns the cell
    EXPECT_EQ(row->values[1].text, "c");
    EXPECT_EQ(row->values[1].rect.left, 206);
}

TEST(ColumnTreePaint, BooleanShowsOneOfFourCheckIcons) {
    EXPECT_EQ(CheckIconResource(true, true), 1008);
    EXPECT_EQ(CheckIconResource(true, false), 1019);
    EXPECT_EQ(CheckIconResource(false, true), 1009);
    EXPECT_EQ(CheckIconResource(false, false), 1020);

    RowPaintInput in = Feature("Reverse X \t True");
    in.booleanValue = true;
    in.writable = false;
    auto row = PaintRow(kTwo, in);
    ASSERT_EQ(row->values.size(), 1u);
    ASSERT_TRUE(row->values[0].check.has_value());
    EXPECT_FALSE(row->values[0].text.has_value());
    EXPECT_EQ(row->values[0].check->resource, kIconCheckedReadOnly);
    EXPECT_EQ(row->values[0].check->rect, (Rect{256, 37, 272, 53}));
}

TEST(ColumnTreePaint, NestedPaintIsRefused) {
    std::atomic<int> flag{0};
    {
        PaintGuard outer(flag);
        EXPECT_TRUE(outer.Acquired());
        {
            PaintGuard nested(flag);
            EXPECT_FALSE(nested.Acquired());
        }
        EXPECT_EQ(flag.load(), 1); // ending the nested paint keeps the outer one marked
    }
    EXPECT_EQ(flag.load(), 0); // the outer guard clears it, the nested one does not touch it
    PaintGuard again(flag);
    EXPECT_TRUE(again.Acquired());
}
