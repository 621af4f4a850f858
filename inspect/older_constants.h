// The imaging library's older control types (the Q_SYS_* and Q_DIG_*
// constants of qorvis.h) by the features of the library's own descriptions
// that carry them: what the one-line QsysControl/QdigControl calls of the
// access code name.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "GenApi/Interfaces.h"

namespace quillon::inspect {

struct OlderConstant {
    int64_t objectKind;   // Q_SYSTEM_OBJECT or Q_DIGITIZER_OBJECT
    const char* typeTag;  // "INT", "BOOL", "FLOAT", "STR", "ENUM" (commands: "INT")
    const char* feature;  // the feature's name in the object's description
    const char* constant; // its name in qorvis.h
    int64_t controlType;  // its value: the address of the feature's register
};

std::span<const OlderConstant> OlderConstants();

// The control type behind a feature of the library's own descriptions: the
// address of its register (the node itself when it has an Address, else its
// pValue target). Nothing for a node without one.
std::optional<int64_t> ControlType(GenApi::INode* node);

// The constant's name for a feature of an object kind: listed under its
// type tag and name, and reaching that very control type (a camera's
// feature of the same name is a device register, not a library control).
// "Q_NULL" otherwise, and for sequences and other kinds.
std::string OlderControlConstant(GenApi::INode* node, int64_t objectKind);

} // namespace quillon::inspect
