// The access code the property box shows, exactly, per node type and target,
// and the rules choosing among its lines; a session step as code.

#include "inspect/older_constants.h"
#include "inspect/session_code.h"
#include "inspect/snippet_generator.h"
#include "inspect_support.h"

using namespace quillon::inspect;
using quillon_inspect_test::Camera;
using quillon_inspect_test::MemoryDevice;

namespace {

SnippetTexts Generate(GenApi::INode* node, int64_t kind = Q_DIGITIZER_OBJECT) {
    return GenerateSnippets(node, MakeSnippetRequest(node, kind));
}

std::string FirstLine(const std::string& text) {
    return text.substr(0, text.find('\n') + 1);
}

} // namespace

TEST(SnippetTexts, ExactLinesPerTypeAndTarget) {
    Camera c;
    GenApi::CBooleanPtr(c.node("ReverseX"))->SetValue(true);
    GenApi::CStringPtr(c.node("DeviceUserID"))->SetValue("Line \"A\"");
    struct Row {
        const char* feature;
        int64_t kind;
        const char *oneLineControl, *oneLineInquire, *controlBlock, *inquireBlock;
    };
    // clang-format off
    const Row rows[] = {
        {"Width", Q_DIGITIZER_OBJECT, "\tQdigControl(QorDigitizer, Width, 1280);\n",
         "\tQOR_INT WidthInpx = 0;\n\tQdigInquire(QorDigitizer, Width, &WidthInpx);\n",
         "\tQOR_INT64 WidthInpx = 1280;\n"
         "\tQdigControlFeature(QorDigitizer, Q_FEATURE_VALUE, QOR_TEXT(\"Width\"), Q_TYPE_INT64, &WidthInpx);\n",
         "\tQOR_INT64 WidthInpx = 0;\n"
         "\tQdigInquireFeature(QorDigitizer, Q_FEATURE_VALUE, QOR_TEXT(\"Width\"), Q_TYPE_INT64, &WidthInpx);\n"},
        {"Width", Q_SYSTEM_OBJECT, "\tQsysControl(QorSystem, Width, 1280);\n",
         "\tQOR_INT WidthInpx = 0;\n\tQsysInquire(QorSystem, Width, &WidthInpx);\n",
         "\tQOR_INT64 WidthInpx = 1280;\n"
         "\tQsysControlFeature(QorSystem, Q_FEATURE_VALUE, QOR_TEXT(\"Width\"), Q_TYPE_INT64, &WidthInpx);\n",
         "\tQOR_INT64 WidthInpx = 0;\n"
         "\tQsysInquireFeature(QorSystem, Q_FEATURE_VALUE, QOR_TEXT(\"Width\"), Q_TYPE_INT64, &WidthInpx);\n"},
        {"ReverseX", Q_DIGITIZER_OBJECT, "\tQdigControl(QorDigitizer, ReverseX, Q_TRUE);\n",
         "\tQOR_INT ReverseX = 0;\n\tQdigInquire(QorDigitizer, ReverseX, &ReverseX);\n",
         "\tQOR_BOOL ReverseX = Q_TRUE;\n"
         "\tQdigControlFeature(QorDigitizer, Q_FEATURE_VALUE, QOR_TEXT(\"ReverseX\"), Q_TYPE_BOOLEAN, &ReverseX);\n",
         "\tQOR_BOOL ReverseX = Q_FALSE;\n"
         "\tQdigInquireFeature(QorDigitizer, Q_FEATURE_VALUE, QOR_TEXT(\"ReverseX\"), Q_TYPE_BOOLEAN, &ReverseX);\n"},
        {"BlackLevel", Q_DIGITIZER_OBJECT, "\tQdigControl(QorDigitizer, BlackLevel, -2.5);\n",
         "\tQOR_DOUBLE BlackLevelInDN = 0.0;\n\tQdigInquire(QorDigitizer, BlackLevel, &BlackLevelInDN);\n",
         "\tQOR_DOUBLE BlackLevelInDN = -2.5;\n\tQdigControlFeature(QorDigitizer, Q_FEATURE_VALUE, "
         "QOR_TEXT(\"BlackLevel\"), Q_TYPE_DOUBLE, &BlackLevelInDN);\n",
         "\tQOR_DOUBLE BlackLevelInDN = 0;\n\tQdigInquireFeature(QorDigitizer, Q_FEATURE_VALUE, "
         "QOR_TEXT(\"BlackLevel\"), Q_TYPE_DOUBLE, &BlackLevelInDN);\n"},
        {"DeviceUserID", Q_DIGITIZER_OBJECT, "",
         "\tQOR_INT DeviceUserIDStringSize = 0;\n"
         "\tQdigInquire(QorDigitizer, DeviceUserID_SIZE, &DeviceUserIDStringSize);\n"
         "\tQOR_TEXT_PTR DeviceUserIDPtr = new QOR_TEXT_CHAR[DeviceUserIDStringSize];\n"
         "\tQdigInquire(QorDigitizer, DeviceUserID, DeviceUserIDPtr);\n\tdelete [] DeviceUserIDPtr;\n",
         "\tQdigControlFeature(QorDigitizer, Q_FEATURE_VALUE, QOR_TEXT(\"DeviceUserID\"), Q_TYPE_STRING, "
         "QOR_TEXT(\"Line \\\"A\\\"\"));\n",
         "\tQOR_INT DeviceUserIDStringSize = 0;\n"
         "\tQdigInquireFeature(QorDigitizer, Q_FEATURE_VALUE + Q_STRING_SIZE, QOR_TEXT(\"DeviceUserID\"), "
         "Q_TYPE_QOR_INT, &DeviceUserIDStringSize);\n"
         "\tQOR_TEXT_PTR DeviceUserIDPtr = new QOR_TEXT_CHAR[DeviceUserIDStringSize];\n"
         "\tQdigInquireFeature(QorDigitizer, Q_FEATURE_VALUE, QOR_TEXT(\"DeviceUserID\"), Q_TYPE_STRING, "
         "DeviceUserIDPtr);\n\tdelete [] DeviceUserIDPtr;\n"},
        {"LUTValueAll", Q_DIGITIZER_OBJECT, "", "",
         "\tQOR_INT LUTValueAllSize = 0;\n\tQdigInquireFeature(QorDigitizer, Q_FEATURE_SIZE, "
         "QOR_TEXT(\"LUTValueAll\"), Q_TYPE_QOR_INT, &LUTValueAllSize);\n"
         "\tQOR_UINT8* pLUTValueAll = new QOR_UINT8[LUTValueAllSize];\n\t// Initialize pLUTValueAll here.\n"
         "\tQdigControlFeature(QorDigitizer, Q_FEATURE_VALUE, QOR_TEXT(\"LUTValueAll\"), Q_TYPE_UINT8, "
         "pLUTValueAll);\n\tdelete [] pLUTValueAll;\n",
         "\tQOR_INT LUTValueAllSize = 0;\n\tQdigInquireFeature(QorDigitizer, Q_FEATURE_SIZE, "
         "QOR_TEXT(\"LUTValueAll\"), Q_TYPE_QOR_INT, &LUTValueAllSize);\n"
         "\tQOR_UINT8* pLUTValueAll = new QOR_UINT8[LUTValueAllSize];\n"
         "\tQdigInquireFeature(QorDigitizer, Q_FEATURE_VALUE, QOR_TEXT(\"LUTValueAll\"), Q_TYPE_UINT8, "
         "pLUTValueAll);\n\tdelete [] pLUTValueAll;\n"},
        {"PixelFormat", Q_DIGITIZER_OBJECT, "\tQdigControl(QorDigitizer, PixelFormat, Mono8); // Mono8\n", "",
         "\tQdigControlFeature(QorDigitizer, Q_FEATURE_VALUE, QOR_TEXT(\"PixelFormat\"), Q_TYPE_STRING, "
         "QOR_TEXT(\"Mono8\"));\n",
         "\tQOR_INT64 PixelFormatStringSize = 0;\n"
         "\tQdigInquireFeature(QorDigitizer, Q_FEATURE_VALUE + Q_STRING_SIZE, QOR_TEXT(\"PixelFormat\"), "
         "Q_TYPE_QOR_INT, &PixelFormatStringSize);\n"
         "\tQOR_TEXT_PTR PixelFormatPtr = new QOR_TEXT_CHAR[PixelFormatStringSize];\n"
         "\tQdigInquireFeature(QorDigitizer, Q_FEATURE_VALUE, QOR_TEXT(\"PixelFormat\"), Q_TYPE_STRING, "
         "PixelFormatPtr);\n\tdelete [] PixelFormatPtr;\n"},
        {"TriggerSoftware", Q_DIGITIZER_OBJECT, "\tQdigControl(QorDigitizer, TriggerSoftware, Q_DEFAULT);\n",
         "\tQdigInquire(QorDigitizer, TriggerSoftware, &TriggerSoftware);\n",
         "\tQdigControlFeature(QorDigitizer, Q_FEATURE_EXECUTE, QOR_TEXT(\"TriggerSoftware\"), Q_DEFAULT, "
         "Q_NULL);\n", ""},
    };
    // clang-format on
    for (const Row& row : rows) {
        const SnippetTexts t = Generate(c.node(row.feature), row.kind);
        EXPECT_EQ(t.oneLineControl, row.oneLineControl) << row.feature;
        EXPECT_EQ(t.oneLineInquire, row.oneLineInquire) << row.feature;
        EXPECT_EQ(t.controlBlock, row.controlBlock) << row.feature;
        EXPECT_EQ(t.inquireBlock, row.inquireBlock) << row.feature;
        // None of the camera's features has an older constant: the blocks alone are shown.
        EXPECT_FALSE(t.showOneLine) << row.feature;
    }
    // The value text is the node's own text form: hex stays hex.
    EXPECT_EQ(FirstLine(Generate(c.node("TorvexScratch")).controlBlock),
              "\tQOR_INT64 TorvexScratch = 0xC0FFEE42;\n");
    // A variable's name: letters and digits of the name and unit, the micro sign as "u".
    EXPECT_EQ(VariableName("Exposure_Time", "\xC2\xB5s"), "ExposureTimeInus");
    EXPECT_EQ(VariableName("Temp", "\xC2\xB0" "C"), "TempInC");
}

