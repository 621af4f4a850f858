// Row texts (label, " \t ", value) by type and representation, and the
// tick that rewrites exactly the rows of changed nodes.

#include "browser/value_rendering.h"
#include "browser_support.h"

using namespace quillon::browser;
using quillon_browser_test::Browser;
using quillon_browser_test::Entry;
using quillon_browser_test::InlineMap;

namespace {

// Float digits follow the signed value: three down to 0.001, nine below,
// more below 0.000000001; a negative value is below every threshold.
// clang-format off
const std::pair<const char*, const char*> kFloats[] = {
    {"2.5", "2.500"}, {"1.0", "1.000"}, {"0.0", "0.000"}, {"0.001", "0.001000"},
    {"0.0005", "0.000500000"}, {"0.000005", "0.000005000"}, {"0.000000005", "0.000000005000"},
    {"0.0000000005", "0.000000000500000"}, {"-2.5", "-2.500000000000000"}};
// clang-format on

std::string Values() {
    std::string body = R"(
  <Category Name="Root"><pFeature>Values</pFeature></Category>
  <Category Name="Values"><pFeature>Before</pFeature><pFeature>Broken</pFeature><pFeature>After</pFeature></Category>
  <Integer Name="GevCurrentIPAddress"><Value>3232235521</Value><Representation>Linear</Representation></Integer>
  <Integer Name="GevSCDA"><Value>167772417</Value><Representation>HexNumber</Representation></Integer>
  <Integer Name="GevMACAddress"><Value>0x0011223344AA</Value></Integer>
  <Integer Name="DeclaredIp"><Value>16909060</Value><Representation>IPV4Address</Representation></Integer>
  <Integer Name="DeclaredMac"><Value>0x0A0B0C0D0E0F</Value><Representation>MACAddress</Representation></Integer>
  <Integer Name="Hex"><Value>0xC0FFEE42</Value><Representation>HexNumber</Representation></Integer>
  <Integer Name="NegativeHex"><Value>-1</Value><Representation>HexNumber</Representation></Integer>
  <Integer Name="Big"><Value>9007199254740993</Value></Integer>
  <IntReg Name="WriteOnly"><Address>0x10</Address><Length>4</Length><AccessMode>WO</AccessMode><pPort>Device</pPort></IntReg>
  <Integer Name="Off"><Value>1</Value><pIsAvailable>Zero</pIsAvailable></Integer>
  <Integer Name="Zero"><Value>0</Value></Integer>
  <Boolean Name="Flag"><Value>1</Value></Boolean>
  <Command Name="Go"><pValue>Zero</pValue><CommandValue>1</CommandValue></Command>
  <String Name="Text"><Value>hello</Value></String>
  <Register Name="Block"><Address>0x80</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></Register>
  <Enumeration Name="Mode"><EnumEntry Name="One"><Value>1</Value></EnumEntry><EnumEntry Name="Two"><Value>2</Value>
    </EnumEntry><pValue>ModeReg</pValue></Enumeration>
  <IntReg Name="ModeReg"><Address>0x30</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Endianess>LittleEndian</Endianess></IntReg>
  <Integer Name="Before"><Value>7</Value></Integer>
  <IntSwissKnife Name="Broken"><Formula>(1 +</Formula></IntSwissKnife>
  <Float Name="After"><Value>2.5</Value></Float>)";
    for (size_t i = 0; i < std::size(kFloats); ++i)
        body += "<Float Name=\"F" + std::to_string(i) + "\"><Value>" + kFloats[i].first +
                "</Value></Float>";
    return body;
}

} // namespace

TEST(ValueRendering, RowTextsByTypeRepresentationAndAccess) {
    InlineMap map{Values()};
    for (size_t i = 0; i < std::size(kFloats); ++i) {
        const std::string name = "F" + std::to_string(i);
        EXPECT_EQ(RowText(name, map.node(name.c_str())), name + " \t " + kFloats[i].second);
    }
    // Address features go by name whatever they declare; others by their representation.
    // Without value: write-only, and a boolean (its check icon shows it).
    // clang-format off
    const std::pair<const char*, const char*> texts[] = {
        {"GevCurrentIPAddress", " 192.168.0.1"}, {"GevSCDA", " 10.0.1.1"}, {"GevMACAddress", " 00-11-22-33-44-AA"},
        {"DeclaredIp", " 1.2.3.4"}, {"DeclaredMac", " 0A-0B-0C-0D-0E-0F"}, {"Hex", " 0xC0FFEE42"},
        {"NegativeHex", " 0xFFFFFFFFFFFFFFFF"}, {"Big", " 9007199254740993"}, {"Off", " N/A"},
        {"Go", " Execute()"}, {"Text", " hello"}, {"Block", " ..."}, {"WriteOnly", ""}, {"Flag", ""}};
    // clang-format on
    for (auto [name, value] : texts)
        EXPECT_EQ(RowText(name, map.node(name)), std::string(name) + " \t" + value);
    for (const char* name : {"Values", "EnumEntry_Mode_One"}) // categories and the rest: the label
        EXPECT_EQ(RowText(name, map.node(name)), name);
    EXPECT_THROW(RowText("x", nullptr), GenICam::LogicalErrorException);
}

// Node changes reaching the rows: the changed-node set and the 100 ms tick
// that rewrites exactly the changed rows.
TEST(ValueRendering, AWriteMarksEveryDependentRowAndTheTickRewritesExactlyThose) {
    InlineMap map{R"(<Category Name="Root"><pFeature>Value</pFeature><pFeature>Twice</pFeature>
      <pFeature>Other</pFeature></Category><Integer Name="Value"><Value>0</Value></Integer>
      <IntSwissKnife Name="Twice"><pVariable Name="V">Value</pVariable><Formula>V*2</Formula></IntSwissKnife>
      <Integer Name="Other"><Value>5</Value></Integer>)"};
    Browser browser;
    browser.model.Build({Entry(map.nodeMap())}, kGuru);
    for (const auto& row : browser.model.featureRows()) // so that a rewrite shows
        browser.tree.SetItemText(row.treeItem, "stale");
    GenApi::CIntegerPtr value(map.node("Value"));
    value->SetValue(21);
    value->SetValue(22);
    EXPECT_EQ(browser.changes.Snapshot(),
              (std::set<GenApi::INode*>{map.node("Value"), map.node("Twice")}));
    EXPECT_EQ(browser.timer.starts, 1);
    EXPECT_EQ(browser.timer.lastInterval, 100);
    QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_ENABLE);
    browser.changes.Tick(browser.model);
    EXPECT_EQ(browser.Text("Value") + "|" + browser.Text("Twice") + "|" + browser.Text("Other"),
              "Value \t 22|Twice \t 44|stale");
    EXPECT_TRUE(browser.changes.Snapshot().empty());
    QOR_INT printing = -1; // the tick leaves the library's error printing as it found it
    QappInquire(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, &printing);
    EXPECT_EQ(printing, Q_PRINT_ENABLE);
    // While the rows are rebuilt, changes are ignored.
    browser.changes.Tick(browser.model);
    browser.changes.SetBusy(true);
    value->SetValue(4);
    EXPECT_TRUE(browser.changes.Snapshot().empty());
}
