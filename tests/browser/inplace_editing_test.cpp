// Which editor a row gets and what it holds where the window's tests do not
// reach: addresses and bit patterns typed as text, ranges too wide for a
// slider, unavailable entries, read-only rows; the slider's arithmetic at the
// ends of the 64-bit range; toggling a boolean.
#include <gtest/gtest.h>

#include <cstdint>

#include "browser/inplace_editing.h"
#include "browser_support.h"

using namespace quillon::browser;

TEST(InPlaceEditing, EditorsFollowTypeRepresentationRangeAndAccess) {
    quillon_browser_test::InlineMap device(
        R"(<Category Name="Root"/><Integer Name="Zero"><Value>0</Value></Integer>
      <Integer Name="Huge"><Value>5</Value><Min>-9223372036854775808</Min><Max>9223372036854775807</Max></Integer>
      <Integer Name="Address"><Value>3232235521</Value><Representation>IPV4Address</Representation></Integer>
      <Integer Name="Mask"><Value>255</Value><Representation>HexNumber</Representation></Integer>
      <Integer Name="GevCurrentIPAddress"><Value>1</Value></Integer>
      <Integer Name="Locked"><Value>1</Value><ImposedAccessMode>RO</ImposedAccessMode></Integer>
      <Enumeration Name="Mode"><EnumEntry Name="Off"><Value>0</Value></EnumEntry>
        <EnumEntry Name="Gone"><Value>1</Value><pIsAvailable>Zero</pIsAvailable></EnumEntry>
        <EnumEntry Name="On"><Value>2</Value></EnumEntry><Value>2</Value></Enumeration>
      <Boolean Name="Flip"><pValue>FlipValue</pValue></Boolean><Integer Name="FlipValue"><Value>1</Value></Integer>
      <Boolean Name="Status"><pValue>FlipValue</pValue><ImposedAccessMode>RO</ImposedAccessMode></Boolean>)");
    const auto row = [&](const char* name) {
        FeatureRow r;
        r.node = device.node(name);
        r.label = name;
        return r;
    };
    for (auto [name, kind, text] : {std::tuple{"Address", EditorKind::Edit, "192.168.0.1"},
                                    {"GevCurrentIPAddress", EditorKind::Edit, "0.0.0.1"},
                                    {"Mask", EditorKind::Edit, "0xFF"},
                                    {"Locked", EditorKind::None, ""},
                                    {"Status", EditorKind::None, ""},
                                    {"Root", EditorKind::None, ""},
                                    {"Huge", EditorKind::Integer, "5"}}) {
        EXPECT_EQ(PlanEditor(row(name)).kind, kind) << name;
        EXPECT_EQ(PlanEditor(row(name)).text, text) << name;
    }
    EXPECT_EQ(PlanEditor(FeatureRow{}).kind, EditorKind::None);
    EXPECT_FALSE(PlanEditor(row("Huge")).slider); // too many steps, and no overflow
    // Only available entries are offered; the current one is marked.
    EXPECT_EQ(PlanEditor(row("Mode")).choices, (std::vector<std::string>{"Off", "On"}));
    EXPECT_EQ(PlanEditor(row("Mode")).current, 1);
    EXPECT_TRUE(PlanEditor(row("Flip")).checked);
    EXPECT_EQ(ToggleBoolean(row("Flip")), "");
    EXPECT_FALSE(GenApi::CBooleanPtr(device.node("Flip"))->GetValue());
    EXPECT_NE(ToggleBoolean(row("Status")), ""); // read-only: not written, and why
    EXPECT_FALSE(GenApi::CBooleanPtr(device.node("Status"))->GetValue());

    // The slider steps by the increment within the range, also at the type's end.
    EditorPlan plan;
    plan.kind = EditorKind::Integer;
    plan.minimum = 16, plan.maximum = 4096, plan.increment = 16, plan.slider = true;
    EXPECT_EQ(std::vector({SliderPosition(plan, 16), SliderPosition(plan, 640),
                           SliderPosition(plan, 99999)}),
              std::vector({0, 39, SliderPosition(plan, 4096)}));
    EXPECT_EQ(
        std::vector({SliderValue(plan, 39), SliderValue(plan, 100000), SliderValue(plan, -3)}),
        std::vector<int64_t>({640, 4096, 16}));
    plan.minimum = INT64_MIN, plan.maximum = INT64_MIN + 10, plan.increment = 1;
    EXPECT_EQ(SliderPosition(plan, INT64_MIN + 4), 4);
    EXPECT_EQ(SliderValue(plan, 4), INT64_MIN + 4);
}
