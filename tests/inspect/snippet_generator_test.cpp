// The access-code lines per node type and target kind: exact texts, the
// variable names, the value texts, which blocks the access mode shows, the
// older-constant and sequence rules, enumeration skeletons and selectors.
#include <gtest/gtest.h>

#include <string>

#include "GenApi/Pointer.h"
#include "inspect/older_constants.h"
#include "inspect/snippet_generator.h"
#include "property_snippet_fixtures.h"
#include "qorvis.h"

using namespace quillon::inspect;
using quillon_text_test::Camera;
using quillon_text_test::InlineDevice;

namespace {

SnippetTexts Generate(GenApi::INode* node, int64_t kind = Q_DIGITIZER_OBJECT) {
    return GenerateSnippets(node, MakeSnippetRequest(node, kind));
}

} // namespace

TEST(SnippetTexts, DialogTextsPerObjectKind) {
    FeatureCallTexts dig = FeatureCallTextsFor(Q_DIGITIZER_OBJECT);
    EXPECT_EQ(dig.controlFunction, "QdigControlFeature(");
    EXPECT_EQ(dig.inquireFunction, "QdigInquireFeature(");
    EXPECT_EQ(dig.handleArgument, "QorDigitizer, ");
    FeatureCallTexts sys = FeatureCallTextsFor(Q_SYSTEM_OBJECT);
    EXPECT_EQ(sys.controlFunction + sys.inquireFunction + sys.handleArgument,
              "QsysControlFeature(QsysInquireFeature(QorSystem, ");
    EXPECT_EQ(FeatureCallTextsFor(Q_SEQUENCE_OBJECT).handleArgument, "QorSequence, ");
}

TEST(SnippetTexts, IntegerBlocksOnDigitizerAndSystem) {
    Camera c;
    SnippetTexts t = Generate(c.node("Width"));
    EXPECT_EQ(t.oneLineControl, "\tQdigControl(QorDigitizer, Width, 1280);\n");
    EXPECT_EQ(t.oneLineInquire, "\tQOR_INT WidthInpx = 0;\n\tQdigInquire(QorDigitizer, Width, &WidthInpx);\n");
    EXPECT_EQ(t.controlBlock, "\tQOR_INT64 WidthInpx = 1280;\n"
                              "\tQdigControlFeature(QorDigitizer, Q_FEATURE_VALUE, QOR_TEXT(\"Width\"), Q_TYPE_INT64, "
                              "&WidthInpx);\n");
    EXPECT_EQ(t.inquireBlock, "\tQOR_INT64 WidthInpx = 0;\n"
                              "\tQdigInquireFeature(QorDigitizer, Q_FEATURE_VALUE, QOR_TEXT(\"Width\"), Q_TYPE_INT64, "
                              "&WidthInpx);\n");
    EXPECT_TRUE(t.showControl && t.showInquire);
    EXPECT_FALSE(t.showOneLine); // no older constant: the one-line calls are not shown
    EXPECT_EQ(t.ShownPieces(), (std::vector<std::string>{t.controlBlock, t.inquireBlock}));

    SnippetTexts s = Generate(c.node("Width"), Q_SYSTEM_OBJECT);
    EXPECT_EQ(s.oneLineControl, "\tQsysControl(QorSystem, Width, 1280);\n");
    EXPECT_EQ(s.inquireBlock.substr(s.inquireBlock.find('\n') + 1),
              "\tQsysInquireFeature(QorSystem, Q_FEATURE_VALUE, QOR_TEXT(\"Width\"), Q_TYPE_INT64, &WidthInpx);\n");

    // The value text is the node's own text form: hex stays hex.
    EXPECT_EQ(Generate(c.node("TorvexScratch")).controlBlock.substr(0, 39), "\tQOR_INT64 TorvexScratch = 0xC0FFEE42;\n");
}

