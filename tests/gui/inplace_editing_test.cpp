// Editing in place in a real window over the simulated system's camera:
// typing, stepping and sliding integers, choosing entries, toggling a
// boolean by its check icon, the asynchronous Execute() and a register byte
// through the hex viewer; and the entry controls' own behaviour.
#include <gtest/gtest.h>

#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QHelpEvent>
#include <QLineEdit>
#include <QScrollBar>
#include <QSlider>
#include <QTableWidget>
#include <QTest>
#include <QTextBlock>
#include <QTimer>
#include <QToolTip>

#include <string>

#include "GenApi/GenApi.h"
#include "browser/browser_title.h"
#include "browser/tessel_window.h"
#include "controls/column_tree_widget.h"
#include "controls/entry_controls_widget.h"
#include "gui_support.h"
#include "memview/memory_viewer.h"
#include "qorvis.h"

using namespace quillon::browser;
using quillon::controls::CImagingEdit;
using quillon::controls::ColumnTreeWidget;

namespace {

// The simulated system's camera behind a digitizer, so that commands
// complete as the digitizer says (asynchronously).
struct SystemCamera {
    QOR_ID app = 0, sys = 0, dig = 0;
    GenApi::INodeMap* map = nullptr;
    SystemCamera() {
        QappAlloc(QOR_TEXT(""), &app);
        QsysAlloc(app, QOR_TEXT("Q_SYSTEM_SIMULATED"), 0, Q_DEFAULT, &sys);
        QdigAlloc(sys, 0, QOR_TEXT(""), Q_DEFAULT, &dig);
        QOR_INT64 pointer = 0;
        QdigInquire(dig, Q_GC_NODE_MAP, &pointer);
        map = reinterpret_cast<GenApi::INodeMap*>(pointer);
    }
    ~SystemCamera() {
        QdigFree(dig);
        QsysFree(sys);
        QappFree(app);
    }
    NodeMapEntry Entry() const { return quillon_gui_test::EntryOf(map, Q_DIGITIZER_OBJECT, dig); }
};

struct EditWindow {
    SystemCamera camera;
    MemorySettingsStore store;
    CTessel window{BrowserSetup{{camera.Entry()}, 0, {}, false}, &store};
    EditWindow() {
        window.resize(700, 800);
        window.show();
        QApplication::processEvents();
    }
    // Selects the row of the feature and answers its item.
    TreeItem Select(const char* feature) {
        const TreeItem item = quillon_gui_test::FeatureItem(window, feature);
        if (!item) {
            ADD_FAILURE() << feature << " has no row";
            return kTopLevel;
        }
        window.tree().SelectItem(item);
        QApplication::processEvents();
        return item;
    }
    std::string ValueText(TreeItem item) {
        const std::string text = window.tree().ItemText(item);
        const size_t tab = text.find('\t');
        const size_t begin = text.find_first_not_of(' ', tab + 1);
        return begin == std::string::npos ? std::string() : text.substr(begin);
    }
    int64_t Int(const char* name) {
        return GenApi::CIntegerPtr(camera.map->GetNode(name))->GetValue();
    }
};

TEST(InPlaceEditing, IntegersAreTypedSteppedAndSlid) {
    EditWindow w;
    const TreeItem width = w.Select("Width");
    const InPlaceEditors& e = w.window.editors();
    ASSERT_TRUE(e.spin->isVisible());
    ASSERT_TRUE(e.slider->isVisible());
    // The editor covers the row's value cell.
    EXPECT_TRUE(w.window.tree().ValueCellRect(width).contains(e.spin->geometry().center()));

    // Typed and entered.
    QLineEdit* line = e.spin->findChild<QLineEdit*>();
    ASSERT_NE(line, nullptr);
    line->selectAll();
    QTest::keyClicks(line, "640");
    QTest::keyClick(line, Qt::Key_Return);
    EXPECT_EQ(w.Int("Width"), 640);
    EXPECT_EQ(w.ValueText(width), "640");
    EXPECT_NE(w.window.propertyBox().toPlainText().toStdString().find("640"), std::string::npos);

    // One step up goes by the increment; the slider follows.
    e.spin->stepBy(1);
    EXPECT_EQ(w.Int("Width"), 656);
    EXPECT_EQ(e.slider->value(), SliderPosition(w.window.editorPlan(), 656));
    e.slider->setValue(SliderPosition(w.window.editorPlan(), 1024));
    EXPECT_EQ(w.Int("Width"), 1024);
    EXPECT_EQ(w.ValueText(width), "1024");

    // A value off the increment's grid is refused with a message; nothing is written.
    EXPECT_TRUE(w.window.errorBox().isHidden());
    w.window.CommitText("1001");
    EXPECT_EQ(w.Int("Width"), 1024);
    EXPECT_FALSE(w.window.errorBox().isHidden());
    EXPECT_FALSE(w.window.errorBox().toPlainText().isEmpty());
}

TEST(InPlaceEditing, FloatsAreTypedAndTheArrowsMoveTheTree) {
    EditWindow w;
    const TreeItem exposure = w.Select("ExposureTime");
    CImagingEdit* edit = w.window.editors().edit;
    ASSERT_TRUE(edit->isVisible());
    edit->setFocus();
    edit->selectAll();
    QTest::keyClicks(edit, "2500.5");
    QTest::keyClick(edit, Qt::Key_Return);
    EXPECT_DOUBLE_EQ(GenApi::CFloatPtr(w.camera.map->GetNode("ExposureTime"))->GetValue(), 2500.5);
    EXPECT_EQ(w.ValueText(exposure), "2500.500");
    // Down in the editor moves the tree's selection to the next row.
    QTest::keyClick(edit, Qt::Key_Down);
    EXPECT_NE(w.window.tree().SelectedItem(), exposure);
    EXPECT_NE(w.window.tree().SelectedItem(), kTopLevel);
}

TEST(InPlaceEditing, EntriesAreChosenAndBooleansToggledByTheirIcon) {
    EditWindow w;
    w.Select("PixelFormat");
    QComboBox* combo = w.window.editors().combo;
    ASSERT_TRUE(combo->isVisible());
    const int mono12 = combo->findText(QStringLiteral("Mono12"));
    ASSERT_GE(mono12, 0);
    combo->setCurrentIndex(mono12);
    emit combo->activated(mono12);
    EXPECT_EQ(
        std::string(GenApi::CEnumerationPtr(w.camera.map->GetNode("PixelFormat"))->ToString()),
        "Mono12");

    // A click on a boolean's check icon in the tree toggles it.
    GenApi::CBooleanPtr reverseX(w.camera.map->GetNode("ReverseX"));
    const bool before = reverseX->GetValue();
    const TreeItem reverse = w.Select("ReverseX"); // scrolled into view
    w.Select("ReverseY"); // another row selected: the tree paints ReverseX's icon
    ASSERT_NE(reverse, kTopLevel);
    w.window.tree().viewport()->repaint();
    const QRect cell = w.window.tree().ValueCellRect(reverse);
    ASSERT_FALSE(cell.isEmpty());
    QTest::mouseClick(w.window.tree().viewport(), Qt::LeftButton, {},
                      QPoint(cell.left() + quillon::controls::kValueIndent + 8, cell.center().y()));
    EXPECT_EQ(reverseX->GetValue(), !before);
    // The row is now selected and its check button toggles it back.
    ASSERT_TRUE(w.window.editors().check->isVisible());
    w.window.editors().check->click();
    EXPECT_EQ(reverseX->GetValue(), before);
}

TEST(InPlaceEditing, CellToolTipsNameTheFeatureOrTheCurrentEntry) {
    EditWindow w;
    ColumnTreeWidget& tree = w.window.tree();
    const TreeItem format = w.Select("PixelFormat");
    w.Select("Width");
    auto tipAt = [&](QPoint at) {
        QToolTip::hideText(); // hides after a short delay
        EXPECT_TRUE(QTest::qWaitFor([] { return !QToolTip::isVisible(); }, 2000));
        QHelpEvent help(QEvent::ToolTip, at, tree.viewport()->mapToGlobal(at));
        QApplication::sendEvent(tree.viewport(), &help);
        return QToolTip::isVisible() ? QToolTip::text().toStdString() : std::string();
    };
    const QRect row = tree.ItemRect(format);
    const int divider = tree.NameColumnWidth() - tree.horizontalScrollBar()->value();
    const std::string nodeTip = w.camera.map->GetNode("PixelFormat")->GetToolTip().c_str();
    ASSERT_FALSE(nodeTip.empty());
    EXPECT_EQ(tipAt(QPoint(divider - 40, row.center().y())), nodeTip);
    // The 20 pixels left of the divider give no tip.
    EXPECT_EQ(tipAt(QPoint(divider - 10, row.center().y())), "");
    // The value area of an enumeration tells of its current entry.
    GenApi::CEnumerationPtr pixelFormat(w.camera.map->GetNode("PixelFormat"));
    const std::string entryTip = pixelFormat->GetCurrentEntry()->GetNode()->GetToolTip().c_str();
    EXPECT_EQ(tipAt(QPoint(divider + 30, row.center().y())), entryTip);
    QToolTip::hideText();
}

TEST(InPlaceEditing, CommandsGetTheExecuteButton) {
    EditWindow w;
    w.Select("AcquisitionStart");
    QPushButton* execute = w.window.editors().execute;
    ASSERT_TRUE(execute->isVisible());
    EXPECT_EQ(execute->text().toStdString(), "Execute()");
    EXPECT_EQ(execute->toolTip().toStdString(), kCommandButtonTip);
}

TEST(InPlaceEditing, RegisterBytesAreEditedInTheHexViewer) {
    EditWindow w;
    w.Select("LUTValueAll");
    QPushButton* button = w.window.editors().registerEdit;
    ASSERT_TRUE(button->isVisible());
    QTimer::singleShot(0, [] {
        auto* viewer =
            qobject_cast<quillon::memview::MemoryViewerDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(viewer, nullptr);
        EXPECT_EQ(viewer->windowTitle().toStdString(), "GenICam register access: LUTValueAll");
        viewer->table()
            .item(0, quillon::memview::MemoryViewerDialog::HexColumn(3))
            ->setText(QStringLiteral("a5"));
        viewer->accept();
    });
    button->click();
    GenApi::CRegisterPtr lut(w.camera.map->GetNode("LUTValueAll"));
    uint8_t bytes[256] = {};
    lut->Get(bytes, sizeof bytes, true, true);
    EXPECT_EQ(bytes[3], 0xA5);
}

TEST(InPlaceEditing, ImagingEditKeysAndHighlighting) {
    QWidget parent;
    auto* first = new QLineEdit(&parent);
    auto* edit = new CImagingEdit(&parent);
    auto* last = new QLineEdit(&parent);
    parent.show();
    QApplication::processEvents();
    int commits = 0;
    QObject::connect(edit, &CImagingEdit::CommitRequested, [&] { ++commits; });

    // Enter commits, keeps the focus and leaves the caret at the end.
    edit->SetFlags({false, true});
    edit->setFocus();
    edit->SetText("12", false);
    EXPECT_FALSE(edit->changedByUser());
    QTest::keyClicks(edit, "3");
    EXPECT_TRUE(edit->changedByUser());
    QTextCursor start = edit->textCursor();
    start.setPosition(0);
    edit->setTextCursor(start);
    QTest::keyClick(edit, Qt::Key_Return);
    EXPECT_EQ(commits, 1);
    EXPECT_TRUE(edit->hasFocus());
    EXPECT_EQ(edit->toPlainText().toStdString(), "312");
    EXPECT_EQ(edit->textCursor().position(), 3);

    // With navigation, Shift+Tab goes to the control before.
    edit->SetFlags({true, false});
    QTest::keyClick(edit, Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_TRUE(first->hasFocus());
    edit->setFocus();
    QTest::keyClick(edit, Qt::Key_Tab);
    EXPECT_TRUE(last->hasFocus());

    // Labels turn bold wherever they occur; text without labels stays plain.
    edit->SetText("Name:\tA\r\nValue:\t1\r\nName:\tB", true);
    EXPECT_FALSE(edit->changedByUser());
    const QTextDocument* doc = edit->document();
    auto boldAt = [&](int position) {
        QTextCursor c(const_cast<QTextDocument*>(doc));
        c.setPosition(position + 1);
        return c.charFormat().fontWeight() == QFont::Bold;
    };
    const QString text = edit->toPlainText();
    EXPECT_TRUE(boldAt(0));
    EXPECT_TRUE(boldAt(static_cast<int>(text.lastIndexOf(QStringLiteral("Name:")))));
    EXPECT_TRUE(boldAt(static_cast<int>(text.indexOf(QStringLiteral("Value:")))));
    EXPECT_FALSE(boldAt(static_cast<int>(text.indexOf(QLatin1Char('A')))));
    EXPECT_LT(doc->firstBlock().blockFormat().textIndent(), 0); // the hanging indent
    edit->SetText("Name:\tA", false);
    EXPECT_FALSE(boldAt(0));
    EXPECT_EQ(doc->firstBlock().blockFormat().textIndent(), 0);
}

TEST(InPlaceEditing, EmbeddedChildHasNoCloseButton) {
    SystemCamera camera;
    MemorySettingsStore store;
    QWidget host;
    GenicamControllerChild child(BrowserSetup{{camera.Entry()}, 0, {}, false}, &host, &store);
    EXPECT_EQ(child.TemplateId(), 1001);
    EXPECT_EQ(child.objectName().toStdString(), "1001");
    EXPECT_FALSE(child.isWindow());
    host.show();
    child.show();
    QApplication::processEvents();
    EXPECT_FALSE(child.closeButton().isVisible());
    EXPECT_GT(child.session().model().featureRows().size(), 20u);
}

} // namespace
