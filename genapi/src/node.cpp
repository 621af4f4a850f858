#include "node.h"

#include <algorithm>
#include <charconv>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "loader/loader.h"
#include "node_map.h"

namespace GenApi::detail {

namespace {
// Deep but acyclic reference chains still must not exhaust the stack.
constexpr int kMaxEvaluationDepth = 128;
thread_local int evaluationDepth = 0;

EAccessMode parseAccessMode(std::string_view t) {
    if (t == "RW") return RW;
    if (t == "RO" || t == "R") return RO;
    if (t == "WO" || t == "W") return WO;
    if (t == "NA") return NA;
    if (t == "NI") return NI;
    return _UndefinedAccesMode;
}

EVisibility parseVisibility(std::string_view t) {
    if (t == "Beginner") return Beginner;
    if (t == "Expert") return Expert;
    if (t == "Guru") return Guru;
    if (t == "Invisible") return Invisible;
    return _UndefinedVisibility;
}

// What an imposed mode leaves of a computed one.
EAccessMode restrict(EAccessMode mode, EAccessMode imposed) {
    if (mode == NI || mode == NA) return mode;
    switch (imposed) {
    case RW: return mode;
    case RO: return mode == WO ? NA : RO;
    case WO: return mode == RO ? NA : WO;
    case NA: return NA;
    case NI: return NI;
    default: return mode;
    }
}
} // namespace

Node::Node(NodeMap& map, uint32_t index) : map_(&map), index_(index) {}

void NodeDestroyer::operator()(Node* node) const { node->~Node(); }
Node::~Node() = default;

std::string_view Node::name() const { return map_->text(name_); }

gcstring Node::GetName(bool fullQualified) const {
    if (fullQualified) return gcstring(std::string(map_->GetDeviceName()) + "::" + std::string(name()));
    return gcstring(name());
}

EVisibility Node::GetVisibility() const { return static_cast<EVisibility>(visibility_); }

gcstring Node::GetToolTip() const { return gcstring(map_->text(toolTip_)); }

gcstring Node::GetDescription() const {
    // GenApi falls back to the tool tip when a node has no description.
    return gcstring(map_->text(description_.len ? description_ : toolTip_));
}

gcstring Node::GetDisplayName() const {
    return gcstring(map_->text(displayName_.len ? displayName_ : name_));
}

gcstring Node::GetDeviceName() const { return map_->GetDeviceName(); }
gcstring Node::GetDocuURL() const { return extras_ ? gcstring(map_->text(extras_->docuUrl)) : gcstring(); }

Node::Extras& Node::extras() {
    if (!extras_) extras_ = std::make_unique<Extras>();
    return *extras_;
}

bool Node::IsSelector() const {
    for (const Link& l : links())
        if (l.role == Prop::pSelected) return true;
    return false;
}
INodeMap* Node::GetNodeMap() const { return map_; }

bool Node::IsCachable() const { return cachable_ != NoCache; }
ECachingMode Node::GetCachingMode() const { return static_cast<ECachingMode>(cachable_); }

void Node::InvalidateNode() {
    std::lock_guard guard(map_->mutex());
    // The next read must reach the device: drop what the node reads from
    // (down to the registers) ...
    std::vector<Node*> stack{this};
    std::vector<Node*> seen;
    while (!stack.empty()) {
        Node* n = stack.back();
        stack.pop_back();
        if (std::find(seen.begin(), seen.end(), n) != seen.end()) continue;
        seen.push_back(n);
        n->dropCache();
        for (const Link& l : n->links())
            if (l.role != Prop::pInvalidator && l.role != Prop::pSelected && l.role != Prop::pAlias &&
                l.role != Prop::pCastAlias)
                stack.push_back(l.node);
    }
    // ... and every value computed from it, however many nodes away.
    map_->valueChanged(this);
}

CallbackHandleType Node::RegisterCallback(CNodeCallback* callback) {
    if (!callback) throw INVALID_ARGUMENT_EXCEPTION("No callback given");
    std::lock_guard guard(map_->mutex());
    std::shared_ptr<CNodeCallback> owned(callback, [](CNodeCallback* c) { c->Destroy(); });
    extras().callbacks.push_back(owned);
    return reinterpret_cast<CallbackHandleType>(callback);
}

bool Node::DeregisterCallback(CallbackHandleType handle) {
    std::lock_guard guard(map_->mutex());
    if (!extras_) return false;
    auto& list = extras_->callbacks;
    for (auto it = list.begin(); it != list.end(); ++it) {
        if (reinterpret_cast<CallbackHandleType>(it->get()) != handle) continue;
        list.erase(it);
        return true;
    }
    return false;
}

std::span<const Link> Node::links() const {
    return {map_->linkPool_.data() + linkBegin_, linkCount_};
}

std::span<Node* const> Node::dependents() const {
    return {map_->dependentPool_.data() + dependentBegin_, dependentCount_};
}

void Node::GetChildren(NodeList_t& children, ELinkType linkType) const {
    children.clear();
    for (const Link& l : links()) {
        bool take = false;
        switch (linkType) {
        case ctReadingChildren:
            take = l.role != Prop::pInvalidator && l.role != Prop::pSelected && l.role != Prop::pAlias &&
                   l.role != Prop::pCastAlias;
            break;
        case ctWritingChildren:
            take = l.role == Prop::pValue || l.role == Prop::pValueCopy || l.role == Prop::pValueIndexed ||
                   l.role == Prop::pValueDefault || l.role == Prop::pPort;
            break;
        case ctInvalidatingChildren: take = l.role == Prop::pInvalidator; break;
        case ctDependingNodes:
        case ctValueChangingChildren: take = l.role != Prop::pSelected && l.role != Prop::pAlias; break;
        case ctTerminalNodes: take = l.role == Prop::pValue || l.role == Prop::pPort; break;
        case ctParentNodes: break;
        }
        if (take && std::find(children.begin(), children.end(), l.node) == children.end())
            children.push_back(l.node);
    }
    if (linkType == ctParentNodes) GetParents(children);
}

void Node::GetParents(NodeList_t& parents) const {
    std::span<Node* const> found = map_->parents(index_);
    parents.assign(found.begin(), found.end());
}

void Node::GetSelectedFeatures(FeatureList_t& features) const {
    features.clear();
    for (const Link& l : links())
        if (l.role == Prop::pSelected)
            if (auto* v = dynamic_cast<IValue*>(l.node)) features.push_back(v);
}

void Node::GetSelectingFeatures(FeatureList_t& features) const {
    features.clear();
    if (!extras_) return;
    for (Node* n : extras_->selecting)
        if (auto* v = dynamic_cast<IValue*>(n)) features.push_back(v);
}

void Node::GetPropertyNames(gcstring_vector& names) const {
    names.clear();
    const PropertyRecord* r = map_->records(firstRecord_);
    for (uint32_t i = 0; i < recordCount_; ++i) {
        if (r[i].level != 0) continue;
        gcstring n(map_->recordName(r[i]));
        if (std::find(names.begin(), names.end(), n) == names.end()) names.push_back(n);
    }
}

bool Node::GetProperty(const gcstring& name, gcstring& valueStr, gcstring& attributeStr) const {
    valueStr.clear();
    attributeStr.clear();
    bool found = false;
    const PropertyRecord* r = map_->records(firstRecord_);
    for (uint32_t i = 0; i < recordCount_; ++i) {
        if (r[i].level != 0 || map_->recordName(r[i]) != std::string_view(name)) continue;
        // Repeated properties (pFeature, pInvalidator ...) come back tab-separated.
        if (found) {
            valueStr += '\t';
            attributeStr += '\t';
        }
        valueStr += map_->text(r[i].value);
        attributeStr += map_->text(r[i].attributes);
        found = true;
    }
    return found;
}

void Node::ImposeAccessMode(EAccessMode mode) {
    std::lock_guard guard(map_->mutex());
    imposedAccess_ = static_cast<uint8_t>(mode);
}

void Node::ImposeVisibility(EVisibility visibility) {
    std::lock_guard guard(map_->mutex());
    visibility_ = static_cast<uint8_t>(visibility);
}

EAccessMode Node::GetAccessMode() const {
    std::lock_guard guard(map_->mutex());
    return const_cast<Node*>(this)->access();
}

EvaluationLevel::EvaluationLevel(std::string_view what) {
    if (evaluationDepth >= kMaxEvaluationDepth)
        throw LOGICAL_ERROR_EXCEPTION("'%.*s': evaluation nested deeper than %d levels",
                                      static_cast<int>(what.size()), what.data(), kMaxEvaluationDepth);
    ++evaluationDepth;
}

EvaluationLevel::~EvaluationLevel() { --evaluationDepth; }

Node::Busy::Busy(Node& node) : node_(node) {
    if (node.busy_)
        throw LOGICAL_ERROR_EXCEPTION("Node '%.*s' depends on itself (cyclic reference in the description)",
                                      static_cast<int>(node.name().size()), node.name().data());
    if (evaluationDepth >= kMaxEvaluationDepth)
        throw LOGICAL_ERROR_EXCEPTION("Node '%.*s': reference chain deeper than %d nodes",
                                      static_cast<int>(node.name().size()), node.name().data(),
                                      kMaxEvaluationDepth);
    node.busy_ = true;
    ++evaluationDepth;
}

Node::Busy::~Busy() {
    node_.busy_ = false;
    --evaluationDepth;
}

bool Node::truth() {
    // Predicates may be any integer-like node; a value other than zero holds.
    return getInt(false, false) != 0;
}

EAccessMode Node::access() {
    if (accessBusy_)
        throw LOGICAL_ERROR_EXCEPTION("Node '%.*s': its access mode depends on itself (cyclic reference)",
                                      static_cast<int>(name().size()), name().data());
    if (evaluationDepth >= kMaxEvaluationDepth)
        throw LOGICAL_ERROR_EXCEPTION("Node '%.*s': reference chain deeper than %d nodes",
                                      static_cast<int>(name().size()), name().data(), kMaxEvaluationDepth);
    struct Guard {
        Node& n;
        explicit Guard(Node& node) : n(node) {
            n.accessBusy_ = true;
            ++evaluationDepth;
        }
        ~Guard() {
            n.accessBusy_ = false;
            --evaluationDepth;
        }
    } guard(*this);

    if (isImplemented_ && !isImplemented_->truth()) return NI;
    if (isAvailable_ && !isAvailable_->truth()) return NA;
    EAccessMode mode = baseAccess();
    if (isLocked_ && (mode == RW || mode == WO) && isLocked_->truth()) mode = mode == RW ? RO : NA;
    return restrict(mode, static_cast<EAccessMode>(imposedAccess_));
}

void Node::requireReadable() {
    EAccessMode m = access();
    if (!GenApi::IsReadable(m))
        throw ACCESS_EXCEPTION("Node '%.*s' is not readable (access mode %s)", static_cast<int>(name().size()),
                               name().data(), AccessModeName(m));
}

void Node::requireWritable() {
    EAccessMode m = access();
    if (!GenApi::IsWritable(m))
        throw ACCESS_EXCEPTION("Node '%.*s' is not writable (access mode %s)", static_cast<int>(name().size()),
                               name().data(), AccessModeName(m));
}

void Node::notNumeric(const char* what) const {
    throw LOGICAL_ERROR_EXCEPTION("Node '%.*s' (%s) has no %s", static_cast<int>(name().size()), name().data(),
                                  typeName(), what);
}

int64_t Node::getInt(bool, bool) { notNumeric("integer value"); }
void Node::setInt(int64_t, bool) { notNumeric("writable integer value"); }
double Node::getFloat(bool verify, bool ignoreCache) { return static_cast<double>(getInt(verify, ignoreCache)); }
void Node::setFloat(double value, bool verify) {
    if (!std::isfinite(value) || value >= 9.2233720368547758e18 || value < -9.2233720368547758e18)
        throw OUT_OF_RANGE_EXCEPTION("Node '%.*s': %g does not fit an integer", static_cast<int>(name().size()),
                                     name().data(), value);
    setInt(static_cast<int64_t>(std::llround(value)), verify);
}
int64_t Node::intMin() { notNumeric("minimum"); }
int64_t Node::intMax() { notNumeric("maximum"); }
int64_t Node::intInc() { return 1; }
double Node::floatMin() { return static_cast<double>(intMin()); }
double Node::floatMax() { return static_cast<double>(intMax()); }
double Node::floatInc() { return static_cast<double>(intInc()); }
ERepresentation Node::representation() { return PureNumber; }
std::string Node::unit() { return {}; }

bool Node::applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                         uint32_t) {
    switch (prop) {
    case Prop::ToolTip:
    case Prop::Description:
    case Prop::DisplayName:
    case Prop::DocuURL: {
        // The record's text already lives in the arena: point at it.
        TextRef ref = record.value;
        if (prop == Prop::ToolTip) toolTip_ = ref;
        else if (prop == Prop::Description) description_ = ref;
        else if (prop == Prop::DisplayName) displayName_ = ref;
        else extras().docuUrl = ref;
        return true;
    }
    case Prop::Visibility: {
        EVisibility v = parseVisibility(value);
        if (v == _UndefinedVisibility) loader.fail(*this, "unknown Visibility '" + std::string(value) + "'");
        visibility_ = static_cast<uint8_t>(v);
        return true;
    }
    case Prop::IsDeprecated: deprecated_ = loader.toBool(*this, prop, value); return true;
    case Prop::Streamable: streamable_ = loader.toBool(*this, prop, value); return true;
    case Prop::EventID: {
        // Event identifiers are hexadecimal, usually without a prefix; the
        // whole text must be the number.
        std::string_view digits = value;
        if (digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X'))
            digits.remove_prefix(2);
        uint64_t id = 0;
        auto res = std::from_chars(digits.data(), digits.data() + digits.size(), id, 16);
        if (res.ec != std::errc() || res.ptr != digits.data() + digits.size())
            loader.fail(*this, "EventID '" + std::string(value) + "' is not hexadecimal");
        extras().eventId = static_cast<int64_t>(id);
        return true;
    }
    case Prop::PollingTime: pollingTime_ = loader.toInt(*this, prop, value); return true;
    case Prop::ImposedAccessMode: {
        EAccessMode m = parseAccessMode(value);
        if (m == _UndefinedAccesMode) loader.fail(*this, "unknown ImposedAccessMode '" + std::string(value) + "'");
        imposedAccess_ = static_cast<uint8_t>(m);
        return true;
    }
    case Prop::Cachable:
        if (value == "NoCache") cachable_ = NoCache;
        else if (value == "WriteThrough") cachable_ = WriteThrough;
        else if (value == "WriteAround") cachable_ = WriteAround;
        else loader.fail(*this, "unknown Cachable '" + std::string(value) + "'");
        return true;
    case Prop::pIsImplemented: isImplemented_ = loader.ref(*this, prop, value); return true;
    case Prop::pIsAvailable: isAvailable_ = loader.ref(*this, prop, value); return true;
    case Prop::pIsLocked: isLocked_ = loader.ref(*this, prop, value); return true;
    case Prop::pError: extras().error = loader.ref(*this, prop, value); return true;
    case Prop::pAlias: extras().alias = loader.ref(*this, prop, value); return true;
    case Prop::pCastAlias: extras().castAlias = loader.ref(*this, prop, value); return true;
    case Prop::pInvalidator: loader.ref(*this, prop, value); return true;
    case Prop::pBlockPolling: loader.ref(*this, prop, value); return true;
    case Prop::pSelected: loader.ref(*this, prop, value); return true;
    case Prop::Extension: return true;
    default: return false;
    }
}

// ---- number texts

bool parseInt(std::string_view t, int64_t& out) {
    while (!t.empty() && (t.front() == ' ' || t.front() == '\t' || t.front() == '\n' || t.front() == '\r'))
        t.remove_prefix(1);
    while (!t.empty() && (t.back() == ' ' || t.back() == '\t' || t.back() == '\n' || t.back() == '\r'))
        t.remove_suffix(1);
    bool negative = false;
    if (!t.empty() && (t.front() == '-' || t.front() == '+')) {
        negative = t.front() == '-';
        t.remove_prefix(1);
    }
    int base = 10;
    if (t.size() > 2 && t[0] == '0' && (t[1] == 'x' || t[1] == 'X')) {
        base = 16;
        t.remove_prefix(2);
    }
    if (t.empty()) return false;
    uint64_t u = 0;
    auto res = std::from_chars(t.data(), t.data() + t.size(), u, base);
    if (res.ec != std::errc() || res.ptr != t.data() + t.size()) return false;
    // Hexadecimal texts are bit patterns: 0xFFFFFFFFFFFFFFFF is -1.
    if (base == 10 && !negative && u > static_cast<uint64_t>(INT64_MAX)) return false;
    if (base == 10 && negative && u > static_cast<uint64_t>(INT64_MAX) + 1) return false;
    out = static_cast<int64_t>(negative ? (0 - u) : u);
    return true;
}

namespace {
// The power of ten of a decimal text's leading digit ("123e5" gives 7, "0.001"
// gives -3); exponents too long to read count as far beyond any double.
long long decimalExponent(std::string_view t) {
    if (!t.empty() && (t.front() == '-' || t.front() == '+')) t.remove_prefix(1);
    size_t e = t.find_first_of("eE");
    std::string_view mantissa = t.substr(0, e);
    long long exponent = 0;
    if (e != std::string_view::npos) {
        std::string_view x = t.substr(e + 1);
        bool negative = !x.empty() && x.front() == '-';
        if (!x.empty() && (x.front() == '-' || x.front() == '+')) x.remove_prefix(1);
        long long v = 0;
        if (std::from_chars(x.data(), x.data() + x.size(), v).ec == std::errc::result_out_of_range) v = 1000000000;
        exponent = negative ? -v : v;
    }
    size_t dot = mantissa.find('.');
    std::string_view whole = mantissa.substr(0, dot);
    size_t first = whole.find_first_not_of('0');
    if (first != std::string_view::npos) return exponent + static_cast<long long>(whole.size() - first - 1);
    std::string_view fraction = dot == std::string_view::npos ? std::string_view() : mantissa.substr(dot + 1);
    size_t lead = fraction.find_first_not_of('0');
    return exponent - static_cast<long long>(lead == std::string_view::npos ? 0 : lead + 1);
}
} // namespace

bool parseFloat(std::string_view t, double& out) {
    while (!t.empty() && (t.front() == ' ' || t.front() == '\t' || t.front() == '\n' || t.front() == '\r'))
        t.remove_prefix(1);
    while (!t.empty() && (t.back() == ' ' || t.back() == '\t' || t.back() == '\n' || t.back() == '\r'))
        t.remove_suffix(1);
    if (t.empty()) return false;
    if (t.front() == '+') t.remove_prefix(1);
    int64_t asInt = 0;
    if (t.size() > 2 && (t[1] == 'x' || t[1] == 'X' || (t[0] == '-' && t.size() > 3 && (t[2] == 'x' || t[2] == 'X')))) {
        if (!parseInt(t, asInt)) return false;
        out = static_cast<double>(asInt);
        return true;
    }
    auto res = std::from_chars(t.data(), t.data() + t.size(), out);
    if (res.ec == std::errc::result_out_of_range) {
        // from_chars leaves `out` alone here: a text beyond double's range is
        // infinity when too large and zero when too small.
        if (res.ptr != t.data() + t.size()) return false;
        bool negative = t.front() == '-';
        out = decimalExponent(t) > 0 ? (negative ? -HUGE_VAL : HUGE_VAL) : (negative ? -0.0 : 0.0);
        return true;
    }
    if (res.ec != std::errc() || res.ptr != t.data() + t.size()) {
        // A few descriptions write INF / -INF for unbounded limits.
        if (t == "INF" || t == "inf") return out = HUGE_VAL, true;
        if (t == "-INF" || t == "-inf") return out = -HUGE_VAL, true;
        return false;
    }
    return true;
}

std::string formatInt(int64_t v, ERepresentation r) {
    char buf[64];
    switch (r) {
    case HexNumber: std::snprintf(buf, sizeof buf, "0x%" PRIX64, static_cast<uint64_t>(v)); break;
    case IPV4Address: {
        auto u = static_cast<uint64_t>(v);
        std::snprintf(buf, sizeof buf, "%u.%u.%u.%u", unsigned((u >> 24) & 0xFF), unsigned((u >> 16) & 0xFF),
                      unsigned((u >> 8) & 0xFF), unsigned(u & 0xFF));
        break;
    }
    case MACAddress: {
        auto u = static_cast<uint64_t>(v);
        std::snprintf(buf, sizeof buf, "%02X:%02X:%02X:%02X:%02X:%02X", unsigned((u >> 40) & 0xFF),
                      unsigned((u >> 32) & 0xFF), unsigned((u >> 24) & 0xFF), unsigned((u >> 16) & 0xFF),
                      unsigned((u >> 8) & 0xFF), unsigned(u & 0xFF));
        break;
    }
    default: std::snprintf(buf, sizeof buf, "%" PRId64, v); break;
    }
    return buf;
}

std::string formatFloat(double v) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.17g", v);
    // Prefer the shortest text that reads back to the same double.
    for (int precision = 6; precision < 17; ++precision) {
        char shorter[64];
        std::snprintf(shorter, sizeof shorter, "%.*g", precision, v);
        if (std::strtod(shorter, nullptr) == v) return shorter;
    }
    return buf;
}

} // namespace GenApi::detail
