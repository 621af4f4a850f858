// The value nodes against hand-written device bytes. Scenario steps: see
// Device::play; interface types (.type): 1 IBase, 2 IInteger, 3 IBoolean,
// 4 ICommand, 5 IFloat, 6 IString, 7 IRegister, 8 ICategory, 9 IEnumeration,
// 10 IEnumEntry, 11 IPort.
#include <gtest/gtest.h>

#include "engine_support.h"

namespace {

using namespace GenApi;
using quillon_test::Device;
using quillon_test::raised;

TEST(ValueNodes, IntRegsSignExtendAndOrderTheirBytes) {
    Device("registers.xml").play(R"(
        @0x1010=85 U1?133 S1?-123 U1.max?255 S1.min?-128 S1.max?127 S1=128!OutOfRange
        U1=-1!OutOfRange U1=256!OutOfRange @0x1010?85 @0x1020=3492 U2L?37428 S2L?-28108 Plain2?37428
        S2L=-32769!OutOfRange @0x1028=9234 U2B?37428 S2B?-28108 S2B.min?-32768 S2B.max?32767
        @0x1040=01020384 U4L?2214789633 S4L?-2080177663 S4L.min?-2147483648 U4L.max?4294967295
        @0x1048=84030201 U4B?2214789633 S4B?-2080177663 U4B=4294967296!OutOfRange @0x1048=7FFFFFFE
        S4B?2147483646 U4B?2147483646 @0x1080=0102030405060788 S8L?-8644934341102468607
        U8L?-8644934341102468607 @0x1088=8807060504030201 S8B?-8644934341102468607
        U8B?-8644934341102468607 U8L.min?0 U8L.max?9223372036854775807 S8B.min?-9223372036854775808
        @0x1011=AA S1=-128 @0x1010?80AA S2L=-2 @0x1020?FEFF S2B=-2 @0x1028?FFFE U4L=287454020
        @0x1040?44332211 U4B=287454020 @0x1048?11223344 S8B=-1234567890123 S8L=-9223372036854775808
        @0x1080?0000000000000080FFFFFEE08E04FB35
    )");
}

// Big-endian fields count their bits from the most significant one; writing
// a field keeps every other bit of its register.
TEST(ValueNodes, MaskedIntRegsReadAndWriteTheirBitsOnly) {
    Device("registers.xml").play(R"(
        @0x1100=92345679 BigWhole?2452903545 BigWhole.max?4294967295 BigField?837 BigField.min?0
        BigField.max?4095 BigTopBit?1 BigTopBit.max?1 BigLowBit?1 BigField=2748 @0x1100?92ABC679
        BigTopBit=0 @0x1100?12ABC679 BigLowBit=0 @0x1100?12ABC678 BigField=4096!OutOfRange
        @0x1100?12ABC678 BigWhole=16909060 @0x1100?01020304 @0x1110=78563412 LittleField?103
        LittleSignedField?103 LittleBit0?0 LittleTopByte?18 LittleField.max?255
        LittleSignedField.min?-128 LittleSignedField.max?127 LittleField=171 @0x1110?B85A3412
        LittleSignedField?-85 LittleSignedField=-1 @0x1110?F85F3412 LittleBit0=1 @0x1110?F95F3412
        LittleTopByte=238 @0x1110?F95F34EE LittleField?255
    )");
}

TEST(ValueNodes, RegisterAddressesAndLengthsComeFromNodes) {
    Device("registers.xml").play(R"(
        @0x1200=0A000000 @0x1210=4D000000 Table?10 Index=2 Table?77 Index=3 Table=5 @0x1218?05000000
        @0x1210?4D000000 PackedTable=48879 @0x1300?000000000000EFBE Index=1 @0x1302=3412
        PackedTable?4660 ViaPAddress=17 ViaSwissKnife=34 @0x1410?11000000 @0x1424?22000000 Base=8192
        @0x2010=33000000 @0x2024=44000000 ViaPAddress?51 ViaSwissKnife?68 Blob.address?5376
        Blob.length?6 Blob=0x010203040506 @0x1500?01020304050600 BlobLength=8 Blob.length?8
        @0x1506=0708 Blob?0x0102030405060708 Blob=0x010203040506! Index=2 BlobTable.address?6416
        BlobLength=3 BlobTable.address?6406 BlobTable=0x090807 @0x1906?090807
    )");
}

// Singles and doubles in both byte orders; a double beyond the single range
// is refused, not stored as infinity.
TEST(ValueNodes, FloatRegsStringRegsAndRawRegisters) {
    Device("registers.xml").play(R"(
        F4L=1.5 @0x1600?0000C03F F4B=-2.25 @0x1608?C0100000 F8L=1.5 @0x1610?000000000000F83F F8B=0.1
        @0x1618?3FB999999999999A F4L.max?3.4028234663852886e+38 F4B.min?-3.4028234663852886e+38
        F8L.max?1.7976931348623157e+308 F4B=-3.4028234663852886e+38 F4B.f?-3.4028234663852886e+38
        F4L=1e300!OutOfRange F4B~-1e39!OutOfRange @0x1600?0000C03F F4L=3e38
        F4L.f?3.0000000054977558e+38 @0x1600=000080BF F4L.f?-1 @0x1608=3DCCCCCD
        F4B.f?0.10000000149011612 @0x1610=182D4454FB210940 F8L.f?3.1415926535897931
        @0x1618=C000000000000000 F8B.f?-2 @0x1700=6162630078797A00 Label?abc Label=hello
        @0x1700?68656C6C6F000000 Label=123456789!OutOfRange Label?hello Label=12345678
        @0x1708=7461696C Label?12345678 Raw.address?6144 Raw.length?4 @0x1800=DEADBEEF
        Raw?0xDEADBEEF Raw=0xA0B0C0D0 @0x1800?A0B0C0D0
    )");
}

TEST(ValueNodes, IntegersCheckWritesAgainstEveryLimitOnTheirWay) {
    Device("integer_float.xml").play(R"(
        Stepped?12 Stepped.min?2 Stepped.max?102 Stepped.inc?5 Stepped=1!OutOfRange
        Stepped=103!OutOfRange Stepped=10!OutOfRange Stepped=13!OutOfRange Stepped?12 Stepped=7
        Stepped?7 Stepped=102 Stepped?102 Stepped=2 Stepped?2 Stepped~10 Stepped?10 Stepped~-3
        Stepped?-3 Limited.min?10 Limited.max?60 Limited=61!OutOfRange Limited=9!OutOfRange
        HighLimit=40 Limited.max?40 Limited=50!OutOfRange Limited=40 Limited?40 LowLimit=40
        Limited.min?40 Limited=39!OutOfRange @0x4200=A0000000 Nibble.max?100 Nibble=20!OutOfRange
        @0x4200?A0000000 Nibble=9 @0x4200?A9000000 Nibble~20 Outer=70!OutOfRange Inner?5 Outer=30
        Inner?30 Outer~70 Inner?70
    )");
}

// Representation, unit and limits come from pValue unless the node has its
// own; copies receive every write; indexed values follow the selector.
TEST(ValueNodes, IntegersInheritCopyAndIndexTheirValues) {
    Device("integer_float.xml").play(R"(
        Timer.unit?us Timer.min?0 Timer.max?65535 TimerAsText.unit?ms @0x4000=1F00 Timer?0x1F
        TimerAsText?31 Timer=0x10 @0x4000?1000 TimerAsText=42 @0x4000?2A00 Timer.i?42
        Timer=4x2!InvalidArgument Timer=!InvalidArgument Timer=70000!OutOfRange @0x4000?2A00
        Master=7 Master?7 CopyNode?7 CopyReg?7 @0x4010?07000000 CopyNode=8 Master?7 @0x4020=37000000
        PerSelector?100 Selector=1 PerSelector?200 Selector=2 PerSelector?55 Selector=3
        PerSelector?999 Selector=2 PerSelector=66 @0x4020?42000000 Selector=0 PerSelector=150
        PerSelector?150 Selector=1 PerSelector?200 Selector=2 PerSelector?66
        PerSelector.children?Selector,IndexedReg
    )");
}

// Floats check limits and increments, show their notation, and take their
// values by index as integers do.
TEST(ValueNodes, FloatsCheckLimitsAndIncrementsAndShowTheirNotation) {
    Device("integer_float.xml").play(R"(
        Gain?1.50 Gain.min?0 Gain.max?10 Gain.unit?dB Gain=10.5!OutOfRange Gain=-0.1!OutOfRange
        Gain.f?1.5 Gain=2.25 Gain.f?2.25 Gain~11 Gain.f?11 Gain=3.5 Gain=loud!InvalidArgument
        Gain.f?3.5 HalfSteps.inc?0.5 HalfSteps=1.25!OutOfRange HalfSteps=2.5 HalfSteps?2.500e+00
        HalfSteps=-0.5 HalfSteps.f?-0.5 @0x4100=2A00 Count?42 Count.min?0 Count.max?65535
        Count.unit?counts Count=7 @0x4100?0700 Count=70000!OutOfRange @0x4100?0700
    )");
    Device("rare_fields.xml").play(R"(
            ChannelGain.f?1.25 Channel=Green ChannelGain.f?2.5 ChannelGain=5 GreenGain.f?5
            Channel=Blue ChannelGain.f?3.75 ChannelGain=4.5 BlueGain.f?4.5 Channel=Red
            ChannelGain=1.5 ChannelGain.f?1.5 ChannelOffset?10 Channel=Green ChannelOffset?20
        )");
}

// A boolean maps OnValue and OffValue; a command is done once the device
// has cleared its register (one it cannot read is done at once).
TEST(ValueNodes, BooleansAndCommands) {
    Device("bool_command_enum.xml").play(R"(
        @0x6000=05000000 Enabled?true @0x6000=02000000 Enabled?false @0x6000=03000000 Enabled?!
        Enabled=true @0x6000?05000000 Enabled=false @0x6000?02000000 Enabled=maybe!InvalidArgument
        @0x6000?02000000 Flag?false Flag=true Flag?true AcquisitionStart.done?1
        AcquisitionStart.execute() @0x6010?01000000 AcquisitionStart.done?0 AcquisitionStart.done?0
        @0x6010=00000000 AcquisitionStart.done?1 DeviceReset.mode?WO DeviceReset.execute()
        @0x6014?ADDE0000 DeviceReset.done?1 Enabled.type?3 AcquisitionStart.type?4
    )");
}

TEST(ValueNodes, EnumerationsOfferAndTakeOnlyUsableEntries) {
    Device d("bool_command_enum.xml");
    d.play(R"(
        AcquisitionMode.symbolics?Continuous,SingleFrame
        EnumEntry_AcquisitionMode_MultiFrame.mode?NA EnumEntry_AcquisitionMode_Burst.mode?NI
        'EnumEntry_AcquisitionMode_Continuous.display?Continuous acquisition'
        EnumEntry_AcquisitionMode_SingleFrame.display?SingleFrame AcquisitionMode=SingleFrame
        @0x6020?01000000 AcquisitionMode?SingleFrame AcquisitionMode=MultiFrame!Access
        AcquisitionMode=Burst!Access AcquisitionMode=Sometimes!InvalidArgument @0x6020?01000000
        MultiFrameAvailable=1 AcquisitionMode.symbolics?Continuous,SingleFrame,MultiFrame
        AcquisitionMode=MultiFrame @0x6020?02000000 AcquisitionMode=Continuous @0x6020?00000000
        AcquisitionMode.type?9 EnumEntry_AcquisitionMode_Burst.type?10
    )");
    CEnumerationPtr mode = d.node("AcquisitionMode");
    EXPECT_EQ(mode->GetEntryByName("SingleFrame")->GetNumericValue(), 1.5);
    EXPECT_EQ(mode->GetEntryByName("MultiFrame")->GetNumericValue(), 2.0);
    EXPECT_EQ(mode->GetEntryByName("Nope"), nullptr);
    EXPECT_EQ(mode->GetEntry(3)->GetSymbolic(), "Burst");
    EXPECT_EQ(mode->GetEntry(9), nullptr);
    EXPECT_NE(raised([&] { mode->SetIntValue(7); }).find("OutOfRange"), std::string::npos);
    d.play("MultiFrameAvailable=0 AcquisitionMode=SingleFrame @0x6020=07000000 AcquisitionMode?!");
    EXPECT_NE(raised([&] { mode->SetIntValue(2); }).find("AccessException"), std::string::npos);
    EXPECT_EQ(mode->GetIntValue(), 7);
    raised([&] { mode->GetCurrentEntry(); });
}

// FormulaFrom reads, FormulaTo writes; the limits are pValue's limits
// through the formulas, saturated where the integer formula would wrap.
TEST(ValueNodes, ConvertersMapBothWaysAndDeriveTheirLimits) {
    Device("formula_nodes.xml").play(R"(
        @0x5000=C4090000 ExposureTime.f?2.5 ExposureTime.unit?ms ExposureTime.mode?RW
        ExposureTime=12.5 @0x5000?D4300000 ExposureRaw?12500 ExposureTime.f?12.5 ExposureTime.min?1
        ExposureTime.max?5000 ExposureTime=0.5!OutOfRange ExposureTime=5000.5!OutOfRange
        @0x5000?D4300000 FrameRate.f?800 FrameRate.min?2 FrameRate.max?10000 FrameRate=100
        @0x5000?A0860100 FrameRate=1!OutOfRange FrameRate=20000!OutOfRange DoubledLevel?20
        DoubledLevel.min?0 DoubledLevel.max?100 DoubledLevel=30 Level?15 MirroredLevel?85
        MirroredLevel.min?50 MirroredLevel.max?100 MirroredLevel=70 Level?30 DoubledLevel?60
        MirroredLevel=40!OutOfRange Level?30 DoubledUnbounded?6
        DoubledUnbounded.min?-9223372036854775808 DoubledUnbounded.max?9223372036854775807
        DoubledUnbounded=10 Unbounded?5 DoubledUnbounded?10
        NegatedUnbounded.min?-9223372036854775807 NegatedUnbounded.max?9223372036854775807
        NegatedUnbounded=-7 Unbounded?7 WideLessTen.min?-9223372036854775808
        WideLessTen.max?9223372036854775797 WideLessTen=9223372036854775797 Wide?9223372036854775807
        DividedWide.min?-9223372036854775807 DividedWide.max?9223372036854775807 LevelPlusFive.min?5
        LevelPlusFive.max?55 LevelPlusFive=55 Level?50 LevelPlusFive?55
    )");
}

// Variables, constants, expressions, limits and enumeration entries in
// formulas; computed values are read-only.
TEST(ValueNodes, SwissKnivesComputeFromOtherNodes) {
    Device("formula_nodes.xml").play(R"(
        HalfArea.f?153600 HalfArea.unit?px MaxArea?2073344 Width=1000 HalfArea.f?240000
        MaxArea?2073344 HalfArea.mode?RO MaxArea.mode?RO HalfArea=1!Access MaxArea=1!Access
        TriggerActive?0 IsSoftware?0 TriggerSource=Line1 TriggerActive?1 IsSoftware?0
        TriggerSource=Software TriggerActive?1 IsSoftware?1 TriggerSource=Off TriggerActive?0
        HalfArea.type?5 MaxArea.type?2 MirroredLevel.type?2
    )");
}

// The ROM: bus info block, root directory of 3 entries, key 0x17 just past
// it, the text leaf "Acme Cam" and bytes beyond it. The IIDC lock and smart
// feature are big-endian quadlets.
TEST(ValueNodes, ConfigurationRomAndIidcNodes) {
    Device d("rare_nodes.xml");
    d.play(R"(
        @0x400=0404ABCD313339342000A000000814AB0000000100031234030814AB81000003
        @0x420=0C0083C0171234560004CCCC000000000000000041636D652043616D58585858 VendorId?529579
        NodeCapabilities?33728 AbsentKey?! LastKey?! LastKeyText?! 'VendorText?Acme Cam'
        VendorId.mode?RO VendorText.mode?RO VendorId=1!Access VendorText=Other!Access VendorId.min?0
        VendorId.max?16777215 ConfigRom.address?1024 ConfigRom.length?64 @0x418=03000042
        *.invalidate() VendorId?66 @0x500=0000123480000001 FeatureLock?4660 SmartTrigger?2147483649
        FeatureLock.mode?RW SmartTrigger.mode?RO FeatureLock=51966 @0x500?0000CAFE
        SmartTrigger=1!Access FeatureLock.prop:FeatureID?0x0030533B73C3
        SmartTrigger.children?FeatureLock,Device 'Marker.tooltip?A node without a value'
        Marker.feature?0 VendorId.feature?1 Marker.type?1 ConfigRom.type?7 VendorId.type?2
        VendorText.type?6 SmartTrigger.type?2 Device.type?11 FeatureLock.feature?1
        AbsentKey.feature?0
    )");
    // Groups hold nodes and are none.
    EXPECT_EQ(d.map._Ptr()->GetNumNodes(), 13u);
    EXPECT_EQ(d.map._GetNode("Configuration ROM"), nullptr);
}

// An element written empty means its default: "XEmpty" answers as "XPlain".
TEST(ValueNodes, EmptyElementsMeanTheirDefaults) {
    Device d("empty_elements.xml");
    for (const char* type : {"Integer", "IntReg", "Float", "Boolean", "Enumeration", "IntConverter",
                             "StringReg", "Category"}) {
        INode* empty = d.node(std::string(type) + "Empty");
        EXPECT_EQ(quillon_test::NodeAnswers(empty),
                  quillon_test::NodeAnswers(d.node(std::string(type) + "Plain")));
        EXPECT_EQ(empty->GetDisplayName(), empty->GetName());
    }
}

} // namespace
