// The "Feature properties:" box of a tree row: the property text of the
// row's feature and, under "QOR API:", its access code for the row's object.
// The window and `quillon props` both show it.
#pragma once

#include <string>

#include "browser/tree_model.h"
#include "inspect/snippet_generator.h"

namespace quillon::browser {

// The selector row a row is shown under (its parent row, when that is a
// selector), or null.
const FeatureRow* SelectingRow(FeatureTreeModel& model, const FeatureRow& row);

// The access code of the row's feature, for the row's object (a digitizer
// when the entry names none). Under a selector, the lines that set the
// selector (and its own selector's, and so on) are joined in front.
inspect::SnippetTexts RowSnippets(FeatureTreeModel& model, const FeatureRow& row);

// The box's text; empty for a row without a feature. GenICam exceptions of
// the reads pass through.
std::string PropertyBoxFor(FeatureTreeModel& model, const FeatureRow& row);

} // namespace quillon::browser
