// The hex memory editor: offset, hex and ASCII columns over a byte buffer,
// editable in either the hex or the ASCII column.
#pragma once

#include <QDialog>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "inspect/register_editing.h"

class QTableWidget;
class QTableWidgetItem;

namespace quillon::memview {

inline constexpr int kBytesPerRow = 16;

class MemoryViewerDialog final : public QDialog {
    Q_OBJECT

public:
    // Shows a copy of the bytes; OK copies the edits back into `buffer`.
    MemoryViewerDialog(const QString& caption, uint8_t* buffer, size_t length, QWidget* parent = nullptr);

    QTableWidget& table() { return *table_; }
    // The table's columns: the offset, kBytesPerRow hex cells, the ASCII text.
    static int HexColumn(size_t byteInRow) { return 1 + static_cast<int>(byteInRow); }
    static int AsciiColumn() { return 1 + kBytesPerRow; }

    const std::vector<uint8_t>& bytes() const { return bytes_; }
    // Whether any byte now differs from the buffer's original content.
    bool changed() const;

    void accept() override;

private:
    void ShowRow(int row);
    void CellEdited(QTableWidgetItem* item);

    uint8_t* buffer_;
    std::vector<uint8_t> original_;
    std::vector<uint8_t> bytes_;
    QTableWidget* table_ = nullptr;
    bool filling_ = false; // the table is being written by the dialog, not the user
};

// inspect::MemoryViewer through a modal MemoryViewerDialog. Edit answers
// false when the parent was deleted while the viewer ran.
class QtMemoryViewer final : public inspect::MemoryViewer {
public:
    explicit QtMemoryViewer(QWidget* parent = nullptr) : parent_(parent) {}
    bool Edit(const std::string& caption, uint8_t* buffer, size_t length) override;

private:
    QWidget* parent_;
};

} // namespace quillon::memview
