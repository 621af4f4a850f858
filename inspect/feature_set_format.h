// The text of a feature set: a device's settings as a file meant for people
// and for `diff`, one feature a line. This file reads and writes that text
// and compares two of them; it knows nothing of node maps (feature_sets.h
// reads a device into a FeatureSet and writes one back).
//
//   # a comment                              ignored by a load
//   [Camera]                                 the lines below belong to the
//                                            node map captioned "Camera"
//   Width = 1280                             a setting
//   Gain[GainSelector=AnalogAll] = 6         a setting of one selector slice
//   LUTValue[LUTSelector=Luminance][LUTIndex=3] = 3   nested selectors
//   # DeviceVendorName = "Torvex"            a read-only value: documents the
//                                            device, compared, never written
//
// Values: integers in decimal, "0x" hexadecimal, dotted IPv4 or dashed MAC
// (as the tree shows them); floats in the shortest text that reads back to
// the same double; booleans true or false; enumerations by symbolic name;
// strings between double quotes, where \\ \" \n \r \t and \xHH stand for a
// backslash, a quote, a line feed, a carriage return, a tab and any byte.
#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillon::inspect {

// One selector of a slice and the entry (or number) it selects.
struct SelectorSetting {
    std::string selector;
    std::string value;
    bool operator==(const SelectorSetting&) const = default;
};

// A value line, or a read-only value's comment line.
struct FeatureLine {
    size_t lineNumber = 0; // 1-based; 0 for lines made from a device
    std::string name;
    std::vector<SelectorSetting> selectors; // outer selector first
    std::string value;                      // as written: strings keep their quotes
    bool readOnly = false;
    // Made from a device whose read failed: `value` holds the reason, the
    // file a comment "# Key: cannot be read: reason"; never compared.
    bool unreadable = false;

    // "Name[Selector=Entry]...": what identifies the line in its section.
    std::string Key() const;
    // The line as the file holds it.
    std::string Text() const;
};

// The lines of one node map; `header` holds its comment lines (no "# ").
struct FeatureSection {
    std::string caption;
    size_t lineNumber = 0; // of its "[Caption]" line
    std::vector<std::string> header;
    std::vector<FeatureLine> lines;
};

struct FeatureSet {
    std::vector<std::string> header; // comment lines at the top of the file
    std::vector<FeatureSection> sections;
};

// A line of a file that cannot be used, with the reason.
struct LineError {
    size_t lineNumber = 0;
    std::string message;
};

// Thrown for a file that cannot be loaded: what() is the first error as
// "FILE:LINE: message", followed by how many more there are.
struct FeatureSetFileError : std::exception {
    FeatureSetFileError(std::string file, std::vector<LineError> errors);
    const char* what() const noexcept override { return text.c_str(); }
    std::vector<LineError> errors;
    std::string text;
};

// Lines before the first "[Caption]" belong to a section without caption.
// Every malformed line and every key given twice in a section is an error.
struct ParsedFeatureSet {
    FeatureSet set;
    std::vector<LineError> errors;
};
ParsedFeatureSet ParseFeatureSet(std::string_view text);

std::string WriteFeatureSet(const FeatureSet& set);

// String values.
std::string QuoteText(std::string_view text);
// The text of a whole quoted value; nothing when `quoted` is not exactly one
// well-formed quoted string.
std::optional<std::string> UnquoteText(std::string_view quoted);

// Number texts in every form a file may hold them.
std::optional<int64_t> ParseIntegerText(std::string_view text);
std::string FormatFloatText(double value); // shortest round trip: "0.1", "1e-07"
std::optional<double> ParseFloatText(std::string_view text);
std::optional<bool> ParseBooleanText(std::string_view text);

// Two values that differ only in how they are written ("0x10" and "16",
// "1.50" and "1.5") are equal.
bool SameValueText(std::string_view a, std::string_view b);

// A line present on either side whose values differ, or that one side lacks.
struct FeatureDifference {
    std::string section;
    std::string key;
    std::string name; // the feature
    std::optional<std::string> left, right;
    bool readOnly = false; // a read-only value on the side(s) that have it
};

// The differences in the order of `left`, then the lines only `right` has.
// Sections pair by caption; two sets of one section each pair whatever their
// captions.
std::vector<FeatureDifference> CompareFeatureSets(const FeatureSet& left, const FeatureSet& right);

// As a unified diff: "--- left", "+++ right", a "[Caption]" line before the
// first difference of a captioned section, then "-" for the left line and
// "+" for the right one.
std::string FormatDifferences(const std::vector<FeatureDifference>& differences,
                              const std::string& leftName, const std::string& rightName);

} // namespace quillon::inspect
