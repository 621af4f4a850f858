// The base of every node: the INode services shared by all node types, the
// engine-internal value protocol that nodes use to read each other, and the
// property records kept for GetProperty.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "GenApi/Callback.h"
#include "GenApi/Interfaces.h"
#include "GenICam/exceptions.h"
#include "properties.h"

namespace GenApi::detail {

class NodeMap;
class Node;
class Loader;
class Archive;

// Trivial types (no member initialisers), so that arrays of records load as
// one block; members of these types are initialised where they are declared.
struct TextRef {
    uint32_t off;
    uint32_t len;
};

struct PropertyRecord {
    uint16_t name;  // a Prop when below kKnownPropertyCount, else an extra name of the map
    uint8_t level;  // 0: the node's own property; 1: nested in the preceding level-0 one
    uint8_t unused; // named, so that it is zero in cache files rather than whatever padding holds
    TextRef value;
    TextRef attributes; // "Name=Value" pairs separated by tabs
};

// A reference made by a property: which property, to which node.
struct Link {
    Prop role;
    Node* node;
};

// A number given either as a constant element or as a reference to a node
// (Value/pValue, Min/pMin, ...).
template <class T>
struct NumberSource {
    Node* node = nullptr;
    T constant{};
    bool present = false;
    bool isRef() const { return node != nullptr; }
};

// One level of nested evaluation for as long as it lives. Nodes reading nodes
// and formula expressions reading expressions count against the same
// per-thread limit, so that no description can exhaust the stack.
class EvaluationLevel {
public:
    explicit EvaluationLevel(std::string_view what);
    ~EvaluationLevel();
    EvaluationLevel(const EvaluationLevel&) = delete;
    EvaluationLevel& operator=(const EvaluationLevel&) = delete;
};

// Nodes live in their node map's memory block: destroying one runs its
// destructor only, the block goes with the map.
struct NodeDestroyer {
    void operator()(Node* node) const;
};
using NodePtr = std::unique_ptr<Node, NodeDestroyer>;

class Node : public virtual INode, public virtual ISelector {
public:
    Node(NodeMap& map, uint32_t index);
    ~Node() override;
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    // ---- INode / IBase
    EAccessMode GetAccessMode() const override;
    gcstring GetName(bool fullQualified = false) const override;
    ENameSpace GetNameSpace() const override { return static_cast<ENameSpace>(nameSpace_); }
    EVisibility GetVisibility() const override;
    void InvalidateNode() override;
    bool IsCachable() const override;
    ECachingMode GetCachingMode() const override;
    int64_t GetPollingTime() const override { return pollingTime_; }
    gcstring GetToolTip() const override;
    gcstring GetDescription() const override;
    gcstring GetDisplayName() const override;
    gcstring GetDeviceName() const override;
    gcstring GetDocuURL() const override;
    bool IsDeprecated() const override { return deprecated_; }
    bool IsStreamable() const override { return streamable_; }
    int64_t GetEventID() const override { return extras_ ? extras_->eventId : 0; }
    void GetChildren(NodeList_t& children, ELinkType linkType = ctReadingChildren) const override;
    void GetParents(NodeList_t& parents) const override;
    INodeMap* GetNodeMap() const override;
    bool IsFeature() const override { return isFeature_; }
    INode* GetAlias() const override { return extras_ ? extras_->alias : nullptr; }
    INode* GetCastAlias() const override { return extras_ ? extras_->castAlias : nullptr; }
    void GetPropertyNames(gcstring_vector& names) const override;
    bool GetProperty(const gcstring& name, gcstring& valueStr, gcstring& attributeStr) const override;
    void ImposeAccessMode(EAccessMode mode) override;
    void ImposeVisibility(EVisibility visibility) override;
    CallbackHandleType RegisterCallback(CNodeCallback* callback) override;
    bool DeregisterCallback(CallbackHandleType handle) override;

    // ---- ISelector
    bool IsSelector() const override;
    void GetSelectedFeatures(FeatureList_t& features) const override;
    void GetSelectingFeatures(FeatureList_t& features) const override;

