#include "node_map.h"

#include <algorithm>

#include "GenApi/Callback.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

NodeMap::NodeMap(std::string deviceName) : deviceName_(std::move(deviceName)) {
    lock_.SetReleaseHook([this] { fireInsideLock(); }, [this] { fireOutsideLock(); });
}

NodeMap::~NodeMap() { lock_.SetReleaseHook(nullptr, nullptr); }

namespace {
// Outside-lock callbacks collected by this thread while it held the lock.
thread_local std::vector<std::shared_ptr<CNodeCallback>> outsideLockDue;
} // namespace

void NodeMap::fireInsideLock() {
    // A callback may write nodes and so schedule more callbacks; a few rounds
    // settle that, and a description that never settles cannot hang us.
    for (int round = 0; round < 16 && !pending_.empty(); ++round) {
        std::vector<Node*> due;
        due.swap(pending_);
        for (Node* n : due) n->callbackPending_ = false;
        for (Node* n : due) {
            for (const auto& cb : n->callbacks()) {
                if (cb->GetCallbackType() == cbPostOutsideLock) {
                    outsideLockDue.push_back(cb);
                    continue;
                }
                try {
                    (*cb)(cbPostInsideLock);
                } catch (...) {
                    // A client's failure must not break the node map's state.
                }
            }
        }
    }
    for (Node* n : pending_) n->callbackPending_ = false;
    pending_.clear();
}

void NodeMap::fireOutsideLock() {
    std::vector<std::shared_ptr<CNodeCallback>> due;
    due.swap(outsideLockDue);
    for (const auto& cb : due) {
        try {
            (*cb)(cbPostOutsideLock);
        } catch (...) {
        }
    }
}

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

std::span<Node* const> NodeMap::parents(uint32_t index) const {
    std::call_once(parentsIndexed_, [this] {
        // Nodes are visited in map order, so a node's parents arrive in that
        // order and a repeated link shows as the parent just added.
        const size_t count = nodes_.size();
        std::vector<uint32_t> last(count, UINT32_MAX);
        parentBegin_.assign(count + 1, 0);
        for (const auto& n : nodes_)
            for (const Link& l : n->links())
                if (last[l.node->index()] != n->index()) {
                    last[l.node->index()] = n->index();
                    ++parentBegin_[l.node->index() + 1];
                }
        for (size_t i = 0; i < count; ++i) parentBegin_[i + 1] += parentBegin_[i];
        parentPool_.resize(parentBegin_[count]);
        std::vector<uint32_t> next(parentBegin_.begin(), parentBegin_.end() - 1);
        last.assign(count, UINT32_MAX);
        for (const auto& n : nodes_)
            for (const Link& l : n->links())
                if (last[l.node->index()] != n->index()) {
                    last[l.node->index()] = n->index();
                    parentPool_[next[l.node->index()]++] = n.get();
                }
    });
    return {parentPool_.data() + parentBegin_[index], parentPool_.data() + parentBegin_[index + 1]};
}

std::string NodeMap::descriptionAttribute(std::string_view name) const {
    for (size_t i = 0; i + 1 < descriptionAttributes_.size(); i += 2)
        if (descriptionAttributes_[i] == name) return descriptionAttributes_[i + 1];
    return {};
}

Version_t NodeMap::descriptionVersion(const std::string& prefix) const {
    auto part = [&](const char* name) {
        const std::string text = descriptionAttribute(prefix + name);
        unsigned long value = 0;
        for (char c : text) {
            if (c < '0' || c > '9' || value > 0xFFFF) return uint16_t{0};
            value = value * 10 + static_cast<unsigned long>(c - '0');
        }
        return value > 0xFFFF ? uint16_t{0} : static_cast<uint16_t>(value);
    };
    return {part("MajorVersion"), part("MinorVersion"), part("SubMinorVersion")};
}

void NodeMap::GetNodes(NodeList_t& nodes) const {
    nodes.clear();
    nodes.reserve(nodes_.size());
    for (const auto& n : nodes_) nodes.push_back(n.get());
}

INode* NodeMap::GetNode(const gcstring& name) const { return find(std::string_view(name)); }

void NodeMap::InvalidateNodes() const {
    std::lock_guard guard(lock_);
    // Only register-backed nodes keep values.
    for (Node* r : registers_) r->dropCache();
    const_cast<NodeMap*>(this)->forgetCachedRegisters();
    for (const auto& n : nodes_)
        if (n->hasCallbacks() && !n->callbackPending_) {
            n->callbackPending_ = true;
            const_cast<NodeMap*>(this)->pending_.push_back(n.get());
        }
}

