// Column tree geometry: fields of a row text, widths, resize, horizontal
// scrolling, child placement and the divider double-click width.
#include <gtest/gtest.h>

#include <vector>

#include "controls/column_tree_layout.h"

using namespace quillon::controls;

namespace {

ColumnWidths Widths(std::vector<int> w) { return ReadColumnWidths(w); }

// 7 pixels per byte: easy to reckon with and distinct from every constant.
int SevenPerChar(std::string_view s) { return static_cast<int>(s.size()) * 7; }

} // namespace

TEST(ColumnTreeFields, RowTextSplitsAtTabsVerbatim) {
    auto f = SplitFields("Gain \t 2.50");
    ASSERT_EQ(f.size(), 2u);
    EXPECT_EQ(f[0], "Gain ");
    EXPECT_EQ(f[1], " 2.50");
    EXPECT_EQ(Field("Gain \t 2.50", 1), " 2.50");
    EXPECT_EQ(Field("a\tb\tc", 2), "c");
    // Empty fields keep their place: the third column is not shifted left.
    EXPECT_EQ(Field("a\t\tc", 1), "");
    EXPECT_EQ(Field("a\t\tc", 2), "c");
    EXPECT_EQ(Field("a\t", 1), "");
}

TEST(ColumnTreeFields, TextWithoutTabHasOnlyTheTreeColumn) {
    EXPECT_EQ(Field("Device Control", 0), "Device Control");
    EXPECT_FALSE(Field("Device Control", 1).has_value());
    EXPECT_EQ(Field("", 0), "");
    EXPECT_FALSE(Field("", 1).has_value());
    EXPECT_FALSE(Field("a\tb", -1).has_value());
}

TEST(ColumnTreeWidths, SeventeenthColumnIsNeitherKeptNorCounted) {
    std::vector<int> header(17, 10);
    header[16] = 1000;
    ColumnWidths w = ReadColumnWidths(header);
    EXPECT_EQ(w.count, 16);
    EXPECT_EQ(w.total, 160);
    EXPECT_EQ(w.Left(15), 150);
    EXPECT_EQ(w.Right(15), 160);

    ColumnWidths two = Widths({120, 80});
    EXPECT_EQ(two.Column0(), 120);
    EXPECT_EQ(two.Left(1), 120);
    EXPECT_EQ(two.total, 200);
    EXPECT_EQ(ReadColumnWidths({}).Column0(), 0);
}

TEST(ColumnTreeWidths, ResizeGivesTheLastColumnTheRestButAtLeast300) {
    ColumnWidths w = Widths({200, 50, 100});
    ColumnWidths grown = ResizeLastColumn(w, 900, false);
    EXPECT_EQ(grown.width[0], 200);
    EXPECT_EQ(grown.width[1], 50);
    EXPECT_EQ(grown.width[2], 650);
    EXPECT_EQ(grown.total, 900);

    ColumnWidths shrunk = ResizeLastColumn(w, 400, false); // 400 - 250 = 150 < 300
    EXPECT_EQ(shrunk.width[2], 300);
    EXPECT_EQ(shrunk.total, 550);
    EXPECT_EQ(ResizeLastColumn(w, 550, false).width[2], 300); // exactly the floor
    EXPECT_EQ(ResizeLastColumn(w, 551, false).width[2], 301);

    ColumnWidths one = ResizeLastColumn(Widths({100}), 700, false); // column 0 is the last
    EXPECT_EQ(one.width[0], 700);

    ColumnWidths kept = ResizeLastColumn(w, 900, true);
    EXPECT_EQ(kept.width[2], 100);
    EXPECT_EQ(kept.total, 350);
    EXPECT_EQ(ResizeLastColumn(ColumnWidths{}, 900, false).count, 0);
}

TEST(ColumnTreeWidths, HeaderAndRowHeights) {
    EXPECT_EQ(HeaderHeight(13), 17);
    EXPECT_EQ(RowHeight(16), 18);
}

TEST(ColumnTreeScroll, RangeAlwaysReachesTreeColumnPlus300) {
    // Wide columns: the range ends at the last pixel of the last column.
    HScrollBar wide = MakeHScrollBar(Widths({200, 600}), 500, 40);
    EXPECT_EQ(wide.min, 0);
    EXPECT_EQ(wide.max, 799);
    EXPECT_EQ(wide.page, 500);
    EXPECT_EQ(wide.pos, 40);
    EXPECT_EQ(wide.MaxPosition(), 300); // the last column's right end in view

    // Narrow columns: the tree column plus 300 still reachable.
    HScrollBar narrow = MakeHScrollBar(Widths({250, 40}), 400, -5);
    EXPECT_EQ(narrow.max, 550);
    EXPECT_EQ(narrow.pos, 0); // negative offsets reset
    EXPECT_EQ(narrow.Clamp(1000), 151);
    EXPECT_EQ(narrow.Clamp(-3), 0);

    // A client wider than everything cannot scroll at all.
    EXPECT_EQ(MakeHScrollBar(Widths({100, 100}), 2000, 0).MaxPosition(), 0);
}

