// What the node-map cache keeps of each node: its configured state, so that a
// cached load needs neither the XML nor the property pass. Reading checks what
// the loader guarantees of a configured node (references present, kinds and
// enumeration values in range), so a damaged or forged cache file raises
// instead of building a node that would fail at its first use.
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
    if (!a.loading()) return;
    // Plain bytes here: they become enumerations when read.
    if (nameSpace_ > Standard || visibility_ > Invisible || imposedAccess_ > RW ||
        cachable_ > WriteAround)
        a.corrupt("node enumeration value");
    if (hasExtras)
        for (Node* n : extras_->selecting)
            if (!n) a.corrupt("selecting node");
}

void NodeVariables::Var::serialize(Archive& a) {
    a.io(name);
    a.io(node);
    a.io(kind);
    a.io(text);
    a.io(entryValue);
    if (!a.loading()) return;
    // A variable names a node (pVariable) or holds a text (Constant,
    // Expression): no other kind, no other combination.
    bool named = kind == Field::Constant || kind == Field::Expression;
    if (kind == Field::Value ? !node : !named || node) a.corrupt("formula variable");
    if (named) expression = std::make_shared<Formula>();
}

void NodeVariables::serialize(Archive& a) {
    a.io(vars_);
    a.io(to_);
}

namespace {
// A formula node's variables and text as the loader leaves them: a formula,
// and TO bound to the converted node (`to`) or, without one, to nothing.
void checkFormula(Archive& a, const NodeVariables& vars, const std::string& text, const Node* to) {
    if (a.loading() && (text.empty() || vars.boundTo() != to)) a.corrupt("formula");
}
} // namespace

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
    checkFormula(a, *vars, text, nullptr);
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
        if (accessMode_ != RO && accessMode_ != WO && accessMode_ != RW)
            a.corrupt("register AccessMode");
        if (!length_.present) a.corrupt("register without Length");
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
        if (index_ && !default_.present && indexed_.empty())
            a.corrupt("Integer with pIndex without values");
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
    checkFormula(a, vars_, text_, nullptr);
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
    checkFormula(a, vars_, toText_, value_);
    checkFormula(a, vars_, fromText_, value_);
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
    checkFormula(a, vars_, text_, nullptr);
}

void ConverterNode::serialize(Archive& a) {
    FloatBase::serialize(a);
    vars_.serialize(a);
    a.io(value_);
    a.io(toText_);
    a.io(fromText_);
    a.io(slope_);
    if (a.loading() && !value_) a.corrupt("Converter without pValue");
    checkFormula(a, vars_, toText_, value_);
    checkFormula(a, vars_, fromText_, value_);
}

void BooleanNode::serialize(Archive& a) {
    Node::serialize(a);
    a.io(value_);
    a.io(on_);
    a.io(off_);
    if (a.loading() && (!value_.present || on_ == off_)) a.corrupt("Boolean");
}

void CommandNode::serialize(Archive& a) {
    Node::serialize(a);
    a.io(value_);
    a.io(command_);
    if (a.loading() && (!value_.present || !command_.present)) a.corrupt("Command");
}

void EnumEntryNode::serialize(Archive& a) {
    Node::serialize(a);
    a.io(symbolic_);
    a.io(value_);
    a.io(numeric_);
    a.io(hasNumeric_);
    a.io(hasValue_);
    a.io(selfClearing_);
    if (a.loading() && !hasValue_) a.corrupt("EnumEntry without Value");
}

void EnumerationNode::serialize(Archive& a) {
    Node::serialize(a);
    a.io(value_);
    a.io(entries_);
    if (!a.loading()) return;
    if (!value_.present) a.corrupt("Enumeration without value");
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
    if (a.loading() && (!rom_ || key_ < 0 || key_ > 255)) a.corrupt("IntKey");
}

void TextDescNode::serialize(Archive& a) {
    Node::serialize(a);
    a.io(rom_);
    a.io(key_);
    if (a.loading() && (!rom_ || key_ < 0 || key_ > 255)) a.corrupt("TextDesc");
}

void PortNode::serialize(Archive& a) {
    Node::serialize(a);
    a.io(swapEndianess_);
}

} // namespace GenApi::detail
