#include "inspect/find_window.h"

#include <QAbstractListModel>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QVBoxLayout>

namespace quillon::inspect {

// The shown names as the list's model: the view asks only for the rows it
// paints, so a keystroke over a hundred thousand names costs one filter pass.
class FindWindow::NameModel final : public QAbstractListModel {
public:
    NameModel(const std::vector<FindEntry>& shown, QObject* parent)
        : QAbstractListModel(parent), shown_(shown) {}
    int rowCount(const QModelIndex& parent) const override {
        return parent.isValid() ? 0 : static_cast<int>(shown_.size());
    }
    QVariant data(const QModelIndex& index, int role) const override {
        if (role != Qt::DisplayRole || !index.isValid() ||
            static_cast<size_t>(index.row()) >= shown_.size())
            return {};
        return QString::fromStdString(shown_[static_cast<size_t>(index.row())].name);
    }
    void BeginReset() { beginResetModel(); }
    void EndReset() { endResetModel(); }

private:
    const std::vector<FindEntry>& shown_;
};

FindWindow::FindWindow(QWidget* parent) : QDialog(parent) {
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QString::fromUtf8(kFindQueryLabel), this));
    query_ = new QLineEdit(this);
    layout->addWidget(query_);
    names_ = new NameModel(shown_, this);
    list_ = new QListView(this);
    list_->setModel(names_);
    list_->setUniformItemSizes(true);
    list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list_->setSelectionMode(QAbstractItemView::SingleSelection);
    layout->addWidget(list_, 1);

    connect(query_, &QLineEdit::textEdited, this, [this] { ShowMatches(); });
    connect(query_, &QLineEdit::returnPressed, this, [this] { Enter(); });
    // Picking a name follows it at once; Enter then has nothing left to do.
    connect(list_, &QListView::clicked, this, [this](const QModelIndex& index) {
        const int row = index.row();
        if (row >= 0 && static_cast<size_t>(row) < shown_.size())
            emit ItemChosen(shown_[static_cast<size_t>(row)].treeItem);
    });
}

void FindWindow::Fill(const std::vector<FindRow>& featureRows,
                      const std::vector<FindRow>& categoryRows, const std::string& browserCaption) {
    setWindowTitle(QString::fromStdString(FindCaption(browserCaption)));
    finder_.Refill(featureRows, categoryRows);
    ShowMatches();
}

void FindWindow::ShowMatches() {
    // The finder sorts case-insensitively; the list keeps that order.
    names_->BeginReset();
    shown_ = finder_.Filter(query_->text().toStdString());
    names_->EndReset();
}

void FindWindow::Enter() {
    std::optional<size_t> selection;
    const QModelIndexList selected = list_->selectionModel()->selectedIndexes();
    if (!selected.isEmpty()) selection = static_cast<size_t>(selected.front().row());
    const TreeItemHandle target =
        FeatureFinder::EnterTarget(query_->text().toStdString(), shown_, selection);
    if (!target) return;
    list_->setCurrentIndex(names_->index(0));
    emit ItemChosen(target);
}

} // namespace quillon::inspect
