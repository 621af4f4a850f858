// What the browser tests share: inline descriptions over a memory port, and a
// tree model writing into an in-memory tree with a timer that only records.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <set>
#include <string>
#include <vector>

#include "../support/inline_description.h"
#include "GenApi/GenApi.h"
#include "browser/feature_polling.h"
#include "browser/text_tree.h"
#include "browser/tree_model.h"
#include "qorvis.h"
#include "sim/sim_camera.h"

namespace quillon_browser_test {

// A description whose body brings its own Root category.
struct InlineMap : quillon_test_support::MemoryDevice {
    explicit InlineMap(const std::string& body)
        : quillon_test_support::MemoryDevice(quillon_test_support::Description(body, false)) {}
    GenApi::INode* node(const char* name) const { return map._GetNode(name); }
};

struct ManualTimer : quillon::browser::ChangeTimer {
    int starts = 0, kills = 0, lastInterval = 0;
    bool running = false;
    void Start(int intervalMs) override { ++starts, lastInterval = intervalMs, running = true; }
    void Kill() override { ++kills, running = false; }
};

inline quillon::browser::NodeMapEntry Entry(GenApi::INodeMap* nodeMap, std::string caption = {}) {
    quillon::browser::NodeMapEntry entry;
    entry.context.nodeMap = nodeMap;
    entry.context.caption = std::move(caption);
    return entry;
}

// A tree, its change set and the model writing into them.
struct Browser {
    quillon::browser::TextTree tree;
    ManualTimer timer;
    quillon::browser::ChangedNodeSet changes{timer};
    quillon::browser::FeatureTreeModel model{tree, &changes};
    const quillon::browser::FeatureRow* Row(const char* name) const {
        for (const auto& row : model.featureRows())
            if (row.node->GetName() == name) return &row;
        return nullptr;
    }
    // The item text of the row of `name` ("" when it has none).
    std::string Text(const char* name) const {
        const auto* row = Row(name);
        return row && row->treeItem ? quillon::browser::TextTree::At(row->treeItem).text : "";
    }
};

} // namespace quillon_browser_test
