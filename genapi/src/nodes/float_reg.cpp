// FloatReg: an IEEE 754 single or double held in a device register.
#include <cfloat>
#include <cmath>
#include <cstring>

#include "loader/loader.h"
#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

bool FloatRegNode::applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                                 uint32_t recordIndex) {
    if (reg_.applyProperty(loader, prop, value, record, recordIndex)) return true;
    if (applyFloatCommon(loader, prop, value)) return true;
    switch (prop) {
    case Prop::Endianess:
        if (!parseEndianess(value, endianess_)) loader.fail(*this, "unknown Endianess '" + std::string(value) + "'");
        return true;
    case Prop::Unit: unit_ = record.value; return true;
    case Prop::Sign: return true; // IEEE values carry their own sign
    default: return FloatBase::applyProperty(loader, prop, value, record, recordIndex);
    }
}

void FloatRegNode::finishConfigure(Loader& loader) { reg_.finish(loader, 0); }

namespace {
void checkLength(int64_t n, std::string_view name) {
    if (n != 4 && n != 8)
        throw OUT_OF_RANGE_EXCEPTION("Node '%.*s': float register of %lld bytes (4 or 8 expected)",
                                     static_cast<int>(name.size()), name.data(), static_cast<long long>(n));
}
} // namespace

// A 4-byte register holds no value beyond the float range: its limits say so,
// so that a range built from them is one the register accepts.
double FloatRegNode::naturalMax() {
    Busy busy(*this);
    return reg_.length() == 4 ? static_cast<double>(FLT_MAX) : FloatBase::naturalMax();
}

double FloatRegNode::naturalMin() {
    return -naturalMax();
}

double FloatRegNode::getFloat(bool, bool ignoreCache) {
    Busy busy(*this);
    int64_t n = reg_.length();
    checkLength(n, name());
    uint8_t bytes[8];
    reg_.read(bytes, n, ignoreCache);
    uint64_t raw = 0;
    for (int64_t i = 0; i < n; ++i) raw |= uint64_t{bytes[endianess_ == LittleEndian ? i : n - 1 - i]} << (8 * i);
    if (n == 4) {
        auto bits = static_cast<uint32_t>(raw);
        float f;
        std::memcpy(&f, &bits, 4);
        return f;
    }
    double d;
    std::memcpy(&d, &raw, 8);
    return d;
}

void FloatRegNode::setFloat(double value, bool) {
    Busy busy(*this);
    int64_t n = reg_.length();
    checkLength(n, name());
    uint64_t raw = 0;
    if (n == 4) {
        // Converting a double outside the float range is undefined.
        if (std::isfinite(value) && std::fabs(value) > static_cast<double>(FLT_MAX))
            throw OUT_OF_RANGE_EXCEPTION("Node '%.*s': %g does not fit a 4-byte float register",
                                         static_cast<int>(name().size()), name().data(), value);
        auto f = static_cast<float>(value);
        uint32_t bits;
        std::memcpy(&bits, &f, 4);
        raw = bits;
    } else {
        std::memcpy(&raw, &value, 8);
    }
    uint8_t bytes[8];
    for (int64_t i = 0; i < n; ++i) bytes[endianess_ == LittleEndian ? i : n - 1 - i] = static_cast<uint8_t>(raw >> (8 * i));
    reg_.write(bytes, n);
}

} // namespace GenApi::detail
