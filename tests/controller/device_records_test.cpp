// The descriptor records over the simulated system: how each kind obtains
// its node map and hands it back, records that give none, and what a device
// entry carries, with the version of record 0 for all.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "GenApi/GenApi.h"
#include "device_records.h"
#include "qorvis.h"

using namespace quillon::controller;
namespace fs = std::filesystem;

namespace {

struct Library {
    QOR_ID app = 0, sys = 0, dig = 0, seq = 0;
    void* camera = nullptr;
    Library() {
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
        QappAlloc(QOR_TEXT(""), &app);
        QsysAlloc(app, Q_SYSTEM_SIMULATED, 0, Q_DEFAULT, &sys);
        QseqAlloc(sys, 0, 1, Q_DEFAULT, &seq);
        camera = reinterpret_cast<void*>(
            QdigInquire(QdigAlloc(sys, 0, "", Q_DEFAULT, &dig), Q_GC_NODE_MAP, nullptr));
    }
    ~Library() {
        QsysFree(sys);
        QappFree(app);
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_RESET, 0);
    }
};

ControllerDeviceDesc record(uint32_t kind, int64_t object, void* map = nullptr,
                            const char* load = QUILLON_DATA_DIR) {
    ControllerDeviceDesc r{};
    r.DescKind = kind;
    r.Object = object;
    r.NodeMap = map;
    r.DeviceLoad = load;
    r.Version = 3;
    return r;
}

} // namespace

TEST(DeviceRecords, EachKindObtainsItsNodeMapOrDropsTheRecord) {
    Library lib;
    GenApi::CNodeMapRef host;
    host._LoadXMLFromFile(QUILLON_DATA_DIR "TorvexSimCamera.xml");
    const fs::path broken = fs::temp_directory_path() / "quillon_records_broken/";
    fs::create_directories(broken);
    std::ofstream(broken / "QsysControl_sim.xml")
        << "<RegisterDescription><Category Name=\"Root\">";
    // The records, and the object kind of each one's entry; -1: no entry.
    ControllerDeviceDesc records[] = {
        record(CONTROLLER_DESC_LIBRARY_NODE_MAP, lib.dig),
        record(CONTROLLER_DESC_LOAD_NODE_MAP, lib.sys),
        record(CONTROLLER_DESC_LOAD_NODE_MAP, lib.seq),
        record(CONTROLLER_DESC_HOST_NODE_MAP, lib.dig, host._Ptr()),
        record(CONTROLLER_DESC_HOST_ONLY, 0, host._Ptr()),
        record(CONTROLLER_DESC_LOAD_NODE_MAP, lib.sys, nullptr, broken.c_str()),
        record(CONTROLLER_DESC_LOAD_NODE_MAP, lib.sys, nullptr, nullptr),
        record(CONTROLLER_DESC_LOAD_NODE_MAP, 0),
        record(CONTROLLER_DESC_LIBRARY_NODE_MAP, 0)};
    const int64_t kinds[] = {
        0, Q_SYSTEM_OBJECT, Q_SEQUENCE_OBJECT, Q_DIGITIZER_OBJECT, 0, -1, -1, -1, -1};
    records[0].Version = 4; // extended entries, whatever the later records say
    records[0].Label1 = "Camera";
    records[0].Label4 = "fourth";
    records[0].Value1 = 11;
    records[1].WindowTitle = "first";
    records[8].WindowTitle = "from a dropped record";
    DeviceSet set(records, 9);
    ASSERT_EQ(set.devices().size(), 5u);
    for (size_t i = 0; i < 9; ++i) {
        EXPECT_EQ(records[i].NodeMap != nullptr, kinds[i] >= 0) << i;
        if (kinds[i] < 0) continue;
        const DeviceEntry& device = set.devices()[i];
        EXPECT_EQ(device.entry.context.nodeMap, records[i].NodeMap) << i;
        EXPECT_EQ(device.entry.context.objectKind, kinds[i]) << i;
        EXPECT_EQ(device.ownsLoadedNodeMap, i == 1 || i == 2) << i;
        EXPECT_EQ(device.hostOnly, i == 4) << i;
        EXPECT_TRUE(device.entry.context.extended) << "record 0's version decides";
    }
    EXPECT_EQ(records[0].NodeMap, lib.camera);
    EXPECT_EQ(records[3].NodeMap, host._Ptr());
    // Loaded maps are the set's own and read their object's controls while it lives.
    EXPECT_TRUE(records[1].NodeMap != records[2].NodeMap && records[1].NodeMap != lib.camera);
    EXPECT_EQ(GenApi::CIntegerPtr(
                  static_cast<GenApi::INodeMap*>(records[1].NodeMap)->GetNode("SystemNumber"))
                  ->GetValue(),
              0);
    const quillon::browser::NodeMapContext& camera = set.devices()[0].entry.context;
    EXPECT_EQ(camera.caption + "|" + camera.labels[3] + "|" + std::to_string(camera.firstValue),
              "Camera|fourth|11");
    EXPECT_EQ(set.title(), std::optional<std::string>("from a dropped record"));
    fs::remove_all(broken);
    EXPECT_TRUE(DeviceSet(nullptr, 3).devices().empty() &&
                DeviceSet(records, -1).devices().empty());
}
