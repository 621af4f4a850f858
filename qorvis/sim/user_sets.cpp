#include "sim/user_sets.h"

#include <bit>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "sim/register_map.h"

namespace qorvis::sim {

namespace {

enum class Kind {
    U32,   // big-endian word, decimal text
    Hex32, // big-endian word, hexadecimal text
    F32,   // big-endian IEEE float
    F64,   // big-endian IEEE double
    F32LE, // little-endian IEEE float
};

struct Setting {
    const char* key;
    uint64_t address;
    Kind kind;
    double factory;
};

constexpr uint64_t line(int n, uint64_t field) { return reg::kLines + reg::kLineBlockSize * static_cast<uint64_t>(n) + field; }

constexpr Setting kSettings[] = {
    {"Width", reg::kWidth, Kind::U32, 1280},
    {"Height", reg::kHeight, Kind::U32, 1024},
    {"OffsetX", reg::kOffsetX, Kind::U32, 0},
    {"OffsetY", reg::kOffsetY, Kind::U32, 0},
    {"PixelFormat", reg::kPixelFormat, Kind::Hex32, 0x01080001},
    {"ImageFlags", reg::kImageFlags, Kind::Hex32, 0},
    {"TestPattern", reg::kTestPattern, Kind::U32, 0},
    {"AcquisitionMode", reg::kAcquisitionMode, Kind::U32, 0},
    {"AcquisitionFrameRate", reg::kFrameRate, Kind::F64, 30.0},
    {"ExposureTimeTicks", reg::kExposureTicks, Kind::U32, 100000},
    {"ExposureAuto", reg::kExposureAuto, Kind::U32, 0},
    {"TriggerMode", reg::kTriggerMode, Kind::U32, 0},
    {"TriggerSource", reg::kTriggerSource, Kind::U32, 0},
    {"Gain.All", reg::kGains, Kind::F32, 0.0},
    {"Gain.AnalogAll", reg::kGains + 4, Kind::F32, 6.0},
    {"Gain.DigitalAll", reg::kGains + 8, Kind::F32, 1.5},
    {"BlackLevel", reg::kBlackLevel, Kind::F32, -2.5},
    {"Gamma", reg::kGamma, Kind::F32LE, 1.0},
    {"LUTEnable", reg::kLutEnable, Kind::U32, 0},
    {"DeviceLinkThroughputLimitMode", reg::kThroughputMode, Kind::U32, 0},
    {"DeviceLinkThroughputLimit", reg::kThroughputLimit, Kind::U32, 125000},
    {"Line0.Mode", line(0, 0), Kind::U32, 0},
    {"Line0.Source", line(0, 4), Kind::U32, 0},
    {"Line0.Flags", line(0, 8), Kind::Hex32, 0},
    {"Line1.Mode", line(1, 0), Kind::U32, 1},
    {"Line1.Source", line(1, 4), Kind::U32, 1},
    {"Line1.Flags", line(1, 8), Kind::Hex32, 0},
    {"Line2.Mode", line(2, 0), Kind::U32, 0},
    {"Line2.Source", line(2, 4), Kind::U32, 0},
    {"Line2.Flags", line(2, 8), Kind::Hex32, 0},
    {"Line3.Mode", line(3, 0), Kind::U32, 1},
    {"Line3.Source", line(3, 4), Kind::U32, 3},
    {"Line3.Flags", line(3, 8), Kind::Hex32, 1},
};

void store(RegisterSpace& ram, const Setting& s, double value) {
    switch (s.kind) {
    case Kind::U32:
    case Kind::Hex32: ram.setBE32(s.address, static_cast<uint32_t>(static_cast<int64_t>(value))); break;
    case Kind::F32: ram.setBE32(s.address, std::bit_cast<uint32_t>(static_cast<float>(value))); break;
    case Kind::F64: ram.writeBE(s.address, std::bit_cast<uint64_t>(value), 8); break;
    case Kind::F32LE: ram.writeLE(s.address, std::bit_cast<uint32_t>(static_cast<float>(value)), 4); break;
    }
}

std::string_view trim(std::string_view t) {
    while (!t.empty() && (t.front() == ' ' || t.front() == '\t' || t.front() == '\r')) t.remove_prefix(1);
    while (!t.empty() && (t.back() == ' ' || t.back() == '\t' || t.back() == '\r')) t.remove_suffix(1);
    return t;
}

// The value text of one setting; false when it is no number of its kind.
bool parse(const Setting& s, std::string_view text, RegisterSpace& ram) {
    std::string t(text);
    if (t.empty()) return false;
    char* end = nullptr;
    errno = 0;
    if (s.kind == Kind::U32 || s.kind == Kind::Hex32) {
        unsigned long long v = std::strtoull(t.c_str(), &end, 0);
        if (errno || *end || v > 0xFFFFFFFFull || t[0] == '-') return false;
        ram.setBE32(s.address, static_cast<uint32_t>(v));
        return true;
    }
    double v = std::strtod(t.c_str(), &end);
    if (errno || *end) return false;
    store(ram, s, v);
    return true;
}

} // namespace

void writeFactorySettings(RegisterSpace& ram) {
    for (const Setting& s : kSettings) store(ram, s, s.factory);
}

std::string saveSettings(const RegisterSpace& ram) {
    std::string text = "# TVX1280M user set\n";
    char value[64];
    for (const Setting& s : kSettings) {
        switch (s.kind) {
        case Kind::U32: std::snprintf(value, sizeof value, "%" PRIu32, ram.be32(s.address)); break;
        case Kind::Hex32: std::snprintf(value, sizeof value, "0x%08" PRIX32, ram.be32(s.address)); break;
        case Kind::F32:
            std::snprintf(value, sizeof value, "%.9g", static_cast<double>(std::bit_cast<float>(ram.be32(s.address))));
            break;
        case Kind::F64:
            std::snprintf(value, sizeof value, "%.17g", std::bit_cast<double>(ram.readBE(s.address, 8)));
            break;
        case Kind::F32LE:
            std::snprintf(value, sizeof value, "%.9g",
                          static_cast<double>(std::bit_cast<float>(static_cast<uint32_t>(ram.readLE(s.address, 4)))));
            break;
        }
        text += s.key;
        text += '=';
        text += value;
        text += '\n';
    }
    return text;
}

int loadSettings(RegisterSpace& ram, std::string_view text) {
    writeFactorySettings(ram);
    int taken = 0;
    while (!text.empty()) {
        size_t nl = text.find('\n');
        std::string_view lineText = text.substr(0, nl);
        text.remove_prefix(nl == std::string_view::npos ? text.size() : nl + 1);
        size_t hash = lineText.find('#');
        if (hash != std::string_view::npos) lineText = lineText.substr(0, hash);
        size_t eq = lineText.find('=');
        if (eq == std::string_view::npos) continue;
        std::string_view key = trim(lineText.substr(0, eq)), value = trim(lineText.substr(eq + 1));
        for (const Setting& s : kSettings)
            if (key == s.key && parse(s, value, ram)) ++taken;
    }
    return taken;
}

} // namespace qorvis::sim
