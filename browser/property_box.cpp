#include "browser/property_box.h"

#include "GenApi/Pointer.h"
#include "inspect/property_text.h"
#include "qorvis.h"

namespace quillon::browser {

const FeatureRow* SelectingRow(FeatureTreeModel& model, const FeatureRow& row) {
    if (row.parentItem == kTopLevel) return nullptr;
    const FeatureRow* parent = model.RowForItem(row.parentItem);
    if (!parent || !parent->node) return nullptr;
    GenApi::CSelectorPtr selector(parent->node);
    return selector && selector->IsSelector() ? parent : nullptr;
}

inspect::SnippetTexts RowSnippets(FeatureTreeModel& model, const FeatureRow& row) {
    const int64_t kind = row.context.objectKind ? row.context.objectKind : Q_DIGITIZER_OBJECT;
    inspect::SnippetRequest request = inspect::MakeSnippetRequest(row.node, kind);
    // A parent lies higher in the tree: the chain ends at the top.
    if (const FeatureRow* selector = SelectingRow(model, row))
        request.selector = RowSnippets(model, *selector);
    return inspect::GenerateSnippets(row.node, request);
}

std::string PropertyBoxFor(FeatureTreeModel& model, const FeatureRow& row) {
    if (!row.node) return {};
    const std::string typed =
        inspect::FeaturePropertyText(row.node, row.node->GetName().c_str(), row.properties);
    return inspect::PropertyBoxText(typed, RowSnippets(model, row).ShownPieces());
}

} // namespace quillon::browser
