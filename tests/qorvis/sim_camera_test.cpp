// The simulated camera through the GenICam engine: its description loads and
// every node reads, the features show the values and behaviour the device
// model gives them, and the file access protocol moves bytes both ways.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "GenApi/GenApi.h"
#include "sim/register_map.h"
#include "sim/sim_camera.h"

namespace {

using namespace GenApi;
using namespace std::chrono_literals;
using GenICam::AccessException;
using GenICam::GenericException;
using GenICam::InvalidArgumentException;
using GenICam::OutOfRangeException;
using qorvis::sim::ManualClock;
using qorvis::sim::SimulatedCamera;
namespace reg = qorvis::sim::reg;
using Bytes = std::vector<uint8_t>;

class SimCamera : public ::testing::Test {
protected:
    ManualClock clock;
    SimulatedCamera camera{clock.clock()};
    CNodeMapRef map;

    void SetUp() override {
        map._LoadXMLFromString(GenICam::gcstring(SimulatedCamera::descriptionXml()));
        ASSERT_TRUE(map._Connect(&camera));
    }

    INode* node(const char* name) {
        INode* n = map._GetNode(name);
        EXPECT_NE(n, nullptr) << "no node " << name;
        return n;
    }
    template <class P>
    P feature(const char* name) {
        P p = node(name);
        EXPECT_TRUE(p.IsValid()) << name << " does not have the expected interface";
        return p;
    }
    CIntegerPtr integer(const char* name) { return feature<CIntegerPtr>(name); }
    CFloatPtr floating(const char* name) { return feature<CFloatPtr>(name); }
    CBooleanPtr boolean(const char* name) { return feature<CBooleanPtr>(name); }
    CCommandPtr command(const char* name) { return feature<CCommandPtr>(name); }
    CStringPtr string(const char* name) { return feature<CStringPtr>(name); }
    CRegisterPtr registr(const char* name) { return feature<CRegisterPtr>(name); }
    CEnumerationPtr enumeration(const char* name) { return feature<CEnumerationPtr>(name); }
    CCategoryPtr category(const char* name) { return feature<CCategoryPtr>(name); }

    std::string text(const char* name) { return std::string(feature<CValuePtr>(name)->ToString()); }
    void set(const char* name, const char* value) { feature<CValuePtr>(name)->FromString(value); }
    EAccessMode access(const char* name) { return node(name)->GetAccessMode(); }
    std::string property(const char* name, const char* prop) {
        gcstring value, attributes;
        node(name)->GetProperty(prop, value, attributes);
        return std::string(value);
    }

    uint64_t rawBE(uint64_t address, int length) {
        Bytes b(static_cast<size_t>(length));
        camera.Read(b.data(), static_cast<int64_t>(address), length);
        uint64_t v = 0;
        for (uint8_t x : b) v = v << 8 | x;
        return v;
    }
    void putBE(uint64_t address, uint64_t value, int length) {
        Bytes b(static_cast<size_t>(length));
        for (int i = 0; i < length; ++i) b[static_cast<size_t>(length - 1 - i)] = static_cast<uint8_t>(value >> (8 * i));
        camera.Write(b.data(), static_cast<int64_t>(address), length);
    }

    std::vector<std::string> symbolics(const char* name) {
        StringList_t list;
        enumeration(name)->GetSymbolics(list);
        return {list.begin(), list.end()};
    }
    std::vector<std::string> selected(const char* name) {
        FeatureList_t features;
        CSelectorPtr s = node(name);
        EXPECT_TRUE(s->IsSelector()) << name;
        s->GetSelectedFeatures(features);
        std::vector<std::string> names;
        for (IValue* v : features) names.emplace_back(v->GetNode()->GetName());
        return names;
    }

