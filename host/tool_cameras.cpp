// quillon cameras: what discovery finds, through the imaging library's camera
// system, one camera a line.
#include <cstdio>
#include <string>
#include <vector>

#include "qorvis.h"
#include "tool.h"
#include "tool_device.h"

namespace quillon::tool {

namespace {

std::string inquireText(QOR_ID system, QOR_INT64 type) {
    QOR_INT64 size = 0;
    QsysInquire(system, type + Q_STRING_SIZE, &size);
    std::vector<char> text(static_cast<size_t>(size) + 1, '\0');
    if (size > 0) QsysInquire(system, type, text.data());
    return text.data();
}

// The camera system for the duration of the command.
class CameraSystem {
public:
    CameraSystem() {
        // Failures are reported once, by the command (an allocation starts
        // the application from its default settings).
        QappAlloc(QOR_TEXT(""), &app_);
        QappControl(Q_DEFAULT_APPLICATION, Q_ERROR_PRINT, Q_PRINT_DISABLE);
        QsysAlloc(app_, Q_SYSTEM_CAMERAS, 0, Q_DEFAULT, &sys_);
    }
    ~CameraSystem() {
        if (sys_) QsysFree(sys_);
        QappFree(app_);
    }
    CameraSystem(const CameraSystem&) = delete;
    CameraSystem& operator=(const CameraSystem&) = delete;
    QOR_ID id() const { return sys_; }

private:
    QOR_ID app_ = 0, sys_ = 0;
};

int cameras(const Args&) {
    CameraSystem system;
    if (!system.id()) throw UsageError(LibraryErrorText());
    QsysControl(system.id(), Q_SYS_CAMERA_DISCOVERY, 1);
    QOR_INT64 count = 0;
    QsysInquire(system.id(), Q_SYS_CAMERA_COUNT, &count);
    if (count == 0) std::fputs("quillon: discovery found no camera\n", stderr);
    for (QOR_INT64 i = 0; i < count; ++i) {
        QsysControl(system.id(), Q_SYS_CAMERA_SELECTOR, static_cast<double>(i));
        std::string line;
        for (QOR_INT64 type :
             {Q_SYS_CAMERA_ID, Q_SYS_CAMERA_VENDOR, Q_SYS_CAMERA_MODEL, Q_SYS_CAMERA_SERIAL_NUMBER,
              Q_SYS_CAMERA_PROTOCOL, Q_SYS_CAMERA_ADDRESS})
            line += (line.empty() ? "" : "\t") + inquireText(system.id(), type);
        std::printf("%s\n", line.c_str());
    }
    return 0;
}

} // namespace

const std::vector<Command>& CameraCommands() {
    static const std::vector<Command> commands = {
        {"cameras",
         "",
         "the cameras discovery finds: id, vendor, model, serial, protocol, address "
         "(tab-separated)",
         false,
         {},
         {},
         0,
         0,
         cameras},
    };
    return commands;
}

} // namespace quillon::tool
