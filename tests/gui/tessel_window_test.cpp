// The browser window over the simulated camera: what it shows after start-up,
// the property box of a selection, a level change, its colours and its saved
// image; and the tree widget's order of rows inserted while it is built.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QImage>
#include <QPushButton>
#include <QScrollBar>
#include <QTemporaryDir>

#include "browser/browser_title.h"
#include "controls/column_tree_widget.h"
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

TEST(TesselWindow, ShowsTheCameraTreeAndThePropertiesOfTheSelection) {
    quillon_gui_test::CameraWindow w;
    CTessel& window = w.window;
    EXPECT_EQ(window.windowTitle().toStdString(), "Torvex TVX1280M (Q_DEV0) Features");
    QStringList levels;
    for (int i = 0; i < window.levelCombo().count(); ++i)
        levels << window.levelCombo().itemText(i);
    EXPECT_EQ(levels, (QStringList{"Standard", "Advanced", "Guru"}));
    EXPECT_EQ(window.levelCombo().currentIndex(), 2);
    EXPECT_EQ(window.pollingCheck().text().toStdString(), kPollingText);
    EXPECT_EQ(window.findButton().toolTip().toStdString(), kFindTip);
    EXPECT_FALSE(window.pollingCheck().isChecked());
    EXPECT_TRUE(window.errorBox().isHidden());
    // The widget holds the rows the model built, with their texts.
    ColumnTreeWidget& tree = window.tree();
    size_t rows = 0;
    for (const auto* list :
         {&window.session().model().featureRows(), &window.session().model().categoryRows()})
        for (const FeatureRow& row : *list)
            if (row.treeItem) {
                ++rows;
                EXPECT_EQ(tree.ItemText(row.treeItem).substr(0, row.label.size()), row.label);
            }
    EXPECT_GT(rows, 100u);
    const TreeItem width = w.Feature("Width");
    const TreeItem category = tree.GetParentItem(width);
    EXPECT_TRUE(tree.IsBold(category) && !tree.IsBold(width));

    // A selection fills the property box (line ends as the platform's) and opens its category.
    tree.SelectItem(width);
    const std::string text = window.propertyBox().toPlainText().toStdString();
    EXPECT_NE(text.find("Name:\tWidth\nValue:\t1280\n"), std::string::npos) << text;
    EXPECT_NE(text.find("QOR API:"), std::string::npos) << text;
    EXPECT_EQ(text.find('\r'), std::string::npos);
    EXPECT_TRUE(tree.IsExpanded(category));
    tree.SelectItem(category);
    EXPECT_TRUE(window.propertyBox().toPlainText().isEmpty());

    // A level change rebuilds the tree and drops the selection with its properties.
    tree.SelectItem(width);
    ASSERT_NE(quillon_gui_test::LabelledItem(window, "LUT Control"),
              kTopLevel); // Expert, shown at Guru
    window.levelCombo().setCurrentIndex(0);
    EXPECT_EQ(window.session().userLevel(), kStandard);
    EXPECT_EQ(quillon_gui_test::LabelledItem(window, "LUT Control"), kTopLevel);
    EXPECT_EQ(tree.SelectedItem(), kTopLevel);
    EXPECT_TRUE(window.propertyBox().toPlainText().isEmpty());
    EXPECT_EQ(window.CurrentSettings().userLevel, kStandard);
}

TEST(TesselWindow, PaintsWritableValuesGreenAndSavesItsImage) {
    quillon_gui_test::CameraWindow w;
    ColumnTreeWidget& tree = w.window.tree();
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("window.png"));
    ASSERT_TRUE(SaveWindowImage(w.window, path));
    EXPECT_EQ(QImage(path).size(), w.window.size() * w.window.devicePixelRatio());
    // Scrolls the rows into view; the selection then moves off the compared
    // rows so that its highlight does not colour them.
    const TreeItem width = w.Feature("Width"), sensorWidth = w.Feature("SensorWidth");
    tree.SelectItem(sensorWidth);
    tree.SelectItem(width);
    tree.SelectItem(w.Feature("Height"));
    const QImage viewport = tree.viewport()->grab().toImage();
    ASSERT_TRUE(viewport.rect().contains(tree.ItemRect(width)));
    ASSERT_TRUE(viewport.rect().contains(tree.ItemRect(sensorWidth)));
    EXPECT_TRUE(HasColour(viewport, tree.ItemRect(width), QColor(0, 128, 0)));
    EXPECT_FALSE(HasColour(viewport, tree.ItemRect(sensorWidth), QColor(0, 128, 0)));
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