    // ---- the file access protocol, driven through the features
    void fileOperation(const char* file, const char* operation) {
        set("FileSelector", file);
        set("FileOperationSelector", operation);
        CCommandPtr execute = command("FileOperationExecute");
        execute->Execute();
        EXPECT_TRUE(execute->IsDone()) << "file operations complete at once";
    }
    bool succeeded() { return text("FileOperationStatus") == "Success"; }
    int64_t result() { return integer("FileOperationResult")->GetValue(); }
    bool open(const char* file, const char* mode) {
        set("FileSelector", file);
        set("FileOpenMode", mode);
        fileOperation(file, "Open");
        return succeeded();
    }
    bool writeChunk(const char* file, int64_t offset, const uint8_t* data, int64_t length) {
        Bytes buffer(reg::kFileAccessBufferSize, 0);
        std::memcpy(buffer.data(), data, static_cast<size_t>(length));
        registr("FileAccessBuffer")->Set(buffer.data(), static_cast<int64_t>(buffer.size()));
        integer("FileAccessOffset")->SetValue(offset);
        integer("FileAccessLength")->SetValue(length);
        fileOperation(file, "Write");
        return succeeded() && result() == length;
    }
    // Reads the whole file chunk by chunk.
    Bytes readFile(const char* file) {
        Bytes content;
        for (int64_t offset = 0;; offset += result()) {
            integer("FileAccessOffset")->SetValue(offset);
            integer("FileAccessLength")->SetValue(1024);
            fileOperation(file, "Read");
            EXPECT_TRUE(succeeded());
            if (!succeeded() || result() == 0) break;
            Bytes buffer(reg::kFileAccessBufferSize);
            registr("FileAccessBuffer")->Get(buffer.data(), static_cast<int64_t>(buffer.size()));
            content.insert(content.end(), buffer.begin(), buffer.begin() + result());
        }
        return content;
    }
};

Bytes pattern(size_t n, uint32_t seed) {
    Bytes b(n);
    for (size_t i = 0; i < n; ++i) {
        seed = seed * 1664525u + 1013904223u;
        b[i] = static_cast<uint8_t>(seed >> 24);
    }
    return b;
}

std::string attributeOf(std::string_view xml, const std::string& name) {
    size_t root = xml.find("<RegisterDescription");
    size_t at = xml.find(" " + name + "=\"", root);
    if (at == std::string_view::npos) return {};
    at += name.size() + 3;
    return std::string(xml.substr(at, xml.find('"', at) - at));
}

// ---------------------------------------------------------------- the description

TEST_F(SimCamera, DescriptionIsEmbeddedSchema11WithEveryNodeType) {
    std::string_view xml = SimulatedCamera::descriptionXml();
    std::ifstream file(QORVIS_SIM_XML_PATH, std::ios::binary);
    std::stringstream onDisk;
    onDisk << file.rdbuf();
    EXPECT_EQ(xml, onDisk.str()) << "the library embeds data/TorvexSimCamera.xml as it is";

    EXPECT_TRUE(xml.starts_with("<?xml"));
    EXPECT_NE(xml.find("xmlns=\"http://www.genicam.org/GenApi/Version_1_1\""), std::string_view::npos);
    EXPECT_EQ(attributeOf(xml, "SchemaMajorVersion"), "1");
    EXPECT_EQ(attributeOf(xml, "SchemaMinorVersion"), "1");
    EXPECT_EQ(attributeOf(xml, "VendorName"), text("DeviceVendorName"));
    EXPECT_EQ(attributeOf(xml, "ModelName"), text("DeviceModelName"));
    EXPECT_EQ(text("DeviceVendorName"), "Torvex");
    EXPECT_EQ(text("DeviceModelName"), SimulatedCamera::kModelName);

    for (const char* type : {"Category", "Integer", "IntReg", "MaskedIntReg", "Boolean", "Command", "Enumeration",
                             "Float", "FloatReg", "String", "StringReg", "Register", "Converter", "IntConverter",
                             "SwissKnife", "IntSwissKnife", "Port", "StructReg"})
        EXPECT_NE(xml.find("<" + std::string(type) + " "), std::string_view::npos) << "no " << type << " node";
    // Registers of both byte orders.
    EXPECT_NE(xml.find("<Endianess>BigEndian</Endianess>"), std::string_view::npos);
    EXPECT_NE(xml.find("<Endianess>LittleEndian</Endianess>"), std::string_view::npos);

    // Every principal interface a browser shows occurs among the features.
    std::set<EInterfaceType> types;
    NodeList_t nodes;
    map._GetNodes(nodes);
    for (INode* n : nodes)
        if (n->IsFeature()) types.insert(n->GetPrincipalInterfaceType());
    for (EInterfaceType t : {intfIInteger, intfIBoolean, intfICommand, intfIFloat, intfIString, intfIRegister,
                             intfICategory, intfIEnumeration})
        EXPECT_TRUE(types.count(t)) << InterfaceTypeName(t);
}

TEST_F(SimCamera, CategoriesSpanTheVisibilityLevels) {
    FeatureList_t top;
    category("Root")->GetFeatures(top);
    std::set<EVisibility> levels;
    for (IValue* v : top) {
        INode* c = v->GetNode();
        EXPECT_EQ(c->GetPrincipalInterfaceType(), intfICategory) << c->GetName();
        levels.insert(c->GetVisibility());
        FeatureList_t inside;
        CCategoryPtr(c)->GetFeatures(inside);
        EXPECT_FALSE(inside.empty()) << c->GetName();
    }
    EXPECT_EQ(levels, (std::set<EVisibility>{Beginner, Expert, Guru}));
    EXPECT_EQ(node("DeviceControl")->GetVisibility(), Beginner);
    EXPECT_EQ(node("DigitalIOControl")->GetVisibility(), Expert);
    EXPECT_EQ(node("FileAccessControl")->GetVisibility(), Guru);

    // Some features are Invisible, and helper nodes are no features.
    EXPECT_TRUE(node("TLParamsLocked")->IsFeature());
    EXPECT_EQ(node("TLParamsLocked")->GetVisibility(), Invisible);
    EXPECT_EQ(node("TorvexDebugMode")->GetVisibility(), Invisible);
    EXPECT_FALSE(node("WidthReg")->IsFeature());
    EXPECT_EQ(node("WidthReg")->GetVisibility(), Invisible);
    EXPECT_EQ(node("DeviceVendorName")->GetNameSpace(), Standard);
    EXPECT_EQ(node("FrameCounter")->GetNameSpace(), Custom);

    EXPECT_EQ(std::string(node("FileAccessControl")->GetDisplayName()), "File Access Control");
    FeatureList_t fileFeatures;
    category("FileAccessControl")->GetFeatures(fileFeatures);
    std::set<std::string> names;
    for (IValue* v : fileFeatures) names.insert(std::string(v->GetNode()->GetName()));
    EXPECT_EQ(names, (std::set<std::string>{"FileSelector", "FileOperationSelector", "FileOperationExecute",
                                            "FileOpenMode", "FileAccessBuffer", "FileAccessOffset",
                                            "FileAccessLength", "FileOperationStatus", "FileOperationResult",
                                            "FileSize"}));
}

TEST_F(SimCamera, EveryNodeReadsOrRaisesAGenICamException) {
    NodeList_t nodes;
    map._GetNodes(nodes);
    ASSERT_GT(nodes.size(), 200u);
    std::set<std::string> unreadable, raising;
    for (INode* n : nodes) {
        std::string name(n->GetName());
        EAccessMode mode = _UndefinedAccesMode;
        EXPECT_NO_THROW(mode = n->GetAccessMode()) << name;
        CValuePtr value = n;
        if (!value.IsValid() || n->GetPrincipalInterfaceType() == intfICommand) continue;
        if (!IsReadable(mode)) {
            unreadable.insert(name);
            EXPECT_THROW(value->ToString(), AccessException) << name;
            continue;
        }
        try {
            value->ToString();
        } catch (const GenericException& e) {
            raising.insert(name);
            EXPECT_EQ(name, "SensorShutterMode") << e.what();
        }
    }
    // The one enumeration whose device value matches no entry.
    EXPECT_EQ(raising, std::set<std::string>{"SensorShutterMode"});
    EXPECT_EQ(unreadable, (std::set<std::string>{"DeviceLinkThroughputLimit", "BalanceWhiteAuto",
                                                 "GevPrimaryApplicationSwitchoverKey", "GevTimestampControlReg",
                                                 "DeviceResetReg"}));
}

// ---------------------------------------------------------------- values

TEST_F(SimCamera, NetworkAndIdentityValues) {
    EXPECT_EQ(integer("GevCurrentIPAddress")->GetValue(), 0xC0A80001);
    EXPECT_EQ(integer("GevCurrentIPAddress")->GetRepresentation(), IPV4Address);
    EXPECT_EQ(text("GevCurrentIPAddress"), "192.168.0.1");
    EXPECT_EQ(text("GevCurrentSubnetMask"), "255.255.255.0");
    EXPECT_EQ(text("GevCurrentDefaultGateway"), "192.168.0.254");
    EXPECT_EQ(integer("GevMACAddress")->GetValue(), 0x02545658002ALL);
    EXPECT_EQ(integer("GevMACAddress")->GetRepresentation(), MACAddress);
    EXPECT_EQ(text("GevMACAddress"), "02:54:56:58:00:2A");
    EXPECT_EQ(integer("GevVersionMajor")->GetValue(), 2);
    EXPECT_EQ(integer("GevVersionMinor")->GetValue(), 2);
    EXPECT_TRUE(boolean("GevDeviceModeIsBigEndian")->GetValue());
    EXPECT_EQ(integer("GevTimestampTickFrequency")->GetValue(), 1000000000);
    EXPECT_EQ(integer("GevSCPSPacketSize")->GetValue(), 1500);
    EXPECT_EQ(integer("GevSCPSPacketSize")->GetInc(), 4);

    EXPECT_EQ(text("DeviceSerialNumber"), SimulatedCamera::kSerialNumber);
    EXPECT_EQ(text("DeviceFamilyName"), "TVX");
    EXPECT_EQ(access("DeviceFamilyName"), RO);
    EXPECT_EQ(text("DeviceScanType"), "Areascan");
    EXPECT_FALSE(text("DeviceVersion").empty());
    EXPECT_FALSE(text("DeviceFirmwareVersion").empty());
    EXPECT_EQ(access("DeviceVendorName"), RO);
    EXPECT_EQ(string("DeviceUserID")->GetMaxLength(), 16);
    EXPECT_EQ(integer("DeviceSFNCVersionMajor")->GetValue(), 2);

    // Hexadecimal integers.
    EXPECT_EQ(integer("DeviceFirmwareBuildId")->GetRepresentation(), HexNumber);
    EXPECT_EQ(text("DeviceFirmwareBuildId"), "0x5A3C19F2");
    EXPECT_EQ(text("LineStatusAll").substr(0, 2), "0x");
    // A little-endian register: the bytes on the port are least significant first.
    EXPECT_EQ(integer("TorvexScratch")->GetValue(), 0xC0FFEE42);
    EXPECT_EQ(rawBE(reg::kScratch, 4), 0x42EEFFC0u);
    integer("TorvexScratch")->SetValue(0x01020304);
    EXPECT_EQ(rawBE(reg::kScratch, 4), 0x04030201u);
    // The device status word, as bit fields of a StructReg.
    EXPECT_EQ(integer("DeviceStatusReady")->GetValue(), 1);
    EXPECT_EQ(integer("DeviceStatusAcquisitionActive")->GetValue(), 0);
    EXPECT_EQ(integer("DeviceStatusOverTemperature")->GetValue(), 0);
}

TEST_F(SimCamera, IntegersHaveUnitsIncrementsAndLinkedLimits) {
    CIntegerPtr width = integer("Width"), height = integer("Height");
    CIntegerPtr offsetX = integer("OffsetX"), offsetY = integer("OffsetY");
    EXPECT_EQ(width->GetValue(), 1280);
    EXPECT_EQ(height->GetValue(), 1024);
    EXPECT_EQ(std::string(width->GetUnit()), "px");
    EXPECT_EQ(width->GetInc(), 16);
    EXPECT_EQ(height->GetInc(), 2);
    EXPECT_EQ(width->GetMin(), 16);
    EXPECT_EQ(height->GetMin(), 2);
    EXPECT_EQ(width->GetMax(), 1280);
    EXPECT_EQ(offsetX->GetMax(), 0);

    width->SetValue(640);
    EXPECT_EQ(offsetX->GetMax(), 640);
    offsetX->SetValue(320);
    EXPECT_EQ(width->GetMax(), 960);
    EXPECT_EQ(integer("WidthMax")->GetValue(), 960);
    EXPECT_THROW(width->SetValue(1280), OutOfRangeException);
    EXPECT_THROW(width->SetValue(650), OutOfRangeException); // not on the 16-pixel grid
    EXPECT_THROW(offsetX->SetValue(648), OutOfRangeException);
    height->SetValue(480);
    offsetY->SetValue(272);
    EXPECT_EQ(integer("HeightMax")->GetValue(), 752);
    EXPECT_THROW(height->SetValue(481), OutOfRangeException);
    EXPECT_EQ(rawBE(reg::kWidth, 4), 640u);
    EXPECT_EQ(rawBE(reg::kOffsetY, 4), 272u);

    EXPECT_EQ(integer("PayloadSize")->GetValue(), 640 * 480);
    set("PixelFormat", "Mono12");
    EXPECT_EQ(rawBE(reg::kPixelFormat, 4), 0x01100005u);
    EXPECT_EQ(integer("PayloadSize")->GetValue(), 640 * 480 * 2);

    EXPECT_EQ(std::string(integer("GevHeartbeatTimeout")->GetUnit()), "ms");
    EXPECT_EQ(integer("GevHeartbeatTimeout")->GetMin(), 500);
    EXPECT_EQ(std::string(integer("FileSize")->GetUnit()), "B");
}

TEST_F(SimCamera, FloatsOfLargeSmallAndNegativeMagnitude) {
    CFloatPtr exposure = floating("ExposureTime");
    EXPECT_DOUBLE_EQ(exposure->GetValue(), 10000.0);
    EXPECT_DOUBLE_EQ(exposure->GetMin(), 10.0);
    EXPECT_DOUBLE_EQ(exposure->GetMax(), 1e7);
    EXPECT_EQ(std::string(exposure->GetUnit()), "µs");
    exposure->SetValue(9999999.5);
    EXPECT_EQ(rawBE(reg::kExposureTicks, 4), 99999995u);
    EXPECT_DOUBLE_EQ(exposure->GetValue(), 9999999.5);
    EXPECT_THROW(exposure->SetValue(2e7), OutOfRangeException);
    EXPECT_NEAR(floating("AcquisitionResultingFrameRate")->GetValue(), 0.1, 1e-6); // limited by the exposure
    exposure->SetValue(10000);

    CFloatPtr period = floating("SensorLinePeriod");
    EXPECT_DOUBLE_EQ(period->GetValue(), 0.0000042);
    EXPECT_EQ(period->GetDisplayNotation(), fnScientific);
    EXPECT_EQ(std::string(period->GetUnit()), "s");

    CFloatPtr black = floating("BlackLevel");
    EXPECT_DOUBLE_EQ(black->GetValue(), -2.5);
    EXPECT_DOUBLE_EQ(black->GetMin(), -16.0);
    EXPECT_DOUBLE_EQ(black->GetInc(), 0.25);
    black->SetValue(-7.75);
    EXPECT_DOUBLE_EQ(black->GetValue(true, true), -7.75);
    EXPECT_THROW(black->SetValue(-7.8), OutOfRangeException);

    EXPECT_DOUBLE_EQ(floating("Gamma")->GetValue(), 1.0); // little-endian IEEE float
    floating("Gamma")->SetValue(0.5);
    EXPECT_EQ(rawBE(reg::kGamma, 4), 0x0000003Fu);
    EXPECT_DOUBLE_EQ(floating("AcquisitionFrameRate")->GetValue(), 30.0);
    EXPECT_EQ(std::string(floating("AcquisitionFrameRate")->GetUnit()), "Hz");
    EXPECT_DOUBLE_EQ(floating("AcquisitionResultingFrameRate")->GetValue(), 30.0);
    floating("ExposureTime")->SetValue(50000);
    EXPECT_DOUBLE_EQ(floating("AcquisitionResultingFrameRate")->GetValue(), 20.0);
    EXPECT_EQ(std::string(floating("DeviceTemperature")->GetUnit()), "°C");

    // A large integer behind an IntConverter, once its mode makes it available.
    set("DeviceLinkThroughputLimitMode", "On");
    CIntegerPtr limit = integer("DeviceLinkThroughputLimit");
    EXPECT_EQ(limit->GetValue(), 125000000);
    EXPECT_EQ(limit->GetMax(), 125000000);
    limit->SetValue(40000000);
    EXPECT_EQ(rawBE(reg::kThroughputLimit, 4), 40000u);
}

// ---------------------------------------------------------------- the register space

TEST_F(SimCamera, RegistersReadBackAndReadOnlyOnesIgnoreWrites) {
    string("DeviceUserID")->SetValue("bench-7");
    map._Ptr()->InvalidateNodes();
    EXPECT_EQ(text("DeviceUserID"), "bench-7");
    EXPECT_THROW(string("DeviceUserID")->SetValue("seventeen-letters"), OutOfRangeException);
    set("GevPersistentIPAddress", "10.0.0.7");
    EXPECT_EQ(rawBE(reg::kPersistentIp, 4), 0x0A000007u);
    boolean("ReverseY")->SetValue(true);
    EXPECT_EQ(rawBE(reg::kImageFlags, 4), 2u);
    EXPECT_FALSE(boolean("ReverseX")->GetValue());
    integer("GevPrimaryApplicationSwitchoverKey")->SetValue(0x1234); // write-only: accepted, reads as zero
    EXPECT_EQ(rawBE(reg::kSwitchoverKey, 4), 0u);

    // The LUT: the whole table and one entry at a time address the same bytes.
    Bytes lut(256);
    registr("LUTValueAll")->Get(lut.data(), 256);
    for (size_t i = 0; i < 256; ++i) ASSERT_EQ(lut[i], i);
    Bytes inverted(256);
    for (size_t i = 0; i < 256; ++i) inverted[i] = static_cast<uint8_t>(255 - i);
    registr("LUTValueAll")->Set(inverted.data(), 256);
    integer("LUTIndex")->SetValue(10);
    EXPECT_EQ(integer("LUTValue")->GetValue(), 245);
    integer("LUTValue")->SetValue(7);
    registr("LUTValueAll")->Get(lut.data(), 256);
    EXPECT_EQ(lut[10], 7);
    EXPECT_EQ(lut[11], 244);

    // Raw port access: unmapped memory reads zeros and keeps what is written.
    EXPECT_EQ(rawBE(0x7000000, 8), 0u);
    putBE(0x500000, 0x1122334455667788ull, 8);
    EXPECT_EQ(rawBE(0x500000, 8), 0x1122334455667788ull);
    // Read-only and computed registers ignore writes, also inside a wider write.
    putBE(reg::kCurrentIp, 0x0A0A0A0A, 4);
    putBE(reg::kSensorWidth, 0x12345678'00000640ull, 8); // SensorHeight is read-only as well
    EXPECT_EQ(rawBE(reg::kCurrentIp, 4), 0xC0A80001u);
    EXPECT_EQ(rawBE(reg::kSensorWidth, 8), (1280ull << 32) | 1024);
    Bytes block(reg::kHeight + 4 - reg::kSensorWidth, 0);
    block[block.size() - 1] = 100;                                      // Height = 100
    camera.Write(block.data(), reg::kSensorWidth, static_cast<int64_t>(block.size()));
    EXPECT_EQ(rawBE(reg::kSensorWidth, 4), 1280u);
    EXPECT_EQ(rawBE(reg::kWidthMin, 4), 16u);
    EXPECT_EQ(rawBE(reg::kWidth, 4), 0u);
    EXPECT_EQ(rawBE(reg::kHeight, 4), 100u);
    putBE(reg::kVendorName, 0x41414141, 4);
    map._Ptr()->InvalidateNodes();
    EXPECT_EQ(text("DeviceVendorName"), "Torvex");
    // The link-local fallback stays on.
    boolean("GevCurrentIPConfigurationDHCP")->SetValue(false);
    EXPECT_EQ(rawBE(reg::kIpConfig, 4), 4u);

    uint8_t byte = 0;
    EXPECT_THROW(camera.Read(&byte, 0, -1), InvalidArgumentException);
    EXPECT_THROW(camera.Write(&byte, -1, 2), InvalidArgumentException); // past the top of the address space
    EXPECT_NO_THROW(camera.Read(nullptr, 0, 0));
    camera.Read(&byte, -1, 1); // the last byte of the address space is memory as well
    EXPECT_EQ(byte, 0);
}

// ---------------------------------------------------------------- selectors

TEST_F(SimCamera, SelectorsSwitchTheSelectedFeatures) {
    EXPECT_EQ(selected("GainSelector"), std::vector<std::string>{"Gain"});
    CFloatPtr gain = floating("Gain");
    EXPECT_DOUBLE_EQ(gain->GetValue(), 0.0);
    set("GainSelector", "AnalogAll");
    EXPECT_DOUBLE_EQ(gain->GetValue(), 6.0);
    set("GainSelector", "DigitalAll");
    EXPECT_DOUBLE_EQ(gain->GetValue(), 1.5);
    gain->SetValue(12.5);
    set("GainSelector", "All");
    EXPECT_DOUBLE_EQ(gain->GetValue(), 0.0);
    set("GainSelector", "DigitalAll");
    EXPECT_DOUBLE_EQ(gain->GetValue(), 12.5);
    EXPECT_THROW(gain->SetValue(30.0), OutOfRangeException);

    EXPECT_EQ(selected("LineSelector"),
              (std::vector<std::string>{"LineMode", "LineInverter", "LineSource", "LineStatus"}));
    struct Line {
        const char* name;
        const char* mode;
        const char* source;
        bool inverted;
        bool status;
    };
    for (const Line& l : {Line{"Line0", "Input", "Off", false, true}, Line{"Line1", "Output", "ExposureActive", false, false},
                          Line{"Line3", "Output", "UserOutput0", true, true}}) {
        set("LineSelector", l.name);
        EXPECT_EQ(text("LineMode"), l.mode) << l.name;
        EXPECT_EQ(text("LineSource"), l.source) << l.name;
        EXPECT_EQ(boolean("LineInverter")->GetValue(), l.inverted) << l.name;
        EXPECT_EQ(boolean("LineStatus")->GetValue(), l.status) << l.name;
    }
    set("LineSelector", "Line1");
    boolean("LineInverter")->SetValue(true);
    EXPECT_TRUE(boolean("LineStatus")->GetValue());
    set("LineSource", "AcquisitionActive");
    set("LineSelector", "Line0");
    EXPECT_EQ(text("LineSource"), "Off");
    EXPECT_FALSE(boolean("LineInverter")->GetValue());
    set("LineSelector", "Line1");
    EXPECT_EQ(text("LineSource"), "AcquisitionActive");
    EXPECT_EQ(rawBE(reg::kLines + reg::kLineBlockSize + 4, 4), 4u);
    EXPECT_EQ(rawBE(reg::kLines + reg::kLineBlockSize + 8, 4), 1u);

    EXPECT_EQ(selected("UserSetSelector"), (std::vector<std::string>{"UserSetLoad", "UserSetSave"}));
    EXPECT_EQ(access("UserSetSave"), NA); // Default is read-only
    set("UserSetSelector", "UserSet1");
    EXPECT_EQ(access("UserSetSave"), RW);
    EXPECT_EQ(symbolics("UserSetDefault"), (std::vector<std::string>{"Default", "UserSet1", "UserSet2"}));

    set("DeviceTemperatureSelector", "Mainboard");
    double mainboard = floating("DeviceTemperature")->GetValue();
    set("DeviceTemperatureSelector", "Sensor");
    EXPECT_GT(floating("DeviceTemperature")->GetValue(), mainboard);

    // FileSize follows FileSelector.
    set("FileSelector", "UserSet2");
    EXPECT_EQ(integer("FileSize")->GetValue(), 0);
    set("FileSelector", "LUTFile");
    EXPECT_EQ(integer("FileSize")->GetValue(), 256);
}

// ---------------------------------------------------------------- access rules

TEST_F(SimCamera, LockedAndUnavailableFeatures) {
    EXPECT_EQ(access("Width"), RW);
    integer("TLParamsLocked")->SetValue(1);
    for (const char* name : {"Width", "Height", "OffsetX", "OffsetY", "PixelFormat"})
        EXPECT_EQ(access(name), RO) << name;
    EXPECT_THROW(integer("Width")->SetValue(640), AccessException);
    EXPECT_THROW(set("PixelFormat", "Mono16"), AccessException);
    set("UserSetSelector", "UserSet1");
    EXPECT_THROW(command("UserSetLoad")->Execute(), AccessException);
    EXPECT_EQ(integer("Width")->GetValue(), 1280);
    integer("TLParamsLocked")->SetValue(0);
    EXPECT_EQ(access("Width"), RW);
    integer("Width")->SetValue(640);

    EXPECT_EQ(access("BalanceWhiteAuto"), NA);
    EXPECT_THROW(text("BalanceWhiteAuto"), AccessException);
    EXPECT_THROW(set("BalanceWhiteAuto", "Once"), AccessException);

    EXPECT_EQ(access("DeviceLinkThroughputLimit"), NA);
    set("DeviceLinkThroughputLimitMode", "On");
    EXPECT_EQ(access("DeviceLinkThroughputLimit"), RW);
    set("DeviceLinkThroughputLimitMode", "Off");
    EXPECT_EQ(access("DeviceLinkThroughputLimit"), NA);

    EXPECT_EQ(access("GevPrimaryApplicationSwitchoverKey"), WO);
    EXPECT_EQ(access("GevCurrentIPAddress"), RO);
    EXPECT_EQ(access("GevCurrentIPConfigurationLLA"), RO);
}

TEST_F(SimCamera, EnumerationValueOutsideItsEntriesRaisesUntilRewritten) {
    CEnumerationPtr mode = enumeration("SensorShutterMode");
    EXPECT_EQ(mode->GetIntValue(), 7);
    EXPECT_THROW(mode->ToString(), AccessException);
    EXPECT_THROW(mode->GetCurrentEntry(), AccessException);
    EXPECT_EQ(symbolics("SensorShutterMode"),
              (std::vector<std::string>{"Global", "Rolling", "GlobalReset", "RollingReset"}));
    mode->FromString("Rolling");
    EXPECT_EQ(std::string(mode->ToString()), "Rolling");
    EXPECT_EQ(rawBE(reg::kShutterMode, 4), 1u);
}

// ---------------------------------------------------------------- time

TEST_F(SimCamera, TemperatureAndCountersFollowTheClock) {
    CFloatPtr temperature = floating("DeviceTemperature");
    EXPECT_EQ(node("DeviceTemperature")->GetPollingTime(), 1000);
    EXPECT_GT(node("FrameCounter")->GetPollingTime(), 0);
    EXPECT_GT(node("DeviceUptime")->GetPollingTime(), 0);
    double t0 = temperature->GetValue();
    EXPECT_NEAR(t0, 31.0, 0.01);
    clock.advance(10s);
    double t1 = temperature->GetValue();
    EXPECT_NE(t1, t0);
    clock.advance(20min);
    double t2 = temperature->GetValue();
    EXPECT_GT(t2, 40.0);
    EXPECT_LT(t2, 46.0);
    EXPECT_EQ(integer("DeviceUptime")->GetValue(), 1210);
    EXPECT_EQ(text("DeviceStatusOverTemperature"), "0");

    // A fresh device for the counters.
    ManualClock c;
    SimulatedCamera cam(c.clock());
    CNodeMapRef m;
    m._LoadXMLFromString(GenICam::gcstring(SimulatedCamera::descriptionXml()));
    m._Connect(&cam);
    CIntegerPtr frames = m._GetNode("FrameCounter");
    EXPECT_EQ(frames->GetValue(), 0);
    c.advance(1s);
    EXPECT_EQ(frames->GetValue(), 30);
    c.advance(2500ms);
    EXPECT_EQ(frames->GetValue(), 105);
    CFloatPtr(m._GetNode("AcquisitionFrameRate"))->SetValue(10.0);
    c.advance(1s);
    EXPECT_EQ(frames->GetValue(), 115);
    CFloatPtr(m._GetNode("ExposureTime"))->SetValue(200000.0); // 5 frames per second at most
    c.advance(2s);
    EXPECT_EQ(frames->GetValue(), 125);
    // In trigger mode the sensor reads out one frame per software trigger.
    CEnumerationPtr(m._GetNode("TriggerMode"))->FromString("On");
    CCommandPtr trigger = m._GetNode("TriggerSoftware");
    c.advance(5s);
    EXPECT_EQ(frames->GetValue(), 125);
    for (int i = 0; i < 3; ++i) trigger->Execute();
    EXPECT_EQ(frames->GetValue(), 128);

    // The timestamp latch copies the nanoseconds since power-on.
    CCommandPtr latch = m._GetNode("TimestampLatch");
    CIntegerPtr latched = m._GetNode("TimestampLatchValue");
    EXPECT_EQ(latched->GetValue(), 0);
    latch->Execute();
    EXPECT_TRUE(latch->IsDone());
    EXPECT_EQ(latched->GetValue(), 11500000000LL);
    c.advance(1ms);
    latch->Execute();
    EXPECT_EQ(latched->GetValue(), 11501000000LL);

    // Line2 is an input that carries a 1 Hz square wave.
    CEnumerationPtr(m._GetNode("LineSelector"))->FromString("Line2");
    CBooleanPtr status = m._GetNode("LineStatus");
    bool before = status->GetValue();
    c.advance(500ms);
    EXPECT_NE(status->GetValue(), before);
    c.advance(500ms);
    EXPECT_EQ(status->GetValue(), before);
}

TEST_F(SimCamera, AcquisitionStartCompletesAfterADelay) {
    CCommandPtr start = command("AcquisitionStart"), stop = command("AcquisitionStop");
    EXPECT_EQ(property("AcquisitionStart", "CommandValue"), "1");
    EXPECT_TRUE(start->IsDone());
    start->Execute();
    EXPECT_FALSE(start->IsDone());
    EXPECT_FALSE(boolean("AcquisitionStatus")->GetValue());
    EXPECT_EQ(integer("DeviceStatusStartPending")->GetValue(), 1);
    EXPECT_EQ(access("Width"), RO) << "the image format is locked while the start is pending";
    clock.advance(299ms);
    EXPECT_FALSE(start->IsDone());
    EXPECT_FALSE(camera.acquisitionActive());
    clock.advance(1ms);
    EXPECT_TRUE(start->IsDone());
    EXPECT_TRUE(boolean("AcquisitionStatus")->GetValue());
    EXPECT_TRUE(camera.acquisitionActive());
    EXPECT_EQ(access("Width"), RO);
    set("LineSelector", "Line1"); // ExposureActive
    EXPECT_TRUE(boolean("LineStatus")->GetValue());
    start->Execute(); // already running: nothing to wait for
    EXPECT_TRUE(start->IsDone());

    stop->Execute();
    EXPECT_TRUE(stop->IsDone());
    EXPECT_FALSE(boolean("AcquisitionStatus")->GetValue());
    EXPECT_FALSE(boolean("LineStatus")->GetValue());
    EXPECT_EQ(access("Width"), RW);

    // Stopping a pending start cancels it.
    start->Execute();
    stop->Execute();
    clock.advance(1s);
    EXPECT_TRUE(start->IsDone());
    EXPECT_FALSE(camera.acquisitionActive());

    // A command whose value is a single high bit; the device clears it at once.
    EXPECT_EQ(property("TriggerSoftware", "CommandValue"), "268435456");
    command("TriggerSoftware")->Execute();
    EXPECT_TRUE(command("TriggerSoftware")->IsDone());
    EXPECT_EQ(rawBE(reg::kTriggerSoftware, 4), 0u);

    std::string log(reinterpret_cast<const char*>(camera.fileContents("DeviceLog")->data()),
                    camera.fileContents("DeviceLog")->size());
    EXPECT_NE(log.find("] acquisition started"), std::string::npos) << log;
    EXPECT_NE(log.find("] acquisition stopped"), std::string::npos) << log;
}

// ---------------------------------------------------------------- user sets

TEST_F(SimCamera, UserSetsSaveLoadAndSurviveAReset) {
    std::string stored(reinterpret_cast<const char*>(camera.fileContents("UserSet1")->data()),
                       camera.fileContents("UserSet1")->size());
    EXPECT_NE(stored.find("Width=640\n"), std::string::npos) << stored;

    // Loading changes features whose values the node map has cached.
    EXPECT_EQ(integer("Width")->GetValue(), 1280);
    EXPECT_DOUBLE_EQ(floating("Gain")->GetValue(), 0.0);
    set("UserSetSelector", "UserSet1");
    command("UserSetLoad")->Execute();
    EXPECT_TRUE(command("UserSetLoad")->IsDone());
    EXPECT_EQ(integer("Width")->GetValue(), 640);
    EXPECT_EQ(integer("Height")->GetValue(), 480);
    EXPECT_EQ(integer("OffsetX")->GetValue(), 320);
    EXPECT_DOUBLE_EQ(floating("ExposureTime")->GetValue(), 5000.0);
    EXPECT_DOUBLE_EQ(floating("Gain")->GetValue(), 3.0);

    // Save the current state as UserSet2, change it, load it back.
    integer("Width")->SetValue(800);
    set("GainSelector", "DigitalAll");
    floating("Gain")->SetValue(4.25);
    set("LineSelector", "Line2");
    boolean("LineInverter")->SetValue(true);
    floating("AcquisitionFrameRate")->SetValue(12.5);
    set("UserSetSelector", "UserSet2");
    command("UserSetSave")->Execute();
    EXPECT_NE(camera.fileContents("UserSet2")->size(), 0u);

    set("UserSetSelector", "Default");
    command("UserSetLoad")->Execute();
    EXPECT_EQ(integer("Width")->GetValue(), 1280);
    EXPECT_DOUBLE_EQ(floating("Gain")->GetValue(), 1.5);
    EXPECT_FALSE(boolean("LineInverter")->GetValue());
    EXPECT_DOUBLE_EQ(floating("AcquisitionFrameRate")->GetValue(), 30.0);

    set("UserSetSelector", "UserSet2");
    command("UserSetLoad")->Execute();
    EXPECT_EQ(integer("Width")->GetValue(), 800);
    EXPECT_EQ(integer("OffsetX")->GetValue(), 320);
    EXPECT_DOUBLE_EQ(floating("Gain")->GetValue(), 4.25);
    EXPECT_TRUE(boolean("LineInverter")->GetValue());
    EXPECT_DOUBLE_EQ(floating("AcquisitionFrameRate")->GetValue(), 12.5);

    // A reset returns to power-on values, then loads UserSetDefault; the user
    // ID and UserSetDefault itself are kept.
    string("DeviceUserID")->SetValue("line-4");
    set("UserSetDefault", "UserSet2");
    integer("Width")->SetValue(96);
    integer("TLParamsLocked")->SetValue(1);
    command("DeviceReset")->Execute();
    map._Ptr()->InvalidateNodes(); // a real device drops the connection: the host reads everything anew
    EXPECT_EQ(integer("Width")->GetValue(), 800);
    EXPECT_EQ(integer("TLParamsLocked")->GetValue(), 0);
    EXPECT_EQ(text("UserSetDefault"), "UserSet2");
    EXPECT_EQ(text("DeviceUserID"), "line-4");
    EXPECT_EQ(text("GainSelector"), "All");

    // A user-set file edited by hand: unknown and malformed lines are skipped.
    std::string edited = "# edited\nWidth = 320\nNoSuchSetting=1\nHeight=abc\nGain.All=2.5\n";
    camera.setFileContents("UserSet1", Bytes(edited.begin(), edited.end()));
    set("UserSetSelector", "UserSet1");
    command("UserSetLoad")->Execute();
    EXPECT_EQ(integer("Width")->GetValue(), 320);
    EXPECT_EQ(integer("Height")->GetValue(), 1024);
    EXPECT_DOUBLE_EQ(floating("Gain")->GetValue(), 2.5);
}

// ---------------------------------------------------------------- file access

TEST_F(SimCamera, FileAccessRoundTripsBytes) {
    EXPECT_EQ(camera.fileNames(), (std::vector<std::string>{"UserSet1", "UserSet2", "LUTFile", "DeviceLog"}));
    EXPECT_EQ(symbolics("FileSelector"), camera.fileNames());
    EXPECT_EQ(symbolics("FileOperationSelector"),
              (std::vector<std::string>{"Open", "Close", "Read", "Write", "Delete"}));
    EXPECT_EQ(symbolics("FileOpenMode"), (std::vector<std::string>{"Read", "Write", "ReadWrite"}));
    EXPECT_EQ(registr("FileAccessBuffer")->GetLength(), 1024);
    EXPECT_EQ(integer("FileAccessLength")->GetMax(), 1024);

    // Write 2500 bytes in chunks, then read them back.
    Bytes data = pattern(2500, 7);
    ASSERT_TRUE(open("UserSet2", "Write"));
    EXPECT_TRUE(camera.fileIsOpen("UserSet2"));
    for (size_t at = 0; at < data.size(); at += 1024) {
        auto n = static_cast<int64_t>(std::min<size_t>(1024, data.size() - at));
        ASSERT_TRUE(writeChunk("UserSet2", static_cast<int64_t>(at), data.data() + at, n)) << at;
    }
    fileOperation("UserSet2", "Close");
    EXPECT_TRUE(succeeded());
    EXPECT_FALSE(camera.fileIsOpen("UserSet2"));
    EXPECT_EQ(integer("FileSize")->GetValue(), 2500);
    EXPECT_EQ(*camera.fileContents("UserSet2"), data);

    ASSERT_TRUE(open("UserSet2", "Read"));
    EXPECT_EQ(readFile("UserSet2"), data);
    // A read that starts inside the file returns what is left.
    integer("FileAccessOffset")->SetValue(2400);
    integer("FileAccessLength")->SetValue(1000);
    fileOperation("UserSet2", "Read");
    EXPECT_TRUE(succeeded());
    EXPECT_EQ(result(), 100);
    Bytes buffer(1024);
    registr("FileAccessBuffer")->Get(buffer.data(), 1024);
    EXPECT_TRUE(std::equal(buffer.begin(), buffer.begin() + 100, data.begin() + 2400));
    // Writing to a file open for reading fails.
    EXPECT_FALSE(writeChunk("UserSet2", 0, data.data(), 10));
    EXPECT_FALSE(open("UserSet2", "Read")) << "already open";
    fileOperation("UserSet2", "Close");
    EXPECT_TRUE(succeeded());

    // ReadWrite keeps the content and lets it grow past 16 MiB.
    ASSERT_TRUE(open("UserSet2", "ReadWrite"));
    const int64_t far = 16 * 1024 * 1024;
    ASSERT_TRUE(writeChunk("UserSet2", far, data.data(), 1024));
    EXPECT_EQ(integer("FileSize")->GetValue(), far + 1024);
    integer("FileAccessOffset")->SetValue(far + 1000);
    integer("FileAccessLength")->SetValue(100);
    fileOperation("UserSet2", "Read");
    EXPECT_EQ(result(), 24);
    integer("FileAccessOffset")->SetValue(100);
    fileOperation("UserSet2", "Read");
    EXPECT_EQ(result(), 100);
    registr("FileAccessBuffer")->Get(buffer.data(), 1024);
    EXPECT_TRUE(std::equal(buffer.begin(), buffer.begin() + 100, data.begin() + 100));
    fileOperation("UserSet2", "Close");
    EXPECT_EQ(camera.fileContents("UserSet2")->size(), static_cast<size_t>(far + 1024));

    // Delete empties a file.
    fileOperation("UserSet2", "Delete");
    EXPECT_TRUE(succeeded());
    EXPECT_EQ(integer("FileSize")->GetValue(), 0);

    // The LUT file has content from the start.
    ASSERT_TRUE(open("LUTFile", "Read"));
    Bytes lut = readFile("LUTFile");
    ASSERT_EQ(lut.size(), 256u);
    EXPECT_EQ(lut.front(), 0);
    EXPECT_EQ(lut.back(), 255);
    fileOperation("LUTFile", "Close");
}

TEST_F(SimCamera, FileOperationsFailWhenNotAllowed) {
    // Operations on a file that is not open.
    for (const char* operation : {"Read", "Write", "Close"}) {
        integer("FileAccessLength")->SetValue(16);
        fileOperation("UserSet1", operation);
        EXPECT_FALSE(succeeded()) << operation;
        EXPECT_EQ(result(), 0) << operation;
    }

    // The log is read-only: its Write modes are unavailable, and the device
    // refuses them when forced.
    set("FileSelector", "DeviceLog");
    EXPECT_EQ(symbolics("FileOpenMode"), std::vector<std::string>{"Read"});
    EXPECT_EQ(CEnumEntryPtr(enumeration("FileOpenMode")->GetEntryByName("Write"))->GetAccessMode(), NA);
    EXPECT_THROW(set("FileOpenMode", "Write"), AccessException);
    for (int64_t mode : {1, 2}) {
        enumeration("FileOpenMode")->SetIntValue(mode, false);
        fileOperation("DeviceLog", "Open");
        EXPECT_FALSE(succeeded()) << mode;
        EXPECT_FALSE(camera.fileIsOpen("DeviceLog"));
    }
    fileOperation("DeviceLog", "Delete");
    EXPECT_FALSE(succeeded());
    set("FileSelector", "UserSet1");
    EXPECT_EQ(symbolics("FileOpenMode"), (std::vector<std::string>{"Read", "Write", "ReadWrite"}));

    ASSERT_TRUE(open("DeviceLog", "Read"));
    Bytes log = readFile("DeviceLog");
    EXPECT_EQ(log, *camera.fileContents("DeviceLog"));
    std::string logText(log.begin(), log.end());
    EXPECT_TRUE(logText.starts_with("[     0.000] Torvex TVX1280M")) << logText;
    EXPECT_NE(logText.find("] ready\n"), std::string::npos);
    EXPECT_FALSE(writeChunk("DeviceLog", 0, log.data(), 4));
    fileOperation("DeviceLog", "Close");
    EXPECT_TRUE(succeeded());

    // Past the largest file size.
    ASSERT_TRUE(open("UserSet2", "Write"));
    Bytes some(16, 0xAB);
    EXPECT_FALSE(writeChunk("UserSet2", 64 * 1024 * 1024 - 8, some.data(), 16));
    EXPECT_EQ(camera.fileContents("UserSet2")->size(), 0u);
    fileOperation("UserSet2", "Close");

    // Opening for Write discards the old content, and the log notes the close.
    size_t logSize = camera.fileContents("DeviceLog")->size();
    ASSERT_TRUE(open("UserSet1", "Write"));
    EXPECT_EQ(integer("FileSize")->GetValue(), 0);
    fileOperation("UserSet1", "Close");
    EXPECT_GT(camera.fileContents("DeviceLog")->size(), logSize);
}

// ---------------------------------------------------------------- threads

TEST(SimCameraThreads, PollingAndEditingAtOnce) {
    SimulatedCamera camera; // the steady clock
    CNodeMapRef map;
    map._LoadXMLFromString(GenICam::gcstring(SimulatedCamera::descriptionXml()));
    map._Connect(&camera);
    std::atomic<bool> failed{false};
    std::thread poller([&] {
        try {
            CFloatPtr temperature = map._GetNode("DeviceTemperature");
            CIntegerPtr frames = map._GetNode("FrameCounter");
            int64_t last = 0;
            for (int i = 0; i < 300; ++i) {
                double t = temperature->GetValue();
                int64_t f = frames->GetValue();
                if (t < 20 || t > 60 || f < last) failed = true;
                last = f;
            }
        } catch (const GenericException&) {
            failed = true;
        }
    });
    std::thread raw([&] {
        try {
            for (uint32_t i = 0; i < 300; ++i) {
                uint8_t out[4] = {uint8_t(i >> 24), uint8_t(i >> 16), uint8_t(i >> 8), uint8_t(i)}, in[4];
                camera.Write(out, 0x600000, 4);
                camera.Read(in, 0x600000, 4);
                if (std::memcmp(in, out, 4) != 0) failed = true;
                uint8_t lut[256];
                camera.Read(lut, static_cast<int64_t>(reg::kLut), 256);
            }
        } catch (const GenericException&) {
            failed = true;
        }
    });
    CIntegerPtr width = map._GetNode("Width");
    for (int i = 0; i < 300; ++i) width->SetValue(16 + 16 * (i % 80));
    poller.join();
    raw.join();
    EXPECT_FALSE(failed);
    EXPECT_GT(camera.readCount(), 600u);
    EXPECT_GE(camera.writeCount(), 600u);
}

} // namespace
