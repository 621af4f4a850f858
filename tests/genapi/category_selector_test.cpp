// The feature tree, selectors, node texts and raw properties, smart pointer
// misuse, and the child and parent links between nodes.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "fixture_device.h"

namespace {

using namespace GenApi;
using GenICam::LogicalErrorException;

class Categories : public ::testing::Test {
protected:
    quillon_test::Device d{"categories.xml"};

    std::vector<std::string> featureNames(const FeatureList_t& features) {
        std::vector<std::string> out;
        for (IValue* v : features) out.emplace_back(v->GetNode()->GetName());
        return out;
    }
    std::vector<std::string> nodeNames(const NodeList_t& nodes) {
        std::vector<std::string> out;
        for (INode* n : nodes) out.emplace_back(n->GetName());
        return out;
    }
    std::string property(const char* node, const char* name, std::string* attributes = nullptr) {
        gcstring value, attrs;
        EXPECT_TRUE(d.node(node)->GetProperty(name, value, attrs)) << node << "." << name;
        if (attributes) *attributes = attrs;
        return value;
    }
};

using Names = std::vector<std::string>;

TEST_F(Categories, CategoriesListFeaturesAndMarkWhatRootReaches) {
    CCategoryPtr root = d.node("Root");
    CCategoryPtr imageFormat = d.node("ImageFormat");
    ASSERT_TRUE(root.IsValid() && imageFormat.IsValid());
    EXPECT_EQ(d.node("Root")->GetPrincipalInterfaceType(), intfICategory);

    FeatureList_t features;
    root->GetFeatures(features);
    EXPECT_EQ(featureNames(features), (Names{"ImageFormat", "AnalogControl"}));
    imageFormat->GetFeatures(features);
    EXPECT_EQ(featureNames(features), (Names{"Width", "Height"}));
    CCategoryPtr(d.node("AnalogControl"))->GetFeatures(features);
    EXPECT_EQ(featureNames(features), (Names{"GainSelector", "Gain", "BlackLevel"}));

    for (const char* name : {"ImageFormat", "AnalogControl", "Width", "Height", "GainSelector", "Gain", "BlackLevel"})
        EXPECT_TRUE(d.node(name)->IsFeature()) << name;
    // Not reachable from Root: a detached category, its feature, and the
    // nodes features are built from.
    for (const char* name : {"Detached", "Hidden", "WidthReg", "WidthMax", "Device"})
        EXPECT_FALSE(d.node(name)->IsFeature()) << name;
}

TEST_F(Categories, SelectorsKnowWhatTheySelectAndAreKnownBack) {
    CSelectorPtr selector = d.node("GainSelector");
    ASSERT_TRUE(selector.IsValid());
    EXPECT_TRUE(selector->IsSelector());
    FeatureList_t features;
    selector->GetSelectedFeatures(features);
    EXPECT_EQ(featureNames(features), (Names{"Gain", "BlackLevel"}));

    CSelectorPtr gain = d.node("Gain");
    EXPECT_FALSE(gain->IsSelector());
    gain->GetSelectingFeatures(features);
    EXPECT_EQ(featureNames(features), (Names{"GainSelector"}));
    CSelectorPtr(d.node("BlackLevel"))->GetSelectingFeatures(features);
    EXPECT_EQ(featureNames(features), (Names{"GainSelector"}));

    CSelectorPtr width = d.node("Width");
    EXPECT_FALSE(width->IsSelector());
    width->GetSelectedFeatures(features);
    EXPECT_TRUE(features.empty());
    width->GetSelectingFeatures(features);
    EXPECT_TRUE(features.empty());

    // Selection is no reading link.
    NodeList_t children;
    d.node("GainSelector")->GetChildren(children);
    EXPECT_TRUE(children.empty());
}

TEST_F(Categories, NodeTextsAndDescriptiveAttributes) {
    INode* imageFormat = d.node("ImageFormat");
    INode* width = d.node("Width");
    INode* gain = d.node("Gain");
    EXPECT_EQ(std::string(imageFormat->GetDisplayName()), "Image Format Control");
    EXPECT_EQ(std::string(imageFormat->GetToolTip()), "Image size and format");
    EXPECT_EQ(std::string(imageFormat->GetDescription()), "Features that decide the size and format of the images.");
    // No DisplayName: the name stands in.
    EXPECT_EQ(std::string(width->GetDisplayName()), "Width");
    EXPECT_EQ(std::string(width->GetToolTip()), "Width of the image");
    EXPECT_EQ(std::string(gain->GetDescription()), "Amplification of the selected channel.");
    EXPECT_EQ(std::string(gain->GetToolTip()), "");

    EXPECT_EQ(width->GetVisibility(), Expert);
    EXPECT_EQ(d.node("Hidden")->GetVisibility(), Invisible);
    EXPECT_EQ(gain->GetVisibility(), Beginner);
    EXPECT_EQ(std::string(width->GetDocuURL()), "http://example.com/width");
    EXPECT_EQ(width->GetNameSpace(), Standard);
    EXPECT_EQ(d.node("WidthReg")->GetNameSpace(), Custom);
    EXPECT_EQ(std::string(width->GetName()), "Width");
    EXPECT_EQ(std::string(width->GetName(true)), "Device::Width");
    EXPECT_EQ(width->GetNodeMap(), d.map._Ptr());
    EXPECT_EQ(std::string(CIntegerPtr(width)->GetUnit()), "px");
}

TEST_F(Categories, PropertiesComeBackAsRawTexts) {
    gcstring_vector names;
    d.node("Width")->GetPropertyNames(names);
    for (const char* expected : {"ToolTip", "Visibility", "DocuURL", "pValue", "Min", "pMax", "Inc", "Unit"})
        EXPECT_NE(std::find(names.begin(), names.end(), gcstring(expected)), names.end()) << expected;
    EXPECT_EQ(std::find(names.begin(), names.end(), gcstring("Max")), names.end());

    // The text as written, not the number it means.
    EXPECT_EQ(property("Width", "Min"), "0x10");
    EXPECT_EQ(property("Width", "pValue"), "WidthReg");
    EXPECT_EQ(property("Width", "Visibility"), "Expert");
    // Repeated properties come back tab-separated.
    EXPECT_EQ(property("ImageFormat", "pFeature"), "Width\tHeight");
    EXPECT_EQ(property("GainSelector", "pSelected"), "Gain\tBlackLevel");
    // Elements the engine has no use for are kept with their attributes.
    std::string attributes;
    EXPECT_EQ(property("Hidden", "VendorNote", &attributes), "kept as text");
    EXPECT_EQ(attributes, "Lang=en");

    gcstring value = "stale", attrs = "stale";
    EXPECT_FALSE(d.node("Width")->GetProperty("Max", value, attrs));
    EXPECT_TRUE(value.empty());
    EXPECT_TRUE(attrs.empty());
}

TEST_F(Categories, SmartPointerOfTheWrongInterfaceIsInvalid) {
    CIntegerPtr notAnInteger = d.node("Gain");
    EXPECT_FALSE(notAnInteger.IsValid());
    EXPECT_FALSE(static_cast<bool>(notAnInteger));
    try {
        notAnInteger->GetValue();
        ADD_FAILURE() << "using an invalid pointer raised nothing";
    } catch (const LogicalErrorException& e) {
        EXPECT_STREQ(e.GetDescription(), "NULL pointer dereferenced");
    }
    EXPECT_THROW(*notAnInteger, LogicalErrorException);

    EXPECT_TRUE(CFloatPtr(d.node("Gain")).IsValid());
    EXPECT_TRUE(CValuePtr(d.node("Gain")).IsValid());
    EXPECT_FALSE(CEnumerationPtr(d.node("Width")).IsValid());
    EXPECT_FALSE(CCategoryPtr(d.node("Width")).IsValid());
    EXPECT_FALSE(CIntegerPtr(d.map._GetNode("NoSuchNode")).IsValid());
    CFloatPtr gain = d.node("Gain");
    EXPECT_EQ(gain->GetValue(), 1.0);
}

TEST_F(Categories, ChildrenAndParentsFollowTheReferences) {
    NodeList_t nodes;
    d.node("Width")->GetChildren(nodes);
    EXPECT_EQ(nodeNames(nodes), (Names{"WidthReg", "WidthMax"}));
    d.node("Width")->GetChildren(nodes, ctWritingChildren);
    EXPECT_EQ(nodeNames(nodes), (Names{"WidthReg"}));

    d.node("WidthReg")->GetParents(nodes);
    EXPECT_EQ(nodeNames(nodes), (Names{"Width"}));
    d.node("WidthMax")->GetParents(nodes);
    EXPECT_EQ(nodeNames(nodes), (Names{"Width"}));
    d.node("WidthReg")->GetChildren(nodes);
    EXPECT_EQ(nodeNames(nodes), (Names{"Device"}));

    // An invalidator is not read to compute the value.
    d.node("HeightReg")->GetChildren(nodes);
    EXPECT_EQ(nodeNames(nodes), (Names{"Device"}));
    d.node("HeightReg")->GetChildren(nodes, ctInvalidatingChildren);
    EXPECT_EQ(nodeNames(nodes), (Names{"Width"}));

    d.node("Root")->GetChildren(nodes);
    EXPECT_EQ(nodeNames(nodes), (Names{"ImageFormat", "AnalogControl"}));
    d.node("Device")->GetParents(nodes);
    EXPECT_EQ(nodeNames(nodes), (Names{"WidthReg", "HeightReg"}));
    d.node("BlackLevel")->GetChildren(nodes);
    EXPECT_TRUE(nodes.empty());
}

// On the largest vendor description: a node's parents are the nodes that link
// to it by any property (reading, invalidating, selecting, aliasing), each
// once, in map order.
TEST(Parents, AreTheReverseOfEveryLinkInMapOrder) {
    CNodeMapRef map;
    map._LoadXMLFromFile(QUILLON_CORPUS_DIR "/Basler_a2A2600-20gmBAS.xml");
    NodeList_t nodes;
    map._GetNodes(nodes);
    std::map<INode*, NodeList_t> expected;
    for (INode* n : nodes) {
        NodeList_t links, invalidators;
        n->GetChildren(links);
        n->GetChildren(invalidators, ctInvalidatingChildren);
        links.insert(links.end(), invalidators.begin(), invalidators.end());
        FeatureList_t selected;
        CSelectorPtr(n)->GetSelectedFeatures(selected);
        for (IValue* v : selected) links.push_back(v->GetNode());
        for (INode* alias : {n->GetAlias(), n->GetCastAlias()})
            if (alias) links.push_back(alias);
        for (INode* target : links)
            if (expected[target].empty() || expected[target].back() != n)
                expected[target].push_back(n);
    }
    size_t withParents = 0;
    for (INode* n : nodes) {
        NodeList_t parents;
        n->GetParents(parents);
        EXPECT_EQ(parents, expected[n]) << n->GetName();
        withParents += !parents.empty();
    }
    EXPECT_GT(withParents, nodes.size() / 2);
}

} // namespace
