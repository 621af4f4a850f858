// Register addressing, port traffic and the per-register cache shared by
// IntReg, MaskedIntReg, FloatReg, StringReg and Register.
#include <cstring>

#include "loader/loader.h"
#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

namespace {
// No register of a real device is larger; a bigger Length is a broken description.
constexpr int64_t kMaxRegisterLength = 64 * 1024 * 1024;

EAccessMode parseRegisterAccess(std::string_view t) {
    if (t == "RW") return RW;
    if (t == "RO" || t == "R") return RO;
    if (t == "WO" || t == "W") return WO;
    return _UndefinedAccesMode;
}
} // namespace

bool RegisterCore::applyProperty(Loader& loader, Prop prop, std::string_view value,
                                 const PropertyRecord& record, uint32_t recordIndex) {
    switch (prop) {
    case Prop::Address: constantAddress_ += loader.toInt(owner_, prop, value); return true;
    case Prop::pAddress: addressNodes_.push_back(loader.ref(owner_, prop, value)); return true;
    case Prop::IntSwissKnife: {
        Knife k;
        k.vars = std::make_unique<NodeVariables>(FormulaMode::Integer);
        for (const PropertyRecord& inner : loader.nested(recordIndex)) {
            std::string_view innerValue = loader.text(inner.value);
            if (inner.name == static_cast<uint16_t>(Prop::Formula)) k.text = std::string(innerValue);
            else k.vars->take(loader, owner_, inner, innerValue);
        }
        if (k.text.empty()) loader.fail(owner_, "address IntSwissKnife without Formula");
        knives_.push_back(std::move(k));
        return true;
    }
    case Prop::pIndex: {
        Index ix{loader.ref(owner_, prop, value), -1, nullptr};
        std::string_view offset = loader.attribute(record, "Offset");
        std::string_view pOffset = loader.attribute(record, "pOffset");
        if (!offset.empty()) ix.offset = loader.toInt(owner_, prop, offset);
        if (!pOffset.empty()) ix.pOffset = loader.ref(owner_, prop, pOffset);
        indices_.push_back(ix);
        return true;
    }
    case Prop::Length:
        length_.constant = loader.toInt(owner_, prop, value);
        length_.present = true;
        return true;
    case Prop::pLength:
        length_.node = loader.ref(owner_, prop, value);
        length_.present = true;
        return true;
    case Prop::AccessMode:
        accessMode_ = parseRegisterAccess(value);
        if (accessMode_ == _UndefinedAccesMode)
            loader.fail(owner_, "unknown AccessMode '" + std::string(value) + "'");
        return true;
    case Prop::pPort: {
        Node* n = loader.ref(owner_, prop, value);
        port_ = dynamic_cast<PortNode*>(n);
        if (!port_) loader.fail(owner_, "pPort '" + std::string(value) + "' is not a Port node");
        return true;
    }
    default: return false;
    }
}

void RegisterCore::finish(Loader& loader, int64_t defaultLength) {
    if (!length_.present) {
        if (defaultLength == 0) loader.fail(owner_, "register without Length");
        length_.constant = defaultLength;
        length_.present = true;
    }
    if (!length_.isRef() && length_.present && (length_.constant <= 0 || length_.constant > kMaxRegisterLength))
        loader.fail(owner_, "register Length " + std::to_string(length_.constant) + " out of range");
    // Without Offset the stride is the Length; a pLength is read at each access.
    for (Index& ix : indices_)
        if (ix.offset < 0 && !ix.pOffset && !length_.isRef()) ix.offset = length_.constant;
    owner_.map().addRegister(&owner_);
}

int64_t RegisterCore::address() {
    // Unsigned sums: descriptions may place registers at the top of the space.
    auto sum = static_cast<uint64_t>(constantAddress_);
    for (Node* n : addressNodes_) sum += static_cast<uint64_t>(n->getInt(false, false));
    for (Knife& k : knives_) {
        const Formula& f = k.vars->compiled(k.formula, k.text, owner_.name());
        sum += static_cast<uint64_t>(f.evaluateInt(*k.vars));
    }
    for (Index& ix : indices_) {
        int64_t offset = ix.pOffset ? ix.pOffset->getInt(false, false) : ix.offset < 0 ? length() : ix.offset;
        sum += static_cast<uint64_t>(ix.node->getInt(false, false)) * static_cast<uint64_t>(offset);
    }
    return static_cast<int64_t>(sum);
}

int64_t RegisterCore::length() {
    int64_t n = length_.isRef() ? length_.node->getInt(false, false) : length_.constant;
    if (n <= 0 || n > kMaxRegisterLength)
        throw OUT_OF_RANGE_EXCEPTION("Node '%.*s': register length %lld out of range",
                                     static_cast<int>(owner_.name().size()), owner_.name().data(),
                                     static_cast<long long>(n));
    return n;
}

EAccessMode RegisterCore::access() {
    // A register without a port (seen in test descriptions) can never be reached.
    if (!port_) return NA;
    EAccessMode portMode = port_->access();
    if (portMode == NA || portMode == NI) return NA;
    return accessMode_;
}

void RegisterCore::read(uint8_t* buffer, int64_t n, bool ignoreCache) {
    int64_t addr = address();
    ECachingMode caching = owner_.GetCachingMode();
    if (!ignoreCache && cacheValid_ && cacheAddress_ == addr && static_cast<int64_t>(cache_.size()) == n) {
        std::memcpy(buffer, cache_.data(), static_cast<size_t>(n));
        return;
    }
    if (!port_) throw ACCESS_EXCEPTION("Node '%.*s' has no pPort", static_cast<int>(owner_.name().size()), owner_.name().data());
    port_->Read(buffer, addr, n);
    if (caching != NoCache && accessMode_ != WO) {
        cache_.assign(buffer, buffer + n);
        cacheAddress_ = addr;
        cacheValid_ = true;
        owner_.map().registerCached(&owner_, addr, n);
    }
}

void RegisterCore::write(const uint8_t* buffer, int64_t n) {
    int64_t addr = address();
    if (!port_) throw ACCESS_EXCEPTION("Node '%.*s' has no pPort", static_cast<int>(owner_.name().size()), owner_.name().data());
    port_->Write(buffer, addr, n);
    owner_.map().registerWritten(&owner_, addr, n, port_);
    if (owner_.GetCachingMode() == WriteThrough && accessMode_ != WO) {
        cache_.assign(buffer, buffer + n);
        cacheAddress_ = addr;
        cacheValid_ = true;
        owner_.map().registerCached(&owner_, addr, n);
    } else {
        cacheValid_ = false;
    }
    owner_.map().valueChanged(&owner_);
}

void RegisterCore::dropIfOverlaps(int64_t address, int64_t n, const void* port) {
    if (!cacheValid_ || port != port_) return;
    auto a0 = static_cast<uint64_t>(address), a1 = a0 + static_cast<uint64_t>(n);
    auto c0 = static_cast<uint64_t>(cacheAddress_), c1 = c0 + cache_.size();
    if (a0 < c1 && c0 < a1) cacheValid_ = false;
}

} // namespace GenApi::detail
