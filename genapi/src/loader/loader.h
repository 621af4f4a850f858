// Turns a parsed description into a node map: creates the nodes, stores their
// property records, then lets every node configure itself and links the graph.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "name_table.h"
#include "node.h"
#include "node_map.h"

namespace pugi {
class xml_node;
}

namespace GenApi::detail {

class Loader {
public:
    // `sourceName` names the description in messages (a file name or "memory").
    Loader(NodeMap& map, std::string sourceName);

    // Builds the node map from XML text; raises a GenICam exception naming the
    // source and line when the text is not a usable description.
    void load(std::string_view xml);

    // ---- used by nodes while they configure themselves
    std::string_view text(TextRef r) const { return map_.text(r); }
    // The node a reference names; raises when there is none.
    Node* ref(Node& from, Prop role, std::string_view name);
    int64_t toInt(const Node& from, Prop role, std::string_view text) const;
    double toFloat(const Node& from, Prop role, std::string_view text) const;
    bool toBool(const Node& from, Prop role, std::string_view text) const;
    ERepresentation toRepresentation(const Node& from, std::string_view text) const;
    ESlope toSlope(const Node& from, std::string_view text) const;
    // An attribute of a property record ("" when absent).
    std::string_view attribute(const PropertyRecord& r, std::string_view name) const;
    // The records nested inside the level-0 record at `index`.
    std::span<const PropertyRecord> nested(uint32_t index) const;
    [[noreturn]] void fail(const Node& node, const std::string& what) const;

private:
    struct Builder;
    void finish();

    NodeMap& map_;
    std::string source_;
    NameTable<Node*> names_;
};

// A description is a few MiB at most: a file or a zip member larger than
// this is refused.
inline constexpr uint64_t kMaxDescriptionSize = 64ull * 1024 * 1024;

// Reads a description from a file or memory, plain or zipped, into XML text.
std::string readDescriptionFile(const std::string& path, bool zipped);
// Zipped descriptions are read by the module genapi_zip.so beside this
// library, loaded on first use: its one function answers the member's text
// or false and the reason.
std::string unzipDescription(const void* data, size_t size, const std::string& sourceName);
using UnzipFunction = bool (*)(const void* data, size_t size, std::string& xml, std::string& failure);
// Drops any text before the first '<' (some descriptions carry a header line).
std::string_view stripPreamble(std::string_view xml);

} // namespace GenApi::detail
