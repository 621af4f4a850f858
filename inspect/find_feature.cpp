#include "inspect/find_feature.h"

#include <algorithm>
#include <cctype>
#include <string_view>

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
    std::vector<std::pair<std::string, uint32_t>> sorted; // (lowered name, entry)
    sorted.reserve(entries_.size());
    for (size_t i = 0; i < entries_.size(); ++i)
        if (entries_[i].treeItem) sorted.emplace_back(lowered(entries_[i].name), static_cast<uint32_t>(i));
    // Stable: equal names keep the order of the rows.
    std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    lowered_.clear();
    start_.clear();
    entry_.clear();
    start_.reserve(sorted.size() + 1);
    entry_.reserve(sorted.size());
    for (const auto& [name, entry] : sorted) {
        start_.push_back(static_cast<uint32_t>(lowered_.size()));
        lowered_ += name;
        lowered_ += '\0';
        entry_.push_back(entry);
    }
    start_.push_back(static_cast<uint32_t>(lowered_.size()));
}

std::vector<const FindEntry*> FeatureFinder::Filter(const std::string& query) const {
    const std::string q = lowered(query);
    std::vector<const FindEntry*> shown;
    const size_t names = entry_.size();
    if (q.empty()) {
        shown.reserve(names);
        for (uint32_t e : entry_) shown.push_back(&entries_[e]);
        return shown;
    }
    if (q.find('\0') != std::string::npos) return shown;
    // One search through all names at once: every name ends in a NUL, which
    // the query does not hold, so a hit lies inside one name; the search goes
    // on at the next name.
    const std::string_view all(lowered_);
    size_t k = 0;
    for (size_t at = all.find(q); at != std::string_view::npos; at = all.find(q, start_[k])) {
        while (start_[k + 1] <= at) ++k;
        shown.push_back(&entries_[entry_[k]]);
        if (++k == names) break;
    }
    return shown;
}

TreeItemHandle FeatureFinder::EnterTarget(const std::string& query, const std::vector<const FindEntry*>& shown,
                                          std::optional<size_t> selection) {
    if (query.empty() || selection || shown.empty()) return nullptr;
    return shown.front()->treeItem;
}

} // namespace quillon::inspect
