// The node type of each element name.
#include <algorithm>
#include <vector>

#include "name_table.h"
#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

namespace {
template <class T>
NodePtr make(NodeMap& map, uint32_t index) {
    return NodePtr(new (map.allocateNode(sizeof(T), alignof(T))) T(map, index));
}
using Maker = NodePtr (*)(NodeMap&, uint32_t);

// Every node type by element name, in one list.
const std::vector<std::pair<std::string_view, Maker>>& typeList() {
    static const std::vector<std::pair<std::string_view, Maker>> list = {
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
    return list;
}

const NameTable<Maker>& makers() {
    static const NameTable<Maker> table = [] {
        NameTable<Maker> t(typeList().size());
        for (const auto& [name, maker] : typeList()) t.insert(name, maker);
        return t;
    }();
    return table;
}
} // namespace

NodePtr createNode(std::string_view element, NodeMap& map, uint32_t index) {
    const Maker* maker = makers().find(element);
    return maker ? (*maker)(map, index) : nullptr;
}

bool isNodeType(std::string_view element) { return makers().find(element) != nullptr; }

namespace {
const std::vector<std::pair<std::string_view, Maker>>& numbered() {
    // Sorted by name so that the numbers never depend on hash order.
    static const auto table = [] {
        std::vector<std::pair<std::string_view, Maker>> t = typeList();
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
