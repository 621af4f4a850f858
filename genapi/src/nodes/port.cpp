// Port: where register traffic leaves the node map, through the IPort that
// the application connects.
#include <mutex>

#include "loader/loader.h"
#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

bool PortNode::applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                             uint32_t recordIndex) {
    switch (prop) {
    case Prop::SwapEndianess: swapEndianess_ = loader.toBool(*this, prop, value); return true;
    case Prop::ChunkID:
    case Prop::CacheChunkData: return true;
    default: return Node::applyProperty(loader, prop, value, record, recordIndex);
    }
}

EAccessMode PortNode::baseAccess() { return port_ ? port_->GetAccessMode() : NA; }

void PortNode::Read(void* buffer, int64_t address, int64_t length) {
    std::lock_guard guard(map_->mutex());
    if (!port_)
        throw ACCESS_EXCEPTION("Port '%.*s' is not connected", static_cast<int>(name().size()), name().data());
    port_->Read(buffer, address, length);
    if (swapEndianess_) {
        // The transport delivers quadlets in the other byte order.
        auto* b = static_cast<uint8_t*>(buffer);
        for (int64_t i = 0; i + 3 < length; i += 4) {
            std::swap(b[i], b[i + 3]);
            std::swap(b[i + 1], b[i + 2]);
        }
    }
}

void PortNode::Write(const void* buffer, int64_t address, int64_t length) {
    std::lock_guard guard(map_->mutex());
    if (!port_)
        throw ACCESS_EXCEPTION("Port '%.*s' is not connected", static_cast<int>(name().size()), name().data());
    if (!swapEndianess_) return port_->Write(buffer, address, length);
    std::vector<uint8_t> copy(static_cast<const uint8_t*>(buffer), static_cast<const uint8_t*>(buffer) + length);
    for (int64_t i = 0; i + 3 < length; i += 4) {
        std::swap(copy[static_cast<size_t>(i)], copy[static_cast<size_t>(i + 3)]);
        std::swap(copy[static_cast<size_t>(i + 1)], copy[static_cast<size_t>(i + 2)]);
    }
    port_->Write(copy.data(), address, length);
}

} // namespace GenApi::detail
