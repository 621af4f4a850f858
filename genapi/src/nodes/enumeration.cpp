// Enumeration: an integer shown as the symbolic name of the entry whose value
// it holds.
#include <mutex>

#include "loader/loader.h"
#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

bool EnumerationNode::applyProperty(Loader& loader, Prop prop, std::string_view value,
                                    const PropertyRecord& record, uint32_t recordIndex) {
    switch (prop) {
    case Prop::Value:
        value_.constant = loader.toInt(*this, prop, value);
        value_.present = true;
        return true;
    case Prop::pValue:
        value_.node = loader.ref(*this, prop, value);
        value_.present = true;
        return true;
    case Prop::pEnumEntry: return true; // entries are linked by the loader
    default: return ValueNode::applyProperty(loader, prop, value, record, recordIndex);
    }
}

void EnumerationNode::finishConfigure(Loader& loader) {
    if (!value_.present) loader.fail(*this, "Enumeration without Value or pValue");
}

EAccessMode EnumerationNode::baseAccess() { return value_.isRef() ? value_.node->access() : RW; }

int64_t EnumerationNode::getInt(bool verify, bool ignoreCache) {
    Busy busy(*this);
    return value_.isRef() ? value_.node->getInt(verify, ignoreCache) : value_.constant;
}

void EnumerationNode::setInt(int64_t value, bool verify) {
    {
        Busy busy(*this);
        if (value_.isRef()) {
            value_.node->setInt(value, verify);
            return;
        }
        value_.constant = value;
    }
    map_->valueChanged(this);
}

EnumEntryNode* EnumerationNode::entryByValue(int64_t v) const {
    for (EnumEntryNode* e : entries_)
        if (e->value() == v) return e;
    return nullptr;
}

EnumEntryNode* EnumerationNode::current(bool verify, bool ignoreCache) {
    int64_t v = getInt(verify, ignoreCache);
    EnumEntryNode* e = entryByValue(v);
    if (!e)
        throw ACCESS_EXCEPTION("Node '%.*s': value %lld matches no entry of the enumeration",
                               static_cast<int>(name().size()), name().data(), static_cast<long long>(v));
    return e;
}

void EnumerationNode::GetSymbolics(StringList_t& symbolics) {
    std::lock_guard guard(map_->mutex());
    symbolics.clear();
    for (EnumEntryNode* e : entries_)
        if (GenApi::IsAvailable(e->access())) symbolics.push_back(e->GetSymbolic());
}

void EnumerationNode::GetEntries(NodeList_t& entries) {
    std::lock_guard guard(map_->mutex());
    entries.assign(entries_.begin(), entries_.end());
}

void EnumerationNode::SetIntValue(int64_t value, bool verify) {
    std::lock_guard guard(map_->mutex());
    requireWritable();
    if (verify) {
        EnumEntryNode* e = entryByValue(value);
        if (!e)
            throw OUT_OF_RANGE_EXCEPTION("Node '%.*s': %lld is the value of no entry", static_cast<int>(name().size()),
                                         name().data(), static_cast<long long>(value));
        if (!GenApi::IsAvailable(e->access()))
            throw ACCESS_EXCEPTION("Node '%.*s': entry '%.*s' is not available", static_cast<int>(name().size()),
                                   name().data(), static_cast<int>(e->symbolic().size()), e->symbolic().data());
    }
    setInt(value, verify);
}

int64_t EnumerationNode::GetIntValue(bool verify, bool ignoreCache) {
    std::lock_guard guard(map_->mutex());
    requireReadable();
    return getInt(verify, ignoreCache);
}

IEnumEntry* EnumerationNode::GetEntryByName(const gcstring& symbolic) {
    std::lock_guard guard(map_->mutex());
    for (EnumEntryNode* e : entries_)
        if (e->symbolic() == std::string_view(symbolic)) return e;
    return nullptr;
}

IEnumEntry* EnumerationNode::GetEntry(int64_t intValue) {
    std::lock_guard guard(map_->mutex());
    return entryByValue(intValue);
}

IEnumEntry* EnumerationNode::GetCurrentEntry(bool verify, bool ignoreCache) {
    std::lock_guard guard(map_->mutex());
    requireReadable();
    return current(verify, ignoreCache);
}

gcstring EnumerationNode::ToString(bool verify, bool ignoreCache) {
    std::lock_guard guard(map_->mutex());
    requireReadable();
    return current(verify, ignoreCache)->GetSymbolic();
}

void EnumerationNode::FromString(const gcstring& valueStr, bool verify) {
    std::lock_guard guard(map_->mutex());
    for (EnumEntryNode* e : entries_) {
        if (e->symbolic() != std::string_view(valueStr)) continue;
        if (!GenApi::IsAvailable(e->access()))
            throw ACCESS_EXCEPTION("Node '%.*s': entry '%s' is not available", static_cast<int>(name().size()),
                                   name().data(), valueStr.c_str());
        requireWritable();
        setInt(e->value(), verify);
        return;
    }
    throw INVALID_ARGUMENT_EXCEPTION("Node '%.*s': '%s' is not an entry of the enumeration",
                                     static_cast<int>(name().size()), name().data(), valueStr.c_str());
}

// ---------------------------------------------------------------- EnumEntry

bool EnumEntryNode::applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                                  uint32_t recordIndex) {
    switch (prop) {
    case Prop::Value:
        value_ = loader.toInt(*this, prop, value);
        hasValue_ = true;
        return true;
    case Prop::NumericValue:
        numeric_ = loader.toFloat(*this, prop, value);
        hasNumeric_ = true;
        return true;
    case Prop::Symbolic: symbolic_ = record.value; return true;
    case Prop::IsSelfClearing: selfClearing_ = loader.toBool(*this, prop, value); return true;
    default: return ValueNode::applyProperty(loader, prop, value, record, recordIndex);
    }
}

void EnumEntryNode::finishConfigure(Loader& loader) {
    if (!hasValue_) loader.fail(*this, "EnumEntry without Value");
}

std::string_view EnumEntryNode::symbolic() const { return map_->text(symbolic_); }

gcstring EnumEntryNode::GetDisplayName() const {
    return displayName_.len ? gcstring(map_->text(displayName_)) : gcstring(symbolic());
}

void EnumEntryNode::FromString(const gcstring&, bool) {
    throw ACCESS_EXCEPTION("Node '%.*s': an enumeration entry cannot be written", static_cast<int>(name().size()),
                           name().data());
}

} // namespace GenApi::detail
