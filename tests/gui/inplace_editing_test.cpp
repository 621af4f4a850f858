// Editing in place in the window over the simulated camera: integers, floats,
// entries, booleans by their check icon, Execute(), and a register's bytes.

#include "browser/browser_title.h"
#include "gui_support.h"
#include "memview/memory_viewer.h"

using namespace quillon::browser;
using quillon::controls::CImagingEdit;

namespace {

struct EditWindow : quillon_gui_test::CameraWindow {
    EditWindow() : CameraWindow(Q_DIGITIZER_OBJECT) {
        window.resize(700, 800);
        window.show();
        QApplication::processEvents();
    }
    TreeItem Select(const char* feature) {
        const TreeItem item = Feature(feature);
        window.tree().SelectItem(item);
        QApplication::processEvents();
        return item;
    }
    GenApi::INode* Node(const char* name) { return camera.nodeMap()->GetNode(name); }
};

} // namespace

TEST(InPlaceEditing, IntegersAreTypedSteppedAndSlid) {
    EditWindow w;
    const TreeItem width = w.Select("Width");
    const InPlaceEditors& e = w.window.editors();
    ASSERT_TRUE(e.spin->isVisible() && e.slider->isVisible());
    EXPECT_TRUE(w.window.tree().ValueCellRect(width).contains(e.spin->geometry().center()));
    EXPECT_EQ(e.spin->value(), 1280) << "the editor holds the device's value";
    EXPECT_EQ(e.slider->value(), SliderPosition(w.window.editorPlan(), 1280));
    QLineEdit* line = e.spin->findChild<QLineEdit*>();
    line->selectAll();
    QTest::keyClicks(line, "640");
    QTest::keyClick(line, Qt::Key_Return);
    EXPECT_EQ(GenApi::CIntegerPtr(w.Node("Width"))->GetValue(), 640);
    EXPECT_EQ(w.Value(width), "640");
    // One step goes by the increment; the slider follows and moves the value.
    e.spin->stepBy(1);
    EXPECT_EQ(GenApi::CIntegerPtr(w.Node("Width"))->GetValue(), 656);
    EXPECT_EQ(e.slider->value(), SliderPosition(w.window.editorPlan(), 656));
    e.slider->setValue(SliderPosition(w.window.editorPlan(), 1024));
    EXPECT_EQ(w.Value(width), "1024");
    // A value off the increment's grid is refused in the error box; nothing is written.
    EXPECT_TRUE(w.window.errorBox().isHidden());
    w.window.CommitText("1001");
    EXPECT_EQ(GenApi::CIntegerPtr(w.Node("Width"))->GetValue(), 1024);
    EXPECT_EQ(w.window.errorBox().isHidden() ? "" : w.window.errorBox().toPlainText().toStdString(),
              "1001 is not valid: the value must be 16 plus a multiple of 16.");
    // Its label shows with it, between the property box and the error box.
    w.window.layout()->activate();
    const QList<QLabel*> labels = w.window.findChildren<QLabel*>();
    const auto label = std::find_if(labels.begin(), labels.end(),
                                    [](QLabel* l) { return l->text() == "Error message:"; });
    ASSERT_NE(label, labels.end());
    EXPECT_TRUE((*label)->isVisible() &&
                (*label)->geometry().top() > w.window.propertyBox().geometry().bottom() &&
                (*label)->geometry().bottom() < w.window.errorBox().geometry().top());
}

TEST(InPlaceEditing, FloatsEntriesAndBooleans) {
    EditWindow w;
    const TreeItem exposure = w.Select("ExposureTime");
    CImagingEdit* edit = w.window.editors().edit;
    ASSERT_TRUE(edit->isVisible());
    edit->setFocus();
    edit->selectAll();
    QTest::keyClicks(edit, "2500.5");
    QTest::keyClick(edit, Qt::Key_Return);
    EXPECT_EQ(w.Value(exposure), "2500.500");
    // Down in the editor moves the tree's selection to the next row.
    QTest::keyClick(edit, Qt::Key_Down);
    EXPECT_NE(w.window.tree().SelectedItem(), exposure);

    w.Select("PixelFormat");
    QComboBox* combo = w.window.editors().combo;
    combo->setCurrentIndex(combo->findText(QStringLiteral("Mono12")));
    emit combo->activated(combo->currentIndex());
    EXPECT_EQ(std::string(GenApi::CEnumerationPtr(w.Node("PixelFormat"))->ToString()), "Mono12");

    // A click on a boolean's check icon in the tree toggles it; then its row
    // is selected and the check button toggles it back.
    GenApi::CBooleanPtr reverseX(w.Node("ReverseX"));
    const bool before = reverseX->GetValue();
    const TreeItem reverse = w.Select("ReverseX"); // scrolled into view
    w.Select("ReverseY");                          // the tree paints ReverseX's icon
    w.window.tree().viewport()->repaint();
    const QRect cell = w.window.tree().ValueCellRect(reverse);
    QTest::mouseClick(w.window.tree().viewport(), Qt::LeftButton, {},
                      QPoint(cell.left() + quillon::controls::kValueIndent + 8, cell.center().y()));
    EXPECT_EQ(reverseX->GetValue(), !before);
    ASSERT_TRUE(w.window.editors().check->isVisible());
    w.window.editors().check->click();
    EXPECT_EQ(reverseX->GetValue(), before);
}

TEST(InPlaceEditing, CommandsGetTheExecuteButtonAndRegistersTheHexViewer) {
    EditWindow w;
    w.Select("AcquisitionStart");
    QPushButton* execute = w.window.editors().execute;
    ASSERT_TRUE(execute->isVisible());
    EXPECT_EQ(execute->text().toStdString() + "|" + execute->toolTip().toStdString(),
              std::string("Execute()|") + kCommandButtonTip);

    w.Select("LUTValueAll");
    ASSERT_TRUE(w.window.editors().registerEdit->isVisible());
    QTimer::singleShot(0, [] {
        auto* viewer =
            qobject_cast<quillon::memview::MemoryViewerDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(viewer, nullptr);
        EXPECT_EQ(viewer->windowTitle().toStdString(), "GenICam register access: LUTValueAll");
        viewer->table().item(0, quillon::memview::MemoryViewerDialog::HexColumn(3))->setText("a5");
        viewer->accept();
    });
    w.window.editors().registerEdit->click();
    uint8_t bytes[256] = {};
    GenApi::CRegisterPtr(w.Node("LUTValueAll"))->Get(bytes, sizeof bytes, true, true);
    EXPECT_EQ(bytes[3], 0xA5);
}
