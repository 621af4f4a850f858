#include "inspect/feature_sets.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <unordered_set>

#include "GenApi/GenApi.h"
#include "GenICam/exceptions.h"
#include "browser/value_rendering.h"
#include "inspect/part_file.h"
#include "types/integer_display.h"

using namespace GenApi;

namespace quillon::inspect {

namespace {

// Files larger than this are not feature sets.
constexpr std::uintmax_t kMaxFileSize = 64u << 20;

EInterfaceType typeOf(INode* node) {
    return node->GetPrincipalInterfaceType();
}

bool holdsValue(INode* node) {
    switch (typeOf(node)) {
    case intfIInteger:
    case intfIFloat:
    case intfIBoolean:
    case intfIString:
    case intfIEnumeration:
        return true;
    default:
        return false;
    }
}

std::vector<INode*> featuresInCategoryOrder(INodeMap* map) {
    std::vector<INode*> out;
    std::unordered_set<INode*> seen;
    auto walk = [&](auto& self, INode* category) -> void {
        FeatureList_t members;
        CCategoryPtr(category)->GetFeatures(members);
        for (IValue* member : members) {
            INode* node = member ? member->GetNode() : nullptr;
            if (!node || !seen.insert(node).second) continue;
            if (typeOf(node) == intfICategory)
                self(self, node);
            else if (holdsValue(node))
                out.push_back(node);
        }
    };
    if (INode* root = map->GetNode("Root"); root && typeOf(root) == intfICategory) {
        seen.insert(root);
        walk(walk, root);
    }
    return out;
}

// Every selector that selects `node`, directly or through another selector,
// each after the selectors that select it.
std::vector<INode*> selectorsOf(INode* node) {
    std::vector<INode*> out;
    std::set<INode*> met{node};
    auto visit = [&](auto& self, INode* n) -> void {
        FeatureList_t selecting;
        CSelectorPtr(n)->GetSelectingFeatures(selecting);
        for (IValue* value : selecting) {
            INode* s = value ? value->GetNode() : nullptr;
            if (!s || !met.insert(s).second) continue;
            self(self, s);
            out.push_back(s);
        }
    };
    visit(visit, node);
    return out;
}

// The value as a file holds it (see feature_set_format.h).
std::string valueText(INode* node) {
    switch (typeOf(node)) {
    case intfIInteger: {
        CIntegerPtr integer(node);
        const std::string name(node->GetName());
        return browser::FormatIntegerValue(
            integer->GetValue(),
            browser::DisplayRepresentation(name, integer->GetRepresentation()));
    }
    case intfIFloat:
        return FormatFloatText(CFloatPtr(node)->GetValue());
    case intfIBoolean:
        return CBooleanPtr(node)->GetValue() ? "true" : "false";
    case intfIString:
        return QuoteText(std::string(CStringPtr(node)->GetValue()));
    case intfIEnumeration: {
        CEnumerationPtr enumeration(node);
        IEnumEntry* entry = enumeration->GetCurrentEntry();
        if (!entry)
            throw ACCESS_EXCEPTION("the value %lld is none of the entries",
                                   static_cast<long long>(enumeration->GetIntValue()));
        return std::string(entry->GetSymbolic());
    }
    default:
        throw LOGICAL_ERROR_EXCEPTION("Node '%s' holds no value", node->GetName().c_str());
    }
}

bool sameValue(INode* node, const std::string& a, const std::string& b) {
    if (typeOf(node) == intfIBoolean) return ParseBooleanText(a) == ParseBooleanText(b);
    return SameValueText(a, b);
}

// Whether `text` is a value of the node's type; the error otherwise.
std::string valueSyntaxError(INode* node, const std::string& text) {
    const std::string name(node->GetName());
    switch (typeOf(node)) {
    case intfIInteger:
        return ParseIntegerText(text) ? "" : name + " takes an integer, not " + text;
    case intfIFloat:
        return ParseFloatText(text) ? "" : name + " takes a number, not " + text;
    case intfIBoolean:
        return ParseBooleanText(text) ? "" : name + " takes true or false, not " + text;
    case intfIString:
        return text.front() == '"' ? "" : name + " takes a string in double quotes, not " + text;
    case intfIEnumeration:
        return text.front() != '"' ? "" : name + " takes the name of an entry, not " + text;
    default:
        return name + " takes no value: it is an " + InterfaceTypeName(typeOf(node));
    }
}

void writeValue(INode* node, const std::string& text) {
    switch (typeOf(node)) {
    case intfIInteger:
        CIntegerPtr(node)->SetValue(*ParseIntegerText(text));
        break;
    case intfIFloat:
        CFloatPtr(node)->SetValue(*ParseFloatText(text));
        break;
    case intfIBoolean:
        CBooleanPtr(node)->SetValue(*ParseBooleanText(text));
        break;
    case intfIString:
        CStringPtr(node)->SetValue(GenICam::gcstring(*UnquoteText(text)));
        break;
    case intfIEnumeration: {
        CEnumerationPtr enumeration(node);
        CEnumEntryPtr entry(enumeration->GetEntryByName(GenICam::gcstring(text)));
        enumeration->SetIntValue(entry->GetValue());
        break;
    }
    default:
        break;
    }
}

struct Attempt {
    LineOutcome outcome = LineOutcome::Applied;
    std::string previous, reason;
};

// What writing `text` to `node` would do now, without writing.
Attempt check(INode* node, const std::string& text) {
    Attempt a;
    const EAccessMode mode = node->GetAccessMode();
    if (IsReadable(mode)) {
        try {
            a.previous = valueText(node);
            if (sameValue(node, a.previous, text)) return {LineOutcome::Unchanged, a.previous, {}};
        } catch (const GenICam::GenericException&) {
            a.previous.clear(); // written without comparing
        }
    }
    auto refuse = [&a](LineOutcome outcome, std::string reason) {
        a.outcome = outcome;
        a.reason = std::move(reason);
        return a;
    };
    if (!IsWritable(mode))
        return refuse(LineOutcome::NotWritable, "not writable: " + WhyNotWritable(node));
    switch (typeOf(node)) {
    case intfIInteger: {
        CIntegerPtr integer(node);
        const int64_t v = *ParseIntegerText(text), min = integer->GetMin(), max = integer->GetMax();
        const int64_t inc = integer->GetInc();
        if (v < min || v > max)
            return refuse(LineOutcome::OutOfRange,
                          "out of range: the minimum is " + std::to_string(min) +
                              " and the maximum is " + std::to_string(max));
        if (inc > 1 &&
            (static_cast<uint64_t>(v) - static_cast<uint64_t>(min)) % static_cast<uint64_t>(inc))
            return refuse(LineOutcome::OutOfRange,
                          "out of range: the value must be " + std::to_string(min) +
                              " plus a multiple of " + std::to_string(inc));
        break;
    }
    case intfIFloat: {
        CFloatPtr number(node);
        const double v = *ParseFloatText(text), min = number->GetMin(), max = number->GetMax();
        if (!(v >= min && v <= max))
            return refuse(LineOutcome::OutOfRange,
                          "out of range: the minimum is " + FormatFloatText(min) +
                              " and the maximum is " + FormatFloatText(max));
        break;
    }
    case intfIString: {
        const int64_t max = CStringPtr(node)->GetMaxLength();
        if (static_cast<int64_t>(UnquoteText(text)->size()) > max)
            return refuse(LineOutcome::OutOfRange,
                          "out of range: longer than " + std::to_string(max) + " characters");
        break;
    }
    case intfIEnumeration: {
        IEnumEntry* entry = CEnumerationPtr(node)->GetEntryByName(GenICam::gcstring(text));
        const std::string name(node->GetName());
        if (!entry) return refuse(LineOutcome::NotAnEntry, text + " is not an entry of " + name);
        if (!IsAvailable(entry->GetNode()->GetAccessMode()))
            return refuse(LineOutcome::NotAnEntry, text + " is not an available entry of " + name);
        break;
    }
    default:
        break;
    }
    return a;
}

// A selector switched for a slice, switched back when it goes (also when an
// exception leaves), or by Restore, which reports a failure.
class Selection {
public:
    Selection(INode* selector, const std::string& text) : selector_(selector) {
        previous_ = valueText(selector);
        if (!sameValue(selector, previous_, text)) {
            writeValue(selector, text);
            changed_ = true;
        }
    }
    ~Selection() {
        try {
            Restore();
        } catch (const std::exception&) { // reported by Restore on the normal path
        }
    }
    Selection(const Selection&) = delete;
    Selection& operator=(const Selection&) = delete;
    void Restore() {
        if (!changed_) return;
        changed_ = false;
        writeValue(selector_, previous_);
    }

private:
    INode* selector_;
    std::string previous_;
    bool changed_ = false;
};

// The values a selector is saved at, in its value text.
std::vector<std::string> selectorValues(INode* selector) {
    const EAccessMode mode = selector->GetAccessMode();
    if (!IsWritable(mode)) return {valueText(selector)};
    switch (typeOf(selector)) {
    case intfIEnumeration: {
        std::vector<std::string> out;
        NodeList_t entries;
        CEnumerationPtr(selector)->GetEntries(entries);
        for (INode* entry : entries)
            if (IsAvailable(entry->GetAccessMode()))
                out.emplace_back(CEnumEntryPtr(entry)->GetSymbolic());
        return out;
    }
    case intfIBoolean:
        return {"false", "true"};
    case intfIInteger: {
        CIntegerPtr integer(selector);
        const int64_t min = integer->GetMin(), max = integer->GetMax();
        const int64_t inc = std::max<int64_t>(1, integer->GetInc());
        if (max < min || (static_cast<uint64_t>(max) - static_cast<uint64_t>(min)) /
                                 static_cast<uint64_t>(inc) >=
                             static_cast<uint64_t>(kMaxSelectorValues))
            return {valueText(selector)};
        const std::string name(selector->GetName());
        const bool hex = integer->GetRepresentation() == HexNumber;
        std::vector<std::string> out;
        for (int64_t v = min;; v += inc) {
            out.push_back(browser::FormatIntegerValue(v, hex ? HexNumber : PureNumber));
            if (max - v < inc) break;
        }
        return out;
    }
    default:
        return {valueText(selector)};
    }
}

bool lockedOnly(INode* node) {
    GenICam::gcstring value, attribute;
    return node->GetProperty("pIsLocked", value, attribute);
}

// The lines of `node`, one per combination of the values of `selectors`
// from `level` on, under `chosen`; the feature's lines start at out[first].
void readSlices(INode* node, const std::vector<INode*>& selectors, size_t level,
                std::vector<SelectorSetting>& chosen, std::vector<FeatureLine>& out, size_t first) {
    if (level == selectors.size()) {
        if (out.size() - first >= kMaxSlices)
            throw RUNTIME_EXCEPTION("more than %zu slices: the others are not saved", kMaxSlices);
        FeatureLine line;
        line.name = std::string(node->GetName());
        line.selectors = chosen;
        try {
            const EAccessMode mode = node->GetAccessMode();
            if (!IsReadable(mode)) return;
            line.value = valueText(node);
            line.readOnly = !IsWritable(mode) && !lockedOnly(node);
        } catch (const GenICam::GenericException& e) {
            line.value = e.GetDescription();
            line.unreadable = true;
        }
        out.push_back(std::move(line));
        return;
    }
    INode* selector = selectors[level];
    const std::string name(selector->GetName());
    for (const std::string& value : selectorValues(selector)) {
        Selection selection(selector, value);
        chosen.push_back({name, value});
        readSlices(node, selectors, level + 1, chosen, out, first);
        chosen.pop_back();
        selection.Restore();
    }
}

void readFeature(INode* node, std::vector<FeatureLine>& out) {
    std::vector<INode*> selectors;
    for (INode* s : selectorsOf(node))
        if (IsReadable(s->GetAccessMode())) selectors.push_back(s);
    std::vector<SelectorSetting> chosen;
    try {
        readSlices(node, selectors, 0, chosen, out, out.size());
    } catch (const GenICam::GenericException& e) {
        // A selector failed: the slices read so far stay, the failure is noted.
        FeatureLine line;
        line.name = std::string(node->GetName());
        line.value = e.GetDescription();
        line.unreadable = true;
        out.push_back(std::move(line));
    }
}

std::string featureText(INodeMap* map, std::initializer_list<const char*> names) {
    for (const char* name : names) {
        INode* node = map->GetNode(name);
        try {
            if (!node || !IsReadable(node->GetAccessMode())) continue;
            if (typeOf(node) == intfIString) return std::string(CStringPtr(node)->GetValue());
            if (holdsValue(node)) return valueText(node);
        } catch (const GenICam::GenericException&) {
        }
    }
    return {};
}

std::vector<std::string> headerOf(INodeMap* map) {
    IDeviceInfo* info = dynamic_cast<IDeviceInfo*>(map);
    std::string vendor = featureText(map, {"DeviceVendorName"});
    std::string model = featureText(map, {"DeviceModelName"});
    if (vendor.empty() && info) vendor = std::string(info->GetVendorName());
    if (model.empty() && info) model = std::string(info->GetModelName());
    std::vector<std::string> header;
    auto add = [&header](const char* label, const std::string& value) {
        if (!value.empty()) header.push_back(std::string(label) + ": " + value);
    };
    add("Vendor", vendor);
    add("Model", model);
    add("Serial number", featureText(map, {"DeviceSerialNumber", "DeviceID"}));
    add("Firmware version", featureText(map, {"DeviceFirmwareVersion", "DeviceVersion"}));
    if (info) {
        Version_t v, schema;
        info->GetDeviceVersion(v);
        info->GetSchemaVersion(schema);
        char text[96];
        std::snprintf(text, sizeof text, "%u.%u.%u (schema %u.%u.%u)", v.Major, v.Minor, v.SubMinor,
                      schema.Major, schema.Minor, schema.SubMinor);
        add("Description version", text);
    }
    return header;
}

std::string now() {
    const std::time_t t = std::time(nullptr);
    std::tm local{};
    localtime_r(&t, &local);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return text;
}

} // namespace

FeatureSet ReadFeatureSet(const std::vector<browser::NodeMapEntry>& entries,
                          const ReadOptions& options) {
    FeatureSet set;
    set.header = {"Quillon feature set", "Date: " + (options.date.empty() ? now() : options.date)};
    std::vector<std::vector<INode*>> features;
    size_t total = 0, done = 0;
    for (const browser::NodeMapEntry& entry : entries) {
        features.push_back(featuresInCategoryOrder(entry.context.nodeMap));
        total += features.back().size();
    }
    for (size_t i = 0; i < entries.size(); ++i) {
        INodeMap* map = entries[i].context.nodeMap;
        FeatureSection section{entries[i].context.caption, 0, headerOf(map), {}};
        for (INode* node : features[i]) {
            {
                // A polling thread must not see the slices this selects.
                AutoLock lock(map->GetLock());
                readFeature(node, section.lines);
            }
            if (options.progress && !options.progress(++done, total)) throw FeatureSetCancelled();
        }
        set.sections.push_back(std::move(section));
    }
    return set;
}

void WriteTextFile(const std::string& path, const std::string& text) {
    OwnPartFile part(path);
    std::string failure = part.made() ? part.Write(text.data(), text.size()) : part.Error();
    if (failure.empty()) failure = part.CloseAndRenameTo(path);
    if (!failure.empty()) throw std::runtime_error(failure);
}

std::string ReadTextFile(const std::string& path) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (error || std::filesystem::is_directory(path))
        throw std::runtime_error("cannot read '" + path + "'");
    if (size > kMaxFileSize)
        throw std::runtime_error("'" + path + "' is too large for a feature set");
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    if (!in) throw std::runtime_error("cannot read '" + path + "'");
    return text.str();
}

