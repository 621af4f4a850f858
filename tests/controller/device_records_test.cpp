// The descriptor records over the simulated system: how each kind obtains
// its node map and hands it back, what a device entry carries, the version
// of record 0, short records widened and copied back, and records that fail.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "GenApi/GenApi.h"
#include "GenApi/MemoryPort.h"
#include "device_records.h"
#include "qorvis.h"

using namespace quillon::controller;
namespace fs = std::filesystem;

namespace {

struct Library {
    QOR_ID app = 0, sys = 0, dig = 0, seq = 0;
    GenApi::INodeMap* camera = nullptr;
    Library() {
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
        QappAlloc(QOR_TEXT(""), &app);
        QsysAlloc(app, Q_SYSTEM_SIMULATED, 0, Q_DEFAULT, &sys);
        QdigAlloc(sys, 0, QOR_TEXT(""), Q_DEFAULT, &dig);
        QseqAlloc(sys, 0, 1, Q_DEFAULT, &seq);
        QOR_INT64 pointer = 0;
        QdigInquire(dig, Q_GC_NODE_MAP, &pointer);
        camera = reinterpret_cast<GenApi::INodeMap*>(static_cast<intptr_t>(pointer));
    }
    ~Library() {
        QseqFree(seq);
        QdigFree(dig);
        QsysFree(sys);
        QappFree(app);
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_RESET, 0);
    }
};

ControllerDeviceDesc Record(uint32_t kind, int64_t object, const char* load = QUILLON_DATA_DIR) {
    ControllerDeviceDesc r{};
    r.DescKind = kind;
    r.Object = object;
    r.DeviceLoad = load;
    r.Version = 3;
    return r;
}

std::string Read(GenApi::INodeMap* map, const char* feature) {
    GenApi::CValuePtr value = map->GetNode(feature);
    return value ? std::string(value->ToString()) : std::string("<none>");
}

} // namespace

TEST(DeviceRecords, EachKindObtainsItsNodeMapAndHandsItBack) {
    Library lib;
    GenApi::CNodeMapRef hostMap;
    hostMap._LoadXMLFromFile(QUILLON_DATA_DIR "TorvexSimCamera.xml");
    GenApi::CMemoryPort port;
    hostMap._Connect(&port);

    std::vector<ControllerDeviceDesc> records = {Record(CONTROLLER_DESC_LIBRARY_NODE_MAP, lib.dig),
                                                 Record(CONTROLLER_DESC_LOAD_NODE_MAP, lib.sys),
                                                 Record(CONTROLLER_DESC_LOAD_NODE_MAP, lib.seq),
                                                 Record(CONTROLLER_DESC_HOST_NODE_MAP, lib.dig),
                                                 Record(CONTROLLER_DESC_HOST_ONLY, 0)};
    records[3].NodeMap = hostMap._Ptr();
    records[4].NodeMap = hostMap._Ptr();
    DeviceSet set(records.data(), static_cast<int64_t>(records.size()));

    ASSERT_EQ(set.devices().size(), 5u);
    // Kind 0: the library's own map of the digitizer's camera.
    EXPECT_EQ(records[0].NodeMap, lib.camera);
    EXPECT_EQ(set.devices()[0].entry.context.objectKind, 0);
    // Kind 1: loaded from data/ over a port on the object; the set owns it
    // and it reads the object's controls while the set lives.
    ASSERT_NE(records[1].NodeMap, nullptr);
    ASSERT_NE(records[2].NodeMap, nullptr);
    EXPECT_NE(records[1].NodeMap, records[2].NodeMap);
    EXPECT_TRUE(set.devices()[1].ownsLoadedNodeMap);
    EXPECT_EQ(set.devices()[1].entry.context.objectKind, Q_SYSTEM_OBJECT);
    EXPECT_EQ(set.devices()[2].entry.context.objectKind, Q_SEQUENCE_OBJECT);
    auto* system = static_cast<GenApi::INodeMap*>(records[1].NodeMap);
    QOR_INT64 systemNumber = -1;
    QsysInquire(lib.sys, Q_SYS_SYSTEM_NUMBER, &systemNumber);
    GenApi::CIntegerPtr number = system->GetNode("SystemNumber");
    ASSERT_TRUE(number.IsValid());
    EXPECT_EQ(number->GetValue(), systemNumber);
    // Kinds 2 and 3: the host's map; kind 2 asks for its object's kind.
    EXPECT_EQ(records[3].NodeMap, hostMap._Ptr());
    EXPECT_EQ(set.devices()[3].entry.context.objectKind, Q_DIGITIZER_OBJECT);
    EXPECT_FALSE(set.devices()[3].ownsLoadedNodeMap);
    EXPECT_TRUE(set.devices()[4].hostOnly);
    EXPECT_FALSE(set.devices()[3].hostOnly);
    EXPECT_EQ(Read(static_cast<GenApi::INodeMap*>(records[0].NodeMap), "DeviceVendorName"),
              "Torvex");
}