TEST(SnippetTexts, OlderConstantsAndWidthsDecideTheOneLineCalls) {
    // Digitizer control type 6650 is a 64-bit control; for a system it is not.
    MemoryDevice d(R"(
      <IntReg Name="Wide"><Address>6650</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>
      <Enumeration Name="Mode"><EnumEntry Name="Off"><Value>0</Value></EnumEntry><pValue>Wide</pValue></Enumeration>
      <IntReg Name="GrabTimeout"><Address>3001</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>
    )");
    EXPECT_TRUE(IsValue64Bit(d.node("Wide"), Q_DIGITIZER_OBJECT));
    EXPECT_FALSE(IsValue64Bit(d.node("Wide"), Q_SYSTEM_OBJECT));
    EXPECT_FALSE(IsValue64Bit(d.node("GrabTimeout"), Q_DIGITIZER_OBJECT));
    EXPECT_EQ(FirstLine(Generate(d.node("Wide")).oneLineInquire), "\tQOR_INT64 Wide = 0;\n");
    EXPECT_EQ(FirstLine(Generate(d.node("Wide"), Q_SYSTEM_OBJECT).oneLineInquire),
              "\tQOR_INT Wide = 0;\n");
    // The enumeration's size declaration doubles the width suffix.
    EXPECT_EQ(FirstLine(Generate(d.node("Mode")).inquireBlock),
              "\tQOR_INT6464 ModeStringSize = 0;\n");
    EXPECT_EQ(FirstLine(Generate(d.node("Mode"), Q_SYSTEM_OBJECT).inquireBlock),
              "\tQOR_INT64 ModeStringSize = 0;\n");

    // An older constant goes between the prefix and the name, for its object
    // kind only, and only where the feature reaches that control type.
    MemoryDevice other(R"(
      <Float Name="GrabTimeout"><pValue>TimeoutReg</pValue></Float>
      <FloatReg Name="TimeoutReg"><Address>3001</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></FloatReg>
      <IntReg Name="FrameCounter"><Address>0x10020</Address><Length>8</Length><AccessMode>RO</AccessMode><pPort>Device</pPort></IntReg>
    )");
    EXPECT_EQ(OlderControlConstant(d.node("GrabTimeout"), Q_SYSTEM_OBJECT), "Q_NULL");
    EXPECT_EQ(OlderControlConstant(other.node("GrabTimeout"), Q_DIGITIZER_OBJECT), "Q_NULL");
    EXPECT_EQ(OlderControlConstant(other.node("FrameCounter"), Q_DIGITIZER_OBJECT), "Q_NULL");
    EXPECT_FALSE(Generate(d.node("GrabTimeout"), Q_SEQUENCE_OBJECT).showOneLine);
    const SnippetTexts k = Generate(d.node("GrabTimeout"));
    EXPECT_EQ(k.oneLineControl,
              "\tQdigControl(QorDigitizer, Q_DIG_GRAB_TIMEOUT + GrabTimeout, 0);\n");
    EXPECT_EQ(k.oneLineInquire,
              "\tQOR_INT GrabTimeout = 0;\n"
              "\tQdigInquire(QorDigitizer, Q_DIG_GRAB_TIMEOUT + GrabTimeout, &GrabTimeout);\n");
    EXPECT_EQ(k.ShownPieces(), (std::vector<std::string>{k.oneLineControl, k.controlBlock,
                                                         k.oneLineInquire, k.inquireBlock}));
}

