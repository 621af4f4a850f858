// Which editor a row gets and what it holds, over inline descriptions whose
// access modes, ranges and representations are chosen per case.
#include <gtest/gtest.h>

#include <cstdint>

#include "browser/inplace_editing.h"
#include "browser_support.h"

using namespace quillon::browser;
using quillon_browser_test::InlineMap;

namespace {

const char* const kFeatures = R"(
  <Category Name="Root"><pFeature>Width</pFeature></Category>
  <Integer Name="Width"><pValue>WidthReg</pValue><Min>16</Min><Max>4096</Max><Inc>16</Inc></Integer>
  <IntReg Name="WidthReg"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Endianess>BigEndian</Endianess></IntReg>
  <Integer Name="Huge"><Value>5</Value><Min>-9223372036854775808</Min><Max>9223372036854775807</Max></Integer>
  <Integer Name="Address"><Value>3232235521</Value><Representation>IPV4Address</Representation></Integer>
  <Integer Name="Mask"><Value>255</Value><Representation>HexNumber</Representation></Integer>
  <Integer Name="GevCurrentIPAddress"><Value>1</Value></Integer>
  <Integer Name="Locked"><Value>1</Value><ImposedAccessMode>RO</ImposedAccessMode></Integer>
  <Float Name="Gain"><Value>2.5</Value><Min>0</Min><Max>24</Max></Float>
  <String Name="UserId"><Value>cam one</Value></String>
  <Enumeration Name="Mode"><EnumEntry Name="Off"><Value>0</Value></EnumEntry>
    <EnumEntry Name="Gone"><Value>1</Value><pIsAvailable>Zero</pIsAvailable></EnumEntry>
    <EnumEntry Name="On"><Value>2</Value></EnumEntry><pValue>ModeValue</pValue></Enumeration>
  <Integer Name="ModeValue"><Value>2</Value></Integer>
  <Integer Name="Zero"><Value>0</Value></Integer>
  <Boolean Name="Flip"><pValue>FlipValue</pValue></Boolean>
  <Integer Name="FlipValue"><Value>1</Value></Integer>
  <Boolean Name="Status"><pValue>FlipValue</pValue><ImposedAccessMode>RO</ImposedAccessMode></Boolean>
  <Command Name="Start"><pValue>StartValue</pValue><CommandValue>1</CommandValue></Command>
  <Integer Name="StartValue"><Value>0</Value></Integer>
  <Register Name="Table"><Address>16</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></Register>
  <Category Name="Group"><pFeature>Width</pFeature></Category>
)";

FeatureRow Row(InlineMap& device, const char* name) {
    FeatureRow row;
    row.node = device.node(name);
    row.label = name;
    row.context.nodeMap = device.nodeMap();
    return row;
}

} // namespace

TEST(InPlaceEditing, EachFeatureKindGetsItsEditor) {
    InlineMap device(kFeatures);
    GenApi::CIntegerPtr(device.node("Width"))->SetValue(640);
    // Addresses and bit patterns are typed in their own notation; what cannot
    // be written gets none.
    const std::pair<const char*, EditorKind> kinds[] = {
        {"Address", EditorKind::Edit},  {"GevCurrentIPAddress", EditorKind::Edit},
        {"Mask", EditorKind::Edit},     {"Gain", EditorKind::Edit},
        {"Locked", EditorKind::None},   {"Status", EditorKind::None},
        {"Group", EditorKind::None},    {"Flip", EditorKind::Check},
        {"Start", EditorKind::Command}, {"Table", EditorKind::Register},
        {"Mode", EditorKind::Combo},    {"Width", EditorKind::Integer}};
    for (auto [name, kind] : kinds)
        EXPECT_EQ(PlanEditor(Row(device, name)).kind, kind) << name;
    EXPECT_EQ(PlanEditor(FeatureRow{}).kind, EditorKind::None);

    const EditorPlan width = PlanEditor(Row(device, "Width"));
    EXPECT_EQ(std::vector({width.value, width.minimum, width.maximum, width.increment}),
              std::vector<int64_t>({640, 16, 4096, 16}));
    EXPECT_TRUE(width.slider);
    EXPECT_EQ(width.text, "640");
    // A full 64-bit range has too many steps for a slider, and does not overflow.
    const EditorPlan huge = PlanEditor(Row(device, "Huge"));
    EXPECT_EQ(huge.kind, EditorKind::Integer);
    EXPECT_FALSE(huge.slider);
    EXPECT_EQ(PlanEditor(Row(device, "Address")).text, "192.168.0.1");
    EXPECT_EQ(PlanEditor(Row(device, "Gain")).text.substr(0, 3), "2.5");
    EXPECT_EQ(PlanEditor(Row(device, "UserId")).text, "cam one");
    // Only available entries are offered; the current one is marked.
    const EditorPlan mode = PlanEditor(Row(device, "Mode"));
    EXPECT_EQ(mode.choices, (std::vector<std::string>{"Off", "On"}));
    EXPECT_EQ(mode.current, 1);
    EXPECT_TRUE(PlanEditor(Row(device, "Flip")).checked);
}

TEST(InPlaceEditing, SliderStepsByTheIncrementWithinTheRange) {
    EditorPlan plan;
    plan.kind = EditorKind::Integer;
    plan.minimum = 16;
    plan.maximum = 4096;
    plan.increment = 16;
    plan.slider = true;
    EXPECT_EQ(SliderPosition(plan, 16), 0);
    EXPECT_EQ(SliderPosition(plan, 640), 39);
    EXPECT_EQ(SliderValue(plan, 39), 640);
    EXPECT_EQ(SliderPosition(plan, 99999), SliderPosition(plan, 4096)); // clamped
    EXPECT_EQ(SliderValue(plan, 100000), 4096);
    EXPECT_EQ(SliderValue(plan, -3), 16);
    plan.minimum = INT64_MIN; // near the type's end
    plan.maximum = INT64_MIN + 10;
    plan.increment = 1;
    EXPECT_EQ(SliderPosition(plan, INT64_MIN + 4), 4);
    EXPECT_EQ(SliderValue(plan, 4), INT64_MIN + 4);
}

TEST(InPlaceEditing, ToggleWritesTheOppositeValueOrSaysWhyNot) {
    InlineMap device(kFeatures);
    EXPECT_EQ(ToggleBoolean(Row(device, "Flip")), "");
    EXPECT_FALSE(GenApi::CBooleanPtr(device.node("Flip"))->GetValue());
    EXPECT_EQ(ToggleBoolean(Row(device, "Flip")), "");
    EXPECT_TRUE(GenApi::CBooleanPtr(device.node("Flip"))->GetValue());
    EXPECT_NE(ToggleBoolean(Row(device, "Status")), ""); // read-only: not written
    EXPECT_TRUE(GenApi::CBooleanPtr(device.node("Status"))->GetValue());
}