TEST(SnippetTexts, OtherTypesExactTexts) {
    Camera c;
    GenApi::CBooleanPtr(c.node("ReverseX"))->SetValue(true);
    SnippetTexts b = Generate(c.node("ReverseX"));
    EXPECT_EQ(b.oneLineControl, "\tQdigControl(QorDigitizer, ReverseX, Q_TRUE);\n");
    EXPECT_EQ(b.controlBlock, "\tQOR_BOOL ReverseX = Q_TRUE;\n\tQdigControlFeature(QorDigitizer, Q_FEATURE_VALUE, "
                              "QOR_TEXT(\"ReverseX\"), Q_TYPE_BOOLEAN, &ReverseX);\n");
    EXPECT_EQ(b.inquireBlock, "\tQOR_BOOL ReverseX = Q_FALSE;\n\tQdigInquireFeature(QorDigitizer, Q_FEATURE_VALUE, "
                              "QOR_TEXT(\"ReverseX\"), Q_TYPE_BOOLEAN, &ReverseX);\n");

    SnippetTexts f = Generate(c.node("BlackLevel"));
    EXPECT_EQ(f.oneLineControl, "\tQdigControl(QorDigitizer, BlackLevel, -2.5);\n");
    EXPECT_EQ(f.oneLineInquire,
              "\tQOR_DOUBLE BlackLevelInDN = 0.0;\n\tQdigInquire(QorDigitizer, BlackLevel, &BlackLevelInDN);\n");
    EXPECT_EQ(f.controlBlock, "\tQOR_DOUBLE BlackLevelInDN = -2.5;\n\tQdigControlFeature(QorDigitizer, Q_FEATURE_VALUE, "
                              "QOR_TEXT(\"BlackLevel\"), Q_TYPE_DOUBLE, &BlackLevelInDN);\n");
    EXPECT_EQ(f.inquireBlock, "\tQOR_DOUBLE BlackLevelInDN = 0;\n\tQdigInquireFeature(QorDigitizer, Q_FEATURE_VALUE, "
                              "QOR_TEXT(\"BlackLevel\"), Q_TYPE_DOUBLE, &BlackLevelInDN);\n");

    GenApi::CStringPtr(c.node("DeviceUserID"))->SetValue("Line \"A\"");
    SnippetTexts s = Generate(c.node("DeviceUserID"));
    EXPECT_EQ(s.oneLineControl, "");
    EXPECT_EQ(s.oneLineInquire, "\tQOR_INT DeviceUserIDStringSize = 0;\n"
                                "\tQdigInquire(QorDigitizer, DeviceUserID_SIZE, &DeviceUserIDStringSize);\n"
                                "\tQOR_TEXT_PTR DeviceUserIDPtr = new QOR_TEXT_CHAR[DeviceUserIDStringSize];\n"
                                "\tQdigInquire(QorDigitizer, DeviceUserID, DeviceUserIDPtr);\n"
                                "\tdelete [] DeviceUserIDPtr;\n");
    EXPECT_EQ(s.controlBlock, "\tQdigControlFeature(QorDigitizer, Q_FEATURE_VALUE, QOR_TEXT(\"DeviceUserID\"), "
                              "Q_TYPE_STRING, QOR_TEXT(\"Line \\\"A\\\"\"));\n");
    EXPECT_EQ(s.inquireBlock,
              "\tQOR_INT DeviceUserIDStringSize = 0;\n"
              "\tQdigInquireFeature(QorDigitizer, Q_FEATURE_VALUE + Q_STRING_SIZE, QOR_TEXT(\"DeviceUserID\"), "
              "Q_TYPE_QOR_INT, &DeviceUserIDStringSize);\n"
              "\tQOR_TEXT_PTR DeviceUserIDPtr = new QOR_TEXT_CHAR[DeviceUserIDStringSize];\n"
              "\tQdigInquireFeature(QorDigitizer, Q_FEATURE_VALUE, QOR_TEXT(\"DeviceUserID\"), Q_TYPE_STRING, "
              "DeviceUserIDPtr);\n"
              "\tdelete [] DeviceUserIDPtr;\n");

    SnippetTexts r = Generate(c.node("LUTValueAll"));
    EXPECT_EQ(r.oneLineControl + r.oneLineInquire, "");
    EXPECT_EQ(r.controlBlock, "\tQOR_INT LUTValueAllSize = 0;\n"
                              "\tQdigInquireFeature(QorDigitizer, Q_FEATURE_SIZE, QOR_TEXT(\"LUTValueAll\"), "
                              "Q_TYPE_QOR_INT, &LUTValueAllSize);\n"
                              "\tQOR_UINT8* pLUTValueAll = new QOR_UINT8[LUTValueAllSize];\n"
                              "\t// Initialize pLUTValueAll here.\n"
                              "\tQdigControlFeature(QorDigitizer, Q_FEATURE_VALUE, QOR_TEXT(\"LUTValueAll\"), "
                              "Q_TYPE_UINT8, pLUTValueAll);\n"
                              "\tdelete [] pLUTValueAll;\n");
    EXPECT_EQ(r.inquireBlock, "\tQOR_INT LUTValueAllSize = 0;\n"
                              "\tQdigInquireFeature(QorDigitizer, Q_FEATURE_SIZE, QOR_TEXT(\"LUTValueAll\"), "
                              "Q_TYPE_QOR_INT, &LUTValueAllSize);\n"
                              "\tQOR_UINT8* pLUTValueAll = new QOR_UINT8[LUTValueAllSize];\n"
                              "\tQdigInquireFeature(QorDigitizer, Q_FEATURE_VALUE, QOR_TEXT(\"LUTValueAll\"), "
                              "Q_TYPE_UINT8, pLUTValueAll);\n"
                              "\tdelete [] pLUTValueAll;\n");

    SnippetTexts e = Generate(c.node("PixelFormat"));
    EXPECT_EQ(e.oneLineControl, "\tQdigControl(QorDigitizer, PixelFormat, Mono8); // Mono8\n");
    EXPECT_EQ(e.controlBlock, "\tQdigControlFeature(QorDigitizer, Q_FEATURE_VALUE, QOR_TEXT(\"PixelFormat\"), "
                              "Q_TYPE_STRING, QOR_TEXT(\"Mono8\"));\n");
    EXPECT_EQ(e.inquireBlock.substr(0, e.inquireBlock.find('\n') + 1), "\tQOR_INT64 PixelFormatStringSize = 0;\n");
}

