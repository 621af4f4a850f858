// Category: groups features; "Root" is where the feature tree starts.
#include "loader/loader.h"
#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

bool CategoryNode::applyProperty(Loader& loader, Prop prop, std::string_view value, const PropertyRecord& record,
                                 uint32_t recordIndex) {
    if (prop == Prop::pFeature) {
        features_.push_back(loader.ref(*this, prop, value));
        return true;
    }
    return ValueNode::applyProperty(loader, prop, value, record, recordIndex);
}

void CategoryNode::GetFeatures(FeatureList_t& features) const {
    features.clear();
    for (Node* n : features_)
        if (auto* v = dynamic_cast<IValue*>(n)) features.push_back(v);
}

void CategoryNode::FromString(const gcstring&, bool) {
    throw ACCESS_EXCEPTION("Node '%.*s': a category has no value", static_cast<int>(name().size()), name().data());
}

} // namespace GenApi::detail
