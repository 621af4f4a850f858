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

} // namespace

TEST(ValueRendering, RowTextsByTypeRepresentationAndAccess) {
    InlineMap map{kValues};
    GenApi::CStringPtr(map.node("Text"))->SetValue("hello");
    GenApi::CIntegerPtr(map.node("ModeReg"))->SetValue(2);
    const std::pair<const char*, const char*> rows[] = {
        // Float digits follow the signed value: below 0.001 nine, negative fifteen.
        {"F2_5", "2.500"},
        {"F1", "1.000"},
        {"F0", "0.000"},
        {"F0_001", "0.001000"},
        {"F0_0005", "0.000500000"},
        {"F5e6", "0.000005000"},
        {"F5e9", "0.000000005000"},
        {"F5e10", "0.000000000500000"},
        {"FNeg", "-2.500000000000000"},
        // Address features go by name whatever they declare; others by their representation.
        {"GevCurrentIPAddress", "192.168.0.1"},
        {"GevSCDA", "10.0.1.1"},
        {"GevMACAddress", "00-11-22-33-44-AA"},
        {"DeclaredIp", "1.2.3.4"},
        {"DeclaredMac", "0A-0B-0C-0D-0E-0F"},
        {"Hex", "0xC0FFEE42"},
        {"NegativeHex", "0xFFFFFFFFFFFFFFFF"},
        {"Plain", "-42"},
        {"Big", "9007199254740993"}, // no detour through double
        {"Off", "N/A"},
        {"Go", "Execute()"},
        {"Text", "hello"},
        {"Block", "..."},
        {"Mode", "Two"},
    };
    for (auto [name, value] : rows)
        EXPECT_EQ(RowText(name, map.node(name)), std::string(name) + " \t " + value);
    // No value: write-only, and a boolean (its check icon shows it).
    for (const char* name : {"WriteOnly", "Flag"})
        EXPECT_EQ(RowText(name, map.node(name)), std::string(name) + " \t");
    for (const char* name : {"Values", "EnumEntry_Mode_One"}) // categories and the rest: the label
        EXPECT_EQ(RowText(name, map.node(name)), name);
    EXPECT_THROW(RowText("x", nullptr), GenICam::LogicalErrorException);
}

TEST(ValueRendering, AFailingReadShowsErrorOnItsRowAloneUntilTheDeviceRecovers) {
    InlineMap map{kValues};
    Browser browser;
    browser.model.Build({Entry(map.nodeMap())}, kGuru);
    EXPECT_EQ(browser.tree.Print(), "Values\n  Before \t 7\n  Broken \t Error\n  After \t 2.500\n");
    EXPECT_TRUE(browser.Row("Broken")->inError);
    EXPECT_FALSE(browser.Row("Before")->inError || browser.Row("After")->inError);
    FeatureRow row;
    row.label = "Mode";
    row.node = map.node("Mode");
    EXPECT_EQ(RenderRow(row), "Mode \t Error"); // the register reads 0: no entry
    EXPECT_TRUE(row.inError);
    GenApi::CIntegerPtr(map.node("ModeReg"))->SetValue(1);
    EXPECT_EQ(RenderRow(row), "Mode \t One");
    EXPECT_FALSE(row.inError);
}

TEST(ValueRendering, SimulatedCameraRows) {
    qorvis::sim::ConnectedSimulatedCamera camera;
    Browser browser;
    browser.model.Build({Entry(camera.nodeMap())}, kGuru);
    for (auto [name, text] : {std::pair{"GevMACAddress", "MAC Address \t 02-54-56-58-00-2A"},
                              {"SensorShutterMode", "Sensor Shutter Mode \t Error"},
                              {"DeviceVendorName", "Vendor Name \t Torvex"},
                              {"SensorLinePeriod", "Sensor Line Period \t 0.000004200"}})
        EXPECT_EQ(browser.Text(name), text);
    EXPECT_TRUE(browser.Row("SensorShutterMode")->inError);
}
