// IInteger services shared by all integer nodes, and the Integer node itself.
#include <cmath>
#include <mutex>

#include "loader/loader.h"
#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

namespace {
// Dotted IPv4 and colon or dash separated MAC texts, as ToString writes them.
bool parseAddressText(std::string_view t, int parts, char sep, int base, int64_t& out) {
    uint64_t v = 0;
    int n = 0;
    size_t i = 0;
    while (i <= t.size()) {
        size_t j = i;
        while (j < t.size() && t[j] != sep && !(sep == ':' && t[j] == '-')) ++j;
        if (j == i || j - i > 3) return false;
        uint64_t part = 0;
        for (size_t k = i; k < j; ++k) {
            int d = -1;
            char c = t[k];
            if (c >= '0' && c <= '9') d = c - '0';
            else if (base == 16 && c >= 'a' && c <= 'f') d = c - 'a' + 10;
            else if (base == 16 && c >= 'A' && c <= 'F') d = c - 'A' + 10;
            if (d < 0) return false;
            part = part * static_cast<uint64_t>(base) + static_cast<uint64_t>(d);
        }
        if (part > 255) return false;
        v = (v << 8) | part;
        ++n;
        i = j + 1;
    }
    if (n != parts) return false;
    out = static_cast<int64_t>(v);
    return true;
}
} // namespace

// ---------------------------------------------------------------- IntegerBase

int64_t IntegerBase::GetValue(bool verify, bool ignoreCache) {
    std::lock_guard guard(map_->mutex());
    requireReadable();
    return getInt(verify, ignoreCache);
}

void IntegerBase::SetValue(int64_t value, bool verify) {
    std::lock_guard guard(map_->mutex());
    requireWritable();
    if (verify) checkWrite(value);
    setInt(value, verify);
}

int64_t IntegerBase::intMin() {
    int64_t m = naturalMin();
    return hasImposedMin_ && imposedMin_ > m ? imposedMin_ : m;
}

int64_t IntegerBase::intMax() {
    int64_t m = naturalMax();
    return hasImposedMax_ && imposedMax_ < m ? imposedMax_ : m;
}

int64_t IntegerBase::GetMin() {
    std::lock_guard guard(map_->mutex());
    return intMin();
}

int64_t IntegerBase::GetMax() {
    std::lock_guard guard(map_->mutex());
    return intMax();
}

int64_t IntegerBase::GetInc() {
    std::lock_guard guard(map_->mutex());
    return intInc();
}

ERepresentation IntegerBase::GetRepresentation() {
    std::lock_guard guard(map_->mutex());
    return representation();
}

gcstring IntegerBase::GetUnit() {
    std::lock_guard guard(map_->mutex());
    return gcstring(unit());
}

void IntegerBase::ImposeMin(int64_t value) {
    std::lock_guard guard(map_->mutex());
    hasImposedMin_ = true;
    imposedMin_ = value;
}

void IntegerBase::ImposeMax(int64_t value) {
    std::lock_guard guard(map_->mutex());
    hasImposedMax_ = true;
    imposedMax_ = value;
}

void IntegerBase::checkWrite(int64_t value) {
    int64_t mn = intMin(), mx = intMax();
    if (value < mn)
        throw OUT_OF_RANGE_EXCEPTION("Node '%.*s': value %lld must be equal or greater than Min = %lld",
                                     static_cast<int>(name().size()), name().data(), static_cast<long long>(value),
                                     static_cast<long long>(mn));
    if (value > mx)
        throw OUT_OF_RANGE_EXCEPTION("Node '%.*s': value %lld must be smaller than or equal to Max = %lld",
                                     static_cast<int>(name().size()), name().data(), static_cast<long long>(value),
                                     static_cast<long long>(mx));
    int64_t inc = intInc();
    if (inc > 1) {
        // Unsigned difference: value - Min can exceed the int64 range.
        uint64_t offset = static_cast<uint64_t>(value) - static_cast<uint64_t>(mn);
        if (offset % static_cast<uint64_t>(inc) != 0)
            throw OUT_OF_RANGE_EXCEPTION("Node '%.*s': value %lld must be Min = %lld plus a multiple of Inc = %lld",
                                         static_cast<int>(name().size()), name().data(),
                                         static_cast<long long>(value), static_cast<long long>(mn),
                                         static_cast<long long>(inc));
    }
}

gcstring IntegerBase::ToString(bool verify, bool ignoreCache) {
    std::lock_guard guard(map_->mutex());
    requireReadable();
    int64_t v = getInt(verify, ignoreCache);
    return gcstring(formatInt(v, representation()));
}

void IntegerBase::FromString(const gcstring& valueStr, bool verify) {
    std::lock_guard guard(map_->mutex());
    int64_t v = 0;
    std::string_view t(valueStr);
    bool ok = parseInt(t, v);
    if (!ok) {
        ERepresentation r = representation();
        if (r == IPV4Address) ok = parseAddressText(t, 4, '.', 10, v);
        else if (r == MACAddress) ok = parseAddressText(t, 6, ':', 16, v);
    }
    if (!ok) {
        double d = 0;
        // A float text is accepted when it names a whole number.
        // Range first: converting a double outside int64 is undefined.
        if (parseFloat(t, d) && d >= -9.2233720368547758e18 && d < 9.2233720368547758e18 && d == std::trunc(d)) {
            v = static_cast<int64_t>(d);
            ok = true;
        }
    }
    if (!ok)
        throw INVALID_ARGUMENT_EXCEPTION("Node '%.*s': '%s' is not an integer", static_cast<int>(name().size()),
                                         name().data(), valueStr.c_str());
    SetValue(v, verify);
}

