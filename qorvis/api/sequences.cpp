// Sequences: QseqAlloc, QseqFree, QseqInquire, QseqControl, QseqControlInt64.
// A non-zero sequenceType asks for the board's own sequence description
// (Q_SEQUENCE_FORMAT answers Q_SEQUENCE_BOARD_SPECIFIC); zero for the generic one.
#include <memory>
#include <string>

#include "api/errors.h"
#include "api/objects.h"
#include "cameras/camera_system.h"
#include "qorvis.h"
#include "sim/sim_system.h"

using namespace qorvis::api;
namespace sim = qorvis::sim;

extern "C" QOR_ID QseqAlloc(QOR_ID sysId, QOR_INT devNum, QOR_INT64 sequenceType, QOR_INT64 initFlag,
                            QOR_ID* seqId) {
    (void)initFlag; // the simulated board has no initialisation options
    return guarded("QseqAlloc", QOR_ID{0}, [&]() -> QOR_ID {
        LibraryLock lock(libraryMutex());
        if (dynamic_cast<qorvis::cameras::CameraSystemObject*>(
                requireObject(sysId, Kind::System).get()))
            fail(Q_ERR_INVALID_PARAMETER, "No sequences on this system.",
                 "The camera system records no sequences.");
        int64_t device = sim::checkedNumber(devNum, sim::kDeviceCount, "device number");
        std::shared_ptr<SequenceObject> sequence = sim::createSequence(sysId, device, sequenceType != 0);
        QOR_ID id = registerObject(sequence);
        if (seqId) *seqId = id;
        return id;
    });
}

extern "C" void QseqFree(QOR_ID seqId) {
    std::shared_ptr<Object> doomed;
    guardedVoid("QseqFree", [&] {
        LibraryLock lock(libraryMutex());
        requireObject(seqId, Kind::Sequence);
        doomed = unregisterObject(seqId);
    });
    doomed.reset();
}

extern "C" QOR_INT QseqInquire(QOR_ID seqId, QOR_INT64 inquireType, void* userVarPtr) {
    return guarded("QseqInquire", QOR_INT{0}, [&]() -> QOR_INT {
        LibraryLock lock(libraryMutex());
        return inquire(*requireObject(seqId, Kind::Sequence), inquireType, userVarPtr);
    });
}

extern "C" void QseqControl(QOR_ID seqId, QOR_INT64 controlType, QOR_DOUBLE value) {
    guardedVoid("QseqControl", [&] {
        LibraryLock lock(libraryMutex());
        controlDouble(*requireObject(seqId, Kind::Sequence), controlType, value);
    });
}

extern "C" void QseqControlInt64(QOR_ID seqId, QOR_INT64 controlType, QOR_INT64 value) {
    guardedVoid("QseqControlInt64", [&] {
        LibraryLock lock(libraryMutex());
        controlInteger(*requireObject(seqId, Kind::Sequence), controlType, value);
    });
}
