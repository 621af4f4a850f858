// The find list: every row by label and node name, sorted ignoring case,
// filtered ignoring case, and where Enter jumps.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "inspect/find_feature.h"

using quillon::inspect::FeatureFinder;
using quillon::inspect::FindEntry;

namespace {

std::string Names(const std::vector<FindEntry>& entries) {
    std::string out;
    for (const auto& e : entries)
        out += e.name + "|";
    return out;
}

} // namespace

TEST(FindFeature, ListsLabelsAndNamesSortedAndFilteredIgnoringCase) {
    int items[5];
    FeatureFinder finder;
    // Features first, then categories; a row without tree item is never listed.
    finder.Refill({{"Gain Selector", "GainSelector", &items[0]},
                   {"Hidden Gain", "HiddenGain", nullptr},
                   {"Acquisition Mode", "AcquisitionMode", &items[1]},
                   {"gain", "Gain", &items[2]}},
                  {{"Analog Control", "AnalogControl", &items[3]}});
    EXPECT_EQ(finder.Entries().size(), 8u);
    EXPECT_EQ(finder.Entries()[2].treeItem, &items[1]);
    EXPECT_EQ(finder.Entries()[7].name, "AnalogControl");
    // A space sorts before letters; equal names keep the order of their rows.
    EXPECT_EQ(Names(finder.Filter("")),
              "Acquisition Mode|AcquisitionMode|Analog Control|AnalogControl|"
              "gain|Gain|Gain Selector|GainSelector|");
    EXPECT_EQ(Names(finder.Filter("GaIn")), "gain|Gain|Gain Selector|GainSelector|");
    EXPECT_EQ(Names(finder.Filter("n s")), "Gain Selector|");
    EXPECT_TRUE(finder.Filter("hidden").empty());

    // Enter jumps to the first match only with a query and no selection in the list.
    const auto shown = finder.Filter("mode");
    EXPECT_EQ(FeatureFinder::EnterTarget("mode", shown, std::nullopt), &items[1]);
    EXPECT_EQ(FeatureFinder::EnterTarget("mode", shown, 1), nullptr);
    EXPECT_EQ(FeatureFinder::EnterTarget("", finder.Filter(""), std::nullopt), nullptr);
    EXPECT_EQ(FeatureFinder::EnterTarget("zzz", finder.Filter("zzz"), std::nullopt), nullptr);
    EXPECT_EQ(quillon::inspect::FindCaption("Feature Browser - Device 0"),
              "Find Feature Browser - Device 0");
}
