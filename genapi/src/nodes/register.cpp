// Register: a block of device bytes, read and written as a whole.
#include <mutex>

#include "loader/loader.h"
#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

bool RegisterNode::applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                                 uint32_t recordIndex) {
    if (reg_.applyProperty(loader, prop, value, record, recordIndex)) return true;
    // Registers may describe their bytes' meaning; the bytes stay raw here.
    if (prop == Prop::Representation || prop == Prop::Sign || prop == Prop::Endianess || prop == Prop::Unit)
        return true;
    return ValueNode::applyProperty(loader, prop, value, record, recordIndex);
}

void RegisterNode::finishConfigure(Loader& loader) { reg_.finish(loader, 0); }

void RegisterNode::Get(uint8_t* buffer, int64_t length, bool, bool ignoreCache) {
    std::lock_guard guard(map_->mutex());
    requireReadable();
    Busy busy(*this);
    int64_t n = reg_.length();
    if (length != n)
        throw OUT_OF_RANGE_EXCEPTION("Node '%.*s': buffer of %lld bytes for a register of %lld",
                                     static_cast<int>(name().size()), name().data(), static_cast<long long>(length),
                                     static_cast<long long>(n));
    reg_.read(buffer, n, ignoreCache);
}

void RegisterNode::Set(const uint8_t* buffer, int64_t length, bool) {
    std::lock_guard guard(map_->mutex());
    requireWritable();
    Busy busy(*this);
    int64_t n = reg_.length();
    if (length != n)
        throw OUT_OF_RANGE_EXCEPTION("Node '%.*s': buffer of %lld bytes for a register of %lld",
                                     static_cast<int>(name().size()), name().data(), static_cast<long long>(length),
                                     static_cast<long long>(n));
    reg_.write(buffer, n);
}

int64_t RegisterNode::GetLength() {
    std::lock_guard guard(map_->mutex());
    Busy busy(*this);
    return reg_.length();
}

int64_t RegisterNode::GetAddress() {
    std::lock_guard guard(map_->mutex());
    Busy busy(*this);
    return reg_.address();
}

gcstring RegisterNode::ToString(bool verify, bool ignoreCache) {
    std::lock_guard guard(map_->mutex());
    int64_t n = GetLength();
    std::vector<uint8_t> bytes(static_cast<size_t>(n));
    Get(bytes.data(), n, verify, ignoreCache);
    static const char digits[] = "0123456789ABCDEF";
    std::string text = "0x";
    text.reserve(2 + bytes.size() * 2);
    for (uint8_t b : bytes) {
        text += digits[b >> 4];
        text += digits[b & 15];
    }
    return gcstring(text);
}

void RegisterNode::FromString(const gcstring& valueStr, bool verify) {
    std::lock_guard guard(map_->mutex());
    std::string_view t(valueStr);
    if (t.size() >= 2 && t[0] == '0' && (t[1] == 'x' || t[1] == 'X')) t.remove_prefix(2);
    int64_t n = GetLength();
    if (static_cast<int64_t>(t.size()) != n * 2)
        throw INVALID_ARGUMENT_EXCEPTION("Node '%.*s': %lld hexadecimal bytes expected",
                                         static_cast<int>(name().size()), name().data(), static_cast<long long>(n));
    std::vector<uint8_t> bytes(static_cast<size_t>(n));
    auto nibble = [&](char c) -> int {
        if (c >= '0' && c <= '9') return c - '0';
        if (c >= 'a' && c <= 'f') return c - 'a' + 10;
        if (c >= 'A' && c <= 'F') return c - 'A' + 10;
        throw INVALID_ARGUMENT_EXCEPTION("Node '%.*s': '%c' is not a hexadecimal digit",
                                         static_cast<int>(name().size()), name().data(), c);
    };
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(nibble(t[2 * i]) << 4 | nibble(t[2 * i + 1]));
    Set(bytes.data(), n, verify);
}

} // namespace GenApi::detail
