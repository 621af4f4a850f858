// SwissKnife: a read-only float computed by a formula over other nodes.
#include "loader/loader.h"
#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

bool SwissKnifeNode::applyProperty(Loader& loader, Prop prop, std::string_view value,
                                   const PropertyRecord& record, uint32_t recordIndex) {
    if (vars_.take(loader, *this, record, value)) return true;
    if (applyFloatCommon(loader, prop, value)) return true;
    switch (prop) {
    case Prop::Formula: text_ = std::string(value); return true;
    case Prop::Unit: unit_ = record.value; return true;
    default: return FloatBase::applyProperty(loader, prop, value, record, recordIndex);
    }
}

void SwissKnifeNode::finishConfigure(Loader& loader) {
    if (text_.empty()) loader.fail(*this, "SwissKnife without Formula");
}

EAccessMode SwissKnifeNode::baseAccess() {
    Busy busy(*this);
    return vars_.access();
}

double SwissKnifeNode::getFloat(bool, bool) {
    Busy busy(*this);
    return vars_.compiled(formula_, text_, name()).evaluateFloat(vars_);
}

} // namespace GenApi::detail
