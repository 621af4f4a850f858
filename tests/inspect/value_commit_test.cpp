// Committing typed values into a real node map over a memory port: what is
// refused writes nothing, what is accepted reaches the device and the host.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "GenApi/GenApi.h"
#include "inspect/value_commit.h"
#include "inspect_fixtures.h"

namespace {

using quillon::inspect::CommitValue;
using quillon_inspect_test::HostRecorder;
using quillon_inspect_test::MemoryDevice;
using Reports = std::vector<std::pair<std::string, std::string>>;

std::string reg(const char* name, const char* address, const char* extra = "") {
    return std::string("<IntReg Name=\"") + name + "\"><Address>" + address +
           "</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
           "<Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>" +
           extra + "</IntReg>";
}

const std::string kBody =
    "<Integer "
    "Name=\"Width\"><pValue>WidthReg</pValue><Min>16</Min><Max>1280</Max><Inc>4</Inc></Integer>" +
    reg("WidthReg", "0x0") +
    "<Integer "
    "Name=\"Address\"><pValue>AddressReg</pValue><Representation>IPV4Address</Representation></"
    "Integer>" +
    reg("AddressReg", "0x4") +
    "<Float Name=\"Gain\"><pValue>GainReg</pValue><Min>0</Min><Max>12</Max><Inc>0.5</Inc></Float>"
    "<FloatReg "
    "Name=\"GainReg\"><Address>0x10</Address><Length>8</Length><AccessMode>RW</AccessMode>"
    "<pPort>Device</pPort><Endianess>LittleEndian</Endianess></FloatReg>"
    "<Boolean "
    "Name=\"Reverse\"><pValue>ReverseReg</pValue><OnValue>1</OnValue><OffValue>0</OffValue></"
    "Boolean>" +
    reg("ReverseReg", "0x20") +
    "<StringReg "
    "Name=\"UserName\"><Address>0x40</Address><Length>8</Length><AccessMode>RW</AccessMode>"
    "<pPort>Device</pPort></StringReg>"
    "<Enumeration Name=\"Mode\"><EnumEntry Name=\"Off\"><Value>0</Value></EnumEntry>"
    "<EnumEntry Name=\"Continuous\"><DisplayName>Continuous "
    "Run</DisplayName><Value>2</Value></EnumEntry>"
    "<pValue>ModeReg</pValue></Enumeration>" +
    reg("ModeReg", "0x30") +
    "<Enumeration Name=\"Channel\"><EnumEntry Name=\"A\"><Value>0</Value></EnumEntry>"
    "<EnumEntry Name=\"B\"><Value>1</Value></EnumEntry><pValue>ChannelReg</pValue>"
    "<pSelected>Width</pSelected></Enumeration>" +
    reg("ChannelReg", "0x34") +
    "<Integer Name=\"Fixed\"><ImposedAccessMode>RO</ImposedAccessMode><Value>3</Value></Integer>"
    // Shown as a MAC address by its name alone.
    "<IntReg "
    "Name=\"GevMACAddress\"><Address>0x50</Address><Length>8</Length><AccessMode>RW</AccessMode>"
    "<pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>";

class ValueCommit : public ::testing::Test {
protected:
    MemoryDevice device{kBody};
    HostRecorder host;

