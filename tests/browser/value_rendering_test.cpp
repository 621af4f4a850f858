// Row texts: label, " \t ", value, by node type, over real node maps.
#include <gtest/gtest.h>

#include "browser/value_rendering.h"
#include "browser_support.h"
#include "sim/sim_camera.h"

using namespace quillon::browser;
using quillon_browser_test::Browser;
using quillon_browser_test::Entry;
using quillon_browser_test::InlineMap;

namespace {

const char* const kValues = R"(
  <Category Name="Root"><pFeature>Values</pFeature></Category>
  <Category Name="Values">
    <pFeature>Before</pFeature><pFeature>Broken</pFeature><pFeature>After</pFeature>
  </Category>
  <Float Name="F2_5"><Value>2.5</Value></Float>
  <Float Name="F0"><Value>0.0</Value></Float>
  <Float Name="F0_0005"><Value>0.0005</Value></Float>
  <Float Name="FNeg"><Value>-2.5</Value></Float>
  <Float Name="F1"><Value>1.0</Value></Float>
  <Float Name="F0_001"><Value>0.001</Value></Float>
  <Float Name="F5e6"><Value>0.000005</Value></Float>
  <Float Name="F5e9"><Value>0.000000005</Value></Float>
  <Float Name="F5e10"><Value>0.0000000005</Value></Float>
  <Integer Name="GevCurrentIPAddress"><Value>3232235521</Value><Representation>Linear</Representation></Integer>
  <Integer Name="GevSCDA"><Value>167772417</Value><Representation>HexNumber</Representation></Integer>
  <Integer Name="GevMACAddress"><Value>0x0011223344AA</Value></Integer>
  <Integer Name="DeclaredIp"><Value>16909060</Value><Representation>IPV4Address</Representation></Integer>
  <Integer Name="DeclaredMac"><Value>0x0A0B0C0D0E0F</Value><Representation>MACAddress</Representation></Integer>
  <Integer Name="Hex"><Value>0xC0FFEE42</Value><Representation>HexNumber</Representation></Integer>
  <Integer Name="NegativeHex"><Value>-1</Value><Representation>HexNumber</Representation></Integer>
  <Integer Name="Plain"><Value>-42</Value></Integer>
  <Integer Name="Big"><Value>9007199254740993</Value></Integer>
  <IntReg Name="WriteOnly"><Address>0x10</Address><Length>4</Length><AccessMode>WO</AccessMode>
    <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Integer Name="Off"><Value>1</Value><pIsAvailable>Zero</pIsAvailable></Integer>
  <Integer Name="Zero"><Value>0</Value></Integer>
  <Boolean Name="Flag"><Value>1</Value></Boolean>
  <Command Name="Go"><pValue>GoReg</pValue><CommandValue>1</CommandValue></Command>
  <IntReg Name="GoReg"><Address>0x20</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <StringReg Name="Text"><Address>0x40</Address><Length>16</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></StringReg>
  <Register Name="Block"><Address>0x80</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></Register>
  <Enumeration Name="Mode">
    <EnumEntry Name="One"><DisplayName>The first</DisplayName><Value>1</Value></EnumEntry>
    <EnumEntry Name="Two"><Value>2</Value></EnumEntry>
    <pValue>ModeReg</pValue>
  </Enumeration>
  <IntReg Name="ModeReg"><Address>0x30</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Integer Name="Before"><Value>7</Value></Integer>
  <IntSwissKnife Name="Broken"><Formula>(1 +</Formula></IntSwissKnife>
  <Float Name="After"><Value>2.5</Value></Float>
)";

struct Rendering : ::testing::Test {
    InlineMap map{kValues};
    std::string Text(const char* name) { return RowText(name, map.node(name)); }
};

} // namespace

TEST_F(Rendering, FloatDigitsFollowTheSignedValue) {
    EXPECT_EQ(Text("F2_5"), "F2_5 \t 2.500");
    EXPECT_EQ(Text("F1"), "F1 \t 1.000");
    EXPECT_EQ(Text("F0"), "F0 \t 0.000");
    EXPECT_EQ(Text("F0_001"), "F0_001 \t 0.001000");
    // Below 0.001 the next threshold, 0.000001, applies: nine digits.
    EXPECT_EQ(Text("F0_0005"), "F0_0005 \t 0.000500000");
    EXPECT_EQ(Text("F5e6"), "F5e6 \t 0.000005000");
    EXPECT_EQ(Text("F5e9"), "F5e9 \t 0.000000005000");
    EXPECT_EQ(Text("F5e10"), "F5e10 \t 0.000000000500000");
    // A negative value is below every threshold: fifteen digits.
    EXPECT_EQ(Text("FNeg"), "FNeg \t -2.500000000000000");
}

