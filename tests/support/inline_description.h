// Small descriptions written inline in tests, loaded over a zero-filled
// memory port: shared by the engine's and the browser's test suites.
#pragma once

#include <string>

#include "GenApi/GenApi.h"

namespace quillon_test_support {

// The root element's opening tag, as fixture descriptions write it.
inline std::string DescriptionHeader(const std::string& model = "Inline") {
    return "<RegisterDescription ModelName=\"" + model +
           "\" VendorName=\"Fixture\" StandardNameSpace=\"None\" SchemaMajorVersion=\"1\" "
           "SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" "
           "MinorVersion=\"0\" "
           "SubMinorVersion=\"0\" ProductGuid=\"00000000-0000-0000-0000-000000000001\" "
           "VersionGuid=\"00000000-0000-0000-0000-000000000002\" "
           "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">";
}

// `body` in a complete description with the Device port and, unless the
// body brings its own, an empty Root category.
inline std::string Description(const std::string& body, bool emptyRoot = true) {
    return DescriptionHeader() + (emptyRoot ? "<Category Name=\"Root\"/>" : "") +
           "<Port Name=\"Device\"/>" + body + "</RegisterDescription>";
}

// A description loaded as the node map "Device" over a zero-filled port.
struct MemoryDevice {
    GenApi::CMemoryPort port; // declared first: the node map points at it
    GenApi::CNodeMapRef map;
    explicit MemoryDevice(const std::string& xml) {
        map._LoadXMLFromString(GenICam::gcstring(xml));
        map._Connect(&port);
    }
    GenApi::INodeMap* nodeMap() const { return map._Ptr(); }
};

} // namespace quillon_test_support
