// Between the quillon command and its window plugin (quillon_window.so): the
// window commands need Qt, which the text subcommands never load, so they run
// in a plugin that the command opens only when one of them is asked for.
#pragma once

#include <string>
#include <vector>

#include "tool.h"
#include "types/feature_row.h"

namespace quillon::tool {

class Device;

// What the command hands the plugin: the request and the command's own
// services, so that devices are opened and trees printed in one place.
struct WindowRequest {
    const char* command; // "" (the browser host) or "--screenshot"
    const Args& args;
    const Device* device;      // --screenshot: the device the arguments name
    std::string dataDirectory; // the host: the library objects' descriptions
    void (*printTree)(const std::vector<browser::NodeMapEntry>& entries, int level);
    std::string installedLibrary;   // libquillon.so beside an installed command, or ""
    std::string (*libraryErrorText)(); // the imaging library's pending error
};

// The plugin's one exported function: runs the request and answers the exit
// status; failures are thrown as the command's own are.
using WindowEntry = int (*)(const WindowRequest& request);
inline constexpr char kWindowEntryName[] = "QuillonWindowCommand";

} // namespace quillon::tool
