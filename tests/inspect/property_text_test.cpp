// The property box text: templates per type, description fallbacks, value
// rendering by representation, the optional limits pieces, and failures.
#include <gtest/gtest.h>

#include <string>

#include "GenApi/Pointer.h"
#include "GenICam/exceptions.h"
#include "inspect/property_text.h"
#include "property_snippet_fixtures.h"
#include "types/integer_display.h"

using namespace quillon::inspect;
using quillon::browser::ReadPropertyFlags;
using quillon_text_test::Camera;
using quillon_text_test::InlineDevice;

namespace {

std::string Text(GenApi::INode* node) {
    return FeaturePropertyText(node, std::string(node->GetName()), ReadPropertyFlags(node));
}

const char* kIntegers = R"(
  <Integer Name="Hex"><Description>A hex one</Description><Value>171</Value><Min>0</Min><Max>255</Max>
    <Representation>HexNumber</Representation></Integer>
  <Integer Name="GevCurrentIPAddress"><Value>3232235521</Value><Min>0</Min><Max>4294967295</Max></Integer>
  <Integer Name="GevMACAddress"><Value>0x0011223344AA</Value></Integer>
  <Integer Name="Plain"><ToolTip>Tip only</ToolTip><Value>-3</Value><Min>-10</Min><Max>10</Max><Inc>1</Inc></Integer>
  <Integer Name="Stepped"><Value>8</Value><Min>0</Min><Max>64</Max><Inc>4</Inc><Unit>px</Unit></Integer>
  <Integer Name="MaxOnly"><Value>5</Value><Max>9</Max><Unit>ms</Unit></Integer>
  <Integer Name="Both"><ToolTip>The tip</ToolTip><Description>The description</Description><Value>1</Value></Integer>
)";

} // namespace

TEST(PropertyText, IntegerLimitsFollowRepresentationAndFlags) {
    InlineDevice d(kIntegers);
    // Hex limits in hex, description first.
    EXPECT_EQ(Text(d.node("Hex")),
              "A hex one\r\n\r\nName:\tHex\r\nValue:\t0xAB\r\nType:\tInteger\r\n"
              "Minimum:\t0x0\r\nMaximum:\t0xFF\r\n");
    // An address feature by name: dotted value, decimal limits.
    EXPECT_EQ(Text(d.node("GevCurrentIPAddress")),
              "No information available\r\n\r\nName:\tGevCurrentIPAddress\r\nValue:\t192.168.0.1\r\n"
              "Type:\tInteger\r\nMinimum:\t0\r\nMaximum:\t4294967295\r\n");
    EXPECT_EQ(Text(d.node("GevMACAddress")),
              "No information available\r\n\r\nName:\tGevMACAddress\r\nValue:\t00-11-22-33-44-AA\r\nType:\tInteger\r\n");
    // Increment 1 and no unit: neither line; tool tip when there is no description.
    EXPECT_EQ(Text(d.node("Plain")),
              "Tip only\r\n\r\nName:\tPlain\r\nValue:\t-3\r\nType:\tInteger\r\nMinimum:\t-10\r\nMaximum:\t10\r\n");
    // Increment and unit lines end in a bare "\n".
    EXPECT_EQ(Text(d.node("Stepped")), "No information available\r\n\r\nName:\tStepped\r\nValue:\t8\r\nType:\tInteger\r\n"
                                       "Minimum:\t0\r\nMaximum:\t64\r\nIncrement:\t4\nUnit:\tpx\n");
    // A maximum without a minimum shows neither limit.
    EXPECT_EQ(Text(d.node("MaxOnly")),
              "No information available\r\n\r\nName:\tMaxOnly\r\nValue:\t5\r\nType:\tInteger\r\nUnit:\tms\n");
    EXPECT_EQ(Text(d.node("Both")).substr(0, 19), "The description\r\n\r\n");
}

TEST(PropertyText, IntegerValueFormats) {
    using quillon::browser::DisplayRepresentation;
    using quillon::browser::FormatIntegerValue;
    EXPECT_EQ(FormatIntegerValue(0xC0A80001, GenApi::IPV4Address), "192.168.0.1");
    EXPECT_EQ(FormatIntegerValue(0x7FFFFFFFC0A80001, GenApi::IPV4Address), "192.168.0.1"); // the four low bytes
    EXPECT_EQ(FormatIntegerValue(0x0211223344AA, GenApi::MACAddress), "02-11-22-33-44-AA");
    EXPECT_EQ(FormatIntegerValue(-1, GenApi::HexNumber), "0xFFFFFFFFFFFFFFFF");
    EXPECT_EQ(FormatIntegerValue(-9000000000, GenApi::Linear), "-9000000000");
    EXPECT_EQ(DisplayRepresentation("GevSCDA", GenApi::HexNumber), GenApi::IPV4Address);
    EXPECT_EQ(DisplayRepresentation("GevMACAddress", GenApi::Linear), GenApi::MACAddress);
    EXPECT_EQ(DisplayRepresentation("Width", GenApi::PureNumber), GenApi::PureNumber);
}

