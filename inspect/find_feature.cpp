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
}

std::vector<FindEntry> FeatureFinder::Filter(const std::string& query) const {
    const std::string q = lowered(query);
    std::vector<std::pair<std::string, FindEntry>> matches;
    for (const FindEntry& entry : entries_) {
        if (!entry.treeItem) continue;
        std::string key = lowered(entry.name);
        if (q.empty() || key.find(q) != std::string::npos) matches.emplace_back(std::move(key), entry);
    }
    std::stable_sort(matches.begin(), matches.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<FindEntry> shown;
    shown.reserve(matches.size());
    for (auto& m : matches) shown.push_back(std::move(m.second));
    return shown;
}

TreeItemHandle FeatureFinder::EnterTarget(const std::string& query, const std::vector<FindEntry>& shown,
                                          std::optional<size_t> selection) {
    if (query.empty() || selection || shown.empty()) return nullptr;
    return shown.front().treeItem;
}

} // namespace quillon::inspect
