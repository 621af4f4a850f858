// The browser window over the simulated camera: what it shows after start-up,
// the property box of a selection, a level change, and its saved image.
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>
#include <functional>
#include <string>

#include "browser/browser_title.h"
#include "browser/tessel_window.h"
#include "controls/column_tree_widget.h"
#include "gui_support.h"
#include "sim/sim_camera.h"

using namespace quillon::browser;
using quillon::controls::ColumnTreeWidget;

namespace {

std::string Trimmed(std::string s) {
    while (!s.empty() && s.back() == ' ')
        s.pop_back();
    return s;
}

// The first item (depth first) whose name column reads `name`.
TreeItem FindItem(const ColumnTreeWidget& tree, const std::string& name,
                  TreeItem parent = kTopLevel) {
    for (TreeItem item : tree.Children(parent)) {
        const std::string text = tree.ItemText(item);
        if (Trimmed(text.substr(0, text.find('\t'))) == name) return item;
        if (TreeItem found = FindItem(tree, name, item)) return found;
    }
    return kTopLevel;
}

struct CameraWindow {
    qorvis::sim::ConnectedSimulatedCamera camera;
    MemorySettingsStore store;
    CTessel window;
    CameraWindow()
        : window(BrowserSetup{{quillon_gui_test::EntryOf(camera.nodeMap())}, 0, {}, false},
                 &store) {}
};

// Whether any pixel of `rect` in the image has exactly `colour`.
bool HasColour(const QImage& image, const QRect& rect, QColor colour) {
    for (int y = rect.top(); y <= rect.bottom(); ++y)
        for (int x = rect.left(); x <= rect.right(); ++x)
            if (image.pixelColor(x, y) == colour) return true;
    return false;
}

TEST(TesselWindow, ShowsTheCameraTreeTitleAndControls) {
    CameraWindow w;
    EXPECT_EQ(w.window.windowTitle().toStdString(), "Torvex TVX1280M (Q_DEV0) Features");
    ASSERT_EQ(w.window.levelCombo().count(), 3);
    EXPECT_EQ(w.window.levelCombo().itemText(0).toStdString(), "Standard");
    EXPECT_EQ(w.window.levelCombo().itemText(1).toStdString(), "Advanced");
    EXPECT_EQ(w.window.levelCombo().itemText(2).toStdString(), "Guru");
    EXPECT_EQ(w.window.levelCombo().currentIndex(), 2);
    EXPECT_EQ(w.window.pollingCheck().text().toStdString(), kPollingText);
    EXPECT_FALSE(w.window.pollingCheck().isChecked());
    EXPECT_TRUE(w.window.errorBox().isHidden());

    // The widget holds exactly the rows the session's model built, with their texts.
    const ColumnTreeWidget& tree = w.window.tree();
    size_t rows = 0;
    for (const auto* list :
         {&w.window.session().model().featureRows(), &w.window.session().model().categoryRows()})
        for (const FeatureRow& row : *list)
            if (row.treeItem) {
                ++rows;
                EXPECT_EQ(tree.ItemText(row.treeItem).substr(0, row.label.size()), row.label);
            }
    EXPECT_GT(rows, 20u);
    TreeItem width = FindItem(tree, "Width");
    ASSERT_NE(width, kTopLevel);
    EXPECT_NE(tree.ItemText(width).find('\t'), std::string::npos);
    EXPECT_FALSE(tree.IsBold(width));
    TreeItem category = tree.GetParentItem(width);
    ASSERT_NE(category, kTopLevel);
    EXPECT_TRUE(tree.IsBold(category));
}

TEST(TesselWindow, SelectionFillsThePropertyBox) {
    CameraWindow w;
    ColumnTreeWidget& tree = w.window.tree();
    TreeItem width = FindItem(tree, "Width");
    ASSERT_NE(width, kTopLevel);
    tree.SelectItem(width);
    const std::string text = w.window.propertyBox().toPlainText().toStdString();
    EXPECT_NE(text.find("Name:\tWidth"), std::string::npos) << text;
    EXPECT_NE(text.find("QOR API:"), std::string::npos) << text;
    EXPECT_EQ(text.find('\r'), std::string::npos);
    EXPECT_TRUE(tree.IsExpanded(tree.GetParentItem(width))); // selecting opened its category

    // A category has no property text.
    tree.SelectItem(tree.GetParentItem(width));
    EXPECT_TRUE(w.window.propertyBox().toPlainText().isEmpty());
}

TEST(TesselWindow, LevelComboRebuildsTheTree) {
    CameraWindow w;
    ASSERT_NE(FindItem(w.window.tree(), "LUT Control"), kTopLevel); // an Expert category at Guru
    w.window.tree().SelectItem(FindItem(w.window.tree(), "Width"));

    w.window.levelCombo().setCurrentIndex(0);
    EXPECT_EQ(w.window.session().userLevel(), kStandard);
    EXPECT_EQ(FindItem(w.window.tree(), "LUT Control"), kTopLevel);
    EXPECT_NE(FindItem(w.window.tree(), "Width"), kTopLevel);
    // The rebuild dropped the selection and with it the property text.
    EXPECT_EQ(w.window.tree().SelectedItem(), kTopLevel);
    EXPECT_TRUE(w.window.propertyBox().toPlainText().isEmpty());
    EXPECT_EQ(w.window.CurrentSettings().userLevel, kStandard);
}

TEST(TesselWindow, PaintsWritableValuesGreenAndSavesItsImage) {
    CameraWindow w;
    ColumnTreeWidget& tree = w.window.tree();
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("window.png"));
    ASSERT_TRUE(SaveWindowImage(w.window, path));
    EXPECT_GT(QFileInfo(path).size(), 0);
    QImage image(path);
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(image.size(), w.window.size() * w.window.devicePixelRatio());

