#include "browser/browser_title.h"

#include "GenApi/GenApi.h"

namespace quillon::browser {

namespace {

// The node's value text when the node exists and can be read now.
bool ReadIfReadable(GenApi::INodeMap& nodeMap, const char* name, std::string& text) {
    GenApi::INode* node = nodeMap.GetNode(name);
    if (!node || !GenApi::IsReadable(node->GetAccessMode())) return false;
    GenApi::CValuePtr value(node);
    if (!value.IsValid()) return false;
    text = std::string(value->ToString());
    return true;
}

} // namespace

std::string DefaultTitle(int64_t deviceNumber) {
    return "Quillon (Q_DEV" + std::to_string(deviceNumber) + ")";
}

std::string DeviceTitle(const std::vector<NodeMapEntry>& entries, int64_t deviceNumber) {
    for (const NodeMapEntry& entry : entries) {
        GenApi::INodeMap* nodeMap = entry.context.nodeMap;
        if (!nodeMap) continue;
        std::string vendor, model;
        if (!ReadIfReadable(*nodeMap, "DeviceVendorName", vendor)) continue;
        if (!ReadIfReadable(*nodeMap, "DeviceModelName", model)) continue;
        return vendor + " " + model + " (Q_DEV" + std::to_string(deviceNumber) + ") Features";
    }
    return DefaultTitle(deviceNumber);
}

} // namespace quillon::browser
