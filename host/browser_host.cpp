#include "browser_host.h"

#include <dlfcn.h>

#include <QApplication>
#include <QLabel>
#include <QMainWindow>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <utility>

#include "GenApi/GenApi.h"
#include "GenApi/MemoryPort.h"
#include "browser/tessel_window.h"
#include "browser/tree_model.h"
#include "qorvis.h"
#include "quillon.h"

namespace quillon::host {

namespace {

// libquillon.so and the two entry points the host calls.
class BrowserLibrary {
public:
    explicit BrowserLibrary(const std::string& installed) {
        const char* path = std::getenv("QUILLON_LIBRARY");
        if ((!path || !*path) && !installed.empty()) path = installed.c_str();
        if (!path || !*path) path = QUILLON_DEFAULT_LIBRARY;
        // Never unloaded: the library keeps windows and Qt objects alive.
        void* library = ::dlopen(path, RTLD_NOW | RTLD_LOCAL);
        if (!library)
            throw std::runtime_error(std::string("cannot load the browser library: ") +
                                     ::dlerror());
        create =
            reinterpret_cast<decltype(create)>(::dlsym(library, "VantorCreateGenicamControllerV3"));
        destroy = reinterpret_cast<decltype(destroy)>(::dlsym(library, "DeleteGenicamController"));
        if (!create || !destroy)
            throw std::runtime_error(std::string(path) + " lacks the controller entry points");
    }
    decltype(&VantorCreateGenicamControllerV3) create = nullptr;
    decltype(&DeleteGenicamController) destroy = nullptr;
};

// The imaging library's objects and the records that describe them: the
// simulated system's, or the camera system's and the named camera's.
class HostDevices {
public:
    HostDevices(const std::string& xml, const std::string& camera, const tool::WindowRequest& request)
        : dataDirectory_(request.dataDirectory) {
        // Failures are reported once, by the command (an allocation starts
        // the application from its default settings).
        QappAlloc(QOR_TEXT(""), &app_);
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
        if (!camera.empty()) {
            QsysAlloc(app_, Q_SYSTEM_CAMERAS, 0, Q_DEFAULT, &sys_);
            if (sys_) QdigAlloc(sys_, Q_DEFAULT, camera.c_str(), Q_DEFAULT, &dig_);
            if (!dig_) {
                const std::string reason = request.libraryErrorText();
                if (sys_) QsysFree(sys_);
                QappFree(app_);
                throw tool::UsageError(reason);
            }
            records_.push_back(Record(CONTROLLER_DESC_LOAD_NODE_MAP, sys_, "System"));
            records_.push_back(Record(CONTROLLER_DESC_LOAD_NODE_MAP, dig_, "Digitizer"));
            records_.push_back(Record(CONTROLLER_DESC_LIBRARY_NODE_MAP, dig_, "Camera"));
            return;
        }
        QsysAlloc(app_, Q_SYSTEM_SIMULATED, 0, Q_DEFAULT, &sys_);
        QdigAlloc(sys_, 0, QOR_TEXT(""), Q_DEFAULT, &dig_);
        QseqAlloc(sys_, 0, 1, Q_DEFAULT, &seq_);
        if (!sys_ || !dig_ || !seq_)
            throw std::runtime_error("the simulated system could not be allocated");
        if (!xml.empty()) {
            xmlMap_._LoadXMLFromFile(xml.c_str());
            xmlMap_._Connect(&port_);
            ControllerDeviceDesc record = Record(CONTROLLER_DESC_HOST_ONLY, 0, nullptr);
            record.NodeMap = xmlMap_._Ptr();
            records_.push_back(record);
            return;
        }
        records_.push_back(Record(CONTROLLER_DESC_LOAD_NODE_MAP, sys_, "System"));
        records_.push_back(Record(CONTROLLER_DESC_LOAD_NODE_MAP, dig_, "Digitizer"));
        records_.push_back(Record(CONTROLLER_DESC_LOAD_NODE_MAP, seq_, "Sequence"));
        records_.push_back(Record(CONTROLLER_DESC_LIBRARY_NODE_MAP, dig_, "Camera"));
    }
    ~HostDevices() {
        if (seq_) QseqFree(seq_);
        if (dig_) QdigFree(dig_);
        if (sys_) QsysFree(sys_);
        QappFree(app_);
    }
    HostDevices(const HostDevices&) = delete;
    HostDevices& operator=(const HostDevices&) = delete;

    QOR_ID system() const { return sys_; }
    ControllerDeviceDesc* records() { return records_.data(); }
    int64_t count() const { return static_cast<int64_t>(records_.size()); }

