// The node type of each element name.
#include <unordered_map>

#include "nodes/node_types.h"

namespace GenApi::detail {

namespace {
template <class T>
std::unique_ptr<Node> make(NodeMap& map, uint32_t index) {
    return std::make_unique<T>(map, index);
}
using Maker = std::unique_ptr<Node> (*)(NodeMap&, uint32_t);

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

std::unique_ptr<Node> createNode(std::string_view element, NodeMap& map, uint32_t index) {
    auto it = makers().find(element);
    return it == makers().end() ? nullptr : it->second(map, index);
}

bool isNodeType(std::string_view element) { return makers().count(element) != 0; }

} // namespace GenApi::detail
