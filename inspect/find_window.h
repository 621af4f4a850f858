// The find window: a query field over a sorted list of feature names. It only
// shows what FeatureFinder computes and reports the tree item to jump to.
#pragma once

#include <QDialog>

#include <string>
#include <vector>

#include "inspect/find_feature.h"

class QLineEdit;
class QListView;

namespace quillon::inspect {

inline constexpr const char* kFindQueryLabel = "Enter feature name:";

class FindWindow final : public QDialog {
    Q_OBJECT

public:
    explicit FindWindow(QWidget* parent = nullptr);

    // The find command: the caption from the browser's default caption, the
    // names refilled from the tree's rows, the query cleared and focused, and
    // every name listed.
    void Fill(const std::vector<FindRow>& featureRows, const std::vector<FindRow>& categoryRows,
              const std::string& browserCaption);
    // The tree was rebuilt: the names point at its new items; the query and
    // the focus stay.
    void Update(const std::vector<FindRow>& featureRows, const std::vector<FindRow>& categoryRows);

    QLineEdit& queryEdit() { return *query_; }
    QListView& nameList() { return *list_; }
    const std::vector<const FindEntry*>& shown() const { return shown_; }

signals:
    // The tree item the user wants to see (never null).
    void ItemChosen(TreeItemHandle item);

protected:
    // Enter, wherever the focus is: the OK step.
    void keyPressEvent(QKeyEvent* event) override;

private:
    class NameModel;
    void ShowMatches(const std::vector<FindRow>* featureRows = nullptr,
                     const std::vector<FindRow>* categoryRows = nullptr);
    void GoToSelection();
    void Enter();

    FeatureFinder finder_;
    std::vector<const FindEntry*> shown_;
    QLineEdit* query_ = nullptr;
    NameModel* names_ = nullptr;
    QListView* list_ = nullptr;
};

} // namespace quillon::inspect
