// The column tree's rules as data: clicks, row fields, column widths, the
// scroll range and what is painted over each row.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "controls/column_tree_input.h"
#include "controls/column_tree_layout.h"
#include "controls/column_tree_paint.h"

using namespace quillon::controls;

namespace {

ColumnWidths Widths(std::vector<int> w) {
    return ReadColumnWidths(w);
}

} // namespace

TEST(ColumnTree, ClicksOnARow) {
    // A row at y 40, its text from x 60 to 400, the name field 50 wide;
    // column 0 is 250 wide, the columns 600 in all. The decision as letters:
    // focus, pass to the tree, select, toggle expansion, toggle the boolean.
    constexpr auto Down = ClickKind::ButtonDown, Double = ClickKind::DoubleClick;
    constexpr auto Label = RowPart::LabelOrRight, Else = RowPart::Elsewhere;
    const Rect none, expand{60, 44, 76, 60}, check{256, 41, 272, 57};
    struct Row {
        ClickKind kind;
        int x;
        RowPart part;
        bool fullRow;
        Rect expandIcon, checkIcon;
        const char* expected;
    };
    // clang-format off
    const Row rows[] = {
        {Down, 100, Label, true, none, none, "fs"}, {Double, 100, Label, true, none, none, "t"},
        {Down, 400, Label, true, none, none, "f"}, {Double, 400, Label, true, none, none, ""},
        {Down, 65, Label, true, expand, none, "fst"}, {Down, 76, Label, true, expand, none, "fs"},
        {Down, 260, Label, true, none, check, "fsb"}, {Double, 260, Label, true, none, check, "t"},
        // Without full-row selection the name field plus 6 pixels is the tree's.
        {Down, 60, Label, false, none, none, "p"}, {Double, 115, Label, false, none, none, "p"},
        {Down, 116, Label, false, none, none, "f"}, {Double, 116, Label, false, none, none, ""},
        // Elsewhere: the tree's left of column 0's edge, nothing right of all columns.
        {Down, 20, Else, true, none, none, "p"}, {Double, 249, Else, true, none, none, "p"},
        {Down, 250, Else, true, none, none, "fs"}, {Double, 600, Else, true, none, none, "t"},
        {Down, 601, Else, true, none, none, "f"}, {Double, 601, Else, true, none, none, ""}};
    // clang-format on
    for (const Row& row : rows) {
        ClickInput in{
            row.kind, {row.x, 45},    true,          row.part, row.fullRow, {60, 40, 400, 58},
            50,       row.expandIcon, row.checkIcon, 250,      600};
        const ClickDecision d = DecideClick(in);
        EXPECT_EQ(std::string(d.focus ? "f" : "") + (d.passToTree ? "p" : "") +
                      (d.select ? "s" : "") + (d.toggleExpansion ? "t" : "") +
                      (d.toggleBoolean ? "b" : ""),
                  row.expected)
            << row.x << " " << row.fullRow;
        in.onItem = false;
        EXPECT_TRUE(DecideClick(in).Nothing()) << row.x;
    }
}

TEST(ColumnTree, FieldsWidthsAndScrollRange) {
    // Fields are verbatim; empty ones keep their place.
    const std::tuple<const char*, int, const char*> fields[] = {
        {"Gain \t 2.50", 1, " 2.50"}, {"a\t\tc", 1, ""}, {"a\t\tc", 2, "c"}, {"a\t", 1, ""},
        {"Device", 0, "Device"},      {"", 0, ""}};
    for (auto [text, index, field] : fields)
        EXPECT_EQ(Field(text, index), field) << text << " " << index;
    for (auto [text, index] : {std::pair{"Device", 1}, {"", 1}, {"a\tb", -1}})
        EXPECT_FALSE(Field(text, index)) << text << " " << index;

    std::vector<int> header(17, 10);
    header[16] = 1000; // the 17th column is neither kept nor counted
    const ColumnWidths w = ReadColumnWidths(header);
    EXPECT_EQ(std::vector({w.count, w.total, w.Left(15), w.Right(15)}),
              std::vector({16, 160, 150, 160}));
    EXPECT_EQ(ReadColumnWidths({}).Column0(), 0);
    EXPECT_EQ(RowHeight(16), 18);
    // The last column takes the rest of the client, at least 300.
    std::vector<int> last;
    for (int client : {900, 400, 550, 551})
        last.push_back(ResizeLastColumn(Widths({200, 50, 100}), client, false).width[2]);
    EXPECT_EQ(last, std::vector({650, 300, 300, 301}));
    EXPECT_EQ(ResizeLastColumn(Widths({200, 50, 100}), 400, false).total, 550);
    EXPECT_EQ(ResizeLastColumn(Widths({100}), 700, false).width[0], 700);
    EXPECT_EQ(ResizeLastColumn(Widths({200, 50, 100}), 900, true).total, 350);
    EXPECT_EQ(ResizeLastColumn(ColumnWidths{}, 900, false).count, 0);
    // The range ends at the columns' last pixel, but reaches the tree column plus 300.
    const HScrollBar wide = MakeHScrollBar(Widths({200, 600}), 500, 40);
    EXPECT_EQ(std::vector({wide.max, wide.pos, wide.MaxPosition()}), std::vector({799, 40, 300}));
    const HScrollBar narrow = MakeHScrollBar(Widths({250, 40}), 400, -5);
    EXPECT_EQ(std::vector({narrow.max, narrow.pos, narrow.Clamp(1000), narrow.Clamp(-3)}),
              std::vector({550, 0, 151, 0}));
    EXPECT_EQ(MakeHScrollBar(Widths({100, 100}), 2000, 0).MaxPosition(), 0);
}

