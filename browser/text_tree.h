// An in-memory tree behind the TreeSink interface: what tests inspect and
// what the headless tool prints.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "types/feature_row.h"

namespace quillon::browser {

class TextTree final : public TreeSink {
public:
    struct Item {
        std::string text;
        bool bold = false;
        bool expanded = false;
        Item* parent = nullptr;
        std::vector<Item*> children;
    };

    TreeItem InsertItem(TreeItem parent, const std::string& text) override;
    void SetItemText(TreeItem item, const std::string& text) override;
    void SetItemBold(TreeItem item, bool bold) override;
    TreeItem GetParentItem(TreeItem item) const override;
    void Expand(TreeItem item) override;
    void DeleteAllItems() override;

    const std::vector<Item*>& topLevel() const { return topLevel_; }
    bool topLevelExpanded() const { return topLevelExpanded_; }
    static const Item& At(TreeItem item) { return *static_cast<const Item*>(item); }
    size_t size() const { return items_.size(); }
    // Two spaces per depth level, the item's text, a newline; depth first.
    std::string Print() const;

private:
    std::vector<std::unique_ptr<Item>> items_;
    std::vector<Item*> topLevel_;
    bool topLevelExpanded_ = false;
};

} // namespace quillon::browser
