// The GenICam environment set-up: every step and every early stop over a
// recording platform with the Windows conventions. (The lifecycle test runs
// it over the real POSIX platform in every new application object.)
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "genicam_environment.h"

using namespace quillon::controller;

namespace {

// Environment, file system and module loader in memory, logging each call.
struct Recorder final : Environment, FileSystem, ModuleLoader {
    std::map<std::string, std::string> variables;
    std::set<std::string> paths;
    bool moduleThere = true;
    int loaded = 0;
    mutable std::string log;

    std::optional<std::string> get(const std::string& name) const override {
        log += "get " + name + "; ";
        return variables.contains(name) ? std::optional(variables.at(name)) : std::nullopt;
    }
    bool set(const std::string& name, const std::string& value) override {
        log += "set " + name + "=" + value + "; ";
        return !name.empty() && (variables[name] = value, true); // as the Windows call does
    }
    bool exists(const std::string& path) const override {
        return log += "exists " + path + "; ", paths.contains(path);
    }
    bool createDirectory(const std::string& path) override {
        return log += "mkdir " + path + "; ", paths.insert(path).second;
    }
    Handle load(const std::string& name) override {
        return log += "load " + name + "; ", loaded += moduleThere, moduleThere ? this : nullptr;
    }
    void unload(Handle module) override { log += "unload; ", loaded -= module == this ? 1 : 100; }
};

} // namespace

// Each row changes the worked example (C:\G with its v3_4 folder, the
// repository D:\R, a PATH of X) and tells where the set-up ends and the PATH
// it leaves; only a complete set-up sets the cache and log configuration.
TEST(GenICamEnvironment, EachMissingPieceStopsTheSetUpWhereItIsNeeded) {
    const std::string bin = "C:\\G\\v3_4\\bin\\win64_x64;",
                      log = "C:\\G\\v3_4\\log/config/DebugLogging.properties",
                      complete = "set GENICAM_LOG_CONFIG_V3_4=" + log + "; ", none = "<none>",
                      lower = "c:\\g\\v3_4\\bin\\win64_x64;X";
    const std::tuple<const char*, std::string, std::string, std::string, bool, bool, std::string,
                     std::string>
        cases[] = {
            // what, installation, repository, PATH, folder, module, last step, PATH after
            {"complete", "C:\\G", "D:\\R", "X", true, true, complete, bin + "X"},
            {"installation with a separator", "C:\\G\\", "D:\\R", "X", true, true, complete,
             bin + "X"},
            {"PATH begins with the folder", "C:\\G", "D:\\R", bin + "X", true, true, complete,
             bin + "X"},
            {"folder inside PATH", "C:\\G", "D:\\R", "Y;" + bin, true, true, complete,
             bin + "Y;" + bin},
            {"folder in another case", "C:\\G", "D:\\R", lower, true, true, complete, bin + lower},
            {"no installation", none, "D:\\R", "X", true, true, "get QOR_GENICAM_PATH; ", "X"},
            {"no versioned folder", "C:\\G", "D:\\R", "X", false, true, "exists C:\\G\\v3_4; ",
             "X"},
            {"no XML module", "C:\\G", "D:\\R", "X", true, false, "load xmllite.dll; ", "X"},
            {"no PATH", "C:\\G", "D:\\R", none, true, true, "get PATH; ", none},
            {"no repository", "C:\\G", none, "X", true, true, "get QOR_XML_REPOSITORY; ",
             bin + "X"}};
    for (const auto& [what, installation, repository, path, folder, module, last, pathAfter] :
         cases) {
        SCOPED_TRACE(what);
        Recorder r;
        for (const auto& [name, value] : {std::pair{"QOR_GENICAM_PATH", installation},
                                          {"QOR_XML_REPOSITORY", repository},
                                          {"PATH", path}})
            if (value != none) r.variables[name] = value;
        if (folder) r.paths.insert("C:\\G\\v3_4");
        r.moduleThere = module;
        const auto before = r.variables;
        const Platform platform{r, r, r, kWindowsConventions};
        EXPECT_EQ(checkGenICamInstallation(platform), installation != none && folder && module);
        EXPECT_EQ(r.variables, before) << "the check changes nothing";
        EXPECT_EQ(setUpGenICamEnvironment(platform), last == complete);
        EXPECT_TRUE(r.log.ends_with(last)) << r.log;
        EXPECT_EQ(r.variables.contains("PATH") ? r.variables["PATH"] : none, pathAfter);
        EXPECT_EQ(r.variables.contains("GENICAM_CACHE_V3_4") ? r.variables["GENICAM_CACHE_V3_4"]
                                                             : none,
                  last == complete ? "D:\\R\\Cache" : none);
        EXPECT_EQ(r.variables.contains("GENICAM_LOG_CONFIG_V3_4"), last == complete);
        EXPECT_EQ(r.paths.contains("D:\\R\\Cache"), last == complete);
        EXPECT_EQ(r.loaded, 0) << "the module is let go once, and only when it was loaded";
    }
}
