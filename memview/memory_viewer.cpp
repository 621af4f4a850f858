#include "memview/memory_viewer.h"

#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QHeaderView>
#include <QPointer>
#include <QTableWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace quillon::memview {

namespace {

bool Printable(uint8_t byte) { return byte >= 0x20 && byte < 0x7f; }

QChar Shown(uint8_t byte) { return Printable(byte) ? QChar(byte) : QChar(u'.'); }

} // namespace

MemoryViewerDialog::MemoryViewerDialog(const QString& caption, uint8_t* buffer, size_t length, QWidget* parent)
    : QDialog(parent), buffer_(buffer), original_(buffer, buffer + length), bytes_(original_) {
    setWindowTitle(caption);
    auto* layout = new QVBoxLayout(this);
    const int rows = static_cast<int>((length + kBytesPerRow - 1) / kBytesPerRow);
    table_ = new QTableWidget(rows, AsciiColumn() + 1, this);
    table_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    table_->verticalHeader()->hide();
    QStringList headers{QStringLiteral("Offset")};
    for (int i = 0; i < kBytesPerRow; ++i) headers << QStringLiteral("%1").arg(i, 2, 16, QChar(u'0')).toUpper();
    headers << QStringLiteral("ASCII");
    table_->setHorizontalHeaderLabels(headers);
    filling_ = true;
    for (int row = 0; row < rows; ++row) ShowRow(row);
    filling_ = false;
    table_->resizeColumnsToContents();
    layout->addWidget(table_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    connect(table_, &QTableWidget::itemChanged, this, [this](QTableWidgetItem* item) { CellEdited(item); });
}

void MemoryViewerDialog::ShowRow(int row) {
    const size_t first = static_cast<size_t>(row) * kBytesPerRow;
    const size_t end = std::min(bytes_.size(), first + kBytesPerRow);
    auto cell = [this, row](int column, const QString& text, bool editable) {
        QTableWidgetItem* item = table_->item(row, column);
        if (!item) {
            item = new QTableWidgetItem;
            if (!editable) item->setFlags(item->flags() & ~Qt::ItemIsEditable);
            table_->setItem(row, column, item);
        }
        item->setText(text);
    };
    cell(0, QStringLiteral("%1").arg(first, 8, 16, QChar(u'0')).toUpper(), false);
    QString ascii;
    for (size_t i = first; i < first + kBytesPerRow; ++i) {
        const bool inBuffer = i < end;
        cell(HexColumn(i - first),
             inBuffer ? QStringLiteral("%1").arg(bytes_[i], 2, 16, QChar(u'0')).toUpper() : QString(), inBuffer);
        if (inBuffer) ascii += Shown(bytes_[i]);
    }
    cell(AsciiColumn(), ascii, true);
}

void MemoryViewerDialog::CellEdited(QTableWidgetItem* item) {
    if (filling_) return;
    const int row = item->row();
    const size_t first = static_cast<size_t>(row) * kBytesPerRow;
    const size_t count = std::min<size_t>(kBytesPerRow, bytes_.size() - first);
    if (item->column() == AsciiColumn()) {
        // A character takes the byte under it only where it differs from what
        // was shown, so the '.' of an unprintable byte leaves that byte alone.
        const QString text = item->text();
        for (size_t i = 0; i < count && i < static_cast<size_t>(text.size()); ++i) {
            const QChar ch = text[static_cast<qsizetype>(i)];
            if (ch != Shown(bytes_[first + i]) && ch.unicode() < 0x100) bytes_[first + i] = static_cast<uint8_t>(ch.unicode());
        }
    } else if (item->column() >= HexColumn(0) && item->column() < HexColumn(count)) {
        bool ok = false;
        const uint value = item->text().trimmed().toUInt(&ok, 16);
        // Anything but one or two hex digits is refused: the cell shows the byte again.
        if (ok && value <= 0xff && item->text().trimmed().size() <= 2)
            bytes_[first + static_cast<size_t>(item->column() - HexColumn(0))] = static_cast<uint8_t>(value);
    }
    filling_ = true;
    ShowRow(row);
    filling_ = false;
}

bool MemoryViewerDialog::changed() const { return bytes_ != original_; }

void MemoryViewerDialog::accept() {
    std::copy(bytes_.begin(), bytes_.end(), buffer_);
    QDialog::accept();
}

bool QtMemoryViewer::Edit(const std::string& caption, uint8_t* buffer, size_t length) {
    // The host may delete the browser, the dialog's parent, while the viewer
    // runs: the dialog goes with it, and nothing counts as changed.
    QPointer<MemoryViewerDialog> dialog =
        new MemoryViewerDialog(QString::fromStdString(caption), buffer, length, parent_);
    const bool accepted = dialog->exec() == QDialog::Accepted;
    if (!dialog) return false;
    const bool changed = accepted && dialog->changed();
    delete dialog.data();
    return changed;
}

} // namespace quillon::memview
