// IntConverter: an integer that maps to and from another node through two
// formulas (FormulaFrom reads, FormulaTo writes).
#include <algorithm>
#include <cmath>

#include "loader/loader.h"
#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

bool IntConverterNode::applyProperty(Loader& loader, Prop prop, std::string_view value,
                                     const PropertyRecord& record, uint32_t recordIndex) {
    if (vars_.take(loader, *this, record, value)) return true;
    switch (prop) {
    case Prop::FormulaTo: toText_ = std::string(value); return true;
    case Prop::FormulaFrom: fromText_ = std::string(value); return true;
    case Prop::pValue: value_ = loader.ref(*this, prop, value); return true;
    case Prop::Slope:
        slope_ = loader.toSlope(*this, value);
        return true;
    case Prop::Representation:
        representation_ = loader.toRepresentation(*this, value);
        return true;
    case Prop::Unit: unit_ = record.value; return true;
    default: return IntegerBase::applyProperty(loader, prop, value, record, recordIndex);
    }
}

void IntConverterNode::finishConfigure(Loader& loader) {
    if (!value_) loader.fail(*this, "IntConverter without pValue");
    if (toText_.empty() || fromText_.empty()) loader.fail(*this, "IntConverter without FormulaTo and FormulaFrom");
    vars_.bindTo(value_);
}

std::string IntConverterNode::unit() { return std::string(map_->text(unit_)); }

EAccessMode IntConverterNode::baseAccess() {
    Busy busy(*this);
    EAccessMode m = value_->access();
    if (vars_.access() == NA) return NA;
    return m;
}

int64_t IntConverterNode::getInt(bool, bool) {
    Busy busy(*this);
    return vars_.compiled(from_, fromText_, name()).evaluateInt(vars_);
}

void IntConverterNode::setInt(int64_t value, bool verify) {
    Busy busy(*this);
    vars_.setFrom(value);
    int64_t device = vars_.compiled(to_, toText_, name()).evaluateInt(vars_);
    value_->setInt(device, verify);
}

// FormulaFrom at one end of pValue's range. The limits are the image of that
// range, and a monotone conversion maps its ends to the ends of the image; but
// integer formulas wrap modulo 2^64, so TO*2 over an unbounded pValue would
// give -2..0. Hence: integer arithmetic while it is exact (every result the
// formula gives inside int64 stays as it is), and where a step wraps, the
// same formula over doubles, clamped to int64: the saturated end of the image,
// exact in sign and to 53 bits in magnitude. A NaN image is no bound at all:
// `unbounded` is INT64_MIN for the lower end and INT64_MAX for the upper.
int64_t IntConverterNode::convertFrom(int64_t deviceValue, int64_t unbounded) {
    vars_.overrideTo(deviceValue);
    struct Clear {
        NodeVariables& v;
        ~Clear() { v.clearOverride(); }
    } clear{vars_};
    if (auto exact = vars_.compiled(from_, fromText_, name()).evaluateIntExact(vars_))
        return *exact;
    double d = vars_.compiled(fromOverDoubles_, fromText_, name(), FormulaMode::Float)
                   .evaluateFloat(vars_);
    if (std::isnan(d)) return unbounded;
    if (d >= 9.2233720368547758e18) return INT64_MAX;
    if (d <= -9.2233720368547758e18) return INT64_MIN;
    return static_cast<int64_t>(d); // truncated toward zero, as integer formulas end
}

int64_t IntConverterNode::naturalMin() {
    Busy busy(*this);
    int64_t a = convertFrom(value_->intMin(), INT64_MIN);
    if (slope_ == Increasing) return a;
    int64_t b = convertFrom(value_->intMax(), INT64_MIN);
    return slope_ == Decreasing ? b : std::min(a, b);
}

int64_t IntConverterNode::naturalMax() {
    Busy busy(*this);
    int64_t b = convertFrom(value_->intMax(), INT64_MAX);
    if (slope_ == Increasing) return b;
    int64_t a = convertFrom(value_->intMin(), INT64_MAX);
    return slope_ == Decreasing ? a : std::max(a, b);
}

} // namespace GenApi::detail
