#include "inspect/find_feature.h"

#include <algorithm>
#include <cctype>

namespace quillon::inspect {

namespace {

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

} // namespace

std::string FindCaption(const std::string& browserCaption) { return "Find " + browserCaption; }

void FeatureFinder::Refill(const std::vector<FindRow>& featureRows, const std::vector<FindRow>& categoryRows) {
    entries_.clear();
    for (const auto* rows : {&featureRows, &categoryRows}) {
        for (const FindRow& row : *rows) {
            if (!row.treeItem) continue;
            entries_.push_back({row.label, row.treeItem});
            entries_.push_back({row.nodeName, row.treeItem});
        }
    }
    sorted_.clear();
    sorted_.reserve(entries_.size());
    for (size_t i = 0; i < entries_.size(); ++i)
        if (entries_[i].treeItem) sorted_.emplace_back(lowered(entries_[i].name), i);
    // Stable: equal names keep the order of the rows.
    std::stable_sort(sorted_.begin(), sorted_.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
}

std::vector<FindEntry> FeatureFinder::Filter(const std::string& query) const {
    const std::string q = lowered(query);
    std::vector<FindEntry> shown;
    for (const auto& [key, entry] : sorted_)
        if (q.empty() || key.find(q) != std::string::npos) shown.push_back(entries_[entry]);
    return shown;
}

TreeItemHandle FeatureFinder::EnterTarget(const std::string& query, const std::vector<FindEntry>& shown,
                                          std::optional<size_t> selection) {
    if (query.empty() || selection || shown.empty()) return nullptr;
    return shown.front().treeItem;
}

} // namespace quillon::inspect
