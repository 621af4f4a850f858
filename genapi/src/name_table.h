// A table from short names to values for the loader's lookups (element
// names, property names, node names): open addressing over a power of two
// and a word-at-a-time hash, several times faster than std::unordered_map's
// general hash and prime modulus on names of a few bytes. The slots hold
// 32-bit positions in the list of entries, so that a table of thousands of
// node names stays small.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

namespace GenApi::detail {

template <class T> class NameTable {
public:
    explicit NameTable(size_t expected = 0) {
        entries_.reserve(expected);
        rehash(expected);
    }

    // Adds the name unless it is there already; the names must outlive the table.
    void insert(std::string_view name, T value) {
        if (2 * (entries_.size() + 1) > slots_.size()) rehash(2 * (entries_.size() + 1));
        uint32_t& slot = slots_[probe(name)];
        if (slot) return;
        entries_.emplace_back(name, value);
        slot = static_cast<uint32_t>(entries_.size());
    }
    // The value of the name, or nullptr.
    const T* find(std::string_view name) const {
        uint32_t slot = slots_[probe(name)];
        return slot ? &entries_[slot - 1].second : nullptr;
    }

private:
    // Eight bytes a step: names are mostly 8 to 40 bytes long.
    static uint64_t hash(std::string_view name) {
        uint64_t h = 0x9e3779b97f4a7c15ull ^ name.size();
        size_t i = 0;
        for (; i + 8 <= name.size(); i += 8) {
            uint64_t word;
            std::memcpy(&word, name.data() + i, 8);
            h = (h ^ word) * 0xff51afd7ed558ccdull;
            h ^= h >> 32;
        }
        uint64_t tail = 0;
        std::memcpy(&tail, name.data() + i, name.size() - i);
        h = (h ^ tail) * 0xc4ceb9fe1a85ec53ull;
        return h ^ (h >> 29);
    }
    // The slot holding the name, or the empty slot where it would go.
    size_t probe(std::string_view name) const {
        const size_t mask = slots_.size() - 1;
        size_t i = hash(name) & mask;
        while (slots_[i] && entries_[slots_[i] - 1].first != name)
            i = (i + 1) & mask;
        return i;
    }
    void rehash(size_t expected) {
        size_t capacity = 16;
        while (capacity < 2 * expected)
            capacity *= 2;
        slots_.assign(capacity, 0);
        for (size_t e = 0; e < entries_.size(); ++e)
            slots_[probe(entries_[e].first)] = static_cast<uint32_t>(e + 1);
    }

    std::vector<std::pair<std::string_view, T>> entries_;
    std::vector<uint32_t> slots_; // 1 + the entry's position; 0 when free
};

} // namespace GenApi::detail