std::string WhyNotWritable(INode* node) {
    GenICam::gcstring name, attribute;
    auto truth = [&](const char* property) -> std::optional<bool> {
        if (!node->GetProperty(property, name, attribute)) return std::nullopt;
        INode* n = node->GetNodeMap() ? node->GetNodeMap()->GetNode(name) : nullptr;
        try {
            if (CIntegerPtr integer = n) return integer->GetValue() != 0;
            if (CBooleanPtr boolean = n) return boolean->GetValue();
        } catch (const GenICam::GenericException&) {
        }
        return std::nullopt;
    };
    switch (node->GetAccessMode()) {
    case NI:
        return "not implemented";
    case NA:
        return truth("pIsAvailable") == false ? "not available (" + std::string(name) + ")"
                                              : "not available";
    case RO:
        return truth("pIsLocked") == true ? "locked (" + std::string(name) + ")" : "read-only";
    default:
        return "writable";
    }
}

size_t LoadReport::Count(LineOutcome outcome) const {
    return static_cast<size_t>(
        std::count_if(lines.begin(), lines.end(),
                      [outcome](const LineResult& r) { return r.outcome == outcome; }));
}

size_t LoadReport::Refused() const {
    return lines.size() - Count(LineOutcome::Applied) - Count(LineOutcome::Unchanged);
}