TEST_F(Rendering, AddressFeaturesGoByNameWhateverTheirRepresentation) {
    EXPECT_EQ(Text("GevCurrentIPAddress"), "GevCurrentIPAddress \t 192.168.0.1"); // declared Linear
    EXPECT_EQ(Text("GevSCDA"), "GevSCDA \t 10.0.1.1");                           // declared HexNumber
    EXPECT_EQ(Text("GevMACAddress"), "GevMACAddress \t 00-11-22-33-44-AA");      // declares nothing
    // Other names follow the declared representation.
    EXPECT_EQ(Text("DeclaredIp"), "DeclaredIp \t 1.2.3.4");
    EXPECT_EQ(Text("DeclaredMac"), "DeclaredMac \t 0A-0B-0C-0D-0E-0F");
}

TEST_F(Rendering, IntegerNumbers) {
    EXPECT_EQ(Text("Hex"), "Hex \t 0xC0FFEE42");
    EXPECT_EQ(Text("NegativeHex"), "NegativeHex \t 0xFFFFFFFFFFFFFFFF");
    EXPECT_EQ(Text("Plain"), "Plain \t -42");
    EXPECT_EQ(Text("Big"), "Big \t 9007199254740993"); // no detour through double
}

TEST_F(Rendering, OtherTypesAndAccessModes) {
    EXPECT_EQ(Text("WriteOnly"), "WriteOnly \t");
    EXPECT_EQ(Text("Off"), "Off \t N/A");
    EXPECT_EQ(Text("Flag"), "Flag \t");
    EXPECT_EQ(Text("Go"), "Go \t Execute()");
    {
        GenApi::CStringPtr text(map.node("Text"));
        text->SetValue("hello");
    }
    EXPECT_EQ(Text("Text"), "Text \t hello");
    EXPECT_EQ(Text("Block"), "Block \t ...");
    GenApi::CIntegerPtr(map.node("ModeReg"))->SetValue(2);
    EXPECT_EQ(Text("Mode"), "Mode \t Two");
    EXPECT_EQ(Text("Values"), "Values"); // categories keep their label only
    EXPECT_EQ(Text("EnumEntry_Mode_One"), "EnumEntry_Mode_One");
    EXPECT_THROW(RowText("x", nullptr), GenICam::LogicalErrorException);
}

TEST_F(Rendering, AFailingReadShowsErrorOnItsRowAlone) {
    Browser browser;
    browser.model.Build({Entry(map.nodeMap())}, kGuru);
    EXPECT_EQ(browser.tree.Print(), "Values\n  Before \t 7\n  Broken \t Error\n  After \t 2.500\n");
    EXPECT_TRUE(browser.Row("Broken")->inError);
    EXPECT_FALSE(browser.Row("Before")->inError);
    EXPECT_FALSE(browser.Row("After")->inError);
}

TEST_F(Rendering, AnEnumerationOutsideItsEntriesIsAnErrorUntilTheDeviceRecovers) {
    FeatureRow row;
    row.label = "Mode";
    row.node = map.node("Mode");
    EXPECT_EQ(RenderRow(row), "Mode \t Error"); // register reads 0: no entry
    EXPECT_TRUE(row.inError);
    GenApi::CIntegerPtr(map.node("ModeReg"))->SetValue(1);
    EXPECT_EQ(RenderRow(row), "Mode \t One");
    EXPECT_FALSE(row.inError);
}

TEST(SimulatedCameraRows, DeviceValuesRender) {
    qorvis::sim::ConnectedSimulatedCamera camera;
    Browser browser;
    browser.model.Build({Entry(camera.nodeMap())}, kGuru);
    EXPECT_EQ(browser.Text("GevCurrentIPAddress"), "Current IP Address \t 192.168.0.1");
    EXPECT_EQ(browser.Text("GevMACAddress"), "MAC Address \t 02-54-56-58-00-2A");
    EXPECT_EQ(browser.Text("BlackLevel"), "Black Level \t -2.500000000000000");
    EXPECT_EQ(browser.Text("SensorShutterMode"), "Sensor Shutter Mode \t Error");
    EXPECT_TRUE(browser.Row("SensorShutterMode")->inError);
    EXPECT_EQ(browser.Text("GevPrimaryApplicationSwitchoverKey"), "Primary Application Switchover Key \t");
    EXPECT_EQ(browser.Text("TriggerSoftware"), "Trigger Software \t Execute()");
    EXPECT_EQ(browser.Text("LUTValueAll"), "LUT Value All \t ...");
    EXPECT_EQ(browser.Text("DeviceVendorName"), "Vendor Name \t Torvex");
    EXPECT_EQ(browser.Text("SensorLinePeriod"), "Sensor Line Period \t 0.000004200");
}
