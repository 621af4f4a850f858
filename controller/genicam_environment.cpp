#include "genicam_environment.h"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace quillon::controller {

namespace {

constexpr const char* kInstallationVariable = "QOR_GENICAM_PATH";
constexpr const char* kRepositoryVariable = "QOR_XML_REPOSITORY";
constexpr const char* kCacheVariable = "GENICAM_CACHE_V3_4";
constexpr const char* kLogConfigVariable = "GENICAM_LOG_CONFIG_V3_4";
constexpr std::string_view kVersionFolder = "v3_4";
constexpr std::string_view kCacheFolder = "Cache";
// Written with forward slashes on every platform; both kinds are accepted there.
constexpr std::string_view kLogConfigFile = "log/config/DebugLogging.properties";

// The configured name of the GenICam root variable is empty, so the platform
// rejects the set and nothing changes. The call stays: configuring a name is
// all it takes to export the root.
const std::string kRootVariable;

// The versioned GenICam folder named by QOR_GENICAM_PATH, offered to the root
// variable as it is found.
std::optional<std::string> genicamDirectory(const Platform& platform) {
    const std::optional<std::string> installation = platform.environment.get(kInstallationVariable);
    if (!installation) return std::nullopt;
    std::string directory = joinPath(*installation, kVersionFolder, platform.conventions.pathSeparator);
    platform.environment.set(kRootVariable, directory);
    return directory;
}

// The checks shared by the stand-alone check and the set-up.
bool installationUsable(const Platform& platform) {
    const std::optional<std::string> directory = genicamDirectory(platform);
    if (!directory) return false;
    if (!platform.fileSystem.exists(*directory)) return false;
    // Loading only proves the module is present; the GenICam libraries load it themselves.
    ModuleLoader::Handle module = platform.modules.load(std::string(platform.conventions.xmlModule));
    if (module == nullptr) return false;
    platform.modules.unload(module);
    return true;
}

} // namespace

std::string joinPath(std::string_view base, std::string_view piece, std::string_view separator) {
    std::string joined(base);
    if (!base.empty() && !base.ends_with(separator) && !piece.starts_with(separator))
        joined += separator;
    joined += piece;
    return joined;
}

int checkGenICamInstallation(const Platform& platform) {
    return installationUsable(platform) ? 1 : 0;
}

bool setUpGenICamEnvironment(const Platform& platform) {
    if (!installationUsable(platform)) return false;

    const std::optional<std::string> directory = genicamDirectory(platform);
    if (!directory) return false;

    const std::optional<std::string> path = platform.environment.get("PATH");
    if (!path) return false;
    // Only a PATH that begins with the folder counts as prepared, which keeps
    // repeated set-ups from growing it.
    if (path->find(*directory) != 0) {
        const PlatformConventions& c = platform.conventions;
        platform.environment.set("PATH", joinPath(*directory, c.binSubPath, c.pathSeparator) +
                                             std::string(c.listSeparator) + *path);
    }

    const std::optional<std::string> repository = platform.environment.get(kRepositoryVariable);
    if (!repository) return false;
    const std::string cache = joinPath(*repository, kCacheFolder, platform.conventions.pathSeparator);
    platform.fileSystem.createDirectory(cache); // usually there already
    platform.environment.set(kCacheVariable, cache);

    platform.environment.set(kLogConfigVariable,
                             joinPath(*directory, kLogConfigFile, platform.conventions.pathSeparator));
    return true;
}

std::optional<std::string> PosixEnvironment::get(const std::string& name) const {
    const char* value = std::getenv(name.c_str());
    if (value == nullptr) return std::nullopt;
    return std::string(value);
}

bool PosixEnvironment::set(const std::string& name, const std::string& value) {
    // setenv refuses an empty name (EINVAL), as the Windows call does.
    return ::setenv(name.c_str(), value.c_str(), 1) == 0;
}

bool PosixFileSystem::exists(const std::string& path) const {
    std::error_code error;
    return std::filesystem::exists(path, error) && !error;
}

bool PosixFileSystem::createDirectory(const std::string& path) {
    std::error_code error;
    return std::filesystem::create_directory(path, error) && !error;
}

ModuleLoader::Handle PosixModuleLoader::load(const std::string& name) {
    return ::dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
}

void PosixModuleLoader::unload(Handle module) {
    ::dlclose(module);
}

Platform posixPlatform() {
    // Stateless, so one instance serves every caller.
    static PosixEnvironment environment;
    static PosixFileSystem fileSystem;
    static PosixModuleLoader modules;
    return Platform{environment, fileSystem, modules, kLinuxConventions};
}

bool setUpGenICamEnvironment() {
    return setUpGenICamEnvironment(posixPlatform());
}

} // namespace quillon::controller
