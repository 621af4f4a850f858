// The GenICam formula language (SwissKnife, IntSwissKnife, Converter,
// IntConverter, Expression). A formula is compiled once into a flat program and
// then evaluated many times; evaluation never allocates.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace GenApi::detail {

// Supplies the formula's variables. Identifiers are resolved once, when the
// formula is compiled, into slots; evaluation then asks for slot values.
class FormulaVariables {
public:
    virtual ~FormulaVariables() = default;
    // The slot for an identifier exactly as written in the formula (for example
    // "WIDTH", "WIDTH.Max", "TO"), or -1 when the identifier is unknown.
    virtual int resolve(std::string_view identifier) const = 0;
    // A slot's current value, as an integer or as a double.
    virtual int64_t intValue(int slot) = 0;
    virtual double floatValue(int slot) = 0;
};

enum class FormulaMode {
    Integer, // IntSwissKnife, IntConverter: 64-bit integer arithmetic
    Float    // SwissKnife, Converter: double arithmetic
};

class Formula {
public:
    // Compiles `text`; raises GenICam::LogicalErrorException for a syntax error
    // or an unknown identifier, naming the formula and the place.
    static Formula compile(std::string_view text, FormulaMode mode, const FormulaVariables& vars);

    Formula();
    ~Formula();
    Formula(Formula&&) noexcept;
    Formula& operator=(Formula&&) noexcept;

    int64_t evaluateInt(FormulaVariables& vars) const;
    // The exact integer result, or nothing when an integer step wrapped around
    // modulo 2^64 or a double result does not fit int64.
    std::optional<int64_t> evaluateIntExact(FormulaVariables& vars) const;
    double evaluateFloat(FormulaVariables& vars) const;

    const std::string& text() const;
    bool empty() const;

private:
    struct Program;
    std::unique_ptr<Program> program_;
};

} // namespace GenApi::detail
