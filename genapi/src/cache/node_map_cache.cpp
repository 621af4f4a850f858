#include "cache/node_map_cache.h"

#include <fcntl.h>
#include <sys/mman.h>
#if defined(__x86_64__)
#include <cpuid.h>
#endif
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "cache/archive.h"
#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

namespace {
constexpr char kMagic[8] = {'Q', 'G', 'N', 'M', 'A', 'P', 'C', '1'};
// Raised whenever the layout of any node's cached state changes.
constexpr uint32_t kFormatVersion = 6;

struct StoredLink {
    uint32_t role;
    uint32_t node;
};

struct Header {
    char magic[8];
    uint32_t version;
    uint32_t reserved;
    uint64_t payloadSize;
    uint64_t payloadChecksum;
};

void ioKey(Archive& a, CacheKey& k) {
    a.io(k.identity);
    a.io(k.size);
    a.io(k.modified);
    a.io(k.contentHash);
}
} // namespace

uint64_t NodeMapCache::checksumPortable(const void* data, size_t size) {
    const auto* p = static_cast<const uint8_t*>(data);
    // Four independent lanes keep the multiplier busy.
    uint64_t lane[4] = {0xcbf29ce484222325ull ^ size, 0x9e3779b97f4a7c15ull, 0xc2b2ae3d27d4eb4full,
                        0x165667b19e3779f9ull};
    size_t blocks = size / 32;
    for (size_t i = 0; i < blocks; ++i) {
        for (int k = 0; k < 4; ++k) {
            uint64_t w;
            std::memcpy(&w, p + 32 * i + 8 * static_cast<size_t>(k), 8);
            lane[k] = (lane[k] ^ w) * 0x100000001b3ull;
            lane[k] ^= lane[k] >> 29;
        }
    }
    uint64_t h = lane[0] ^ (lane[1] * 3) ^ (lane[2] * 5) ^ (lane[3] * 7);
    for (size_t i = blocks * 32; i < size; ++i) h = (h ^ p[i]) * 0x100000001b3ull;
    return h;
}

namespace {
#if defined(__x86_64__)
// CRC32-C in hardware: one instruction per eight bytes.
__attribute__((target("sse4.2"))) uint64_t checksumCrc(const uint8_t* p, size_t size) {
    uint64_t a = 0xFFFFFFFF ^ size, b = 0x12345678;
    size_t words = size / 16;
    for (size_t i = 0; i < words; ++i) {
        uint64_t w0, w1;
        std::memcpy(&w0, p + 16 * i, 8);
        std::memcpy(&w1, p + 16 * i + 8, 8);
        a = __builtin_ia32_crc32di(a, w0);
        b = __builtin_ia32_crc32di(b, w1);
    }
    for (size_t i = words * 16; i < size; ++i) a = __builtin_ia32_crc32qi(static_cast<unsigned>(a), p[i]);
    return (a << 32) ^ b;
}
#endif
} // namespace

uint64_t NodeMapCache::checksum(const void* data, size_t size) {
    const auto* p = static_cast<const uint8_t*>(data);
#if defined(__x86_64__)
    // One cpuid, on first use: __builtin_cpu_supports would link the compiler's
    // CPU probe, which runs dozens of cpuid instructions at every start-up
    // (each a trap to the hypervisor on a virtual machine).
    static const bool crc = [] {
        unsigned a = 0, b = 0, c = 0, d = 0;
        return __get_cpuid(1, &a, &b, &c, &d) && (c & bit_SSE4_2) != 0;
    }();
    if (crc) return checksumCrc(p, size);
#endif
    return checksumPortable(p, size);
}

namespace {
std::atomic<uint64_t> cacheHits{0};
} // namespace

uint64_t NodeMapCache::hits() { return cacheHits.load(); }

std::string NodeMapCache::directory() {
    const char* dir = std::getenv("GENICAM_CACHE_V3_4");
    return dir ? std::string(dir) : std::string();
}

CacheKey NodeMapCache::keyForFile(const std::string& path) {
    CacheKey key;
    std::error_code ec;
    key.identity = std::filesystem::absolute(path, ec).string();
    if (ec) key.identity = path;
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return key;
    struct stat st {};
    if (::fstat(fd, &st) == 0) {
        key.size = static_cast<uint64_t>(st.st_size);
        key.modified = static_cast<int64_t>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
    }
    // The content too: a file rewritten within one tick of the file system's
    // clock, or copied with its old time, keeps size and time but is another
    // description. Hashed in chunks of a small buffer: no memory to fault in.
    std::vector<char> chunk(64 * 1024);
    for (ssize_t got; (got = ::read(fd, chunk.data(), chunk.size())) > 0;)
        key.contentHash = (key.contentHash ^ checksum(chunk.data(), static_cast<size_t>(got))) * 0x100000001b3ull;
    ::close(fd);
    return key;
}

