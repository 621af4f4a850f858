// The memory viewer: editing in the hex and the ASCII column, the changed
// flag, and the modal viewer behind inspect::MemoryViewer.
#include <gtest/gtest.h>

#include <QApplication>
#include <QTableWidget>
#include <QTimer>

#include <array>
#include <functional>

#include "memview/memory_viewer.h"

using quillon::memview::MemoryViewerDialog;
using quillon::memview::QtMemoryViewer;

namespace {

// Runs `edit` on the modal viewer once it is open.
void WhenOpen(std::function<void(MemoryViewerDialog&)> edit) {
    QTimer::singleShot(0, [edit] {
        auto* dialog = qobject_cast<MemoryViewerDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        edit(*dialog);
    });
}

std::array<uint8_t, 20> Bytes() {
    std::array<uint8_t, 20> b{};
    for (size_t i = 0; i < b.size(); ++i) b[i] = static_cast<uint8_t>(i);
    return b;
}

TEST(MemoryViewer, ShowsOffsetHexAndAsciiColumns) {
    std::array<uint8_t, 20> bytes = Bytes();
    bytes[17] = 'A';
    MemoryViewerDialog dialog(QStringLiteral("caption"), bytes.data(), bytes.size());
    QTableWidget& table = dialog.table();
    EXPECT_EQ(dialog.windowTitle().toStdString(), "caption");
    ASSERT_EQ(table.rowCount(), 2);
    EXPECT_EQ(table.item(1, 0)->text().toStdString(), "00000010");
    EXPECT_EQ(table.item(0, MemoryViewerDialog::HexColumn(15))->text().toStdString(), "0F");
    EXPECT_EQ(table.item(1, MemoryViewerDialog::AsciiColumn())->text().toStdString(), ".A..");
    EXPECT_FALSE(table.item(1, MemoryViewerDialog::HexColumn(4))->flags() & Qt::ItemIsEditable)
        << "no cell past the end";
    EXPECT_FALSE(dialog.changed());
}

TEST(MemoryViewer, EditingOneHexByteReportsChanged) {
    std::array<uint8_t, 20> bytes = Bytes();
    QtMemoryViewer viewer;
    WhenOpen([](MemoryViewerDialog& d) {
        EXPECT_EQ(d.windowTitle().toStdString(), "GenICam register access: LUTValueAll");
        d.table().item(1, MemoryViewerDialog::HexColumn(1))->setText(QStringLiteral("4a"));
        EXPECT_EQ(d.table().item(1, MemoryViewerDialog::HexColumn(1))->text().toStdString(), "4A");
        EXPECT_EQ(d.table().item(1, MemoryViewerDialog::AsciiColumn())->text().toStdString(), ".J..");
        d.accept();
    });
    EXPECT_TRUE(viewer.Edit("GenICam register access: LUTValueAll", bytes.data(), bytes.size()));
    std::array<uint8_t, 20> expected = Bytes();
    expected[17] = 0x4a;
    EXPECT_EQ(bytes, expected);
}

TEST(MemoryViewer, AsciiEditsOnlyTheTypedCharacterAndBadHexIsRefused) {
    std::array<uint8_t, 20> bytes = Bytes();
    QtMemoryViewer viewer;
    WhenOpen([](MemoryViewerDialog& d) {
        // The dots of unprintable bytes stay those bytes.
        d.table().item(0, MemoryViewerDialog::AsciiColumn())->setText(QStringLiteral("..Z............."));
        d.table().item(0, MemoryViewerDialog::HexColumn(5))->setText(QStringLiteral("xyz"));
        EXPECT_EQ(d.table().item(0, MemoryViewerDialog::HexColumn(5))->text().toStdString(), "05");
        d.accept();
    });
    EXPECT_TRUE(viewer.Edit("c", bytes.data(), bytes.size()));
    std::array<uint8_t, 20> expected = Bytes();
    expected[2] = 'Z';
    EXPECT_EQ(bytes, expected);
}

TEST(MemoryViewer, CancelOrRewritingTheSameValueIsUnchanged) {
    std::array<uint8_t, 20> bytes = Bytes();
    QtMemoryViewer viewer;
    WhenOpen([](MemoryViewerDialog& d) {
        d.table().item(0, MemoryViewerDialog::HexColumn(3))->setText(QStringLiteral("FF"));
        d.reject();
    });
    EXPECT_FALSE(viewer.Edit("c", bytes.data(), bytes.size()));
    EXPECT_EQ(bytes, Bytes());

    WhenOpen([](MemoryViewerDialog& d) {
        d.table().item(0, MemoryViewerDialog::HexColumn(3))->setText(QStringLiteral("03"));
        d.accept();
    });
    EXPECT_FALSE(viewer.Edit("c", bytes.data(), bytes.size()));
    EXPECT_EQ(bytes, Bytes());
}

} // namespace
