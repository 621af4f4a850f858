// Real node maps for the inspection tests: small inline descriptions over a
// GenApi::CMemoryPort, and a recorder for the host's change callback.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "GenApi/GenApi.h"
#include "GenApi/MemoryPort.h"
#include "types/row_context.h"
#include "../support/inline_description.h"

namespace quillon_inspect_test {

inline std::string inlineDescription(const std::string& body) { return quillon_test_support::Description(body); }

// A description body loaded as the node map "Device" over a zero-filled port.
struct MemoryDevice : quillon_test_support::MemoryDevice {
    explicit MemoryDevice(const std::string& body) : quillon_test_support::MemoryDevice(inlineDescription(body)) {}
    GenApi::INode* node(const char* name) const { return nodeMap()->GetNode(name); }
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
