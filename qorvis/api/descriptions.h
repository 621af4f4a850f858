// The library's own GenICam descriptions of its objects, compiled in from
// data/ (the same files a browser loads from disk by name).
#pragma once

#include <span>
#include <string_view>

namespace qorvis::api {

struct EmbeddedDescription {
    std::string_view fileName; // as in data/: "QsysControl_sim.xml" ...
    std::string_view xml;
};

std::span<const EmbeddedDescription> embeddedDescriptions();
// The description with that file name; empty when there is none.
std::string_view embeddedDescription(std::string_view fileName);

} // namespace qorvis::api
