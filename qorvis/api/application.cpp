// The application: at most one is allocated at a time, and
// Q_DEFAULT_APPLICATION names it. Its settings (error printing above all)
// exist before the first allocation, so that a caller can always save and
// restore them; each QappAlloc starts from the defaults with no error pending.
#include <algorithm>
#include <chrono>
#include <limits>

#include "api/errors.h"
#include "api/objects.h"
#include "qorvis.h"

namespace qorvis::api {

namespace {

const auto kLibraryStart = std::chrono::steady_clock::now();

constexpr int64_t kVersion = 100; // 1.00

} // namespace

const ControlTable& applicationControlTypes() {
    static const ControlTable table("application", [] {
        std::vector<ControlType> t;
        t.push_back(choiceType(Q_ERROR_PRINT, "ErrorPrint", Q_PRINT_ENABLE, {Q_PRINT_DISABLE, Q_PRINT_ENABLE}));
        // Kept so that callers can save and restore it: the library never
        // raises exceptions, so every value records errors only.
        t.push_back(rangedType(Q_ERROR_EXCEPTION, "ErrorException", 0, std::numeric_limits<int64_t>::min(),
                               std::numeric_limits<int64_t>::max()));
        t.push_back(actionType(Q_ERROR_RESET, "ErrorReset", [](Object&, int64_t) { clearPendingError(); }));
        t.push_back(constantType(Q_ERROR_MODE, "ErrorMode", 0));
        t.push_back(constantType(Q_APP_VERSION, "Version", kVersion));
        t.push_back(textType(Q_APP_VERSION_TEXT, "VersionText", Access::ReadOnly, "Qorvis 1.00 (simulated systems)"));
        t.push_back(textType(Q_APP_INIT_FLAGS, "InitFlags", Access::ReadOnly, ""));
        t.push_back(computedType(Q_APP_SYSTEM_COUNT, "SystemCount",
                                 [](Object&) { return static_cast<int64_t>(countObjects(Kind::System)); }));
        t.push_back(computedType(Q_APP_THREAD_COUNT, "ThreadCount",
                                 [](Object&) { return static_cast<int64_t>(countObjects(Kind::Thread)); }));
        t.push_back(computedType(Q_APP_OBJECT_COUNT, "ObjectCount",
                                 [](Object&) { return static_cast<int64_t>(countAllObjects()); }));
        t.push_back(rangedType(Q_APP_PROCESSING_THREADS, "ProcessingThreads", 0, 0, 64));
        t.push_back(computedType(Q_APP_TIMESTAMP, "Timestamp", [](Object&) {
            return static_cast<int64_t>(
                std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - kLibraryStart)
                    .count());
        }));
        return t;
    }());
    return table;
}

namespace {

void requireApplication(QOR_ID appId) {
    if (appId == Q_DEFAULT_APPLICATION || (appId == currentApplication() && appId != 0)) return;
    fail(Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.",
         "Identifier " + std::to_string(appId) + " is not the allocated application.");
}

} // namespace

} // namespace qorvis::api

using namespace qorvis::api;

extern "C" QOR_ID QappAlloc(QOR_CONST_TEXT_PTR initFlags, QOR_ID* appId) {
    return guarded("QappAlloc", QOR_ID{0}, [&]() -> QOR_ID {
        LibraryLock lock(libraryMutex());
        if (QOR_ID current = currentApplication())
            fail(Q_ERR_ALLOCATION, "An application is already allocated.",
                 "Free application " + std::to_string(current) + " before allocating another.");
        auto app = std::make_shared<ApplicationObject>();
        QOR_ID id = registerObject(app);
        setCurrentApplication(id);
        Object& settings = applicationSettings();
        settings.values = ControlValues{};
        std::string flags = initFlags ? initFlags : "";
        flags.resize(std::min<std::size_t>(flags.size(), 127));
        settings.values.texts[Q_APP_INIT_FLAGS] = flags;
        clearPendingError();
        if (appId) *appId = id;
        return id;
    });
}

extern "C" void QappFree(QOR_ID appId) {
    guardedVoid("QappFree", [&] {
        LibraryLock lock(libraryMutex());
        QOR_ID id = appId == Q_DEFAULT_APPLICATION ? currentApplication() : appId;
        if (id == 0 || id != currentApplication())
            fail(Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.",
                 "Identifier " + std::to_string(appId) + " is not the allocated application.");
        unregisterObject(id);
        setCurrentApplication(0);
    });
}

extern "C" QOR_INT QappInquire(QOR_ID appId, QOR_INT64 inquireType, void* userVarPtr) {
    return guarded("QappInquire", QOR_INT{0}, [&]() -> QOR_INT {
        LibraryLock lock(libraryMutex());
        requireApplication(appId);
        return inquire(applicationSettings(), inquireType, userVarPtr);
    });
}

extern "C" void QappControl(QOR_ID appId, QOR_INT64 controlType, QOR_INT64 value) {
    guardedVoid("QappControl", [&] {
        LibraryLock lock(libraryMutex());
        requireApplication(appId);
        controlInteger(applicationSettings(), controlType, value);
    });
}
