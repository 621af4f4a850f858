// A node's links and element texts as its description gives them, read
// through INode::GetProperty (repeated elements come back tab-separated),
// and the selectors around a node. Shared by the explanations, the selector
// slices and the session code.
#pragma once

#include <string>
#include <vector>

#include "GenApi/Interfaces.h"

namespace quillon::inspect {

// Every value of the property `name`, in description order; none when absent.
std::vector<std::string> PropertyValues(GenApi::INode* node, const char* name);
// The first value of the property, or "" when absent.
std::string PropertyValue(GenApi::INode* node, const char* name);
// The value of the attribute `attribute` of each element `name`, in order
// ("" for an element without it): pVariable's Name, pIndex's Offset ...
std::vector<std::string> PropertyAttributes(GenApi::INode* node, const char* name,
                                            const char* attribute);
// The node the property's first value names, or null.
GenApi::INode* LinkedNode(GenApi::INode* node, const char* name);
// The node's name, or "(none)" for null.
std::string NameOf(GenApi::INode* node);

// The selectors that select `node` (pSelected), and the features a selector selects.
std::vector<GenApi::INode*> SelectingNodes(GenApi::INode* node);
std::vector<GenApi::INode*> SelectedNodes(GenApi::INode* node);

// The node's access mode; NA when asking fails (a cyclic description).
GenApi::EAccessMode AccessOf(GenApi::INode* node);

} // namespace quillon::inspect
