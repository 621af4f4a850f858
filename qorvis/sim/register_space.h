// The plain memory of the simulated camera: a sparse, zero-filled 64-bit byte
// space. Registers without behaviour live here and read back what was written.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <unordered_map>

namespace qorvis::sim {

class RegisterSpace {
public:
    void read(uint64_t address, uint8_t* out, uint64_t length) const;
    void write(uint64_t address, const uint8_t* in, uint64_t length);
    void clear() { pages_.clear(); }

    // Big- and little-endian words of 1 to 8 bytes.
    uint64_t readBE(uint64_t address, unsigned length) const;
    void writeBE(uint64_t address, uint64_t value, unsigned length);
    uint64_t readLE(uint64_t address, unsigned length) const;
    void writeLE(uint64_t address, uint64_t value, unsigned length);
    uint32_t be32(uint64_t address) const { return static_cast<uint32_t>(readBE(address, 4)); }
    void setBE32(uint64_t address, uint32_t value) { writeBE(address, value, 4); }

private:
    static constexpr uint64_t kPageSize = 4096;
    using Page = std::array<uint8_t, kPageSize>;
    // Pages appear on first write; reads of absent pages give zeros.
    std::unordered_map<uint64_t, std::unique_ptr<Page>> pages_;
};

// Byte-order helpers shared by the device model.
uint64_t decodeBE(const uint8_t* bytes, unsigned length);
void encodeBE(uint8_t* bytes, uint64_t value, unsigned length);
uint64_t decodeLE(const uint8_t* bytes, unsigned length);
void encodeLE(uint8_t* bytes, uint64_t value, unsigned length);

} // namespace qorvis::sim
