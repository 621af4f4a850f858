#include "sim/register_space.h"

#include <algorithm>
#include <cstring>

namespace qorvis::sim {

uint64_t decodeBE(const uint8_t* bytes, unsigned length) {
    uint64_t v = 0;
    for (unsigned i = 0; i < length; ++i) v = v << 8 | bytes[i];
    return v;
}

void encodeBE(uint8_t* bytes, uint64_t value, unsigned length) {
    for (unsigned i = 0; i < length; ++i) bytes[length - 1 - i] = static_cast<uint8_t>(value >> (8 * i));
}

uint64_t decodeLE(const uint8_t* bytes, unsigned length) {
    uint64_t v = 0;
    for (unsigned i = length; i > 0; --i) v = v << 8 | bytes[i - 1];
    return v;
}

void encodeLE(uint8_t* bytes, uint64_t value, unsigned length) {
    for (unsigned i = 0; i < length; ++i) bytes[i] = static_cast<uint8_t>(value >> (8 * i));
}

void RegisterSpace::read(uint64_t address, uint8_t* out, uint64_t length) const {
    while (length > 0) {
        uint64_t page = address / kPageSize, at = address % kPageSize;
        uint64_t n = std::min(length, kPageSize - at);
        auto it = pages_.find(page);
        if (it == pages_.end()) std::memset(out, 0, n);
        else std::memcpy(out, it->second->data() + at, n);
        out += n;
        address += n;
        length -= n;
    }
}

void RegisterSpace::write(uint64_t address, const uint8_t* in, uint64_t length) {
    while (length > 0) {
        uint64_t page = address / kPageSize, at = address % kPageSize;
        uint64_t n = std::min(length, kPageSize - at);
        std::unique_ptr<Page>& p = pages_[page];
        if (!p) p = std::make_unique<Page>();
        std::memcpy(p->data() + at, in, n);
        in += n;
        address += n;
        length -= n;
    }
}

uint64_t RegisterSpace::readBE(uint64_t address, unsigned length) const {
    uint8_t b[8];
    read(address, b, length);
    return decodeBE(b, length);
}

void RegisterSpace::writeBE(uint64_t address, uint64_t value, unsigned length) {
    uint8_t b[8];
    encodeBE(b, value, length);
    write(address, b, length);
}

uint64_t RegisterSpace::readLE(uint64_t address, unsigned length) const {
    uint8_t b[8];
    read(address, b, length);
    return decodeLE(b, length);
}

void RegisterSpace::writeLE(uint64_t address, uint64_t value, unsigned length) {
    uint8_t b[8];
    encodeLE(b, value, length);
    write(address, b, length);
}

} // namespace qorvis::sim
