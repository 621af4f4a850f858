// Live node maps: callbacks after writes, invalidation and polls, in the
// promised lock state; polling cadence; command completion.
#include <gtest/gtest.h>

#include <future>
#include <map>
#include <string>

#include "fixture_device.h"

using namespace GenApi;
using quillon_test::Device;
using quillon_test::inlineDescription;

namespace {

const std::string kLive = inlineDescription(R"(
  <IntReg Name="Reg"><Address>0x10</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Integer Name="Value"><pValue>Reg</pValue></Integer>
  <IntSwissKnife Name="Twice"><pVariable Name="V">Value</pVariable><Formula>V*2</Formula></IntSwissKnife>
  <Integer Name="Other"><Value>5</Value></Integer>
  <IntReg Name="Cached"><Address>0x20</Address><Length>4</Length><AccessMode>RO</AccessMode>
    <pPort>Device</pPort><pInvalidator>Other</pInvalidator><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <IntReg Name="Temperature"><Address>0x30</Address><Length>4</Length><AccessMode>RO</AccessMode>
    <pPort>Device</pPort><PollingTime>100</PollingTime><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <IntReg Name="Counter"><Address>0x34</Address><Length>4</Length><AccessMode>RO</AccessMode>
    <pPort>Device</pPort><PollingTime>250</PollingTime><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Command Name="Start"><pValue>StartReg</pValue><CommandValue>1</CommandValue></Command>
  <IntReg Name="StartReg"><Address>0x40</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
)");

// Counts callbacks per node and notes whether the node map's lock was free
// (tried from another thread) when each one ran.
struct Recorder {
    std::map<std::string, int> calls;
    std::map<std::string, bool> lockFree;
    INodeMap* map = nullptr;

    void onChange(INode* node) {
        std::string name(node->GetName());
        ++calls[name];
        auto other = std::async(std::launch::async, [this] {
            bool got = map->GetLock().try_lock();
            if (got) map->GetLock().unlock();
            return got;
        });
        lockFree[name] = other.get();
    }
};

struct LiveMap : ::testing::Test {
    Device device{Device::Xml{kLive}};
    Recorder recorder;
    std::vector<std::pair<INode*, CallbackHandleType>> handles;

    void SetUp() override { recorder.map = device.map._Ptr(); }
    void TearDown() override {
        for (auto& [node, handle] : handles) node->DeregisterCallback(handle);
    }
    void watch(const char* name, ECallbackType type = cbPostInsideLock) {
        INode* n = device.node(name);
        handles.emplace_back(n, Register(n, recorder, &Recorder::onChange, type));
    }
    int calls(const char* name) { return recorder.calls[name]; }
};

} // namespace

TEST_F(LiveMap, AWriteCallsBackTheNodeAndEverythingComputedFromItOnce) {
    for (const char* n : {"Reg", "Value", "Twice", "Other", "Cached"}) watch(n);
    CIntegerPtr(device.node("Value"))->SetValue(21);
    EXPECT_EQ(calls("Value"), 1);
    EXPECT_EQ(calls("Reg"), 1);
    EXPECT_EQ(calls("Twice"), 1);
    EXPECT_EQ(calls("Other"), 0);
    EXPECT_EQ(calls("Cached"), 0);
    EXPECT_EQ(CIntegerPtr(device.node("Twice"))->GetValue(), 42);

    // A write to an invalidator calls back the node it invalidates.
    CIntegerPtr(device.node("Other"))->SetValue(6);
    EXPECT_EQ(calls("Other"), 1);
    EXPECT_EQ(calls("Cached"), 1);
    EXPECT_EQ(calls("Value"), 1);
}

TEST_F(LiveMap, InsideLockCallbacksHoldTheLockOutsideLockOnesDoNot) {
    watch("Value", cbPostInsideLock);
    watch("Twice", cbPostOutsideLock);
    CIntegerPtr(device.node("Value"))->SetValue(3);
    ASSERT_EQ(calls("Value"), 1);
    ASSERT_EQ(calls("Twice"), 1);
    EXPECT_FALSE(recorder.lockFree["Value"]);
    EXPECT_TRUE(recorder.lockFree["Twice"]);
}

TEST_F(LiveMap, InvalidationCallsBackAndRereadsTheDevice) {
    watch("Value");
    watch("Twice");
    CIntegerPtr value(device.node("Value"));
    EXPECT_EQ(value->GetValue(), 0);
    device.putLE(0x10, 7, 4); // the device changes behind the node map's back
    EXPECT_EQ(value->GetValue(), 0) << "the register's cache still answers";
    device.node("Value")->InvalidateNode();
    EXPECT_EQ(calls("Value"), 1);
    EXPECT_EQ(calls("Twice"), 1);
    EXPECT_EQ(value->GetValue(), 7);
}

TEST_F(LiveMap, DeregisteredCallbacksStaySilent) {
    INode* n = device.node("Value");
    CallbackHandleType h = Register(n, recorder, &Recorder::onChange);
    CIntegerPtr(n)->SetValue(1);
    EXPECT_TRUE(n->DeregisterCallback(h));
    EXPECT_FALSE(n->DeregisterCallback(h));
    CIntegerPtr(n)->SetValue(2);
    EXPECT_EQ(calls("Value"), 1);
}

TEST_F(LiveMap, PollingFollowsEachNodesPollingTime) {
    watch("Temperature");
    watch("Counter");
    watch("Value");
    INodeMap* map = device.map._Ptr();
    EXPECT_EQ(device.node("Temperature")->GetPollingTime(), 100);
    EXPECT_EQ(device.node("Value")->GetPollingTime(), -1);
    CIntegerPtr temperature(device.node("Temperature"));
    EXPECT_EQ(temperature->GetValue(), 0);
    device.putLE(0x30, 55, 4);

    map->Poll(60);
    EXPECT_EQ(calls("Temperature"), 0);
    EXPECT_EQ(temperature->GetValue(), 0) << "not due yet: the cache answers";
    map->Poll(40);
    EXPECT_EQ(calls("Temperature"), 1);
    EXPECT_EQ(temperature->GetValue(), 55);
    // 1000 ms in ten polls: the 100 ms node is due ten times, the 250 ms one four.
    for (int i = 0; i < 10; ++i) map->Poll(100);
    EXPECT_EQ(calls("Temperature"), 11);
    EXPECT_EQ(calls("Counter"), 4);
    EXPECT_EQ(calls("Value"), 0);
    // One long gap makes a node due once, not once per missed period.
    map->Poll(1000);
    EXPECT_EQ(calls("Temperature"), 12);
}

TEST_F(LiveMap, CommandIsDoneOnceTheDeviceClearsItsValue) {
    watch("Start");
    CCommandPtr start(device.node("Start"));
    EXPECT_TRUE(start->IsDone());
    start->Execute();
    EXPECT_EQ(device.getLE(0x40, 4), 1u);
    int before = calls("Start");
    EXPECT_FALSE(start->IsDone());
    EXPECT_FALSE(start->IsDone());
    device.putLE(0x40, 0, 4); // the device finishes
    EXPECT_TRUE(start->IsDone());
    EXPECT_EQ(calls("Start"), before + 1) << "completion is reported once";
    EXPECT_TRUE(start->IsDone());
    EXPECT_EQ(calls("Start"), before + 1);
}
