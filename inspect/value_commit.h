// Committing a value typed into an in-place editor: the text is parsed for
// the feature's type, checked against its limits, written, and reported to
// the host's change callback. The caller rewrites the row afterwards.
#pragma once

#include <string>

#include "GenApi/Interfaces.h"
#include "types/row_context.h"

namespace quillon::inspect {

struct CommitResult {
    bool written = false;
    // Why nothing was written, for the user; empty when written.
    std::string message;
};

// Integer: decimal, "0x" hexadecimal, dotted IPv4 or dash- or
// colon-separated MAC, for features shown as addresses (DisplayRepresentation); it
// must lie within [min, max] and be min plus a multiple of the increment.
// Float: a decimal number within [min, max], on the increment's grid when
// the feature has one. Boolean: 1/0, true/false (any case). String: at most
// the feature's maximum length. Enumeration: an available entry's symbolic
// name or display name.
// After a write, reports the feature's selectors ("SELECTOR_<tag>_<name>")
// and then "INT_<name>" (decimal), "FLOAT_<name>" (shortest round-trip text),
// "BOOL_<name>" ("1" or "0"), "STR_<name>" (the text) or "ENUM_<name>" (the
// symbolic name). Text that fails a check writes nothing and reports nothing;
// a GenICam exception from the write is answered with its description.
CommitResult CommitValue(GenApi::INode* node, const std::string& nodeName, const std::string& text,
                         const browser::NodeMapContext& context);

} // namespace quillon::inspect
