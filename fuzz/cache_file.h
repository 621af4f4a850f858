// The node-map cache file around a fuzzed payload: a valid header (magic,
// version, size and checksum) and the key the reader is asked for, so that
// every input reaches the node records rather than the checksum test.
#pragma once

#include <cstdint>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <unistd.h>

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

// The header of a cache file this build writes: magic, version, reserved.
inline std::string HeaderStart() {
    static const std::string start = [] {
        const char xml[] =
            "<RegisterDescription ModelName='M' VendorName='V' StandardNameSpace='None' "
            "SchemaMajorVersion='1' SchemaMinorVersion='1' SchemaSubMinorVersion='0' "
            "MajorVersion='1' MinorVersion='0' SubMinorVersion='0' ToolTip='' ProductGuid='' "
            "VersionGuid='' xmlns='http://www.genicam.org/GenApi/Version_1_1'>"
            "<Integer Name='I'><Value>1</Value></Integer></RegisterDescription>";
        GenApi::CNodeMapFactory f(GenApi::ContentType_Xml, xml, sizeof xml - 1, GenApi::CacheUsage_Ignore);
        std::unique_ptr<GenApi::INodeMap> map(f.CreateNodeMap());
        std::string file = "/tmp/quillon-fuzz-header-" + std::to_string(::getpid());
        GenApi::detail::NodeMapCache::store(file, FuzzKey(), static_cast<GenApi::detail::NodeMap&>(*map));
        std::ifstream in(file, std::ios::binary);
        std::string bytes(16, '\0');
        in.read(bytes.data(), 16);
        ::unlink(file.c_str());
        return bytes;
    }();
    return start;
}

// A whole cache file whose payload is the key followed by `records`.
inline std::string CacheFile(std::string_view records) {
    std::string payload = KeyBytes();
    payload.append(records);
    std::string file = HeaderStart();
    uint64_t size = payload.size();
    uint64_t sum = GenApi::detail::NodeMapCache::checksum(payload.data(), payload.size());
    file.append(reinterpret_cast<const char*>(&size), 8);
    file.append(reinterpret_cast<const char*>(&sum), 8);
    return file + payload;
}

} // namespace quillon::fuzz
