// The quillon command: the host of the browser library, and the texts the
// browser shows, for scripts and checks.
//
//   quillon [DEVICE] [--modeless] [--image OUT.png]   (browser_host.cpp)
//   quillon tree [DEVICE] [--level standard|advanced|guru]
//   quillon props [DEVICE] FEATURE
//   quillon find [DEVICE] QUERY
//   quillon get|set|exec [DEVICE] FEATURE [VALUE]
//   quillon download|upload [DEVICE] FILE-ENTRY LOCAL-PATH
//   quillon check FOLDER
//   quillon --screenshot OUT.png [DEVICE] [--select FEATURE]   (when built with the browser window)
//
// DEVICE is nothing for the embedded simulated system (its system,
// digitizer, sequence and camera, each a captioned node-map entry) or
// --xml FILE for a description over a zero-filled memory port.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "GenApi/GenApi.h"
#include "types/feature_row.h"
#include "browser/text_tree.h"
#include "browser/tree_model.h"
#include "browser_host.h"
#include "inspect/command_execution.h"
#include "inspect/file_transfer.h"
#include "inspect/find_feature.h"
#include "inspect/property_text.h"
#include "inspect/snippet_generator.h"
#include "inspect/value_commit.h"
#include "node_map_loading.h"
#include "qorvis.h"

#ifdef QUILLON_HAVE_GUI
#include <QApplication>

#include "browser/tessel_window.h"
#include "controls/column_tree_widget.h"
#endif

using namespace GenApi;
using namespace quillon;
namespace fs = std::filesystem;

std::string host::DataDirectory() {
    if (const char* dir = std::getenv("QUILLON_DATA_DIR")) {
        std::string d(dir);
        return d.empty() || d.back() == '/' ? d : d + "/";
    }
    return QUILLON_DEFAULT_DATA_DIR;
}

void host::PrintTree(const std::vector<browser::NodeMapEntry>& entries, int level) {
    browser::TextTree sink;
    browser::FeatureTreeModel model(sink, nullptr);
    try {
        model.Build(entries, level);
    } catch (const GenICam::GenericException&) {
        // The browser keeps the rows built before the failure and shows the
        // message in its error box: so does the command, on stderr.
        std::fputs(sink.Print().c_str(), stdout);
        throw;
    }
    std::fputs(sink.Print().c_str(), stdout);
}

namespace {

// A failure the user caused or the device reported: one line, status 2.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The node maps a command works on, and what keeps them alive.
class Device {
public:
    virtual ~Device() = default;
    const std::vector<browser::NodeMapEntry>& entries() const { return entries_; }