    uint32_t word(int64_t address) {
        uint32_t v = 0;
        device.port.Read(&v, address, 4);
        return v;
    }
    // Refused text: a message naming the problem, no write, no report.
    void expectRefused(const char* name, const std::string& text, const std::string& message) {
        SCOPED_TRACE(std::string(name) + " <- " + text);
        uint64_t writes = device.port.WriteCount();
        auto result = CommitValue(device.node(name), name, text, host.context(device.nodeMap()));
        EXPECT_FALSE(result.written);
        EXPECT_EQ(result.message, message);
        EXPECT_EQ(device.port.WriteCount(), writes);
        EXPECT_TRUE(host.reports.empty());
    }
    Reports commit(const char* name, const std::string& text) {
        host.reports.clear();
        auto result = CommitValue(device.node(name), name, text, host.context(device.nodeMap()));
        EXPECT_TRUE(result.written) << result.message;
        EXPECT_EQ(result.message, "");
        return host.reports;
    }
};

TEST_F(ValueCommit, RefusedTextWritesNothingAndSaysWhy) {
    expectRefused("Width", "12x", "\"12x\" is not an integer.");
    expectRefused("Width", "", "\"\" is not an integer.");
    expectRefused("Width", "2000", "2000 is out of range: the minimum is 16 and the maximum is 1280.");
    expectRefused("Width", "-4", "-4 is out of range: the minimum is 16 and the maximum is 1280.");
    expectRefused("Width", "18", "18 is not valid: the value must be 16 plus a multiple of 4.");
    expectRefused("Gain", "abc", "\"abc\" is not a number.");
    expectRefused("Gain", "12.5", "12.5 is out of range: the minimum is 0 and the maximum is 12.");
    expectRefused("Gain", "0.7", "0.7 is not valid: the value must be 0 plus a multiple of 0.5.");
    expectRefused("Reverse", "yes", "\"yes\" is not a boolean value: use 1 or 0, true or false.");
    expectRefused("UserName", "far too long", "The text has 12 characters; UserName takes at most 8.");
    expectRefused("Mode", "Burst", "\"Burst\" is not an available entry of Mode.");
    expectRefused("Address", "192.168.0.256", "\"192.168.0.256\" is not an integer.");
    expectRefused("Fixed", "3", "Fixed is not writable.");
}

TEST_F(ValueCommit, AcceptedValuesReachTheDeviceAndTheHost) {
    EXPECT_EQ(commit("Width", "640"), (Reports{{"SELECTOR_ENUM_Channel", "A"}, {"INT_Width", "640"}}));
    EXPECT_EQ(word(0x0), 640u);
    EXPECT_EQ(commit("Width", "0x50"), (Reports{{"SELECTOR_ENUM_Channel", "A"}, {"INT_Width", "80"}}));
    EXPECT_EQ(word(0x0), 80u);

    EXPECT_EQ(commit("Address", "192.168.0.1"), (Reports{{"INT_Address", "3232235521"}}));
    EXPECT_EQ(word(0x4), 0xC0A80001u);
    // As the row and the editor show it.
    EXPECT_EQ(commit("GevMACAddress", "02-11-22-33-44-AA"),
              (Reports{{"INT_GevMACAddress", std::to_string(0x0211223344AA)}}));

    EXPECT_EQ(commit("Gain", "2.5"), (Reports{{"FLOAT_Gain", "2.5"}}));
    double gain = 0;
    device.port.Read(&gain, 0x10, 8);
    EXPECT_EQ(gain, 2.5);

    EXPECT_EQ(commit("Reverse", "True"), (Reports{{"BOOL_Reverse", "1"}}));
    EXPECT_EQ(word(0x20), 1u);
    EXPECT_EQ(commit("Reverse", "0"), (Reports{{"BOOL_Reverse", "0"}}));
    EXPECT_EQ(word(0x20), 0u);

    EXPECT_EQ(commit("UserName", "cam one"), (Reports{{"STR_UserName", "cam one"}}));
    char name[9] = {};
    device.port.Read(name, 0x40, 8);
    EXPECT_STREQ(name, "cam one");

    // By symbolic or display name; the host hears the symbolic name.
    EXPECT_EQ(commit("Mode", "Continuous Run"), (Reports{{"ENUM_Mode", "Continuous"}}));
    EXPECT_EQ(word(0x30), 2u);
    EXPECT_EQ(commit("Mode", "Off"), (Reports{{"ENUM_Mode", "Off"}}));
    EXPECT_EQ(word(0x30), 0u);
}

TEST_F(ValueCommit, WithoutHostCallbackTheValueIsStillWritten) {
    quillon::browser::NodeMapContext noHost;
    auto result = CommitValue(device.node("Width"), "Width", "320", noHost);
    EXPECT_TRUE(result.written);
    EXPECT_EQ(word(0x0), 320u);
}

} // namespace
