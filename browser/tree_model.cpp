#include "browser/tree_model.h"

#include <utility>

#include "GenApi/Callback.h"
#include "GenApi/Pointer.h"
#include "GenICam/exceptions.h"
#include "browser/feature_polling.h"
#include "browser/value_rendering.h"

namespace quillon::browser {

namespace {

bool Implemented(GenApi::INode* node) { return node->GetAccessMode() != GenApi::NI; }

GenApi::INode* NodeOf(GenApi::IValue* value) { return value ? value->GetNode() : nullptr; }

} // namespace

FeatureTreeModel::FeatureTreeModel(TreeSink& sink, ChangedNodeSet* changes) : sink_(sink), changes_(changes) {}

FeatureTreeModel::~FeatureTreeModel() {
    for (auto& row : featureRows_)
        if (row.callbackHandle) row.node->DeregisterCallback(row.callbackHandle);
}

bool FeatureTreeModel::IsCategoryShown(GenApi::ICategory* category) const {
    return category && shownCategories_.count(dynamic_cast<GenApi::INode*>(category)) != 0;
}

bool FeatureTreeModel::IsFeatureShown(GenApi::INode* node) const { return shownFeatures_.count(node) != 0; }

FeatureRow* FeatureTreeModel::RowForItem(TreeItem item) {
    auto it = rowOfItem_.find(item);
    return it == rowOfItem_.end() ? nullptr : it->second;
}

FeatureRow FeatureTreeModel::MakeRow(GenApi::INode* node, const NodeMapContext& context) const {
    FeatureRow row;
    row.context = context;
    row.node = node;
    row.label = std::string(node->GetDisplayName());
    row.properties = ReadPropertyFlags(node);
    return row;
}

TreeItem FeatureTreeModel::Insert(FeatureRow& row, TreeItem parent) {
    row.treeItem = sink_.InsertItem(parent, RenderRow(row, &accessFailure_));
    row.parentItem = sink_.GetParentItem(row.treeItem);
    return row.treeItem;
}

void FeatureTreeModel::AddFeatureRow(FeatureRow row, GenApi::ECallbackType callbackType) {
    row.callbackHandle = GenApi::Register(row.node, *this, &FeatureTreeModel::OnNodeChanged, callbackType);
    const size_t index = featureRows_.size();
    shownFeatures_.insert(row.node);
    featureRowsOfNode_.emplace(row.node, index);
    featureRows_.push_back(std::move(row));
    FeatureRow& stored = featureRows_.back();
    if (stored.treeItem != kTopLevel) rowOfItem_[stored.treeItem] = &stored;
}

void FeatureTreeModel::AddCategory(GenApi::INode* node, TreeItem parent, const NodeMapContext& context) {
    FeatureRow row = MakeRow(node, context);
    if (row.label == kFileAccessCategoryLabel) {
        row.isFileAccessCategory = true;
        row.label = kFileAccessCategoryRowLabel;
    }
    const TreeItem item = Insert(row, parent);
    shownCategories_.insert(node);
    categoryRows_.push_back(std::move(row));
    rowOfItem_[item] = &categoryRows_.back();
    sink_.SetItemBold(item, true);
    PushMembers(GenApi::CCategoryPtr(node).get(), item, context, std::nullopt);
}

void FeatureTreeModel::PushMembers(GenApi::ICategory* category, TreeItem parent, const NodeMapContext& context,
                                   std::optional<size_t> selectorIndex) {
    Pending pending;
    pending.parent = parent;
    pending.context = &context;
    pending.selectorIndex = selectorIndex;
    if (selectorIndex) {
        GenApi::CSelectorPtr selector(featureRows_[*selectorIndex].node);
        GenApi::FeatureList_t selected;
        selector->GetSelectedFeatures(selected);
        for (GenApi::IValue* v : selected) pending.members.push_back(NodeOf(v));
    } else {
        GenApi::FeatureList_t features;
        category->GetFeatures(features);
        for (GenApi::IValue* v : features) pending.members.push_back(NodeOf(v));
    }
    pending_.push_back(std::move(pending));
}

void FeatureTreeModel::AddMember(GenApi::INode* node, TreeItem parent, const NodeMapContext& context,
                                 std::optional<size_t> selectorIndex) {
    if (!node || !node->IsFeature()) return;
    const bool visible = node->GetVisibility() <= userLevel_;
    if (GenApi::CCategoryPtr(node)) {
        if (Implemented(node) && visible && !IsCategoryShown(GenApi::CCategoryPtr(node).get()))
            AddCategory(node, parent, context);
        return;
    }
    GenApi::CSelectorPtr selector(node);
    if (selector && selector->IsSelector()) {
        if (Implemented(node) && visible && !IsFeatureShown(node)) {
            FeatureRow row = MakeRow(node, context);
            const size_t index = featureRows_.size();
            const TreeItem item = Insert(row, parent);
            sink_.SetItemBold(item, false);
            AddFeatureRow(std::move(row), GenApi::cbPostOutsideLock);
            PushMembers(nullptr, item, context, index);
        }
        return;
    }
    if (selectorIndex) {
        if (visible && !IsFeatureShown(node)) {
            FeatureRow row = MakeRow(node, context);
            // A selected feature whose pIsImplemented is false keeps its row
            // and callback without an item: it may become implemented.
            if (Implemented(node)) Insert(row, parent);
            AddFeatureRow(std::move(row), GenApi::cbPostInsideLock);
            featureRows_[*selectorIndex].selectedRows.push_back(featureRows_.back());
        }
    } else if (Implemented(node) && visible && !IsFeatureShown(node)) {
        FeatureRow row = MakeRow(node, context);
        Insert(row, parent);
        AddFeatureRow(std::move(row), GenApi::cbPostInsideLock);
    }
}

void FeatureTreeModel::StartEntry(const NodeMapEntry& entry) {
    const NodeMapContext& context = entry.context;
    GenApi::INodeMap* nodeMap = context.nodeMap;
    if (!nodeMap) throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
    GenApi::INode* rootNode = nodeMap->GetNode("Root");
    GenApi::CCategoryPtr root(rootNode);
    if (!root) throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");

    TreeItem parent = kTopLevel;
    bool captioned = false;
    if (!context.caption.empty()) {
        FeatureRow row;
        row.context = context;
        row.node = rootNode;
        row.label = context.caption;
        row.treeItem = sink_.InsertItem(kTopLevel, row.label);
        row.parentItem = sink_.GetParentItem(row.treeItem);
        parent = row.treeItem;
        shownCategories_.insert(rootNode);
        categoryRows_.push_back(std::move(row));
        rowOfItem_[parent] = &categoryRows_.back();
        sink_.SetItemBold(parent, true);
        captioned = true;
    }
    if (!IsCategoryShown(root.get()) || captioned) {
        PushMembers(root.get(), parent, context, std::nullopt);
        pending_.back().expandTopLevel = true;
    } else {
        // The root is shown already: add the map's remaining categories at top level.
        Pending pending;
        pending.parent = kTopLevel;
        pending.context = &context;
        pending.mapCategories = true;
        nodeMap->GetNodes(pending.members);
        pending_.push_back(std::move(pending));
    }
}

void FeatureTreeModel::Build(const std::vector<NodeMapEntry>& entries, int userLevel) {
    StartBuild(entries, userLevel);
    ContinueBuild(std::chrono::steady_clock::time_point::max());
}

void FeatureTreeModel::StartBuild(const std::vector<NodeMapEntry>& entries, int userLevel) {
    userLevel_ = userLevel;
    entries_ = entries;
    nextEntry_ = 0;
    pending_.clear();
    // Room for a row per node: no table rehashes all its rows in the middle
    // of a slice.
    size_t nodes = rowOfItem_.size();
    for (const NodeMapEntry& entry : entries)
        if (entry.context.nodeMap) nodes += static_cast<size_t>(entry.context.nodeMap->GetNumNodes());
    shownFeatures_.reserve(nodes);
    featureRowsOfNode_.reserve(nodes);
    rowOfItem_.reserve(nodes);
}

bool FeatureTreeModel::ContinueBuild(std::chrono::steady_clock::time_point until) {
    try {
        // The clock is read every few rows: a row costs microseconds.
        for (unsigned step = 1;; ++step) {
            if (pending_.empty()) {
                if (nextEntry_ == entries_.size()) return true;
                StartEntry(entries_[nextEntry_++]);
                continue;
            }
            Pending& top = pending_.back();
            if (top.next == top.members.size()) {
                // The entry's root is done: its top-level items open.
                if (top.expandTopLevel) sink_.Expand(kTopLevel);
                pending_.pop_back();
                continue;
            }
            GenApi::INode* node = top.members[top.next++];
            // Copied: adding the member may push onto pending_.
            const TreeItem parent = top.parent;
            const NodeMapContext& context = *top.context;
            if (!top.mapCategories) {
                AddMember(node, parent, context, top.selectorIndex);
            } else if (GenApi::CCategoryPtr(node) && node->GetVisibility() <= userLevel_ &&
                       !IsCategoryShown(GenApi::CCategoryPtr(node).get()) && Implemented(node)) {
                AddCategory(node, kTopLevel, context);
            }
            if (step % 32 == 0 && std::chrono::steady_clock::now() >= until) {
                // Rows already there show under open top-level items meanwhile.
                for (const Pending& p : pending_)
                    if (p.expandTopLevel) sink_.Expand(kTopLevel);
                return false;
            }
        }
    } catch (...) {
        // A failed build ends with the rows it made.
        pending_.clear();
        nextEntry_ = entries_.size();
        throw;
    }
}

bool FeatureTreeModel::building() const { return !pending_.empty() || nextEntry_ < entries_.size(); }

void FeatureTreeModel::Clear() {
    pending_.clear();
    entries_.clear();
    nextEntry_ = 0;
    for (auto& row : featureRows_)
        if (row.callbackHandle) row.node->DeregisterCallback(row.callbackHandle);
    sink_.DeleteAllItems();
    categoryRows_.clear();
    featureRows_.clear();
    shownCategories_.clear();
    shownFeatures_.clear();
    rowOfItem_.clear();
    featureRowsOfNode_.clear();
}

void FeatureTreeModel::Rebuild(const std::vector<NodeMapEntry>& entries, int userLevel) {
    Clear();
    Build(entries, userLevel);
}

void FeatureTreeModel::RewriteRowsOf(GenApi::INode* node) {
    auto [first, last] = featureRowsOfNode_.equal_range(node);
    for (auto it = first; it != last; ++it)
        RewriteRow(featureRows_[it->second], sink_, &accessFailure_);
}

void FeatureTreeModel::RewriteAll() {
    for (auto& row : categoryRows_)
        RewriteRow(row, sink_, &accessFailure_);
    for (auto& row : featureRows_)
        RewriteRow(row, sink_, &accessFailure_);
}

std::string FeatureTreeModel::TakeAccessFailure() {
    return std::exchange(accessFailure_, {});
}

void FeatureTreeModel::OnNodeChanged(GenApi::INode* node) {
    if (changes_) changes_->OnNodeChanged(node);
}

} // namespace quillon::browser
