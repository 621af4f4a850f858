#include "inspect/find_window.h"

#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QVBoxLayout>

namespace quillon::inspect {

FindWindow::FindWindow(QWidget* parent) : QDialog(parent) {
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QString::fromUtf8(kFindQueryLabel), this));
    query_ = new QLineEdit(this);
    layout->addWidget(query_);
    list_ = new QListWidget(this);
    list_->setSelectionMode(QAbstractItemView::SingleSelection);
    layout->addWidget(list_, 1);

    connect(query_, &QLineEdit::textEdited, this, [this] { ShowMatches(); });
    // A new selection, by mouse or by keyboard, is followed at once.
    connect(list_, &QListWidget::itemSelectionChanged, this, [this] { GoToSelection(); });
}

void FindWindow::Fill(const std::vector<FindRow>& featureRows, const std::vector<FindRow>& categoryRows,
                      const std::string& browserCaption) {
    setWindowTitle(QString::fromStdString(FindCaption(browserCaption)));
    query_->setFocus();
    query_->clear();
    Update(featureRows, categoryRows);
}

void FindWindow::Update(const std::vector<FindRow>& featureRows,
                        const std::vector<FindRow>& categoryRows) {
    finder_.Refill(featureRows, categoryRows);
    ShowMatches();
}

void FindWindow::ShowMatches() {
    // The finder sorts case-insensitively; the list keeps that order.
    shown_ = finder_.Filter(query_->text().toStdString());
    const QSignalBlocker quiet(list_); // refilling selects nothing to follow
    list_->clear();
    for (const FindEntry& entry : shown_) list_->addItem(QString::fromStdString(entry.name));
}

void FindWindow::GoToSelection() {
    const QList<QListWidgetItem*> selected = list_->selectedItems();
    if (selected.isEmpty()) return;
    const int row = list_->row(selected.front());
    if (row >= 0 && static_cast<size_t>(row) < shown_.size() &&
        shown_[static_cast<size_t>(row)].treeItem)
        emit ItemChosen(shown_[static_cast<size_t>(row)].treeItem);
}

void FindWindow::Enter() {
    std::optional<size_t> selection;
    const QList<QListWidgetItem*> selected = list_->selectedItems();
    if (!selected.isEmpty()) selection = static_cast<size_t>(list_->row(selected.front()));
    // Selecting the first name follows it.
    if (FeatureFinder::EnterTarget(query_->text().toStdString(), shown_, selection))
        list_->setCurrentRow(0);
    accept(); // hides; the names and the query stay for the next find
}

void FindWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        Enter();
        return;
    }
    QDialog::keyPressEvent(event);
}

} // namespace quillon::inspect
