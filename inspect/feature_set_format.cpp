#include "inspect/feature_set_format.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <map>
#include <utility>

namespace quillon::inspect {

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

std::string_view trimmed(std::string_view t) {
    while (!t.empty() && (isBlank(t.front()) || t.front() == '\r'))
        t.remove_prefix(1);
    while (!t.empty() && (isBlank(t.back()) || t.back() == '\r'))
        t.remove_suffix(1);
    return t;
}

// Feature names as descriptions spell them: letters, digits and underscores
// (a stray byte such as a byte-order mark is no name).
bool isNameChar(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

bool parseUnsigned(std::string_view t, int base, uint64_t& out) {
    if (t.empty()) return false;
    auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), out, base);
    return ec == std::errc() && end == t.data() + t.size();
}

// `count` groups of at most 255, of `base`, separated by `sep`.
std::optional<int64_t> parseGroups(std::string_view t, char sep, size_t count, int base) {
    uint64_t value = 0;
    for (size_t i = 0; i < count; ++i) {
        const size_t end = i + 1 < count ? t.find(sep) : t.size();
        uint64_t group = 0;
        if (end == std::string_view::npos || !parseUnsigned(t.substr(0, end), base, group) ||
            group > 255)
            return std::nullopt;
        value = value << 8 | group;
        t = end < t.size() ? t.substr(end + 1) : std::string_view();
    }
    return static_cast<int64_t>(value);
}

size_t countOf(std::string_view t, char c) {
    size_t n = 0;
    for (char x : t)
        n += x == c;
    return n;
}

// "Name[Sel=Value]... = value" at the start of `t`; nothing when `t` is not
// such a line, with `why` saying what is wrong when it looked like one.
std::optional<FeatureLine> parseValueLine(std::string_view t, std::string* why) {
    FeatureLine line;
    size_t i = 0;
    while (i < t.size() && isNameChar(t[i]))
        ++i;
    if (i == 0) return std::nullopt;
    line.name = std::string(t.substr(0, i));
    while (i < t.size() && t[i] == '[') {
        const size_t close = t.find(']', i);
        const size_t eq = t.find('=', i);
        if (close == std::string_view::npos || eq == std::string_view::npos || eq > close) {
            if (why) *why = "a selector must be written [SelectorName=Entry]";
            return std::nullopt;
        }
        SelectorSetting s{std::string(trimmed(t.substr(i + 1, eq - i - 1))),
                          std::string(trimmed(t.substr(eq + 1, close - eq - 1)))};
        if (s.selector.empty() || s.value.empty()) {
            if (why) *why = "a selector must be written [SelectorName=Entry]";
            return std::nullopt;
        }
        line.selectors.push_back(std::move(s));
        i = close + 1;
    }
    while (i < t.size() && isBlank(t[i]))
        ++i;
    if (i == t.size() || t[i] != '=') return std::nullopt;
    const std::string_view value = trimmed(t.substr(i + 1));
    if (value.empty()) {
        if (why) *why = "no value after '='";
        return std::nullopt;
    }
    if (value.front() == '"' && !UnquoteText(value)) {
        if (why)
            *why = "a string must be one double-quoted text, with \\\\ \\\" \\n \\r \\t or \\xHH "
                   "for special characters";
        return std::nullopt;
    }
    line.value = std::string(value);
    return line;
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

} // namespace

std::string FeatureLine::Key() const {
    std::string key = name;
    for (const SelectorSetting& s : selectors)
        key += "[" + s.selector + "=" + s.value + "]";
    return key;
}

std::string FeatureLine::Text() const {
    if (unreadable) return "# " + Key() + ": cannot be read: " + value;
    return (readOnly ? "# " : "") + Key() + " = " + value;
}

FeatureSetFileError::FeatureSetFileError(std::string file, std::vector<LineError> list)
    : errors(std::move(list)) {
    if (errors.empty()) return;
    text = file + ":" + std::to_string(errors[0].lineNumber) + ": " + errors[0].message;
    if (errors.size() > 1)
        text += " (and " + std::to_string(errors.size() - 1) + " more error" +
                (errors.size() > 2 ? "s" : "") + ")";
}

