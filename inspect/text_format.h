// printf-style formatting into std::string for the inspection texts, whose
// layouts are fixed printf formats.
#pragma once

#include <string>

namespace quillon::inspect {

std::string Format(const char* format, ...) __attribute__((format(printf, 1, 2)));

} // namespace quillon::inspect
