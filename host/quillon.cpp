// The quillon command: the host of the browser library, and the texts the
// browser shows, for scripts and checks. `quillon --help` lists the
// subcommands; each file beside this one holds a table of them.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <string>
#include <vector>

#include "GenApi/GenApi.h"
#include "tool.h"

namespace quillon::tool {

const std::vector<std::string> kDeviceOptions = {"--xml", "--camera"};
const char kDeviceHelp[] =
    "DEVICE: nothing for the embedded simulated system (its system, digitizer, sequence and\n"
    "        camera), --xml FILE for a description over zero-filled memory, or --camera ID\n"
    "        for a GigE Vision or USB3 Vision camera (an identifier `quillon cameras` lists,\n"
    "        a serial number, user name, IP or MAC address)\n";

#ifdef QUILLON_HAVE_GUI
const std::vector<Command>& WindowCommands(); // tool_window.cpp
#else
// Without the browser window the command with no subcommand prints the tree.
const std::vector<Command>& WindowCommands() {
    static const std::vector<Command> commands = {
        {"", "[DEVICE]", "the feature tree (the browser window is not built)", true, {}, {}, 0, 0,
         [](const Args& args) {
             return InspectionCommands().front().run(args);
         }}};
    return commands;
}
#endif

namespace {

bool contains(const std::vector<std::string>& list, const std::string& word) {
    for (const auto& w : list)
        if (w == word) return true;
    return false;
}

std::vector<const std::vector<Command>*> tables() {
    return {&WindowCommands(), &InspectionCommands(), &TransferCommands(),
            &UnderstandingCommands(), &FeatureSetCommands(),
            &CameraCommands()};
}

const Command* findCommand(const std::string& name) {
    for (const auto* table : tables())
        for (const Command& c : *table)
            if (name == c.name) return &c;
    return nullptr;
}

std::string usageLine(const Command& c) {
    std::string line = "quillon";
    if (*c.name) line += std::string(" ") + c.name;
    return line + " " + c.usage;
}

std::string overallUsage() {
    std::string text = "usage:\n";
    for (const auto* table : tables())
        for (const Command& c : *table) {
            std::string line = "  " + usageLine(c);
            line.resize(std::max<size_t>(line.size() + 2, 64), ' ');
            text += line + c.summary + "\n";
        }
    text += kDeviceHelp;
    text += "quillon COMMAND --help shows one command's usage.\n";
    return text;
}

int run(std::vector<std::string> words) {
    if (!words.empty() && (words[0] == "--help" || words[0] == "-h")) {
        std::fputs(overallUsage().c_str(), stdout);
        return 0;
    }
    // The host (no subcommand) takes options only; anything else names a command.
    std::string name = words.empty() || (words[0].rfind("--", 0) == 0 && !findCommand(words[0]))
                           ? std::string()
                           : words[0];
    const Command* command = findCommand(name);
    if (!command) throw UsageError("unknown command '" + name + "' (quillon --help lists them)");
    if (!name.empty()) words.erase(words.begin());
    if (contains(words, "--help") || contains(words, "-h")) {
        std::printf("usage: %s\n%s", usageLine(*command).c_str(),
                    command->takesDevice ? kDeviceHelp : "");
        return 0;
    }
    return command->run(ParseArgs(*command, words));
}

} // namespace

Args ParseArgs(const Command& command, const std::vector<std::string>& words) {
    Args args;
    args.words = words;
    for (size_t i = 0; i < words.size(); ++i) {
        const std::string& w = words[i];
        bool device = command.takesDevice && contains(kDeviceOptions, w);
        if (device || contains(command.valueOptions, w)) {
            if (i + 1 == words.size()) throw UsageError(w + " needs a value");
            args.values[w] = words[++i];
        } else if (contains(command.flagOptions, w)) {
            args.flags.insert(w);
        } else if (w.size() > 1 && w[0] == '-' && !std::isdigit(static_cast<unsigned char>(w[1])) &&
                   w[1] != '.') {
            throw UsageError("unknown option '" + w + "' (usage: " + usageLine(command) + ")");
        } else {
            args.positional.push_back(w);
        }
    }
    if (args.positional.size() < command.minPositional ||
        args.positional.size() > command.maxPositional)
        throw UsageError("usage: " + usageLine(command));
    return args;
}

} // namespace quillon::tool

int main(int argc, char** argv) {
    using quillon::tool::UsageError;
    try {
        return quillon::tool::run(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const UsageError& e) {
        std::fprintf(stderr, "quillon: %s\n", e.what());
    } catch (const GenICam::GenericException& e) {
        std::fprintf(stderr, "quillon: %s\n", e.GetDescription());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "quillon: %s\n", e.what());
    }
    return 2;
}
