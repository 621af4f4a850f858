// The feature tree: which nodes of the node maps become rows, in which order
// and under which parent, and the node callbacks tied to the feature rows.
#pragma once

#include <chrono>
#include <deque>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "GenApi/Interfaces.h"
#include "types/feature_row.h"

namespace quillon::browser {

class ChangedNodeSet;

// GenApi visibility values; a node is shown when its visibility <= the level.
enum UserLevel : int { kStandard = 0, kAdvanced = 1, kGuru = 2 };

// The label that makes a category open the file-transfer dialog, and the
// label its row takes (the value column offers the dialog).
inline constexpr const char* kFileAccessCategoryLabel = "File Access Control";
inline constexpr const char* kFileAccessCategoryRowLabel = "File Access Control\tFile Access Control...";

class FeatureTreeModel {
public:
    // Callbacks of feature rows report to `changes` (may be null: no callbacks).
    FeatureTreeModel(TreeSink& sink, ChangedNodeSet* changes);
    // Deregisters every callback; the tree's items stay with the tree.
    ~FeatureTreeModel();
    FeatureTreeModel(const FeatureTreeModel&) = delete;
    FeatureTreeModel& operator=(const FeatureTreeModel&) = delete;

    // Builds rows for `entries` at `userLevel` below what the tree holds and
    // writes every row's text. Clears nothing; GenICam exceptions propagate.
    void Build(const std::vector<NodeMapEntry>& entries, int userLevel);
    // The same build in slices, so that a window stays responsive over a
    // large map: StartBuild, then ContinueBuild until it answers true (each
    // call adds rows until `until` has passed). The rows, their order and
    // the tree end up as Build leaves them. A GenICam exception ends the
    // build with the rows made so far.
    void StartBuild(const std::vector<NodeMapEntry>& entries, int userLevel);
    bool ContinueBuild(std::chrono::steady_clock::time_point until);
    // Rows remain to be added.
    bool building() const;
    // Deregisters every feature row's callback, deletes all items, empties the lists.
    void Clear();
    // Clear, then Build at another level.
    void Rebuild(const std::vector<NodeMapEntry>& entries, int userLevel);

    int userLevel() const { return userLevel_; }
    const std::deque<FeatureRow>& categoryRows() const { return categoryRows_; }
    const std::deque<FeatureRow>& featureRows() const { return featureRows_; }

    bool IsCategoryShown(GenApi::ICategory* category) const;
    bool IsFeatureShown(GenApi::INode* node) const;
    // The row behind a tree item, null for none.
    FeatureRow* RowForItem(TreeItem item);
    // Rewrites the texts of every row of `node`.
    void RewriteRowsOf(GenApi::INode* node);
    // Rewrites every row's text.
    void RewriteAll();
    // The description of the last device access that failed while rows were
    // written (the device refused or did not answer), once; empty when none.
    std::string TakeAccessFailure();

    // What a feature row's callback calls.
    void OnNodeChanged(GenApi::INode* node);

private:
    // A category's (or a selector's) members still to be added, as a
    // recursive walk would hold them on its stack.
    struct Pending {
        std::vector<GenApi::INode*> members;
        size_t next = 0;
        TreeItem parent = kTopLevel;
        const NodeMapContext* context = nullptr; // in entries_
        std::optional<size_t> selectorIndex;     // members are this selector's selected features
        bool mapCategories = false;              // members are all nodes; categories go to the top level
        bool expandTopLevel = false;             // the entry's root: open the top level when done
    };
    void StartEntry(const NodeMapEntry& entry);
    void PushMembers(GenApi::ICategory* category, TreeItem parent, const NodeMapContext& context,
                     std::optional<size_t> selectorIndex);
    void AddMember(GenApi::INode* node, TreeItem parent, const NodeMapContext& context,
                   std::optional<size_t> selectorIndex);
    void AddCategory(GenApi::INode* node, TreeItem parent, const NodeMapContext& context);
    FeatureRow MakeRow(GenApi::INode* node, const NodeMapContext& context) const;
    TreeItem Insert(FeatureRow& row, TreeItem parent);
    void AddFeatureRow(FeatureRow row, GenApi::ECallbackType callbackType);

    TreeSink& sink_;
    ChangedNodeSet* changes_;
    int userLevel_ = kStandard;
    std::string accessFailure_;
    std::deque<FeatureRow> categoryRows_; // captions and categories (bold)
    std::deque<FeatureRow> featureRows_;  // features; a row's position is its index
    // Identity sets mirroring the lists' nodes, for de-duplication.
    std::unordered_set<const void*> shownCategories_;
    std::unordered_set<const void*> shownFeatures_;
    std::unordered_map<TreeItem, FeatureRow*> rowOfItem_;
    std::unordered_multimap<GenApi::INode*, size_t> featureRowsOfNode_;
    // The build in progress.
    std::vector<NodeMapEntry> entries_;
    size_t nextEntry_ = 0;
    std::vector<Pending> pending_;
};

} // namespace quillon::browser
