// StringReg: a text of at most Length bytes in a device register, ended by a
// zero byte when shorter.
#include <cstring>
#include <mutex>

#include "loader/loader.h"
#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

bool StringRegNode::applyProperty(Loader& loader, Prop prop, std::string_view value,
                                  const PropertyRecord& record, uint32_t recordIndex) {
    if (reg_.applyProperty(loader, prop, value, record, recordIndex)) return true;
    return ValueNode::applyProperty(loader, prop, value, record, recordIndex);
}

void StringRegNode::finishConfigure(Loader& loader) { reg_.finish(loader, 0); }

std::string StringRegNode::stringValue(bool ignoreCache) {
    Busy busy(*this);
    int64_t n = reg_.length();
    std::string buffer(static_cast<size_t>(n), '\0');
    reg_.read(reinterpret_cast<uint8_t*>(buffer.data()), n, ignoreCache);
    buffer.resize(std::strlen(buffer.c_str()));
    return buffer;
}

void StringRegNode::writeString(const std::string& value, bool) {
    Busy busy(*this);
    int64_t n = reg_.length();
    if (static_cast<int64_t>(value.size()) > n)
        throw OUT_OF_RANGE_EXCEPTION("Node '%.*s': %zu characters do not fit %lld bytes",
                                     static_cast<int>(name().size()), name().data(), value.size(),
                                     static_cast<long long>(n));
    // The whole register is written so that no tail of an older text remains.
    std::string buffer(static_cast<size_t>(n), '\0');
    std::memcpy(buffer.data(), value.data(), value.size());
    reg_.write(reinterpret_cast<const uint8_t*>(buffer.data()), n);
}

gcstring StringRegNode::GetValue(bool, bool ignoreCache) {
    std::lock_guard guard(map_->mutex());
    requireReadable();
    return gcstring(stringValue(ignoreCache));
}

void StringRegNode::SetValue(const gcstring& value, bool verify) {
    std::lock_guard guard(map_->mutex());
    requireWritable();
    writeString(value, verify);
}

int64_t StringRegNode::GetMaxLength() {
    std::lock_guard guard(map_->mutex());
    Busy busy(*this);
    return reg_.length();
}

} // namespace GenApi::detail
