// The library's objects and the registry that hands out their identifiers.
//
// Identifiers come from one counter and are never reused within a process
// run, so a freed identifier stays invalid. Objects are shared: a call that
// works on an object outside the library lock (feature access, waiting for a
// thread) keeps it alive even if another thread frees it meanwhile.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "GenApi/NodeMapRef.h"
#include "api/control_types.h"
#include "qorvis.h"

namespace qorvis::sim {
class SimulatedCamera;
}

namespace qorvis::api {

enum class Kind { Application, System, Digitizer, Sequence, Thread };

// Q_APPLICATION_OBJECT, Q_SYSTEM_OBJECT ...
int64_t objectTypeCode(Kind kind);
// "an application", "a system" ... for messages.
std::string_view kindArticleName(Kind kind);

struct Object {
    Object(Kind k, const ControlTable* t) : kind(k), table(t) {}
    virtual ~Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    const Kind kind;
    const ControlTable* const table; // null for threads
    QOR_ID id = 0;
    int64_t generic = 0; // the answer to Q_OBJECT_GENERIC
    QOR_ID owner = 0;    // the owning system (a system owns itself)
    ControlValues values;
    std::chrono::steady_clock::time_point created = std::chrono::steady_clock::now();
};

struct ApplicationObject : Object {
    ApplicationObject() : Object(Kind::Application, nullptr) {}
};

struct SystemObject : Object {
    explicit SystemObject(const ControlTable* t) : Object(Kind::System, t) {}
    ~SystemObject() override;
    int64_t number = 0;
    std::chrono::steady_clock::time_point timestampOrigin = created;
    // The system's own description, over a port whose addresses are this
    // system's control types.
    std::unique_ptr<GenApi::IPort> ownPort;
    std::unique_ptr<GenApi::CNodeMapRef> ownMap;
};

struct DigitizerObject : Object {
    explicit DigitizerObject(const ControlTable* t);
    ~DigitizerObject() override;
    int64_t deviceNumber = 0;
    std::string format;
    std::unique_ptr<sim::SimulatedCamera> camera;
    std::unique_ptr<GenApi::CNodeMapRef> cameraMap; // connected to `camera`; destroyed first
};

struct SequenceObject : Object {
    explicit SequenceObject(const ControlTable* t) : Object(Kind::Sequence, t) {}
    int64_t deviceNumber = 0;
    bool boardSpecific = false;
};

struct ThreadObject : Object {
    ThreadObject() : Object(Kind::Thread, nullptr) {}
    ~ThreadObject() override;
    std::thread thread;
    std::thread::id threadId; // set once the thread runs, never changed
    std::mutex joinMutex;     // one joiner at a time
};

// ---- the registry; the caller holds the library lock

// Gives the object its identifier and generic identifier and registers it.
QOR_ID registerObject(const std::shared_ptr<Object>& object);
std::shared_ptr<Object> findObject(QOR_ID id);
// Removes the object from the registry; the caller drops the last reference
// (outside the lock where that matters).
std::shared_ptr<Object> unregisterObject(QOR_ID id);
std::vector<std::shared_ptr<Object>> objectsOf(Kind kind, QOR_ID owner = 0);
std::size_t countObjects(Kind kind);
std::size_t countAllObjects();
// A fresh identifier for things that are not objects (error contexts).
QOR_ID nextIdentifier();

// The object of that identifier and kind; fails with "Invalid object
// identifier." otherwise.
std::shared_ptr<Object> requireObject(QOR_ID id, Kind kind);
template <class T>
std::shared_ptr<T> require(QOR_ID id, Kind kind) {
    return std::static_pointer_cast<T>(requireObject(id, kind));
}

// The allocated application (0: none), and the settings of the default
// application, which exist even before one is allocated so that error
// settings can always be inquired.
QOR_ID currentApplication();
void setCurrentApplication(QOR_ID id);
Object& applicationSettings();
const ControlTable& applicationControlTypes();

} // namespace qorvis::api
