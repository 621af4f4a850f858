// Node maps the browser tests build trees from: inline descriptions over a
// memory port, and a tree model writing into an in-memory tree.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "../support/inline_description.h"
#include "GenApi/GenApi.h"
#include "browser/feature_polling.h"
#include "browser/text_tree.h"
#include "browser/tree_model.h"

namespace quillon_browser_test {

// The body brings its own Root category.
inline std::string Description(const std::string& body) {
    return quillon_test_support::Description(body, false);
}

struct InlineMap : quillon_test_support::MemoryDevice {
    explicit InlineMap(const std::string& body)
        : quillon_test_support::MemoryDevice(Description(body)) {}
    GenApi::INode* node(const char* name) const {
        GenApi::INode* n = map._GetNode(name);
        EXPECT_NE(n, nullptr) << name;
        return n;
    }
};

// A timer that only records what the change set asks of it.
struct ManualTimer : quillon::browser::ChangeTimer {
    int starts = 0, kills = 0, lastInterval = 0;
    bool running = false;
    void Start(int intervalMs) override {
        ++starts;
        lastInterval = intervalMs;
        running = true;
    }
    void Kill() override {
        ++kills;
        running = false;
    }
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

    // The feature row of the node named `name`, or null.
    const quillon::browser::FeatureRow* Row(const char* name) const {
        for (const auto& row : model.featureRows())
            if (row.node && std::string(row.node->GetName()) == name) return &row;
        return nullptr;
    }
    // The item text of the row of `name` ("" when it has none).
    std::string Text(const char* name) const {
        const auto* row = Row(name);
        if (!row || !row->treeItem) return {};
        return quillon::browser::TextTree::At(row->treeItem).text;
    }
};

} // namespace quillon_browser_test
