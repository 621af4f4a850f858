// Node types that vendor descriptions hardly use: ConfRom with IntKey and
// TextDesc, AdvFeatureLock, SmartFeature, plain Node, and Group containers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "fixture_device.h"

namespace {

using namespace GenApi;
using GenICam::AccessException;
using GenICam::GenericException;
using quillon_test::Device;

constexpr int64_t kRom = 0x400;

// An IEEE 1212 configuration ROM: a bus info block of 4 quadlets, a root
// directory of 3 entries, an entry with key 0x17 just past the directory's
// end, and a text leaf "Acme Cam" followed by bytes that are not part of it.
void writeRom(Device& d) {
    d.put(kRom + 0x00, {0x04, 0x04, 0xAB, 0xCD});  // bus info length 4 quadlets
    d.put(kRom + 0x04, {'1', '3', '9', '4'});
    d.put(kRom + 0x08, {0x20, 0x00, 0xA0, 0x00});
    d.put(kRom + 0x0C, {0x00, 0x08, 0x14, 0xAB});
    d.put(kRom + 0x10, {0x00, 0x00, 0x00, 0x01});
    d.put(kRom + 0x14, {0x00, 0x03, 0x12, 0x34});  // root directory: 3 entries
    d.put(kRom + 0x18, {0x03, 0x08, 0x14, 0xAB});  // vendor id 0x0814AB
    d.put(kRom + 0x1C, {0x81, 0x00, 0x00, 0x03});  // text leaf 3 quadlets further: 0x28
    d.put(kRom + 0x20, {0x0C, 0x00, 0x83, 0xC0});  // node capabilities
    d.put(kRom + 0x24, {0x17, 0x12, 0x34, 0x56});  // outside the directory
    d.put(kRom + 0x28, {0x00, 0x04, 0xCC, 0xCC});  // leaf of 4 quadlets
    d.put(kRom + 0x2C, {0x00, 0x00, 0x00, 0x00});  // descriptor type, owner id
    d.put(kRom + 0x30, {0x00, 0x00, 0x00, 0x00});  // width, character set, language
    d.put(kRom + 0x34, "Acme Cam");
    d.put(kRom + 0x3C, "XXXX");
}

TEST(RareNodes, ConfRomKeysAndTextComeFromTheRootDirectory) {
    Device d("rare_nodes.xml");
    writeRom(d);

    CIntegerPtr vendorId = d.node("VendorId");
    CIntegerPtr caps = d.node("NodeCapabilities");
    CIntegerPtr absent = d.node("AbsentKey");
    CStringPtr text = d.node("VendorText");
    CRegisterPtr rom = d.node("ConfigRom");
    ASSERT_TRUE(vendorId.IsValid());
    ASSERT_TRUE(text.IsValid());
    ASSERT_TRUE(rom.IsValid());

    EXPECT_EQ(vendorId->GetValue(), 0x0814AB);
    EXPECT_EQ(caps->GetValue(), 0x0083C0);
    // The search ends with the directory: the 0x17 entry after it is not one.
    EXPECT_THROW(absent->GetValue(), GenericException);
    // The text ends with its leaf, not with the ROM.
    EXPECT_EQ(std::string(text->GetValue()), "Acme Cam");
    EXPECT_EQ(std::string(text->ToString()), "Acme Cam");

    EXPECT_EQ(rom->GetAddress(), kRom);
    EXPECT_EQ(rom->GetLength(), 0x40);
    std::vector<uint8_t> bytes(0x40);
    rom->Get(bytes.data(), 0x40);
    EXPECT_EQ(bytes, d.get(kRom, 0x40));

    // A ROM read again after the map was invalidated shows its new contents.
    d.put(kRom + 0x18, {0x03, 0x00, 0x00, 0x42});
    d.map._Ptr()->InvalidateNodes();
    EXPECT_EQ(vendorId->GetValue(), 0x42);
}

TEST(RareNodes, ConfRomEntriesAreReadOnlyAndTyped) {
    Device d("rare_nodes.xml");
    writeRom(d);

    EXPECT_EQ(d.node("ConfigRom")->GetPrincipalInterfaceType(), intfIRegister);
    EXPECT_EQ(d.node("VendorId")->GetPrincipalInterfaceType(), intfIInteger);
    EXPECT_EQ(d.node("VendorText")->GetPrincipalInterfaceType(), intfIString);

    CIntegerPtr vendorId = d.node("VendorId");
    CStringPtr text = d.node("VendorText");
    EXPECT_EQ(vendorId->GetAccessMode(), RO);
    EXPECT_EQ(d.node("VendorText")->GetAccessMode(), RO);
    EXPECT_THROW(vendorId->SetValue(1), AccessException);
    EXPECT_THROW(text->SetValue("Other"), AccessException);
    EXPECT_EQ(std::string(text->GetValue()), "Acme Cam");
    // An immediate entry holds 24 bits.
    EXPECT_EQ(vendorId->GetMin(), 0);
    EXPECT_EQ(vendorId->GetMax(), 0xFFFFFF);
}

TEST(RareNodes, ConfRomWithoutConnectedPortIsNotAvailable) {
    CNodeMapRef map;
    map._LoadXMLFromFile(quillon_test::fixturePath("rare_nodes.xml").c_str());
    EXPECT_EQ(map._GetNode("ConfigRom")->GetAccessMode(), NA);
    EXPECT_EQ(map._GetNode("VendorId")->GetAccessMode(), NA);
    EXPECT_EQ(map._GetNode("VendorText")->GetAccessMode(), NA);
    CIntegerPtr vendorId = map._GetNode("VendorId");
    EXPECT_THROW(vendorId->GetValue(), AccessException);
}

TEST(RareNodes, AdvFeatureLockAndSmartFeatureAreBigEndianQuadlets) {
    Device d("rare_nodes.xml");
    d.put(0x500, {0x00, 0x00, 0x12, 0x34});
    d.put(0x504, {0x80, 0x00, 0x00, 0x01});

    CIntegerPtr lock = d.node("FeatureLock");
    CIntegerPtr smart = d.node("SmartTrigger");
    ASSERT_TRUE(lock.IsValid());
    ASSERT_TRUE(smart.IsValid());
    EXPECT_EQ(d.node("FeatureLock")->GetPrincipalInterfaceType(), intfIInteger);
    EXPECT_EQ(d.node("SmartTrigger")->GetPrincipalInterfaceType(), intfIInteger);

    EXPECT_EQ(lock->GetValue(), 0x1234);
    EXPECT_EQ(smart->GetValue(), 0x80000001);
    EXPECT_EQ(lock->GetAccessMode(), RW);
    EXPECT_EQ(smart->GetAccessMode(), RO);

    lock->SetValue(0xCAFE);
    EXPECT_EQ(d.get(0x500, 4), (std::vector<uint8_t>{0x00, 0x00, 0xCA, 0xFE}));
    EXPECT_THROW(smart->SetValue(1), AccessException);

    // The feature identifiers stay readable as properties.
    gcstring value, attributes;
    EXPECT_TRUE(d.node("FeatureLock")->GetProperty("FeatureID", value, attributes));
    EXPECT_EQ(std::string(value), "0x0030533B73C3");
    NodeList_t children;
    d.node("SmartTrigger")->GetChildren(children);
    EXPECT_NE(std::find(children.begin(), children.end(), d.node("FeatureLock")), children.end());
}

TEST(RareNodes, PlainNodeHasNoValueInterface) {
    Device d("rare_nodes.xml");
    INode* marker = d.node("Marker");
    ASSERT_NE(marker, nullptr);
    EXPECT_EQ(marker->GetPrincipalInterfaceType(), intfIBase);
    EXPECT_EQ(std::string(marker->GetToolTip()), "A node without a value");
    EXPECT_EQ(std::string(marker->GetDisplayName()), "Marker");
    EXPECT_FALSE(marker->IsFeature());
    EXPECT_FALSE(CValuePtr(marker).IsValid());
    EXPECT_FALSE(CIntegerPtr(marker).IsValid());
    EXPECT_FALSE(IsWritable(marker->GetAccessMode()));
}

TEST(RareNodes, GroupsOnlyContainNodes) {
    Device d("rare_nodes.xml");
    // Root, DeviceInformation, ConfigRom, VendorId, NodeCapabilities,
    // AbsentKey, VendorText, FeatureLock, SmartTrigger, Marker, Device.
    EXPECT_EQ(d.map._Ptr()->GetNumNodes(), 11u);
    EXPECT_EQ(d.map._GetNode("Configuration ROM"), nullptr);
    EXPECT_EQ(d.map._GetNode("Group"), nullptr);
    // Nodes from nested groups are ordinary features.
    EXPECT_TRUE(d.node("FeatureLock")->IsFeature());
    EXPECT_TRUE(d.node("VendorId")->IsFeature());
    EXPECT_FALSE(d.node("AbsentKey")->IsFeature());
}

} // namespace
