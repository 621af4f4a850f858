// The find list over the simulated camera's features: each node stands in
// for its own tree item.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "GenApi/GenApi.h"
#include "inspect/find_feature.h"
#include "sim/sim_camera.h"

namespace {

using quillon::inspect::FeatureFinder;
using quillon::inspect::FindEntry;
using quillon::inspect::FindRow;

std::vector<std::string> names(const std::vector<FindEntry>& entries) {
    std::vector<std::string> out;
    for (const auto& e : entries) out.push_back(e.name);
    return out;
}

class FindFeature : public ::testing::Test {
protected:
    qorvis::sim::ConnectedSimulatedCamera camera;
    std::vector<FindRow> features, categories;
    FeatureFinder finder;

    void SetUp() override {
        GenApi::NodeList_t nodes;
        camera.nodeMap()->GetNodes(nodes);
        for (GenApi::INode* node : nodes) {
            if (!node->IsFeature()) continue;
            FindRow row{std::string(node->GetDisplayName()), std::string(node->GetName()), node};
            (node->GetPrincipalInterfaceType() == GenApi::intfICategory ? categories : features).push_back(row);
        }
        ASSERT_FALSE(features.empty());
        ASSERT_FALSE(categories.empty());
        finder.Refill(features, categories);
    }
};

TEST_F(FindFeature, ListsLabelAndNodeNameOfEveryRowFeaturesFirst) {
    const auto& entries = finder.Entries();
    ASSERT_EQ(entries.size(), 2 * (features.size() + categories.size()));
    EXPECT_EQ(entries[0].name, features[0].label);
    EXPECT_EQ(entries[1].name, features[0].nodeName);
    EXPECT_EQ(entries[2 * features.size()].name, categories[0].label);
    EXPECT_EQ(entries[2 * features.size() + 1].treeItem, categories[0].treeItem);

    // The empty query shows everything, sorted ignoring case.
    std::vector<FindEntry> all = finder.Filter("");
    ASSERT_EQ(all.size(), entries.size());
    auto lower = [](std::string s) {
        for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        return s;
    };
    for (size_t i = 1; i < all.size(); ++i) EXPECT_LE(lower(all[i - 1].name), lower(all[i].name)) << i;
    // "Acquisition Mode" sorts before "AcquisitionMode" (space before letters), both before "Width".
    auto shown = names(all);
    auto at = [&](const char* n) { return std::find(shown.begin(), shown.end(), n) - shown.begin(); };
    EXPECT_LT(at("Acquisition Mode"), at("AcquisitionMode"));
    EXPECT_LT(at("AcquisitionMode"), at("Width"));
}

TEST_F(FindFeature, FilterIgnoresCaseOnBothSides) {
    auto gain = names(finder.Filter("gain"));
    EXPECT_EQ(gain, names(finder.Filter("GAIN")));
    EXPECT_EQ(gain, names(finder.Filter("GaIn")));
    ASSERT_FALSE(gain.empty());
    for (const auto& n : gain) {
        std::string l = n;
        for (char& c : l) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        EXPECT_NE(l.find("gain"), std::string::npos) << n;
    }
    for (const char* expected : {"Gain", "GainSelector", "Gain Selector"})
        EXPECT_NE(std::find(gain.begin(), gain.end(), expected), gain.end()) << expected;
    EXPECT_TRUE(finder.Filter("no such feature anywhere").empty());
}

TEST_F(FindFeature, RowsWithoutTreeItemAreNeverListed) {
    std::vector<FindRow> rows = {{"Hidden Gain", "HiddenGain", nullptr}, {"Same", "Same", &rows}};
    finder.Refill(rows, {});
    EXPECT_EQ(names(finder.Filter("")), (std::vector<std::string>{"Same", "Same"})) << "no duplicate check";
    EXPECT_TRUE(finder.Filter("hidden").empty());
}

TEST_F(FindFeature, EnterJumpsToTheFirstMatchOnlyWithTextAndNoSelection) {
    auto shown = finder.Filter("width");
    ASSERT_FALSE(shown.empty());
    EXPECT_EQ(FeatureFinder::EnterTarget("width", shown, std::nullopt), shown[0].treeItem);
    EXPECT_EQ(FeatureFinder::EnterTarget("width", shown, 1), nullptr);
    EXPECT_EQ(FeatureFinder::EnterTarget("", finder.Filter(""), std::nullopt), nullptr);
    EXPECT_EQ(FeatureFinder::EnterTarget("zzz", finder.Filter("zzz"), std::nullopt), nullptr);
    EXPECT_EQ(quillon::inspect::FindCaption("Feature Browser - Device 0"), "Find Feature Browser - Device 0");
}

} // namespace
