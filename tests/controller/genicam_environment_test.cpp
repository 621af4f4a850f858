// The GenICam environment set-up: with in-memory fakes and the Windows
// conventions for every step and every early stop, then once over the real
// POSIX platform with the Linux conventions.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "genicam_environment.h"

extern char** environ;

using namespace quillon::controller;
namespace fs = std::filesystem;

namespace {

using Variables = std::map<std::string, std::string>;
using Events = std::vector<std::string>;

// Every fake writes what it is asked into one shared log, so the order of the
// steps across environment, file system and loader is visible.
class FakeEnvironment final : public Environment {
public:
    explicit FakeEnvironment(Events& log) : log_(log) {}
    Variables variables;

    std::optional<std::string> get(const std::string& name) const override {
        log_.push_back("get " + name);
        auto it = variables.find(name);
        if (it == variables.end()) return std::nullopt;
        return it->second;
    }
    // Rejects what the Windows call rejects.
    bool set(const std::string& name, const std::string& value) override {
        log_.push_back("set " + name + "=" + value);
        if (name.empty() || name.find('=') != std::string::npos) return false;
        variables[name] = value;
        return true;
    }

private:
    Events& log_;
};

class FakeFileSystem final : public FileSystem {
public:
    explicit FakeFileSystem(Events& log) : log_(log) {}
    std::set<std::string> paths;

    bool exists(const std::string& path) const override {
        log_.push_back("exists " + path);
        return paths.contains(path);
    }
    bool createDirectory(const std::string& path) override {
        log_.push_back("mkdir " + path);
        return paths.insert(path).second;
    }

private:
    Events& log_;
};

class FakeModuleLoader final : public ModuleLoader {
public:
    explicit FakeModuleLoader(Events& log) : log_(log) {}
    std::set<std::string> available;
    std::map<Handle, std::string> loaded;

    Handle load(const std::string& name) override {
        log_.push_back("load " + name);
        if (!available.contains(name)) return nullptr;
        Handle handle = &tokens_[nextToken_++ % 8];
        loaded[handle] = name;
        return handle;
    }
    void unload(Handle module) override {
        auto it = loaded.find(module);
        log_.push_back("unload " + (it == loaded.end() ? std::string("<not loaded>") : it->second));
        if (it != loaded.end()) loaded.erase(it);
    }

private:
    Events& log_;
    char tokens_[8] = {};
    unsigned nextToken_ = 0;
};

// The installation of the worked example: C:\G with its v3_4 folder, the
// repository D:\R and a PATH of X.
class GenICamEnvironment : public ::testing::Test {
protected:
    Events log;
    FakeEnvironment environment{log};
    FakeFileSystem files{log};
    FakeModuleLoader modules{log};
    Platform platform{environment, files, modules, kWindowsConventions};

    void SetUp() override {
        environment.variables = {
            {"QOR_GENICAM_PATH", "C:\\G"}, {"QOR_XML_REPOSITORY", "D:\\R"}, {"PATH", "X"}};
        files.paths = {"C:\\G\\v3_4"};
        modules.available = {"xmllite.dll"};
    }

