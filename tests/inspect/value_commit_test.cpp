// Committing typed values over a memory port: refused text writes nothing and
// says why; accepted values reach the device and the host, selectors first.

#include "inspect/value_commit.h"
#include "inspect_support.h"

namespace {

using quillon::inspect::CommitValue;
using quillon_inspect_test::Reg;
using Reports = std::vector<std::pair<std::string, std::string>>;

// GevMACAddress is shown as a MAC address by its name alone.
const std::string kBody =
    Reg("WidthReg", "0x0") + Reg("AddressReg", "0x4") + Reg("ReverseReg", "0x20") +
    Reg("ModeReg", "0x30") + Reg("ChannelReg", "0x34") +
    R"(<Integer Name="Width"><pValue>WidthReg</pValue><Min>16</Min><Max>1280</Max><Inc>4</Inc></Integer>
    <Integer Name="Address"><pValue>AddressReg</pValue><Representation>IPV4Address</Representation></Integer>
    <Float Name="Gain"><pValue>GainReg</pValue><Min>0</Min><Max>12</Max><Inc>0.5</Inc></Float>
    <FloatReg Name="GainReg"><Address>0x10</Address><Length>8</Length><AccessMode>RW</AccessMode>
      <pPort>Device</pPort><Endianess>LittleEndian</Endianess></FloatReg>
    <Boolean Name="Reverse"><pValue>ReverseReg</pValue><OnValue>1</OnValue><OffValue>0</OffValue></Boolean>
    <StringReg Name="UserName"><Address>0x40</Address><Length>8</Length><AccessMode>RW</AccessMode>
      <pPort>Device</pPort></StringReg>
    <Enumeration Name="Mode"><EnumEntry Name="Off"><Value>0</Value></EnumEntry><EnumEntry Name="Continuous">
      <DisplayName>Continuous Run</DisplayName><Value>2</Value></EnumEntry><pValue>ModeReg</pValue></Enumeration>
    <Enumeration Name="Channel"><EnumEntry Name="A"><Value>0</Value></EnumEntry><EnumEntry Name="B">
      <Value>1</Value></EnumEntry><pValue>ChannelReg</pValue><pSelected>Width</pSelected></Enumeration>
    <Integer Name="Fixed"><ImposedAccessMode>RO</ImposedAccessMode><Value>3</Value></Integer>
    <IntReg Name="GevMACAddress"><Address>0x50</Address><Length>8</Length><AccessMode>RW</AccessMode>
      <pPort>Device</pPort><Endianess>LittleEndian</Endianess></IntReg>)";

struct ValueCommit : ::testing::Test {
    quillon_inspect_test::MemoryDevice device{kBody};
    quillon_inspect_test::HostRecorder host;
    uint64_t Word(int64_t address, int64_t length = 4) {
        uint64_t v = 0;
        device.port.Read(&v, address, length);
        return v;
    }
};

} // namespace

TEST_F(ValueCommit, RefusedTextWritesNothingAndSaysWhy) {
    // clang-format off
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"Width", "12x", "\"12x\" is not an integer."},
        {"Width", "", "\"\" is not an integer."},
        {"Width", "2000", "2000 is out of range: the minimum is 16 and the maximum is 1280."},
        {"Width", "-2", "-2 is out of range: the minimum is 16 and the maximum is 1280."},
        {"Width", "18", "18 is not valid: the value must be 16 plus a multiple of 4."},
        {"Gain", "abc", "\"abc\" is not a number."},
        {"Gain", "12.5", "12.5 is out of range: the minimum is 0 and the maximum is 12."},
        {"Gain", "0.7", "0.7 is not valid: the value must be 0 plus a multiple of 0.5."},
        {"Reverse", "yes", "\"yes\" is not a boolean value: use 1 or 0, true or false."},
        {"UserName", "far too long", "The text has 12 characters; UserName takes at most 8."},
        {"Mode", "Burst", "\"Burst\" is not an available entry of Mode."},
        {"Address", "192.168.0.256", "\"192.168.0.256\" is not an integer."},
        {"GevMACAddress", "02-11-22-33-44", "\"02-11-22-33-44\" is not an integer."},
        {"Fixed", "3", "Fixed is not writable."}};
    // clang-format on
    for (auto [name, text, message] : rows) {
        const uint64_t writes = device.port.WriteCount();
        const auto result =
            CommitValue(device.node(name), name, text, host.context(device.nodeMap()));
        EXPECT_FALSE(result.written) << name << " <- " << text;
        EXPECT_EQ(result.message, message);
        EXPECT_EQ(device.port.WriteCount(), writes) << name << " <- " << text;
    }
    EXPECT_TRUE(host.reports.empty());
}

TEST_F(ValueCommit, AcceptedValuesReachTheDeviceAndTheHost) {
    struct Row {
        const char* name;
        const char* text;
        Reports reports;
        int64_t address, length;
        uint64_t stored;
    };
    // clang-format off
    const Row rows[] = {
        {"Width", "640", {{"SELECTOR_ENUM_Channel", "A"}, {"INT_Width", "640"}}, 0x0, 4, 640},
        {"Width", "0x50", {{"SELECTOR_ENUM_Channel", "A"}, {"INT_Width", "80"}}, 0x0, 4, 80},
        {"Address", "192.168.0.1", {{"INT_Address", "3232235521"}}, 0x4, 4, 0xC0A80001},
        // As the row and the editor show it, or colon-separated.
        {"GevMACAddress", "02-11-22-33-44-AA", {{"INT_GevMACAddress", std::to_string(0x0211223344AA)}}, 0x50, 8,
         0x0211223344AA},
        {"GevMACAddress", "02:11:22:33:44:AB", {{"INT_GevMACAddress", std::to_string(0x0211223344AB)}}, 0x50, 8,
         0x0211223344AB},
        {"Gain", "2.5", {{"FLOAT_Gain", "2.5"}}, 0x10, 8, 0x4004000000000000},
        {"Reverse", "True", {{"BOOL_Reverse", "1"}}, 0x20, 4, 1},
        {"UserName", "cam", {{"STR_UserName", "cam"}}, 0x40, 4, 0x6D6163},
        // By symbolic or display name; the host hears the symbolic name.
        {"Mode", "Continuous Run", {{"ENUM_Mode", "Continuous"}}, 0x30, 4, 2},
        {"Mode", "Off", {{"ENUM_Mode", "Off"}}, 0x30, 4, 0}};
    // clang-format on
    for (const Row& row : rows) {
        host.reports.clear();
        const auto result =
            CommitValue(device.node(row.name), row.name, row.text, host.context(device.nodeMap()));
        EXPECT_TRUE(result.written) << row.name << " <- " << row.text << ": " << result.message;
        EXPECT_EQ(result.message, "");
        EXPECT_EQ(host.reports, row.reports) << row.name << " <- " << row.text;
        EXPECT_EQ(Word(row.address, row.length), row.stored) << row.name << " <- " << row.text;
    }
    // Without a host callback the value is still written.
    EXPECT_TRUE(
        CommitValue(device.node("Width"), "Width", "320", quillon::browser::NodeMapContext{})
            .written);
    EXPECT_EQ(Word(0x0), 320u);
}
