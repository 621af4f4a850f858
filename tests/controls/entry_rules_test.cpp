// The entry controls' rules: bold labels of a property text, the in-place
// edit's keys, and the boolean button's icon.
#include <gtest/gtest.h>

#include "controls/column_tree_paint.h"
#include "controls/entry_rules.h"

using namespace quillon::controls;

TEST(EntryRules, EveryOccurrenceOfEveryLabelIsBoldInLabelOrder) {
    const std::string text =
        "Name:\tWidth\r\nType:\tInteger\r\nValue:\t640\nName:\tHeight\r\nQOR API:\r\nfoo";
    const size_t second = text.find("Name:\tHeight");
    EXPECT_EQ(BoldLabelRanges(text), (std::vector<TextRange>{{0, 5},
                                                             {second, 5},
                                                             {text.find("Value:"), 6},
                                                             {text.find("Type:"), 5},
                                                             {text.find("QOR API:"), 8}}));
    EXPECT_EQ(HangingIndentOffsets(text), (std::vector<size_t>{0, second}));
    EXPECT_TRUE(BoldLabelRanges("no labels here: none").empty());
}

TEST(EntryRules, EditKeysFollowTheFlags) {
    const EditFlags plain{false, false}, commits{false, true}, navigates{true, false};
    using A = EditKeyAction;
    struct Row {
        EditKey key;
        bool shift;
        EditFlags flags;
        bool hasParent;
        EditKeyAction action;
    };
    // Enter commits (never moves on) when it has a parent to tell; with
    // navigation it moves on like Tab, Shift going back; the arrows also move
    // the tree's selection, whatever the flags.
    // clang-format off
    const Row rows[] = {
        {EditKey::Enter, false, plain, true, A::Platform}, {EditKey::Tab, false, plain, true, A::Platform},
        {EditKey::Enter, true, commits, true, A::Commit}, {EditKey::Enter, false, commits, false, A::Platform},
        {EditKey::Tab, false, commits, true, A::NextControl}, {EditKey::Enter, false, navigates, true, A::NextControl},
        {EditKey::Tab, true, navigates, true, A::PreviousControl}, {EditKey::Up, false, plain, true, A::TreeAndPlatform},
        {EditKey::Down, false, commits, false, A::TreeAndPlatform}, {EditKey::Other, false, navigates, true, A::Platform}};
    // clang-format on
    for (const Row& r : rows)
        EXPECT_EQ(DecideEditKey(r.key, r.shift, r.flags, r.hasParent), r.action)
            << static_cast<int>(r.key);
    EXPECT_FALSE(WantsAllKeys(plain));
    EXPECT_TRUE(WantsAllKeys(commits) && WantsAllKeys(navigates));
    // The boolean button is checked only above zero.
    for (auto [value, icon] : {std::pair<short, int>{1, kIconCheckedWritable},
                               {0, kIconUncheckedWritable},
                               {-1, kIconUncheckedWritable}})
        EXPECT_EQ(CustomButtonIcon(value), icon) << value;
}