    std::optional<std::string> variable(const std::string& name) const {
        auto it = environment.variables.find(name);
        if (it == environment.variables.end()) return std::nullopt;
        return it->second;
    }
    bool logged(const std::string& event) const {
        return std::find(log.begin(), log.end(), event) != log.end();
    }
};

TEST(JoinPath, InsertsOneSeparatorOnlyWhereNeeded) {
    EXPECT_EQ(joinPath("C:\\G", "v3_4", "\\"), "C:\\G\\v3_4");
    EXPECT_EQ(joinPath("C:\\G\\", "v3_4", "\\"), "C:\\G\\v3_4");
    EXPECT_EQ(joinPath("C:\\G", "\\bin", "\\"), "C:\\G\\bin");
    EXPECT_EQ(joinPath("", "v3_4", "\\"), "v3_4");
    EXPECT_EQ(joinPath("", "", "\\"), "");
    EXPECT_EQ(joinPath("C:\\G", "", "\\"), "C:\\G\\");
    EXPECT_EQ(joinPath("/opt/g", "v3_4", "/"), "/opt/g/v3_4");
    EXPECT_EQ(joinPath("/opt/g/", "v3_4", "/"), "/opt/g/v3_4");
    // The other platform's separator is just text.
    EXPECT_EQ(joinPath("C:\\G/", "v3_4", "\\"), "C:\\G/\\v3_4");
}

TEST(JoinPath, LeavesSeparatorsInsideAndAroundThePieceAlone) {
    EXPECT_EQ(joinPath("C:\\G", "log/config/x.properties", "\\"), "C:\\G\\log/config/x.properties");
    EXPECT_EQ(joinPath("C:\\G", "a\\\\b\\", "\\"), "C:\\G\\a\\\\b\\");
    // Nothing is removed when both sides bring a separator.
    EXPECT_EQ(joinPath("C:\\G\\", "\\bin", "\\"), "C:\\G\\\\bin");
}

TEST_F(GenICamEnvironment, WorkedExampleSetsPathCacheAndLogConfiguration) {
    EXPECT_TRUE(setUpGenICamEnvironment(platform));

    const Variables expected{
        {"QOR_GENICAM_PATH", "C:\\G"},
        {"QOR_XML_REPOSITORY", "D:\\R"},
        {"PATH", "C:\\G\\v3_4\\bin\\win64_x64;X"},
        {"GENICAM_CACHE_V3_4", "D:\\R\\Cache"},
        {"GENICAM_LOG_CONFIG_V3_4", "C:\\G\\v3_4\\log/config/DebugLogging.properties"},
    };
    EXPECT_EQ(environment.variables, expected);
    EXPECT_TRUE(files.paths.contains("D:\\R\\Cache"));
    EXPECT_TRUE(modules.loaded.empty()) << "the XML module stays loaded";
}

TEST_F(GenICamEnvironment, RunsTheStepsInOrderAndTheRootVariableSetChangesNothing) {
    ASSERT_TRUE(setUpGenICamEnvironment(platform));

    const Events expected{
        "get QOR_GENICAM_PATH",
        "set =C:\\G\\v3_4",
        "exists C:\\G\\v3_4",
        "load xmllite.dll",
        "unload xmllite.dll",
        "get QOR_GENICAM_PATH",
        "set =C:\\G\\v3_4",
        "get PATH",
        "set PATH=C:\\G\\v3_4\\bin\\win64_x64;X",
        "get QOR_XML_REPOSITORY",
        "mkdir D:\\R\\Cache",
        "set GENICAM_CACHE_V3_4=D:\\R\\Cache",
        "set GENICAM_LOG_CONFIG_V3_4=C:\\G\\v3_4\\log/config/DebugLogging.properties",
    };
    EXPECT_EQ(log, expected);
    // Both empty-named sets were rejected: no variable appeared for them.
    EXPECT_FALSE(environment.variables.contains(""));
    EXPECT_EQ(environment.variables.size(), 5u);
}

TEST_F(GenICamEnvironment, WithoutTheInstallationVariableNothingHappens) {
    environment.variables.erase("QOR_GENICAM_PATH");
    const Variables before = environment.variables;

    EXPECT_FALSE(setUpGenICamEnvironment(platform));
    EXPECT_EQ(log, Events{"get QOR_GENICAM_PATH"});
    EXPECT_EQ(environment.variables, before);

    log.clear();
    EXPECT_EQ(checkGenICamInstallation(platform), 0);
    EXPECT_EQ(log, Events{"get QOR_GENICAM_PATH"});
}

TEST_F(GenICamEnvironment, InstallationPathEndingInASeparatorGetsNoSecondOne) {
    environment.variables["QOR_GENICAM_PATH"] = "C:\\G\\";

    EXPECT_TRUE(setUpGenICamEnvironment(platform));
    EXPECT_TRUE(logged("exists C:\\G\\v3_4"));
    EXPECT_TRUE(logged("set =C:\\G\\v3_4"));
    EXPECT_EQ(variable("PATH"), "C:\\G\\v3_4\\bin\\win64_x64;X");
    EXPECT_EQ(variable("GENICAM_LOG_CONFIG_V3_4"), "C:\\G\\v3_4\\log/config/DebugLogging.properties");
}

TEST_F(GenICamEnvironment, MissingGenICamFolderStopsBeforeTheModuleAndPath) {
    files.paths.clear();
    const Variables before = environment.variables;

    EXPECT_FALSE(setUpGenICamEnvironment(platform));
    EXPECT_EQ(environment.variables, before);
    EXPECT_EQ(log.back(), "exists C:\\G\\v3_4");
    EXPECT_FALSE(logged("load xmllite.dll"));
    EXPECT_EQ(checkGenICamInstallation(platform), 0);
}

TEST_F(GenICamEnvironment, MissingXmlModuleStopsAfterTheModuleCheck) {
    modules.available.clear();
    const Variables before = environment.variables;

    EXPECT_FALSE(setUpGenICamEnvironment(platform));
    EXPECT_EQ(environment.variables, before) << "PATH, cache and log configuration untouched";
    EXPECT_EQ(log.back(), "load xmllite.dll") << "nothing after the failed load, not even an unload";
    EXPECT_FALSE(logged("get PATH"));
    EXPECT_FALSE(logged("mkdir D:\\R\\Cache"));
    EXPECT_EQ(checkGenICamInstallation(platform), 0);
}

TEST_F(GenICamEnvironment, FolderOnlyInsidePathStillGetsPrepended) {
    const std::string inside = "Y;C:\\G\\v3_4\\bin\\win64_x64;X";
    environment.variables["PATH"] = inside;
    EXPECT_TRUE(setUpGenICamEnvironment(platform));
    EXPECT_EQ(variable("PATH"), "C:\\G\\v3_4\\bin\\win64_x64;" + inside);

    // The search is exact text: another spelling at the start does not count.
    const std::string otherCase = "c:\\g\\v3_4\\bin\\win64_x64;X";
    environment.variables["PATH"] = otherCase;
    EXPECT_TRUE(setUpGenICamEnvironment(platform));
    EXPECT_EQ(variable("PATH"), "C:\\G\\v3_4\\bin\\win64_x64;" + otherCase);
}

TEST_F(GenICamEnvironment, PathBeginningWithTheFolderIsLeftAloneButTheRestIsSet) {
    const std::string prepared = "C:\\G\\v3_4\\bin\\win64_x64;X";
    environment.variables["PATH"] = prepared;

    EXPECT_TRUE(setUpGenICamEnvironment(platform));
    EXPECT_EQ(variable("PATH"), prepared);
    EXPECT_FALSE(logged("set PATH=C:\\G\\v3_4\\bin\\win64_x64;" + prepared));
    EXPECT_EQ(variable("GENICAM_CACHE_V3_4"), "D:\\R\\Cache");
    EXPECT_EQ(variable("GENICAM_LOG_CONFIG_V3_4"), "C:\\G\\v3_4\\log/config/DebugLogging.properties");
}

TEST_F(GenICamEnvironment, SecondSetUpKeepsPathAndToleratesTheExistingCache) {
    ASSERT_TRUE(setUpGenICamEnvironment(platform));
    const Variables afterFirst = environment.variables;
    environment.variables["GENICAM_CACHE_V3_4"] = "stale";
    environment.variables["GENICAM_LOG_CONFIG_V3_4"] = "stale";
    log.clear();

    // The cache folder exists now, so creating it fails; that is no reason to stop.
    EXPECT_TRUE(setUpGenICamEnvironment(platform));
    EXPECT_TRUE(logged("mkdir D:\\R\\Cache"));
    EXPECT_EQ(environment.variables, afterFirst);
    EXPECT_EQ(variable("PATH"), "C:\\G\\v3_4\\bin\\win64_x64;X");
}

TEST_F(GenICamEnvironment, WithoutPathNothingAfterItIsSet) {
    environment.variables.erase("PATH");
    const Variables before = environment.variables;

    EXPECT_FALSE(setUpGenICamEnvironment(platform));
    EXPECT_EQ(environment.variables, before) << "PATH is not created";
    EXPECT_EQ(log.back(), "get PATH");
    EXPECT_FALSE(logged("mkdir D:\\R\\Cache"));
}

TEST_F(GenICamEnvironment, WithoutRepositoryPathIsUpdatedButNoCacheOrLogConfiguration) {
    environment.variables.erase("QOR_XML_REPOSITORY");

    EXPECT_FALSE(setUpGenICamEnvironment(platform));
    EXPECT_EQ(variable("PATH"), "C:\\G\\v3_4\\bin\\win64_x64;X");
    EXPECT_FALSE(variable("GENICAM_CACHE_V3_4"));
    EXPECT_FALSE(variable("GENICAM_LOG_CONFIG_V3_4"));
    EXPECT_FALSE(logged("mkdir D:\\R\\Cache"));
    EXPECT_EQ(log.back(), "get QOR_XML_REPOSITORY");
}

TEST_F(GenICamEnvironment, CheckReportsAUsableInstallationWithoutChangingAnything) {
    const Variables before = environment.variables;

    EXPECT_EQ(checkGenICamInstallation(platform), 1);
    const Events expected{"get QOR_GENICAM_PATH", "set =C:\\G\\v3_4", "exists C:\\G\\v3_4",
                          "load xmllite.dll", "unload xmllite.dll"};
    EXPECT_EQ(log, expected);
    EXPECT_EQ(environment.variables, before);
    EXPECT_TRUE(modules.loaded.empty());
    EXPECT_TRUE(files.paths == std::set<std::string>{"C:\\G\\v3_4"}) << "no cache folder made";
}

// ---- the real platform

// Saves variables and restores them (set or unset) when the test ends.
class SavedVariables {
public:
    explicit SavedVariables(std::vector<std::string> names) {
        for (std::string& name : names) {
            const char* value = std::getenv(name.c_str());
            saved_.emplace_back(std::move(name),
                                value ? std::optional<std::string>(value) : std::nullopt);
        }
    }
    ~SavedVariables() {
        for (const auto& [name, value] : saved_) {
            if (value)
                ::setenv(name.c_str(), value->c_str(), 1);
            else
                ::unsetenv(name.c_str());
        }
    }
    SavedVariables(const SavedVariables&) = delete;
    SavedVariables& operator=(const SavedVariables&) = delete;

private:
    std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

class TemporaryFolder {
public:
    TemporaryFolder()
        : path_(fs::temp_directory_path() /
                ("quillon-genicam-env-" + std::to_string(::getpid()))) {
        fs::remove_all(path_);
        fs::create_directories(path_);
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    const fs::path& path() const { return path_; }

private:
    fs::path path_;
};

std::vector<std::string> environmentEntries() {
    std::vector<std::string> entries;
    for (char** entry = environ; *entry != nullptr; ++entry) entries.emplace_back(*entry);
    return entries;
}

std::optional<std::string> realVariable(const char* name) {
    const char* value = std::getenv(name);
    return value ? std::optional<std::string>(value) : std::nullopt;
}

TEST(PosixPlatform, EnvironmentRejectsAnEmptyNameAndChangesNothing) {
    PosixEnvironment environment;
    const std::vector<std::string> before = environmentEntries();
    EXPECT_FALSE(environment.set("", "/somewhere"));
    EXPECT_EQ(environmentEntries(), before);

    SavedVariables saved({"QUILLON_TEST_VARIABLE"});
    EXPECT_TRUE(environment.set("QUILLON_TEST_VARIABLE", "a b;c"));
    EXPECT_EQ(environment.get("QUILLON_TEST_VARIABLE"), "a b;c");
    ::unsetenv("QUILLON_TEST_VARIABLE");
    EXPECT_EQ(environment.get("QUILLON_TEST_VARIABLE"), std::nullopt);
}

TEST(PosixPlatform, FileSystemAndModuleLoader) {
    TemporaryFolder temp;
    PosixFileSystem files;
    const std::string folder = (temp.path() / "made").string();
    EXPECT_FALSE(files.exists(folder));
    EXPECT_TRUE(files.createDirectory(folder));
    EXPECT_TRUE(files.exists(folder));
    EXPECT_TRUE(fs::is_directory(folder));
    EXPECT_FALSE(files.createDirectory(folder)) << "already there";
    EXPECT_FALSE(files.createDirectory((temp.path() / "no" / "parent").string()));

    PosixModuleLoader modules;
    ModuleLoader::Handle module = modules.load(std::string(kLinuxConventions.xmlModule));
    ASSERT_NE(module, nullptr) << "the engine's XML reader must be found by name";
    modules.unload(module);
    EXPECT_EQ(modules.load("libquillon-no-such-module.so.0"), nullptr);
}

TEST(PosixPlatform, SetsUpTheRealEnvironmentWithLinuxConventions) {
    SavedVariables saved({"QOR_GENICAM_PATH", "QOR_XML_REPOSITORY", "PATH", "GENICAM_CACHE_V3_4",
                          "GENICAM_LOG_CONFIG_V3_4"});
    TemporaryFolder temp;
    const std::string installation = (temp.path() / "genicam").string();
    const std::string repository = (temp.path() / "repository").string();
    const std::string versioned = installation + "/v3_4";
    fs::create_directories(versioned);
    fs::create_directories(repository);
    ASSERT_EQ(::setenv("QOR_GENICAM_PATH", installation.c_str(), 1), 0);
    ASSERT_EQ(::setenv("QOR_XML_REPOSITORY", repository.c_str(), 1), 0);
    ::unsetenv("GENICAM_CACHE_V3_4");
    ::unsetenv("GENICAM_LOG_CONFIG_V3_4");
    const std::string oldPath = realVariable("PATH").value_or("");
    ASSERT_EQ(::setenv("PATH", oldPath.c_str(), 1), 0);

    EXPECT_EQ(checkGenICamInstallation(posixPlatform()), 1);
    EXPECT_EQ(realVariable("PATH"), oldPath) << "the check changes nothing";

    ASSERT_TRUE(setUpGenICamEnvironment());
    const std::string expectedPath = versioned + std::string(kLinuxConventions.binSubPath) + ":" + oldPath;
    EXPECT_EQ(realVariable("PATH"), expectedPath);
    EXPECT_TRUE(expectedPath.starts_with(versioned + "/bin/")) << expectedPath;
    EXPECT_EQ(realVariable("GENICAM_CACHE_V3_4"), repository + "/Cache");
    EXPECT_TRUE(fs::is_directory(repository + "/Cache"));
    EXPECT_EQ(realVariable("GENICAM_LOG_CONFIG_V3_4"),
              versioned + "/log/config/DebugLogging.properties");

    EXPECT_TRUE(setUpGenICamEnvironment());
    EXPECT_EQ(realVariable("PATH"), expectedPath) << "a second set-up does not grow PATH";

    fs::remove_all(versioned);
    EXPECT_EQ(checkGenICamInstallation(posixPlatform()), 0);
    EXPECT_FALSE(setUpGenICamEnvironment());
}

} // namespace