std::string LoadReport::Text(const std::string& fileName) const {
    const size_t notReached = Count(LineOutcome::NotReached);
    std::string text = fileName + (dryRun ? " (dry run, nothing written): " : ": ") +
                       std::to_string(Count(LineOutcome::Applied)) +
                       (dryRun ? " would change, " : " applied, ") +
                       std::to_string(Count(LineOutcome::Unchanged)) + " unchanged, " +
                       std::to_string(Refused() - notReached) + " refused";
    if (notReached) text += ", " + std::to_string(notReached) + " not written (cancelled)";
    text += ", " + std::to_string(passes) + (passes == 1 ? " pass\n" : " passes\n");
    for (const LineResult& r : lines) {
        if (r.outcome == LineOutcome::Unchanged) continue;
        std::string what;
        switch (r.outcome) {
        case LineOutcome::Applied:
            what = dryRun ? "would change" : "applied";
            break;
        case LineOutcome::NotReached:
            what = "not written";
            break;
        default:
            what = "refused";
            break;
        }
        text += fileName + ":" + std::to_string(r.line.lineNumber) + ": " + what + ": " +
                r.line.Key() + " = " + r.line.value;
        if (r.outcome == LineOutcome::Applied && !r.previous.empty())
            text += " (was " + r.previous + ")";
        if (!r.reason.empty()) text += ": " + r.reason;
        text += "\n";
    }
    return text;
}