    // The first entry holding a node of that name.
    std::pair<INode*, const browser::NodeMapContext*> find(const std::string& name) const {
        for (const auto& e : entries_)
            if (INode* n = e.context.nodeMap->GetNode(name.c_str())) return {n, &e.context};
        throw UsageError("no feature named '" + name + "'");
    }

protected:
    std::vector<browser::NodeMapEntry> entries_;
};

class XmlDevice final : public Device {
public:
    explicit XmlDevice(const std::string& file) {
        map_._LoadXMLFromFile(file.c_str());
        map_._Connect(&port_);
        browser::NodeMapEntry e;
        e.context.nodeMap = map_._Ptr();
        entries_.push_back(e);
    }

private:
    CMemoryPort port_;
    CNodeMapRef map_;
};

class SimulatedSystem final : public Device {
public:
    SimulatedSystem() {
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
        QappAlloc(QOR_TEXT(""), &app_);
        QsysAlloc(app_, QOR_TEXT("Q_SYSTEM_SIMULATED"), 0, Q_DEFAULT, &sys_);
        QdigAlloc(sys_, 0, QOR_TEXT(""), Q_DEFAULT, &dig_);
        QseqAlloc(sys_, 0, 1, Q_DEFAULT, &seq_);
        if (!sys_ || !dig_ || !seq_)
            throw UsageError("the simulated system could not be allocated");
        std::string dir = host::DataDirectory();
        add("System", sys_, Q_SYSTEM_OBJECT, dir);
        add("Digitizer", dig_, Q_DIGITIZER_OBJECT, dir);
        add("Sequence", seq_, Q_SEQUENCE_OBJECT, dir);
        QOR_INT64 camera = 0;
        QdigInquire(dig_, Q_GC_NODE_MAP, &camera);
        if (camera) {
            browser::NodeMapEntry e;
            e.context.nodeMap = reinterpret_cast<INodeMap*>(camera);
            e.context.caption = "Camera";
            e.context.objectKind = Q_DIGITIZER_OBJECT;
            e.context.object = dig_;
            entries_.push_back(e);
        }
    }
    ~SimulatedSystem() override {
        loaded_.clear(); // node maps before their ports, all before the objects
        QseqFree(seq_);
        QdigFree(dig_);
        QsysFree(sys_);
        QappFree(app_);
    }

private:
    struct Loaded {
        std::unique_ptr<CQorTransportLayerBase> port;
        std::unique_ptr<NodeMapReference> map;
        ~Loaded() { map.reset(); }
    };
    void add(const char* caption, QOR_ID object, int64_t kind, const std::string& dir) {
        auto loaded = std::make_unique<Loaded>();
        loaded->map = LoadNodeMapForObject(object, loaded->port, dir);
        if (!loaded->map)
            throw UsageError(std::string("no description of the simulated ") + caption + " in " +
                             dir);
        browser::NodeMapEntry e;
        e.context.nodeMap = loaded->map->map._Ptr();
        e.context.caption = caption;
        e.context.objectKind = kind;
        e.context.object = object;
        entries_.push_back(e);
        loaded_.push_back(std::move(loaded));
    }
    QOR_ID app_ = 0, sys_ = 0, dig_ = 0, seq_ = 0;
    std::vector<std::unique_ptr<Loaded>> loaded_;
};

int parseLevel(const std::string& text) {
    if (text == "standard") return browser::kStandard;
    if (text == "advanced") return browser::kAdvanced;
    if (text == "guru") return browser::kGuru;
    throw UsageError("unknown level '" + text + "' (standard, advanced or guru)");
}

// ---------------------------------------------------------------- commands

int tree(Device& device, int level) {
    host::PrintTree(device.entries(), level);
    return 0;
}

int props(Device& device, const std::string& feature) {
    auto [node, context] = device.find(feature);
    std::string typed =
        inspect::FeaturePropertyText(node, feature, browser::ReadPropertyFlags(node));
    int64_t kind = context->objectKind ? context->objectKind : Q_DIGITIZER_OBJECT;
    inspect::SnippetTexts snippets =
        inspect::GenerateSnippets(node, inspect::MakeSnippetRequest(node, kind));
    std::fputs(inspect::PropertyBoxText(typed, snippets.ShownPieces()).c_str(), stdout);
    return 0;
}

int find(Device& device, const std::string& query) {
    browser::TextTree sink;
    browser::FeatureTreeModel model(sink, nullptr);
    model.Build(device.entries(), browser::kGuru);
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
    for (const auto& e : finder.Filter(query))
        std::printf("%s\n", e.name.c_str());
    return 0;
}

int get(Device& device, const std::string& feature) {
    auto [node, context] = device.find(feature);
    CValuePtr value = node;
    if (!value) throw UsageError("'" + feature + "' has no value");
    std::printf("%s\n", std::string(value->ToString()).c_str());
    return 0;
}

int set(Device& device, const std::string& feature, const std::string& text) {
    auto [node, context] = device.find(feature);
    inspect::CommitResult result = inspect::CommitValue(node, feature, text, *context);
    if (!result.written) throw UsageError(result.message);
    return 0;
}

int exec(Device& device, const std::string& feature) {
    auto [node, context] = device.find(feature);
    if (node->GetPrincipalInterfaceType() != intfICommand)
        throw UsageError("'" + feature + "' is not a command");
    inspect::ExecuteCommand(node, feature, *context);
    return 0;
}

// The transfer's platform pieces for a terminal: the path is given, progress
// goes to standard error, the result text to standard output.
struct TerminalPlatform final : inspect::FileDialog,
                                inspect::MessageDisplay,
                                inspect::ProgressIndicator,
                                inspect::TransferButtons {
    std::string path;
    bool failed = false;
    int32_t upper = 0;
    std::string Choose(Kind, const std::string&) override { return path; }
    void Show(const std::string& text, const std::string& caption, inspect::MessageIcon) override {
        std::fprintf(stderr, "\n");
        std::printf("%s\n", text.c_str());
        failed = caption == "Error";
    }
    void SetRange(int32_t, int32_t to) override { upper = to; }
    void SetPosition(int32_t position) override {
        std::fprintf(stderr, "\r%d / %d bytes", position, upper);
    }
    void SetStep(int32_t) override {}
    void Step() override {}
    void Show(bool) override {}
    void EnableDownload(bool) override {}
    void EnableUpload(bool) override {}
};

int transfer(Device& device, bool download, const std::string& fileEntry,
             const std::string& localPath) {
    INodeMap* map = nullptr;
    for (const auto& e : device.entries())
        if (e.context.nodeMap->GetNode("FileSelector")) map = e.context.nodeMap;
    if (!map) throw UsageError("the device has no file access");
    TerminalPlatform platform;
    platform.path = localPath;
    inspect::FileTransferSession session(map, {platform, platform, platform, platform, {}});
    session.FillFileList();
    const auto& files = session.Files();
    size_t index = files.size();
    for (size_t i = 0; i < files.size(); ++i) {
        CEnumEntryPtr entry = files[i].entry;
        if (files[i].displayName == fileEntry ||
            (entry && std::string(entry->GetSymbolic()) == fileEntry))
            index = i;
    }
    if (index == files.size()) throw UsageError("no device file '" + fileEntry + "'");
    session.SelectFile(index);
    bool started = download ? session.StartDownload() : session.StartUpload();
    if (!started) throw UsageError("no transfer started");
    session.WaitForTransfer();
    return platform.failed ? 2 : 0;
}

int check(const std::string& folder) {
    int failures = 0;
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder)) {
        auto ext = entry.path().extension();
        if (ext == ".xml" || ext == ".zip") files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    for (const auto& path : files) {
        auto start = std::chrono::steady_clock::now();
        try {
            CNodeMapRef ref;
            ref._LoadXMLFromFile(path.string().c_str());
            double ms =
                std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                    .count();
            std::printf("%-45s %6llu nodes  %7.2f ms\n", path.filename().c_str(),
                        static_cast<unsigned long long>(ref._Ptr()->GetNumNodes()), ms);
        } catch (const GenICam::GenericException& e) {
            std::printf("%-45s FAILED: %s\n", path.filename().c_str(), e.GetDescription());
            ++failures;
        }
    }
    return failures ? 2 : 0;
}