TEST(SnippetTexts, CommandValueText) {
    InlineDevice d(R"(
      <Integer Name="Cmd"><Value>0</Value></Integer>
      <Command Name="Five"><pValue>Cmd</pValue><CommandValue>5</CommandValue></Command>
      <Command Name="Indirect"><pValue>Cmd</pValue><pCommandValue>Cmd</pCommandValue></Command>
    )");
    EXPECT_EQ(Generate(d.node("Five")).oneLineControl, "\tQdigControl(QorDigitizer, Five, 5);\n");
    EXPECT_EQ(Generate(d.node("Indirect")).oneLineControl, "\tQdigControl(QorDigitizer, Indirect, );\n");
    Camera c;
    SnippetTexts t = Generate(c.node("TriggerSoftware"));
    EXPECT_EQ(t.oneLineControl, "\tQdigControl(QorDigitizer, TriggerSoftware, Q_DEFAULT);\n");
    EXPECT_EQ(t.oneLineInquire, "\tQdigInquire(QorDigitizer, TriggerSoftware, &TriggerSoftware);\n");
    EXPECT_EQ(t.controlBlock, "\tQdigControlFeature(QorDigitizer, Q_FEATURE_EXECUTE, QOR_TEXT(\"TriggerSoftware\"), "
                              "Q_DEFAULT, Q_NULL);\n");
    EXPECT_EQ(t.inquireBlock, "");
}

TEST(SnippetTexts, VariableNamesDropPunctuationButQuotedNamesKeepIt) {
    EXPECT_EQ(VariableName("Gain_Raw", ""), "GainRaw");
    EXPECT_EQ(VariableName("Cam-1:Gain.Raw", "dB"), "Cam1GainRawIndB");
    EXPECT_EQ(VariableName("ExposureTime", "\xC2\xB5s"), "ExposureTimeInus");
    EXPECT_EQ(VariableName("DeviceTemperature", "\xC2\xB0" "C"), "DeviceTemperatureInC");
    EXPECT_EQ(VariableName("Rate", "B/s"), "RateInBs");

    InlineDevice d(R"(<Integer Name="Gain_Raw"><Value>7</Value><Unit>dB</Unit></Integer>)");
    GenApi::INode* node = d.node("Gain_Raw");
    SnippetRequest rq = MakeSnippetRequest(node, Q_DIGITIZER_OBJECT);
    rq.usePrefix = true;
    rq.prefix = "Cam_1";
    SnippetTexts t = GenerateSnippets(node, rq);
    EXPECT_EQ(t.controlBlock, "\tQOR_INT64 Cam1GainRawIndB = 7;\n\tQdigControlFeature(QorDigitizer, Q_FEATURE_VALUE, "
                              "QOR_TEXT(\"Cam_1:Gain_Raw\"), Q_TYPE_INT64, &Cam1GainRawIndB);\n");
    EXPECT_EQ(t.oneLineControl, "\tQdigControl(QorDigitizer, Cam_1:Gain_Raw, 7);\n");
}