LoadReport LoadFeatureSet(const FeatureSet& set, const std::vector<browser::NodeMapEntry>& entries,
                          const std::string& fileName, const LoadOptions& options) {
    struct Resolved {
        INodeMap* map;
        INode* node;
        std::vector<INode*> selectors; // of the slice, as the line names them
    };
    LoadReport report;
    report.dryRun = options.dryRun;
    std::vector<Resolved> resolved;
    std::vector<LineError> errors;
    const bool single = entries.size() == 1 && set.sections.size() == 1;
    for (const FeatureSection& section : set.sections) {
        INodeMap* map = single || (section.caption.empty() && !entries.empty())
                            ? entries.front().context.nodeMap
                            : nullptr;
        for (const browser::NodeMapEntry& e : entries)
            if (!map && e.context.caption == section.caption) map = e.context.nodeMap;
        if (!map) {
            errors.push_back({section.lineNumber,
                              "the device has no node map captioned '" + section.caption + "'"});
            continue;
        }
        for (const FeatureLine& line : section.lines) {
            if (line.readOnly) continue;
            Resolved r{map, map->GetNode(GenICam::gcstring(line.name)), {}};
            std::string error =
                !r.node ? "unknown feature " + line.name : valueSyntaxError(r.node, line.value);
            for (const SelectorSetting& s : line.selectors) {
                INode* selector = map->GetNode(GenICam::gcstring(s.selector));
                if (!error.empty()) break;
                if (!selector || !CSelectorPtr(selector)->IsSelector())
                    error = s.selector + " is not a selector";
                else
                    error = valueSyntaxError(selector, s.value);
                r.selectors.push_back(selector);
            }
            if (!error.empty()) {
                errors.push_back({line.lineNumber, error});
                continue;
            }
            resolved.push_back(std::move(r));
            report.lines.push_back({line, section.caption, LineOutcome::NotReached, {}, {}});
        }
    }
    if (!errors.empty()) {
        std::stable_sort(errors.begin(), errors.end(), [](const LineError& a, const LineError& b) {
            return a.lineNumber < b.lineNumber;
        });
        throw FeatureSetFileError(fileName, std::move(errors));
    }

    // Lines that set a selector as a whole go before the lines of what it selects.
    std::map<std::pair<INodeMap*, INode*>, size_t> selectorLine;
    for (size_t i = 0; i < resolved.size(); ++i)
        if (report.lines[i].line.selectors.empty() && CSelectorPtr(resolved[i].node)->IsSelector())
            selectorLine.emplace(std::make_pair(resolved[i].map, resolved[i].node), i);
    std::vector<size_t> order;
    std::vector<bool> placed(resolved.size(), false);
    auto place = [&](auto& self, size_t i) -> void {
        if (placed[i]) return;
        placed[i] = true;
        for (INode* s : selectorsOf(resolved[i].node))
            if (auto it = selectorLine.find({resolved[i].map, s}); it != selectorLine.end())
                self(self, it->second);
        order.push_back(i);
    };
    for (size_t i = 0; i < resolved.size(); ++i)
        place(place, i);

    auto attempt = [&](size_t i) {
        const Resolved& r = resolved[i];
        const FeatureLine& line = report.lines[i].line;
        Attempt a;
        try {
            AutoLock lock(r.map->GetLock());
            std::vector<std::unique_ptr<Selection>> slice;
            for (size_t k = 0; k < r.selectors.size() && a.outcome == LineOutcome::Applied; ++k) {
                Attempt s = check(r.selectors[k], line.selectors[k].value);
                if (s.outcome == LineOutcome::Applied || s.outcome == LineOutcome::Unchanged)
                    slice.push_back(
                        std::make_unique<Selection>(r.selectors[k], line.selectors[k].value));
                else
                    a = {s.outcome, {}, "selector " + line.selectors[k].selector + ": " + s.reason};
            }
            if (a.outcome == LineOutcome::Applied) {
                a = check(r.node, line.value);
                if (a.outcome == LineOutcome::Applied && !options.dryRun)
                    writeValue(r.node, line.value);
            }
            for (auto it = slice.rbegin(); it != slice.rend(); ++it)
                (*it)->Restore();
        } catch (const GenICam::OutOfRangeException& e) {
            a = {LineOutcome::OutOfRange, a.previous,
                 std::string("out of range: ") + e.GetDescription()};
        } catch (const GenICam::GenericException& e) {
            a = {LineOutcome::DeviceError, a.previous,
                 std::string("device error: ") + e.GetDescription()};
        } catch (const std::exception& e) {
            a = {LineOutcome::DeviceError, a.previous, std::string("device error: ") + e.what()};
        }
        LineResult& result = report.lines[i];
        result.outcome = a.outcome;
        result.previous = a.previous;
        result.reason = a.reason;
        return a.outcome;
    };

    std::vector<size_t> pending = order;
    while (!pending.empty()) {
        ++report.passes;
        std::vector<size_t> refused;
        size_t applied = 0;
        for (size_t k = 0; k < pending.size(); ++k) {
            const LineOutcome outcome = attempt(pending[k]);
            if (outcome == LineOutcome::Applied)
                ++applied;
            else if (outcome != LineOutcome::Unchanged)
                refused.push_back(pending[k]);
            if (options.progress && !options.progress(k + 1, pending.size())) {
                report.cancelled = true;
                return report; // the lines not tried yet keep NotReached or their refusal
            }
        }
        // A dry run changes nothing, so a further pass would refuse the same lines.
        if (options.dryRun || applied == 0) break;
        pending = std::move(refused);
    }
    return report;
}

} // namespace quillon::inspect
