// The text of a tree row: its label, a tab, and its value, by the node's type.
#pragma once

#include <string>

#include "GenApi/Interfaces.h"
#include "types/feature_row.h"

namespace quillon::browser {

// A float's text, without label: digits chosen by the signed value.
std::string FormatFloatValue(double value);

// The row text of `label` and `node`: value, base, category, entry and port
// nodes keep the label alone; an unavailable node shows "N/A"; a value that
// cannot be read shows nothing after the tab. GenICam exceptions of the read pass
// through; a null node raises the GenApi "NULL pointer dereferenced" error.
std::string RowText(const std::string& label, GenApi::INode* node);

// RowText for the row, or label + " \t Error" when the read throws a GenICam
// exception; sets or clears the row's inError flag accordingly. A device
// access that failed (the imaging library's AccessException, "Error in ...":
// the device refused or did not answer) leaves its description in
// `accessFailure`, when given.
std::string RenderRow(FeatureRow& row, std::string* accessFailure = nullptr);

// Renders the row and sets its item's text; rows without item are rendered only.
void RewriteRow(FeatureRow& row, TreeSink& sink, std::string* accessFailure = nullptr);

} // namespace quillon::browser
