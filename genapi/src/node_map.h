// The node map: owns the nodes of one description, the text arena their
// strings live in, the lock every access takes, and the port connections.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "GenApi/Interfaces.h"
#include "node.h"

namespace GenApi::detail {

class PortNode;

class NodeMap final : public INodeMap {
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

    // ---- engine-internal
    std::recursive_mutex& mutex() const { return mutex_; }
    std::string_view text(TextRef r) const { return {arena_.data() + r.off, r.len}; }
    Node* find(std::string_view name) const;
    const std::vector<std::unique_ptr<Node>>& nodes() const { return nodes_; }
    const PropertyRecord* records(uint32_t first) const { return records_.data() + first; }
    std::string_view recordName(const PropertyRecord& r) const;
    // After a register write: drops other registers' cached bytes that the
    // written range overlaps (bit fields of one register, aliases).
    void registerWritten(const Node* writer, int64_t address, int64_t length, const void* port);
    void addRegister(Node* reg) { registers_.push_back(reg); }
    // After `changed` took a new value: drops the cached values of every node
    // whose value may depend on it.
    void valueChanged(Node* changed);

    const std::string& modelName() const { return modelName_; }
    const std::string& vendorName() const { return vendorName_; }

private:
    friend class Loader;

    std::string deviceName_;
    std::string modelName_;
    std::string vendorName_;
    std::string arena_;
    std::vector<std::string> extraPropertyNames_;
    std::vector<PropertyRecord> records_;
    std::vector<std::unique_ptr<Node>> nodes_;
    // Sorted by name: half the memory of a hash map, and lookups stay fast.
    std::vector<std::pair<std::string_view, Node*>> byName_;
    std::vector<Node*> registers_;
    std::vector<uint32_t> visitMark_;
    uint32_t visitGeneration_ = 0;
    std::vector<Node*> walk_;
    mutable std::recursive_mutex mutex_;
};

} // namespace GenApi::detail
