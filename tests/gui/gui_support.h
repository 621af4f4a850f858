// What the window tests share: a node-map entry of a camera and the tree
// item of a feature's row.
#pragma once

#include <functional>
#include <string>

#include "browser/tessel_window.h"

namespace quillon_gui_test {

// One entry over `nodeMap`, without caption; `kind` and `object` name the
// imaging-library object behind it (0 for none).
inline quillon::browser::NodeMapEntry EntryOf(GenApi::INodeMap* nodeMap, int64_t kind = 0, int64_t object = 0) {
    quillon::browser::NodeMapEntry e;
    e.context.nodeMap = nodeMap;
    e.context.objectKind = kind;
    e.context.object = object;
    return e;
}

// The tree item of the first row (categories first, selector copies
// included) that `match` accepts, or kTopLevel.
inline quillon::browser::TreeItem ItemWhere(quillon::browser::CTessel& window,
                                            const std::function<bool(const quillon::browser::FeatureRow&)>& match) {
    using quillon::browser::FeatureRow;
    using quillon::browser::TreeItem;
    std::function<TreeItem(const FeatureRow&)> visit = [&](const FeatureRow& row) -> TreeItem {
        if (row.treeItem && match(row)) return row.treeItem;
        for (const FeatureRow& copy : row.selectedRows)
            if (TreeItem found = visit(copy)) return found;
        return quillon::browser::kTopLevel;
    };
    for (const auto* rows : {&window.session().model().categoryRows(), &window.session().model().featureRows()})
        for (const FeatureRow& row : *rows)
            if (TreeItem found = visit(row)) return found;
    return quillon::browser::kTopLevel;
}

// The row of the feature node named `name`.
inline quillon::browser::TreeItem FeatureItem(quillon::browser::CTessel& window, const std::string& name) {
    return ItemWhere(window, [&](const quillon::browser::FeatureRow& r) {
        return r.node && r.node->GetName() == name.c_str();
    });
}

} // namespace quillon_gui_test
