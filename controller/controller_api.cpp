// The exported entry points of libquillon.so.
#include <QApplication>
#include <QTimer>
#include <QWidget>

#include <cstdlib>
#include <memory>
#include <vector>

#include "GenICam/exceptions.h"
#include "browser/tessel_window.h"
#include "device_records.h"
#include "genicam_controller.h"
#include "quillon.h"
#include "tessel_app.h"

using namespace quillon::controller;

namespace {

// What a create call reports when it could not make the controller.
constexpr int64_t kFailed = 0;

// The module state's application object, made when there is none. False
// when none can be made (a QCoreApplication without widgets runs the process).
bool EnsureApplication(bool& created) {
    created = false;
    if (ModuleApplication()) return true;
    if (!ApplicationCanBeMade()) return false;
    LibraryApplication() = new CtesselApp();
    created = true;
    return true;
}

void DestroyLibraryApplication() {
    CtesselApp* application = LibraryApplication();
    LibraryApplication() = nullptr;
    delete application;
}

// QUILLON_AUTOCLOSE_MS > 0: a modal window closes itself by its normal close
// path after that many milliseconds (unattended runs and tests).
void ArmAutoClose(quillon::browser::CTessel& dialog) {
    const char* text = std::getenv("QUILLON_AUTOCLOSE_MS");
    if (!text) return;
    char* end = nullptr;
    const long ms = std::strtol(text, &end, 10);
    if (end == text || ms <= 0 || ms > 24L * 3600 * 1000) return;
    QTimer::singleShot(static_cast<int>(ms), &dialog, [window = &dialog] { window->close(); });
}

// Makes the controller, enters it in the table and runs it by mode.
int64_t CreateController(int64_t system, int64_t index, ControllerDeviceDesc* records,
                         int64_t count, int32_t mode, ControllerWindowHandle parent,
                         int64_t* handle) {
    auto controller = std::make_shared<GenicamController>(system, index, records, count);
    GenicamController* key = controller.get();
    ControllerTable& table = TheControllerTable();
    table[key] = controller; // a stale owner under the same address is released
    if (handle) *handle = reinterpret_cast<intptr_t>(key);

    // Qt has no main window per thread: without a handle of one of this
    // process's widgets the window has no parent.
    QWidget* parentWidget = parent ? QWidget::find(static_cast<WId>(parent)) : nullptr;
    quillon::browser::CTessel* dialog = controller->dialog();
    switch (mode) {
    case CONTROLLER_MODE_MODAL:
        controller->modal = true;
        if (dialog) {
            dialog->setModal(true);
            if (parentWidget) dialog->setParent(parentWidget, dialog->windowFlags());
            ArmAutoClose(*dialog);
            dialog->exec();
        }
        table.erase(key);
        return 1;
    case CONTROLLER_MODE_MODELESS:
        controller->modal = false;
        if (!dialog) return 0;
        dialog->setModal(false);
        if (parentWidget) dialog->setParent(parentWidget, dialog->windowFlags());
        dialog->show();
        return static_cast<int64_t>(dialog->winId());
    default:
        return 0;
    }
}

// GenICam exceptions end a create call with 0. Anything else (the length
// error of an impossible record count, for one) is no device failure but a
// broken caller: the entry points are noexcept, so it ends the process.
template <class Body> int64_t AtBoundary(Body&& body) {
    try {
        return body();
    } catch (const GenICam::GenericException&) {
        return kFailed;
    }
}

// A create entry: `body(created)` runs once the application object exists,
// `created` telling whether this call made it.
template <class Body> int64_t CreateEntry(Body&& body) {
    return AtBoundary([&]() -> int64_t {
        bool created = false;
        if (!EnsureApplication(created)) return kFailed;
        return body(created);
    });
}

} // namespace

