// A vendor description over a zero-filled memory port, as `quillon --xml`
// shows it: what the browser benchmarks measure on.
#pragma once

#include <string>

#include "GenApi/GenApi.h"
#include "GenApi/MemoryPort.h"

namespace quillon_bench {

struct LoadedDescription {
    GenApi::CMemoryPort port; // outlives the node map that points at it
    GenApi::CNodeMapRef map;
    explicit LoadedDescription(const std::string& file) {
        map._LoadXMLFromFile(file.c_str());
        map._Connect(&port);
    }
};

} // namespace quillon_bench
