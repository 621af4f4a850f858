// The quillon command's window: the host of the browser library (no
// subcommand) and --screenshot, which draws the browser in the process. Both
// run in the window plugin (window_plugin.cpp), opened here only when one of
// them is asked for: the text subcommands start without Qt.
#include "tool_window.h"

#include <dlfcn.h>
#include <unistd.h>

#include <climits>
#include <memory>
#include <string>

#include "tool_device.h"

namespace quillon::tool {

namespace {

// The plugin beside the command (where the build puts both), beside an
// installed libquillon.so, else where the build made it.
std::string pluginPath() {
    char self[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/exe", self, sizeof self);
    if (length > 0 && length < static_cast<ssize_t>(sizeof self)) {
        std::string path(self, static_cast<size_t>(length));
        path.erase(path.rfind('/') + 1);
        path += "quillon_window.so";
        if (::access(path.c_str(), R_OK) == 0) return path;
    }
    if (std::string installed = InstalledPath(QUILLON_INSTALLED_WINDOW_PLUGIN); !installed.empty())
        return installed;
    return QUILLON_DEFAULT_WINDOW_PLUGIN;
}

int runInPlugin(const char* command, const Args& args) {
    // The device first: a wrong argument is reported before Qt is loaded.
    std::unique_ptr<Device> device;
    if (*command) device = OpenDevice(args);
    const std::string path = pluginPath();
    // Never closed: Qt keeps pointers into the plugin until the process ends.
    void* plugin = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!plugin) throw UsageError(std::string("cannot load the browser window: ") + ::dlerror());
    auto entry = reinterpret_cast<WindowEntry>(::dlsym(plugin, kWindowEntryName));
    if (!entry) throw UsageError(path + " lacks " + kWindowEntryName);
    return entry(WindowRequest{command, args, device.get(), DataDirectory(), PrintTree,
                              InstalledPath(QUILLON_INSTALLED_LIBRARY), LibraryErrorText});
}

} // namespace

const std::vector<Command>& WindowCommands() {
    static const std::vector<Command> commands = {
        {"",
         "[DEVICE] [--modeless] [--image OUT.png]",
         "the browser (no display: the tree, and the window saved as an image)",
         true,
         {"--image"},
         {"--modeless"},
         0,
         0,
         [](const Args& args) { return runInPlugin("", args); }},
        {"--screenshot",
         "OUT.png [DEVICE] [--select FEATURE]",
         "draws the browser window (with a feature selected) into an image",
         true,
         {"--select"},
         {},
         1,
         1,
         [](const Args& args) { return runInPlugin("--screenshot", args); }},
    };
    return commands;
}

} // namespace quillon::tool
