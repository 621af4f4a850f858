// Prepares the process environment for the GenICam libraries before the
// browser's first GenICam call: puts the installation's binaries on PATH and
// points the node-map cache and the logging configuration at their places.
//
// The procedure is written once over injected platform operations, so the
// same code runs with the Windows conventions in the tests and with the Linux
// ones in the product.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillon::controller {

// Spellings that differ between platforms.
struct PlatformConventions {
    std::string_view pathSeparator; // between the components of a path
    std::string_view listSeparator; // between the entries of PATH
    std::string_view xmlModule;     // the XML reader the GenICam libraries load
    std::string_view binSubPath;    // the installation's binaries, below its versioned folder
};

inline constexpr PlatformConventions kWindowsConventions{
    "\\", ";", "xmllite.dll", "\\bin\\win64_x64"};

// The engine parses with pugixml, so its shared library is the XML reader
// whose presence matters; the binaries folder follows the GenICam installation
// layout, where Linux is case-sensitive.
inline constexpr PlatformConventions kLinuxConventions{
    "/", ":", "libpugixml.so.1",
#if defined(__aarch64__)
    "/bin/Linux64_ARM"
#else
    "/bin/Linux64_x64"
#endif
};

class Environment {
public:
    virtual ~Environment() = default;
    virtual std::optional<std::string> get(const std::string& name) const = 0;
    // False when the platform rejects the call (an empty name, for one);
    // the environment is then unchanged.
    virtual bool set(const std::string& name, const std::string& value) = 0;
};

class FileSystem {
public:
    virtual ~FileSystem() = default;
    // True when the path's attributes can be read (a file or a folder).
    virtual bool exists(const std::string& path) const = 0;
    // False when nothing was created, also when the folder was already there.
    virtual bool createDirectory(const std::string& path) = 0;
};

class ModuleLoader {
public:
    using Handle = void*;
    virtual ~ModuleLoader() = default;
    // Null when the module cannot be loaded.
    virtual Handle load(const std::string& name) = 0;
    virtual void unload(Handle module) = 0;
};

struct Platform {
    Environment& environment;
    FileSystem& fileSystem;
    ModuleLoader& modules;
    PlatformConventions conventions;
};

// Appends `piece` to `base`, putting one `separator` between them unless
// `base` is empty, already ends in one or `piece` begins with one.
std::string joinPath(std::string_view base, std::string_view piece, std::string_view separator);

// Whether the GenICam installation named by QOR_GENICAM_PATH is usable: its
// versioned folder exists and the XML reader module loads. 1 or 0.
int checkGenICamInstallation(const Platform& platform);

// Checks the installation as above, then prepends its binaries folder to PATH
// (unless PATH already begins with the installation's folder) and sets
// GENICAM_CACHE_V3_4 and GENICAM_LOG_CONFIG_V3_4. Stops at the first missing
// piece, leaving the environment as far as it got; true when every step ran.
bool setUpGenICamEnvironment(const Platform& platform);

// The real operations: getenv/setenv, std::filesystem, dlopen/dlclose.
class PosixEnvironment final : public Environment {
public:
    std::optional<std::string> get(const std::string& name) const override;
    bool set(const std::string& name, const std::string& value) override;
};

class PosixFileSystem final : public FileSystem {
public:
    bool exists(const std::string& path) const override;
    bool createDirectory(const std::string& path) override;
};

class PosixModuleLoader final : public ModuleLoader {
public:
    Handle load(const std::string& name) override;
    void unload(Handle module) override;
};

// This process's real platform with the Linux conventions.
Platform posixPlatform();

// The set-up over posixPlatform(); what the application runs at start-up.
bool setUpGenICamEnvironment();

} // namespace quillon::controller
