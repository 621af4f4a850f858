#include "browser/text_tree.h"

namespace quillon::browser {

namespace {

TextTree::Item* ItemOf(TreeItem item) { return static_cast<TextTree::Item*>(item); }

void PrintItem(const TextTree::Item& item, size_t depth, std::string& out) {
    out.append(2 * depth, ' ');
    out += item.text;
    out += '\n';
    for (const TextTree::Item* child : item.children) PrintItem(*child, depth + 1, out);
}

} // namespace

TreeItem TextTree::InsertItem(TreeItem parent, const std::string& text) {
    auto item = std::make_unique<Item>();
    item->text = text;
    item->parent = ItemOf(parent);
    Item* raw = item.get();
    (item->parent ? item->parent->children : topLevel_).push_back(raw);
    items_.push_back(std::move(item));
    return raw;
}

void TextTree::SetItemText(TreeItem item, const std::string& text) { ItemOf(item)->text = text; }

void TextTree::SetItemBold(TreeItem item, bool bold) { ItemOf(item)->bold = bold; }

TreeItem TextTree::GetParentItem(TreeItem item) const { return ItemOf(item)->parent; }

void TextTree::Expand(TreeItem item) {
    if (item == kTopLevel) topLevelExpanded_ = true;
    else ItemOf(item)->expanded = true;
}

void TextTree::DeleteAllItems() {
    topLevel_.clear();
    items_.clear();
    topLevelExpanded_ = false;
}

std::string TextTree::Print() const {
    std::string out;
    for (const Item* item : topLevel_) PrintItem(*item, 0, out);
    return out;
}

} // namespace quillon::browser
