// Converter, IntConverter, SwissKnife and IntSwissKnife as nodes: which
// formula runs on read and on write, how FROM and TO are bound, limits seen
// through the formulas, and variables naming limits and enumeration entries.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "fixture_device.h"

namespace {

using namespace GenApi;
using GenICam::AccessException;
using GenICam::OutOfRangeException;

class ComputedNodes : public ::testing::Test {
protected:
    quillon_test::Device d{"formula_nodes.xml"};
};

TEST_F(ComputedNodes, ConverterReadsWithFormulaFromAndWritesWithFormulaTo) {
    CFloatPtr exposure = d.floating("ExposureTime");
    d.putLE(0x5000, 2500, 4);
    EXPECT_EQ(exposure->GetValue(), 2.5);  // TO = 2500
    EXPECT_EQ(std::string(exposure->GetUnit()), "ms");
    EXPECT_EQ(d.node("ExposureTime")->GetAccessMode(), RW);

    exposure->SetValue(12.5);  // FROM = 12.5
    EXPECT_EQ(d.getLE(0x5000, 4), 12500u);
    EXPECT_EQ(d.integer("ExposureRaw")->GetValue(), 12500);
    EXPECT_EQ(exposure->GetValue(), 12.5);

    // The limits are the raw node's limits through FormulaFrom.
    EXPECT_EQ(exposure->GetMin(), 1.0);
    EXPECT_EQ(exposure->GetMax(), 5000.0);
    EXPECT_THROW(exposure->SetValue(0.5), OutOfRangeException);
    EXPECT_THROW(exposure->SetValue(5000.5), OutOfRangeException);
    EXPECT_EQ(d.getLE(0x5000, 4), 12500u);
}

TEST_F(ComputedNodes, DecreasingConverterSwapsTheLimits) {
    CFloatPtr rate = d.floating("FrameRate");
    d.putLE(0x5000, 2500, 4);
    EXPECT_EQ(rate->GetValue(), 4000.0);
    // The largest raw value gives the smallest rate.
    EXPECT_EQ(rate->GetMin(), 2.0);
    EXPECT_EQ(rate->GetMax(), 10000.0);
    rate->SetValue(100.0);
    EXPECT_EQ(d.getLE(0x5000, 4), 100000u);
    EXPECT_THROW(rate->SetValue(1.0), OutOfRangeException);
    EXPECT_THROW(rate->SetValue(20000.0), OutOfRangeException);
}

TEST_F(ComputedNodes, IntConverterMapsBothWaysAndDerivesItsLimits) {
    CIntegerPtr level = d.integer("Level");
    CIntegerPtr doubled = d.integer("DoubledLevel");
    CIntegerPtr mirrored = d.integer("MirroredLevel");

    EXPECT_EQ(doubled->GetValue(), 20);
    EXPECT_EQ(doubled->GetMin(), 0);
    EXPECT_EQ(doubled->GetMax(), 100);
    doubled->SetValue(30);
    EXPECT_EQ(level->GetValue(), 15);

    EXPECT_EQ(mirrored->GetValue(), 85);
    EXPECT_EQ(mirrored->GetMin(), 50);
    EXPECT_EQ(mirrored->GetMax(), 100);
    mirrored->SetValue(70);
    EXPECT_EQ(level->GetValue(), 30);
    EXPECT_EQ(doubled->GetValue(), 60);
    EXPECT_THROW(mirrored->SetValue(40), OutOfRangeException);
    EXPECT_EQ(level->GetValue(), 30);
    EXPECT_EQ(d.node("MirroredLevel")->GetPrincipalInterfaceType(), intfIInteger);
}

// The limits are the image of pValue's range, saturated at the int64 bounds
// where the integer formula would wrap around; writes inside them pass.
TEST_F(ComputedNodes, IntConverterLimitsSaturateInsteadOfWrapping) {
    struct Row {
        const char* converter;
        const char* pValue;
        int64_t min, max;
        int64_t write, device; // a value written and what pValue then holds
    };
    const Row rows[] = {
        {"DoubledUnbounded", "Unbounded", INT64_MIN, INT64_MAX, 10, 5},
        {"NegatedUnbounded", "Unbounded", INT64_MIN + 1, INT64_MAX, -7, 7},
        {"WideLessTen", "Wide", INT64_MIN, INT64_MAX - 10, INT64_MAX - 10, INT64_MAX},
        {"LevelPlusFive", "Level", 5, 55, 55, 50},
    };
    EXPECT_EQ(d.integer("DoubledUnbounded")->GetValue(), 6);
    for (const Row& r : rows) {
        SCOPED_TRACE(r.converter);
        CIntegerPtr converter = d.integer(r.converter);
        EXPECT_EQ(converter->GetMin(), r.min);
        EXPECT_EQ(converter->GetMax(), r.max);
        converter->SetValue(r.write);
        EXPECT_EQ(d.integer(r.pValue)->GetValue(), r.device);
        EXPECT_EQ(converter->GetValue(), r.write);
    }
}

TEST_F(ComputedNodes, SwissKnivesUseVariablesConstantsExpressionsAndLimits) {
    CFloatPtr halfArea = d.floating("HalfArea");
    CIntegerPtr maxArea = d.integer("MaxArea");
    EXPECT_EQ(d.node("HalfArea")->GetPrincipalInterfaceType(), intfIFloat);
    EXPECT_EQ(d.node("MaxArea")->GetPrincipalInterfaceType(), intfIInteger);

    EXPECT_EQ(halfArea->GetValue(), 640.0 * 480.0 * 0.5);
    EXPECT_EQ(std::string(halfArea->GetUnit()), "px");
    EXPECT_EQ(maxArea->GetValue(), 1920 * 1080 - 16 * 16);

    d.integer("Width")->SetValue(1000);
    EXPECT_EQ(halfArea->GetValue(), 1000.0 * 480.0 * 0.5);
    EXPECT_EQ(maxArea->GetValue(), 1920 * 1080 - 16 * 16);

    // Computed values are read-only.
    EXPECT_EQ(d.node("HalfArea")->GetAccessMode(), RO);
    EXPECT_EQ(d.node("MaxArea")->GetAccessMode(), RO);
    EXPECT_THROW(halfArea->SetValue(1.0), AccessException);
    EXPECT_THROW(maxArea->SetValue(1), AccessException);
}

TEST_F(ComputedNodes, SwissKnifeComparesWithEnumerationEntries) {
    CEnumerationPtr source = d.node("TriggerSource");
    CIntegerPtr active = d.integer("TriggerActive");
    CIntegerPtr software = d.integer("IsSoftware");
    ASSERT_TRUE(source.IsValid());

    EXPECT_EQ(active->GetValue(), 0);
    EXPECT_EQ(software->GetValue(), 0);
    *source = "Line1";
    EXPECT_EQ(active->GetValue(), 1);
    EXPECT_EQ(software->GetValue(), 0);
    *source = "Software";
    EXPECT_EQ(active->GetValue(), 1);
    EXPECT_EQ(software->GetValue(), 1);
    *source = "Off";
    EXPECT_EQ(active->GetValue(), 0);
}

} // namespace
