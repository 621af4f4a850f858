// Feature sets of a device: reading every readable feature of its node maps
// into a FeatureSet (feature_set_format.h gives the text), and writing a
// FeatureSet back with a report of what each line did.
//
// Reading walks each node map's categories from Root in order, every feature once;
// commands, registers, categories and ports are left out. A feature behind selectors
// gives a line per combination of its selectors' values (nested selectors outer first):
// every available entry of an enumeration, false and true of a boolean, every value of
// an integer with at most kMaxSelectorValues of them (beyond that, the current value
// only), at most kMaxSlices lines per feature. A selector that cannot be written
// contributes its current value only. The selectors are set back to what they held
// after each feature, also when a read fails, with the node map's lock held meanwhile
// so that a polling thread never sees a slice it did not select. Read-only values
// become comment lines; a feature that is read-only only because a lock holds
// (pIsLocked) is a setting. A feature whose read fails gets a comment
// "# Name: cannot be read: reason".
//
// Writing first checks every line against the device (a feature of that
// name, a selector for each bracket, a value of the feature's type) and
// writes nothing when one fails. Then lines that set a selector are written
// before the lines of the features that selector selects, the rest in the
// file's order. A line whose device value already equals it is unchanged;
// a slice's selectors are set for it and restored after it (so the file's
// own selector lines decide what the selectors finally hold). Refused lines
// are tried again in further passes, as long as the pass before applied a
// line (a lock or an availability that an earlier line changes). A dry run
// selects slices to read them, as reading does, and writes no value.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "inspect/feature_set_format.h"
#include "types/feature_row.h"

namespace quillon::inspect {

// Integer selectors with more values than this are saved at their current value.
inline constexpr int64_t kMaxSelectorValues = 4096;
// Nested selectors give a feature at most this many lines; a comment says so.
inline constexpr size_t kMaxSlices = 65536;

// Told of each step: the steps done and the total. Answers false to cancel.
using FeatureSetProgress = std::function<bool(size_t done, size_t total)>;

// Reading was cancelled: nothing was saved.
struct FeatureSetCancelled : std::exception {
    const char* what() const noexcept override { return "cancelled"; }
};

struct ReadOptions {
    std::string date;            // for the header; empty: now, local time
    FeatureSetProgress progress; // a step per feature
};

// One section per entry, captioned as the entry, with a header of comment
// lines: vendor, model, serial number, firmware version, description version.
// Throws FeatureSetCancelled.
FeatureSet ReadFeatureSet(const std::vector<browser::NodeMapEntry>& entries,
                          const ReadOptions& options = {});

// Writes `text` beside `path` and renames it over `path` (part_file.h): a
// failed write leaves `path` as it was. Throws std::runtime_error naming the
// file.
void WriteTextFile(const std::string& path, const std::string& text);
// The whole file; throws std::runtime_error naming it.
std::string ReadTextFile(const std::string& path);

enum class LineOutcome {
    Applied,     // written (a dry run: would be written)
    Unchanged,   // the device holds the value already
    NotWritable, // the feature, or a selector of the slice, is not writable
    OutOfRange,  // beyond the limits, off the increment, too long
    NotAnEntry,  // no available entry of the enumeration of that name
    DeviceError, // the device refused the access
    NotReached,  // the load was cancelled before the line
};

struct LineResult {
    FeatureLine line;
    std::string section;
    LineOutcome outcome = LineOutcome::NotReached;
    std::string previous; // the device's value before, when it could be read
    std::string reason;   // why a line was refused
};

struct LoadReport {
    std::vector<LineResult> lines; // in the file's order
    size_t passes = 0;
    bool dryRun = false;
    bool cancelled = false;

    size_t Count(LineOutcome outcome) const;
    size_t Refused() const; // neither applied nor unchanged
    // A summary line, then the applied lines (with what they replaced) and
    // the refused ones with their reasons, each as "FILE:LINE: ...".
    std::string Text(const std::string& fileName) const;
};

struct LoadOptions {
    bool dryRun = false;
    FeatureSetProgress progress; // a step per line tried
};

// Sections go to the entry of the same caption; with one entry and one
// section, to that entry whatever the captions; lines before the first
// "[Caption]" go to the first entry. Throws FeatureSetFileError
// (with `fileName`) when a line cannot be used; then nothing is written.
LoadReport LoadFeatureSet(const FeatureSet& set, const std::vector<browser::NodeMapEntry>& entries,
                          const std::string& fileName, const LoadOptions& options = {});

// Why the node cannot be written now: "read-only",
// "locked (TLParamsLocked)", "not available (pIsAvailable ...)".
std::string WhyNotWritable(GenApi::INode* node);

} // namespace quillon::inspect
