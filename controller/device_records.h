// The host's descriptor records turned into the browser's node-map entries:
// each record's node map is obtained by its kind, written back into the
// record and described by one device entry. Plain C++ over the imaging
// library and the node-map loading; no GUI.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "browser/browser_session.h"
#include "quillon.h"
#include "types/feature_row.h"

class CQorTransportLayerBase;
struct NodeMapReference;

namespace quillon::controller {

// One usable record.
struct DeviceEntry {
    browser::NodeMapEntry entry; // node map, caption (first label), labels, values, extended flag
    uint32_t kind = 0;           // the record's DescKind
    bool ownsLoadedNodeMap = false; // kind 1: the node map belongs to this set
    bool hostOnly = false;          // kind 3
};

// The device entries of one controller and the node maps it loaded.
class DeviceSet {
public:
    // Walks records[0] to records[count - 1] in order (none when `records`
    // is null or count is not positive). A GenICam exception while one record
    // is processed drops that record; the others are processed as usual.
    DeviceSet(ControllerDeviceDesc* records, int64_t count);
    ~DeviceSet();
    DeviceSet(const DeviceSet&) = delete;
    DeviceSet& operator=(const DeviceSet&) = delete;

    const std::vector<DeviceEntry>& devices() const { return devices_; }
    // The entries in record order, as the browser shows them.
    std::vector<browser::NodeMapEntry> NodeMapEntries() const;
    // The last non-null window title of any record, skipped ones included.
    const std::optional<std::string>& title() const { return title_; }

private:
    struct Loaded {
        std::unique_ptr<CQorTransportLayerBase> port;
        std::unique_ptr<NodeMapReference> map;
        Loaded();
        Loaded(Loaded&&) noexcept;
        ~Loaded(); // the node map before its port
    };
    void Process(ControllerDeviceDesc& record, bool extended);

    std::vector<DeviceEntry> devices_;
    std::vector<Loaded> loaded_;
    std::optional<std::string> title_;
};

// What the browser window of a create call is given: the entries in record
// order, the last window title, the call's index as the device number and
// its system as the dialog's own imaging-library object.
browser::BrowserSetup BrowserSetupFor(const DeviceSet& devices, int64_t system, int64_t index);

// The short records widened to full ones: each starts as kind 1, object 0,
// no node map, no strings, values 0, version 3, and then takes the short
// record's 56 bytes. Throws std::bad_alloc (or a derivative) when `count`
// records cannot be allocated, a negative count included.
std::vector<ControllerDeviceDesc> WidenRecords(const ControllerDeviceDescV2* records,
                                               int64_t count);

// Copies the first 56 bytes of every widened record back into the host's.
void CopyBackRecords(const std::vector<ControllerDeviceDesc>& widened,
                     ControllerDeviceDescV2* records);

} // namespace quillon::controller
