// quillon save, load and diff: a device's settings as a feature-set file,
// written back with a report, and compared with a file or another device.
#include <unistd.h>

#include <cstdio>

#include "inspect/feature_set_format.h"
#include "inspect/feature_sets.h"
#include "tool.h"
#include "tool_device.h"

namespace quillon::tool {

namespace {

// Progress on a terminal only: scripts read standard error for failures.
inspect::FeatureSetProgress terminalProgress(const char* unit) {
    if (!isatty(STDERR_FILENO)) return {};
    return [unit](size_t done, size_t total) {
        std::fprintf(stderr, "\r%zu / %zu %s", done, total, unit);
        if (done == total) std::fputs("\n", stderr);
        return true;
    };
}

inspect::FeatureSet parseFile(const std::string& path) {
    inspect::ParsedFeatureSet parsed = inspect::ParseFeatureSet(inspect::ReadTextFile(path));
    if (!parsed.errors.empty()) throw inspect::FeatureSetFileError(path, std::move(parsed.errors));
    return std::move(parsed.set);
}

int save(const Args& args) {
    auto device = OpenDevice(args);
    inspect::ReadOptions options;
    options.progress = terminalProgress("features");
    const inspect::FeatureSet set = inspect::ReadFeatureSet(device->entries(), options);
    inspect::WriteTextFile(args.positional[0], inspect::WriteFeatureSet(set));
    return 0;
}

int load(const Args& args) {
    const std::string& path = args.positional[0];
    const inspect::FeatureSet set = parseFile(path);
    auto device = OpenDevice(args);
    inspect::LoadOptions options;
    options.dryRun = args.Flag("--dry-run");
    options.progress = terminalProgress("lines");
    const inspect::LoadReport report =
        inspect::LoadFeatureSet(set, device->entries(), path, options);
    std::fputs(report.Text(path).c_str(), stdout);
    return report.Refused() == 0 && !report.cancelled ? 0 : 1;
}

// A diff source: a device (its DEVICE options, or "sim" for the embedded
// simulated system) or a feature-set file.
struct Source {
    std::string name;
    Args device;
    bool isDevice = false;
};

std::vector<Source> diffSources(const std::vector<std::string>& words) {
    std::vector<Source> sources;
    for (size_t i = 0; i < words.size(); ++i) {
        Source s{words[i], {}, false};
        for (const std::string& option : kDeviceOptions)
            if (words[i] == option) {
                if (i + 1 == words.size()) throw UsageError(option + " needs a value");
                s.device.values[option] = words[++i];
                s.name += " " + words[i];
                s.isDevice = true;
            }
        s.isDevice = s.isDevice || words[i] == "sim";
        sources.push_back(std::move(s));
    }
    if (sources.size() != 2) throw UsageError("diff compares two sources (quillon diff --help)");
    return sources;
}

int diff(const Args& args) {
    std::vector<inspect::FeatureSet> sets;
    const std::vector<Source> sources = diffSources(args.words);
    for (const Source& source : sources) {
        if (!source.isDevice) {
            sets.push_back(parseFile(source.name));
            continue;
        }
        auto device = OpenDevice(source.device);
        sets.push_back(inspect::ReadFeatureSet(device->entries()));
    }
    const auto differences = inspect::CompareFeatureSets(sets[0], sets[1]);
    std::fputs(inspect::FormatDifferences(differences, sources[0].name, sources[1].name).c_str(),
               stdout);
    return differences.empty() ? 0 : 1;
}

} // namespace

const std::vector<Command>& FeatureSetCommands() {
    static const std::vector<Command> commands = {
        {"save",
         "[DEVICE] FILE",
         "saves every readable feature to a feature-set file",
         true,
         {},
         {},
         1,
         1,
         save},
        {"load",
         "[DEVICE] FILE [--dry-run]",
         "writes a feature-set file to the device and reports each line (1: lines refused)",
         true,
         {},
         {"--dry-run"},
         1,
         1,
         load},
        {"diff",
         "SOURCE SOURCE",
         "the differences of two feature sets (1: some); SOURCE: a file, sim or DEVICE",
         true,
         {},
         {},
         0,
         2,
         diff},
    };
    return commands;
}

} // namespace quillon::tool
