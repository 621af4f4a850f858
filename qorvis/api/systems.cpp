// Systems: QsysAlloc, QsysFree, QsysInquire, QsysControl, QsysControlInt64.
#include <memory>
#include <string>
#include <vector>

#include "api/errors.h"
#include "api/objects.h"
#include "cameras/camera_system.h"
#include "qorvis.h"
#include "sim/sim_system.h"

using namespace qorvis::api;
namespace sim = qorvis::sim;

extern "C" QOR_ID QsysAlloc(QOR_ID appId, QOR_CONST_TEXT_PTR systemDescriptor, QOR_INT systemNum, QOR_INT64 initFlag,
                            QOR_ID* sysId) {
    (void)initFlag; // neither board has initialisation options
    return guarded("QsysAlloc", QOR_ID{0}, [&]() -> QOR_ID {
        int64_t number = 0;
        const bool cameras = qorvis::cameras::isCameraDescriptor(systemDescriptor);
        {
            LibraryLock lock(libraryMutex());
            if (appId != Q_DEFAULT_APPLICATION && (appId != currentApplication() || appId == 0))
                fail(Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.",
                     "Identifier " + std::to_string(appId) + " is not the allocated application.");
            if (!cameras && !sim::isSimulatedDescriptor(systemDescriptor))
                fail(Q_ERR_INVALID_PARAMETER, "Invalid system descriptor.",
                     "\"" + std::string(systemDescriptor) +
                         "\" names no system; this library provides Q_SYSTEM_SIMULATED and "
                         "Q_SYSTEM_CAMERAS.");
            // One camera system holds every camera of the machine.
            number = sim::checkedNumber(systemNum, cameras ? 1 : sim::kBoardCount, "system number");
        }
        // Its description loads outside the library lock (node-map locks are
        // never taken under it).
        std::shared_ptr<SystemObject> system =
            cameras ? qorvis::cameras::createSystem(number) : sim::createSystem(number);
        LibraryLock lock(libraryMutex());
        QOR_ID id = registerObject(system);
        system->owner = id;
        if (sysId) *sysId = id;
        return id;
    });
}

extern "C" void QsysFree(QOR_ID sysId) {
    std::vector<std::shared_ptr<Object>> doomed;
    guardedVoid("QsysFree", [&] {
        LibraryLock lock(libraryMutex());
        requireObject(sysId, Kind::System);
        // The system's digitizers and sequences go with it.
        for (Kind kind : {Kind::Digitizer, Kind::Sequence})
            for (const auto& o : objectsOf(kind, sysId)) doomed.push_back(unregisterObject(o->id));
        doomed.push_back(unregisterObject(sysId));
    });
    // Destroyed here, outside the library lock, unless a call still uses them.
    doomed.clear();
}

extern "C" QOR_INT QsysInquire(QOR_ID sysId, QOR_INT64 inquireType, void* userVarPtr) {
    return guarded("QsysInquire", QOR_INT{0}, [&]() -> QOR_INT {
        LibraryLock lock(libraryMutex());
        return inquire(*requireObject(sysId, Kind::System), inquireType, userVarPtr);
    });
}

extern "C" void QsysControl(QOR_ID sysId, QOR_INT64 controlType, QOR_DOUBLE value) {
    guardedVoid("QsysControl", [&] {
        LibraryLock lock(libraryMutex());
        controlDouble(*requireObject(sysId, Kind::System), controlType, value);
    });
}

extern "C" void QsysControlInt64(QOR_ID sysId, QOR_INT64 controlType, QOR_INT64 value) {
    guardedVoid("QsysControlInt64", [&] {
        LibraryLock lock(libraryMutex());
        controlInteger(*requireObject(sysId, Kind::System), controlType, value);
    });
}