ParsedFeatureSet ParseFeatureSet(std::string_view text) {
    ParsedFeatureSet parsed;
    if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3); // a byte-order mark
    parsed.set.sections.emplace_back();
    std::map<std::pair<size_t, std::string>, size_t> firstLineOf; // (section, key) -> line
    size_t number = 0;
    while (!text.empty()) {
        ++number;
        const size_t end = text.find('\n');
        const std::string_view raw = trimmed(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (raw.empty()) continue;
        auto fail = [&](std::string message) {
            parsed.errors.push_back({number, std::move(message)});
        };
        std::optional<FeatureLine> line;
        if (raw.front() == '#') {
            line = parseValueLine(trimmed(raw.substr(1)), nullptr);
            if (!line) continue; // an ordinary comment
            line->readOnly = true;
        } else if (raw.front() == '[') {
            if (raw.back() != ']') {
                fail("a section must be written [Caption]");
                continue;
            }
            std::string caption(trimmed(raw.substr(1, raw.size() - 2)));
            // Sections pair with node maps (and with each other) by caption.
            const auto& sections = parsed.set.sections;
            auto same = std::find_if(sections.begin() + 1, sections.end(),
                                     [&](const FeatureSection& s) { return s.caption == caption; });
            if (same != sections.end()) {
                fail("[" + caption + "] is given twice (first on line " +
                     std::to_string(same->lineNumber) + ")");
                continue;
            }
            parsed.set.sections.push_back({std::move(caption), number, {}, {}});
            continue;
        } else {
            std::string why;
            line = parseValueLine(raw, &why);
            if (!line) {
                fail(why.empty() ? "expected 'Name = value', a '# comment' or a '[Caption]'" : why);
                continue;
            }
        }
        line->lineNumber = number;
        const size_t section = parsed.set.sections.size() - 1;
        auto [it, fresh] = firstLineOf.emplace(std::make_pair(section, line->Key()), number);
        if (!fresh) {
            fail(line->Key() + " is given twice (first on line " + std::to_string(it->second) +
                 ")");
            continue;
        }
        parsed.set.sections.back().lines.push_back(std::move(*line));
    }
    // No lines before the first caption: no caption-less section.
    auto& sections = parsed.set.sections;
    if (sections.size() > 1 && sections.front().lines.empty()) sections.erase(sections.begin());
    return parsed;
}

std::string WriteFeatureSet(const FeatureSet& set) {
    std::string text;
    for (const std::string& h : set.header)
        text += h.empty() ? "#\n" : "# " + h + "\n";
    for (size_t i = 0; i < set.sections.size(); ++i) {
        const FeatureSection& section = set.sections[i];
        if (!text.empty()) text += "\n";
        // A caption-less section needs no "[]" when it comes first.
        if (!section.caption.empty() || i > 0) text += "[" + section.caption + "]\n";
        for (const std::string& h : section.header)
            text += "# " + h + "\n";
        for (const FeatureLine& line : section.lines)
            text += line.Text() + "\n";
    }
    return text;
}

std::string QuoteText(std::string_view text) {
    std::string out = "\"";
    for (char c : text) {
        switch (c) {
        case '\\':
            out += "\\\\";
            break;
        case '"':
            out += "\\\"";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
                char hex[5];
                std::snprintf(hex, sizeof hex, "\\x%02X", static_cast<unsigned char>(c));
                out += hex;
            } else {
                out += c;
            }
        }
    }
    return out + "\"";
}

std::optional<std::string> UnquoteText(std::string_view quoted) {
    if (quoted.size() < 2 || quoted.front() != '"' || quoted.back() != '"') return std::nullopt;
    std::string out;
    for (size_t i = 1; i + 1 < quoted.size(); ++i) {
        char c = quoted[i];
        if (c == '"') return std::nullopt; // a quote must be escaped
        if (c != '\\') {
            out += c;
            continue;
        }
        if (i + 2 >= quoted.size()) return std::nullopt; // the closing quote escaped
        switch (quoted[++i]) {
        case '\\':
            out += '\\';
            break;
        case '"':
            out += '"';
            break;
        case 'n':
            out += '\n';
            break;
        case 'r':
            out += '\r';
            break;
        case 't':
            out += '\t';
            break;
        case 'x': {
            const int high = i + 2 < quoted.size() - 1 ? hexDigit(quoted[i + 1]) : -1;
            const int low = high >= 0 ? hexDigit(quoted[i + 2]) : -1;
            if (low < 0) return std::nullopt;
            out += static_cast<char>(high * 16 + low);
            i += 2;
            break;
        }
        default:
            return std::nullopt;
        }
    }
    return out;
}

