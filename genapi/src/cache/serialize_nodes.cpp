// What the node-map cache keeps of each node: its configured state, so that a
// cached load needs neither the XML nor the property pass.
#include "cache/archive.h"
#include "formula/node_variables.h"
#include "node_map.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

void Node::serialize(Archive& a) {
    a.io(name_);
    a.io(displayName_);
    a.io(toolTip_);
    a.io(description_);
    a.io(firstRecord_);
    a.io(recordCount_);
    a.io(pollingTime_);
    a.io(isImplemented_);
    a.io(isAvailable_);
    a.io(isLocked_);
    bool hasExtras = extras_ != nullptr;
    a.io(hasExtras);
    if (hasExtras) {
        Extras& e = extras();
        a.io(e.error);
        a.io(e.alias);
        a.io(e.castAlias);
        a.io(e.selecting);
        a.io(e.docuUrl);
        a.io(e.eventId);
    }
    a.io(linkBegin_);
    a.io(linkCount_);
    a.io(dependentBegin_);
    a.io(dependentCount_);
    a.io(nameSpace_);
    a.io(visibility_);
    a.io(imposedAccess_);
    a.io(cachable_);
    a.io(deprecated_);
    a.io(streamable_);
    a.io(isFeature_);
}

void NodeVariables::Var::serialize(Archive& a) {
    a.io(name);
    a.io(node);
    a.io(kind);
    a.io(text);
    a.io(entryValue);
    if (a.loading() && (kind == Field::Constant || kind == Field::Expression)) expression = std::make_shared<Formula>();
}

void NodeVariables::serialize(Archive& a) {
    a.io(vars_);
    a.io(to_);
}

void RegisterCore::Index::serialize(Archive& a) {
    a.io(node);
    a.io(offset);
    a.io(pOffset);
    if (a.loading() && !node) a.corrupt("pIndex");
}

void RegisterCore::Knife::serialize(Archive& a) {
    if (a.loading()) vars = std::make_unique<NodeVariables>(FormulaMode::Integer);
    vars->serialize(a);
    a.io(text);
}

void RegisterCore::serialize(Archive& a) {
    a.io(port_);
    a.io(constantAddress_);
    a.io(addressNodes_);
    a.io(knives_);
    a.io(indices_);
    a.io(length_);
    a.io(accessMode_);
    a.io(caching_);
    if (a.loading()) {
        for (Node* n : addressNodes_)
            if (!n) a.corrupt("pAddress");
        owner_.map().addRegister(&owner_);
    }
}

void CategoryNode::serialize(Archive& a) {
    Node::serialize(a);
    a.io(features_);
    if (a.loading())
        for (Node* n : features_)
            if (!n) a.corrupt("pFeature");
}

void IntegerNode::Indexed::serialize(Archive& a) {
    a.io(index);
    a.io(node);
    a.io(constant);
}

void IntegerNode::serialize(Archive& a) {
    Node::serialize(a);
    a.io(value_);
    a.io(min_);
    a.io(max_);
    a.io(inc_);
    a.io(default_);
    a.io(index_);
    a.io(indexed_);
    a.io(copies_);
    a.io(unit_);
    a.io(representation_);
    if (a.loading()) {
        for (Node* n : copies_)
            if (!n) a.corrupt("pValueCopy");
        if (!value_.present && !index_) a.corrupt("Integer without value");
    }
}

void IntRegNode::serialize(Archive& a) {
    Node::serialize(a);
    reg_.serialize(a);
    a.io(signed_);
    a.io(endianess_);
    a.io(representation_);
    a.io(unit_);
}

void MaskedIntRegNode::serialize(Archive& a) {
    IntRegNode::serialize(a);
    a.io(lsb_);
    a.io(msb_);
    if (a.loading() && (lsb_ < 0 || lsb_ > 63 || msb_ < 0 || msb_ > 63)) a.corrupt("bit field");
}

void IntSwissKnifeNode::serialize(Archive& a) {
    Node::serialize(a);
    vars_.serialize(a);
    a.io(text_);
    a.io(unit_);
    a.io(representation_);
}

void IntConverterNode::serialize(Archive& a) {
    Node::serialize(a);
    vars_.serialize(a);
    a.io(value_);
    a.io(toText_);
    a.io(fromText_);
    a.io(unit_);
    a.io(slope_);
    a.io(representation_);
    if (a.loading() && !value_) a.corrupt("IntConverter without pValue");
}

void FloatBase::serialize(Archive& a) {
    Node::serialize(a);
    a.io(unit_);
    a.io(representation_);
    a.io(notation_);
    a.io(precision_);
}

void FloatNode::Indexed::serialize(Archive& a) {
    a.io(index);
    a.io(node);
    a.io(constant);
}

void FloatNode::serialize(Archive& a) {
    FloatBase::serialize(a);
    a.io(value_);
    a.io(min_);
    a.io(max_);
    a.io(inc_);
    a.io(default_);
    a.io(index_);
    a.io(indexed_);
    a.io(copies_);
    if (a.loading()) {
        for (Node* n : copies_)
            if (!n) a.corrupt("pValueCopy");
        if (!value_.present && !index_) a.corrupt("Float without value");
    }
}

void FloatRegNode::serialize(Archive& a) {
    FloatBase::serialize(a);
    reg_.serialize(a);
    a.io(endianess_);
}

void SwissKnifeNode::serialize(Archive& a) {
    FloatBase::serialize(a);
    vars_.serialize(a);
    a.io(text_);
}

void ConverterNode::serialize(Archive& a) {
    FloatBase::serialize(a);
    vars_.serialize(a);
    a.io(value_);
    a.io(toText_);
    a.io(fromText_);
    a.io(slope_);
    if (a.loading() && !value_) a.corrupt("Converter without pValue");
}

void BooleanNode::serialize(Archive& a) {
    Node::serialize(a);
    a.io(value_);
    a.io(on_);
    a.io(off_);
}

void CommandNode::serialize(Archive& a) {
    Node::serialize(a);
    a.io(value_);
    a.io(command_);
}

void EnumEntryNode::serialize(Archive& a) {
    Node::serialize(a);
    a.io(symbolic_);
    a.io(value_);
    a.io(numeric_);
    a.io(hasNumeric_);
    a.io(hasValue_);
    a.io(selfClearing_);
}

void EnumerationNode::serialize(Archive& a) {
    Node::serialize(a);
    a.io(value_);
    a.io(entries_);
    if (a.loading())
        for (EnumEntryNode* e : entries_)
            if (!e) a.corrupt("enumeration entry");
}

void StringNode::serialize(Archive& a) {
    Node::serialize(a);
    a.io(value_);
    a.io(pValue_);
    if (a.loading() && pValue_ && !dynamic_cast<IString*>(pValue_)) a.corrupt("String pValue");
}

void StringRegNode::serialize(Archive& a) {
    Node::serialize(a);
    reg_.serialize(a);
}

void RegisterNode::serialize(Archive& a) {
    Node::serialize(a);
    reg_.serialize(a);
}

void IntKeyNode::serialize(Archive& a) {
    Node::serialize(a);
    a.io(rom_);
    a.io(key_);
    if (a.loading() && !rom_) a.corrupt("IntKey without p1212Parser");
}

void TextDescNode::serialize(Archive& a) {
    Node::serialize(a);
    a.io(rom_);
    a.io(key_);
    if (a.loading() && !rom_) a.corrupt("TextDesc without p1212Parser");
}

void PortNode::serialize(Archive& a) {
    Node::serialize(a);
    a.io(swapEndianess_);
}

} // namespace GenApi::detail