TEST(PropertyText, NoInformationTextDiffersByType) {
    InlineDevice d(R"(
      <Integer Name="I"><Value>1</Value></Integer>
      <Boolean Name="B"><Value>1</Value></Boolean>
      <Float Name="F"><Value>1.5</Value></Float>
      <String Name="S"><Value>abc</Value></String>
      <Command Name="C"><Value>0</Value><CommandValue>1</CommandValue></Command>
      <Enumeration Name="E"><EnumEntry Name="A"><Description>Entry A</Description><Value>0</Value></EnumEntry>
        <Value>0</Value></Enumeration>
      <Register Name="R"><Address>0x100</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></Register>
    )");
    EXPECT_EQ(Text(d.node("I")), "No information available\r\n\r\nName:\tI\r\nValue:\t1\r\nType:\tInteger\r\n");
    EXPECT_EQ(Text(d.node("B")), "No information available.\r\n\r\nName:\tB\r\nValue:\tTrue\r\nType:\tBoolean\n");
    EXPECT_EQ(Text(d.node("F")), "No information available.\r\n\r\nName:\tF\r\nValue:\t1.500000\r\nType:\tDouble\r\n\n");
    EXPECT_EQ(Text(d.node("S")), "No information available.\r\n\r\nName:\tS\r\nValue:\tabc\r\nType:\tString\n");
    EXPECT_EQ(Text(d.node("C")), "No information available.\r\n\r\nName:\tC\r\nType:\tCommand\n");
    EXPECT_EQ(Text(d.node("E")),
              "No information available.\r\n\r\nName:\tE\r\nValue:\tA\r\nDescription:\tEntry A\r\nType:\tEnumeration\n");
    EXPECT_EQ(Text(d.node("R")), "No information available.\r\n\r\nName:\tR\r\nType:\tRegister\n");
}

TEST(PropertyText, FloatLimitsAndIncrement) {
    InlineDevice d(R"(
      <Float Name="Gain"><Value>-2.5</Value><Min>-16</Min><Max>16</Max><Inc>0.25</Inc><Unit>dB</Unit></Float>
      <Float Name="Unit1"><Value>3</Value><Min>0</Min><Inc>1.0</Inc><Unit>s</Unit></Float>
    )");
    EXPECT_EQ(Text(d.node("Gain")), "No information available.\r\n\r\nName:\tGain\r\nValue:\t-2.500000\r\nType:\tDouble\r\n"
                                    "Minimum:\t-16.000000\r\nMaximum:\t16.000000\r\nIncrement:\t0.250000\nUnit:\tdB\n\n");
    // Minimum without maximum: no limits; an increment of 1.0 is left out like an integer's 1.
    EXPECT_EQ(Text(d.node("Unit1")),
              "No information available.\r\n\r\nName:\tUnit1\r\nValue:\t3.000000\r\nType:\tDouble\r\nUnit:\ts\n\n");
}