TEST(ColumnTree, RowPaint) {
    const ColumnWidths two = Widths({250, 500}), three = Widths({100, 100, 100});
    const auto paint = [](const ColumnWidths& w, std::string_view text, auto&& set) {
        RowPaintInput in;
        in.text = text;
        in.itemRect = {0, 36, 800, 54};
        in.textRect = {38, 36, 180, 54};
        in.clientWidth = 700;
        set(in);
        return PaintRow(w, in);
    };
    // A category: bold, never greyed, its expansion icon left of the name; no value cells.
    auto row = paint(two, "Acquisition Control", [](RowPaintInput& in) { in.isCategory = true; });
    EXPECT_TRUE(row->name.bold && row->values.empty() &&
                row->name.colour == TextColour::WindowText);
    EXPECT_EQ(row->name.rect, (Rect{38 + 18 + 2, 37, 178, 53}));
    EXPECT_EQ(row->expandIcon, (Icon{kIconCollapsed, {38, 40, 54, 56}}));
    EXPECT_EQ(paint(two, "C", [](RowPaintInput& in) { in.isCategory = in.expanded = true; })
                  ->expandIcon->resource,
              kIconExpanded);
    // A writable feature's value from column 1's left + 6 to the client's right - 4, green.
    row = paint(two, "Gain \t 2.5", [](RowPaintInput& in) { in.writable = true; });
    EXPECT_TRUE(row->name.text == "Gain " && row->name.ellipsis && !row->name.bold &&
                !row->expandIcon);
    EXPECT_EQ(row->values.at(0).text, " 2.5");
    EXPECT_EQ(row->values[0].colour, TextColour::WritableValue);
    EXPECT_EQ(row->values[0].rect, (Rect{256, 36, 696, 54}));
    row = paint(two, "Gain \t 2.5", [](RowPaintInput& in) {
        in.writable = in.treeShowsVScroll = true;
        in.treeScrollX = 30;
    });
    EXPECT_EQ(row->values[0].rect, (Rect{226, 36, 700 - 19, 54}));
    EXPECT_EQ(row->gridX, (std::vector<int>{219, 719}));
    EXPECT_EQ(paint(two, "G\t1", [](RowPaintInput& in) { in.focused = in.writable = true; })
                  ->values[0]
                  .colour,
              TextColour::Window); // on the highlight
    row = paint(two, "G\t1", [](RowPaintInput&) {});
    EXPECT_EQ(row->name.colour, TextColour::GrayText);
    EXPECT_EQ(row->values[0].colour, TextColour::GrayText);
    EXPECT_FALSE(paint(two, "G\t1", [](RowPaintInput& in) { in.itemRect.bottom = 36; }));
    // A missing field leaves its cell out; a covered cell is the control's, unindented.
    EXPECT_EQ(paint(three, "a\tb", [](RowPaintInput&) {})->values.size(), 1u);
    row = paint(three, "a\tb\tc", [](RowPaintInput& in) { in.coveredCells.set(1); });
    EXPECT_TRUE(row->values.at(0).coveredByControl && !row->values[0].text);
    EXPECT_EQ(row->values[0].rect.left + row->values.at(1).rect.left, 100 + 206);
    // A boolean shows one of four check icons instead of its text.
    row = paint(two, "Reverse X \t True", [](RowPaintInput& in) { in.booleanValue = true; });
    EXPECT_FALSE(row->values[0].text);
    EXPECT_EQ(row->values[0].check, (Icon{kIconCheckedReadOnly, {256, 37, 272, 53}}));
    EXPECT_EQ(std::vector({CheckIconResource(true, true), CheckIconResource(false, true),
                           CheckIconResource(false, false)}),
              std::vector({kIconCheckedWritable, kIconUncheckedWritable, kIconUncheckedReadOnly}));
}
