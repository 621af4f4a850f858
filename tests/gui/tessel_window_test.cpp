// The browser window over the simulated camera: what it shows after start-up,
// the property box of a selection, a level change, its colours and its saved
// image; and the tree widget's order of rows inserted while it is built.

#include "browser/browser_title.h"
#include "gui_support.h"

using namespace quillon::browser;
using quillon::controls::ColumnTreeWidget;

namespace {

// Whether any pixel of `rect` in the image has exactly `colour`.
bool HasColour(const QImage& image, const QRect& rect, QColor colour) {
    for (int y = rect.top(); y <= rect.bottom(); ++y)
        for (int x = rect.left(); x <= rect.right(); ++x)
            if (image.pixelColor(x, y) == colour) return true;
    return false;
}

} // namespace

TEST(TesselWindow, ShowsTheCameraTreeThePropertiesOfTheSelectionAndItsColours) {
    quillon_gui_test::CameraWindow w;
    CTessel& window = w.window;
    ColumnTreeWidget& tree = window.tree();
    QStringList levels;
    for (int i = 0; i < window.levelCombo().count(); ++i)
        levels << window.levelCombo().itemText(i);
    EXPECT_EQ(levels.join('|') + "|" + window.pollingCheck().text(),
              "Standard|Advanced|Guru|Polling");
    EXPECT_EQ(window.levelCombo().currentIndex(), 2);
    EXPECT_TRUE(window.errorBox().isHidden());
    const TreeItem width = w.Feature("Width"), category = tree.GetParentItem(width);
    EXPECT_EQ(tree.ItemText(width), "Width \t 1280");
    EXPECT_TRUE(tree.IsBold(category) && !tree.IsBold(width));
    // A selection fills the property box (line ends as the platform's) and opens its category.
    tree.SelectItem(width);
    const std::string text = window.propertyBox().toPlainText().toStdString();
    EXPECT_NE(text.find("Name:\tWidth\nValue:\t1280\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\nQOR API:\n"), std::string::npos) << text;
    EXPECT_TRUE(tree.IsExpanded(category));
    tree.SelectItem(category);
    EXPECT_TRUE(window.propertyBox().toPlainText().isEmpty());

    // The saved image is the window's; writable values are green, read-only ones not.
    QTemporaryDir dir;
    ASSERT_TRUE(SaveWindowImage(window, dir.filePath("window.png")));
    EXPECT_EQ(QImage(dir.filePath("window.png")).size(), window.size() * window.devicePixelRatio());
    // The selection moves off the compared rows: its highlight would colour them.
    const TreeItem sensorWidth = w.Feature("SensorWidth");
    tree.SelectItem(sensorWidth);
    tree.SelectItem(width);
    tree.SelectItem(w.Feature("Height"));
    const QImage viewport = tree.viewport()->grab().toImage();
    ASSERT_TRUE(viewport.rect().contains(tree.ItemRect(width)) &&
                viewport.rect().contains(tree.ItemRect(sensorWidth)));
    EXPECT_TRUE(HasColour(viewport, tree.ItemRect(width), QColor(0, 128, 0)));
    EXPECT_FALSE(HasColour(viewport, tree.ItemRect(sensorWidth), QColor(0, 128, 0)));

    // A level change rebuilds the tree and drops the selection with its properties.
    ASSERT_NE(quillon_gui_test::LabelledItem(window, "LUT Control"),
              kTopLevel); // Expert, shown at Guru
    window.levelCombo().setCurrentIndex(0);
    EXPECT_EQ(window.session().userLevel(), kStandard);
    EXPECT_EQ(quillon_gui_test::LabelledItem(window, "LUT Control"), kTopLevel);
    EXPECT_EQ(tree.SelectedItem(), kTopLevel);
    EXPECT_TRUE(window.propertyBox().toPlainText().isEmpty());
}

// Rows arriving while a tree is built: after the shown rows, under a
// collapsed item, or between shown rows; the shown rows keep the tree's order.
TEST(ColumnTree, RowsInsertedAnywhereShowInTreeOrder) {
    ColumnTreeWidget tree;
    const TreeItem a = tree.InsertItem(kTopLevel, "A");
    const TreeItem a1 = tree.InsertItem(a, "A1");
    tree.Expand(kTopLevel);
    const TreeItem a2 = tree.InsertItem(a, "A2");
    const TreeItem b = tree.InsertItem(kTopLevel, "B");
    const TreeItem b1 = tree.InsertItem(b, "B1");
    const TreeItem a3 = tree.InsertItem(a, "A3");
    EXPECT_EQ(tree.VisibleItemsFromFirst(), (std::vector<TreeItem>{a, a1, a2, a3, b}));
    tree.SetExpanded(b, true);
    EXPECT_EQ(tree.VisibleItemsFromFirst(), (std::vector<TreeItem>{a, a1, a2, a3, b, b1}));
    EXPECT_EQ(tree.verticalScrollBar()->maximum() + tree.verticalScrollBar()->pageStep(),
              std::max(6, tree.verticalScrollBar()->pageStep()));
}

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    // Listing the tests (test discovery at build time) needs no window system.
    if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
