// IFloat services shared by all float nodes, and the Float node itself.
#include <algorithm>
#include <cmath>
#include <mutex>

#include "loader/loader.h"
#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

namespace {
int64_t toInt64(double v, std::string_view node) {
    if (!std::isfinite(v) || v >= 9.2233720368547758e18 || v < -9.2233720368547758e18)
        throw OUT_OF_RANGE_EXCEPTION("Node '%.*s': %g does not fit an integer", static_cast<int>(node.size()),
                                     node.data(), v);
    return static_cast<int64_t>(v);
}
} // namespace

// ---------------------------------------------------------------- FloatBase

double FloatBase::GetValue(bool verify, bool ignoreCache) {
    std::lock_guard guard(map_->mutex());
    requireReadable();
    return getFloat(verify, ignoreCache);
}

void FloatBase::SetValue(double value, bool verify) {
    std::lock_guard guard(map_->mutex());
    requireWritable();
    if (verify) checkWrite(value);
    setFloat(value, verify);
}

double FloatBase::floatMin() {
    double m = naturalMin();
    return hasImposedMin_ && imposedMin_ > m ? imposedMin_ : m;
}

double FloatBase::floatMax() {
    double m = naturalMax();
    return hasImposedMax_ && imposedMax_ < m ? imposedMax_ : m;
}

int64_t FloatBase::getInt(bool verify, bool ignoreCache) { return toInt64(getFloat(verify, ignoreCache), name()); }
int64_t FloatBase::intMin() {
    double m = floatMin();
    return m <= -9.2233720368547758e18 ? INT64_MIN : toInt64(m, name());
}
int64_t FloatBase::intMax() {
    double m = floatMax();
    return m >= 9.2233720368547758e18 ? INT64_MAX : toInt64(m, name());
}

double FloatBase::GetMin() {
    std::lock_guard guard(map_->mutex());
    return floatMin();
}

double FloatBase::GetMax() {
    std::lock_guard guard(map_->mutex());
    return floatMax();
}

bool FloatBase::HasInc() {
    std::lock_guard guard(map_->mutex());
    return naturalHasInc();
}

double FloatBase::GetInc() {
    std::lock_guard guard(map_->mutex());
    if (!naturalHasInc())
        throw ACCESS_EXCEPTION("Node '%.*s' has no increment", static_cast<int>(name().size()), name().data());
    return floatInc();
}

ERepresentation FloatBase::GetRepresentation() {
    std::lock_guard guard(map_->mutex());
    return representation();
}

gcstring FloatBase::GetUnit() const {
    std::lock_guard guard(map_->mutex());
    return gcstring(const_cast<FloatBase*>(this)->unit());
}

std::string FloatBase::unit() { return std::string(map_->text(unit_)); }

void FloatBase::ImposeMin(double value) {
    std::lock_guard guard(map_->mutex());
    hasImposedMin_ = true;
    imposedMin_ = value;
}

void FloatBase::ImposeMax(double value) {
    std::lock_guard guard(map_->mutex());
    hasImposedMax_ = true;
    imposedMax_ = value;
}

void FloatBase::checkWrite(double value) {
    if (std::isnan(value))
        throw INVALID_ARGUMENT_EXCEPTION("Node '%.*s': NaN is no value", static_cast<int>(name().size()),
                                         name().data());
    double mn = floatMin(), mx = floatMax();
    if (value < mn)
        throw OUT_OF_RANGE_EXCEPTION("Node '%.*s': value %.17g must be equal or greater than Min = %.17g",
                                     static_cast<int>(name().size()), name().data(), value, mn);
    if (value > mx)
        throw OUT_OF_RANGE_EXCEPTION("Node '%.*s': value %.17g must be smaller than or equal to Max = %.17g",
                                     static_cast<int>(name().size()), name().data(), value, mx);
    if (naturalHasInc()) {
        double inc = floatInc();
        if (inc > 0) {
            double steps = (value - mn) / inc;
            // Floats are compared with a relative tolerance: 0.1 steps are not exact.
            if (std::fabs(steps - std::round(steps)) > 1e-6 * std::max(1.0, std::fabs(steps)))
                throw OUT_OF_RANGE_EXCEPTION("Node '%.*s': value %.17g must be Min = %.17g plus a multiple of Inc = %.17g",
                                             static_cast<int>(name().size()), name().data(), value, mn, inc);
        }
    }
}

gcstring FloatBase::ToString(bool verify, bool ignoreCache) {
    std::lock_guard guard(map_->mutex());
    requireReadable();
    double v = getFloat(verify, ignoreCache);
    if (notation_ == fnAutomatic) return gcstring(formatFloat(v));
    char buf[512];
    int precision = static_cast<int>(std::clamp<int64_t>(precision_, 0, 60));
    std::snprintf(buf, sizeof buf, notation_ == fnFixed ? "%.*f" : "%.*e", precision, v);
    return gcstring(buf);
}

