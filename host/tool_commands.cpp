// quillon tree, props, find, get, set, exec and check: the texts the browser
// shows and the edits it makes, one device access a command.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>

#include "GenApi/GenApi.h"
#include "GenApi/MemoryPort.h"
#include "browser/property_box.h"
#include "browser/text_tree.h"
#include "browser/tree_model.h"
#include "inspect/command_execution.h"
#include "inspect/find_feature.h"
#include "inspect/value_commit.h"
#include "tool.h"
#include "tool_device.h"

using namespace GenApi;

namespace quillon::tool {

namespace {

int parseLevel(const std::string& text) {
    if (text == "standard") return browser::kStandard;
    if (text == "advanced") return browser::kAdvanced;
    if (text == "guru") return browser::kGuru;
    throw UsageError("unknown level '" + text + "' (standard, advanced or guru)");
}

int tree(const Args& args) {
    int level = parseLevel(args.Value("--level", "guru"));
    PrintTree(OpenDevice(args)->entries(), level);
    return 0;
}

int props(const Args& args) {
    auto device = OpenDevice(args);
    const std::string& feature = args.positional[0];
    auto [node, context] = device->find(feature);
    // The row the window shows at guru, so a selected feature's code sets
    // its selector first; a feature the tree does not show gets a row of its own.
    browser::TextTree sink;
    browser::FeatureTreeModel model(sink, nullptr);
    model.Build(device->entries(), browser::kGuru);
    browser::FeatureRow own;
    const browser::FeatureRow* row = &own;
    for (const browser::FeatureRow& r : model.featureRows())
        if (r.node == node && r.treeItem) {
            row = &r;
            break;
        }
    if (row == &own) {
        own.context = *context;
        own.node = node;
        own.properties = browser::ReadPropertyFlags(node);
    }
    std::fputs(browser::PropertyBoxFor(model, *row).c_str(), stdout);
    return 0;
}

int find(const Args& args) {
    auto device = OpenDevice(args);
    browser::TextTree sink;
    browser::FeatureTreeModel model(sink, nullptr);
    model.Build(device->entries(), browser::kGuru);
    auto rows = [](const std::deque<browser::FeatureRow>& from) {
        std::vector<inspect::FindRow> out;
        for (const auto& r : from)
            if (r.treeItem)
                out.push_back(
                    {r.label, r.node ? std::string(r.node->GetName()) : r.label, r.treeItem});
        return out;
    };
    inspect::FeatureFinder finder;
    finder.Refill(rows(model.featureRows()), rows(model.categoryRows()));
    for (const auto& e : finder.Filter(args.positional[0]))
        std::printf("%s\n", e->name.c_str());
    return 0;
}

int get(const Args& args) {
    auto device = OpenDevice(args);
    const std::string& feature = args.positional[0];
    CValuePtr value = device->find(feature).first;
    if (!value) throw UsageError("'" + feature + "' has no value");
    std::printf("%s\n", std::string(value->ToString()).c_str());
    return 0;
}

int set(const Args& args) {
    auto device = OpenDevice(args);
    const std::string& feature = args.positional[0];
    auto [node, context] = device->find(feature);
    inspect::CommitResult result = inspect::CommitValue(node, feature, args.positional[1], *context);
    if (!result.written) throw UsageError(result.message);
    return 0;
}

int exec(const Args& args) {
    auto device = OpenDevice(args);
    const std::string& feature = args.positional[0];
    auto [node, context] = device->find(feature);
    if (node->GetPrincipalInterfaceType() != intfICommand)
        throw UsageError("'" + feature + "' is not a command");
    inspect::ExecuteCommand(node, feature, *context, device->system());
    return 0;
}

// Loads every description of a folder and reads every node, as the tree does
// over zero-filled memory: a vendor file that stops is named with the reason.
int check(const Args& args) {
    namespace fs = std::filesystem;
    std::vector<fs::path> files;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(args.positional[0], error)) {
        auto ext = entry.path().extension();
        if (ext == ".xml" || ext == ".zip") files.push_back(entry.path());
    }
    if (error) throw UsageError("cannot read the folder '" + args.positional[0] + "'");
    std::sort(files.begin(), files.end());
    int failures = 0;
    for (const auto& path : files) {
        auto start = std::chrono::steady_clock::now();
        try {
            Args one;
            one.values["--xml"] = path.string();
            auto device = OpenDevice(one);
            double ms =
                std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                    .count();
            browser::TextTree sink;
            browser::FeatureTreeModel model(sink, nullptr);
            model.Build(device->entries(), browser::kGuru);
            std::printf("%-45s %6llu nodes  %7.2f ms\n", path.filename().c_str(),
                        static_cast<unsigned long long>(
                            device->entries().front().context.nodeMap->GetNumNodes()),
                        ms);
        } catch (const GenICam::GenericException& e) {
            std::printf("%-45s FAILED: %s\n", path.filename().c_str(), e.GetDescription());
            ++failures;
        }
    }
    return failures ? 2 : 0;
}

} // namespace

const std::vector<Command>& InspectionCommands() {
    static const std::vector<Command> commands = {
        {"tree", "[DEVICE] [--level standard|advanced|guru]", "the feature tree with every value",
         true, {"--level"}, {}, 0, 0, tree},
        {"props", "[DEVICE] FEATURE", "a feature's property text and access code", true, {}, {}, 1,
         1, props},
        {"find", "[DEVICE] QUERY", "the names that match as the find window lists them", true, {},
         {}, 1, 1, find},
        {"get", "[DEVICE] FEATURE", "a feature's value", true, {}, {}, 1, 1, get},
        {"set", "[DEVICE] FEATURE VALUE", "writes a value as the browser commits it", true, {}, {},
         2, 2, set},
        {"exec", "[DEVICE] FEATURE", "executes a command and waits for its completion", true, {},
         {}, 1, 1, exec},
        {"check", "FOLDER", "loads every description of a folder and builds its tree", false, {},
         {}, 1, 1, check},
    };
    return commands;
}

} // namespace quillon::tool