extern "C" {

int64_t VantorCreateGenicamControllerV2(int64_t system, int64_t index,
                                        ControllerDeviceDescV2* records, int64_t count,
                                        int32_t mode, ControllerWindowHandle parent,
                                        int64_t* handle) noexcept {
    if (!records) count = 0;
    return CreateEntry([&](bool created) {
        std::vector<ControllerDeviceDesc> widened = WidenRecords(records, count);
        const int64_t result =
            CreateController(system, index, widened.data(), count, mode, parent, handle);
        CopyBackRecords(widened, records);
        // Whatever the mode, and whether or not controllers still live.
        if (created && ModuleApplication() && LibraryApplication()) DestroyLibraryApplication();
        return result;
    });
}

int64_t VantorCreateGenicamControllerV3(int64_t system, int64_t index,
                                        ControllerDeviceDesc* records, int64_t count, int32_t mode,
                                        ControllerWindowHandle parent, int64_t* handle) noexcept {
    if (!records) count = 0;
    return CreateEntry([&](bool) {
        const int64_t result =
            CreateController(system, index, records, count, mode, parent, handle);
        // Whichever call made it: the application object goes with the last controller.
        if (TheControllerTable().empty() && LibraryApplication()) DestroyLibraryApplication();
        return result;
    });
}

int64_t VantorCreateGenicamController(int64_t system, int32_t index, int64_t nodeMap, int32_t mode,
                                      ControllerWindowHandle parent, int64_t /*reserved1*/,
                                      int64_t /*reserved2*/, int64_t* handle) noexcept {
    ControllerDeviceDescV2 record{};
    record.DescKind = CONTROLLER_DESC_HOST_NODE_MAP;
    record.NodeMap = reinterpret_cast<void*>(static_cast<intptr_t>(nodeMap));
    return VantorCreateGenicamControllerV2(system, index, &record, 1, mode, parent, handle);
}

int64_t CreateGenicamController(int64_t system, int32_t index, int64_t nodeMap, int32_t mode,
                                ControllerWindowHandle parent, int64_t* handle) noexcept {
    return VantorCreateGenicamController(system, index, nodeMap, mode, parent, 0, 0, handle);
}

// The same bodies, exported under a second name.
int64_t CreateGenicamControllerV2(int64_t system, int64_t index, ControllerDeviceDescV2* records,
                                  int64_t count, int32_t mode, ControllerWindowHandle parent,
                                  int64_t* handle) noexcept
    __attribute__((alias("VantorCreateGenicamControllerV2")));
int64_t CreateGenicamControllerV3(int64_t system, int64_t index, ControllerDeviceDesc* records,
                                  int64_t count, int32_t mode, ControllerWindowHandle parent,
                                  int64_t* handle) noexcept
    __attribute__((alias("VantorCreateGenicamControllerV3")));

void DeleteGenicamController(int64_t handle, ControllerWindowHandle window) noexcept {
    try {
        if (!ModuleApplication() || handle == 0) return;
        ControllerTable& table = TheControllerTable();
        // Looked up by address only: an unknown handle is never dereferenced.
        auto found =
            table.find(reinterpret_cast<GenicamController*>(static_cast<intptr_t>(handle)));
        if (found == table.end()) return;
        std::shared_ptr<GenicamController> controller = std::move(found->second);
        table.erase(found);

        QWidget* target = window ? QWidget::find(static_cast<WId>(window)) : nullptr;
        quillon::browser::CTessel* dialog = controller->dialog();
        if (target && !controller->modal) {
            // Removed directly, without the close path; the owner (for the
            // controller's own window: the controller) deletes the widget.
            target->hide();
        } else if (dialog && dialog->testAttribute(Qt::WA_WState_Created)) {
            dialog->close();
        }
        // The last reference here destroys the controller.
    } catch (const GenICam::GenericException&) {
        // A device failure while the window closes stays inside.
    }
}

void DeleteGenicamControllerV2(int64_t handle, ControllerWindowHandle window) noexcept
    __attribute__((alias("DeleteGenicamController")));
void DeleteGenicamControllerV3(int64_t handle, ControllerWindowHandle window) noexcept
    __attribute__((alias("DeleteGenicamController")));

} // extern "C"
