// The node-map cache: a second load of an unchanged description comes from a
// preprocessed file in the folder that GENICAM_CACHE_V3_4 names.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace GenApi::detail {

class NodeMap;

// What identifies a description's content: for a file its absolute path,
// size, modification time and a hash of its bytes; for a memory block its
// size and a hash.
struct CacheKey {
    std::string identity;
    uint64_t size = 0;
    int64_t modified = 0;
    uint64_t contentHash = 0;
};

class NodeMapCache {
public:
    // The cache folder from the environment, or "" when caching is off.
    static std::string directory();
    static CacheKey keyForFile(const std::string& path);
    static CacheKey keyForMemory(std::string_view bytes);
    static std::string fileFor(const std::string& directory, const CacheKey& key);

    // The cached node map, or nullptr when the cache file is missing, belongs
    // to another version of the description, or is damaged.
    static std::unique_ptr<NodeMap> load(const std::string& cacheFile, const CacheKey& key,
                                         const std::string& deviceName);
    // The node map a cache file's payload (what follows its header) holds, or
    // nullptr when it is damaged or for another key. Any bytes are safe.
    static std::unique_ptr<NodeMap> read(std::string_view payload, const CacheKey& key,
                                         const std::string& deviceName);
    // Writes the cache file whole or not at all; failures are silent (the
    // cache only saves time).
    static void store(const std::string& cacheFile, const CacheKey& key, NodeMap& map);

    static uint64_t checksum(const void* data, size_t size);
    // The checksum of processors without a CRC instruction (checksum() uses
    // it there).
    static uint64_t checksumPortable(const void* data, size_t size);
    // How many node maps came from a cache file in this process (for tests
    // and diagnostics).
    static uint64_t hits();
};

} // namespace GenApi::detail
