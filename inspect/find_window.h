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

    // Refills the names from the tree's rows, sets the caption from the
    // browser's default caption and shows the names matching the query.
    void Fill(const std::vector<FindRow>& featureRows, const std::vector<FindRow>& categoryRows,
              const std::string& browserCaption);

    QLineEdit& queryEdit() { return *query_; }
    QListView& nameList() { return *list_; }
    const std::vector<FindEntry>& shown() const { return shown_; }

signals:
    // The tree item the user wants to see (never null).
    void ItemChosen(TreeItemHandle item);

private:
    class NameModel;
    void ShowMatches();
    void Enter();

    FeatureFinder finder_;
    std::vector<FindEntry> shown_;
    QLineEdit* query_ = nullptr;
    NameModel* names_ = nullptr;
    QListView* list_ = nullptr;
};

} // namespace quillon::inspect
