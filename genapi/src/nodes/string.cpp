// String: a text held by the node map itself, or by the IString it points to.
#include <mutex>

#include "loader/loader.h"
#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

bool StringNode::applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                               uint32_t recordIndex) {
    switch (prop) {
    case Prop::Value: value_ = std::string(value); return true;
    case Prop::pValue:
        pValue_ = loader.ref(*this, prop, value);
        if (!dynamic_cast<IString*>(pValue_)) loader.fail(*this, "pValue '" + std::string(value) + "' is no string");
        return true;
    default: return ValueNode::applyProperty(loader, prop, value, record, recordIndex);
    }
}

EAccessMode StringNode::baseAccess() { return pValue_ ? pValue_->access() : RW; }

gcstring StringNode::GetValue(bool verify, bool ignoreCache) {
    std::lock_guard guard(map_->mutex());
    requireReadable();
    Busy busy(*this);
    return pValue_ ? dynamic_cast<IString*>(pValue_)->GetValue(verify, ignoreCache) : gcstring(value_);
}

void StringNode::SetValue(const gcstring& value, bool verify) {
    std::lock_guard guard(map_->mutex());
    requireWritable();
    {
        Busy busy(*this);
        if (pValue_) {
            dynamic_cast<IString*>(pValue_)->SetValue(value, verify);
            return;
        }
        value_ = value;
    }
    map_->valueChanged(this);
}

int64_t StringNode::GetMaxLength() {
    std::lock_guard guard(map_->mutex());
    Busy busy(*this);
    return pValue_ ? dynamic_cast<IString*>(pValue_)->GetMaxLength() : INT64_MAX;
}

} // namespace GenApi::detail