#ifdef QUILLON_HAVE_GUI
// Opens the browser window on the device, selects `feature` (when given) so
// that its property text and in-place editor show, and saves the image.
int screenshot(Device& device, const std::string& path, const std::string& feature) {
    // Without a display the window is drawn off screen.
    if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY"))
        setenv("QT_QPA_PLATFORM", "offscreen", 0);
    int argc = 1;
    char name[] = "quillon";
    char* argv[] = {name, nullptr};
    QApplication app(argc, argv);
    browser::CTessel window(browser::BrowserSetup{device.entries(), 0, {}, false});
    if (!feature.empty()) {
        browser::TreeItem item = browser::kTopLevel;
        for (const browser::FeatureRow& row : window.session().model().featureRows())
            if (row.node && row.treeItem && row.node->GetName() == feature.c_str())
                item = row.treeItem;
        if (!item) throw UsageError("no row shows a feature named '" + feature + "'");
        window.show();
        window.tree().SelectItem(item);
    }
    if (!browser::SaveWindowImage(window, QString::fromStdString(path)))
        throw UsageError("could not save the window image to '" + path + "'");
    std::printf("quillon: saved the browser window to %s\n", path.c_str());
    return 0;
}
#endif

const char kUsage[] =
#ifdef QUILLON_HAVE_GUI
    "usage: quillon [DEVICE] [--modeless] [--image OUT.png]   the browser (no display: tree and "
    "image)\n"
