// Inquire and control over an object kind's control-type table.
#include "api/control_types.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <stdexcept>

#include "api/errors.h"
#include "api/objects.h"
#include "qorvis.h"

namespace qorvis::api {

ControlTable::ControlTable(std::string_view kindName, std::vector<ControlType> types)
    : kindName_(kindName), types_(std::move(types)) {
    std::sort(types_.begin(), types_.end(), [](const ControlType& a, const ControlType& b) { return a.number < b.number; });
    for (std::size_t i = 1; i < types_.size(); ++i)
        if (types_[i].number == types_[i - 1].number)
            throw std::logic_error("control type " + std::to_string(types_[i].number) + " is defined twice");
}

const ControlType* ControlTable::find(int64_t number) const {
    auto it = std::lower_bound(types_.begin(), types_.end(), number,
                               [](const ControlType& t, int64_t n) { return t.number < n; });
    return it != types_.end() && it->number == number ? &*it : nullptr;
}

ControlType rangedType(int64_t number, std::string_view name, int64_t defaultValue, int64_t min, int64_t max) {
    ControlType t;
    t.number = number;
    t.name = name;
    t.defaultValue = defaultValue;
    t.min = min;
    t.max = max;
    return t;
}

ControlType choiceType(int64_t number, std::string_view name, int64_t defaultValue, std::vector<int64_t> allowed) {
    ControlType t;
    t.number = number;
    t.name = name;
    t.defaultValue = defaultValue;
    t.allowed = std::move(allowed);
    return t;
}

ControlType constantType(int64_t number, std::string_view name, int64_t value) {
    ControlType t;
    t.number = number;
    t.name = name;
    t.access = Access::ReadOnly;
    t.defaultValue = value;
    return t;
}

ControlType computedType(int64_t number, std::string_view name, std::function<int64_t(Object&)> read) {
    ControlType t;
    t.number = number;
    t.name = name;
    t.access = Access::ReadOnly;
    t.read = std::move(read);
    return t;
}

ControlType textType(int64_t number, std::string_view name, Access access, std::string_view defaultText) {
    ControlType t;
    t.number = number;
    t.name = name;
    t.kind = ValueKind::Text;
    t.access = access;
    t.defaultText = defaultText;
    return t;
}

ControlType computedTextType(int64_t number, std::string_view name, std::function<std::string(Object&)> read) {
    ControlType t = textType(number, name, Access::ReadOnly, {});
    t.readText = std::move(read);
    return t;
}

ControlType actionType(int64_t number, std::string_view name, std::function<void(Object&, int64_t)> action) {
    ControlType t;
    t.number = number;
    t.name = name;
    t.access = Access::WriteOnly;
    t.write = std::move(action);
    return t;
}

std::string describeDouble(double value) {
    char text[64];
    auto result = std::to_chars(text, text + sizeof text, value);
    return std::string(text, result.ptr);
}

namespace {

std::string typeName(int64_t type) { return "Control type " + std::to_string(type); }

const ControlType& requireType(const Object& object, int64_t type) {
    const ControlType* t = object.table ? object.table->find(type) : nullptr;
    if (!t) {
        std::string kind = object.table ? std::string(object.table->kindName()) : "object";
        fail(Q_ERR_INVALID_CONTROL_TYPE, "Invalid control type.", typeName(type) + " is not known to " + kind + "s.");
    }
    return *t;
}

void requireWritable(const ControlType& t) {
    if (t.access == Access::ReadOnly) fail(Q_ERR_READ_ONLY, typeName(t.number) + " is read-only.");
}

void setInteger(Object& object, const ControlType& t, int64_t value) {
    if (value == Q_DEFAULT) {
        if (t.write) t.write(object, t.defaultValue);
        else object.values.integers.erase(t.number);
        return;
    }
    if (!t.allowed.empty()) {
        if (std::find(t.allowed.begin(), t.allowed.end(), value) == t.allowed.end()) {
            std::string list;
            for (int64_t a : t.allowed) list += (list.empty() ? "" : ", ") + std::to_string(a);
            fail(Q_ERR_OUT_OF_RANGE, "Value " + std::to_string(value) + " is not one of " + list + ".");
        }
    } else if (value < t.min || value > t.max) {
        fail(Q_ERR_OUT_OF_RANGE, "Value " + std::to_string(value) + " is outside " + std::to_string(t.min) + " to " +
                                     std::to_string(t.max) + ".");
    }
    if (t.write) t.write(object, value);
    else object.values.integers[t.number] = value;
}

int64_t integerFromDouble(double value) {
    // 2^63 is exactly representable; every double below it in magnitude that
    // is integral converts without loss.
    constexpr double kLimit = 9223372036854775808.0;
    if (!std::isfinite(value) || std::trunc(value) != value)
        fail(Q_ERR_OUT_OF_RANGE, "Value " + describeDouble(value) + " is not an integer.");
    if (value < -kLimit || value >= kLimit)
        fail(Q_ERR_OUT_OF_RANGE, "Value " + describeDouble(value) + " is outside the 64-bit integer range.");
    return static_cast<int64_t>(value);
}

} // namespace

int64_t integerValue(Object& object, const ControlType& t) {
    if (t.read) return t.read(object);
    auto it = object.values.integers.find(t.number);
    return it != object.values.integers.end() ? it->second : t.defaultValue;
}

std::string textValue(Object& object, const ControlType& t) {
    if (t.readText) return t.readText(object);
    auto it = object.values.texts.find(t.number);
    return it != object.values.texts.end() ? it->second : std::string(t.defaultText);
}

int64_t inquire(Object& object, int64_t type, void* out) {
    const bool sizeOnly = (type & Q_STRING_SIZE) != 0;
    const ControlType& t = requireType(object, sizeOnly ? type & ~Q_STRING_SIZE : type);
    if (t.access == Access::WriteOnly) fail(Q_ERR_WRITE_ONLY, typeName(t.number) + " can only be controlled.");
    if (t.kind == ValueKind::Text) {
        std::string text = textValue(object, t);
        // An empty text has nothing to read: its size is 0, so that a probe of
        // it answers "not available".
        auto size = static_cast<int64_t>(text.empty() ? 0 : text.size() + 1);
        if (sizeOnly) {
            if (out) std::memcpy(out, &size, sizeof size);
        } else if (out) {
            std::memcpy(out, text.c_str(), text.size() + 1);
        }
        return size;
    }
    if (sizeOnly) fail(Q_ERR_INVALID_CONTROL_TYPE, "Invalid control type.", typeName(t.number) + " is not a string type.");
    int64_t value = integerValue(object, t);
    if (out) std::memcpy(out, &value, sizeof value);
    return value;
}

void controlDouble(Object& object, int64_t type, double value) {
    const ControlType& t = requireType(object, type);
    requireWritable(t);
    if (t.kind == ValueKind::Text) {
        if (value == static_cast<double>(Q_DEFAULT)) {
            object.values.texts.erase(t.number);
            return;
        }
        const char* text = textPointerFromDouble(value);
        if (!text)
            fail(Q_ERR_INVALID_PARAMETER, "Invalid text pointer.",
                 typeName(type) + " takes a text, passed as Q_PTR_TO_DOUBLE(text).");
        controlText(object, type, text);
        return;
    }
    setInteger(object, t, integerFromDouble(value));
}

void controlInteger(Object& object, int64_t type, int64_t value) {
    const ControlType& t = requireType(object, type);
    requireWritable(t);
    if (t.kind == ValueKind::Text)
        fail(Q_ERR_INVALID_PARAMETER, typeName(type) + " holds a text.",
             "Texts are set through the double-valued control function with Q_PTR_TO_DOUBLE.");
    setInteger(object, t, value);
}

void controlText(Object& object, int64_t type, std::string_view text) {
    const ControlType& t = requireType(object, type);
    requireWritable(t);
    if (t.kind != ValueKind::Text) fail(Q_ERR_INVALID_PARAMETER, typeName(type) + " holds an integer, not a text.");
    if (text.size() > t.maxLength)
        fail(Q_ERR_OUT_OF_RANGE, "Text of " + std::to_string(text.size()) + " characters is longer than the " +
                                     std::to_string(t.maxLength) + " allowed.");
    object.values.texts[t.number] = std::string(text);
}

const char* textPointerFromDouble(double value) {
    auto bits = std::bit_cast<uint64_t>(value);
    return reinterpret_cast<const char*>(static_cast<uintptr_t>(bits));
}

} // namespace qorvis::api

extern "C" QOR_DOUBLE Q_PTR_TO_DOUBLE(const void* pointer) {
    static_assert(sizeof(uint64_t) == sizeof(double));
    return std::bit_cast<double>(static_cast<uint64_t>(reinterpret_cast<uintptr_t>(pointer)));
}
