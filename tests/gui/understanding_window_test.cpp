// The tree's context menu over the simulated camera: why a row can't be
// edited, every slice of a selector in a table copied as text, and the
// window's edits copied as code.
#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>

#include <string>

#include "browser/understanding_window.h"
#include "controls/column_tree_widget.h"
#include "gui_support.h"
#include "qorvis.h"

using namespace quillon::browser;

namespace {

// Right-clicks the row and chooses `entry` in the menu that opens; answers
// whether the entry was enabled (and so chosen).
bool Choose(CTessel& window, TreeItem item, const char* entry) {
    bool enabled = false;
    QTimer::singleShot(0, [&] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (!menu) return;
        for (QAction* action : menu->actions())
            if (action->text() == QString::fromUtf8(entry) && action->isEnabled()) {
                enabled = true;
                action->trigger();
            }
        menu->close();
    });
    QWidget* cells = window.tree().viewport();
    const QPoint at = window.tree().ValueCellRect(item).center();
    QContextMenuEvent click(QContextMenuEvent::Mouse, at, cells->mapToGlobal(at));
    QApplication::sendEvent(cells, &click);
    return enabled;
}

} // namespace

TEST(UnderstandingWindows, TheContextMenuExplainsSlicesAndCopiesTheSessionAsCode) {
    quillon_gui_test::CameraWindow w(Q_DIGITIZER_OBJECT);
    CTessel& window = w.window;
    window.resize(700, 800);
    window.show();
    QApplication::processEvents();
    const TreeItem width = w.Feature("Width"), selector = w.Feature("GainSelector");
    // A right click selects the row; nothing is edited yet, and the row selects nothing.
    const TreeItem vendor = w.Feature("DeviceVendorName");
    EXPECT_FALSE(Choose(window, vendor, kSessionCodeAction));
    EXPECT_FALSE(Choose(window, vendor, kSlicesAction));
    EXPECT_EQ(window.tree().SelectedItem(), vendor);

    window.tree().SelectItem(width);
    window.CommitText("640");
    GenApi::CIntegerPtr(w.camera.nodeMap()->GetNode("TLParamsLocked"))->SetValue(1);
    ASSERT_TRUE(Choose(window, width, kWhyAction));
    auto* why = window.findChild<TextWindow*>();
    ASSERT_NE(why, nullptr);
    EXPECT_TRUE(why->text().startsWith("Width is read-only now: TLParamsLocked = 1"))
        << why->text().toStdString();

    window.tree().SelectItem(selector);
    window.CommitText("DigitalAll");
    ASSERT_TRUE(Choose(window, selector, kSlicesAction));
    auto* slices = window.findChild<SlicesWindow*>();
    ASSERT_NE(slices, nullptr);
    EXPECT_EQ(slices->windowTitle().toStdString(), "Slices of GainSelector");
    ASSERT_EQ(slices->tableWidgets().size(), 1u);
    EXPECT_EQ(slices->tableWidgets()[0]->item(2, 1)->text(), QStringLiteral("1.5"));
    slices->findChild<QPushButton*>()->click();
    EXPECT_EQ(QApplication::clipboard()->text().toStdString(),
              "GainSelector\tGain\nAll\t0\nAnalogAll\t6\nDigitalAll\t1.5\n");
    EXPECT_EQ(std::string(
                  GenApi::CEnumerationPtr(w.camera.nodeMap()->GetNode("GainSelector"))->ToString()),
              "DigitalAll");

    ASSERT_TRUE(Choose(window, selector, kSessionCodeAction));
    const std::string code = QApplication::clipboard()->text().toStdString();
    const size_t first = code.find("// 1. Width = 640\n"),
                 second = code.find("// 2. GainSelector = DigitalAll\n");
    EXPECT_NE(second, std::string::npos) << code;
    EXPECT_LT(first, second);
}