#else
    "usage: quillon                                   the simulated system's feature tree\n"
#endif
    "       quillon tree [DEVICE] [--level standard|advanced|guru]\n"
    "       quillon props [DEVICE] FEATURE\n"
    "       quillon find [DEVICE] QUERY\n"
    "       quillon get|set|exec [DEVICE] FEATURE [VALUE]\n"
    "       quillon download|upload [DEVICE] FILE-ENTRY LOCAL-PATH\n"
    "       quillon check FOLDER\n"
#ifdef QUILLON_HAVE_GUI
    "       quillon --screenshot OUT.png [DEVICE] [--select FEATURE]\n"
#endif
    "DEVICE: nothing for the embedded simulated system, or --xml FILE\n";

#ifdef QUILLON_HAVE_GUI
bool isHostOption(const std::string& arg) {
    return arg == "--xml" || arg == "--modeless" || arg == "--image";
}
#endif

int run(std::vector<std::string> args) {
#ifdef QUILLON_HAVE_GUI
    if (args.empty() || isHostOption(args[0])) return host::RunBrowserHost(args);
#else
    if (args.empty()) {
        std::printf(
            "Quillon: the browser window is not built; this is the feature tree it shows for the\n"
            "embedded simulated system (system, digitizer, sequence and Torvex TVX1280M "
            "camera):\n\n");
        SimulatedSystem device;
        return tree(device, browser::kGuru);
    }
#endif
    std::string command = args[0];
    args.erase(args.begin());
    if (command == "check") {
        if (args.size() != 1) throw UsageError(kUsage);
        return check(args[0]);
    }
    std::string xml, level = "guru", select;
    std::vector<std::string> positional;
    for (size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--xml" && i + 1 < args.size())
            xml = args[++i];
        else if (args[i] == "--level" && i + 1 < args.size())
            level = args[++i];
        else if (args[i] == "--select" && i + 1 < args.size())
            select = args[++i];
        else
            positional.push_back(args[i]);
    }
    auto need = [&](size_t n) {
        if (positional.size() != n) throw UsageError(kUsage);
    };
    std::unique_ptr<Device> device;
    if (!xml.empty())
        device = std::make_unique<XmlDevice>(xml);
    else
        device = std::make_unique<SimulatedSystem>();
#ifdef QUILLON_HAVE_GUI
    if (command == "--screenshot") return need(1), screenshot(*device, positional[0], select);
#endif
    if (command == "tree") return need(0), tree(*device, parseLevel(level));
    if (command == "props") return need(1), props(*device, positional[0]);
    if (command == "find") return need(1), find(*device, positional[0]);
    if (command == "get") return need(1), get(*device, positional[0]);
    if (command == "set") return need(2), set(*device, positional[0], positional[1]);
    if (command == "exec") return need(1), exec(*device, positional[0]);
    if (command == "download")
        return need(2), transfer(*device, true, positional[0], positional[1]);
    if (command == "upload") return need(2), transfer(*device, false, positional[0], positional[1]);
    throw UsageError(kUsage);
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const UsageError& e) {
        std::fprintf(stderr, "quillon: %s\n", e.what());
    } catch (const GenICam::GenericException& e) {
        std::fprintf(stderr, "quillon: %s\n", e.GetDescription());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "quillon: %s\n", e.what());
    }
    return 2;
}
