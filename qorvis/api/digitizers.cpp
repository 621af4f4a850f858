// Digitizers: QdigAlloc, QdigFree, QdigInquire, QdigControl, QdigControlInt64,
// QdigReadCamera, QdigWriteCamera. Each digitizer carries a camera (the
// simulated board's own, or a real one on the camera system) and the
// camera's node map (Q_GC_NODE_MAP).
#include <limits>
#include <memory>
#include <string>

#include "api/errors.h"
#include "api/objects.h"
#include "cameras/camera_system.h"
#include "qorvis.h"
#include "sim/sim_camera.h"
#include "sim/sim_system.h"

using namespace qorvis::api;
namespace sim = qorvis::sim;

extern "C" QOR_ID QdigAlloc(QOR_ID sysId, QOR_INT devNum, QOR_CONST_TEXT_PTR format, QOR_INT64 initFlag,
                            QOR_ID* digId) {
    (void)initFlag; // neither board has initialisation options
    return guarded("QdigAlloc", QOR_ID{0}, [&]() -> QOR_ID {
        int64_t device = 0;
        std::shared_ptr<qorvis::cameras::CameraSystemObject> cameraSystem;
        {
            LibraryLock lock(libraryMutex());
            cameraSystem = std::dynamic_pointer_cast<qorvis::cameras::CameraSystemObject>(
                requireObject(sysId, Kind::System));
            // The camera system has as many device numbers as discovery finds.
            device = sim::checkedNumber(
                devNum, cameraSystem ? std::numeric_limits<int64_t>::max() : sim::kDeviceCount,
                "device number");
        }
        std::string formatText = format && format[0] ? format : "DEFAULT";
        if (formatText.size() > 127)
            fail(Q_ERR_INVALID_PARAMETER, "Invalid format.", "The format is longer than 127 characters.");
        // The camera's node map loads (and a real camera is found and opened)
        // outside the library lock, which other threads need meanwhile.
        std::shared_ptr<DigitizerObject> digitizer =
            cameraSystem ? qorvis::cameras::createDigitizer(cameraSystem, device, formatText)
                         : sim::createDigitizer(sysId, device, formatText);
        LibraryLock lock(libraryMutex());
        requireObject(sysId, Kind::System); // it may have been freed meanwhile
        QOR_ID id = registerObject(digitizer);
        if (digId) *digId = id;
        return id;
    });
}

extern "C" void QdigFree(QOR_ID digId) {
    std::shared_ptr<Object> doomed;
    guardedVoid("QdigFree", [&] {
        LibraryLock lock(libraryMutex());
        requireObject(digId, Kind::Digitizer);
        doomed = unregisterObject(digId);
    });
    doomed.reset(); // outside the library lock
}

extern "C" QOR_INT QdigInquire(QOR_ID digId, QOR_INT64 inquireType, void* userVarPtr) {
    return guarded("QdigInquire", QOR_INT{0}, [&]() -> QOR_INT {
        LibraryLock lock(libraryMutex());
        return inquire(*requireObject(digId, Kind::Digitizer), inquireType, userVarPtr);
    });
}

extern "C" void QdigControl(QOR_ID digId, QOR_INT64 controlType, QOR_DOUBLE value) {
    guardedVoid("QdigControl", [&] {
        LibraryLock lock(libraryMutex());
        controlDouble(*requireObject(digId, Kind::Digitizer), controlType, value);
    });
}

extern "C" void QdigControlInt64(QOR_ID digId, QOR_INT64 controlType, QOR_INT64 value) {
    guardedVoid("QdigControlInt64", [&] {
        LibraryLock lock(libraryMutex());
        controlInteger(*requireObject(digId, Kind::Digitizer), controlType, value);
    });
}

namespace {

// The digitizer and its checked buffer, for raw camera access outside the
// library lock (the camera may take its time-out to answer).
std::shared_ptr<DigitizerObject> cameraAccess(QOR_ID digId, QOR_INT64 length, const void* buffer) {
    LibraryLock lock(libraryMutex());
    auto digitizer = require<DigitizerObject>(digId, Kind::Digitizer);
    if (length < 0)
        fail(Q_ERR_INVALID_PARAMETER, "Invalid length.",
             "The length " + std::to_string(length) + " is negative.");
    if (length > 0 && !buffer)
        fail(Q_ERR_INVALID_PARAMETER, "Invalid user variable pointer.", "The buffer is null.");
    return digitizer;
}

} // namespace

extern "C" void QdigReadCamera(QOR_ID digId, QOR_INT64 address, QOR_INT64 length, void* buffer) {
    guardedVoid("QdigReadCamera", [&] {
        auto digitizer = cameraAccess(digId, length, buffer);
        auto n = static_cast<std::size_t>(length);
        if (!qorvis::cameras::readCamera(*digitizer, static_cast<uint64_t>(address), buffer, n))
            digitizer->camera->Read(buffer, address, length);
    });
}

extern "C" void QdigWriteCamera(QOR_ID digId, QOR_INT64 address, QOR_INT64 length,
                                const void* buffer) {
    guardedVoid("QdigWriteCamera", [&] {
        auto digitizer = cameraAccess(digId, length, buffer);
        auto n = static_cast<std::size_t>(length);
        if (!qorvis::cameras::writeCamera(*digitizer, static_cast<uint64_t>(address), buffer, n))
            digitizer->camera->Write(buffer, address, length);
    });
}
