// Node maps for the property-text and snippet tests: inline descriptions over
// a zero-filled memory port, and the simulated camera.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "GenApi/GenApi.h"
#include "GenApi/MemoryPort.h"
#include "sim/sim_camera.h"

namespace quillon_text_test {

inline std::string InlineDescription(const std::string& body) {
    return "<RegisterDescription ModelName=\"Inline\" VendorName=\"Fixture\" StandardNameSpace=\"None\" "
           "SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" "
           "MinorVersion=\"0\" SubMinorVersion=\"0\" ProductGuid=\"00000000-0000-0000-0000-000000000001\" "
           "VersionGuid=\"00000000-0000-0000-0000-000000000002\" "
           "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">"
           "<Category Name=\"Root\"/><Port Name=\"Device\"/>" +
           body + "</RegisterDescription>";
}

struct InlineDevice {
    GenApi::CMemoryPort port; // declared first: the node map points at it
    GenApi::CNodeMapRef map;
    explicit InlineDevice(const std::string& body) {
        map._LoadXMLFromString(GenICam::gcstring(InlineDescription(body)));
        map._Connect(&port);
    }
    GenApi::INode* node(const char* name) const {
        GenApi::INode* n = map._Ptr()->GetNode(name);
        EXPECT_NE(n, nullptr) << name;
        return n;
    }
};

struct Camera {
    qorvis::sim::ConnectedSimulatedCamera camera;
    GenApi::INode* node(const char* name) const {
        GenApi::INode* n = camera.nodeMap()->GetNode(name);
        EXPECT_NE(n, nullptr) << name;
        return n;
    }
};

} // namespace quillon_text_test