TEST(ColumnTreeScroll, CommandsMoveByLinePageAndThumbAndStopAtZero) {
    ColumnWidths w = Widths({200, 600});
    EXPECT_EQ(ApplyHScroll(HScrollCode::LineRight, 100, 0, 500, w), 115);
    EXPECT_EQ(ApplyHScroll(HScrollCode::LineLeft, 100, 0, 500, w), 85);
    EXPECT_EQ(ApplyHScroll(HScrollCode::LineLeft, 10, 0, 500, w), 0);
    EXPECT_EQ(ApplyHScroll(HScrollCode::LineLeft, 0, 0, 500, w), 0);
    EXPECT_EQ(ApplyHScroll(HScrollCode::PageRight, 100, 0, 500, w), 600);
    EXPECT_EQ(ApplyHScroll(HScrollCode::PageLeft, 100, 0, 500, w), 0);
    EXPECT_EQ(ApplyHScroll(HScrollCode::ThumbTrack, 100, 237, 500, w), 237);
    EXPECT_EQ(ApplyHScroll(HScrollCode::Other, 100, 237, 500, w), 100);
    EXPECT_EQ(ApplyHScroll(HScrollCode::ToLeft, 100, 0, 500, w), 0);
    // To the right: the last column's right end at the client's right edge.
    EXPECT_EQ(ApplyHScroll(HScrollCode::ToRight, 0, 0, 500, w), 300);
    EXPECT_EQ(ApplyHScroll(HScrollCode::ToRight, 50, 0, 900, w), 0);
}

TEST(ColumnTreeScroll, ChildrenShiftByThePositionOnlyWhenScrollable) {
    ColumnWidths w = Widths({200, 600}); // extent 799
    PlacementInput in;
    in.clientWidth = 500;
    in.clientHeight = 300;
    in.scrollPosition = 120;
    in.headerHeight = 17;

    ChildPlacement p = PlaceChildren(w, in);
    EXPECT_EQ(p.tree, (Rect{-120, 17, 500, 300})); // width 620 = client + position
    EXPECT_EQ(p.header, (Rect{-120, 0, 494, 17})); // 6 short without a vertical bar

    in.treeShowsVScroll = true;
    in.vScrollWidth = 17;
    EXPECT_EQ(PlaceChildren(w, in).header, (Rect{-120, 0, 483, 17}));

    // Client as wide as the extent: a stale position is ignored.
    in.clientWidth = 799;
    in.treeShowsVScroll = false;
    ChildPlacement still = PlaceChildren(w, in);
    EXPECT_EQ(still.tree, (Rect{0, 17, 799, 300}));
    EXPECT_EQ(still.header, (Rect{0, 0, 793, 17}));
}

TEST(ColumnTreeDivider, MeasuresFirstRootAndExpandedLevelsOnly) {
    // Root "Cam" (expanded) > "Ctl" (collapsed, whose hidden child is long)
    //                        > "Gain \t 12345678" ; second root is long too.
    MeasuredItem hidden{"A very long hidden name\tvery very very long value", false, false, {}};
    MeasuredItem ctl{"Ctl", false, false, {hidden}};
    MeasuredItem gain{"Gain \t 12345678", false, false, {}};
    MeasuredItem cam{"Cam", true, false, {ctl, gain}};
    MeasuredItem other{"Another root that is much longer\tthe longest value of them all", true, false, {}};
    std::vector<MeasuredItem> roots{cam, other};

    MeasureMetrics m{10, false};
    // Column 0: "Gain " at level 1 = 5*7 + 10 = 45; "Cam" = 21; "Ctl" = 21 + 10.
    EXPECT_EQ(DividerDoubleClickWidth(roots, 0, m, SevenPerChar), 45 + 20);
    // Column 1: " 12345678" = 63; items without field 1 count 0.
    EXPECT_EQ(DividerDoubleClickWidth(roots, 1, m, SevenPerChar), 63 + 20);
    // No item has column 2.
    EXPECT_EQ(DividerDoubleClickWidth(roots, 2, m, SevenPerChar), 20);

    // Lines at the root add one indent per item, an image one more.
    roots[0].children[1].hasImage = true;
    EXPECT_EQ(DividerDoubleClickWidth(roots, 0, MeasureMetrics{10, true}, SevenPerChar), 35 + 20 + 10 + 20);
    // Indents are for the tree column only.
    EXPECT_EQ(DividerDoubleClickWidth(roots, 1, MeasureMetrics{10, true}, SevenPerChar), 63 + 20);

    // Expanding the collapsed branch brings its child into the measure.
    roots[0].children[0].expanded = true;
    EXPECT_EQ(DividerDoubleClickWidth(roots, 1, m, SevenPerChar), 7 * 25 + 20);
    EXPECT_EQ(DividerDoubleClickWidth(roots, 0, m, SevenPerChar), 7 * 23 + 20 + 20);

    EXPECT_EQ(DividerDoubleClickWidth(std::span<const MeasuredItem>{}, 0, m, SevenPerChar), 20);
}