std::optional<int64_t> ParseIntegerText(std::string_view t) {
    t = trimmed(t);
    if (countOf(t, '.') == 3) return parseGroups(t, '.', 4, 10);
    if (countOf(t, '-') == 5) return parseGroups(t, '-', 6, 16);
    if (countOf(t, ':') == 5) return parseGroups(t, ':', 6, 16);
    const bool negative = !t.empty() && t.front() == '-';
    if (!t.empty() && (t.front() == '-' || t.front() == '+')) t.remove_prefix(1);
    uint64_t magnitude = 0;
    if (t.size() > 2 && t[0] == '0' && (t[1] == 'x' || t[1] == 'X')) {
        // Hexadecimal spells the 64-bit pattern, negative values included.
        if (negative || !parseUnsigned(t.substr(2), 16, magnitude)) return std::nullopt;
        return static_cast<int64_t>(magnitude);
    }
    if (!parseUnsigned(t, 10, magnitude)) return std::nullopt;
    if (negative) {
        if (magnitude > static_cast<uint64_t>(INT64_MAX) + 1) return std::nullopt;
        return static_cast<int64_t>(0 - magnitude);
    }
    if (magnitude > static_cast<uint64_t>(INT64_MAX)) return std::nullopt;
    return static_cast<int64_t>(magnitude);
}

std::string FormatFloatText(double value) {
    char buffer[64];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
    return ec == std::errc() ? std::string(buffer, end) : std::string("nan");
}

std::optional<double> ParseFloatText(std::string_view t) {
    t = trimmed(t);
    if (!t.empty() && t.front() == '+') t.remove_prefix(1);
    double value = 0;
    auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), value);
    if (t.empty() || ec != std::errc() || end != t.data() + t.size()) return std::nullopt;
    return value;
}

std::optional<bool> ParseBooleanText(std::string_view t) {
    t = trimmed(t);
    if (t == "true" || t == "1") return true;
    if (t == "false" || t == "0") return false;
    return std::nullopt;
}

bool SameValueText(std::string_view a, std::string_view b) {
    if (a == b) return true;
    if (a.empty() || b.empty() || a.front() == '"' || b.front() == '"') return false;
    if (auto x = ParseIntegerText(a), y = ParseIntegerText(b); x && y) return *x == *y;
    auto x = ParseFloatText(a), y = ParseFloatText(b);
    return x && y && (*x == *y || (std::isnan(*x) && std::isnan(*y)));
}

std::vector<FeatureDifference> CompareFeatureSets(const FeatureSet& left, const FeatureSet& right) {
    const bool single = left.sections.size() == 1 && right.sections.size() == 1;
    auto counterpart = [&](const FeatureSection& s) -> const FeatureSection* {
        if (single) return &right.sections.front();
        for (const FeatureSection& r : right.sections)
            if (r.caption == s.caption) return &r;
        return nullptr;
    };
    std::vector<FeatureDifference> out;
    auto differ = [&](const std::string& caption, const FeatureLine* l, const FeatureLine* r) {
        const FeatureLine& any = l ? *l : *r;
        out.push_back({caption, any.Key(), any.name, l ? std::optional(l->value) : std::nullopt,
                       r ? std::optional(r->value) : std::nullopt,
                       (l && l->readOnly) || (r && r->readOnly)});
    };
    std::vector<const FeatureSection*> paired;
    for (const FeatureSection& ls : left.sections) {
        const FeatureSection* rs = counterpart(ls);
        paired.push_back(rs);
        std::map<std::string, const FeatureLine*> rightLines;
        if (rs)
            for (const FeatureLine& r : rs->lines)
                if (!r.unreadable) rightLines.emplace(r.Key(), &r);
        for (const FeatureLine& l : ls.lines) {
            if (l.unreadable) continue;
            auto it = rightLines.find(l.Key());
            if (it == rightLines.end()) {
                differ(ls.caption, &l, nullptr);
                continue;
            }
            if (!SameValueText(l.value, it->second->value)) differ(ls.caption, &l, it->second);
            rightLines.erase(it);
        }
        if (rs)
            for (const FeatureLine& r : rs->lines)
                if (rightLines.count(r.Key())) differ(ls.caption, nullptr, &r);
    }
    for (const FeatureSection& rs : right.sections)
        if (std::find(paired.begin(), paired.end(), &rs) == paired.end())
            for (const FeatureLine& r : rs.lines)
                if (!r.unreadable) differ(rs.caption, nullptr, &r);
    return out;
}

std::string FormatDifferences(const std::vector<FeatureDifference>& differences,
                              const std::string& leftName, const std::string& rightName) {
    if (differences.empty()) return {};
    std::string text = "--- " + leftName + "\n+++ " + rightName + "\n";
    const std::string* section = nullptr;
    for (const FeatureDifference& d : differences) {
        if (!d.section.empty() && (!section || *section != d.section))
            text += "[" + d.section + "]\n";
        section = &d.section;
        const std::string mark = d.readOnly ? "# " : "";
        if (d.left) text += "-" + mark + d.key + " = " + *d.left + "\n";
        if (d.right) text += "+" + mark + d.key + " = " + *d.right + "\n";
    }
    return text;
}

} // namespace quillon::inspect
