// Digitizers: QdigAlloc, QdigFree, QdigInquire, QdigControl, QdigControlInt64.
// Each digitizer carries its own simulated camera and the camera's node map
// (Q_GC_NODE_MAP).
#include <memory>
#include <string>

#include "api/errors.h"
#include "api/objects.h"
#include "qorvis.h"
#include "sim/sim_system.h"

using namespace qorvis::api;
namespace sim = qorvis::sim;

extern "C" QOR_ID QdigAlloc(QOR_ID sysId, QOR_INT devNum, QOR_CONST_TEXT_PTR format, QOR_INT64 initFlag,
                            QOR_ID* digId) {
    (void)initFlag; // the simulated board has no initialisation options
    return guarded("QdigAlloc", QOR_ID{0}, [&]() -> QOR_ID {
        int64_t device = 0;
        {
            LibraryLock lock(libraryMutex());
            requireObject(sysId, Kind::System);
            device = sim::checkedNumber(devNum, sim::kDeviceCount, "device number");
        }
        std::string formatText = format && format[0] ? format : "DEFAULT";
        if (formatText.size() > 127)
            fail(Q_ERR_INVALID_PARAMETER, "Invalid format.", "The format is longer than 127 characters.");
        // The camera's node map loads outside the library lock, which other
        // threads need meanwhile.
        std::shared_ptr<DigitizerObject> digitizer = sim::createDigitizer(sysId, device, formatText);
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
