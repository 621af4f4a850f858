#include "inspect/find_window.h"

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
    connect(query_, &QLineEdit::returnPressed, this, [this] { Enter(); });
    // Picking a name follows it at once; Enter then has nothing left to do.
    connect(list_, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) {
        const int row = list_->row(item);
        if (row >= 0 && static_cast<size_t>(row) < shown_.size()) emit ItemChosen(shown_[static_cast<size_t>(row)].treeItem);
    });
}

void FindWindow::Fill(const std::vector<FindRow>& featureRows, const std::vector<FindRow>& categoryRows,
                      const std::string& browserCaption) {
    setWindowTitle(QString::fromStdString(FindCaption(browserCaption)));
    finder_.Refill(featureRows, categoryRows);
    ShowMatches();
}

void FindWindow::ShowMatches() {
    // The finder sorts case-insensitively; the list keeps that order.
    shown_ = finder_.Filter(query_->text().toStdString());
    list_->clear();
    for (const FindEntry& entry : shown_) list_->addItem(QString::fromStdString(entry.name));
}

void FindWindow::Enter() {
    std::optional<size_t> selection;
    const QList<QListWidgetItem*> selected = list_->selectedItems();
    if (!selected.isEmpty()) selection = static_cast<size_t>(list_->row(selected.front()));
    const TreeItemHandle target = FeatureFinder::EnterTarget(query_->text().toStdString(), shown_, selection);
    if (!target) return;
    list_->setCurrentRow(0);
    emit ItemChosen(target);
}

} // namespace quillon::inspect
