// The find list's filter: one search through all names at once must still
// answer name by name.

#include <gtest/gtest.h>

#include "inspect/find_feature.h"

using quillon::inspect::FeatureFinder;
using quillon::inspect::FindRow;

TEST(FeatureFinder, FiltersEachNameOnceInCaseInsensitiveOrder) {
    int items[4];
    // Labels and node names; the last row has no tree item and is never listed.
    const std::vector<FindRow> features = {
        {"Offset X", "OffsetX", &items[0]}, {"Gain", "Gain", &items[1]}, {"ca", "cb", &items[2]},
        {"Hidden", "Hidden", nullptr}};
    const std::vector<FindRow> categories = {{"Analog Control", "AnalogControl", &items[3]}};
    FeatureFinder finder;
    finder.Refill(features, categories);
    const struct {
        std::string query, expected;
    } cases[] = {
        {"", "Analog Control,AnalogControl,ca,cb,Gain,Gain,Offset X,OffsetX,"},
        {"GAIN", "Gain,Gain,"},
        {"a", "Analog Control,AnalogControl,ca,Gain,Gain,"}, // "Analog" holds three: listed once
        {"ac", ""},                                          // "ca" then "cb": never across two names
        {"c", "Analog Control,AnalogControl,ca,cb,"},        // neighbours in the list
        {"hidden", ""},
        {std::string("a\0b", 3), ""},
    };
    for (const auto& c : cases) {
        std::string shown;
        for (const auto* e : finder.Filter(c.query)) shown += e->name + ",";
        EXPECT_EQ(shown, c.expected) << "query \"" << c.query << "\"";
    }
}