CacheKey NodeMapCache::keyForMemory(std::string_view bytes) {
    CacheKey key;
    key.identity = "memory";
    key.size = bytes.size();
    key.contentHash = checksum(bytes.data(), bytes.size());
    return key;
}

std::string NodeMapCache::fileFor(const std::string& dir, const CacheKey& key) {
    // One cache file per description file, replaced when the file changes;
    // descriptions in memory are told apart by their content alone.
    std::string id = key.identity + "#" + std::to_string(key.identity == "memory" ? key.contentHash : 0);
    char name[40];
    std::snprintf(name, sizeof name, "%016llx.gncache",
                  static_cast<unsigned long long>(checksum(id.data(), id.size())));
    return (std::filesystem::path(dir) / name).string();
}

std::unique_ptr<NodeMap> NodeMapCache::load(const std::string& cacheFile, const CacheKey& key,
                                            const std::string& deviceName) {
    int fd = ::open(cacheFile.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return nullptr;
    struct stat st {};
    if (::fstat(fd, &st) != 0 || st.st_size < static_cast<off_t>(sizeof(Header))) {
        ::close(fd);
        return nullptr;
    }
    // Mapped rather than read: the page cache's pages serve directly, with no
    // copy and no fresh memory to fault in. Cache files are replaced by
    // renaming, never rewritten in place, so the mapped file keeps its size.
    const auto fileSize = static_cast<size_t>(st.st_size);
    void* mapped = ::mmap(nullptr, fileSize, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd, 0);
    ::close(fd);
    if (mapped == MAP_FAILED) return nullptr;
    struct Unmapper {
        void* at;
        size_t size;
        ~Unmapper() { ::munmap(at, size); }
    } unmapper{mapped, fileSize};
    Header h{};
    std::memcpy(&h, mapped, sizeof h);
    if (std::memcmp(h.magic, kMagic, sizeof kMagic) != 0 || h.version != kFormatVersion) return nullptr;
    // The header must agree with the file: a damaged size never drives a read.
    if (h.payloadSize != fileSize - sizeof h) return nullptr; // truncated
    auto size = static_cast<size_t>(h.payloadSize);
    const char* bytes = static_cast<const char*>(mapped) + sizeof h;
    if (checksum(bytes, size) != h.payloadChecksum) return nullptr; // damaged
    return read(std::string_view(bytes, size), key, deviceName);
}

std::unique_ptr<NodeMap> NodeMapCache::read(std::string_view payload, const CacheKey& key,
                                            const std::string& deviceName) {
    try {
        const auto* data = reinterpret_cast<const uint8_t*>(payload.data());
        std::vector<Node*> index;
        // The arena comes first so that text references can be checked.
        Archive head(data, payload.size(), &index, 0);
        CacheKey stored;
        ioKey(head, stored);
        if (stored.identity != key.identity || stored.size != key.size || stored.modified != key.modified ||
            stored.contentHash != key.contentHash)
            return nullptr; // another version of the description
        auto map = std::make_unique<NodeMap>(deviceName);
        head.io(map->arena_);
        size_t consumed = payload.size() - head.remaining();
        Archive a(data + consumed, payload.size() - consumed, &index, map->arena_.size());
        a.io(map->modelName_);
        a.io(map->vendorName_);
        a.io(map->descriptionAttributes_);
        a.io(map->extraPropertyNames_);
        a.block(map->records_);
        size_t names = kKnownPropertyCount + map->extraPropertyNames_.size();
        size_t arena = map->arena_.size();
        for (const PropertyRecord& r : map->records_) {
            if (r.name >= names) a.corrupt("property name");
            if (uint64_t{r.value.off} + r.value.len > arena || uint64_t{r.attributes.off} + r.attributes.len > arena)
                a.corrupt("property text");
        }
        uint64_t nodeCount = 0;
        a.io(nodeCount);
        // Each node's state takes more than this many bytes: a larger count
        // is damage, and must not create nodes that no bytes describe.
        constexpr uint64_t kLeastNodeBytes = 64;
        if (nodeCount > a.remaining() / kLeastNodeBytes) a.corrupt("node count");
        map->nodes_.reserve(static_cast<size_t>(nodeCount));
        index.reserve(static_cast<size_t>(nodeCount));
        for (uint64_t i = 0; i < nodeCount; ++i) {
            uint8_t type = 0;
            a.io(type);
            auto node = createNode(type, *map, static_cast<uint32_t>(i));
            if (!node) a.corrupt("node type");
            index.push_back(node.get());
            map->nodes_.push_back(std::move(node));
        }
        for (Node* n : index) n->serialize(a);
        std::vector<StoredLink> links;
        a.block(links);
        map->linkPool_.resize(links.size());
        for (size_t i = 0; i < links.size(); ++i) {
            if (links[i].role >= kKnownPropertyCount || links[i].node >= index.size()) a.corrupt("link");
            map->linkPool_[i] = {static_cast<Prop>(links[i].role), index[links[i].node]};
        }
        std::vector<uint32_t> dependents;
        a.block(dependents);
        map->dependentPool_.resize(dependents.size());
        for (size_t i = 0; i < dependents.size(); ++i) {
            if (dependents[i] >= index.size()) a.corrupt("dependent");
            map->dependentPool_[i] = index[dependents[i]];
        }
        for (Node* n : index) {
            if (uint64_t{n->firstRecord_} + n->recordCount_ > map->records_.size() ||
                uint64_t{n->linkBegin_} + n->linkCount_ > map->linkPool_.size() ||
                uint64_t{n->dependentBegin_} + n->dependentCount_ > map->dependentPool_.size())
                a.corrupt("node ranges");
        }
        std::vector<uint32_t> order;
        a.io(order);
        if (order.size() != index.size()) a.corrupt("name index");
        map->byName_.reserve(order.size());
        for (uint32_t i : order) {
            if (i >= index.size()) a.corrupt("name index");
            map->byName_.emplace_back(index[i]->name(), index[i]);
        }
        // Lookups bisect the index: it must really be sorted and unique.
        for (size_t i = 1; i < map->byName_.size(); ++i)
            if (!(map->byName_[i - 1].first < map->byName_[i].first)) a.corrupt("name order");
        if (a.remaining() != 0) a.corrupt("trailing bytes");
        ++cacheHits;
        return map;
    } catch (const GenICam::GenericException&) {
        return nullptr;
    }
}

void NodeMapCache::store(const std::string& cacheFile, const CacheKey& key, NodeMap& map) {
    try {
        std::vector<Node*> index;
        for (const auto& n : map.nodes_) index.push_back(n.get());
        Archive a(&index);
        CacheKey k = key;
        ioKey(a, k);
        a.io(map.arena_);
        a.io(map.modelName_);
        a.io(map.vendorName_);
        a.io(map.descriptionAttributes_);
        a.io(map.extraPropertyNames_);
        a.block(map.records_);
        uint64_t nodeCount = index.size();
        a.io(nodeCount);
        for (Node* n : index) {
            // StructEntry nodes are MaskedIntRegs; every type round-trips.
            uint8_t type = nodeTypeId(n->typeName());
            a.io(type);
        }
        for (Node* n : index) n->serialize(a);
        std::vector<StoredLink> links;
        links.reserve(map.linkPool_.size());
        for (const Link& l : map.linkPool_) links.push_back({static_cast<uint32_t>(l.role), l.node->index()});
        a.block(links);
        std::vector<uint32_t> dependents;
        dependents.reserve(map.dependentPool_.size());
        for (Node* d : map.dependentPool_) dependents.push_back(d->index());
        a.block(dependents);
        std::vector<uint32_t> order;
        order.reserve(map.byName_.size());
        for (const auto& entry : map.byName_) order.push_back(entry.second->index());
        a.io(order);

        const std::string& payload = a.bytes();
        Header h{};
        std::memcpy(h.magic, kMagic, sizeof kMagic);
        h.version = kFormatVersion;
        h.payloadSize = payload.size();
        h.payloadChecksum = checksum(payload.data(), payload.size());

        std::error_code ec;
        std::filesystem::create_directories(std::filesystem::path(cacheFile).parent_path(), ec);
        // Written beside the target and renamed: a reader never sees half a file.
        std::string temp = cacheFile + ".tmp" + std::to_string(::getpid());
        {
            std::ofstream out(temp, std::ios::binary | std::ios::trunc);
            out.write(reinterpret_cast<const char*>(&h), sizeof h);
            out.write(payload.data(), static_cast<std::streamsize>(payload.size()));
            if (!out) {
                out.close();
                std::filesystem::remove(temp, ec);
                return;
            }
        }
        std::filesystem::rename(temp, cacheFile, ec);
        if (ec) std::filesystem::remove(temp, ec);
    } catch (...) {
        // Caching is an optimisation: a failure to write one costs nothing else.
    }
}

} // namespace GenApi::detail
