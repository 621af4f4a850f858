#include "api/object_port.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "GenICam/exceptions.h"
#include "api/errors.h"

namespace qorvis::api {

namespace {

class ObjectPort final : public GenApi::IPort {
public:
    explicit ObjectPort(Object& object) : object_(object) {}

    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }

    void Read(void* buffer, int64_t address, int64_t length) override {
        if (!checked(buffer, length)) return;
        auto n = static_cast<std::size_t>(length);
        LibraryLock lock(libraryMutex());
        try {
            if (address & kGenericInquireBit) return store(buffer, n, object_.generic);
            if (address & kAvailabilityProbeBit) return store(buffer, n, probe(object_, address & ~kAvailabilityProbeBit));
            if (isText(object_, address)) {
                // One more than the size: an empty text (size 0) still gets its terminator.
                std::vector<char> text(static_cast<std::size_t>(inquire(object_, address | Q_STRING_SIZE, nullptr)) + 1);
                inquire(object_, address, text.data());
                std::memset(buffer, 0, n);
                std::memcpy(buffer, text.data(), std::min(n, text.size()));
                return;
            }
            int64_t value = 0;
            inquire(object_, address, &value);
            store(buffer, n, value);
        } catch (const Failure& f) {
            raise(f);
        }
    }

    void Write(const void* buffer, int64_t address, int64_t length) override {
        if (!checked(buffer, length)) return;
        auto n = static_cast<std::size_t>(length);
        LibraryLock lock(libraryMutex());
        try {
            const char* bytes = static_cast<const char*>(buffer);
            if (isText(object_, address)) {
                controlText(object_, address, std::string_view(bytes, strnlen(bytes, n)));
                return;
            }
            uint64_t raw = 0;
            for (std::size_t i = std::min<std::size_t>(n, 8); i-- > 0;) raw = raw << 8 | static_cast<uint8_t>(bytes[i]);
            controlInteger(object_, address, static_cast<int64_t>(raw));
        } catch (const Failure& f) {
            raise(f);
        }
    }

private:
    static bool checked(const void* buffer, int64_t length) {
        if (length < 0) throw INVALID_ARGUMENT_EXCEPTION("Negative register length %lld", static_cast<long long>(length));
        if (length > 0 && !buffer) throw INVALID_ARGUMENT_EXCEPTION("Null register buffer");
        return length > 0;
    }

    static bool isText(const Object& object, int64_t type) {
        const ControlType* t = object.table->find(type);
        return t && t->kind == ValueKind::Text;
    }

    // Little-endian, cut to the register's length.
    static void store(void* buffer, std::size_t length, int64_t value) {
        auto raw = static_cast<uint64_t>(value);
        auto* out = static_cast<uint8_t*>(buffer);
        for (std::size_t i = 0; i < length; ++i) out[i] = i < 8 ? static_cast<uint8_t>(raw >> (8 * i)) : uint8_t{0};
    }

    static int64_t probe(Object& object, int64_t type) {
        try {
            if (isText(object, type)) return inquire(object, type | Q_STRING_SIZE, nullptr) != 0 ? 1 : 0;
            inquire(object, type, nullptr);
            return 1;
        } catch (const Failure&) {
            return 0;
        }
    }

    [[noreturn]] static void raise(const Failure& f) {
        std::string text;
        for (const std::string& m : f.messages) text += (text.empty() ? "" : " ") + m;
        throw ACCESS_EXCEPTION("%s", text.c_str());
    }

    Object& object_;
};

} // namespace

std::unique_ptr<GenApi::IPort> makeObjectPort(Object& object) { return std::make_unique<ObjectPort>(object); }

} // namespace qorvis::api
