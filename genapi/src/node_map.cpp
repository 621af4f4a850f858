#include "node_map.h"

#include <algorithm>

#include "nodes/node_types.h"

namespace GenApi::detail {

NodeMap::NodeMap(std::string deviceName) : deviceName_(std::move(deviceName)) {}
NodeMap::~NodeMap() = default;

Node* NodeMap::find(std::string_view name) const {
    auto it = std::lower_bound(byName_.begin(), byName_.end(), name,
                               [](const auto& entry, std::string_view n) { return entry.first < n; });
    return it != byName_.end() && it->first == name ? it->second : nullptr;
}

std::string_view NodeMap::recordName(const PropertyRecord& r) const {
    if (r.name < kKnownPropertyCount) return propertyName(static_cast<Prop>(r.name));
    size_t extra = r.name - kKnownPropertyCount;
    return extra < extraPropertyNames_.size() ? std::string_view(extraPropertyNames_[extra]) : std::string_view();
}

void NodeMap::GetNodes(NodeList_t& nodes) const {
    nodes.clear();
    nodes.reserve(nodes_.size());
    for (const auto& n : nodes_) nodes.push_back(n.get());
}

INode* NodeMap::GetNode(const gcstring& name) const { return find(std::string_view(name)); }

void NodeMap::InvalidateNodes() const {
    std::lock_guard guard(mutex_);
    for (const auto& n : nodes_) n->dropCache();
}

bool NodeMap::Connect(IPort* port, const gcstring& portName) const {
    std::lock_guard guard(mutex_);
    auto* p = dynamic_cast<PortNode*>(find(std::string_view(portName)));
    if (!p) return false;
    p->connect(port);
    // What was cached came from the previous port.
    for (const auto& n : nodes_) n->dropCache();
    return true;
}

bool NodeMap::Connect(IPort* port) const { return Connect(port, "Device"); }

void NodeMap::Poll(int64_t) {}

void NodeMap::registerWritten(const Node* writer, int64_t address, int64_t length, const void* port) {
    for (Node* r : registers_) {
        if (r == writer) continue;
        RegisterCore* core = r->registerCore();
        if (!core || !core->cacheValid()) continue;
        core->dropIfOverlaps(address, length, port);
        if (!core->cacheValid()) valueChanged(r);
    }
}

void NodeMap::valueChanged(Node* changed) {
    // Breadth-first over everything that depends on the changed node; the
    // generation mark visits each node once per change.
    if (visitMark_.size() != nodes_.size()) visitMark_.assign(nodes_.size(), 0);
    if (++visitGeneration_ == 0) {
        visitMark_.assign(nodes_.size(), 0);
        visitGeneration_ = 1;
    }
    uint32_t generation = visitGeneration_;
    std::vector<Node*> queue;
    queue.swap(walk_);
    queue.clear();
    queue.push_back(changed);
    visitMark_[changed->index()] = generation;
    for (size_t i = 0; i < queue.size(); ++i) {
        for (Node* d : queue[i]->dependents()) {
            if (visitMark_[d->index()] == generation) continue;
            visitMark_[d->index()] = generation;
            d->dropCache();
            queue.push_back(d);
        }
    }
    queue.swap(walk_);
}

} // namespace GenApi::detail
