// The quillon command's shared pieces: its command line, its one-line
// errors, and the table of subcommands that the files beside this one fill.
#pragma once

#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace quillon::tool {

// A failure the user caused or the device reported: one line, status 2.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A subcommand's arguments after the options it knows were taken out.
struct Args {
    std::vector<std::string> positional;
    std::map<std::string, std::string> values; // "--level" -> "guru"
    std::set<std::string> flags;               // "--dry-run"
    std::vector<std::string> words;            // all of them, as given

    std::string Value(const std::string& option, const std::string& fallback = {}) const {
        auto it = values.find(option);
        return it == values.end() ? fallback : it->second;
    }
    bool Flag(const std::string& option) const { return flags.count(option) != 0; }
};

// One subcommand: its usage line, what it accepts and what runs it.
struct Command {
    const char* name;
    const char* usage;                     // the arguments after the name
    const char* summary;                   // one line for `quillon --help`
    bool takesDevice;                      // accepts the DEVICE options
    std::vector<std::string> valueOptions; // options with a value, beyond DEVICE's
    std::vector<std::string> flagOptions;  // options without one
    size_t minPositional, maxPositional;
    int (*run)(const Args&);               // the exit status
};

// The options that name a DEVICE, each followed by a value.
extern const std::vector<std::string> kDeviceOptions;
// The text of DEVICE in every usage.
extern const char kDeviceHelp[];

// Splits `words` by what `command` accepts; an unknown option, a missing
// value or a wrong number of positional arguments is a UsageError naming it.
Args ParseArgs(const Command& command, const std::vector<std::string>& words);

// The subcommands, one table per file that defines them.
const std::vector<Command>& InspectionCommands();    // tool_commands.cpp
const std::vector<Command>& TransferCommands();      // tool_transfer.cpp
const std::vector<Command>& UnderstandingCommands(); // tool_understanding.cpp
const std::vector<Command>& FeatureSetCommands();    // tool_feature_sets.cpp
const std::vector<Command>& CameraCommands();        // tool_cameras.cpp

} // namespace quillon::tool