// ---------------------------------------------------------------- Integer

bool IntegerNode::applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                                uint32_t recordIndex) {
    auto setConst = [&](NumberSource<int64_t>& s) {
        s.constant = loader.toInt(*this, prop, value);
        s.present = true;
        return true;
    };
    auto setRef = [&](NumberSource<int64_t>& s) {
        s.node = loader.ref(*this, prop, value);
        s.present = true;
        return true;
    };
    switch (prop) {
    case Prop::Value: return setConst(value_);
    case Prop::pValue: return setRef(value_);
    case Prop::Min: return setConst(min_);
    case Prop::pMin: return setRef(min_);
    case Prop::Max: return setConst(max_);
    case Prop::pMax: return setRef(max_);
    case Prop::Inc: return setConst(inc_);
    case Prop::pInc: return setRef(inc_);
    case Prop::ValueDefault: return setConst(default_);
    case Prop::pValueDefault: return setRef(default_);
    case Prop::pIndex: index_ = loader.ref(*this, prop, value); return true;
    case Prop::ValueIndexed:
        indexed_.push_back({loader.toInt(*this, prop, loader.attribute(record, "Index")), nullptr,
                            loader.toInt(*this, prop, value)});
        return true;
    case Prop::pValueIndexed:
        indexed_.push_back(
            {loader.toInt(*this, prop, loader.attribute(record, "Index")), loader.ref(*this, prop, value), 0});
        return true;
    case Prop::pValueCopy: copies_.push_back(loader.ref(*this, prop, value)); return true;
    case Prop::Representation:
        representation_ = loader.toRepresentation(*this, value);
        return true;
    case Prop::Unit: unit_ = record.value; return true;
    default: return IntegerBase::applyProperty(loader, prop, value, record, recordIndex);
    }
}

void IntegerNode::finishConfigure(Loader& loader) {
    if (!value_.present && !index_) loader.fail(*this, "Integer without Value, pValue or pIndex");
    if (index_ && !default_.present && indexed_.empty())
        loader.fail(*this, "Integer with pIndex but neither ValueIndexed nor ValueDefault");
}

Node* IntegerNode::target() {
    if (index_) {
        int64_t i = index_->getInt(false, false);
        for (const Indexed& e : indexed_)
            if (e.index == i) return e.node;
        return default_.node;
    }
    return value_.node;
}

int64_t IntegerNode::getInt(bool verify, bool ignoreCache) {
    Busy busy(*this);
    if (index_) {
        int64_t i = index_->getInt(false, ignoreCache);
        for (const Indexed& e : indexed_)
            if (e.index == i) return e.node ? e.node->getInt(verify, ignoreCache) : e.constant;
        if (!default_.present)
            throw ACCESS_EXCEPTION("Node '%.*s': no value for index %lld", static_cast<int>(name().size()),
                                   name().data(), static_cast<long long>(i));
        return default_.isRef() ? default_.node->getInt(verify, ignoreCache) : default_.constant;
    }
    return value_.isRef() ? value_.node->getInt(verify, ignoreCache) : value_.constant;
}

void IntegerNode::setInt(int64_t value, bool verify) {
    // Reached through another node's pValue: this node's range applies too.
    if (verify) checkWrite(value);
    {
        Busy busy(*this);
        bool stored = false;
        if (index_) {
            int64_t i = index_->getInt(false, false);
            for (Indexed& e : indexed_) {
                if (e.index != i) continue;
                if (e.node) e.node->setInt(value, verify);
                else e.constant = value;
                stored = true;
                break;
            }
            if (!stored) {
                if (default_.isRef()) default_.node->setInt(value, verify);
                else indexed_.push_back({i, nullptr, value});
            }
        } else if (value_.isRef()) {
            value_.node->setInt(value, verify);
        } else {
            value_.constant = value;
        }
        for (Node* c : copies_) c->setInt(value, verify);
    }
    map_->valueChanged(this);
}

EAccessMode IntegerNode::baseAccess() {
    Node* t = target();
    return t ? t->access() : RW;
}

int64_t IntegerNode::naturalMin() {
    Busy busy(*this);
    if (min_.present) return min_.isRef() ? min_.node->getInt(false, false) : min_.constant;
    Node* t = target();
    return t ? t->intMin() : INT64_MIN;
}

int64_t IntegerNode::naturalMax() {
    Busy busy(*this);
    if (max_.present) return max_.isRef() ? max_.node->getInt(false, false) : max_.constant;
    Node* t = target();
    return t ? t->intMax() : INT64_MAX;
}

int64_t IntegerNode::intInc() {
    Busy busy(*this);
    if (inc_.present) return inc_.isRef() ? inc_.node->getInt(false, false) : inc_.constant;
    Node* t = target();
    return t ? t->intInc() : 1;
}

ERepresentation IntegerNode::representation() {
    if (representation_ != _UndefinedRepresentation) return representation_;
    if (value_.isRef()) {
        Busy busy(*this);
        return value_.node->representation();
    }
    return PureNumber;
}

std::string IntegerNode::unit() {
    if (unit_.len) return std::string(map_->text(unit_));
    if (value_.isRef()) {
        Busy busy(*this);
        return value_.node->unit();
    }
    return {};
}

} // namespace GenApi::detail
