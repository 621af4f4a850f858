// The rules of the small entry controls that the browser places over its
// tree and uses for the property box: which labels of a property text are
// bold, what the in-place edit does with a key, and which check icon a
// boolean button shows. Pure decisions; the widgets carry them out.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

namespace quillon::controls {

// --- Property text highlighting -----------------------------------------

// Made bold wherever they occur, searched in this order.
inline constexpr std::array<std::string_view, 12> kPropertyLabels = {
    "Name:",    "Value:",     "Type:",      "Unit:",      "Description:",  "Minimum:",
    "Maximum:", "Increment:", "Connector:", "Digitizer:", "QOR user bit:", "QOR API:"};

// The paragraph before every "Name:" gets this hanging indent (twips; one
// twip is 1/1440 inch).
inline constexpr int kHangingIndentTwips = 10;

struct TextRange {
    size_t start = 0; // byte offset into the text
    size_t length = 0;
    friend bool operator==(const TextRange&, const TextRange&) = default;
};

// Every occurrence of every label, label by label in kPropertyLabels order,
// each searched forward from the start through the whole text.
std::vector<TextRange> BoldLabelRanges(std::string_view text);

// Byte offsets of every occurrence of the first label ("Name:"): the
// paragraphs holding them get the hanging indent.
std::vector<size_t> HangingIndentOffsets(std::string_view text);

// --- In-place edit keys ---------------------------------------------------

struct EditFlags {
    bool navigateOnTabEnter = false; // Tab and Enter move between the dialog's controls
    bool enterCommits = true;        // Enter tells the parent to commit instead
};

enum class EditKey { Enter, Tab, Up, Down, Other };

enum class EditKeyAction {
    Platform,        // the plain control's own handling
    Commit,          // tell the parent, put the caret at the end; key consumed
    NextControl,     // move the focus on; key consumed
    PreviousControl, // move the focus back; key consumed
    TreeAndPlatform, // pass to the feature tree (if there is one), then handle normally
};

EditKeyAction DecideEditKey(EditKey key, bool shift, EditFlags flags, bool hasParent);

// Whether the control asks its dialog for every key (so the dialog does not
// take Enter and Tab for itself).
inline bool WantsAllKeys(EditFlags flags) {
    return flags.navigateOnTabEnter || flags.enterCommits;
}

// --- Boolean button -------------------------------------------------------

// The check icon a boolean button draws for its 16-bit value: checked for
// values above zero, unchecked for zero and below (writable icons).
int CustomButtonIcon(short value);

} // namespace quillon::controls
