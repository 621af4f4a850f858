// IntReg and MaskedIntReg: integers held in device registers, whole or as a
// bit field; and the two schema 1.0 IIDC nodes that read a plain register.
#include <cstring>

#include "loader/loader.h"
#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

// ---------------------------------------------------------------- IntReg

bool IntRegNode::applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                               uint32_t recordIndex) {
    if (reg_.applyProperty(loader, prop, value, record, recordIndex)) return true;
    switch (prop) {
    case Prop::Sign:
        if (!parseSign(value, signed_)) loader.fail(*this, "unknown Sign '" + std::string(value) + "'");
        return true;
    case Prop::Endianess:
        if (!parseEndianess(value, endianess_)) loader.fail(*this, "unknown Endianess '" + std::string(value) + "'");
        return true;
    case Prop::Representation:
        representation_ = loader.toRepresentation(*this, value);
        return true;
    case Prop::Unit: unit_ = record.value; return true;
    default: return IntegerBase::applyProperty(loader, prop, value, record, recordIndex);
    }
}

void IntRegNode::finishConfigure(Loader& loader) { reg_.finish(loader, 0); }

std::string IntRegNode::unit() { return std::string(map_->text(unit_)); }

uint64_t IntRegNode::readRaw(bool ignoreCache) {
    int64_t n = reg_.length();
    if (n > 8)
        throw OUT_OF_RANGE_EXCEPTION("Node '%.*s': integer register of %lld bytes (at most 8)",
                                     static_cast<int>(name().size()), name().data(), static_cast<long long>(n));
    uint8_t bytes[8] = {};
    reg_.read(bytes, n, ignoreCache);
    uint64_t raw = 0;
    for (int64_t i = 0; i < n; ++i) {
        uint64_t b = bytes[endianess_ == LittleEndian ? i : n - 1 - i];
        raw |= b << (8 * i);
    }
    return raw;
}

void IntRegNode::writeRaw(uint64_t raw) {
    int64_t n = reg_.length();
    if (n > 8)
        throw OUT_OF_RANGE_EXCEPTION("Node '%.*s': integer register of %lld bytes (at most 8)",
                                     static_cast<int>(name().size()), name().data(), static_cast<long long>(n));
    uint8_t bytes[8] = {};
    for (int64_t i = 0; i < n; ++i)
        bytes[endianess_ == LittleEndian ? i : n - 1 - i] = static_cast<uint8_t>(raw >> (8 * i));
    reg_.write(bytes, n);
}

namespace {
uint64_t fieldMask(int width) { return width >= 64 ? ~uint64_t{0} : (uint64_t{1} << width) - 1; }
} // namespace

int64_t IntRegNode::getInt(bool, bool ignoreCache) {
    Busy busy(*this);
    uint64_t raw = readRaw(ignoreCache);
    int first = firstBit(), last = lastBit();
    int width = last - first + 1;
    uint64_t v = (raw >> first) & fieldMask(width);
    if (signed_ && width < 64 && (v >> (width - 1)) & 1) v |= ~fieldMask(width);
    return static_cast<int64_t>(v);
}

void IntRegNode::setInt(int64_t value, bool verify) {
    // Nodes above (Integer, Enumeration, converters) check their own range,
    // not whether the value fits these bits: without this it would be cut.
    if (verify) checkWrite(value);
    Busy busy(*this);
    int64_t n = reg_.length();
    int first = firstBit(), last = lastBit();
    int width = last - first + 1;
    uint64_t mask = fieldMask(width) << first;
    uint64_t raw = 0;
    // A bit field shares its register with others: read, modify, write.
    if (first != 0 || width != n * 8) raw = readRaw(false);
    raw = (raw & ~mask) | ((static_cast<uint64_t>(value) << first) & mask);
    writeRaw(raw);
}

int64_t IntRegNode::naturalMin() {
    Busy busy(*this);
    int width = lastBit() - firstBit() + 1;
    if (!signed_) return 0;
    return width >= 64 ? INT64_MIN : -(int64_t{1} << (width - 1));
}

int64_t IntRegNode::naturalMax() {
    Busy busy(*this);
    int width = lastBit() - firstBit() + 1;
    if (signed_) return width >= 64 ? INT64_MAX : (int64_t{1} << (width - 1)) - 1;
    return width >= 63 ? INT64_MAX : (int64_t{1} << width) - 1;
}

// ---------------------------------------------------------------- MaskedIntReg

bool MaskedIntRegNode::applyProperty(Loader& loader, Prop prop, std::string_view value,
                                     const PropertyRecord& record, uint32_t recordIndex) {
    switch (prop) {
    case Prop::LSB: lsb_ = loader.toInt(*this, prop, value); return true;
    case Prop::MSB: msb_ = loader.toInt(*this, prop, value); return true;
    case Prop::Bit: lsb_ = msb_ = loader.toInt(*this, prop, value); return true;
    default: return IntRegNode::applyProperty(loader, prop, value, record, recordIndex);
    }
}

void MaskedIntRegNode::finishConfigure(Loader& loader) {
    IntRegNode::finishConfigure(loader);
    if (lsb_ < 0 && msb_ < 0) loader.fail(*this, "MaskedIntReg without LSB/MSB or Bit");
    if (lsb_ < 0) lsb_ = msb_;
    if (msb_ < 0) msb_ = lsb_;
    if (lsb_ > 63 || msb_ > 63) loader.fail(*this, "bit position beyond 63");
}

// Big-endian registers number their bits from the most significant one.
int MaskedIntRegNode::firstBit() {
    int bits = static_cast<int>(reg_.length() * 8);
    int f = endianess_ == BigEndian ? bits - 1 - static_cast<int>(lsb_) : static_cast<int>(lsb_);
    int l = endianess_ == BigEndian ? bits - 1 - static_cast<int>(msb_) : static_cast<int>(msb_);
    if (f < 0 || l < f || l >= bits || bits > 64)
        throw OUT_OF_RANGE_EXCEPTION("Node '%.*s': bits %lld..%lld do not fit a %d-bit register",
                                     static_cast<int>(name().size()), name().data(), static_cast<long long>(lsb_),
                                     static_cast<long long>(msb_), bits);
    return f;
}

int MaskedIntRegNode::lastBit() {
    int bits = static_cast<int>(reg_.length() * 8);
    return endianess_ == BigEndian ? bits - 1 - static_cast<int>(msb_) : static_cast<int>(msb_);
}

// ---------------------------------------------------------------- IIDC nodes

bool AdvFeatureLockNode::applyProperty(Loader& loader, Prop prop, std::string_view value,
                                       const PropertyRecord& record, uint32_t recordIndex) {
    // The feature identifier and time-out are kept as properties only.
    if (prop == Prop::FeatureID || prop == Prop::TimeOut) return true;
    return IntRegNode::applyProperty(loader, prop, value, record, recordIndex);
}

void AdvFeatureLockNode::finishConfigure(Loader& loader) {
    endianess_ = BigEndian; // IIDC registers are quadlets, most significant byte first
    reg_.finish(loader, 4);
}

bool SmartFeatureNode::applyProperty(Loader& loader, Prop prop, std::string_view value,
                                     const PropertyRecord& record, uint32_t recordIndex) {
    if (prop == Prop::FeatureID) return true;
    if (prop == Prop::pAdvFeatureLock) return loader.ref(*this, prop, value), true;
    return IntRegNode::applyProperty(loader, prop, value, record, recordIndex);
}

void SmartFeatureNode::finishConfigure(Loader& loader) {
    endianess_ = BigEndian;
    reg_.finish(loader, 4);
}

} // namespace GenApi::detail
