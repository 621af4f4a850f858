#include "api/descriptions.h"

#include <array>
#include <cstddef>

namespace qorvis::api {

namespace detail {
extern const unsigned char kQsysControlSimXml[];
extern const std::size_t kQsysControlSimXmlSize;
extern const unsigned char kQdigControlSimXml[];
extern const std::size_t kQdigControlSimXmlSize;
extern const unsigned char kQseqControlSimXml[];
extern const std::size_t kQseqControlSimXmlSize;
extern const unsigned char kQseqControlXml[];
extern const std::size_t kQseqControlXmlSize;
extern const unsigned char kQsysControlCamerasXml[];
extern const std::size_t kQsysControlCamerasXmlSize;
} // namespace detail

namespace {
std::string_view text(const unsigned char* bytes, std::size_t size) {
    return {reinterpret_cast<const char*>(bytes), size};
}
} // namespace

std::span<const EmbeddedDescription> embeddedDescriptions() {
    static const std::array<EmbeddedDescription, 5> all{{
        {"QsysControl_sim.xml", text(detail::kQsysControlSimXml, detail::kQsysControlSimXmlSize)},
        {"QdigControl_sim.xml", text(detail::kQdigControlSimXml, detail::kQdigControlSimXmlSize)},
        {"QseqControl_sim.xml", text(detail::kQseqControlSimXml, detail::kQseqControlSimXmlSize)},
        {"QseqControl.xml", text(detail::kQseqControlXml, detail::kQseqControlXmlSize)},
        {"QsysControl_cameras.xml",
         text(detail::kQsysControlCamerasXml, detail::kQsysControlCamerasXmlSize)},
    }};
    return all;
}

std::string_view embeddedDescription(std::string_view fileName) {
    for (const EmbeddedDescription& d : embeddedDescriptions())
        if (d.fileName == fileName) return d.xml;
    return {};
}

} // namespace qorvis::api
