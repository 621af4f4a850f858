// One controller: the browser window over the device entries of a record
// array, and the process-wide table of live controllers.
#pragma once

#include <QPointer>

#include <cstdint>
#include <map>
#include <memory>

#include "device_records.h"
#include "quillon.h"

namespace quillon::browser {
class CTessel;
}

namespace quillon::controller {

class GenicamController {
public:
    // Processes the records (writing node maps back into them) and makes the
    // window over the resulting entries, without parent and not shown.
    GenicamController(int64_t system, int64_t index, ControllerDeviceDesc* records, int64_t count);
    // The window goes before the node maps it shows.
    ~GenicamController();
    GenicamController(const GenicamController&) = delete;
    GenicamController& operator=(const GenicamController&) = delete;

    // Null once Qt deleted the window (its parent went first).
    browser::CTessel* dialog() const { return dialog_; }
    const DeviceSet& devices() const { return devices_; }
    bool modal = false;

private:
    DeviceSet devices_;
    QPointer<browser::CTessel> dialog_;
};

// Keyed by the controller's address, which is also the host's handle; the
// table is the only long-lived owner of a controller that is not modal. No
// lock: every entry point runs on the GUI thread.
using ControllerTable = std::map<GenicamController*, std::shared_ptr<GenicamController>>;

// Never destroyed: controllers left at exit stay (see docs/controller_api.md).
ControllerTable& TheControllerTable();

} // namespace quillon::controller
