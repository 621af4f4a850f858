#include "types/row_context.h"

namespace quillon::browser {

PropertyFlags ReadPropertyFlags(GenApi::INode* node) {
    PropertyFlags flags;
    GenICam::gcstring_vector names;
    node->GetPropertyNames(names);
    for (const auto& n : names) {
        std::string name(n);
        if (name == "ToolTip") flags.toolTip = true;
        else if (name == "Description") flags.description = true;
        else if (name == "Min" || name == "pMin") flags.minimum = true;
        else if (name == "Max" || name == "pMax") flags.maximum = true;
        else if (name == "Inc" || name == "pInc") flags.increment = true;
        else if (name == "Unit") flags.unit = true;
    }
    return flags;
}

} // namespace quillon::browser
