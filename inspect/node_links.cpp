#include "inspect/node_links.h"

#include "GenApi/Pointer.h"
#include "GenICam/exceptions.h"

namespace quillon::inspect {

using namespace GenApi;

namespace {

std::vector<std::string> SplitTabs(const std::string& text) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (;;) {
        size_t tab = text.find('\t', start);
        parts.push_back(text.substr(start, tab - start));
        if (tab == std::string::npos) return parts;
        start = tab + 1;
    }
}

std::vector<INode*> Nodes(const FeatureList_t& features) {
    std::vector<INode*> nodes;
    for (IValue* v : features)
        if (v && v->GetNode()) nodes.push_back(v->GetNode());
    return nodes;
}

} // namespace

std::vector<std::string> PropertyValues(INode* node, const char* name) {
    gcstring value, attributes;
    if (!node || !node->GetProperty(name, value, attributes)) return {};
    return SplitTabs(std::string(value));
}

std::string PropertyValue(INode* node, const char* name) {
    std::vector<std::string> values = PropertyValues(node, name);
    return values.empty() ? std::string() : values.front();
}

std::vector<std::string> PropertyAttributes(INode* node, const char* name, const char* attribute) {
    gcstring value, attributes;
    if (!node || !node->GetProperty(name, value, attributes)) return {};
    const size_t count = SplitTabs(std::string(value)).size();
    const std::vector<std::string> pieces = SplitTabs(std::string(attributes));
    const std::string key = std::string(attribute) + "=";
    std::vector<std::string> out(count);
    // One piece per element when no element has several attributes (the
    // usual case); otherwise the attribute's values are taken in order.
    const bool perElement = pieces.size() == count;
    size_t next = 0;
    for (size_t i = 0; i < pieces.size(); ++i) {
        if (pieces[i].rfind(key, 0) != 0) continue;
        size_t at = perElement ? i : next++;
        if (at < count) out[at] = pieces[i].substr(key.size());
    }
    return out;
}

INode* LinkedNode(INode* node, const char* name) {
    std::string target = PropertyValue(node, name);
    if (target.empty() || !node->GetNodeMap()) return nullptr;
    return node->GetNodeMap()->GetNode(target.c_str());
}

std::string NameOf(INode* node) {
    return node ? std::string(node->GetName()) : std::string("(none)");
}

std::vector<INode*> SelectingNodes(INode* node) {
    CSelectorPtr selector(node);
    if (!selector.IsValid()) return {};
    FeatureList_t features;
    selector->GetSelectingFeatures(features);
    return Nodes(features);
}

std::vector<INode*> SelectedNodes(INode* node) {
    CSelectorPtr selector(node);
    if (!selector.IsValid()) return {};
    FeatureList_t features;
    selector->GetSelectedFeatures(features);
    return Nodes(features);
}

EAccessMode AccessOf(INode* node) {
    try {
        return node->GetAccessMode();
    } catch (const GenICam::GenericException&) {
        return NA;
    }
}

} // namespace quillon::inspect
