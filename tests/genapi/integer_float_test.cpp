// Integer and Float nodes: range and increment checks on writes, limits taken
// from other nodes, representation and unit inherited through pValue, value
// copies, indexed values, text conversion and display properties.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "fixture_device.h"

namespace {

using namespace GenApi;
using GenICam::InvalidArgumentException;
using GenICam::OutOfRangeException;

class IntegerFloat : public ::testing::Test {
protected:
    quillon_test::Device d{"integer_float.xml"};
};

TEST_F(IntegerFloat, IntegerWritesAreCheckedAgainstMinMaxAndInc) {
    CIntegerPtr stepped = d.integer("Stepped");
    EXPECT_EQ(stepped->GetMin(), 2);
    EXPECT_EQ(stepped->GetMax(), 102);
    EXPECT_EQ(stepped->GetInc(), 5);
    EXPECT_EQ(stepped->GetIncMode(), fixedIncrement);
    EXPECT_EQ(stepped->GetValue(), 12);

    EXPECT_THROW(stepped->SetValue(1), OutOfRangeException);    // below Min
    EXPECT_THROW(stepped->SetValue(103), OutOfRangeException);  // above Max
    EXPECT_THROW(stepped->SetValue(10), OutOfRangeException);   // not 2 + k*5
    EXPECT_THROW(stepped->FromString("13"), OutOfRangeException);
    EXPECT_EQ(stepped->GetValue(), 12);

    stepped->SetValue(7);
    EXPECT_EQ(stepped->GetValue(), 7);
    stepped->SetValue(102);
    EXPECT_EQ(stepped->GetValue(), 102);
    stepped->SetValue(2);
    EXPECT_EQ(stepped->GetValue(), 2);

    // Without verification nothing is checked.
    stepped->SetValue(10, false);
    EXPECT_EQ(stepped->GetValue(), 10);
    stepped->SetValue(500, false);
    EXPECT_EQ(stepped->GetValue(), 500);
    stepped->FromString("-3", false);
    EXPECT_EQ(stepped->GetValue(), -3);
}

TEST_F(IntegerFloat, VerifiedWritesAreCheckedByEveryNodeOfThePValueChain) {
    CIntegerPtr nibble = d.integer("Nibble");
    EXPECT_EQ(nibble->GetMax(), 100);
    d.put(0x4200, {0xA0, 0, 0, 0});
    // 20 passes Nibble's own range but does not fit the 4-bit field.
    EXPECT_THROW(nibble->SetValue(20), OutOfRangeException);
    EXPECT_EQ(d.get(0x4200, 4), (std::vector<uint8_t>{0xA0, 0, 0, 0}));
    nibble->SetValue(9);
    EXPECT_EQ(d.get(0x4200, 4), (std::vector<uint8_t>{0xA9, 0, 0, 0}));

    CIntegerPtr outer = d.integer("Outer");
    CIntegerPtr inner = d.integer("Inner");
    EXPECT_THROW(outer->SetValue(70), OutOfRangeException);
    EXPECT_EQ(inner->GetValue(), 5);
    outer->SetValue(30);
    EXPECT_EQ(inner->GetValue(), 30);
    // Unverified writes pass through unchecked.
    outer->SetValue(70, false);
    EXPECT_EQ(inner->GetValue(), 70);
    EXPECT_NO_THROW(nibble->SetValue(20, false));
}

TEST_F(IntegerFloat, IntegerLimitsMayComeFromOtherNodes) {
    CIntegerPtr limited = d.integer("Limited");
    EXPECT_EQ(limited->GetMin(), 10);
    EXPECT_EQ(limited->GetMax(), 60);
    EXPECT_THROW(limited->SetValue(61), OutOfRangeException);
    EXPECT_THROW(limited->SetValue(9), OutOfRangeException);

    d.integer("HighLimit")->SetValue(40);
    EXPECT_EQ(limited->GetMax(), 40);
    EXPECT_THROW(limited->SetValue(50), OutOfRangeException);
    limited->SetValue(40);
    EXPECT_EQ(limited->GetValue(), 40);

    d.integer("LowLimit")->SetValue(40);
    EXPECT_EQ(limited->GetMin(), 40);
    EXPECT_THROW(limited->SetValue(39), OutOfRangeException);
}

TEST_F(IntegerFloat, IntegerInheritsRepresentationUnitAndLimitsFromPValue) {
    CIntegerPtr timer = d.integer("Timer");
    CIntegerPtr asText = d.integer("TimerAsText");
    EXPECT_EQ(timer->GetRepresentation(), HexNumber);
    EXPECT_EQ(std::string(timer->GetUnit()), "us");
    EXPECT_EQ(timer->GetMin(), 0);
    EXPECT_EQ(timer->GetMax(), 65535);
    EXPECT_EQ(asText->GetRepresentation(), Linear);
    EXPECT_EQ(std::string(asText->GetUnit()), "ms");

    d.putLE(0x4000, 0x1F, 2);
    EXPECT_EQ(std::string(timer->ToString()), "0x1F");
    EXPECT_EQ(std::string(asText->ToString()), "31");

    timer->FromString("0x10");
    EXPECT_EQ(d.getLE(0x4000, 2), 0x10u);
    asText->FromString("42");
    EXPECT_EQ(d.getLE(0x4000, 2), 42u);
    EXPECT_EQ(timer->GetValue(), 42);
    EXPECT_THROW(timer->FromString("4x2"), InvalidArgumentException);
    EXPECT_THROW(timer->FromString(""), InvalidArgumentException);
    EXPECT_THROW(timer->FromString("70000"), OutOfRangeException);
    EXPECT_EQ(d.getLE(0x4000, 2), 42u);
}

TEST_F(IntegerFloat, IntegerValueCopiesReceiveEveryWrite) {
    d.integer("Master")->SetValue(7);
    EXPECT_EQ(d.integer("Master")->GetValue(), 7);
    EXPECT_EQ(d.integer("CopyNode")->GetValue(), 7);
    EXPECT_EQ(d.integer("CopyReg")->GetValue(), 7);
    EXPECT_EQ(d.getLE(0x4010, 4), 7u);

    // Copies are written, never read back into the source.
    d.integer("CopyNode")->SetValue(8);
    EXPECT_EQ(d.integer("Master")->GetValue(), 7);
}

TEST_F(IntegerFloat, IntegerIndexedValuesFollowTheSelector) {
    CIntegerPtr selector = d.integer("Selector");
    CIntegerPtr value = d.integer("PerSelector");
    d.putLE(0x4020, 55, 4);

    EXPECT_EQ(value->GetValue(), 100);
    selector->SetValue(1);
    EXPECT_EQ(value->GetValue(), 200);
    selector->SetValue(2);
    EXPECT_EQ(value->GetValue(), 55);
    selector->SetValue(3);
    EXPECT_EQ(value->GetValue(), 999);  // ValueDefault

    selector->SetValue(2);
    value->SetValue(66);
    EXPECT_EQ(d.getLE(0x4020, 4), 66u);
    selector->SetValue(0);
    value->SetValue(150);
    EXPECT_EQ(value->GetValue(), 150);
    selector->SetValue(1);
    EXPECT_EQ(value->GetValue(), 200);
    selector->SetValue(2);
    EXPECT_EQ(value->GetValue(), 66);

    NodeList_t children;
    d.node("PerSelector")->GetChildren(children);
    EXPECT_EQ(children.size(), 2u);  // Selector and IndexedReg
}

TEST_F(IntegerFloat, FloatLimitsNotationAndText) {
    CFloatPtr gain = d.floating("Gain");
    EXPECT_EQ(gain->GetValue(), 1.5);
    EXPECT_EQ(gain->GetMin(), 0.0);
    EXPECT_EQ(gain->GetMax(), 10.0);
    EXPECT_EQ(std::string(gain->GetUnit()), "dB");
    EXPECT_EQ(gain->GetRepresentation(), Linear);
    EXPECT_EQ(gain->GetDisplayNotation(), fnFixed);
    EXPECT_EQ(gain->GetDisplayPrecision(), 2);
    EXPECT_FALSE(gain->HasInc());
    EXPECT_EQ(gain->GetIncMode(), noIncrement);
    EXPECT_EQ(std::string(gain->ToString()), "1.50");

    EXPECT_THROW(gain->SetValue(10.5), OutOfRangeException);
    EXPECT_THROW(gain->SetValue(-0.1), OutOfRangeException);
    EXPECT_EQ(gain->GetValue(), 1.5);
    gain->SetValue(2.25);
    EXPECT_EQ(gain->GetValue(), 2.25);
    gain->SetValue(11.0, false);
    EXPECT_EQ(gain->GetValue(), 11.0);
    gain->FromString("3.5");
    EXPECT_EQ(gain->GetValue(), 3.5);
    EXPECT_THROW(gain->FromString("loud"), InvalidArgumentException);

    CFloatPtr halfSteps = d.floating("HalfSteps");
    EXPECT_TRUE(halfSteps->HasInc());
    EXPECT_EQ(halfSteps->GetInc(), 0.5);
    EXPECT_EQ(halfSteps->GetIncMode(), fixedIncrement);
    EXPECT_EQ(halfSteps->GetDisplayNotation(), fnScientific);
    EXPECT_EQ(halfSteps->GetDisplayPrecision(), 3);
    EXPECT_THROW(halfSteps->SetValue(1.25), OutOfRangeException);
    halfSteps->SetValue(2.5);
    EXPECT_EQ(std::string(halfSteps->ToString()), "2.500e+00");
    halfSteps->SetValue(-0.5);
    EXPECT_EQ(halfSteps->GetValue(), -0.5);
}

TEST_F(IntegerFloat, FloatOverAnIntegerRegister) {
    CFloatPtr count = d.floating("Count");
    d.putLE(0x4100, 42, 2);
    EXPECT_EQ(count->GetValue(), 42.0);
    EXPECT_EQ(count->GetMin(), 0.0);
    EXPECT_EQ(count->GetMax(), 65535.0);
    EXPECT_EQ(std::string(count->GetUnit()), "counts");
    EXPECT_EQ(count->GetDisplayNotation(), fnAutomatic);
    EXPECT_EQ(std::string(count->ToString()), "42");

    count->SetValue(7.0);
    EXPECT_EQ(d.getLE(0x4100, 2), 7u);
    EXPECT_THROW(count->SetValue(70000.0), OutOfRangeException);
    EXPECT_EQ(d.getLE(0x4100, 2), 7u);
    EXPECT_EQ(d.node("Count")->GetAccessMode(), RW);
}

} // namespace
