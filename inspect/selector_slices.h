// Every slice of a selector at once: the value of each feature the selector
// selects, under every available entry of the selector, read by switching
// the selector and setting it back afterwards. A selector among the selected
// features gets tables of its own, one per entry of the outer selector.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "GenApi/Interfaces.h"

namespace quillon::inspect {

struct SliceTable {
    // Empty for the selector's own table; "FileSelector = LUTFile" for a
    // nested selector's table under that entry of the outer one.
    std::string caption;
    std::string selector;                       // the first column's heading
    std::vector<std::string> features;          // the other columns' headings
    std::vector<std::vector<std::string>> rows; // the entry, then one cell per feature
};

// True for an enumeration or integer that selects features: what ReadSlices takes.
bool IsSliceable(GenApi::INode* node);

// An integer selector contributes at most this many rows.
inline constexpr int64_t kMaxSliceEntries = 1024;

// The tables of `selector`: its own (when it selects features that no
// nested selector selects), then each nested selector's per entry (a
// caption alone when the nested selector cannot be switched under it). A cell
// that cannot be read says why in one word: "unavailable", "unimplemented",
// "write-only", "command", "error" (the read failed), or "refused" (the
// device did not take that entry). The selectors are set back to the values
// they had, also when a read fails or an exception passes through. Throws a
// GenICam AccessException when the node selects nothing or cannot be read
// and written now.
std::vector<SliceTable> ReadSlices(GenApi::INode* selector);

enum class SliceLayout {
    Aligned, // columns padded with blanks, for reading
    Tabs,    // cells separated by tabs, for pasting into a spreadsheet
};

// The tables one after another, each led by its caption when it has one,
// with an empty line between tables.
std::string SlicesText(const std::vector<SliceTable>& tables, SliceLayout layout);

} // namespace quillon::inspect
