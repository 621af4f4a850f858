// What the browser's rows share with each other and with the inspection
// code: the node-map context a row belongs to, the has-property flags taken
// from its node, and the host's change callback.
#pragma once

#include <cstdint>
#include <string>

#include "GenApi/Interfaces.h"

namespace quillon::browser {

// The host's change callback: context value, key text, value text.
using HostChangeCallback = void (*)(void* context, const char* key, const char* value);

// Copied into every row from the node-map entry the row belongs to.
struct NodeMapContext {
    GenApi::INodeMap* nodeMap = nullptr; // the entry's node map; rows do not own it
    std::string caption;                 // the entry's caption; empty when none
    int64_t objectKind = 0;              // Q_SYSTEM_OBJECT, Q_DIGITIZER_OBJECT, Q_SEQUENCE_OBJECT; 0 none
    int64_t object = 0;                  // the imaging-library object behind the node map (a QOR_ID)
    HostChangeCallback changeCallback = nullptr;
    void* changeContext = nullptr;
    bool extended = false;               // descriptor record version 4 or more
    int64_t firstValue = 0, secondValue = 0;
    std::string labels[4];               // the descriptor's first to fourth label
};

// The has-property flags of a row, read once from INode::GetPropertyNames.
struct PropertyFlags {
    bool toolTip = false;     // "ToolTip"
    bool description = false; // "Description"
    bool minimum = false;     // "Min" or "pMin"
    bool maximum = false;     // "Max" or "pMax"
    bool increment = false;   // "Inc" or "pInc"
    bool unit = false;        // "Unit"
};

PropertyFlags ReadPropertyFlags(GenApi::INode* node);

} // namespace quillon::browser
