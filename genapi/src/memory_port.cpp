#include "GenApi/MemoryPort.h"

#include <algorithm>
#include <cstring>

#include "GenICam/exceptions.h"

namespace GenApi {

CMemoryPort::CMemoryPort() = default;
CMemoryPort::~CMemoryPort() = default;

void CMemoryPort::Read(void* buffer, int64_t address, int64_t length) {
    if (length < 0) throw INVALID_ARGUMENT_EXCEPTION("Negative read length %lld", static_cast<long long>(length));
    ++reads_;
    auto* out = static_cast<uint8_t*>(buffer);
    // Addresses wrap as unsigned: descriptions may use negative addresses.
    auto a = static_cast<uint64_t>(address);
    auto n = static_cast<uint64_t>(length);
    while (n > 0) {
        uint64_t page = a / kPageSize, offset = a % kPageSize;
        uint64_t chunk = std::min(n, kPageSize - offset);
        auto it = pages_.find(page);
        if (it == pages_.end()) std::memset(out, 0, chunk);
        else std::memcpy(out, it->second.get() + offset, chunk);
        out += chunk;
        a += chunk;
        n -= chunk;
    }
}

void CMemoryPort::Write(const void* buffer, int64_t address, int64_t length) {
    if (length < 0) throw INVALID_ARGUMENT_EXCEPTION("Negative write length %lld", static_cast<long long>(length));
    ++writes_;
    auto* in = static_cast<const uint8_t*>(buffer);
    auto a = static_cast<uint64_t>(address);
    auto n = static_cast<uint64_t>(length);
    while (n > 0) {
        uint64_t page = a / kPageSize, offset = a % kPageSize;
        uint64_t chunk = std::min(n, kPageSize - offset);
        auto& p = pages_[page];
        if (!p) p = std::make_unique<uint8_t[]>(kPageSize); // value-initialised: zero-filled
        std::memcpy(p.get() + offset, in, chunk);
        in += chunk;
        a += chunk;
        n -= chunk;
    }
}

} // namespace GenApi
