// The find window over the browser window: Ctrl+F and the find button open
// it, typing filters the names, Enter or the keyboard selects in the tree,
// and a rebuilt tree refills the list.
#include <gtest/gtest.h>

#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>

#include <string>

#include "controls/column_tree_widget.h"
#include "gui_support.h"
#include "inspect/find_window.h"

using namespace quillon::browser;
using quillon::inspect::FindWindow;

namespace {

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

std::string Names(FindWindow& find) {
    std::string names;
    for (int i = 0; i < find.nameList().model()->rowCount(); ++i)
        names += find.nameList().model()->index(i, 0).data().toString().toStdString() + "|";
    return names;
}

} // namespace

TEST(FindWindow, CtrlFOpensItTypingFiltersAndEnterSelectsTheFirstMatch) {
    quillon_gui_test::CameraWindow w(0, "Host title");
    w.window.show();
    FindWindow& find = w.window.findWindow();
    EXPECT_FALSE(find.isVisible());
    Press(w.window.tree(), Qt::Key_F, Qt::ControlModifier);
    ASSERT_TRUE(find.isVisible());
    // "Find " and the caption the browser computes, whatever the host named it.
    EXPECT_EQ(find.windowTitle().toStdString(), "Find Torvex TVX1280M (Q_DEV0) Features");
    const int all = find.nameList().model()->rowCount();
    EXPECT_GT(all, 200);
    find.queryEdit().setFocus();
    Type(find.queryEdit(), QStringLiteral("offsetx"));
    EXPECT_EQ(Names(find), "OffsetX|");
    Press(find.queryEdit(), Qt::Key_Return);
    EXPECT_FALSE(find.isVisible()) << "Enter hides the window";
    EXPECT_EQ(w.window.tree().SelectedItem(), w.Feature("OffsetX"));
    EXPECT_NE(w.window.propertyBox().toPlainText().toStdString().find("Name:\tOffsetX"),
              std::string::npos);

    // The list follows the keyboard in the tree; Enter in the list hides it too.
    w.window.findButton().click();
    Type(find.queryEdit(), QStringLiteral("gain"));
    find.nameList().setFocus();
    for (int step = 0; step < 2; ++step) {
        Press(find.nameList(), Qt::Key_Down);
        const int row = find.nameList().currentIndex().row();
        ASSERT_GE(row, 0);
        EXPECT_EQ(w.window.tree().SelectedItem(), find.shown()[static_cast<size_t>(row)].treeItem);
    }
    const TreeItem followed = w.window.tree().SelectedItem();
    Press(find.nameList(), Qt::Key_Return);
    EXPECT_FALSE(find.isVisible());
    EXPECT_EQ(w.window.tree().SelectedItem(), followed);
    // The next find starts afresh: an empty query with the focus, every name listed.
    Press(w.window.tree(), Qt::Key_F, Qt::ControlModifier);
    EXPECT_EQ(find.queryEdit().text().toStdString(), "");
    EXPECT_EQ(find.focusWidget(), &find.queryEdit());
    EXPECT_EQ(find.nameList().model()->rowCount(), all);

    // A level change replaces every tree item; the list names the new ones.
    w.window.levelCombo().setCurrentIndex(0);
    Type(find.queryEdit(), QStringLiteral("Width"));
    Press(find.queryEdit(), Qt::Key_Return);
    EXPECT_NE(w.window.session().model().RowForItem(w.window.tree().SelectedItem()), nullptr);
    w.window.findButton().click();
    w.window.close();
    EXPECT_FALSE(find.isVisible()) << "closing the browser hides the find window";
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
    child.findButton().click();
    child.hide();
    child.show(); // the rebuild
    FindWindow& find = child.findWindow();
    ASSERT_FALSE(find.shown().empty());
    for (const auto& entry : find.shown())
        ASSERT_NE(child.session().model().RowForItem(const_cast<TreeItem>(entry.treeItem)), nullptr)
            << entry.name;
    find.nameList().setFocus();
    Press(find.nameList(), Qt::Key_Down);
    EXPECT_EQ(child.tree().SelectedItem(), find.shown().front().treeItem);
}
