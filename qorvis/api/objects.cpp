// The object registry and QobjInquire.
#include "api/objects.h"

#include <atomic>
#include <cstring>
#include <map>

#include "api/errors.h"
#include "sim/sim_camera.h"

namespace qorvis::api {

SystemObject::~SystemObject() {
    ownMap.reset(); // before the port it is connected to
}

DigitizerObject::DigitizerObject(const ControlTable* t) : Object(Kind::Digitizer, t) {}

DigitizerObject::~DigitizerObject() {
    cameraMap.reset(); // before the camera it is connected to
}

ThreadObject::~ThreadObject() {
    if (!thread.joinable()) return;
    // Freed from its own function: it ends on its own.
    if (thread.get_id() == std::this_thread::get_id()) thread.detach();
    else thread.join();
}

int64_t objectTypeCode(Kind kind) {
    switch (kind) {
    case Kind::Application: return Q_APPLICATION_OBJECT;
    case Kind::System: return Q_SYSTEM_OBJECT;
    case Kind::Digitizer: return Q_DIGITIZER_OBJECT;
    case Kind::Sequence: return Q_SEQUENCE_OBJECT;
    case Kind::Thread: return Q_THREAD_OBJECT;
    }
    return 0;
}

std::string_view kindArticleName(Kind kind) {
    switch (kind) {
    case Kind::Application: return "an application";
    case Kind::System: return "a system";
    case Kind::Digitizer: return "a digitizer";
    case Kind::Sequence: return "a sequence";
    case Kind::Thread: return "a thread";
    }
    return "an object";
}

namespace {

struct Registry {
    std::map<QOR_ID, std::shared_ptr<Object>> objects;
    QOR_ID application = 0;
};

Registry& registry() {
    // Never destroyed: objects still allocated at exit (threads among them)
    // are left to the operating system rather than torn down in an unknown order.
    static auto* r = new Registry;
    return *r;
}

std::atomic<QOR_ID> identifierCounter{0};

// Generic identifiers live in a range of their own, so they are never
// mistaken for object identifiers.
constexpr int64_t kGenericBase = int64_t{0x51} << 32;

} // namespace

QOR_ID nextIdentifier() { return ++identifierCounter; }

QOR_ID registerObject(const std::shared_ptr<Object>& object) {
    object->id = nextIdentifier();
    object->generic = kGenericBase + object->id;
    registry().objects.emplace(object->id, object);
    return object->id;
}

std::shared_ptr<Object> findObject(QOR_ID id) {
    auto it = registry().objects.find(id);
    return it != registry().objects.end() ? it->second : nullptr;
}

std::shared_ptr<Object> unregisterObject(QOR_ID id) {
    auto it = registry().objects.find(id);
    if (it == registry().objects.end()) return nullptr;
    std::shared_ptr<Object> object = std::move(it->second);
    registry().objects.erase(it);
    return object;
}

std::vector<std::shared_ptr<Object>> objectsOf(Kind kind, QOR_ID owner) {
    std::vector<std::shared_ptr<Object>> found;
    for (const auto& [id, object] : registry().objects)
        if (object->kind == kind && (owner == 0 || object->owner == owner)) found.push_back(object);
    return found;
}

std::size_t countObjects(Kind kind) {
    std::size_t n = 0;
    for (const auto& [id, object] : registry().objects) n += object->kind == kind ? 1 : 0;
    return n;
}

std::size_t countAllObjects() { return registry().objects.size(); }

std::shared_ptr<Object> requireObject(QOR_ID id, Kind kind) {
    std::shared_ptr<Object> object = findObject(id);
    if (!object)
        fail(Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.",
             "Identifier " + std::to_string(id) + " names no allocated object.");
    if (object->kind != kind)
        fail(Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.",
             "Identifier " + std::to_string(id) + " names " + std::string(kindArticleName(object->kind)) + ", not " +
                 std::string(kindArticleName(kind)) + ".");
    return object;
}

QOR_ID currentApplication() { return registry().application; }
void setCurrentApplication(QOR_ID id) { registry().application = id; }

Object& applicationSettings() {
    static auto* settings = new Object(Kind::Application, &applicationControlTypes());
    return *settings;
}

} // namespace qorvis::api

using namespace qorvis::api;

extern "C" QOR_INT QobjInquire(QOR_ID objectId, QOR_INT64 inquireType, void* userVarPtr) {
    return guarded("QobjInquire", QOR_INT{0}, [&]() -> QOR_INT {
        LibraryLock lock(libraryMutex());
        // Q_DEFAULT_APPLICATION names the allocated application.
        QOR_ID id = objectId == Q_DEFAULT_APPLICATION ? currentApplication() : objectId;
        std::shared_ptr<Object> object = id != 0 ? findObject(id) : nullptr;
        if (!object)
            fail(Q_ERR_INVALID_IDENTIFIER, "Invalid object identifier.",
                 "Identifier " + std::to_string(objectId) + " names no allocated object.");
        int64_t value = 0;
        switch (inquireType) {
        case Q_OBJECT_TYPE: value = objectTypeCode(object->kind); break;
        case Q_OBJECT_GENERIC: value = object->generic; break;
        case Q_OWNER_SYSTEM: value = object->owner; break;
        default:
            fail(Q_ERR_INVALID_CONTROL_TYPE, "Invalid inquire type.",
                 "Inquire type " + std::to_string(inquireType) +
                     " is not an object inquire (Q_OBJECT_TYPE, Q_OBJECT_GENERIC, Q_OWNER_SYSTEM).");
        }
        if (userVarPtr) std::memcpy(userVarPtr, &value, sizeof value);
        return value;
    });
}
