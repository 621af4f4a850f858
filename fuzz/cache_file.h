// The key the cache fuzz target reads its payloads under, and the bytes it
// takes at the start of a payload: every input reaches the node records
// rather than the key test.
#pragma once

#include <string>

#include "GenApi/GenApi.h"
#include "cache/archive.h"
#include "cache/node_map_cache.h"
#include "node_map.h"

namespace quillon::fuzz {

inline const GenApi::detail::CacheKey& FuzzKey() {
    static const GenApi::detail::CacheKey key{"fuzz", 1, 2, 3};
    return key;
}

// The key as the cache writes it at the start of the payload.
inline std::string KeyBytes() {
    GenApi::detail::CacheKey key = FuzzKey();
    GenApi::detail::Archive a(nullptr);
    a.io(key.identity);
    a.io(key.size);
    a.io(key.modified);
    a.io(key.contentHash);
    return a.bytes();
}

} // namespace quillon::fuzz
