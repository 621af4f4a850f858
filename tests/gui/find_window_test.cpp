// The find window over the browser window: Ctrl+F and the find button open
// it, typing filters the names, Enter selects the first match in the tree.
#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListView>
#include <QPlainTextEdit>
#include <QPushButton>

#include <algorithm>
#include <cctype>
#include <string>

#include "GenApi/GenApi.h"
#include "browser/tessel_window.h"
#include "controls/column_tree_widget.h"
#include "gui_support.h"
#include "inspect/find_window.h"
#include "sim/sim_camera.h"

using namespace quillon::browser;
using quillon::inspect::FindWindow;

namespace {

// The window over the simulated camera, titled by the host.
struct FindFixture {
    qorvis::sim::ConnectedSimulatedCamera camera;
    MemorySettingsStore store;
    CTessel window;
    FindFixture()
        : window(
              BrowserSetup{{quillon_gui_test::EntryOf(camera.nodeMap())}, 0, "Host title", false},
              &store) {}
};

void Press(QWidget& target, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier,
           const QString& text = {}) {
    QKeyEvent press(QEvent::KeyPress, key, modifiers, text);
    QApplication::sendEvent(&target, &press);
    QKeyEvent release(QEvent::KeyRelease, key, modifiers, text);
    QApplication::sendEvent(&target, &release);
}

void Type(QWidget& target, const QString& text) {
    for (QChar ch : text)
        Press(target, ch.toUpper().unicode(), Qt::NoModifier, QString(ch));
}

std::string Lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return s;
}

TEST(FindWindow, CtrlFOpensItAndEnterSelectsTheFirstMatchInTheTree) {
    FindFixture f;
    f.window.show();
    FindWindow& find = f.window.findWindow();
    EXPECT_FALSE(find.isVisible());
    Press(f.window.tree(), Qt::Key_F, Qt::ControlModifier);
    ASSERT_TRUE(find.isVisible());
    // "Find " and the caption the browser computes, whatever the host named it.
    EXPECT_EQ(f.window.windowTitle().toStdString(), "Host title");
    EXPECT_EQ(find.windowTitle().toStdString(), "Find Torvex TVX1280M (Q_DEV0) Features");
    EXPECT_GT(find.nameList().model()->rowCount(), 20) << "an empty query lists every name";

    find.queryEdit().setFocus();
    Type(find.queryEdit(), QStringLiteral("offsetx"));
    ASSERT_GT(find.nameList().model()->rowCount(), 0);
    std::vector<std::string> names;
    for (int i = 0; i < find.nameList().model()->rowCount(); ++i) {
        names.push_back(find.nameList().model()->index(i, 0).data().toString().toStdString());
        EXPECT_NE(Lower(names.back()).find("offsetx"), std::string::npos) << names.back();
    }
    EXPECT_TRUE(
        std::is_sorted(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
            return Lower(a) < Lower(b);
        }));

    Press(find.queryEdit(), Qt::Key_Return);
    EXPECT_FALSE(find.isVisible()) << "Enter hides the window";
    const TreeItem selected = f.window.tree().SelectedItem();
    ASSERT_NE(selected, kTopLevel);
    EXPECT_EQ(selected, find.shown().front().treeItem);
    const FeatureRow* row = f.window.session().model().RowForItem(selected);
    ASSERT_TRUE(row && row->node);
    EXPECT_EQ(std::string(row->node->GetName()), "OffsetX");
    EXPECT_NE(f.window.propertyBox().toPlainText().toStdString().find("Name:\tOffsetX"),
              std::string::npos);
}

TEST(FindWindow, TheKeyboardFollowsNamesEnterInTheListHidesAndTheNextFindStartsAfresh) {
    FindFixture f;
    f.window.show();
    FindWindow& find = f.window.findWindow();
    f.window.findButton().click();
    const int all = find.nameList().model()->rowCount();
    Type(find.queryEdit(), QStringLiteral("gain"));
    ASSERT_GT(find.nameList().model()->rowCount(), 1);
    find.nameList().setFocus();
    for (int step = 0; step < 2; ++step) {
        Press(find.nameList(), Qt::Key_Down);
        const int row = find.nameList().currentIndex().row();
        ASSERT_GE(row, 0);
        EXPECT_EQ(f.window.tree().SelectedItem(), find.shown()[static_cast<size_t>(row)].treeItem)
            << "a selection by keyboard is followed in the tree";
    }
    const TreeItem followed = f.window.tree().SelectedItem();
    Press(find.nameList(), Qt::Key_Return);
    EXPECT_FALSE(find.isVisible()) << "Enter in the list hides the window too";
    EXPECT_EQ(f.window.tree().SelectedItem(), followed);

    // The next find: an empty query with the focus, every name listed.
    Press(f.window.tree(), Qt::Key_F, Qt::ControlModifier);
    ASSERT_TRUE(find.isVisible());
    EXPECT_EQ(find.queryEdit().text().toStdString(), "");
    EXPECT_EQ(find.focusWidget(), &find.queryEdit());
    EXPECT_EQ(find.nameList().model()->rowCount(), all);
}

// A child browser rebuilds its tree each time the host shows it: the find
// list must then name the new tree items, never the freed ones.
TEST(FindWindow, AnEmbeddedBrowserShownAgainRefillsItsFindList) {
    qorvis::sim::ConnectedSimulatedCamera camera;
    MemorySettingsStore store;
    QWidget host;
    GenicamControllerChild child(
        BrowserSetup{{quillon_gui_test::EntryOf(camera.nodeMap())}, 0, {}, false}, &host, &store);
    host.show();
    child.show();
    FindWindow& find = child.findWindow();
    child.findButton().click();
    ASSERT_TRUE(find.isVisible());
    child.hide();
    child.show(); // the rebuild
    ASSERT_FALSE(find.shown().empty());
    for (const auto& entry : find.shown())
        ASSERT_NE(child.session().model().RowForItem(const_cast<TreeItem>(entry.treeItem)), nullptr)
            << entry.name;
    find.nameList().setFocus();
    Press(find.nameList(), Qt::Key_Down);
    EXPECT_EQ(child.tree().SelectedItem(), find.shown().front().treeItem);
}

TEST(FindWindow, TheFindButtonBesidePollingOpensItAndALevelChangeRefillsIt) {
    FindFixture f;
    EXPECT_EQ(f.window.findButton().toolTip().toStdString(), "Find feature (Ctrl+F)");
    f.window.findButton().click();
    FindWindow& find = f.window.findWindow();
    ASSERT_TRUE(find.isVisible());

    // The rebuild replaces every tree item; the list must point at the new ones.
    f.window.levelCombo().setCurrentIndex(0);
    Type(find.queryEdit(), QStringLiteral("Width"));
    Press(find.queryEdit(), Qt::Key_Return);
    const FeatureRow* row = f.window.session().model().RowForItem(f.window.tree().SelectedItem());
    ASSERT_NE(row, nullptr) << "the selected item belongs to the rebuilt tree";
    f.window.close();
    EXPECT_FALSE(find.isVisible()) << "closing the browser hides the find window";
}

} // namespace
