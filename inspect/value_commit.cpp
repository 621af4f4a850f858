#include "inspect/value_commit.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <functional>
#include <optional>

#include "GenApi/Pointer.h"
#include "GenICam/exceptions.h"
#include "inspect/host_report.h"
#include "types/integer_display.h"

namespace quillon::inspect {

namespace {

std::string trimmed(const std::string& text) {
    size_t b = text.find_first_not_of(" \t");
    if (b == std::string::npos) return {};
    size_t e = text.find_last_not_of(" \t");
    return text.substr(b, e - b + 1);
}

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// Parses the whole of `t` as an unsigned number of `base` into `out`.
bool parseUnsigned(std::string_view t, int base, uint64_t& out) {
    if (t.empty()) return false;
    auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), out, base);
    return ec == std::errc() && end == t.data() + t.size();
}

// Joins `count` numbers of `base` separated by `sep`, each at most 255.
std::optional<int64_t> parseOctets(std::string_view t, char sep, size_t count, int base) {
    uint64_t value = 0;
    for (size_t i = 0; i < count; ++i) {
        size_t pos = i + 1 < count ? t.find(sep) : t.size();
        if (pos == std::string_view::npos) return std::nullopt;
        uint64_t octet = 0;
        if (!parseUnsigned(t.substr(0, pos), base, octet) || octet > 255) return std::nullopt;
        value = value << 8 | octet;
        t = pos < t.size() ? t.substr(pos + 1) : std::string_view();
    }
    return static_cast<int64_t>(value);
}

std::optional<int64_t> parseInteger(const std::string& text, GenApi::ERepresentation representation) {
    std::string t = trimmed(text);
    if (representation == GenApi::IPV4Address && t.find('.') != std::string::npos) return parseOctets(t, '.', 4, 10);
    // A MAC address as the browser shows it ("-") or colon-separated.
    for (char separator : {'-', ':'})
        if (representation == GenApi::MACAddress && t.find(separator) != std::string::npos)
            return parseOctets(t, separator, 6, 16);
    bool negative = !t.empty() && t[0] == '-';
    std::string_view digits(t);
    if (!digits.empty() && (digits[0] == '-' || digits[0] == '+')) digits.remove_prefix(1);
    int base = 10;
    if (digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) {
        digits.remove_prefix(2);
        base = 16;
    }
    uint64_t magnitude = 0;
    if (!parseUnsigned(digits, base, magnitude)) return std::nullopt;
    if (negative) {
        if (magnitude > static_cast<uint64_t>(INT64_MAX) + 1) return std::nullopt;
        return static_cast<int64_t>(0 - magnitude);
    }
    if (magnitude > static_cast<uint64_t>(INT64_MAX)) {
        // Hexadecimal text may spell the full 64-bit pattern.
        if (base != 16) return std::nullopt;
    }
    return static_cast<int64_t>(magnitude);
}

std::optional<double> parseFloat(const std::string& text) {
    std::string t = trimmed(text);
    if (!t.empty() && t[0] == '+') t.erase(0, 1);
    double value = 0;
    auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), value);
    if (t.empty() || ec != std::errc() || end != t.data() + t.size() || !std::isfinite(value)) return std::nullopt;
    return value;
}

std::string shortest(double value) {
    char buffer[64];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
    return ec == std::errc() ? std::string(buffer, end) : std::to_string(value);
}

std::string quoted(const std::string& text) { return "\"" + text + "\""; }

struct Prepared {
    std::string message; // non-empty: refuse
    std::string key, value;
    std::function<void()> write;
};

Prepared prepareInteger(GenApi::INode* node, const std::string& name, const std::string& text) {
    GenApi::CIntegerPtr feature(node);
    auto parsed = parseInteger(text, browser::DisplayRepresentation(node->GetName().c_str(),
                                                                    feature->GetRepresentation()));
    if (!parsed) return {quoted(text) + " is not an integer.", {}, {}, {}};
    int64_t v = *parsed, min = feature->GetMin(), max = feature->GetMax(), inc = feature->GetInc();
    if (v < min || v > max)
        return {std::to_string(v) + " is out of range: the minimum is " + std::to_string(min) +
                    " and the maximum is " + std::to_string(max) + ".",
                {}, {}, {}};
    if (inc > 1 && (static_cast<uint64_t>(v) - static_cast<uint64_t>(min)) % static_cast<uint64_t>(inc) != 0)
        return {std::to_string(v) + " is not valid: the value must be " + std::to_string(min) +
                    " plus a multiple of " + std::to_string(inc) + ".",
                {}, {}, {}};
    return {{}, "INT_" + name, std::to_string(v), [feature, v] { feature->SetValue(v, true); }};
}

