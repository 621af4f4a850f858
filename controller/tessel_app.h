// The library's application object on Qt. CtesselApp stands for the
// process's QApplication: the library makes one when the process has none,
// with the process's own command line, and its start-up prepares the GenICam
// environment. Qt allows one QApplication at a time and none may go while a
// widget lives, so destroying a CtesselApp while a browser window lives
// retires its QApplication instead: for the library the application object
// is gone, and the next CtesselApp takes the retired QApplication over.
// docs/controller_api.md has the whole mapping.
#pragma once

#include <memory>

class QApplication;

namespace quillon::controller {

class CtesselApp {
public:
    // Makes the process's QApplication (or takes over the one a destroyed
    // CtesselApp retired) and runs InitInstance.
    CtesselApp();
    // Destroys the QApplication, or retires it while any widget lives.
    ~CtesselApp();
    CtesselApp(const CtesselApp&) = delete;
    CtesselApp& operator=(const CtesselApp&) = delete;

    // The start-up: the GenICam environment set-up; always succeeds.
    bool InitInstance();

    struct Instance; // the QApplication with the command line it keeps

private:
    std::unique_ptr<Instance> instance_;
    void* reserved_ = nullptr; // one pointer-sized field, zero
};

// The module state's application object: the process's QApplication unless
// the library has retired it; null when there is none.
QApplication* ModuleApplication();

// Whether a CtesselApp can be made now: the process has no application
// object of its own, or only the one the library retired. False while a
// QCoreApplication or QGuiApplication (no widgets) runs the process.
bool ApplicationCanBeMade();

// The library's own pointer: the CtesselApp it made, or null.
CtesselApp*& LibraryApplication();

} // namespace quillon::controller