TEST(SnippetTexts, WidthAndOlderConstantDecideDeclarations) {
    // Digitizer control type 6650 is a 64-bit control; for a system it is not.
    InlineDevice d(R"(
      <IntReg Name="Wide"><Address>6650</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>
      <IntReg Name="ModeReg"><Address>6650</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>
      <Enumeration Name="Mode"><EnumEntry Name="Off"><Value>0</Value></EnumEntry><pValue>ModeReg</pValue></Enumeration>
      <IntReg Name="GrabTimeout"><Address>3001</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>
    )");
    EXPECT_TRUE(IsValue64Bit(d.node("Wide"), Q_DIGITIZER_OBJECT));
    EXPECT_FALSE(IsValue64Bit(d.node("Wide"), Q_SYSTEM_OBJECT));
    EXPECT_FALSE(IsValue64Bit(d.node("GrabTimeout"), Q_DIGITIZER_OBJECT));
    EXPECT_EQ(Generate(d.node("Wide")).oneLineInquire.substr(0, 26), "\tQOR_INT64 Wide = 0;\n\tQdig");
    EXPECT_EQ(Generate(d.node("Wide"), Q_SYSTEM_OBJECT).oneLineInquire.substr(0, 21), "\tQOR_INT Wide = 0;\n\tQ");
    // The enumeration's size declaration doubles the width suffix.
    SnippetTexts wide = Generate(d.node("Mode"));
    EXPECT_EQ(wide.inquireBlock.substr(0, wide.inquireBlock.find('\n') + 1), "\tQOR_INT6464 ModeStringSize = 0;\n");
    SnippetTexts narrow = Generate(d.node("Mode"), Q_SYSTEM_OBJECT);
    EXPECT_EQ(narrow.inquireBlock.substr(0, narrow.inquireBlock.find('\n') + 1), "\tQOR_INT64 ModeStringSize = 0;\n");

    // An older constant goes between the prefix and the name, and the one-line calls are shown.
    // Only for the object kind, and only where the feature reaches that
    // control type (a camera's FrameCounter is a device register).
    InlineDevice other(R"(
      <Float Name="GrabTimeout"><pValue>TimeoutReg</pValue></Float>
      <FloatReg Name="TimeoutReg"><Address>3001</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></FloatReg>
      <IntReg Name="FrameCounter"><Address>0x10020</Address><Length>8</Length><AccessMode>RO</AccessMode><pPort>Device</pPort></IntReg>
    )");
    EXPECT_EQ(OlderControlConstant(d.node("GrabTimeout"), Q_DIGITIZER_OBJECT),
              "Q_DIG_GRAB_TIMEOUT");
    EXPECT_EQ(OlderControlConstant(d.node("GrabTimeout"), Q_SYSTEM_OBJECT), "Q_NULL");
    EXPECT_EQ(OlderControlConstant(other.node("GrabTimeout"), Q_DIGITIZER_OBJECT), "Q_NULL");
    EXPECT_EQ(OlderControlConstant(other.node("FrameCounter"), Q_DIGITIZER_OBJECT), "Q_NULL");
    EXPECT_FALSE(Generate(d.node("GrabTimeout"), Q_SEQUENCE_OBJECT).showOneLine);
    SnippetTexts k = Generate(d.node("GrabTimeout"), Q_DIGITIZER_OBJECT);
    EXPECT_EQ(k.oneLineControl,
              "\tQdigControl(QorDigitizer, Q_DIG_GRAB_TIMEOUT + GrabTimeout, 0);\n");
    EXPECT_EQ(k.oneLineInquire, "\tQOR_INT GrabTimeout = 0;\n\tQdigInquire(QorDigitizer, "
                                "Q_DIG_GRAB_TIMEOUT + GrabTimeout, &GrabTimeout);\n");
    EXPECT_TRUE(k.showOneLine);
    EXPECT_EQ(k.ShownPieces(),
              (std::vector<std::string>{k.oneLineControl, k.controlBlock, k.oneLineInquire, k.inquireBlock}));
}

