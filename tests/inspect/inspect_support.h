// What the inspection tests share: inline descriptions over memory, the
// simulated camera, vendor descriptions, a recorder for the host's callback.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "../support/inline_description.h"
#include "GenApi/GenApi.h"
#include "GenApi/MemoryPort.h"
#include "qorvis.h"
#include "sim/sim_camera.h"
#include "types/row_context.h"

namespace quillon_inspect_test {

inline std::string InlineDescription(const std::string& body) {
    return quillon_test_support::Description(body);
}

// A 4-byte little-endian register named `name` at `address`.
inline std::string Reg(const std::string& name, const std::string& address,
                       const std::string& access = "RW") {
    return "<IntReg Name=\"" + name + "\"><Address>" + address +
           "</Address><Length>4</Length><AccessMode>" + access +
           "</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign>"
           "<Endianess>LittleEndian</Endianess></IntReg>";
}

// A description body loaded as the node map "Device" over a zero-filled port.
struct MemoryDevice : quillon_test_support::MemoryDevice {
    explicit MemoryDevice(const std::string& body)
        : quillon_test_support::MemoryDevice(InlineDescription(body)) {}
    GenApi::INode* node(const char* name) const {
        GenApi::INode* n = nodeMap()->GetNode(name);
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

// A vendor description of the shared collection with every port over one
// zero-filled memory.
struct VendorDevice {
    GenApi::CMemoryPort port;
    GenApi::CNodeMapRef map;
    explicit VendorDevice(const std::string& path) {
        map._LoadXMLFromFile(path.c_str());
        GenApi::NodeList_t nodes;
        map._GetNodes(nodes);
        for (GenApi::INode* node : nodes)
            if (node->GetPrincipalInterfaceType() == GenApi::intfIPort)
                map._Connect(&port, node->GetName());
    }
};

// Records what the host's change callback receives.
struct HostRecorder {
    std::vector<std::pair<std::string, std::string>> reports;
    static void callback(void* context, const char* key, const char* value) {
        static_cast<HostRecorder*>(context)->reports.emplace_back(key ? key : "",
                                                                  value ? value : "");
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
