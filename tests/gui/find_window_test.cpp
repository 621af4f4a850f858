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

struct FindFixture {
    qorvis::sim::ConnectedSimulatedCamera camera;
    MemorySettingsStore store;
    CTessel window;
    FindFixture()
        : window(BrowserSetup{{quillon_gui_test::EntryOf(camera.nodeMap())}, 0, {}, false},
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
    const TreeItem selected = f.window.tree().SelectedItem();
    ASSERT_NE(selected, kTopLevel);
    EXPECT_EQ(selected, find.shown().front().treeItem);
    const FeatureRow* row = f.window.session().model().RowForItem(selected);
    ASSERT_TRUE(row && row->node);
    EXPECT_EQ(std::string(row->node->GetName()), "OffsetX");
    EXPECT_NE(f.window.propertyBox().toPlainText().toStdString().find("Name:\tOffsetX"),
              std::string::npos);
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
