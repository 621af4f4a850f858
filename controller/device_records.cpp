#include "device_records.h"

#include <cstring>
#include <new>

#include "GenICam/exceptions.h"
#include "node_map_loading.h"
#include "qorvis.h"

namespace quillon::controller {

namespace {

constexpr size_t kShortRecordBytes = sizeof(ControllerDeviceDescV2);
static_assert(kShortRecordBytes == 56);

} // namespace

DeviceSet::Loaded::Loaded() = default;
DeviceSet::Loaded::Loaded(Loaded&&) noexcept = default;
DeviceSet::Loaded::~Loaded() {
    map.reset();
}

DeviceSet::DeviceSet(ControllerDeviceDesc* records, int64_t count) {
    if (!records || count <= 0) return;
    // One array has one version: record 0's decides for every entry.
    const bool extended = records[0].Version >= 4;
    for (int64_t i = 0; i < count; ++i) {
        try {
            Process(records[i], extended);
        } catch (const GenICam::GenericException&) {
            // A failing device never aborts the controller: the record is dropped.
        }
    }
}

DeviceSet::~DeviceSet() {
    // Node maps before their ports; nothing of the browser uses them any more.
    loaded_.clear();
}

void DeviceSet::Process(ControllerDeviceDesc& record, bool extended) {
    if (record.WindowTitle) title_ = record.WindowTitle;

    DeviceEntry device;
    device.kind = record.DescKind;
    browser::NodeMapContext& context = device.entry.context;
    context.object = record.Object;
    GenApi::INodeMap* nodeMap = nullptr;
    switch (record.DescKind) {
    case CONTROLLER_DESC_LIBRARY_NODE_MAP: {
        QOR_INT64 pointer = 0;
        QdigInquire(record.Object, Q_GC_NODE_MAP, &pointer);
        nodeMap = reinterpret_cast<GenApi::INodeMap*>(static_cast<intptr_t>(pointer));
        break;
    }
    case CONTROLLER_DESC_LOAD_NODE_MAP: {
        if (record.Object != 0) QobjInquire(record.Object, Q_OBJECT_TYPE, &context.objectKind);
        Loaded loaded;
        loaded.map = LoadNodeMapForObject(record.Object, loaded.port,
                                          record.DeviceLoad ? record.DeviceLoad : "");
        if (loaded.map) {
            nodeMap = loaded.map->map._Ptr();
            device.ownsLoadedNodeMap = true;
            loaded_.push_back(std::move(loaded));
        }
        break;
    }
    case CONTROLLER_DESC_HOST_NODE_MAP:
        if (record.Object != 0) QobjInquire(record.Object, Q_OBJECT_TYPE, &context.objectKind);
        nodeMap = static_cast<GenApi::INodeMap*>(record.NodeMap);
        break;
    case CONTROLLER_DESC_HOST_ONLY:
        nodeMap = static_cast<GenApi::INodeMap*>(record.NodeMap);
        device.hostOnly = true;
        break;
    default:
        return; // an unknown kind: no device
    }
    if (!nodeMap) return;

    record.NodeMap = nodeMap;
    context.nodeMap = nodeMap;
    const char* labels[4] = {record.Label1, record.Label2, record.Label3, record.Label4};
    for (size_t i = 0; i < 4; ++i)
        if (labels[i]) context.labels[i] = labels[i];
    context.caption = context.labels[0];
    if (record.Value1 != 0) context.firstValue = record.Value1;
    if (record.Value2 != 0) context.secondValue = record.Value2;
    context.extended = extended;
    devices_.push_back(std::move(device));
}

std::vector<browser::NodeMapEntry> DeviceSet::NodeMapEntries() const {
    std::vector<browser::NodeMapEntry> entries;
    entries.reserve(devices_.size());
    for (const DeviceEntry& device : devices_)
        entries.push_back(device.entry);
    return entries;
}

browser::BrowserSetup BrowserSetupFor(const DeviceSet& devices, int64_t system, int64_t index) {
    browser::BrowserSetup setup;
    setup.entries = devices.NodeMapEntries();
    setup.deviceNumber = index;
    if (devices.title()) setup.titleOverride = *devices.title();
    setup.system = system;
    return setup;
}

std::vector<ControllerDeviceDesc> WidenRecords(const ControllerDeviceDescV2* records,
                                               int64_t count) {
    if (count < 0) throw std::bad_array_new_length();
    ControllerDeviceDesc initial{};
    initial.DescKind = CONTROLLER_DESC_LOAD_NODE_MAP;
    initial.Version = 3;
    // Throws std::length_error past the vector's maximum, std::bad_alloc when
    // the memory is not there.
    std::vector<ControllerDeviceDesc> widened(static_cast<size_t>(count), initial);
    if (records)
        for (size_t i = 0; i < widened.size(); ++i)
            std::memcpy(&widened[i], &records[i], kShortRecordBytes);
    return widened;
}

void CopyBackRecords(const std::vector<ControllerDeviceDesc>& widened,
                     ControllerDeviceDescV2* records) {
    if (!records) return;
    for (size_t i = 0; i < widened.size(); ++i)
        std::memcpy(&records[i], &widened[i], kShortRecordBytes);
}

} // namespace quillon::controller