    // The node maps the controller handed back, captioned by their labels.
    std::vector<browser::NodeMapEntry> Entries() const {
        std::vector<browser::NodeMapEntry> entries;
        for (const ControllerDeviceDesc& record : records_) {
            if (!record.NodeMap) continue;
            browser::NodeMapEntry entry;
            entry.context.nodeMap = static_cast<GenApi::INodeMap*>(record.NodeMap);
            if (record.Label1) entry.context.caption = record.Label1;
            entries.push_back(entry);
        }
        return entries;
    }

private:
    ControllerDeviceDesc Record(uint32_t kind, QOR_ID object, const char* caption) const {
        ControllerDeviceDesc record{};
        record.DescKind = kind;
        record.Object = object;
        record.DeviceLoad = dataDirectory_.c_str();
        record.Label1 = caption;
        record.Version = 3;
        return record;
    }

    std::string dataDirectory_;
    QOR_ID app_ = 0, sys_ = 0, dig_ = 0, seq_ = 0;
    GenApi::CMemoryPort port_;
    GenApi::CNodeMapRef xmlMap_;
    std::vector<ControllerDeviceDesc> records_;
};

// Ends a controller however the host's scope is left.
class ControllerGuard {
public:
    ControllerGuard(const BrowserLibrary& library, int64_t controller)
        : library_(library), controller_(controller) {}
    ~ControllerGuard() { library_.destroy(controller_, window); }
    ControllerGuard(const ControllerGuard&) = delete;
    ControllerGuard& operator=(const ControllerGuard&) = delete;
    ControllerWindowHandle window = 0;

private:
    const BrowserLibrary& library_;
    int64_t controller_;
};

// QUILLON_AUTOCLOSE_MS also ends the host's own main window.
int AutoCloseMs() {
    const char* text = std::getenv("QUILLON_AUTOCLOSE_MS");
    return text ? std::atoi(text) : 0;
}

bool HaveDisplay() {
    return std::getenv("DISPLAY") || std::getenv("WAYLAND_DISPLAY");
}

// No display: the window off screen, the tree on standard output, the
// window's image in a file.
int RunHeadless(const BrowserLibrary& library, HostDevices& devices, const std::string& image,
                const tool::WindowRequest& request) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    int argc = 1;
    char name[] = "quillon";
    char* argv[] = {name, nullptr};
    QApplication application(argc, argv);
    int64_t controller = 0;
    const int64_t window = library.create(devices.system(), 0, devices.records(), devices.count(),
                                          CONTROLLER_MODE_MODELESS, 0, &controller);
    ControllerGuard guard(library, controller);
    guard.window = static_cast<ControllerWindowHandle>(window);
    QWidget* widget = window ? QWidget::find(static_cast<WId>(window)) : nullptr;
    if (!widget) throw std::runtime_error("the browser window could not be opened");
    request.printTree(devices.Entries(), browser::kGuru);
    if (!browser::SaveWindowImage(*widget, QString::fromStdString(image)))
        throw std::runtime_error("could not save the window image to '" + image + "'");
    std::printf("quillon: saved the browser window to %s\n", image.c_str());
    return 0;
}

int RunModal(const BrowserLibrary& library, HostDevices& devices) {
    int64_t controller = 0;
    const int64_t result = library.create(devices.system(), 0, devices.records(), devices.count(),
                                          CONTROLLER_MODE_MODAL, 0, &controller);
    library.destroy(controller, 0); // the run ended it already: nothing to do
    if (result != 1) throw std::runtime_error("the browser could not be shown");
    return 0;
}

int RunModeless(const BrowserLibrary& library, HostDevices& devices) {
    int argc = 1;
    char name[] = "quillon";
    char* argv[] = {name, nullptr};
    QApplication application(argc, argv);
    QMainWindow main;
    main.setWindowTitle(QStringLiteral("Quillon host"));
    auto* text = new QLabel(QStringLiteral("The feature browser belongs to this window.\n"
                                           "Close this window to end both."),
                            &main);
    text->setMargin(24);
    main.setCentralWidget(text);
    main.show();
    int64_t controller = 0;
    const int64_t window = library.create(devices.system(), 0, devices.records(), devices.count(),
                                          CONTROLLER_MODE_MODELESS, main.winId(), &controller);
    ControllerGuard guard(library, controller);
    guard.window = static_cast<ControllerWindowHandle>(window);
    if (!window) throw std::runtime_error("the browser window could not be opened");
    if (const int ms = AutoCloseMs(); ms > 0) QTimer::singleShot(ms, &main, &QWidget::close);
    application.exec();
    return 0;
}

} // namespace

int RunBrowserHost(const tool::WindowRequest& request) {
    const tool::Args& args = request.args;
    const std::string image = args.Value("--image", "quillon.png");
    const bool modeless = args.Flag("--modeless");
    const std::string xml = args.Value("--xml");
    BrowserLibrary library(request.installedLibrary);
    HostDevices devices(xml, args.Value("--camera"), request);
    if (!HaveDisplay()) return RunHeadless(library, devices, image, request);
    return modeless ? RunModeless(library, devices) : RunModal(library, devices);
}

} // namespace quillon::host
