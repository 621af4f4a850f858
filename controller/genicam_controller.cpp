#include "genicam_controller.h"

#include "browser/tessel_window.h"

namespace quillon::controller {

namespace {

browser::BrowserSetup SetupFor(const DeviceSet& devices, int64_t index) {
    browser::BrowserSetup setup;
    setup.entries = devices.NodeMapEntries();
    setup.deviceNumber = index;
    if (devices.title()) setup.titleOverride = *devices.title();
    return setup;
}

} // namespace

GenicamController::GenicamController(int64_t system, int64_t index, ControllerDeviceDesc* records,
                                     int64_t count)
    : system_(system), devices_(records, count),
      dialog_(new browser::CTessel(SetupFor(devices_, index))) {}

GenicamController::~GenicamController() {
    delete dialog_.data();
}

ControllerTable& TheControllerTable() {
    static auto* table = new ControllerTable();
    return *table;
}

} // namespace quillon::controller
