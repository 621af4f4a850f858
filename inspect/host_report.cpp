#include "inspect/host_report.h"

#include <cstdint>

#include "GenApi/Pointer.h"
#include "GenICam/exceptions.h"
#include "inspect/snippet_generator.h"

namespace quillon::inspect {

void ReportToHost(const browser::NodeMapContext& context, const std::string& key, const std::string& value) {
    if (!context.changeCallback || !context.changeContext) return;
    try {
        if (context.extended) {
            context.changeCallback(context.changeContext,
                                   reinterpret_cast<const char*>(static_cast<intptr_t>(context.firstValue)),
                                   reinterpret_cast<const char*>(static_cast<intptr_t>(context.secondValue)));
        } else {
            context.changeCallback(context.changeContext, key.c_str(), value.c_str());
        }
    } catch (...) {
        // The host's failure is the host's; the browser goes on.
    }
}

void ReportSelectors(const browser::NodeMapContext& context, GenApi::INode* node) {
    if (!context.changeCallback || !context.changeContext) return;
    GenApi::CSelectorPtr self(node);
    if (!self) return;
    GenApi::FeatureList_t selecting;
    self->GetSelectingFeatures(selecting);
    for (GenApi::IValue* value : selecting) {
        if (!value) continue;
        GenApi::INode* selectorNode = value->GetNode();
        GenApi::CSelectorPtr selector(selectorNode);
        if (!selector || !GenApi::IsImplemented(selectorNode->GetAccessMode()) || !selector->IsSelector()) continue;
        std::string text;
        try {
            text = std::string(value->ToString());
        } catch (const GenICam::GenericException&) {
            continue;
        }
        ReportToHost(context,
                     "SELECTOR_" + TypeTag(selectorNode) + "_" + std::string(selectorNode->GetName()), text);
    }
}

} // namespace quillon::inspect
