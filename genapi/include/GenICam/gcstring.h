// GenICam string types: a std::string and a vector of them, with the names the
// GenApi interfaces use.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace GenICam {

class gcstring : public std::string {
public:
    using std::string::string;
    gcstring() = default;
    gcstring(const std::string& s) : std::string(s) {}
    gcstring(std::string&& s) : std::string(std::move(s)) {}
    gcstring(std::string_view s) : std::string(s) {}

    // GenApi code passes gcstring where a C string is wanted.
    operator const char*() const { return c_str(); }
};

class gcstring_vector : public std::vector<gcstring> {
public:
    using std::vector<gcstring>::vector;
};

} // namespace GenICam
