// Fuzz target: the node-map cache reader. The input is what follows the key
// in a cache file's payload; the reader either refuses it or builds a node
// map that is read whole.
#include "cache_file.h"
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string key = quillon::fuzz::KeyBytes();
    std::string payload = key;
    payload.append(reinterpret_cast<const char*>(data), size);
    try {
        auto map = GenApi::detail::NodeMapCache::read(payload, quillon::fuzz::FuzzKey(), "Device");
        if (map) quillon::fuzz::ReadEveryNode(*map);
    } catch (const GenICam::GenericException&) {
    }
    return 0;
}
