// Boolean, Command and Enumeration over device registers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "fixture_device.h"

namespace {

using namespace GenApi;
using GenICam::AccessException;
using GenICam::GenericException;
using GenICam::InvalidArgumentException;
using GenICam::OutOfRangeException;

class BoolCommandEnum : public ::testing::Test {
protected:
    quillon_test::Device d{"bool_command_enum.xml"};
};

std::vector<std::string> names(const StringList_t& list) { return {list.begin(), list.end()}; }

TEST_F(BoolCommandEnum, BooleanMapsOnAndOffValues) {
    CBooleanPtr enabled = d.node("Enabled");
    ASSERT_TRUE(enabled.IsValid());
    EXPECT_EQ(d.node("Enabled")->GetPrincipalInterfaceType(), intfIBoolean);

    d.putLE(0x6000, 5, 4);
    EXPECT_TRUE(enabled->GetValue());
    EXPECT_EQ(std::string(enabled->ToString()), "true");
    d.putLE(0x6000, 2, 4);
    EXPECT_FALSE(enabled->GetValue());
    EXPECT_EQ(std::string(enabled->ToString()), "false");
    // Neither OnValue nor OffValue.
    d.putLE(0x6000, 3, 4);
    EXPECT_THROW(enabled->GetValue(), GenericException);
    EXPECT_THROW(enabled->ToString(), GenericException);

    enabled->SetValue(true);
    EXPECT_EQ(d.getLE(0x6000, 4), 5u);
    enabled->SetValue(false);
    EXPECT_EQ(d.getLE(0x6000, 4), 2u);
    enabled->FromString("true");
    EXPECT_EQ(d.getLE(0x6000, 4), 5u);
    EXPECT_THROW(enabled->FromString("maybe"), InvalidArgumentException);
    EXPECT_EQ(d.getLE(0x6000, 4), 5u);

    CBooleanPtr flag = d.node("Flag");
    EXPECT_FALSE(flag->GetValue());
    *flag = true;
    EXPECT_TRUE(flag->GetValue());
    EXPECT_EQ(d.node("Flag")->GetAccessMode(), RW);
}

TEST_F(BoolCommandEnum, CommandIsDoneOnceTheDeviceClearsTheValue) {
    CCommandPtr start = d.node("AcquisitionStart");
    ASSERT_TRUE(start.IsValid());
    EXPECT_EQ(d.node("AcquisitionStart")->GetPrincipalInterfaceType(), intfICommand);
    EXPECT_TRUE(start->IsDone());

    start->Execute();
    EXPECT_EQ(d.getLE(0x6010, 4), 1u);
    EXPECT_FALSE(start->IsDone());
    EXPECT_FALSE(start->IsDone());
    // Done is asked of the device, not of the value cached by the write.
    d.putLE(0x6010, 0, 4);
    EXPECT_TRUE(start->IsDone());

    (*start)();
    EXPECT_EQ(d.getLE(0x6010, 4), 1u);
    EXPECT_FALSE(start->IsDone());

    // A command on a write-only register cannot be asked: it is done at once.
    CCommandPtr reset = d.node("DeviceReset");
    EXPECT_EQ(d.node("DeviceReset")->GetAccessMode(), WO);
    reset->Execute();
    EXPECT_EQ(d.getLE(0x6014, 4), 0xDEADu);
    EXPECT_TRUE(reset->IsDone());
}

TEST_F(BoolCommandEnum, EnumerationListsAvailableSymbolicsAndAllEntries) {
    CEnumerationPtr mode = d.node("AcquisitionMode");
    ASSERT_TRUE(mode.IsValid());
    EXPECT_EQ(d.node("AcquisitionMode")->GetPrincipalInterfaceType(), intfIEnumeration);

    StringList_t symbolics;
    mode->GetSymbolics(symbolics);
    EXPECT_EQ(names(symbolics), (std::vector<std::string>{"Continuous", "SingleFrame"}));

    NodeList_t entries;
    mode->GetEntries(entries);
    ASSERT_EQ(entries.size(), 4u);
    const char* expected[] = {"Continuous", "SingleFrame", "MultiFrame", "Burst"};
    for (size_t i = 0; i < entries.size(); ++i) {
        EXPECT_EQ(std::string(entries[i]->GetName()), std::string("EnumEntry_AcquisitionMode_") + expected[i]);
        EXPECT_EQ(entries[i]->GetPrincipalInterfaceType(), intfIEnumEntry);
        CEnumEntryPtr entry = entries[i];
        ASSERT_TRUE(entry.IsValid());
        EXPECT_EQ(std::string(entry->GetSymbolic()), expected[i]);
        EXPECT_EQ(entry->GetValue(), static_cast<int64_t>(i));
        EXPECT_EQ(d.map._GetNode(entries[i]->GetName()), entries[i]);
    }
    EXPECT_EQ(entries[2]->GetAccessMode(), NA);
    EXPECT_EQ(entries[3]->GetAccessMode(), NI);
    EXPECT_EQ(std::string(entries[0]->GetDisplayName()), "Continuous acquisition");
    EXPECT_EQ(std::string(entries[1]->GetDisplayName()), "SingleFrame");

    CIntegerPtr(d.node("MultiFrameAvailable"))->SetValue(1);
    mode->GetSymbolics(symbolics);
    EXPECT_EQ(names(symbolics), (std::vector<std::string>{"Continuous", "SingleFrame", "MultiFrame"}));

    ASSERT_NE(mode->GetEntryByName("SingleFrame"), nullptr);
    EXPECT_EQ(mode->GetEntryByName("SingleFrame")->GetValue(), 1);
    EXPECT_EQ(mode->GetEntryByName("SingleFrame")->GetNumericValue(), 1.5);
    // Without NumericValue the numeric value is the entry's value.
    EXPECT_EQ(mode->GetEntryByName("MultiFrame")->GetNumericValue(), 2.0);
    EXPECT_EQ(mode->GetEntryByName("Nope"), nullptr);
    ASSERT_NE(mode->GetEntry(2), nullptr);
    EXPECT_EQ(std::string(mode->GetEntry(2)->GetSymbolic()), "MultiFrame");
    EXPECT_EQ(mode->GetEntry(9), nullptr);
}

TEST_F(BoolCommandEnum, EnumerationWritesEntryValuesAndRefusesUnusableEntries) {
    CEnumerationPtr mode = d.node("AcquisitionMode");
    *mode = "SingleFrame";
    EXPECT_EQ(d.getLE(0x6020, 4), 1u);
    EXPECT_EQ(mode->GetIntValue(), 1);
    EXPECT_EQ(std::string(mode->ToString()), "SingleFrame");
    ASSERT_NE(mode->GetCurrentEntry(), nullptr);
    EXPECT_EQ(std::string(mode->GetCurrentEntry()->GetSymbolic()), "SingleFrame");

    EXPECT_THROW(*mode = "MultiFrame", AccessException);  // not available
    EXPECT_THROW(*mode = "Burst", AccessException);       // its pIsImplemented is false
    EXPECT_THROW(*mode = "Sometimes", InvalidArgumentException);
    EXPECT_THROW(mode->SetIntValue(2), AccessException);
    EXPECT_THROW(mode->SetIntValue(7), OutOfRangeException);
    EXPECT_EQ(d.getLE(0x6020, 4), 1u);

    mode->SetIntValue(0);
    EXPECT_EQ(std::string(mode->ToString()), "Continuous");
    mode->FromString("SingleFrame");
    EXPECT_EQ(d.getLE(0x6020, 4), 1u);

    CIntegerPtr(d.node("MultiFrameAvailable"))->SetValue(1);
    *mode = "MultiFrame";
    EXPECT_EQ(d.getLE(0x6020, 4), 2u);

    // A device value that no entry has.
    d.putLE(0x6020, 7, 4);
    EXPECT_EQ(mode->GetIntValue(), 7);
    EXPECT_THROW(mode->GetCurrentEntry(), GenericException);
    EXPECT_THROW(mode->ToString(), GenericException);
}

} // namespace