    // Scrolls Image Format Control into view; the selection then moves off
    // the compared rows so that its highlight does not colour them.
    tree.SelectItem(FindItem(tree, "Sensor Width"));
    tree.SelectItem(FindItem(tree, "Width"));
    tree.SelectItem(FindItem(tree, "Height"));
    const QImage viewport = tree.viewport()->grab().toImage();
    const QColor green(0, 128, 0);
    const QRect widthRow = tree.ItemRect(FindItem(tree, "Width"));
    const QRect readOnlyRow = tree.ItemRect(FindItem(tree, "Sensor Width"));
    ASSERT_TRUE(viewport.rect().contains(widthRow)) << widthRow.y();
    ASSERT_TRUE(viewport.rect().contains(readOnlyRow)) << readOnlyRow.y();
    EXPECT_TRUE(HasColour(viewport, widthRow, green));
    EXPECT_FALSE(HasColour(viewport, readOnlyRow, green));
}

TEST(TesselWindow, QtSettingsStoreKeepsValuesUnderTheKeyPath) {
    QStandardPaths::setTestModeEnabled(true);
    {
        QtSettingsStore store;
        store.Write(kSettingsKey, kUserLevel, 1);
        store.Write(kSettingsKey, kWidth, 640);
    }
    QtSettingsStore store;
    EXPECT_EQ(store.Read(kSettingsKey, kUserLevel), 1);
    EXPECT_EQ(store.Read(kSettingsKey, kWidth), 640);
    EXPECT_EQ(store.Read(kSeparateSettingsKey, kWidth), std::nullopt);
    QFile::remove(QSettings(QStringLiteral("Torvex"), QStringLiteral("Quillon")).fileName());
}

} // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    // Listing the tests (test discovery at build time) needs no window system.
    if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
    // Drawn off screen unless a platform was chosen.
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}

// Rows arriving while a tree is built: after the shown rows, under a
// collapsed item, or between shown rows; the shown rows stay those of the
// tree, in its order.
TEST(ColumnTree, RowsInsertedAnywhereShowInTreeOrder) {
    ColumnTreeWidget tree;
    const TreeItem a = tree.InsertItem(kTopLevel, "A");
    const TreeItem a1 = tree.InsertItem(a, "A1");
    tree.Expand(kTopLevel);
    const TreeItem a2 = tree.InsertItem(a, "A2"); // after the last shown row
    const TreeItem b = tree.InsertItem(kTopLevel, "B");
    const TreeItem b1 = tree.InsertItem(b, "B1"); // under a collapsed item
    const TreeItem a3 = tree.InsertItem(a, "A3"); // between A2 and B
    EXPECT_EQ(tree.VisibleItemsFromFirst(), (std::vector<TreeItem>{a, a1, a2, a3, b}));
    tree.SetExpanded(b, true);
    EXPECT_EQ(tree.VisibleItemsFromFirst(), (std::vector<TreeItem>{a, a1, a2, a3, b, b1}));
    EXPECT_EQ(tree.verticalScrollBar()->maximum() + tree.verticalScrollBar()->pageStep(),
              std::max(6, tree.verticalScrollBar()->pageStep()));
}
