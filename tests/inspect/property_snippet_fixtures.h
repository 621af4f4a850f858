// Node maps for the property-text and snippet tests: inline descriptions over
// a zero-filled memory port, and the simulated camera.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "GenApi/GenApi.h"
#include "GenApi/MemoryPort.h"
#include "sim/sim_camera.h"
#include "../support/inline_description.h"

namespace quillon_text_test {

inline std::string InlineDescription(const std::string& body) { return quillon_test_support::Description(body); }

struct InlineDevice : quillon_test_support::MemoryDevice {
    explicit InlineDevice(const std::string& body) : quillon_test_support::MemoryDevice(InlineDescription(body)) {}
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

} // namespace quillon_text_test
