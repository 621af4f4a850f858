#include "types/integer_display.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>

namespace quillon::browser {

namespace {

constexpr std::array<std::string_view, 9> kIpv4FeatureNames = {"GevCurrentIPAddress",
                                                               "GevCurrentSubnetMask",
                                                               "GevCurrentDefaultGateway",
                                                               "GevPersistentIPAddress",
                                                               "GevPersistentSubnetMask",
                                                               "GevPersistentDefaultGateway",
                                                               "GevPrimaryApplicationIPAddress",
                                                               "GevMCDA",
                                                               "GevSCDA"};
constexpr std::array<std::string_view, 1> kMacFeatureNames = {"GevMACAddress"};

bool Listed(std::string_view name, const auto& names) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace

GenApi::ERepresentation DisplayRepresentation(std::string_view featureName,
                                              GenApi::ERepresentation declared) {
    if (Listed(featureName, kIpv4FeatureNames)) return GenApi::IPV4Address;
    if (Listed(featureName, kMacFeatureNames)) return GenApi::MACAddress;
    return declared;
}

std::string FormatIntegerValue(int64_t value, GenApi::ERepresentation representation) {
    const auto u = static_cast<uint64_t>(value);
    auto byte = [u](int shift) { return static_cast<unsigned>((u >> shift) & 0xFFu); };
    char text[32];
    switch (representation) {
    case GenApi::HexNumber:
        std::snprintf(text, sizeof text, "0x%" PRIX64, u);
        break;
    case GenApi::IPV4Address:
        std::snprintf(text, sizeof text, "%u.%u.%u.%u", byte(24), byte(16), byte(8), byte(0));
        break;
    case GenApi::MACAddress:
        std::snprintf(text, sizeof text, "%.2X-%.2X-%.2X-%.2X-%.2X-%.2X", byte(40), byte(32),
                      byte(24), byte(16), byte(8), byte(0));
        break;
    default:
        std::snprintf(text, sizeof text, "%" PRId64, value);
        break;
    }
    return text;
}

} // namespace quillon::browser
