#include "inspect/find_window.h"

#include <QAbstractListModel>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QVBoxLayout>

namespace quillon::inspect {

// The shown names as the list's model: the view asks only for the rows it
// paints, so a keystroke over a hundred thousand names costs one filter pass.
class FindWindow::NameModel final : public QAbstractListModel {
public:
    NameModel(const std::vector<const FindEntry*>& shown, QObject* parent)
        : QAbstractListModel(parent), shown_(shown) {}
    int rowCount(const QModelIndex& parent) const override {
        return parent.isValid() ? 0 : static_cast<int>(shown_.size());
    }
    QVariant data(const QModelIndex& index, int role) const override {
        if (role != Qt::DisplayRole || !index.isValid() ||
            static_cast<size_t>(index.row()) >= shown_.size())
            return {};
        return QString::fromStdString(shown_[static_cast<size_t>(index.row())]->name);
    }
    void BeginReset() { beginResetModel(); }
    void EndReset() { endResetModel(); }

private:
    const std::vector<const FindEntry*>& shown_;
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
    // A new selection, by mouse or by keyboard, is followed at once.
    connect(list_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { GoToSelection(); });
}

void FindWindow::Fill(const std::vector<FindRow>& featureRows,
                      const std::vector<FindRow>& categoryRows, const std::string& browserCaption) {
    setWindowTitle(QString::fromStdString(FindCaption(browserCaption)));
    query_->setFocus();
    query_->clear();
    Update(featureRows, categoryRows);
}

void FindWindow::Update(const std::vector<FindRow>& featureRows,
                        const std::vector<FindRow>& categoryRows) {
    ShowMatches(&featureRows, &categoryRows);
}

void FindWindow::ShowMatches(const std::vector<FindRow>* featureRows, const std::vector<FindRow>* categoryRows) {
    // The finder sorts case-insensitively; the list keeps that order.
    const QSignalBlocker quietReset(list_->selectionModel());
    names_->BeginReset();
    // The shown names point into the finder's entries: refill inside the
    // reset, so that the view never reads a freed entry.
    shown_.clear();
    if (featureRows && categoryRows) finder_.Refill(*featureRows, *categoryRows);
    shown_ = finder_.Filter(query_->text().toStdString());
    names_->EndReset(); // refilling selects nothing to follow
}

void FindWindow::GoToSelection() {
    const QModelIndexList selected = list_->selectionModel()->selectedIndexes();
    if (selected.isEmpty()) return;
    const int row = selected.front().row();
    if (row >= 0 && static_cast<size_t>(row) < shown_.size() &&
        shown_[static_cast<size_t>(row)]->treeItem)
        emit ItemChosen(shown_[static_cast<size_t>(row)]->treeItem);
}

void FindWindow::Enter() {
    std::optional<size_t> selection;
    const QModelIndexList selected = list_->selectionModel()->selectedIndexes();
    if (!selected.isEmpty()) selection = static_cast<size_t>(selected.front().row());
    // Selecting the first name follows it.
    if (FeatureFinder::EnterTarget(query_->text().toStdString(), shown_, selection))
        list_->setCurrentIndex(names_->index(0));
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