TEST(PropertyText, SimulatedCameraFeatures) {
    Camera c;
    EXPECT_EQ(Text(c.node("Width")),
              "Width of the image in pixels. Locked while the transport layer parameters are locked or an acquisition "
              "runs.\r\n\r\nName:\tWidth\r\nValue:\t1280\r\nType:\tInteger\r\nMinimum:\t16\r\nMaximum:\t1280\r\n"
              "Increment:\t16\nUnit:\tpx\n");
    EXPECT_EQ(Text(c.node("GevCurrentIPAddress")),
              "IP address the device uses now.\r\n\r\nName:\tGevCurrentIPAddress\r\nValue:\t192.168.0.1\r\n"
              "Type:\tInteger\r\n");
    EXPECT_EQ(Text(c.node("TorvexScratch")), "A little-endian register free for tests of the link.\r\n\r\n"
                                             "Name:\tTorvexScratch\r\nValue:\t0xC0FFEE42\r\nType:\tInteger\r\n");
    EXPECT_EQ(Text(c.node("PixelFormat")), "Format of the pixels in the transmitted image.\r\n\r\nName:\tPixelFormat\r\n"
                                           "Value:\tMono8\r\nDescription:\t8 bits per pixel.\r\nType:\tEnumeration\n");
    EXPECT_EQ(Text(c.node("BlackLevel")),
              "Offset added to every pixel, in digital numbers.\r\n\r\nName:\tBlackLevel\r\nValue:\t-2.500000\r\n"
              "Type:\tDouble\r\nMinimum:\t-16.000000\r\nMaximum:\t16.000000\r\nIncrement:\t0.250000\nUnit:\tDN\n\n");
    EXPECT_EQ(Text(c.node("DeviceVendorName")),
              "Name of the manufacturer of the device.\r\n\r\nName:\tDeviceVendorName\r\nValue:\tTorvex\r\nType:\tString\n");
    EXPECT_EQ(Text(c.node("ReverseX")),
              "Mirrors the image horizontally.\r\n\r\nName:\tReverseX\r\nValue:\tFalse\r\nType:\tBoolean\n");
    GenApi::CBooleanPtr(c.node("ReverseX"))->SetValue(true);
    EXPECT_NE(Text(c.node("ReverseX")).find("Value:\tTrue\r\n"), std::string::npos);
    EXPECT_EQ(Text(c.node("LUTValueAll")),
              "The whole look-up table, one byte per input value.\r\n\r\nName:\tLUTValueAll\r\nType:\tRegister\n");
    EXPECT_EQ(Text(c.node("TriggerSoftware")),
              "Generates a software trigger.\r\n\r\nName:\tTriggerSoftware\r\nType:\tCommand\n");
    // The row's own name is what the text shows.
    GenApi::INode* width = c.node("Width");
    EXPECT_NE(FeaturePropertyText(width, "Cam:Width", ReadPropertyFlags(width)).find("Name:\tCam:Width\r\n"),
              std::string::npos);
    // A write-only feature has an empty value and no error.
    GenApi::INode* key = c.node("GevPrimaryApplicationSwitchoverKey");
    EXPECT_NE(Text(key).find("Value:\t\r\nType:\tInteger\r\n"), std::string::npos) << Text(key);
}

TEST(PropertyText, EnumerationValueNotListedShowsErrorAndDescription) {
    Camera c;
    GenApi::INode* node = c.node("SensorShutterMode");
    std::string expectedDescription;
    try {
        GenApi::CEnumerationPtr(node)->GetCurrentEntry();
        FAIL() << "the camera's shutter mode should hold a value no entry lists";
    } catch (const GenICam::GenericException& e) {
        expectedDescription = e.GetDescription();
    }
    ASSERT_FALSE(expectedDescription.empty());
    EXPECT_EQ(Text(node), "Shutter mode of the sensor.\r\n\r\nName:\tSensorShutterMode\r\n"
                          "Value:\tError, inquired value not listed in XML.\r\nDescription:\t" +
                              expectedDescription + "\r\nType:\tEnumeration\n");
}

TEST(PropertyText, EveryCameraFeatureHasATypedTextAndCategoriesNone) {
    Camera c;
    GenApi::NodeList_t nodes;
    c.camera.nodeMap()->GetNodes(nodes);
    int typed = 0;
    for (GenApi::INode* node : nodes) {
        std::string name(node->GetName());
        std::string text;
        ASSERT_NO_THROW(text = Text(node)) << name;
        GenApi::EInterfaceType type = node->GetPrincipalInterfaceType();
        const char* typeLine = nullptr;
        switch (type) {
        case GenApi::intfIInteger: typeLine = "Type:\tInteger\r\n"; break;
        case GenApi::intfIBoolean: typeLine = "Type:\tBoolean\n"; break;
        case GenApi::intfIEnumeration: typeLine = "Type:\tEnumeration\n"; break;
        case GenApi::intfICommand: typeLine = "Type:\tCommand\n"; break;
        case GenApi::intfIFloat: typeLine = "Type:\tDouble\r\n"; break;
        case GenApi::intfIString: typeLine = "Type:\tString\n"; break;
        case GenApi::intfIRegister: typeLine = "Type:\tRegister\n"; break;
        default: break;
        }
        if (!typeLine) {
            EXPECT_EQ(text, "") << name;
            continue;
        }
        ++typed;
        EXPECT_NE(text.find("\r\n\r\nName:\t" + name + "\r\n"), std::string::npos) << name;
        EXPECT_NE(text.find(typeLine), std::string::npos) << name;
        EXPECT_EQ(text.find("Error:"), std::string::npos) << name << ": " << text;
        // Every camera feature has a tool tip: the fixed text never appears.
        if (node->IsFeature()) {
            EXPECT_EQ(text.find("No information available"), std::string::npos) << name;
        }
    }
    EXPECT_GT(typed, 100);
}

TEST(PropertyText, BoxJoinsTypedTextHeadingAndPieces) {
    EXPECT_EQ(PropertyBoxText("T", {"a\n", "b\n"}), "T\r\n\r\nQOR API:\r\n\r\na\n\r\n\r\nb\n\r\n\r\n");
    EXPECT_EQ(PropertyBoxText("T", {}), "T\r\n\r\nQOR API:\r\n\r\n");
    EXPECT_EQ(PropertyBoxText("", {"a\n"}), "");
}
