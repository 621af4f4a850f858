// Threads and time: QthrAlloc runs a function on a thread of its own,
// QthrWait waits for it to end, QthrFree frees it (waiting if it still runs),
// QappSleep sleeps.
#include <chrono>
#include <cmath>
#include <memory>
#include <string>
#include <system_error>
#include <thread>

#include "api/control_types.h"
#include "api/errors.h"
#include "api/objects.h"
#include "qorvis.h"

using namespace qorvis::api;

namespace {

constexpr double kLongestSleep = 86400.0; // a day

std::shared_ptr<ThreadObject> lookUpThread(QOR_ID threadId) {
    LibraryLock lock(libraryMutex());
    return require<ThreadObject>(threadId, Kind::Thread);
}

} // namespace

extern "C" QOR_ID QthrAlloc(QOR_ID sysId, QOR_THREAD_FUNCTION function, void* userData, QOR_ID* threadId) {
    return guarded("QthrAlloc", QOR_ID{0}, [&]() -> QOR_ID {
        LibraryLock lock(libraryMutex());
        // A thread may belong to a system, or to none (Q_NULL, Q_DEFAULT: the host).
        bool onSystem = sysId != Q_NULL && sysId != Q_DEFAULT;
        if (onSystem) requireObject(sysId, Kind::System);
        if (!function) fail(Q_ERR_INVALID_PARAMETER, "Invalid thread function.", "The function pointer is null.");
        auto thread = std::make_shared<ThreadObject>();
        thread->owner = onSystem ? sysId : 0;
        QOR_ID id = registerObject(thread);
        try {
            thread->thread = std::thread([function, userData] { function(userData); });
        } catch (const std::system_error& e) {
            unregisterObject(id);
            fail(Q_ERR_THREAD, "The thread could not be started.", e.what());
        }
        thread->threadId = thread->thread.get_id();
        if (threadId) *threadId = id;
        return id;
    });
}

extern "C" void QthrWait(QOR_ID threadId, QOR_INT64 waitType) {
    guardedVoid("QthrWait", [&] {
        std::shared_ptr<ThreadObject> thread = lookUpThread(threadId);
        if (waitType != Q_THREAD_WAIT_END)
            fail(Q_ERR_INVALID_PARAMETER, "Invalid wait type.",
                 "Wait type " + std::to_string(waitType) + " is not Q_THREAD_WAIT_END.");
        if (thread->threadId == std::this_thread::get_id())
            fail(Q_ERR_THREAD, "A thread cannot wait for its own end.");
        std::lock_guard join(thread->joinMutex);
        if (thread->thread.joinable()) thread->thread.join();
    });
}

extern "C" void QthrFree(QOR_ID threadId) {
    std::shared_ptr<ThreadObject> doomed;
    guardedVoid("QthrFree", [&] {
        LibraryLock lock(libraryMutex());
        doomed = require<ThreadObject>(threadId, Kind::Thread);
        unregisterObject(threadId);
    });
    if (!doomed) return;
    std::lock_guard join(doomed->joinMutex);
    if (!doomed->thread.joinable()) return;
    // Freed from its own function: it ends on its own.
    if (doomed->threadId == std::this_thread::get_id()) doomed->thread.detach();
    else doomed->thread.join();
}

extern "C" void QappSleep(QOR_DOUBLE seconds) {
    guardedVoid("QappSleep", [&] {
        if (!(seconds >= 0.0 && seconds <= kLongestSleep))
            fail(Q_ERR_OUT_OF_RANGE, "Value " + describeDouble(seconds) + " is outside 0 to 86400.");
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    });
}