bool NodeMap::Connect(IPort* port, const gcstring& portName) const {
    std::lock_guard guard(lock_);
    auto* p = dynamic_cast<PortNode*>(find(std::string_view(portName)));
    if (!p) return false;
    p->connect(port);
    // What was cached came from the previous port (only registers keep values).
    for (Node* r : registers_) r->dropCache();
    const_cast<NodeMap*>(this)->forgetCachedRegisters();
    return true;
}

bool NodeMap::Connect(IPort* port) const { return Connect(port, "Device"); }

void NodeMap::Poll(int64_t elapsedTime) {
    std::lock_guard guard(lock_);
    if (!polledKnown_) {
        for (const auto& n : nodes_)
            if (n->GetPollingTime() > 0) polled_.emplace_back(n.get(), n->GetPollingTime());
        polledKnown_ = true;
    }
    for (auto& [node, left] : polled_) {
        left -= elapsedTime;
        if (left > 0) continue;
        // Due: the next period counts from when this one ended, so cadence
        // does not drift with the caller's tick; a long gap makes it due once.
        left += node->GetPollingTime();
        if (left <= 0) left = node->GetPollingTime();
        node->dropCache();
        valueChanged(node);
    }
}

namespace {
constexpr unsigned kBlockBits = 12;
constexpr uint64_t kLongRegister = 64 * 1024;
} // namespace

void NodeMap::registerCached(Node* reg, int64_t address, int64_t length) {
    RegisterCacheNote& note = reg->registerCore()->indexNote();
    if (note.generation == cacheGeneration_ && note.address == address && note.length == length) return;
    note = {cacheGeneration_, address, length};
    indexCached(reg, static_cast<uint64_t>(address), static_cast<uint64_t>(length));
    // Registers that move between addresses (selectors) leave stale entries:
    // past a few per register the index is made anew from the caches held.
    if (cachedEntries_ > 4 * registers_.size() + 1024) {
        forgetCachedRegisters();
        for (Node* r : registers_) {
            RegisterCore* core = r->registerCore();
            if (!core || !core->cacheValid()) continue;
            core->indexNote() = {cacheGeneration_, core->cachedAddress(), core->cachedLength()};
            indexCached(r, static_cast<uint64_t>(core->cachedAddress()), static_cast<uint64_t>(core->cachedLength()));
        }
    }
}

void NodeMap::indexCached(Node* reg, uint64_t a0, uint64_t n) {
    if (n == 0) return;
    ++cachedEntries_;
    if (n > kLongRegister || a0 + n < a0) {
        cachedLong_.push_back(reg);
        return;
    }
    for (uint64_t b = a0 >> kBlockBits; b <= (a0 + n - 1) >> kBlockBits; ++b) cachedByBlock_[b].push_back(reg);
}

void NodeMap::forgetCachedRegisters() {
    cachedByBlock_.clear();
    cachedLong_.clear();
    cachedEntries_ = 0;
    ++cacheGeneration_; // every register's note is out of date now
}

void NodeMap::registerWritten(const Node* writer, int64_t address, int64_t length, const void* port) {
    auto check = [&](Node* r) {
        if (r == writer) return;
        RegisterCore* core = r->registerCore();
        if (!core || !core->cacheValid()) return;
        core->dropIfOverlaps(address, length, port);
        if (!core->cacheValid()) valueChanged(r);
    };
    const auto a0 = static_cast<uint64_t>(address), n = static_cast<uint64_t>(length);
    if (n == 0 || cachedEntries_ == 0) return;
    const uint64_t first = a0 >> kBlockBits, last = (a0 + n - 1) >> kBlockBits;
    if (a0 + n < a0 || last - first >= 1024) {
        // A write of megabytes: every register rather than every block.
        for (Node* r : registers_) check(r);
        return;
    }
    for (Node* r : cachedLong_) check(r);
    for (uint64_t b = first; b <= last; ++b)
        if (auto it = cachedByBlock_.find(b); it != cachedByBlock_.end())
            for (Node* r : it->second) check(r);
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
        Node* n = queue[i];
        if (n->hasCallbacks() && !n->callbackPending_) {
            n->callbackPending_ = true;
            pending_.push_back(n);
        }
        for (Node* d : n->dependents()) {
            if (visitMark_[d->index()] == generation) continue;
            visitMark_[d->index()] = generation;
            d->dropCache();
            queue.push_back(d);
        }
    }
    queue.swap(walk_);
}

} // namespace GenApi::detail
