#include "tessel_app.h"

#include <QApplication>
#include <QCoreApplication>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "genicam_environment.h"

namespace quillon::controller {

struct CtesselApp::Instance {
    // QApplication keeps references to argc and argv: they live here.
    std::vector<std::string> arguments;
    std::vector<char*> argv;
    int argc = 0;
    std::unique_ptr<QApplication> application;
};

namespace {

// The process's whole command line, as the platform records it.
std::vector<std::string> ProcessCommandLine() {
    std::ifstream file("/proc/self/cmdline", std::ios::binary);
    const std::string raw((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    std::vector<std::string> arguments;
    for (size_t start = 0; start < raw.size();) {
        size_t end = raw.find('\0', start);
        if (end == std::string::npos) end = raw.size();
        arguments.push_back(raw.substr(start, end - start));
        start = end + 1;
    }
    if (arguments.empty()) arguments.push_back("quillon");
    return arguments;
}

// Never destroyed: a QApplication may outlive every static of the process
// (see docs/controller_api.md).
std::unique_ptr<CtesselApp::Instance>& Retired() {
    static auto* retired = new std::unique_ptr<CtesselApp::Instance>();
    return *retired;
}

std::unique_ptr<CtesselApp::Instance> MakeInstance() {
    if (auto& retired = Retired()) return std::move(retired);
    auto instance = std::make_unique<CtesselApp::Instance>();
    instance->arguments = ProcessCommandLine();
    for (std::string& argument : instance->arguments)
        instance->argv.push_back(argument.data());
    instance->argc = static_cast<int>(instance->arguments.size());
    instance->argv.push_back(nullptr);
    // Without a display Qt would end the process; the window is drawn off
    // screen instead.
    if (!std::getenv("QT_QPA_PLATFORM") && !std::getenv("DISPLAY") &&
        !std::getenv("WAYLAND_DISPLAY"))
        ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    instance->application = std::make_unique<QApplication>(instance->argc, instance->argv.data());
    return instance;
}

} // namespace

CtesselApp::CtesselApp() : instance_(MakeInstance()) {
    InitInstance();
}

CtesselApp::~CtesselApp() {
    // Objects whose deletion is pending go first; they may be the last widgets.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    if (QApplication::allWidgets().isEmpty()) return; // the QApplication goes with instance_
    Retired() = std::move(instance_);
}

bool CtesselApp::InitInstance() {
    // The result does not matter: a missing GenICam installation surfaces
    // later as GenICam exceptions, which the entry points catch.
    setUpGenICamEnvironment();
    return true;
}

QApplication* ModuleApplication() {
    auto* application = qobject_cast<QApplication*>(QCoreApplication::instance());
    const auto& retired = Retired();
    if (retired && retired->application.get() == application) return nullptr;
    return application;
}

bool ApplicationCanBeMade() {
    const QCoreApplication* application = QCoreApplication::instance();
    const auto& retired = Retired();
    return !application || (retired && retired->application.get() == application);
}

CtesselApp*& LibraryApplication() {
    static CtesselApp* application = nullptr;
    return application;
}

} // namespace quillon::controller
