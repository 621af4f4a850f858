#include "controls/entry_rules.h"

#include "controls/column_tree_paint.h"

namespace quillon::controls {

namespace {

std::vector<size_t> Occurrences(std::string_view text, std::string_view label) {
    std::vector<size_t> out;
    for (size_t at = text.find(label); at != std::string_view::npos;
         at = text.find(label, at + label.size()))
        out.push_back(at);
    return out;
}

} // namespace

std::vector<TextRange> BoldLabelRanges(std::string_view text) {
    std::vector<TextRange> ranges;
    for (std::string_view label : kPropertyLabels)
        for (size_t at : Occurrences(text, label))
            ranges.push_back({at, label.size()});
    return ranges;
}

std::vector<size_t> HangingIndentOffsets(std::string_view text) {
    return Occurrences(text, kPropertyLabels[0]);
}

EditKeyAction DecideEditKey(EditKey key, bool shift, EditFlags flags, bool hasParent) {
    switch (key) {
    case EditKey::Enter:
        if (flags.enterCommits) return hasParent ? EditKeyAction::Commit : EditKeyAction::Platform;
        [[fallthrough]]; // Enter without the commit flag moves on as Tab does
    case EditKey::Tab:
        if (!WantsAllKeys(flags)) return EditKeyAction::Platform;
        return shift ? EditKeyAction::PreviousControl : EditKeyAction::NextControl;
    case EditKey::Up:
    case EditKey::Down:
        return EditKeyAction::TreeAndPlatform;
    case EditKey::Other:
        break;
    }
    return EditKeyAction::Platform;
}

int CustomButtonIcon(short value) {
    return value > 0 ? kIconCheckedWritable : kIconUncheckedWritable;
}

} // namespace quillon::controls
