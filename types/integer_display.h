// How an integer feature's value is written wherever the browser shows it
// (tree rows, the property text, in-place editors, generated code): GigE
// Vision's address features as addresses whatever their description
// declares, the others by their declared representation.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "GenApi/Types.h"

namespace quillon::browser {

// IPv4Address for the GigE Vision IPv4 address features, MACAddress for the
// MAC address feature (devices often declare neither), `declared` otherwise.
GenApi::ERepresentation DisplayRepresentation(std::string_view featureName,
                                              GenApi::ERepresentation declared);

// The value in a representation: 0x-prefixed upper-case hex, a dotted quad
// of the four low bytes (most significant first), six dash-separated
// upper-case bytes, or else decimal.
std::string FormatIntegerValue(int64_t value, GenApi::ERepresentation representation);

} // namespace quillon::browser
