// Real node maps for the inspection tests: small inline descriptions over a
// GenApi::CMemoryPort, and a recorder for the host's change callback.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "GenApi/GenApi.h"
#include "GenApi/MemoryPort.h"
#include "browser/row_context.h"

namespace quillon_inspect_test {

inline std::string inlineDescription(const std::string& body) {
    return "<RegisterDescription ModelName=\"Inline\" VendorName=\"Fixture\" StandardNameSpace=\"None\" "
           "SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" "
           "MinorVersion=\"0\" SubMinorVersion=\"0\" ProductGuid=\"00000000-0000-0000-0000-000000000001\" "
           "VersionGuid=\"00000000-0000-0000-0000-000000000002\" "
           "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">"
           "<Category Name=\"Root\"/><Port Name=\"Device\"/>" +
           body + "</RegisterDescription>";
}

// A description body loaded as the node map "Device" over a zero-filled port.
struct MemoryDevice {
    GenApi::CMemoryPort port; // declared first: the node map points at it
    GenApi::CNodeMapRef map;
    explicit MemoryDevice(const std::string& body) {
        map._LoadXMLFromString(GenICam::gcstring(inlineDescription(body)));
        map._Connect(&port);
    }
    GenApi::INodeMap* nodeMap() const { return map._Ptr(); }
    GenApi::INode* node(const char* name) const { return map._Ptr()->GetNode(name); }
};

// Records what the host's change callback receives.
struct HostRecorder {
    std::vector<std::pair<std::string, std::string>> reports;

    static void callback(void* context, const char* key, const char* value) {
        static_cast<HostRecorder*>(context)->reports.emplace_back(key ? key : "", value ? value : "");
    }
    quillon::browser::NodeMapContext context(GenApi::INodeMap* nodeMap = nullptr) {
        quillon::browser::NodeMapContext c;
        c.nodeMap = nodeMap;
        c.changeCallback = &HostRecorder::callback;
        c.changeContext = this;
        return c;
    }
};

} // namespace quillon_inspect_test