Prepared prepareFloat(GenApi::INode* node, const std::string& name, const std::string& text) {
    GenApi::CFloatPtr feature(node);
    auto parsed = parseFloat(text);
    if (!parsed) return {quoted(text) + " is not a number.", {}, {}, {}};
    double v = *parsed, min = feature->GetMin(), max = feature->GetMax();
    if (v < min || v > max)
        return {shortest(v) + " is out of range: the minimum is " + shortest(min) + " and the maximum is " +
                    shortest(max) + ".",
                {}, {}, {}};
    if (feature->HasInc()) {
        double inc = feature->GetInc();
        if (inc > 0) {
            double steps = (v - min) / inc;
            if (std::fabs(steps - std::round(steps)) > 1e-9 * std::max(1.0, std::fabs(steps)))
                return {shortest(v) + " is not valid: the value must be " + shortest(min) + " plus a multiple of " +
                            shortest(inc) + ".",
                        {}, {}, {}};
        }
    }
    return {{}, "FLOAT_" + name, shortest(v), [feature, v] { feature->SetValue(v, true); }};
}

Prepared prepareBoolean(GenApi::INode* node, const std::string& name, const std::string& text) {
    GenApi::CBooleanPtr feature(node);
    std::string t = lowered(trimmed(text));
    bool v;
    if (t == "1" || t == "true") v = true;
    else if (t == "0" || t == "false") v = false;
    else return {quoted(text) + " is not a boolean value: use 1 or 0, true or false.", {}, {}, {}};
    return {{}, "BOOL_" + name, v ? "1" : "0", [feature, v] { feature->SetValue(v, true); }};
}

Prepared prepareString(GenApi::INode* node, const std::string& name, const std::string& text) {
    GenApi::CStringPtr feature(node);
    int64_t maxLength = feature->GetMaxLength();
    if (static_cast<int64_t>(text.size()) > maxLength)
        return {"The text has " + std::to_string(text.size()) + " characters; " + name + " takes at most " +
                    std::to_string(maxLength) + ".",
                {}, {}, {}};
    return {{}, "STR_" + name, text, [feature, text] { feature->SetValue(GenICam::gcstring(text), true); }};
}

Prepared prepareEnumeration(GenApi::INode* node, const std::string& name, const std::string& text) {
    GenApi::CEnumerationPtr feature(node);
    std::string t = trimmed(text);
    GenApi::NodeList_t entries;
    feature->GetEntries(entries);
    for (GenApi::INode* entryNode : entries) {
        GenApi::CEnumEntryPtr entry(entryNode);
        if (!entry || !GenApi::IsAvailable(entryNode->GetAccessMode())) continue;
        std::string symbolic(entry->GetSymbolic());
        if (symbolic == t || std::string(entryNode->GetDisplayName()) == t)
            return {{}, "ENUM_" + name, symbolic,
                    [feature, symbolic] { feature->FromString(GenICam::gcstring(symbolic), true); }};
    }
    return {quoted(text) + " is not an available entry of " + name + ".", {}, {}, {}};
}

} // namespace

CommitResult CommitValue(GenApi::INode* node, const std::string& nodeName, const std::string& text,
                         const browser::NodeMapContext& context) {
    if (!node) return {false, "No feature is selected."};
    try {
        if (!GenApi::IsWritable(node->GetAccessMode())) return {false, nodeName + " is not writable."};
        Prepared p;
        switch (node->GetPrincipalInterfaceType()) {
        case GenApi::intfIInteger: p = prepareInteger(node, nodeName, text); break;
        case GenApi::intfIFloat: p = prepareFloat(node, nodeName, text); break;
        case GenApi::intfIBoolean: p = prepareBoolean(node, nodeName, text); break;
        case GenApi::intfIString: p = prepareString(node, nodeName, text); break;
        case GenApi::intfIEnumeration: p = prepareEnumeration(node, nodeName, text); break;
        default: return {false, nodeName + " takes no typed value."};
        }
        if (!p.message.empty()) return {false, p.message};
        p.write();
        ReportSelectors(context, node);
        ReportToHost(context, p.key, p.value);
        return {true, {}};
    } catch (const GenICam::GenericException& e) {
        return {false, e.GetDescription()};
    }
}

} // namespace quillon::inspect