TEST(SnippetTexts, EnumerationSkeletonIfChainUpToFourEntriesElseSwitch) {
    MemoryDevice d(R"(
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
    // The comment is the entry's display text; a connector description keeps
    // 22 characters from "Connector:" and stops at a line break.
    const SnippetTexts four = Generate(d.node("Four"));
    EXPECT_EQ(four.valueTest,
              "\t\tif (Four == A) // Alpha\n\t\t   {}\n"
              "\t\telse if (Four == B) // B\n\t\t   {}\n"
              "\t\telse if (Four == C) // Pin info: Line 3 Connector: pin 7 of th\n\t\t   {}\n"
              "\t\telse if (Four == D) // Pin info: Connector: 3\n\t\t   {}\n");
    EXPECT_EQ(four.oneLineControl,
              "\tQdigControl(QorDigitizer, Four, C); // Pin info: Line 3 Connector: pin 7 of th\n");
    const SnippetTexts five = Generate(d.node("Five"));
    EXPECT_EQ(five.valueTest, "\t\tswitch (Five\t\t   {\n"
                              "\t\t   case A:  break;  // A\n\t\t   case B:  break;  // B\n"
                              "\t\t   case C:  break;  // C\n\t\t   case D:  break;  // D\n"
                              "\t\t   case E:  break;  // E\n\t\t   }\n");
    EXPECT_EQ(five.ShownPieces().back(), five.valueTest);
}

TEST(SnippetTexts, AccessModeSequencesAndSelectorsChooseTheBlocks) {
    Camera c;
    const SnippetTexts ro = Generate(c.node("DeviceVendorName"));
    EXPECT_EQ(ro.ShownPieces(), std::vector<std::string>{ro.inquireBlock});
    const SnippetTexts wo = Generate(c.node("GevPrimaryApplicationSwitchoverKey"));
    EXPECT_EQ(wo.ShownPieces(), std::vector<std::string>{wo.controlBlock});
    // Unreadable: the value is written as 0 so that the block stays valid code.
    EXPECT_EQ(FirstLine(wo.controlBlock), "\tQOR_INT64 GevPrimaryApplicationSwitchoverKey = 0;\n");
    EXPECT_TRUE(Generate(c.node("BalanceWhiteAuto")).ShownPieces().empty());
    EXPECT_TRUE(Generate(c.node("Root")).ShownPieces().empty());

    // A sequence's lines quote an empty name and have no one-line prefix.
    const SnippetTexts s = Generate(c.node("Width"), Q_SEQUENCE_OBJECT);
    EXPECT_EQ(s.oneLineControl, ", 1280);\n");
    EXPECT_EQ(s.controlBlock, "\tQOR_INT64 WidthInpx = 1280;\n\tQseqControlFeature(QorSequence, "
                              "Q_FEATURE_VALUE, QOR_TEXT(\"\"), Q_TYPE_INT64, &WidthInpx);\n");
    EXPECT_FALSE(s.showOneLine);

    // A selected feature's lines set its selector first.
    const SnippetTexts selector = Generate(c.node("GainSelector"));
    SnippetRequest rq = MakeSnippetRequest(c.node("Gain"), Q_DIGITIZER_OBJECT);
    rq.selector = selector;
    const SnippetTexts gain = GenerateSnippets(c.node("Gain"), rq),
                       alone = Generate(c.node("Gain"));
    EXPECT_EQ(gain.controlBlock, selector.controlBlock + alone.controlBlock);
    EXPECT_EQ(gain.inquireBlock, selector.controlBlock + alone.inquireBlock);
    EXPECT_EQ(gain.oneLineControl, selector.oneLineControl + alone.oneLineControl);
    EXPECT_EQ(gain.oneLineInquire, selector.oneLineControl + alone.oneLineInquire);
    // A command under a selector has no inquire block to join.
    SnippetRequest load = MakeSnippetRequest(c.node("UserSetLoad"), Q_DIGITIZER_OBJECT);
    load.selector = Generate(c.node("UserSetSelector"));
    EXPECT_EQ(GenerateSnippets(c.node("UserSetLoad"), load).inquireBlock, "");
}

// A session step: a comment the value cannot end or continue, then a block
// of its own that sets the selectors first.
TEST(SessionCode, StepsAreCommentedBlocks) {
    Camera c;
    GenApi::CStringPtr(c.node("DeviceUserID"))->SetValue("a\"b\\\n");
    GenApi::CFloatPtr(c.node("Gain"))->SetValue(4.5);
    SessionCode s;
    s.Record(c.node("DeviceUserID"), Q_DIGITIZER_OBJECT);
    s.Record(c.node("Gain"), 0);
    s.Record(c.node("TriggerSoftware"), Q_SEQUENCE_OBJECT);
    EXPECT_EQ(
        s.Text(),
        "\t// 1. DeviceUserID = \"a\\\"b\\\\ \"\n\t{\n"
        "\t\tQdigControlFeature(QorDigitizer, Q_FEATURE_VALUE, QOR_TEXT(\"DeviceUserID\"), "
        "Q_TYPE_STRING, QOR_TEXT(\"a\\\"b\\\\\\n\"));\n\t}\n"
        "\t// 2. Gain = 4.5\n\t{\n"
        "\t\tQdigControlFeature(QorDigitizer, Q_FEATURE_VALUE, QOR_TEXT(\"GainSelector\"), "
        "Q_TYPE_STRING, QOR_TEXT(\"All\"));\n"
        "\t\tQOR_DOUBLE GainIndB = 4.5;\n"
        "\t\tQdigControlFeature(QorDigitizer, Q_FEATURE_VALUE, QOR_TEXT(\"Gain\"), Q_TYPE_DOUBLE, "
        "&GainIndB);\n\t}\n"
        "\t// 3. TriggerSoftware executed (a sequence setting: the library has no feature "
        "calls for it)\n");
}