TEST(DeviceRecords, RecordsWithoutNodeMapAreSkippedButTheirTitlesCount) {
    Library lib;
    const fs::path empty = fs::temp_directory_path() / "quillon_records_empty/";
    fs::create_directories(empty);
    std::vector<ControllerDeviceDesc> records = {
        Record(CONTROLLER_DESC_LOAD_NODE_MAP, lib.sys, empty.c_str()), // no description there
        Record(CONTROLLER_DESC_LOAD_NODE_MAP, lib.sys, nullptr),       // no folder at all
        Record(CONTROLLER_DESC_LOAD_NODE_MAP, 0),                      // no object
        Record(CONTROLLER_DESC_HOST_NODE_MAP, lib.dig),                // the host gave no map
        Record(7, lib.dig),                                            // unknown kind
        Record(CONTROLLER_DESC_LIBRARY_NODE_MAP, 0)};                  // not a digitizer
    records[0].WindowTitle = "first";
    records[4].WindowTitle = "from a skipped record";
    records[3].NodeMap = nullptr;
    void* marker = &lib;
    records[4].NodeMap = marker;
    DeviceSet set(records.data(), static_cast<int64_t>(records.size()));

    EXPECT_TRUE(set.devices().empty());
    for (size_t i : {0, 1, 2, 3, 5})
        EXPECT_EQ(records[i].NodeMap, nullptr) << i;
    EXPECT_EQ(records[4].NodeMap, marker); // a skipped record is left as it was
    ASSERT_TRUE(set.title().has_value());
    EXPECT_EQ(*set.title(), "from a skipped record");
    fs::remove_all(empty);

    DeviceSet none(nullptr, 3);
    EXPECT_TRUE(none.devices().empty());
    EXPECT_FALSE(none.title().has_value());
    DeviceSet negative(records.data(), -1);
    EXPECT_TRUE(negative.devices().empty());
}

TEST(DeviceRecords, EntriesCarryLabelsValuesAndTheFirstRecordsVersion) {
    Library lib;
    std::vector<ControllerDeviceDesc> records = {Record(CONTROLLER_DESC_LIBRARY_NODE_MAP, lib.dig),
                                                 Record(CONTROLLER_DESC_LOAD_NODE_MAP, lib.dig)};
    records[0].Label1 = "Camera";
    records[0].Label2 = "second";
    records[0].Label4 = "fourth";
    records[0].Value1 = 11;
    records[1].Value2 = 22;
    records[1].Version = 4; // a later record's version is never read
    {
        DeviceSet set(records.data(), 2);
        ASSERT_EQ(set.devices().size(), 2u);
        const auto& first = set.devices()[0].entry.context;
        EXPECT_EQ(first.caption, "Camera");
        EXPECT_EQ(first.labels[0], "Camera");
        EXPECT_EQ(first.labels[1], "second");
        EXPECT_EQ(first.labels[2], "");
        EXPECT_EQ(first.labels[3], "fourth");
        EXPECT_EQ(first.firstValue, 11);
        EXPECT_EQ(first.secondValue, 0);
        const auto& second = set.devices()[1].entry.context;
        EXPECT_EQ(second.caption, "");
        EXPECT_EQ(second.secondValue, 22);
        for (const auto& device : set.devices())
            EXPECT_FALSE(device.entry.context.extended);
        EXPECT_FALSE(set.title().has_value());
    }
    records[0].Version = 4;
    records[1].Version = 3;
    DeviceSet set(records.data(), 2);
    ASSERT_EQ(set.NodeMapEntries().size(), 2u);
    for (const auto& entry : set.NodeMapEntries())
        EXPECT_TRUE(entry.context.extended);
    EXPECT_EQ(set.NodeMapEntries()[1].context.nodeMap, records[1].NodeMap);
}

TEST(DeviceRecords, AFailingDescriptionDropsOnlyItsRecord) {
    Library lib;
    const fs::path broken = fs::temp_directory_path() / "quillon_records_broken/";
    fs::create_directories(broken);
    std::ofstream(broken / "QsysControl_sim.xml")
        << "<RegisterDescription><Category Name=\"Root\">";
    std::vector<ControllerDeviceDesc> records = {
        Record(CONTROLLER_DESC_LOAD_NODE_MAP, lib.sys, broken.c_str()),
        Record(CONTROLLER_DESC_LIBRARY_NODE_MAP, lib.dig)};
    DeviceSet set(records.data(), 2);
    ASSERT_EQ(set.devices().size(), 1u);
    EXPECT_EQ(records[0].NodeMap, nullptr);
    EXPECT_EQ(records[1].NodeMap, lib.camera);
    fs::remove_all(broken);
}

TEST(DeviceRecords, ShortRecordsAreWidenedAndCopiedBackByTheirFirst56Bytes) {
    // Three short records and a guard that the copy-back must not touch.
    ControllerDeviceDescV2 host[4];
    std::memset(host, 0xA5, sizeof host);
    for (int i = 0; i < 3; ++i) {
        host[i].DescKind = static_cast<uint32_t>(i);
        host[i].Object = 100 + i;
        host[i].NodeMap = nullptr;
        host[i].Label1 = "label";
        host[i].Value1 = i;
    }
    std::vector<ControllerDeviceDesc> wide = WidenRecords(host, 3);
    ASSERT_EQ(wide.size(), 3u);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(std::memcmp(&wide[i], &host[i], sizeof(ControllerDeviceDescV2)), 0);
        EXPECT_EQ(wide[i].Version, 3);
        EXPECT_EQ(wide[i].WindowTitle, nullptr);
        EXPECT_EQ(wide[i].Label2, nullptr);
        EXPECT_EQ(wide[i].Label4, nullptr);
    }
    int map = 0;
    wide[1].NodeMap = &map;
    wide[2].Value2 = 99;
    const ControllerDeviceDescV2 guard = host[3];
    CopyBackRecords(wide, host);
    EXPECT_EQ(host[1].NodeMap, &map);
    EXPECT_EQ(host[2].Value2, 99);
    EXPECT_EQ(std::memcmp(&host[3], &guard, sizeof guard), 0);

    EXPECT_TRUE(WidenRecords(host, 0).empty());
    EXPECT_THROW(WidenRecords(host, -1), std::bad_alloc);
    EXPECT_THROW(WidenRecords(host, INT64_MAX), std::exception);
}
