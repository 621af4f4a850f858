// The text of the browser's "Feature properties:" box for the selected
// feature: its description, name, value, type and, for numbers, limits,
// increment and unit; the access-code lines follow under "QOR API:".
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "GenApi/Interfaces.h"
#include "types/row_context.h"

namespace quillon::inspect {

// The typed text for a node (integer, boolean, enumeration, command, float,
// string, register); empty for categories, entries, ports and other nodes,
// for which the box shows nothing. `name` is the node's name as the row
// keeps it; `flags` the row's has-property flags.
//
// The text never throws for a GenApi failure. An enumeration whose current
// entry cannot be read shows "Error, inquired value not listed in XML." as
// its value and the exception's description on its "Description:" line. For
// the other types a failed value read shows "Error: " and the description in
// place of the value, and a failed limit read replaces the limits block by
// one "Limits:" line with the error. A node that is not readable (write-only,
// not available) shows an empty value and keeps its limits.
std::string FeaturePropertyText(GenApi::INode* node, const std::string& name, const browser::PropertyFlags& flags);

// The whole box: the typed text, then the heading "QOR API:", then each of
// the access-code pieces, every part followed by an empty line ("%s\r\n\r\n").
// Empty when the typed text is empty (a category shows nothing).
std::string PropertyBoxText(const std::string& typedText, const std::vector<std::string>& accessCodePieces);

} // namespace quillon::inspect
