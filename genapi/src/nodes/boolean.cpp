// Boolean: true when its value equals OnValue, false when it equals OffValue.
#include <mutex>

#include "loader/loader.h"
#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

bool BooleanNode::applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                                uint32_t recordIndex) {
    switch (prop) {
    case Prop::Value:
        // Some descriptions write true/false instead of a number.
        if (value == "true" || value == "True") value_.constant = 1;
        else if (value == "false" || value == "False") value_.constant = 0;
        else value_.constant = loader.toInt(*this, prop, value);
        value_.present = true;
        return true;
    case Prop::pValue:
        value_.node = loader.ref(*this, prop, value);
        value_.present = true;
        return true;
    case Prop::OnValue: on_ = loader.toInt(*this, prop, value); return true;
    case Prop::OffValue: off_ = loader.toInt(*this, prop, value); return true;
    default: return ValueNode::applyProperty(loader, prop, value, record, recordIndex);
    }
}

void BooleanNode::finishConfigure(Loader& loader) {
    if (!value_.present) loader.fail(*this, "Boolean without Value or pValue");
    if (on_ == off_) loader.fail(*this, "OnValue equals OffValue");
}

EAccessMode BooleanNode::baseAccess() { return value_.isRef() ? value_.node->access() : RW; }

int64_t BooleanNode::getInt(bool verify, bool ignoreCache) { return boolValue(verify, ignoreCache) ? 1 : 0; }

void BooleanNode::setInt(int64_t value, bool verify) {
    Busy busy(*this);
    int64_t raw = value ? on_ : off_;
    if (value_.isRef()) value_.node->setInt(raw, verify);
    else value_.constant = raw;
    if (!value_.isRef()) map_->valueChanged(this);
}

bool BooleanNode::boolValue(bool verify, bool ignoreCache) {
    Busy busy(*this);
    int64_t raw = value_.isRef() ? value_.node->getInt(verify, ignoreCache) : value_.constant;
    if (raw == on_) return true;
    if (raw == off_) return false;
    throw ACCESS_EXCEPTION("Node '%.*s': value %lld is neither OnValue (%lld) nor OffValue (%lld)",
                           static_cast<int>(name().size()), name().data(), static_cast<long long>(raw),
                           static_cast<long long>(on_), static_cast<long long>(off_));
}

bool BooleanNode::GetValue(bool verify, bool ignoreCache) const {
    auto* self = const_cast<BooleanNode*>(this);
    std::lock_guard guard(map_->mutex());
    self->requireReadable();
    return self->boolValue(verify, ignoreCache);
}

void BooleanNode::SetValue(bool value, bool verify) {
    std::lock_guard guard(map_->mutex());
    requireWritable();
    setInt(value ? 1 : 0, verify);
}

gcstring BooleanNode::ToString(bool verify, bool ignoreCache) {
    return GetValue(verify, ignoreCache) ? "true" : "false";
}

void BooleanNode::FromString(const gcstring& valueStr, bool verify) {
    std::string_view t(valueStr);
    if (t == "true" || t == "True" || t == "TRUE" || t == "1") return SetValue(true, verify);
    if (t == "false" || t == "False" || t == "FALSE" || t == "0") return SetValue(false, verify);
    throw INVALID_ARGUMENT_EXCEPTION("Node '%.*s': '%s' is not a boolean", static_cast<int>(name().size()),
                                     name().data(), valueStr.c_str());
}

} // namespace GenApi::detail
