// The node type of each element name.
#include <algorithm>
#include <unordered_map>
#include <vector>

#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

namespace {
template <class T>
NodePtr make(NodeMap& map, uint32_t index) {
    return NodePtr(new (map.allocateNode(sizeof(T), alignof(T))) T(map, index));
}
using Maker = NodePtr (*)(NodeMap&, uint32_t);

const std::unordered_map<std::string_view, Maker>& makers() {
    static const std::unordered_map<std::string_view, Maker> table = {
        {"Node", &make<PlainNode>},
        {"Category", &make<CategoryNode>},
        {"Integer", &make<IntegerNode>},
        {"IntReg", &make<IntRegNode>},
        {"MaskedIntReg", &make<MaskedIntRegNode>},
        {"Boolean", &make<BooleanNode>},
        {"Command", &make<CommandNode>},
        {"Enumeration", &make<EnumerationNode>},
        {"EnumEntry", &make<EnumEntryNode>},
        {"Float", &make<FloatNode>},
        {"FloatReg", &make<FloatRegNode>},
        {"String", &make<StringNode>},
        {"StringReg", &make<StringRegNode>},
        {"Register", &make<RegisterNode>},
        {"Converter", &make<ConverterNode>},
        {"IntConverter", &make<IntConverterNode>},
        {"SwissKnife", &make<SwissKnifeNode>},
        {"IntSwissKnife", &make<IntSwissKnifeNode>},
        {"Port", &make<PortNode>},
        {"ConfRom", &make<ConfRomNode>},
        {"TextDesc", &make<TextDescNode>},
        {"IntKey", &make<IntKeyNode>},
        {"AdvFeatureLock", &make<AdvFeatureLockNode>},
        {"SmartFeature", &make<SmartFeatureNode>},
    };
    return table;
}
} // namespace

NodePtr createNode(std::string_view element, NodeMap& map, uint32_t index) {
    auto it = makers().find(element);
    return it == makers().end() ? nullptr : it->second(map, index);
}

bool isNodeType(std::string_view element) { return makers().count(element) != 0; }

namespace {
const std::vector<std::pair<std::string_view, Maker>>& numbered() {
    // Sorted by name so that the numbers never depend on hash order.
    static const auto table = [] {
        std::vector<std::pair<std::string_view, Maker>> t(makers().begin(), makers().end());
        std::sort(t.begin(), t.end());
        return t;
    }();
    return table;
}
} // namespace

uint8_t nodeTypeId(std::string_view element) {
    const auto& t = numbered();
    for (size_t i = 0; i < t.size(); ++i)
        if (t[i].first == element) return static_cast<uint8_t>(i + 1);
    return 0;
}

NodePtr createNode(uint8_t typeId, NodeMap& map, uint32_t index) {
    const auto& t = numbered();
    if (typeId == 0 || typeId > t.size()) return nullptr;
    return t[typeId - 1].second(map, index);
}

} // namespace GenApi::detail
