// Binds the names a formula uses (pVariable, Constant, Expression, and the
// FROM/TO of converters) to nodes and values of the node map.
#pragma once

#include <cmath>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "GenApi/Types.h"
#include "formula/formula.h"

namespace GenApi::detail {

class Node;
class Loader;
class Archive;
struct PropertyRecord;

class NodeVariables final : public FormulaVariables {
public:
    explicit NodeVariables(FormulaMode mode) : mode_(mode) {}

    // Takes a pVariable, Constant or Expression record; false for others.
    bool take(Loader& loader, Node& owner, const PropertyRecord& record, std::string_view value);
    // A converter's names: TO is the device-side value (its pValue, read when
    // FormulaFrom needs it), FROM the feature-side value being written.
    void bindTo(Node* node) { to_ = node; }
    Node* boundTo() const { return to_; }
    void setFrom(double from) {
        fromFloat_ = from;
        fromInt_ = std::isfinite(from) && std::fabs(from) < 9.2e18 ? static_cast<int64_t>(from) : 0;
    }
    void setFrom(int64_t from) { fromInt_ = from; fromFloat_ = static_cast<double>(from); }

    // Evaluates FormulaFrom for a device value other than the current one
    // (a converter's limits).
    void overrideTo(double value) {
        toOverridden_ = true;
        toOverrideFloat_ = value;
        toOverrideInt_ = std::isfinite(value) && std::fabs(value) < 9.2e18 ? static_cast<int64_t>(value) : 0;
    }
    void overrideTo(int64_t value) {
        toOverridden_ = true;
        toOverrideInt_ = value;
        toOverrideFloat_ = static_cast<double>(value);
    }
    void clearOverride() { toOverridden_ = false; }
    // RO when every variable node is readable, NA otherwise.
    EAccessMode access();

    void serialize(Archive& archive);

    int resolve(std::string_view identifier) const override;
    int64_t intValue(int slot) override;
    double floatValue(int slot) override;

    // Compiles on first use; a bad formula raises then, naming `owner`.
    const Formula& compiled(Formula& cache, const std::string& text, std::string_view owner) {
        return compiled(cache, text, owner, mode_);
    }
    // The same in another arithmetic (an integer formula over doubles).
    const Formula& compiled(Formula& cache, const std::string& text, std::string_view owner,
                            FormulaMode mode);

private:
    enum class Field : uint8_t { Value, Min, Max, Inc, Constant, Expression, From, To, Entry };
    struct Var {
        std::string name;
        Node* node = nullptr;
        Field kind = Field::Value;
        std::string text;          // constant or expression text
        int64_t entryValue = 0;    // an enumeration entry's value (NAME.EntryName)
        mutable std::shared_ptr<Formula> expression;
        bool evaluating = false;
        void serialize(Archive& archive);
    };
    struct Slot {
        size_t var;
        Field field;
        int64_t entryValue;
    };
    const Var* findVar(std::string_view name) const;
    template <class T>
    T evaluateExpression(Var& v);

    FormulaMode mode_;
    std::vector<Var> vars_;
    mutable std::vector<Slot> slots_;
    mutable int compiling_ = 0;
    Node* to_ = nullptr;
    bool toOverridden_ = false;
    int64_t toOverrideInt_ = 0;
    double toOverrideFloat_ = 0;
    int64_t fromInt_ = 0;
    double fromFloat_ = 0;
};

} // namespace GenApi::detail
