// Ready-to-paste source lines that read ("inquire") and write ("control")
// the selected feature through the imaging library's API, shown in the
// property box under "QOR API:".
//
// Two styles are generated: the library's generic feature calls
// (Q*InquireFeature / Q*ControlFeature with the name in QOR_TEXT), which are
// complete C++ against qorvis.h given a QOR_ID named QorSystem or
// QorDigitizer, and one-line calls of the older per-object control and
// inquire functions, which are only meaningful where an older control
// constant exists for the feature.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "GenApi/Interfaces.h"

namespace quillon::inspect {

// The dialog's three texts for a target object kind: the feature-control
// function, the feature-inquire function (each with its opening parenthesis)
// and the argument list up to and including the handle and its comma.
//   system     "QsysControlFeature(", "QsysInquireFeature(", "QorSystem, "
//   digitizer  "QdigControlFeature(", "QdigInquireFeature(", "QorDigitizer, "
//   sequence   "QseqControlFeature(", "QseqInquireFeature(", "QorSequence, "
// The library has no feature access for sequences; their texts follow the
// same pattern so that the lines read alike (sequence lines quote an empty
// feature name anyway). Any other kind is treated as a digitizer, the
// object that carries a camera.
struct FeatureCallTexts {
    std::string controlFunction;
    std::string inquireFunction;
    std::string handleArgument;
};
FeatureCallTexts FeatureCallTextsFor(int64_t objectKind);

// The type tag of a node for the older-constant lookup: "INT", "BOOL",
// "FLOAT", "STR", "REG", "ENUM" (commands share "INT"); empty for others.
std::string TypeTag(GenApi::INode* node);

// True when the feature's value is one of the library's 64-bit control
// types: its ControlType (older_constants.h) is one that the object kind's
// transport proxy carries as a 64-bit control (class 2).
bool IsValue64Bit(GenApi::INode* node, int64_t objectKind);

// The variable name: the feature name, plus "In" and the unit when a unit is
// given, with punctuation removed. So that the name is a C identifier,
// characters outside ASCII are dropped too, except the micro sign, written
// "u" ("ExposureTimeInus", "DeviceTemperatureInC").
std::string VariableName(std::string_view featureName, std::string_view unit);

// Everything generated for one feature; every text is empty or a run of
// complete lines.
struct SnippetTexts {
    std::string oneLineControl;  // older-style control call
    std::string oneLineInquire;  // older-style declaration and inquire
    std::string controlBlock;    // generic declaration and control call
    std::string inquireBlock;    // generic declaration and inquire call(s)
    std::string valueTest;       // enumerations: if-chain or switch over the entries
    bool showControl = false;    // the feature is writable (or both blocks were asked for)
    bool showInquire = false;    // the feature is readable (or both blocks were asked for)
    bool showOneLine = false;    // an older constant exists and the target has older functions

    // The pieces the property box shows, in order: one-line control, control
    // block, one-line inquire, inquire block, value test; each only where
    // shown and not empty.
    std::vector<std::string> ShownPieces() const;
};

// One generation's input, as the dialog holds it for the selected row.
struct SnippetRequest {
    std::string featureName;        // the node's name
    bool usePrefix = false;         // the dialog's feature-name prefix flag
    std::string prefix;             // its prefix text: the name becomes prefix ":" name
    int64_t objectKind = 0;         // Q_SYSTEM_OBJECT, Q_DIGITIZER_OBJECT or Q_SEQUENCE_OBJECT
    std::string controlFunction;    // FeatureCallTexts of the dialog
    std::string inquireFunction;
    std::string handleArgument;
    std::string olderConstant = "Q_NULL";
    bool bothBlocks = false;        // show control and inquire whatever the access mode
    // The texts already generated for the row's selector. They are put in
    // front of the feature's own texts: the selector's control lines before
    // both the control and the inquire texts (whichever is shown), so that
    // the snippet first sets the selector to the value it has now, then
    // accesses the selected feature.
    std::optional<SnippetTexts> selector;
};

// A request for a node of a target object kind with the dialog's texts for
// that kind and the library's older constant of the feature (older_constants.h).
SnippetRequest MakeSnippetRequest(GenApi::INode* node, int64_t objectKind);

// The texts for a node. Values are read from the node now; a value that
// cannot be read (write-only or unavailable feature, failed read) is written
// as the type's zero, 0 or Q_FALSE, or as an empty text, so that a
// write-only feature's control block still compiles. String
// values are written inside QOR_TEXT("...") with backslash, double quote and
// line breaks escaped. Category and other nodes give empty texts.
SnippetTexts GenerateSnippets(GenApi::INode* node, const SnippetRequest& request);

} // namespace quillon::inspect
