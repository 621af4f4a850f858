// The find window's logic: the list of feature names and its filter.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quillon::inspect {

// A tree item handle of the feature tree; not owned, may be null.
using TreeItemHandle = const void*;

// What the finder needs of one tree row.
struct FindRow {
    std::string label;    // the text of the tree's name column
    std::string nodeName; // the feature's node name
    TreeItemHandle treeItem = nullptr;
};

struct FindEntry {
    std::string name;
    TreeItemHandle treeItem = nullptr;
};

// "Find " followed by the browser's default caption.
std::string FindCaption(const std::string& browserCaption);

class FeatureFinder {
public:
    // Rebuilds the name list: for every feature row, then every category row,
    // that has a tree item, its label and then its node name (a row whose
    // label equals its node name is listed twice, as the tree shows it twice).
    void Refill(const std::vector<FindRow>& featureRows, const std::vector<FindRow>& categoryRows);
    const std::vector<FindEntry>& Entries() const { return entries_; }

    // The entries whose name contains `query`, ignoring ASCII case (all of
    // them for an empty query), sorted by name ignoring case as the sorted
    // list box shows them. Entries without a tree item are never listed. The
    // pointers are into Entries(), valid until the next Refill.
    std::vector<const FindEntry*> Filter(const std::string& query) const;

    // Enter in the query field: with text typed and nothing selected, the
    // first shown entry's tree item (null when none is shown); otherwise null
    // (the selection has already been followed).
    static TreeItemHandle EnterTarget(const std::string& query, const std::vector<const FindEntry*>& shown,
                                      std::optional<size_t> selection);

private:
    std::vector<FindEntry> entries_;
    // Sorted once per fill, so that a keystroke is one pass over contiguous
    // memory: every listed name in lower case, in the order the list shows,
    // each followed by a NUL, and where each starts and which entry it is.
    std::string lowered_;
    std::vector<uint32_t> start_; // one more than listed names: the end
    std::vector<uint32_t> entry_;
};

} // namespace quillon::inspect