TEST(SnippetTexts, StringOneLineInquireHasConstantOnlyInTextCall) {
    InlineDevice d(
        R"(<StringReg Name="UserLabel"><Address>7704</Address><Length>16</Length><AccessMode>RW</AccessMode>
      <pPort>Device</pPort></StringReg>)");
    SnippetTexts t = Generate(d.node("UserLabel"), Q_SYSTEM_OBJECT);
    EXPECT_EQ(t.oneLineInquire,
              "\tQOR_INT UserLabelStringSize = 0;\n"
              "\tQsysInquire(QorSystem, UserLabel_SIZE, &UserLabelStringSize);\n"
              "\tQOR_TEXT_PTR UserLabelPtr = new QOR_TEXT_CHAR[UserLabelStringSize];\n"
              "\tQsysInquire(QorSystem, Q_SYS_USER_LABEL + UserLabel, UserLabelPtr);\n"
              "\tdelete [] UserLabelPtr;\n");
}

TEST(SnippetTexts, EnumerationSkeletonIfChainUpToFourEntriesElseSwitch) {
    InlineDevice d(R"(
      <Enumeration Name="Four">
        <EnumEntry Name="A"><DisplayName>Alpha</DisplayName><Value>0</Value></EnumEntry>
        <EnumEntry Name="B"><Value>1</Value></EnumEntry>
        <EnumEntry Name="C"><DisplayName>Line 3 Connector: pin 7 of the 12-pin plug
second line</DisplayName><Value>2</Value></EnumEntry>
        <EnumEntry Name="D"><DisplayName>Connector: 3
more text here</DisplayName><Value>3</Value></EnumEntry>
        <Value>2</Value></Enumeration>
      <Enumeration Name="Five">
        <EnumEntry Name="A"><Value>0</Value></EnumEntry><EnumEntry Name="B"><Value>1</Value></EnumEntry>
        <EnumEntry Name="C"><Value>2</Value></EnumEntry><EnumEntry Name="D"><Value>3</Value></EnumEntry>
        <EnumEntry Name="E"><Value>4</Value></EnumEntry>
        <Value>0</Value></Enumeration>
    )");
    // The comment is the entry's display text, which defaults to the entry
    // node's name; a connector description keeps 22 characters from
    // "Connector:" and stops at a line break.
    SnippetTexts four = Generate(d.node("Four"));
    EXPECT_EQ(four.valueTest, "\t\tif (Four == A) // Alpha\n\t\t   {}\n"
                              "\t\telse if (Four == B) // B\n\t\t   {}\n"
                              "\t\telse if (Four == C) // Pin info: Line 3 Connector: pin 7 of th\n\t\t   {}\n"
                              "\t\telse if (Four == D) // Pin info: Connector: 3\n\t\t   {}\n");
    // The current entry's comment also ends the one-line control.
    EXPECT_EQ(four.oneLineControl, "\tQdigControl(QorDigitizer, Four, C); // Pin info: Line 3 Connector: pin 7 of th\n");
    SnippetTexts five = Generate(d.node("Five"));
    EXPECT_EQ(five.valueTest, "\t\tswitch (Five\t\t   {\n"
                              "\t\t   case A:  break;  // A\n\t\t   case B:  break;  // B\n"
                              "\t\t   case C:  break;  // C\n\t\t   case D:  break;  // D\n"
                              "\t\t   case E:  break;  // E\n\t\t   }\n");
    EXPECT_EQ(five.ShownPieces().back(), five.valueTest);
}

TEST(SnippetTexts, AccessModeChoosesBlocks) {
    Camera c;
    SnippetTexts ro = Generate(c.node("DeviceVendorName"));
    EXPECT_FALSE(ro.showControl);
    EXPECT_TRUE(ro.showInquire);
    EXPECT_EQ(ro.ShownPieces(), std::vector<std::string>{ro.inquireBlock});

    SnippetTexts wo = Generate(c.node("GevPrimaryApplicationSwitchoverKey"));
    EXPECT_TRUE(wo.showControl);
    EXPECT_FALSE(wo.showInquire);
    EXPECT_EQ(wo.ShownPieces(), std::vector<std::string>{wo.controlBlock});
    // Unreadable: the value is written as 0 so the block stays valid code.
    EXPECT_EQ(wo.controlBlock.substr(0, wo.controlBlock.find('\n') + 1),
              "\tQOR_INT64 GevPrimaryApplicationSwitchoverKey = 0;\n");

    SnippetTexts na = Generate(c.node("BalanceWhiteAuto"));
    EXPECT_TRUE(na.ShownPieces().empty());
    SnippetRequest both = MakeSnippetRequest(c.node("BalanceWhiteAuto"), Q_DIGITIZER_OBJECT);
    both.bothBlocks = true;
    SnippetTexts forced = GenerateSnippets(c.node("BalanceWhiteAuto"), both);
    EXPECT_TRUE(forced.showControl && forced.showInquire);
    EXPECT_EQ(forced.ShownPieces().front(), forced.controlBlock);

    // Categories get nothing.
    SnippetTexts category = Generate(c.node("Root"));
    EXPECT_EQ(category.controlBlock + category.inquireBlock + category.oneLineControl, "");
    EXPECT_TRUE(category.ShownPieces().empty());
}

