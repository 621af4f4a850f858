// The browser window over the simulated camera: its tree and controls, the
// property box of a selection, its colours and its saved image.

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
    EXPECT_EQ(levels.join('|') + "|" + window.pollingCheck().text() +
                  QString::number(window.levelCombo().currentIndex()),
              "Standard|Advanced|Guru|Polling2");
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
}

// Rows that arrive below the shown ones while a tree is built (no resize
// follows) extend the scroll range.
TEST(ColumnTreeWidget, RowsArrivingInAShownTreeExtendItsScrollRange) {
    ColumnTreeWidget tree;
    tree.resize(300, 200);
    tree.show();
    QApplication::processEvents();
    for (int i = 0; i < 100; ++i)
        tree.InsertItem(kTopLevel, "Row " + std::to_string(i));
    EXPECT_GT(tree.verticalScrollBar()->maximum(), 0);
}

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    // Listing the tests (test discovery at build time) needs no window system.
    if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
