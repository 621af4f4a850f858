// What the window tests share: the browser window over a camera, the tree
// item of a feature's row, and waiting for events.
#pragma once

#include <gtest/gtest.h>

#include <QTest>
#include <QtWidgets>

#include <chrono>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "GenApi/GenApi.h"
#include "browser/tessel_window.h"
#include "controls/column_tree_widget.h"
#include "controls/entry_controls_widget.h"
#include "qorvis.h"
#include "sim/sim_camera.h"

namespace quillon_gui_test {

using quillon::browser::FeatureRow;
using quillon::browser::TreeItem;

// One entry over `nodeMap`, without caption, for an object of `kind` (0: none).
inline quillon::browser::NodeMapEntry EntryOf(GenApi::INodeMap* nodeMap, int64_t kind = 0) {
    quillon::browser::NodeMapEntry e;
    e.context.nodeMap = nodeMap;
    e.context.objectKind = kind;
    return e;
}

// The tree item of the first row (categories first, selector copies
// included) that `match` accepts, or kTopLevel.
inline TreeItem ItemWhere(quillon::browser::CTessel& window,
                          const std::function<bool(const FeatureRow&)>& match) {
    std::function<TreeItem(const FeatureRow&)> visit = [&](const FeatureRow& row) -> TreeItem {
        if (row.treeItem && match(row)) return row.treeItem;
        for (const FeatureRow& copy : row.selectedRows)
            if (TreeItem found = visit(copy)) return found;
        return quillon::browser::kTopLevel;
    };
    for (const auto* rows :
         {&window.session().model().categoryRows(), &window.session().model().featureRows()})
        for (const FeatureRow& row : *rows)
            if (TreeItem found = visit(row)) return found;
    return quillon::browser::kTopLevel;
}

// The row of the feature node named `name`, or the row labelled `label`.
inline TreeItem FeatureItem(quillon::browser::CTessel& window, const std::string& name) {
    return ItemWhere(
        window, [&](const FeatureRow& r) { return r.node && r.node->GetName() == name.c_str(); });
}
inline TreeItem LabelledItem(quillon::browser::CTessel& window, const std::string& label) {
    return ItemWhere(window, [&](const FeatureRow& r) { return r.label == label; });
}

// Processes events until `done` holds or `limit` has passed; answers `done`.
inline bool WaitFor(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        if (std::chrono::steady_clock::now() >= end) return false;
        QApplication::processEvents();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

// The browser window over the simulated camera (on a clock of its own when
// given one), its settings in `store`.
struct CameraWindow {
    qorvis::sim::ConnectedSimulatedCamera camera;
    quillon::browser::MemorySettingsStore store;
    quillon::browser::CTessel window;
    explicit CameraWindow(int64_t kind = 0, std::string title = {})
        : window(
              quillon::browser::BrowserSetup{
                  {EntryOf(camera.nodeMap(), kind)}, 0, std::move(title), false},
              &store) {}
    explicit CameraWindow(const qorvis::sim::ManualClock& clock)
        : camera(clock.clock()),
          window(quillon::browser::BrowserSetup{{EntryOf(camera.nodeMap())}, 0, {}, false},
                 &store) {}
    TreeItem Feature(const char* name) { return FeatureItem(window, name); }
    // The value column of the row.
    std::string Value(TreeItem item) {
        const std::string text = window.tree().ItemText(item);
        const size_t begin = text.find_first_not_of(' ', text.find('\t') + 1);
        return begin == std::string::npos ? std::string() : text.substr(begin);
    }
};

} // namespace quillon_gui_test