TEST(SnippetTexts, SequenceTargetQuotesEmptyNames) {
    Camera c;
    SnippetRequest rq = MakeSnippetRequest(c.node("Width"), Q_SEQUENCE_OBJECT);
    SnippetTexts t = GenerateSnippets(c.node("Width"), rq);
    EXPECT_EQ(t.oneLineControl, ", 1280);\n");
    EXPECT_EQ(t.oneLineInquire, "\tQOR_INT WidthInpx = 0;\n, &WidthInpx);\n");
    EXPECT_EQ(t.controlBlock, "\tQOR_INT64 WidthInpx = 1280;\n"
                              "\tQseqControlFeature(QorSequence, Q_FEATURE_VALUE, QOR_TEXT(\"\"), Q_TYPE_INT64, "
                              "&WidthInpx);\n");
    EXPECT_NE(t.inquireBlock.find("QOR_TEXT(\"\")"), std::string::npos);
    EXPECT_FALSE(t.showOneLine);
    SnippetTexts s = GenerateSnippets(c.node("DeviceVendorName"), MakeSnippetRequest(c.node("DeviceVendorName"), Q_SEQUENCE_OBJECT));
    EXPECT_EQ(s.inquireBlock.find("\"DeviceVendorName\""), std::string::npos);
    EXPECT_NE(s.inquireBlock.find("QOR_TEXT(\"\"), Q_TYPE_STRING, DeviceVendorNamePtr"), std::string::npos);
}

TEST(SnippetTexts, SelectorTextsComeFirst) {
    Camera c;
    SnippetTexts selector = Generate(c.node("GainSelector"));
    SnippetRequest rq = MakeSnippetRequest(c.node("Gain"), Q_DIGITIZER_OBJECT);
    rq.selector = selector;
    SnippetTexts gain = GenerateSnippets(c.node("Gain"), rq);
    SnippetTexts alone = Generate(c.node("Gain"));
    EXPECT_EQ(gain.controlBlock, selector.controlBlock + alone.controlBlock);
    EXPECT_EQ(gain.inquireBlock, selector.controlBlock + alone.inquireBlock);
    EXPECT_EQ(gain.oneLineInquire, selector.oneLineControl + alone.oneLineInquire);
    EXPECT_NE(gain.controlBlock.find("QOR_TEXT(\"GainSelector\"), Q_TYPE_STRING"), std::string::npos);
    EXPECT_LT(gain.controlBlock.find("\"GainSelector\""), gain.controlBlock.find("\"Gain\""));
    // A command under a selector has no inquire block to join.
    SnippetRequest load = MakeSnippetRequest(c.node("UserSetLoad"), Q_DIGITIZER_OBJECT);
    load.selector = Generate(c.node("UserSetSelector"));
    EXPECT_EQ(GenerateSnippets(c.node("UserSetLoad"), load).inquireBlock, "");
}

// Each older constant is the control type of the feature it is listed for in
// the object's own description: its register's address.
TEST(SnippetTexts, OlderConstantsAreTheControlTypesOfTheLibrarysOwnFeatures) {
    for (auto [kind, file] : {std::pair{Q_SYSTEM_OBJECT, "QsysControl_sim.xml"},
                              std::pair{Q_DIGITIZER_OBJECT, "QdigControl_sim.xml"}}) {
        GenApi::CNodeMapRef map;
        map._LoadXMLFromFile((std::string(QUILLON_DATA_DIR) + file).c_str());
        int listed = 0;
        for (const OlderConstant& c : OlderConstants()) {
            if (c.objectKind != kind) continue;
            SCOPED_TRACE(std::string(file) + " " + c.feature);
            ++listed;
            GenApi::INode* node = map._GetNode(c.feature);
            ASSERT_NE(node, nullptr);
            EXPECT_EQ(TypeTag(node), c.typeTag);
            EXPECT_EQ(ControlType(node), c.controlType) << c.constant;
            EXPECT_EQ(OlderControlConstant(node, kind), c.constant);
        }
        EXPECT_GT(listed, 20);
    }
}
