// Fuzz target: the formula compiler and evaluator. Input: one byte choosing
// integer or float arithmetic, the formula text up to a NUL, then the
// variables' values, eight bytes each.
#include <cstring>
#include <string_view>

#include "GenICam/exceptions.h"
#include "formula/formula.h"

namespace {

using GenApi::detail::FormulaVariables;

class Variables final : public FormulaVariables {
public:
    Variables(const uint8_t* data, size_t size) {
        for (size_t i = 0; i < kCount && size >= 8; ++i, data += 8, size -= 8)
            std::memcpy(&values_[i], data, 8);
    }
    int resolve(std::string_view identifier) const override {
        for (size_t i = 0; i < kCount; ++i)
            if (identifier == kNames[i]) return static_cast<int>(i);
        return -1;
    }
    int64_t intValue(int slot) override { return static_cast<int64_t>(values_[slot]); }
    double floatValue(int slot) override {
        double d;
        std::memcpy(&d, &values_[slot], sizeof d);
        return d;
    }

private:
    static constexpr size_t kCount = 6;
    static constexpr std::string_view kNames[kCount] = {"A", "B", "TO", "FROM", "W.Max", "E.Value"};
    uint64_t values_[kCount] = {};
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    auto mode = data[0] & 1 ? GenApi::detail::FormulaMode::Float : GenApi::detail::FormulaMode::Integer;
    std::string_view rest(reinterpret_cast<const char*>(data + 1), size - 1);
    size_t end = rest.find('\0');
    std::string_view text = rest.substr(0, end);
    size_t valuesAt = end == std::string_view::npos ? rest.size() : end + 1;
    Variables vars(data + 1 + valuesAt, rest.size() - valuesAt);
    try {
        auto formula = GenApi::detail::Formula::compile(text, mode, vars);
        formula.evaluateInt(vars);
        formula.evaluateFloat(vars);
    } catch (const GenICam::GenericException&) {
    }
    return 0;
}
