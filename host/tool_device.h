// What a quillon subcommand works on: the node maps of a DEVICE, and what
// keeps them alive while the command runs.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "GenApi/GenApi.h"
#include "types/feature_row.h"

namespace quillon::tool {

struct Args;

// `relative` to the folder of the running executable, when that exists: how
// an installed quillon finds what was installed beside it. Empty otherwise.
std::string InstalledPath(const std::string& relative);

// The folder of the library objects' descriptions, ending with '/':
// QUILLON_DATA_DIR, else the installed one, else the source tree's.
std::string DataDirectory();

// The imaging library's pending error as one line ("Error in QdigAlloc: ...").
std::string LibraryErrorText();

// The node maps of one device, captioned as the browser shows them.
class Device {
public:
    virtual ~Device() = default;
    const std::vector<browser::NodeMapEntry>& entries() const { return entries_; }
    // The imaging library's system the device belongs to; 0 for none.
    int64_t system() const { return system_; }

    // The first entry holding a node of that name; a UsageError when none does.
    std::pair<GenApi::INode*, const browser::NodeMapContext*> find(const std::string& name) const;

protected:
    std::vector<browser::NodeMapEntry> entries_;
    int64_t system_ = 0;
};

// Descriptions load through the node-map cache, in the folder that
// GENICAM_CACHE_V3_4 names (set but empty: no cache), else in the user's
// cache folder: $XDG_CACHE_HOME/quillon or ~/.cache/quillon. OpenDevice
// calls it.
void UseNodeMapCache();

// The device the arguments name: --xml FILE (the description over a
// zero-filled memory, every port of it connected), --camera ID (the camera
// system, the digitizer that opened the camera, and the camera), or else the
// embedded simulated system (system, digitizer, sequence and camera).
std::unique_ptr<Device> OpenDevice(const Args& args);

// Prints the feature tree at `level` as `quillon tree` does. On a GenICam
// failure the rows built before it are printed and the exception passes on.
void PrintTree(const std::vector<browser::NodeMapEntry>& entries, int level);

} // namespace quillon::tool
