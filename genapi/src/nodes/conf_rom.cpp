// ConfRom, IntKey and TextDesc: an IEEE 1212 configuration ROM (the layout of
// IIDC cameras) and the integer and text entries read from its root directory.
#include <mutex>

#include "loader/loader.h"
#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

namespace {
uint32_t quadlet(const std::vector<uint8_t>& rom, int64_t offset) {
    if (offset < 0 || offset + 4 > static_cast<int64_t>(rom.size())) return 0;
    auto o = static_cast<size_t>(offset);
    return uint32_t{rom[o]} << 24 | uint32_t{rom[o + 1]} << 16 | uint32_t{rom[o + 2]} << 8 | rom[o + 3];
}
} // namespace

std::vector<uint8_t> ConfRomNode::bytes() {
    Busy busy(*this);
    std::vector<uint8_t> rom(static_cast<size_t>(reg_.length()));
    reg_.read(rom.data(), static_cast<int64_t>(rom.size()), false);
    return rom;
}

bool ConfRomNode::findEntry(uint8_t key, uint32_t& value, int64_t& entryOffset) {
    std::vector<uint8_t> rom = bytes();
    // Bus information block first; its length is the first byte, in quadlets.
    int64_t root = (1 + int64_t{rom.empty() ? uint8_t{0} : rom[0]}) * 4;
    uint32_t entries = quadlet(rom, root) >> 16;
    for (uint32_t i = 1; i <= entries; ++i) {
        int64_t at = root + 4 * i;
        if (at + 4 > static_cast<int64_t>(rom.size())) break;
        uint32_t q = quadlet(rom, at);
        if ((q >> 24) == key) {
            value = q & 0xFFFFFF;
            entryOffset = at;
            return true;
        }
    }
    return false;
}

// ---------------------------------------------------------------- IntKey

bool IntKeyNode::applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                               uint32_t recordIndex) {
    switch (prop) {
    case Prop::p1212Parser:
        rom_ = dynamic_cast<ConfRomNode*>(loader.ref(*this, prop, value));
        if (!rom_) loader.fail(*this, "p1212Parser '" + std::string(value) + "' is not a ConfRom");
        return true;
    case Prop::Key: key_ = loader.toInt(*this, prop, value); return true;
    default: return IntegerBase::applyProperty(loader, prop, value, record, recordIndex);
    }
}

void IntKeyNode::finishConfigure(Loader& loader) {
    if (!rom_) loader.fail(*this, "IntKey without p1212Parser");
    if (key_ < 0 || key_ > 255) loader.fail(*this, "IntKey without a Key from 0 to 0xFF");
}

EAccessMode IntKeyNode::baseAccess() { return IsReadable(rom_->access()) ? RO : NA; }

int64_t IntKeyNode::getInt(bool, bool) {
    Busy busy(*this);
    uint32_t value = 0;
    int64_t at = 0;
    if (!rom_->findEntry(static_cast<uint8_t>(key_), value, at))
        throw ACCESS_EXCEPTION("Node '%.*s': the configuration ROM has no entry with key 0x%02llX",
                               static_cast<int>(name().size()), name().data(), static_cast<long long>(key_));
    return value;
}

// ---------------------------------------------------------------- TextDesc

bool TextDescNode::applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                                 uint32_t recordIndex) {
    switch (prop) {
    case Prop::p1212Parser:
        rom_ = dynamic_cast<ConfRomNode*>(loader.ref(*this, prop, value));
        if (!rom_) loader.fail(*this, "p1212Parser '" + std::string(value) + "' is not a ConfRom");
        return true;
    case Prop::Key: key_ = loader.toInt(*this, prop, value); return true;
    default: return ValueNode::applyProperty(loader, prop, value, record, recordIndex);
    }
}

void TextDescNode::finishConfigure(Loader& loader) {
    if (!rom_) loader.fail(*this, "TextDesc without p1212Parser");
    if (key_ < 0 || key_ > 255) loader.fail(*this, "TextDesc without a Key from 0 to 0xFF");
}

EAccessMode TextDescNode::baseAccess() { return IsReadable(rom_->access()) ? RO : NA; }

std::string TextDescNode::text() {
    Busy busy(*this);
    uint32_t value = 0;
    int64_t at = 0;
    if (!rom_->findEntry(static_cast<uint8_t>(key_), value, at))
        throw ACCESS_EXCEPTION("Node '%.*s': the configuration ROM has no entry with key 0x%02llX",
                               static_cast<int>(name().size()), name().data(), static_cast<long long>(key_));
    // The entry points at a textual descriptor leaf, in quadlets from itself:
    // header, type/specifier, width/character set/language, then the text.
    std::vector<uint8_t> rom = rom_->bytes();
    int64_t leaf = at + int64_t{value} * 4;
    if (leaf < 0 || leaf + 4 > static_cast<int64_t>(rom.size()))
        throw ACCESS_EXCEPTION("Node '%.*s': text leaf outside the configuration ROM",
                               static_cast<int>(name().size()), name().data());
    uint32_t length = (uint32_t{rom[static_cast<size_t>(leaf)]} << 8 | rom[static_cast<size_t>(leaf + 1)]);
    int64_t start = leaf + 12;
    int64_t end = std::min<int64_t>(leaf + 4 + int64_t{length} * 4, static_cast<int64_t>(rom.size()));
    std::string out;
    for (int64_t i = start; i < end && rom[static_cast<size_t>(i)] != 0; ++i) out += static_cast<char>(rom[static_cast<size_t>(i)]);
    return out;
}

gcstring TextDescNode::GetValue(bool, bool) {
    std::lock_guard guard(map_->mutex());
    requireReadable();
    return gcstring(text());
}

void TextDescNode::SetValue(const gcstring&, bool) {
    throw ACCESS_EXCEPTION("Node '%.*s': a configuration ROM text cannot be written", static_cast<int>(name().size()),
                           name().data());
}

int64_t TextDescNode::GetMaxLength() {
    std::lock_guard guard(map_->mutex());
    return static_cast<int64_t>(text().size());
}

} // namespace GenApi::detail
