// One record per row of the feature tree, the node-map entries the tree is
// built from, and the small tree interface that the builder writes into (the
// GUI's column tree and the in-memory tree of tests and the headless tool
// both implement it).
#pragma once

#include <string>
#include <vector>

#include "GenApi/Callback.h"
#include "GenApi/Interfaces.h"
#include "types/row_context.h"

namespace quillon::browser {

// An opaque handle of a tree item; kTopLevel (null) is the tree's top level.
using TreeItem = void*;
inline constexpr TreeItem kTopLevel = nullptr;

// What the builder and the row rewriting need of a tree.
class TreeSink {
public:
    virtual ~TreeSink() = default;
    // Appends an item as the last child of `parent` and returns its handle.
    virtual TreeItem InsertItem(TreeItem parent, const std::string& text) = 0;
    virtual void SetItemText(TreeItem item, const std::string& text) = 0;
    virtual void SetItemBold(TreeItem item, bool bold) = 0;
    // The item's parent as the tree records it (kTopLevel for a top-level item).
    virtual TreeItem GetParentItem(TreeItem item) const = 0;
    // Expands the item's children; kTopLevel expands the top-level items.
    virtual void Expand(TreeItem item) = 0;
    virtual void DeleteAllItems() = 0;
};

// One tree row. Rows are owned by value by the model's lists.
struct FeatureRow {
    NodeMapContext context;               // copied from the row's node-map entry
    std::string label;                    // the name column text
    bool isFileAccessCategory = false;    // the category labelled "File Access Control"
    GenApi::INode* node = nullptr;        // compared by identity for de-duplication
    TreeItem treeItem = kTopLevel;        // null for a selected feature whose pIsImplemented is false
    TreeItem parentItem = kTopLevel;      // read back from the tree after insertion
    GenApi::CallbackHandleType callbackHandle = 0; // 0 when no callback is registered
    std::vector<FeatureRow> selectedRows; // a selector's copies of its selected features' rows
    PropertyFlags properties;
    bool inError = false;                 // the last read of the value threw
};

// One node map the tree shows, with its caption (in the context).
struct NodeMapEntry {
    NodeMapContext context;
};

} // namespace quillon::browser