    // ---- engine-internal protocol; callers hold the node map's lock
    virtual const char* typeName() const = 0;
    // Takes one of the node's properties once every node of the map exists;
    // false when the node's type has no use for it.
    virtual bool applyProperty(Loader& loader, Prop prop, std::string_view value,
                               const PropertyRecord& record, uint32_t recordIndex);
    // Checks and completes the configuration after all properties were applied.
    virtual void finishConfigure(Loader& /*loader*/) {}
    // Writes or reads the configured state (the node-map cache).
    virtual void serialize(Archive& archive);
    // The access mode with every rule applied.
    EAccessMode access();
    virtual int64_t getInt(bool verify, bool ignoreCache);
    virtual void setInt(int64_t value, bool verify);
    virtual double getFloat(bool verify, bool ignoreCache);
    virtual void setFloat(double value, bool verify);
    virtual int64_t intMin();
    virtual int64_t intMax();
    virtual int64_t intInc();
    virtual double floatMin();
    virtual double floatMax();
    virtual double floatInc();
    virtual ERepresentation representation();
    virtual std::string unit();
    // Drops cached values of this node.
    virtual void dropCache() {}
    // The register part of register-backed nodes.
    virtual class RegisterCore* registerCore() { return nullptr; }
    // True when a pIsImplemented/pIsAvailable/pIsLocked style reference holds.
    bool truth();

    uint32_t index() const { return index_; }
    std::string_view name() const;
    NodeMap& map() const { return *map_; }
    // Every reference this node makes, in description order.
    std::span<const Link> links() const;

    // Used by the loader.
    void setRecords(uint32_t first, uint32_t count) {
        firstRecord_ = first;
        recordCount_ = count;
    }
    void setName(TextRef name, ENameSpace ns) {
        name_ = name;
        nameSpace_ = static_cast<uint8_t>(ns);
    }
    void markFeature() { isFeature_ = true; }
    void addSelecting(Node* n) { extras().selecting.push_back(n); }
    // The nodes whose value may change when this one's does.
    std::span<Node* const> dependents() const;
    bool hasCallbacks() const { return extras_ && !extras_->callbacks.empty(); }
    const std::vector<std::shared_ptr<CNodeCallback>>& callbacks() const { return extras_->callbacks; }
    bool callbackPending_ = false;

protected:
    // The access mode the node's type gives before pIsImplemented,
    // pIsAvailable, pIsLocked and ImposedAccessMode are applied.
    virtual EAccessMode baseAccess() { return RO; }

    void requireReadable();
    void requireWritable();
    [[noreturn]] void notNumeric(const char* what) const;
    // A node may not be entered again while it is being evaluated: that is a
    // cyclic reference in the description.
    class Busy {
    public:
        explicit Busy(Node& node);
        ~Busy();
        Busy(const Busy&) = delete;
        Busy& operator=(const Busy&) = delete;

    private:
        Node& node_;
    };

    // What few nodes have lives apart, to keep every node small.
    struct Extras {
        Node* error = nullptr;
        Node* alias = nullptr;
        Node* castAlias = nullptr;
        std::vector<Node*> selecting; // nodes whose pSelected names this one
        // Shared so that a callback due outside the lock outlives its deregistration.
        std::vector<std::shared_ptr<CNodeCallback>> callbacks;
        TextRef docuUrl{};
        int64_t eventId = 0;
    };
    Extras& extras();

    NodeMap* map_;
    TextRef name_{};
    TextRef displayName_{}, toolTip_{}, description_{};
    uint32_t index_;
    uint32_t firstRecord_ = 0;
    uint32_t recordCount_ = 0;
    int64_t pollingTime_ = -1;
    Node* isImplemented_ = nullptr;
    Node* isAvailable_ = nullptr;
    Node* isLocked_ = nullptr;
    std::unique_ptr<Extras> extras_;
    // Ranges in the node map's link and dependent pools: one allocation for
    // all nodes instead of two per node.
    uint32_t linkBegin_ = 0, linkCount_ = 0;
    uint32_t dependentBegin_ = 0, dependentCount_ = 0;
    uint8_t nameSpace_ = Custom;
    uint8_t visibility_ = Beginner;
    uint8_t imposedAccess_ = RW;
    uint8_t cachable_ = WriteThrough;
    bool deprecated_ = false;
    bool streamable_ = false;
    bool isFeature_ = false;
    bool busy_ = false;
    bool accessBusy_ = false;

    friend class Loader;
    friend class NodeMap;
    friend class NodeMapCache;
};

// Enumeration values from their XML texts; the _Undefined value when unknown.
ERepresentation parseRepresentation(std::string_view text);
EDisplayNotation parseDisplayNotation(std::string_view text);
ESlope parseSlope(std::string_view text);
bool parseEndianess(std::string_view text, EEndianess& out);
bool parseSign(std::string_view text, bool& isSigned);

// The text form of a number for ToString.
std::string formatInt(int64_t v, ERepresentation r);
std::string formatFloat(double v);
// Parsing of element texts; false when the text is not a number.
bool parseInt(std::string_view text, int64_t& out);
bool parseFloat(std::string_view text, double& out);

} // namespace GenApi::detail
