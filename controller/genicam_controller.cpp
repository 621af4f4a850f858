#include "genicam_controller.h"

#include "browser/tessel_window.h"

namespace quillon::controller {

GenicamController::GenicamController(int64_t system, int64_t index, ControllerDeviceDesc* records,
                                     int64_t count)
    : devices_(records, count),
      dialog_(new browser::CTessel(BrowserSetupFor(devices_, system, index))) {}

GenicamController::~GenicamController() {
    delete dialog_.data();
}

ControllerTable& TheControllerTable() {
    static auto* table = new ControllerTable();
    return *table;
}

} // namespace quillon::controller
