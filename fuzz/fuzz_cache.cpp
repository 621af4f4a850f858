// Fuzz target: the node-map cache reader. The input is what follows the key
// in a cache file's payload; the reader either refuses it or builds a node
// map that is read whole.
#include <fstream>

#include "cache_file.h"
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string path = "/tmp/quillon-fuzz-cache-" + std::to_string(::getpid());
    {
        std::string bytes = quillon::fuzz::CacheFile({reinterpret_cast<const char*>(data), size});
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    try {
        auto map = GenApi::detail::NodeMapCache::load(path, quillon::fuzz::FuzzKey(), "Device");
        if (map) quillon::fuzz::ReadEveryNode(*map);
    } catch (const GenICam::GenericException&) {
    }
    return 0;
}
