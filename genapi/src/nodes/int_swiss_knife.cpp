// IntSwissKnife: a read-only integer computed by a formula over other nodes.
#include "loader/loader.h"
#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

bool IntSwissKnifeNode::applyProperty(Loader& loader, Prop prop, std::string_view value,
                                      const PropertyRecord& record, uint32_t recordIndex) {
    if (vars_.take(loader, *this, record, value)) return true;
    switch (prop) {
    case Prop::Formula: text_ = std::string(value); return true;
    case Prop::Representation:
        representation_ = loader.toRepresentation(*this, value);
        return true;
    case Prop::Unit: unit_ = record.value; return true;
    default: return IntegerBase::applyProperty(loader, prop, value, record, recordIndex);
    }
}

void IntSwissKnifeNode::finishConfigure(Loader& loader) {
    if (text_.empty()) loader.fail(*this, "IntSwissKnife without Formula");
}

std::string IntSwissKnifeNode::unit() { return std::string(map_->text(unit_)); }

EAccessMode IntSwissKnifeNode::baseAccess() {
    Busy busy(*this);
    return vars_.access();
}

int64_t IntSwissKnifeNode::getInt(bool, bool) {
    Busy busy(*this);
    return vars_.compiled(formula_, text_, name()).evaluateInt(vars_);
}

} // namespace GenApi::detail
