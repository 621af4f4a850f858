// The entry controls' rules: bold labels of a property text, the in-place
// edit's keys, and the boolean button's icon.
#include <gtest/gtest.h>

#include "controls/column_tree_paint.h"
#include "controls/entry_rules.h"

using namespace quillon::controls;

namespace {

TEST(EntryRules, EveryOccurrenceOfEveryLabelIsBoldInLabelOrder) {
    const std::string text =
        "Name:\tWidth\r\nType:\tInteger\r\nValue:\t640\nName:\tHeight\r\nQOR API:\r\nfoo";
    const std::vector<TextRange> ranges = BoldLabelRanges(text);
    ASSERT_EQ(ranges.size(), 5u);
    // Label by label: both "Name:" first, then "Value:", "Type:", "QOR API:".
    EXPECT_EQ(ranges[0], (TextRange{0, 5}));
    EXPECT_EQ(ranges[1], (TextRange{text.find("Name:\tHeight"), 5}));
    EXPECT_EQ(ranges[2], (TextRange{text.find("Value:"), 6}));
    EXPECT_EQ(ranges[3], (TextRange{text.find("Type:"), 5}));
    EXPECT_EQ(ranges[4], (TextRange{text.find("QOR API:"), 8}));
    EXPECT_EQ(HangingIndentOffsets(text), (std::vector<size_t>{0, text.find("Name:\tHeight")}));

    EXPECT_TRUE(BoldLabelRanges("no labels here: none").empty());
    EXPECT_TRUE(BoldLabelRanges("").empty());
}

TEST(EntryRules, EditKeysFollowTheFlags) {
    const EditFlags plain{false, false};
    const EditFlags commits{false, true};
    const EditFlags navigates{true, false};

    // Neither flag: Enter and Tab are the plain control's.
    EXPECT_EQ(DecideEditKey(EditKey::Enter, false, plain, true), EditKeyAction::Platform);
    EXPECT_EQ(DecideEditKey(EditKey::Tab, false, plain, true), EditKeyAction::Platform);
    EXPECT_FALSE(WantsAllKeys(plain));
    EXPECT_FALSE(SwallowsCharacter(U'\t', plain));

    // Enter commits (never moves on) when it has a parent to tell.
    EXPECT_EQ(DecideEditKey(EditKey::Enter, false, commits, true), EditKeyAction::Commit);
    EXPECT_EQ(DecideEditKey(EditKey::Enter, true, commits, true), EditKeyAction::Commit);
    EXPECT_EQ(DecideEditKey(EditKey::Enter, false, commits, false), EditKeyAction::Platform);
    EXPECT_EQ(DecideEditKey(EditKey::Tab, false, commits, true), EditKeyAction::NextControl);

    // Navigation: Enter moves on like Tab; Shift goes back.
    EXPECT_EQ(DecideEditKey(EditKey::Enter, false, navigates, true), EditKeyAction::NextControl);
    EXPECT_EQ(DecideEditKey(EditKey::Tab, true, navigates, true), EditKeyAction::PreviousControl);
    EXPECT_TRUE(SwallowsCharacter(U'\r', navigates));
    EXPECT_FALSE(SwallowsCharacter(U'a', navigates));

    // The arrows also move the tree's selection, whatever the flags.
    EXPECT_EQ(DecideEditKey(EditKey::Up, false, plain, true), EditKeyAction::TreeAndPlatform);
    EXPECT_EQ(DecideEditKey(EditKey::Down, false, commits, false), EditKeyAction::TreeAndPlatform);
    EXPECT_EQ(DecideEditKey(EditKey::Other, false, navigates, true), EditKeyAction::Platform);
}

TEST(EntryRules, CustomButtonIsCheckedOnlyAboveZero) {
    EXPECT_EQ(CustomButtonIcon(1), kIconCheckedWritable);
    EXPECT_EQ(CustomButtonIcon(32767), kIconCheckedWritable);
    EXPECT_EQ(CustomButtonIcon(0), kIconUncheckedWritable);
    EXPECT_EQ(CustomButtonIcon(-1), kIconUncheckedWritable);
}

} // namespace
