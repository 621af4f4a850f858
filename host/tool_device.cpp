#include "tool_device.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "GenApi/MemoryPort.h"
#include "browser/text_tree.h"
#include "browser/tree_model.h"
#include "node_map_loading.h"
#include "qorvis.h"
#include "tool.h"

using namespace GenApi;

namespace quillon::tool {

std::string InstalledPath(const std::string& relative) {
    std::error_code error;
    std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return {};
    std::filesystem::path path = executable.parent_path() / relative;
    return std::filesystem::exists(path, error) ? path.lexically_normal().string() : std::string();
}

std::string DataDirectory() {
    if (const char* dir = std::getenv("QUILLON_DATA_DIR")) {
        std::string d(dir);
        return d.empty() || d.back() == '/' ? d : d + "/";
    }
    if (std::string installed = InstalledPath(QUILLON_INSTALLED_DATA_DIR); !installed.empty())
        return installed.back() == '/' ? installed : installed + "/";
    return QUILLON_DEFAULT_DATA_DIR;
}

std::string LibraryErrorText() {
    char function[256] = {};
    QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT_FCT + Q_TEXT, function);
    std::string text = std::string("Error in ") + function + ":";
    QOR_INT64 count = 0;
    QappGetError(Q_DEFAULT_APPLICATION, Q_CURRENT_SUB_NB, &count);
    for (QOR_INT64 i = 0; i < count && i < 3; ++i) {
        char sub[256] = {};
        QappGetError(Q_DEFAULT_APPLICATION, (Q_CURRENT_SUB_1 + i) + Q_TEXT, sub);
        text += std::string(" ") + sub;
    }
    return text;
}

std::pair<INode*, const browser::NodeMapContext*> Device::find(const std::string& name) const {
    for (const auto& e : entries_)
        if (INode* n = e.context.nodeMap->GetNode(name.c_str())) return {n, &e.context};
    throw UsageError("no feature named '" + name + "'");
}

void PrintTree(const std::vector<browser::NodeMapEntry>& entries, int level) {
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

// A description over zero-filled memory: every port node it declares reads
// the same memory, so chunk and transport-layer ports don't stop the tree.
class XmlDevice final : public Device {
public:
    explicit XmlDevice(const std::string& file) {
        map_._LoadXMLFromFile(file.c_str());
        NodeList_t nodes;
        map_._GetNodes(nodes);
        for (INode* node : nodes)
            if (node->GetPrincipalInterfaceType() == intfIPort)
                map_._Connect(&port_, node->GetName());
        browser::NodeMapEntry e;
        e.context.nodeMap = map_._Ptr();
        entries_.push_back(e);
    }

private:
    CMemoryPort port_;
    CNodeMapRef map_;
};

// The imaging library's objects: the simulated system (system, digitizer,
// sequence and its camera), or, with a camera named, the camera system and
// the digitizer that opened that camera (system, digitizer and the camera).
class LibrarySystem final : public Device {
public:
    explicit LibrarySystem(const std::string& camera) {
        // Failures are reported once, by the command (an allocation starts
        // the application from its default settings).
        QappAlloc(QOR_TEXT(""), &app_);
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
        if (camera.empty()) {
            QsysAlloc(app_, Q_SYSTEM_SIMULATED, 0, Q_DEFAULT, &sys_);
            QdigAlloc(sys_, 0, QOR_TEXT(""), Q_DEFAULT, &dig_);
            QseqAlloc(sys_, 0, 1, Q_DEFAULT, &seq_);
        } else {
            QsysAlloc(app_, Q_SYSTEM_CAMERAS, 0, Q_DEFAULT, &sys_);
            if (sys_) QdigAlloc(sys_, Q_DEFAULT, camera.c_str(), Q_DEFAULT, &dig_);
        }
        if (!sys_ || !dig_ || (camera.empty() && !seq_)) {
            std::string reason = LibraryErrorText();
            release();
            throw UsageError(reason);
        }
        system_ = sys_;
        std::string dir = DataDirectory();
        add("System", sys_, Q_SYSTEM_OBJECT, dir);
        add("Digitizer", dig_, Q_DIGITIZER_OBJECT, dir);
        if (seq_) add("Sequence", seq_, Q_SEQUENCE_OBJECT, dir);
        QOR_INT64 cameraMap = 0;
        QdigInquire(dig_, Q_GC_NODE_MAP, &cameraMap);
        if (cameraMap) {
            browser::NodeMapEntry e;
            e.context.nodeMap = reinterpret_cast<INodeMap*>(cameraMap);
            e.context.caption = "Camera";
            e.context.objectKind = Q_DIGITIZER_OBJECT;
            e.context.object = dig_;
            entries_.push_back(e);
        }
    }
    ~LibrarySystem() override { release(); }

private:
    void release() {
        loaded_.clear(); // node maps before their ports, all before the objects
        if (seq_) QseqFree(seq_);
        if (dig_) QdigFree(dig_);
        if (sys_) QsysFree(sys_);
        QappFree(app_);
    }
    struct Loaded {
        std::unique_ptr<CQorTransportLayerBase> port;
        std::unique_ptr<NodeMapReference> map;
        ~Loaded() { map.reset(); }
    };
    void add(const char* caption, QOR_ID object, int64_t kind, const std::string& dir) {
        auto loaded = std::make_unique<Loaded>();
        loaded->map = LoadNodeMapForObject(object, loaded->port, dir);
        if (!loaded->map)
            throw UsageError(std::string("no description of the ") + caption + " in " + dir);
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

} // namespace

void UseNodeMapCache() {
    if (std::getenv("GENICAM_CACHE_V3_4")) return;
    std::string folder;
    if (const char* xdg = std::getenv("XDG_CACHE_HOME"); xdg && *xdg == '/')
        folder = xdg;
    else if (const char* home = std::getenv("HOME"); home && *home)
        folder = std::string(home) + "/.cache";
    else
        return;
    ::setenv("GENICAM_CACHE_V3_4", (folder + "/quillon").c_str(), 1);
}

std::unique_ptr<Device> OpenDevice(const Args& args) {
    UseNodeMapCache();
    if (std::string xml = args.Value("--xml"); !xml.empty()) return std::make_unique<XmlDevice>(xml);
    return std::make_unique<LibrarySystem>(args.Value("--camera"));
}

} // namespace quillon::tool
