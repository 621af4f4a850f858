// The node map: owns the nodes of one description, the text arena their
// strings live in, the lock every access takes, and the port connections.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "GenApi/Interfaces.h"
#include "node.h"

namespace GenApi::detail {

class PortNode;

// What the node map's index of cached registers holds of one register.
struct RegisterCacheNote {
    uint32_t generation = 0;
    int64_t address = 0, length = 0;
};

class NodeMap final : public INodeMap, public IDeviceInfo {
public:
    explicit NodeMap(std::string deviceName);
    ~NodeMap() override;

    // ---- INodeMap
    void GetNodes(NodeList_t& nodes) const override;
    INode* GetNode(const gcstring& name) const override;
    void InvalidateNodes() const override;
    bool Connect(IPort* port, const gcstring& portName) const override;
    bool Connect(IPort* port) const override;
    gcstring GetDeviceName() override { return deviceName_; }
    void Poll(int64_t elapsedTime) override;
    uint64_t GetNumNodes() const override { return nodes_.size(); }

    // ---- IDeviceInfo
    gcstring GetModelName() override { return modelName_; }
    gcstring GetVendorName() override { return vendorName_; }
    gcstring GetToolTip() override { return descriptionAttribute("ToolTip"); }
    gcstring GetStandardNameSpace() override { return descriptionAttribute("StandardNameSpace"); }
    void GetSchemaVersion(Version_t& version) override { version = descriptionVersion("Schema"); }
    void GetDeviceVersion(Version_t& version) override { version = descriptionVersion(""); }
    gcstring GetProductGuid() override { return descriptionAttribute("ProductGuid"); }
    gcstring GetVersionGuid() override { return descriptionAttribute("VersionGuid"); }

    // ---- engine-internal
    CLock& mutex() const { return lock_; }
    CLock& GetLock() const override { return lock_; }
    std::string_view text(TextRef r) const { return {arena_.data() + r.off, r.len}; }
    Node* find(std::string_view name) const;
    const std::vector<NodePtr>& nodes() const { return nodes_; }
    const PropertyRecord* records(uint32_t first) const { return records_.data() + first; }
    std::string_view recordName(const PropertyRecord& r) const;
    // Memory for a node of the map; freed with the map.
    void* allocateNode(size_t size, size_t align) { return nodeMemory_.allocate(size, align); }
    // After a register write: drops other registers' cached bytes that the
    // written range overlaps (bit fields of one register, aliases).
    void registerWritten(const Node* writer, int64_t address, int64_t length, const void* port);
    void addRegister(Node* reg) { registers_.push_back(reg); }
    // A register now holds the bytes of [address, address + length): indexed
    // so that a write looks only at the registers it may share bytes with.
    void registerCached(Node* reg, int64_t address, int64_t length);
    // After `changed` took a new value (or was invalidated): drops the cached
    // values of every node whose value may depend on it and schedules their
    // callbacks.
    void valueChanged(Node* changed);

    // The nodes that link to the node at `index`, each once, in map order.
    std::span<Node* const> parents(uint32_t index) const;

    const std::string& modelName() const { return modelName_; }
    const std::string& vendorName() const { return vendorName_; }

private:
    friend class Loader;
    friend class NodeMapCache;
    friend class Node;

    std::string deviceName_;
    std::string modelName_;
    std::string vendorName_;
    // The other attributes of RegisterDescription: name, value, name, value ...
    std::vector<std::string> descriptionAttributes_;
    std::string descriptionAttribute(std::string_view name) const;
    Version_t descriptionVersion(const std::string& prefix) const;
    std::string arena_;
    std::vector<std::string> extraPropertyNames_;
    std::vector<PropertyRecord> records_;
    // Nodes are carved from 64 KiB chunks: fewer allocations, neighbours in
    // memory, and at most one chunk's tail unused. Declared before the nodes
    // so that it outlives them.
    struct NodeArena {
        static constexpr size_t kChunk = 64 * 1024;
        std::vector<std::unique_ptr<std::byte[]>> chunks;
        size_t used = kChunk;
        void* allocate(size_t size, size_t align) {
            used = (used + align - 1) & ~(align - 1);
            if (used + size > kChunk) {
                chunks.push_back(std::make_unique_for_overwrite<std::byte[]>(std::max(kChunk, size)));
                used = 0;
            }
            void* p = chunks.back().get() + used;
            used += size;
            return p;
        }
    } nodeMemory_;
    std::vector<NodePtr> nodes_;
    // Sorted by name: half the memory of a hash map, and lookups stay fast.
    std::vector<std::pair<std::string_view, Node*>> byName_;
    std::vector<Node*> registers_; // every register-backed node: the only ones that keep values
    // Registers that cached bytes, by 4 KiB block of their address (registers
    // longer than 64 KiB in a list of their own). An entry may be stale (its
    // register dropped or moved its bytes since) and is checked where met;
    // dropping every cache empties the index and starts a new generation.
    std::unordered_map<uint64_t, std::vector<Node*>> cachedByBlock_;
    std::vector<Node*> cachedLong_;
    size_t cachedEntries_ = 0; // grows with stale entries: past a bound the index is rebuilt
    uint32_t cacheGeneration_ = 1;
    void forgetCachedRegisters();
    void indexCached(Node* reg, uint64_t address, uint64_t length);
    std::vector<Link> linkPool_;
    std::vector<Node*> dependentPool_;
    // The reverse of every link, indexed on the first GetParents: the parents
    // of node i are parentPool_[parentBegin_[i], parentBegin_[i + 1]).
    mutable std::once_flag parentsIndexed_;
    mutable std::vector<uint32_t> parentBegin_;
    mutable std::vector<Node*> parentPool_;
    std::vector<uint32_t> visitMark_;
    uint32_t visitGeneration_ = 0;
    std::vector<Node*> walk_;
    mutable CLock lock_;

    // Nodes whose callbacks are due when the outermost lock holder releases.
    std::vector<Node*> pending_;
    void fireInsideLock();
    void fireOutsideLock();
    // Polled nodes and the milliseconds left until each is due.
    std::vector<std::pair<Node*, int64_t>> polled_;
    bool polledKnown_ = false;
};

} // namespace GenApi::detail
