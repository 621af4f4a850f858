// "Why can't I edit this?": a feature's access mode told from its
// description. The walk follows the rules the engine applies (pIsImplemented,
// pIsAvailable, the pValue chain down to the register or formula,
// pIsLocked, ImposedAccessMode) and names the innermost rule that decides the
// mode now, with the current values of the nodes and formula variables that
// decide it. Everything is read through the public node interface: links and
// formulas through INode::GetProperty, values through the value interfaces.
#pragma once

#include <string>
#include <vector>

#include "GenApi/Interfaces.h"

namespace quillon::inspect {

struct AccessExplanation {
    GenApi::EAccessMode mode = GenApi::NI;
    // "Width is read-only now: it is locked while TLParamsLocked = 1 (pIsLocked)".
    std::string headline;
    // How each node on the way comes to its access mode or value, innermost
    // first: "WidthReg: register at 0x10010, 4 bytes, AccessMode RW -> RW".
    std::vector<std::string> chain;
    // "Register: ...", "Polling: ...", "Selected by: ...", "Selects: ...",
    // "Changes when written: ...", "Read anew after: ...".
    std::vector<std::string> facts;
    // Enumerations: "Entry: why" for every entry that is not available now.
    std::vector<std::string> unavailableEntries;
};

// Reads the node's description and the values that decide its access mode
// now. GenICam failures met on the way are told in the texts, not thrown.
AccessExplanation ExplainAccess(GenApi::INode* node);

// The headline, "Innermost first:" with the chain, the facts, and "Entries
// not available now:" with the entries; one item a line.
std::string ExplanationText(const AccessExplanation& explanation);

} // namespace quillon::inspect
