// An optional element written empty means its default: the description
// loads, and the node behaves as its twin without the element.
#include <gtest/gtest.h>

#include <string>

#include "fixture_device.h"
#include "node_behaviour.h"

namespace {

using namespace GenApi;

TEST(EmptyElements, MeanTheDefault) {
    quillon_test::Device d("empty_elements.xml");
    for (const char* type : {"Integer", "IntReg", "Float", "Boolean", "Enumeration", "IntConverter",
                             "StringReg", "Category"}) {
        SCOPED_TRACE(type);
        INode* empty = d.node((std::string(type) + "Empty").c_str());
        INode* plain = d.node((std::string(type) + "Plain").c_str());
        ASSERT_TRUE(empty && plain);
        EXPECT_EQ(quillon_test::NodeAnswers(empty), quillon_test::NodeAnswers(plain));
        EXPECT_EQ(empty->GetDisplayName(), empty->GetName());
    }
}

} // namespace
