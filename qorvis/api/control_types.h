// Control types: the settings an object kind offers through its inquire and
// control functions. Each kind has one table; each object keeps the values
// that were set on it, and answers the defaults for the others.
//
// A value is a 64-bit integer or a text. Doubles exist only at the C
// boundary: the double-valued control functions take integral values, and
// text types take the text pointer's bits (Q_PTR_TO_DOUBLE).
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qorvis::api {

struct Object;

enum class ValueKind { Integer, Text };
enum class Access { ReadOnly, ReadWrite, WriteOnly };

struct ControlType {
    int64_t number = 0;
    std::string_view name;
    ValueKind kind = ValueKind::Integer;
    Access access = Access::ReadWrite;
    int64_t defaultValue = 0;
    // Integers: the inclusive range, or, when `allowed` is not empty, the only
    // values accepted. Q_DEFAULT is always accepted and restores the default.
    int64_t min = std::numeric_limits<int64_t>::min();
    int64_t max = std::numeric_limits<int64_t>::max();
    std::vector<int64_t> allowed;
    // Texts: the default and the longest text accepted, terminator excluded.
    std::string_view defaultText;
    std::size_t maxLength = 127;
    // Values the object computes instead of storing.
    std::function<int64_t(Object&)> read;
    std::function<std::string(Object&)> readText;
    // Called instead of storing an accepted value (actions and values with
    // side effects); the value has passed the checks above.
    std::function<void(Object&, int64_t)> write;
};

// Table entries of the usual shapes.
// A read-write integer within [min, max].
ControlType rangedType(int64_t number, std::string_view name, int64_t defaultValue, int64_t min, int64_t max);
// A read-write integer taking one of `allowed`.
ControlType choiceType(int64_t number, std::string_view name, int64_t defaultValue, std::vector<int64_t> allowed);
// A read-only integer that never changes.
ControlType constantType(int64_t number, std::string_view name, int64_t value);
// A read-only integer the object computes when asked.
ControlType computedType(int64_t number, std::string_view name, std::function<int64_t(Object&)> read);
// A text, read-only or read-write, with its default.
ControlType textType(int64_t number, std::string_view name, Access access, std::string_view defaultText);
// A read-only text the object computes when asked.
ControlType computedTextType(int64_t number, std::string_view name, std::function<std::string(Object&)> read);
// A write-only action; any value triggers it.
ControlType actionType(int64_t number, std::string_view name, std::function<void(Object&, int64_t)> action);

class ControlTable {
public:
    // `kindName` names the object kind in messages: "system", "digitizer" ...
    ControlTable(std::string_view kindName, std::vector<ControlType> types);
    const ControlType* find(int64_t number) const;
    std::string_view kindName() const { return kindName_; }
    const std::vector<ControlType>& types() const { return types_; }

private:
    std::string_view kindName_;
    std::vector<ControlType> types_; // sorted by number
};

// The values set on one object; absent entries hold their default.
struct ControlValues {
    std::map<int64_t, int64_t> integers;
    std::map<int64_t, std::string> texts;
};

// The operations behind Q*Inquire and Q*Control. The caller holds the library
// lock; failures throw Failure.
//
// inquire: an integer type writes a QOR_INT64 to `out` and returns it; a text
// type writes the text with its terminator; a text type plus Q_STRING_SIZE
// writes the size in characters, terminator included. `out` may be null.
int64_t inquire(Object& object, int64_t type, void* out);
// The value of an integer type, or the text of a text type, as inquire sees it.
int64_t integerValue(Object& object, const ControlType& type);
std::string textValue(Object& object, const ControlType& type);
// control through the double-valued functions: integral values for integer
// types, a text pointer's bits for text types.
void controlDouble(Object& object, int64_t type, double value);
// control through the 64-bit functions: integer types only.
void controlInteger(Object& object, int64_t type, int64_t value);
// Sets a text type (the text is checked against the type's length).
void controlText(Object& object, int64_t type, std::string_view text);

// The text a double carries when it was made by Q_PTR_TO_DOUBLE.
const char* textPointerFromDouble(double value);

// "Value 77 is outside 0 to 10." and its kin, for other checks of the library.
std::string describeDouble(double value);

} // namespace qorvis::api
