// Reports of committed changes to the host's change callback, shared by the
// command path and the in-place edit commit.
#pragma once

#include <string>

#include "GenApi/Interfaces.h"
#include "types/row_context.h"

namespace quillon::inspect {

// Calls the context's change callback with (changeContext, key, value) when
// both the callback and its context value are set. With the extended flag the
// callback receives the context's firstValue and secondValue, cast to the
// callback's pointer parameters, instead of the texts: hosts of that record
// version identify the change by their own two values. An exception thrown by
// the callback is dropped, so a faulty host cannot break the browser.
void ReportToHost(const browser::NodeMapContext& context, const std::string& key, const std::string& value);

// Reports one "SELECTOR_<tag>_<name>" pair per implemented selector that
// selects `node`, in the order the node map lists them, with the selector's
// current value text; the tag is the access-code generator's TypeTag, so the
// keys match the constants it names. Selectors that cannot be read are skipped.
void ReportSelectors(const browser::NodeMapContext& context, GenApi::INode* node);

} // namespace quillon::inspect
