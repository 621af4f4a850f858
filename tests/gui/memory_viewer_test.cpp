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

std::array<uint8_t, 20> Bytes() {
    std::array<uint8_t, 20> b{};
    for (size_t i = 0; i < b.size(); ++i)
        b[i] = static_cast<uint8_t>(i);
    return b;
}

TEST(MemoryViewer, ShowsOffsetHexAndAsciiColumns) {
    std::array<uint8_t, 20> bytes = Bytes();
    bytes[17] = 'A';
    MemoryViewerDialog dialog(QStringLiteral("caption"), bytes.data(), bytes.size());
    QTableWidget& table = dialog.table();
    ASSERT_EQ(table.rowCount(), 2);
    EXPECT_EQ(table.item(1, 0)->text().toStdString(), "00000010");
    EXPECT_EQ(table.item(0, MemoryViewerDialog::HexColumn(15))->text().toStdString(), "0F");
    EXPECT_EQ(table.item(1, MemoryViewerDialog::AsciiColumn())->text().toStdString(), ".A..");
    EXPECT_FALSE(table.item(1, MemoryViewerDialog::HexColumn(4))->flags() & Qt::ItemIsEditable)
        << "no cell past the end";
}

TEST(MemoryViewer, EditsInHexOrAsciiReportChangedCancelOrTheSameValueDoNot) {
    struct Row {
        std::function<void(MemoryViewerDialog&)> edit;
        bool changed;
        size_t index;
        uint8_t value;
    };
    const Row rows[] = {
        {[](MemoryViewerDialog& d) {
             d.table().item(1, MemoryViewerDialog::HexColumn(1))->setText(QStringLiteral("4a"));
             EXPECT_EQ(d.table().item(1, MemoryViewerDialog::HexColumn(1))->text().toStdString(),
                       "4A");
             EXPECT_EQ(d.table().item(1, MemoryViewerDialog::AsciiColumn())->text().toStdString(),
                       ".J..");
             d.accept();
         },
         true, 17, 0x4a},
        // The dots of unprintable bytes stay those bytes; bad hex is refused.
        {[](MemoryViewerDialog& d) {
             d.table()
                 .item(0, MemoryViewerDialog::AsciiColumn())
                 ->setText(QStringLiteral("..Z............."));
             d.table().item(0, MemoryViewerDialog::HexColumn(5))->setText(QStringLiteral("xyz"));
             EXPECT_EQ(d.table().item(0, MemoryViewerDialog::HexColumn(5))->text().toStdString(),
                       "05");
             d.accept();
         },
         true, 2, 'Z'},
        {[](MemoryViewerDialog& d) {
             d.table().item(0, MemoryViewerDialog::HexColumn(3))->setText(QStringLiteral("FF"));
             d.reject();
         },
         false, 3, 3},
        {[](MemoryViewerDialog& d) {
             d.table().item(0, MemoryViewerDialog::HexColumn(3))->setText(QStringLiteral("03"));
             d.accept();
         },
         false, 3, 3},
    };
    for (const Row& row : rows) {
        std::array<uint8_t, 20> bytes = Bytes(), expected = Bytes();
        expected[row.index] = row.value;
        QTimer::singleShot(0, [&row] {
            auto* dialog = qobject_cast<MemoryViewerDialog*>(QApplication::activeModalWidget());
            ASSERT_NE(dialog, nullptr);
            EXPECT_EQ(dialog->windowTitle().toStdString(), "caption");
            row.edit(*dialog);
        });
        QtMemoryViewer viewer;
        EXPECT_EQ(viewer.Edit("caption", bytes.data(), bytes.size()), row.changed);
        EXPECT_EQ(bytes, expected);
    }
}

} // namespace
