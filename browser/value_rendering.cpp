#include "browser/value_rendering.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

#include "GenApi/Pointer.h"
#include "GenICam/exceptions.h"
#include "types/integer_display.h"

namespace quillon::browser {

namespace {

template <class... Args>
std::string Format(const char* format, Args... args) {
    char buffer[512];
    const int n = std::snprintf(buffer, sizeof buffer, format, args...);
    if (n < 0) return {};
    if (static_cast<size_t>(n) < sizeof buffer) return std::string(buffer, static_cast<size_t>(n));
    std::string text(static_cast<size_t>(n) + 1, '\0');
    std::snprintf(text.data(), text.size(), format, args...);
    text.resize(static_cast<size_t>(n));
    return text;
}


std::string WithValue(const std::string& label, const std::string& value) { return label + " \t " + value; }
std::string EmptyValue(const std::string& label) { return label + " \t"; }

std::string IntegerText(const std::string& label, GenApi::INode* node) {
    GenApi::CIntegerPtr integer(node);
    const GenApi::ERepresentation representation =
        DisplayRepresentation(node->GetName().c_str(), integer->GetRepresentation());
    return WithValue(label, FormatIntegerValue(integer->GetValue(), representation));
}

} // namespace

std::string FormatFloatValue(double v) {
    // The signed value decides: negative values fall through to fifteen digits.
    const char* format;
    if (v >= 1.0 || v == 0.0) format = "%.3f";
    else if (v >= 0.001) format = "%.6f";
    else if (v >= 0.000001) format = "%.9f";
    else if (v >= 0.000000001) format = "%.12f";
    else format = "%.15f";
    return Format(format, v);
}

std::string RowText(const std::string& label, GenApi::INode* node) {
    if (!node) throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
    const GenApi::EInterfaceType type = node->GetPrincipalInterfaceType();
    switch (type) {
    case GenApi::intfIValue:
    case GenApi::intfIBase:
    case GenApi::intfICategory:
    case GenApi::intfIEnumEntry:
    case GenApi::intfIPort: return label;
    default: break;
    }
    const GenApi::EAccessMode mode = node->GetAccessMode();
    if (mode == GenApi::NA || mode == GenApi::NI) return WithValue(label, "N/A");
    switch (type) {
    case GenApi::intfIInteger:
        return GenApi::IsReadable(mode) ? IntegerText(label, node) : EmptyValue(label);
    case GenApi::intfIFloat:
        return GenApi::IsReadable(mode) ? WithValue(label, FormatFloatValue(GenApi::CFloatPtr(node)->GetValue()))
                                : EmptyValue(label);
    case GenApi::intfIBoolean: return EmptyValue(label); // the check state carries the value
    case GenApi::intfICommand:
        return GenApi::CCommandPtr(node).IsValid() ? WithValue(label, "Execute()") : WithValue(label, "N/A");
    case GenApi::intfIString:
        return GenApi::IsReadable(mode) ? WithValue(label, std::string(GenApi::CStringPtr(node)->GetValue()))
                                : EmptyValue(label);
    case GenApi::intfIRegister: return WithValue(label, "..."); // registers are never read for display
    case GenApi::intfIEnumeration: {
        if (!GenApi::IsReadable(mode)) return EmptyValue(label);
        GenApi::CEnumEntryPtr entry(GenApi::CEnumerationPtr(node)->GetCurrentEntry());
        return WithValue(label, std::string(entry->GetSymbolic()));
    }
    default: return WithValue(label, "N/A");
    }
}

std::string RenderRow(FeatureRow& row, std::string* accessFailure) {
    try {
        std::string text = RowText(row.label, row.node);
        row.inError = false;
        return text;
    } catch (const GenICam::AccessException& e) {
        // The imaging library's failures start so; the engine's own (a value
        // that matches no entry ...) are the row's alone.
        if (accessFailure && std::string_view(e.GetDescription()).starts_with("Error in "))
            *accessFailure = e.GetDescription();
        row.inError = true;
        return WithValue(row.label, "Error");
    } catch (const GenICam::GenericException&) {
        row.inError = true;
        return WithValue(row.label, "Error");
    }
}

void RewriteRow(FeatureRow& row, TreeSink& sink, std::string* accessFailure) {
    std::string text = RenderRow(row, accessFailure);
    if (row.treeItem != kTopLevel) sink.SetItemText(row.treeItem, text);
}

} // namespace quillon::browser