void FloatBase::FromString(const gcstring& valueStr, bool verify) {
    double v = 0;
    if (!parseFloat(std::string_view(valueStr), v))
        throw INVALID_ARGUMENT_EXCEPTION("Node '%.*s': '%s' is not a number", static_cast<int>(name().size()),
                                         name().data(), valueStr.c_str());
    SetValue(v, verify);
}

bool FloatBase::applyFloatCommon(Loader& loader, Prop prop, std::string_view value) {
    switch (prop) {
    case Prop::Representation:
        representation_ = loader.toRepresentation(*this, value);
        return true;
    case Prop::DisplayNotation:
        notation_ = parseDisplayNotation(value);
        if (notation_ == _UndefinedEDisplayNotation)
            loader.fail(*this, "unknown DisplayNotation '" + std::string(value) + "'");
        return true;
    case Prop::DisplayPrecision: precision_ = loader.toInt(*this, prop, value); return true;
    default: return false;
    }
}

// ---------------------------------------------------------------- Float

bool FloatNode::applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                              uint32_t recordIndex) {
    auto setConst = [&](NumberSource<double>& s) {
        s.constant = loader.toFloat(*this, prop, value);
        s.present = true;
        return true;
    };
    auto setRef = [&](NumberSource<double>& s) {
        s.node = loader.ref(*this, prop, value);
        s.present = true;
        return true;
    };
    if (applyFloatCommon(loader, prop, value)) return true;
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
                            loader.toFloat(*this, prop, value)});
        return true;
    case Prop::pValueIndexed:
        indexed_.push_back(
            {loader.toInt(*this, prop, loader.attribute(record, "Index")), loader.ref(*this, prop, value), 0});
        return true;
    case Prop::pValueCopy: copies_.push_back(loader.ref(*this, prop, value)); return true;
    case Prop::Unit: unit_ = record.value; return true;
    default: return FloatBase::applyProperty(loader, prop, value, record, recordIndex);
    }
}

void FloatNode::finishConfigure(Loader& loader) {
    if (!value_.present && !index_) loader.fail(*this, "Float without Value, pValue or pIndex");
}

Node* FloatNode::target() {
    if (index_) {
        int64_t i = index_->getInt(false, false);
        for (const Indexed& e : indexed_)
            if (e.index == i) return e.node;
        return default_.node;
    }
    return value_.node;
}

double FloatNode::getFloat(bool verify, bool ignoreCache) {
    Busy busy(*this);
    if (index_) {
        int64_t i = index_->getInt(false, ignoreCache);
        for (const Indexed& e : indexed_)
            if (e.index == i) return e.node ? e.node->getFloat(verify, ignoreCache) : e.constant;
        if (!default_.present)
            throw ACCESS_EXCEPTION("Node '%.*s': no value for index %lld", static_cast<int>(name().size()),
                                   name().data(), static_cast<long long>(i));
        return default_.isRef() ? default_.node->getFloat(verify, ignoreCache) : default_.constant;
    }
    return value_.isRef() ? value_.node->getFloat(verify, ignoreCache) : value_.constant;
}

void FloatNode::setFloat(double value, bool verify) {
    {
        Busy busy(*this);
        if (index_) {
            int64_t i = index_->getInt(false, false);
            bool stored = false;
            for (Indexed& e : indexed_) {
                if (e.index != i) continue;
                if (e.node) e.node->setFloat(value, verify);
                else e.constant = value;
                stored = true;
                break;
            }
            if (!stored) {
                if (default_.isRef()) default_.node->setFloat(value, verify);
                else indexed_.push_back({i, nullptr, value});
            }
        } else if (value_.isRef()) {
            value_.node->setFloat(value, verify);
        } else {
            value_.constant = value;
        }
        for (Node* c : copies_) c->setFloat(value, verify);
    }
    map_->valueChanged(this);
}

EAccessMode FloatNode::baseAccess() {
    Node* t = target();
    return t ? t->access() : RW;
}

double FloatNode::naturalMin() {
    Busy busy(*this);
    if (min_.present) return min_.isRef() ? min_.node->getFloat(false, false) : min_.constant;
    Node* t = target();
    return t ? t->floatMin() : FloatBase::naturalMin();
}

double FloatNode::naturalMax() {
    Busy busy(*this);
    if (max_.present) return max_.isRef() ? max_.node->getFloat(false, false) : max_.constant;
    Node* t = target();
    return t ? t->floatMax() : FloatBase::naturalMax();
}

double FloatNode::floatInc() {
    Busy busy(*this);
    if (inc_.present) return inc_.isRef() ? inc_.node->getFloat(false, false) : inc_.constant;
    return 0;
}

ERepresentation FloatNode::representation() {
    if (representation_ != _UndefinedRepresentation) return representation_;
    if (value_.isRef()) {
        Busy busy(*this);
        return value_.node->representation();
    }
    return PureNumber;
}

std::string FloatNode::unit() {
    if (unit_.len) return std::string(map_->text(unit_));
    if (value_.isRef()) {
        Busy busy(*this);
        return value_.node->unit();
    }
    return {};
}

} // namespace GenApi::detail
