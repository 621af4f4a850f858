// The property box text exactly as the box shows it, per type and
// representation, with its optional lines and the box around it.

#include "GenICam/exceptions.h"
#include "inspect/property_text.h"
#include "inspect_support.h"
#include "types/integer_display.h"

using namespace quillon::inspect;
using quillon::browser::ReadPropertyFlags;

namespace {

std::string Text(GenApi::INode* node) {
    return FeaturePropertyText(node, std::string(node->GetName()), ReadPropertyFlags(node));
}

} // namespace

TEST(PropertyText, ExactTextPerTypeAndRepresentation) {
    quillon_inspect_test::MemoryDevice d(R"(
      <Integer Name="Hex"><Description>A hex one</Description><Value>171</Value><Min>0</Min><Max>255</Max>
        <Representation>HexNumber</Representation></Integer>
      <Integer Name="GevCurrentIPAddress"><Value>3232235521</Value><Min>0</Min><Max>4294967295</Max></Integer>
      <Integer Name="Plain"><ToolTip>Tip only</ToolTip><Value>-3</Value><Min>-10</Min><Max>10</Max><Inc>1</Inc></Integer>
      <Integer Name="Stepped"><Value>8</Value><Min>0</Min><Max>64</Max><Inc>4</Inc><Unit>px</Unit></Integer>
      <Integer Name="MaxOnly"><Value>5</Value><Max>9</Max><Unit>ms</Unit></Integer>
      <Integer Name="Both"><ToolTip>The tip</ToolTip><Description>The description</Description><Value>1</Value></Integer>
      <Boolean Name="B"><Value>1</Value></Boolean>
      <Float Name="Gain"><Value>-2.5</Value><Min>-16</Min><Max>16</Max><Inc>0.25</Inc><Unit>dB</Unit></Float>
      <Float Name="MinOnly"><Value>3</Value><Min>0</Min><Inc>1.0</Inc><Unit>s</Unit></Float>
      <String Name="S"><Value>abc</Value></String>
      <Command Name="C"><Value>0</Value><CommandValue>1</CommandValue></Command>
      <Enumeration Name="E"><EnumEntry Name="A"><Description>Entry A</Description><Value>0</Value></EnumEntry>
        <Value>0</Value></Enumeration>
      <Register Name="R"><Address>0x100</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></Register>
    )");
    const char* none = "No information available\r\n\r\nName:\t";
    const char* noneDot = "No information available.\r\n\r\nName:\t";
    const std::pair<const char*, std::string> rows[] = {
        // Hex limits in hex, the description first.
        {"Hex", "A hex "
                "one\r\n\r\nName:\tHex\r\nValue:\t0xAB\r\nType:\tInteger\r\nMinimum:"
                "\t0x0\r\nMaximum:\t0xFF\r\n"},
        // An address by its name: dotted value, decimal limits.
        {"GevCurrentIPAddress",
         none + std::string("GevCurrentIPAddress\r\nValue:\t192.168.0.1\r\nType:\t"
                            "Integer\r\nMinimum:\t0\r\nMaximum:\t4294967295\r\n")},
        // The tool tip without a description; an increment of 1 is left out.
        {"Plain", "Tip "
                  "only\r\n\r\nName:\tPlain\r\nValue:\t-3\r\nType:\tInteger\r\nMinimum:\t-"
                  "10\r\nMaximum:\t10\r\n"},
        // Increment and unit lines end in a bare "\n".
        {"Stepped",
         none +
             std::string("Stepped\r\nValue:\t8\r\nType:\tInteger\r\nMinimum:\t0\r\nMaximum:\t64\r\n"
                         "Increment:\t4\nUnit:\tpx\n")},
        // A maximum without a minimum shows neither limit.
        {"MaxOnly", none + std::string("MaxOnly\r\nValue:\t5\r\nType:\tInteger\r\nUnit:\tms\n")},
        {"Both", "The description\r\n\r\nName:\tBoth\r\nValue:\t1\r\nType:\tInteger\r\n"},
        {"B", noneDot + std::string("B\r\nValue:\tTrue\r\nType:\tBoolean\n")},
        {"Gain",
         noneDot +
             std::string("Gain\r\nValue:\t-2.500000\r\nType:\tDouble\r\nMinimum:\t-16.000000\r\n"
                         "Maximum:\t16.000000\r\nIncrement:\t0.250000\nUnit:\tdB\n\n")},
        // A minimum without a maximum: no limits; an increment of 1.0 is left out.
        {"MinOnly",
         noneDot + std::string("MinOnly\r\nValue:\t3.000000\r\nType:\tDouble\r\nUnit:\ts\n\n")},
        {"S", noneDot + std::string("S\r\nValue:\tabc\r\nType:\tString\n")},
        {"C", noneDot + std::string("C\r\nType:\tCommand\n")},
        {"E",
         noneDot + std::string("E\r\nValue:\tA\r\nDescription:\tEntry A\r\nType:\tEnumeration\n")},
        {"R", noneDot + std::string("R\r\nType:\tRegister\n")},
    };
    for (const auto& [name, text] : rows)
        EXPECT_EQ(Text(d.node(name)), text) << name;

    // The camera's shutter mode holds a value no entry lists.
    quillon_inspect_test::Camera c;
    GenApi::INode* shutter = c.node("SensorShutterMode");
    std::string description;
    try {
        GenApi::CEnumerationPtr(shutter)->GetCurrentEntry();
    } catch (const GenICam::GenericException& e) {
        description = e.GetDescription();
    }
    ASSERT_FALSE(description.empty());
    EXPECT_EQ(Text(shutter), "Shutter mode of the sensor.\r\n\r\nName:\tSensorShutterMode\r\n"
                             "Value:\tError, inquired value not listed in XML.\r\nDescription:\t" +
                                 description + "\r\nType:\tEnumeration\n");
    // A write-only value is empty.
    EXPECT_NE(
        Text(c.node("GevPrimaryApplicationSwitchoverKey")).find("Value:\t\r\nType:\tInteger\r\n"),
        std::string::npos);

    EXPECT_EQ(PropertyBoxText("T", {"a\n", "b\n"}),
              "T\r\n\r\nQOR API:\r\n\r\na\n\r\n\r\nb\n\r\n\r\n");
    EXPECT_EQ(PropertyBoxText("", {"a\n"}), "");
}
