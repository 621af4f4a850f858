// The browser's feature-set actions: "Save features...", "Load features..."
// and "Compare with file..." in the tree's context menu, with a progress
// dialog that can cancel, the load's report in a message box and the
// differences in a list of their own. What they compute is feature_sets.h.
#pragma once

#include <QDialog>

#include <string>
#include <vector>

#include "inspect/feature_set_format.h"
#include "types/feature_row.h"

class QMenu;
class QTreeWidget;

namespace quillon::browser {
class CTessel;
}

namespace quillon::inspect {

inline constexpr const char* kSaveFeaturesText = "Save features...";
inline constexpr const char* kLoadFeaturesText = "Load features...";
inline constexpr const char* kCompareFeaturesText = "Compare with file...";
inline constexpr const char* kDifferencesWindowName = "FeatureSetDifferences";

// Adds the three entries for `window`'s device (every node map it shows);
// they do not depend on the row under the pointer.
void AddFeatureSetEntries(QMenu& menu, browser::CTessel& window, browser::TreeItem item);

// The differences of the window's device and a file, a row each: the
// feature (with its slice), the device's value and the file's. A
// double-click selects the feature's row in the window's tree.
class FeatureSetDifferencesWindow final : public QDialog {
    Q_OBJECT

public:
    FeatureSetDifferencesWindow(browser::CTessel& window,
                                std::vector<FeatureDifference> differences,
                                const std::string& fileName);
    QTreeWidget& list() { return *list_; }
    // Selects the tree row of the feature of difference `index`; false (and
    // a line in the window's error box) when it has no row at this level.
    bool SelectFeatureRow(int index);

private:
    browser::CTessel& window_;
    std::vector<FeatureDifference> differences_;
    QTreeWidget* list_ = nullptr;
};

} // namespace quillon::inspect
