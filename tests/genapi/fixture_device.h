// A node map loaded from a fixture description and connected to a memory
// port, with helpers to set up and inspect the device's bytes directly.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "GenApi/GenApi.h"
#include "../support/inline_description.h"

namespace quillon_test {

inline std::string fixturePath(const std::string& file) { return std::string(QUILLON_FIXTURE_DIR) + "/" + file; }

inline std::string descriptionHeader(const std::string& model) { return quillon_test_support::DescriptionHeader(model); }

// A complete description around `body`, with the Device port and an empty Root.
inline std::string inlineDescription(const std::string& body) { return quillon_test_support::Description(body); }

struct Device {
    // The port outlives the node map that points at it.
    GenApi::CMemoryPort port;
    GenApi::CNodeMapRef map;

    struct Xml {
        std::string text;
    };
    // Loads a fixture file by name.
    explicit Device(const std::string& fixture) {
        map._LoadXMLFromFile(fixturePath(fixture).c_str());
        EXPECT_TRUE(map._Connect(&port));
    }
    // Loads description text.
    explicit Device(const Xml& xml) {
        map._LoadXMLFromString(xml.text.c_str());
        EXPECT_TRUE(map._Connect(&port));
    }

    // A node through a typed pointer; a wrong type fails the test.
    GenApi::CIntegerPtr integer(const char* name) const {
        GenApi::CIntegerPtr p = node(name);
        EXPECT_TRUE(p.IsValid()) << name;
        return p;
    }
    GenApi::CFloatPtr floating(const char* name) const {
        GenApi::CFloatPtr p = node(name);
        EXPECT_TRUE(p.IsValid()) << name;
        return p;
    }

    GenApi::INode* node(const char* name) const {
        GenApi::INode* n = map._GetNode(name);
        EXPECT_NE(n, nullptr) << "no node " << name;
        return n;
    }

    void put(int64_t address, std::initializer_list<uint8_t> bytes) {
        std::vector<uint8_t> b(bytes);
        port.Write(b.data(), address, static_cast<int64_t>(b.size()));
    }
    void put(int64_t address, const std::string& text) {
        port.Write(text.data(), address, static_cast<int64_t>(text.size()));
    }
    std::vector<uint8_t> get(int64_t address, int64_t length) {
        std::vector<uint8_t> b(static_cast<size_t>(length));
        port.Read(b.data(), address, length);
        return b;
    }
    void putLE(int64_t address, uint64_t value, int length) {
        std::vector<uint8_t> b(static_cast<size_t>(length));
        for (int i = 0; i < length; ++i) b[static_cast<size_t>(i)] = static_cast<uint8_t>(value >> (8 * i));
        port.Write(b.data(), address, length);
    }
    void putBE(int64_t address, uint64_t value, int length) {
        std::vector<uint8_t> b(static_cast<size_t>(length));
        for (int i = 0; i < length; ++i)
            b[static_cast<size_t>(length - 1 - i)] = static_cast<uint8_t>(value >> (8 * i));
        port.Write(b.data(), address, length);
    }
    uint64_t getLE(int64_t address, int length) {
        std::vector<uint8_t> b = get(address, length);
        uint64_t v = 0;
        for (int i = length - 1; i >= 0; --i) v = v << 8 | b[static_cast<size_t>(i)];
        return v;
    }
    uint64_t getBE(int64_t address, int length) {
        std::vector<uint8_t> b = get(address, length);
        uint64_t v = 0;
        for (int i = 0; i < length; ++i) v = v << 8 | b[static_cast<size_t>(i)];
        return v;
    }
};

} // namespace quillon_test
