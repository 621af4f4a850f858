// The find window over the browser window: Ctrl+F and the find button open
// it, typing filters, Enter or the keyboard selects in the tree.

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

} // namespace

TEST(FindWindow, CtrlFOpensItTypingFiltersAndEnterSelectsTheFirstMatch) {
    quillon_gui_test::CameraWindow w(0, "Host title");
    w.window.show();
    FindWindow& find = w.window.findWindow();
    Press(w.window.tree(), Qt::Key_F, Qt::ControlModifier);
    ASSERT_TRUE(find.isVisible());
    // "Find " and the caption the browser computes, whatever the host named it.
    EXPECT_EQ(find.windowTitle().toStdString(), "Find Torvex TVX1280M (Q_DEV0) Features");
    const int all = find.nameList().model()->rowCount();
    EXPECT_GT(all, 200);
    Type(find.queryEdit(), QStringLiteral("offsetx"));
    EXPECT_EQ(find.nameList().model()->index(0, 0).data().toString() +
                  QString::number(find.nameList().model()->rowCount()),
              "OffsetX1");
    Press(find.queryEdit(), Qt::Key_Return);
    EXPECT_FALSE(find.isVisible()) << "Enter hides the window";
    EXPECT_EQ(w.window.tree().SelectedItem(), w.Feature("OffsetX"));
    // The list follows the keyboard in the tree; Enter in the list hides it too.
    w.window.findButton().click();
    Type(find.queryEdit(), QStringLiteral("gain"));
    find.nameList().setFocus();
    Press(find.nameList(), Qt::Key_Down);
    Press(find.nameList(), Qt::Key_Down);
    EXPECT_EQ(w.window.tree().SelectedItem(), find.shown().at(1)->treeItem);
    Press(find.nameList(), Qt::Key_Return);
    EXPECT_FALSE(find.isVisible());
    // The next find starts afresh; after a level change the list names the new tree items.
    Press(w.window.tree(), Qt::Key_F, Qt::ControlModifier);
    EXPECT_EQ(find.queryEdit().text().toStdString() +
                  std::to_string(find.nameList().model()->rowCount()),
              std::to_string(all));
    EXPECT_EQ(find.focusWidget(), &find.queryEdit());
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
        ASSERT_NE(child.session().model().RowForItem(const_cast<TreeItem>(entry->treeItem)),
                  nullptr);
    find.nameList().setFocus();
    Press(find.nameList(), Qt::Key_Down);
    EXPECT_EQ(child.tree().SelectedItem(), find.shown().front()->treeItem);
}
