#include "property_text.h"

#include <cinttypes>

#include "GenApi/Pointer.h"
#include "GenICam/exceptions.h"
#include "text_format.h"
#include "types/integer_display.h"

namespace quillon::inspect {

using namespace GenApi;
using browser::DisplayRepresentation;
using browser::FormatIntegerValue;

namespace {

// The first line of every text: description, else tool tip, else a fixed
// text whose full stop depends on the type (integers have none).
std::string DescriptionText(INode* node, const browser::PropertyFlags& flags, bool integer) {
    if (flags.description) return std::string(node->GetDescription());
    if (flags.toolTip) return std::string(node->GetToolTip());
    return integer ? "No information available" : "No information available.";
}

std::string ErrorText(const GenICam::GenericException& e) { return std::string("Error: ") + e.GetDescription(); }

std::string IntegerLimits(IInteger& value, ERepresentation representation, const browser::PropertyFlags& flags) {
    std::string block;
    if (flags.minimum && flags.maximum) {
        int64_t min = value.GetMin(), max = value.GetMax();
        if (representation == HexNumber)
            block += Format("Minimum:\t0x%" PRIX64 "\r\nMaximum:\t0x%" PRIX64 "\r\n", static_cast<uint64_t>(min),
                            static_cast<uint64_t>(max));
        else
            block += Format("Minimum:\t%" PRId64 "\r\nMaximum:\t%" PRId64 "\r\n", min, max);
    }
    if (flags.increment) {
        int64_t inc = value.GetInc();
        if (inc != 1) block += Format("Increment:\t%" PRId64 "\n", inc);
    }
    if (flags.unit) block += Format("Unit:\t%s\n", value.GetUnit().c_str());
    return block;
}

// A float's increment of 1.0 is left out as an integer's increment of 1 is:
// the line would only repeat the default step.
std::string FloatLimits(IFloat& value, const browser::PropertyFlags& flags) {
    std::string block;
    if (flags.minimum && flags.maximum) block += Format("Minimum:\t%f\r\nMaximum:\t%f\r\n", value.GetMin(), value.GetMax());
    if (flags.increment) {
        double inc = value.GetInc();
        if (inc != 1.0) block += Format("Increment:\t%f\n", inc);
    }
    if (flags.unit) block += Format("Unit:\t%s\n", value.GetUnit().c_str());
    return block;
}

template <class Limits>
std::string LimitsOrError(Limits&& limits) {
    try {
        return limits();
    } catch (const GenICam::GenericException& e) {
        return "Limits:\t" + ErrorText(e) + "\r\n";
    }
}

template <class Read>
std::string ValueOrError(INode* node, Read&& read) {
    try {
        if (!IsReadable(node->GetAccessMode())) return {};
        return read();
    } catch (const GenICam::GenericException& e) {
        return ErrorText(e);
    }
}

} // namespace

std::string FeaturePropertyText(INode* node, const std::string& name, const browser::PropertyFlags& flags) {
    if (!node) return {};
    const char* n = name.c_str();
    switch (node->GetPrincipalInterfaceType()) {
    case intfIInteger: {
        CIntegerPtr value(node);
        ERepresentation representation = HexNumber;
        std::string limits;
        try {
            representation = DisplayRepresentation(name, value->GetRepresentation());
            limits = LimitsOrError([&] { return IntegerLimits(*value, representation, flags); });
        } catch (const GenICam::GenericException& e) {
            limits = "Limits:\t" + ErrorText(e) + "\r\n";
        }
        std::string text =
            ValueOrError(node, [&] { return FormatIntegerValue(value->GetValue(), representation); });
        return Format("%s\r\n\r\nName:\t%s\r\nValue:\t%s\r\nType:\tInteger\r\n%s",
                      DescriptionText(node, flags, true).c_str(), n, text.c_str(), limits.c_str());
    }
    case intfIBoolean: {
        CBooleanPtr value(node);
        std::string text = ValueOrError(node, [&] { return std::string(value->GetValue() ? "True" : "False"); });
        return Format("%s\r\n\r\nName:\t%s\r\nValue:\t%s\r\nType:\tBoolean\n", DescriptionText(node, flags, false).c_str(),
                      n, text.c_str());
    }
    case intfIEnumeration: {
        CEnumerationPtr value(node);
        std::string entryName, entryDescription;
        try {
            if (IsReadable(node->GetAccessMode())) {
                IEnumEntry* entry = value->GetCurrentEntry();
                if (!entry) throw ACCESS_EXCEPTION("Feature not present (reference not valid)");
                entryName = std::string(entry->GetSymbolic());
                entryDescription = std::string(entry->GetNode()->GetDescription());
            }
        } catch (const GenICam::GenericException& e) {
            // Typically the device holds a value that no entry lists.
            entryName = "Error, inquired value not listed in XML.";
            entryDescription = e.GetDescription();
        }
        return Format("%s\r\n\r\nName:\t%s\r\nValue:\t%s\r\nDescription:\t%s\r\nType:\tEnumeration\n",
                      DescriptionText(node, flags, false).c_str(), n, entryName.c_str(), entryDescription.c_str());
    }
    case intfICommand:
        return Format("%s\r\n\r\nName:\t%s\r\nType:\tCommand\n", DescriptionText(node, flags, false).c_str(), n);
    case intfIFloat: {
        CFloatPtr value(node);
        // The value keeps the template's "%f"; only a failure puts text there.
        std::string text = ValueOrError(node, [&] { return Format("%f", value->GetValue()); });
        std::string limits = LimitsOrError([&] { return FloatLimits(*value, flags); });
        return Format("%s\r\n\r\nName:\t%s\r\nValue:\t%s\r\nType:\tDouble\r\n%s\n",
                      DescriptionText(node, flags, false).c_str(), n, text.c_str(), limits.c_str());
    }
    case intfIString: {
        CStringPtr value(node);
        std::string text = ValueOrError(node, [&] { return std::string(value->GetValue()); });
        return Format("%s\r\n\r\nName:\t%s\r\nValue:\t%s\r\nType:\tString\n", DescriptionText(node, flags, false).c_str(),
                      n, text.c_str());
    }
    case intfIRegister:
        return Format("%s\r\n\r\nName:\t%s\r\nType:\tRegister\n", DescriptionText(node, flags, false).c_str(), n);
    default: return {};
    }
}

std::string PropertyBoxText(const std::string& typedText, const std::vector<std::string>& accessCodePieces) {
    if (typedText.empty()) return {};
    std::string box = Format("%s\r\n\r\n", typedText.c_str());
    box += Format("%s\r\n\r\n", "QOR API:");
    for (const auto& piece : accessCodePieces) box += Format("%s\r\n\r\n", piece.c_str());
    return box;
}

} // namespace quillon::inspect
