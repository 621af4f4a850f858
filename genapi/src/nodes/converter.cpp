// Converter: a float that maps to and from another node through two formulas
// (FormulaFrom reads, FormulaTo writes).
#include <algorithm>

#include "loader/loader.h"
#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

bool ConverterNode::applyProperty(Loader& loader, Prop prop, std::string_view value,
                                  const PropertyRecord& record, uint32_t recordIndex) {
    if (vars_.take(loader, *this, record, value)) return true;
    if (applyFloatCommon(loader, prop, value)) return true;
    switch (prop) {
    case Prop::FormulaTo: toText_ = std::string(value); return true;
    case Prop::FormulaFrom: fromText_ = std::string(value); return true;
    case Prop::pValue: value_ = loader.ref(*this, prop, value); return true;
    case Prop::Slope:
        slope_ = loader.toSlope(*this, value);
        return true;
    case Prop::IsLinear: return true;
    case Prop::Unit: unit_ = record.value; return true;
    default: return FloatBase::applyProperty(loader, prop, value, record, recordIndex);
    }
}

void ConverterNode::finishConfigure(Loader& loader) {
    if (!value_) loader.fail(*this, "Converter without pValue");
    if (toText_.empty() || fromText_.empty()) loader.fail(*this, "Converter without FormulaTo and FormulaFrom");
    vars_.bindTo(value_);
}

EAccessMode ConverterNode::baseAccess() {
    Busy busy(*this);
    EAccessMode m = value_->access();
    if (vars_.access() == NA) return NA;
    return m;
}

double ConverterNode::getFloat(bool, bool) {
    Busy busy(*this);
    return vars_.compiled(from_, fromText_, name()).evaluateFloat(vars_);
}

void ConverterNode::setFloat(double value, bool verify) {
    Busy busy(*this);
    vars_.setFrom(value);
    double device = vars_.compiled(to_, toText_, name()).evaluateFloat(vars_);
    value_->setFloat(device, verify);
}

double ConverterNode::convertFrom(double deviceValue) {
    vars_.overrideTo(deviceValue);
    struct Clear {
        NodeVariables& v;
        ~Clear() { v.clearOverride(); }
    } clear{vars_};
    return vars_.compiled(from_, fromText_, name()).evaluateFloat(vars_);
}

// The limits are the pValue's limits seen through FormulaFrom.
double ConverterNode::naturalMin() {
    Busy busy(*this);
    double a = convertFrom(value_->floatMin());
    if (slope_ == Increasing) return a;
    double b = convertFrom(value_->floatMax());
    return slope_ == Decreasing ? b : std::min(a, b);
}

double ConverterNode::naturalMax() {
    Busy busy(*this);
    double b = convertFrom(value_->floatMax());
    if (slope_ == Increasing) return b;
    double a = convertFrom(value_->floatMin());
    return slope_ == Decreasing ? a : std::max(a, b);
}

} // namespace GenApi::detail
