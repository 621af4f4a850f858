#include "inspect/access_explanation.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <set>
#include <utility>

#include "GenApi/Pointer.h"
#include "GenICam/exceptions.h"
#include "inspect/node_links.h"
#include "inspect/text_format.h"

namespace quillon::inspect {

using namespace GenApi;

namespace {

// Descriptions may chain nodes deeply; the engine refuses beyond 128 levels,
// an explanation stops earlier and says less.
constexpr int kMaxDepth = 64;

std::string ModeWords(EAccessMode mode) {
    switch (mode) {
    case RW:
        return "readable and writable";
    case RO:
        return "read-only";
    case WO:
        return "write-only";
    case NA:
        return "not available";
    case NI:
        return "not implemented";
    default:
        return "of no known access mode";
    }
}

EAccessMode ParseMode(const std::string& text) {
    if (text == "RW") return RW;
    if (text == "RO" || text == "R") return RO;
    if (text == "WO" || text == "W") return WO;
    if (text == "NA") return NA;
    if (text == "NI") return NI;
    return _UndefinedAccesMode;
}

// What an ImposedAccessMode leaves of a mode, as the engine restricts it.
EAccessMode Restrict(EAccessMode mode, EAccessMode imposed) {
    if (mode == NI || mode == NA) return mode;
    switch (imposed) {
    case RO:
        return mode == WO ? NA : RO;
    case WO:
        return mode == RO ? NA : WO;
    case NA:
    case NI:
        return imposed;
    default:
        return mode;
    }
}

std::optional<int64_t> ParseNumber(const std::string& text) {
    if (text.empty()) return std::nullopt;
    char* end = nullptr;
    long long v = std::strtoll(text.c_str(), &end, 0);
    if (!end || *end != '\0') return std::nullopt;
    return v;
}

std::string Join(const std::vector<std::string>& parts, const std::string& separator) {
    std::string text;
    for (const std::string& part : parts)
        text += (text.empty() ? "" : separator) + part;
    return text;
}

// "a", "a and b", "a, b and c".
std::string JoinAnd(const std::vector<std::string>& parts) {
    if (parts.size() < 2) return Join(parts, "");
    std::vector<std::string> head(parts.begin(), parts.end() - 1);
    return Join(head, ", ") + " and " + parts.back();
}

// The node's value as its value interface renders it; why not, in brackets.
std::string ValueText(INode* node) {
    try {
        EAccessMode mode = node->GetAccessMode();
        if (!IsReadable(mode)) return "(" + ModeWords(mode) + ")";
        CValuePtr value(node);
        if (!value.IsValid()) return "(no value)";
        return std::string(value->ToString());
    } catch (const GenICam::GenericException& e) {
        return std::string("(") + e.GetDescription() + ")";
    }
}

std::optional<int64_t> IntegerValue(INode* node) {
    try {
        if (!node || !IsReadable(node->GetAccessMode())) return std::nullopt;
        switch (node->GetPrincipalInterfaceType()) {
        case intfIBoolean:
            return CBooleanPtr(node)->GetValue() ? 1 : 0;
        case intfIFloat:
            return CFloatPtr(node)->GetValue() != 0.0 ? 1 : 0;
        case intfIEnumeration:
            return CEnumerationPtr(node)->GetIntValue();
        default:
            break;
        }
        CIntegerPtr integer(node);
        if (!integer.IsValid()) return std::nullopt;
        return integer->GetValue();
    } catch (const GenICam::GenericException&) {
        return std::nullopt;
    }
}

// A predicate holds when its value is not zero; unknown when unreadable.
std::optional<bool> Truth(INode* predicate) {
    std::optional<int64_t> v = IntegerValue(predicate);
    if (!v) return std::nullopt;
    return *v != 0;
}

bool IsRegister(INode* node) {
    return !PropertyValue(node, "pPort").empty();
}

// The text on one line: formulas may span several in a description.
std::string OneLine(const std::string& text) {
    std::string out;
    for (char c : text) {
        const bool blank = c == ' ' || c == '\t' || c == '\n' || c == '\r';
        if (blank && (out.empty() || out.back() == ' ')) continue;
        out += blank ? ' ' : c;
    }
    if (!out.empty() && out.back() == ' ') out.pop_back();
    return out;
}

// A node whose value its description computes: its formula and variables.
struct FormulaOf {
    std::string text;
    std::vector<std::pair<std::string, INode*>> variables;
    explicit operator bool() const { return !text.empty(); }

    explicit FormulaOf(INode* node) {
        text = PropertyValue(node, "Formula");
        bool converter = false;
        if (text.empty()) {
            text = PropertyValue(node, "FormulaFrom");
            converter = !text.empty();
        }
        if (text.empty()) return;
        text = OneLine(text);
        std::vector<std::string> targets = PropertyValues(node, "pVariable");
        std::vector<std::string> names = PropertyAttributes(node, "pVariable", "Name");
        for (size_t i = 0; i < targets.size(); ++i)
            variables.emplace_back(names[i], node->GetNodeMap()->GetNode(targets[i].c_str()));
        if (converter) variables.emplace_back("TO", LinkedNode(node, "pValue"));
    }
};

// The node a value node takes its value from: pValue, or under pIndex the
// pValueIndexed of the current index (else pValueDefault). Registers and
// formulas take theirs elsewhere.
INode* ValueSource(INode* node) {
    if (IsRegister(node) || !PropertyValue(node, "Formula").empty()) return nullptr;
    if (INode* index = LinkedNode(node, "pIndex")) {
        std::optional<int64_t> current = IntegerValue(index);
        std::vector<std::string> targets = PropertyValues(node, "pValueIndexed");
        std::vector<std::string> indices = PropertyAttributes(node, "pValueIndexed", "Index");
        for (size_t i = 0; i < targets.size(); ++i)
            if (current && ParseNumber(indices[i]) == current)
                return node->GetNodeMap()->GetNode(targets[i].c_str());
        return LinkedNode(node, "pValueDefault");
    }
    return LinkedNode(node, "pValue");
}

// The feature a hidden node holds the value of (its pValue names the node).
INode* FeatureOver(INode* node) {
    if (!node || node->IsFeature()) return nullptr;
    NodeList_t parents;
    node->GetParents(parents);
    for (INode* p : parents)
        if (p->IsFeature() && PropertyValue(p, "pValue") == std::string(node->GetName())) return p;
    return nullptr;
}

// "Name = value", a hidden node shown as the feature it holds.
std::string Shown(INode* node) {
    if (!node) return "(missing node)";
    if (INode* feature = FeatureOver(node)) node = feature;
    return NameOf(node) + " = " + ValueText(node);
}

std::string Hex(int64_t v) {
    return Format("0x%llX", static_cast<unsigned long long>(v));
}

// "at 0x10098 (0x10090 + GainSelectorReg (2) x 4), 4 bytes, AccessMode RW,
// port Device".
std::string RegisterText(INode* reg) {
    // The address the engine computes: the Address elements, plus every
    // pAddress, plus every pIndex times its offset (Offset, pOffset, or the
    // register's length).
    int64_t length = 0;
    if (auto l = ParseNumber(PropertyValue(reg, "Length")))
        length = *l;
    else if (auto pl = IntegerValue(LinkedNode(reg, "pLength")))
        length = *pl;
    // A plain sum and a flag: an optional sum trips GCC's uninitialised-use
    // warning in release builds.
    int64_t address = 0;
    bool readable = true;
    std::vector<std::string> terms;
    for (const std::string& a : PropertyValues(reg, "Address")) {
        if (auto v = ParseNumber(a)) address += *v;
        terms.push_back(a);
    }
    for (const std::string& name : PropertyValues(reg, "pAddress")) {
        auto v = IntegerValue(reg->GetNodeMap()->GetNode(name.c_str()));
        if (v)
            address += *v;
        else
            readable = false;
        terms.push_back(name + " (" + (v ? Hex(*v) : std::string("unreadable")) + ")");
    }
    std::vector<std::string> indices = PropertyValues(reg, "pIndex");
    std::vector<std::string> offsets = PropertyAttributes(reg, "pIndex", "Offset");
    std::vector<std::string> offsetNodes = PropertyAttributes(reg, "pIndex", "pOffset");
    for (size_t i = 0; i < indices.size(); ++i) {
        auto index = IntegerValue(reg->GetNodeMap()->GetNode(indices[i].c_str()));
        std::optional<int64_t> offset = length;
        if (!offsetNodes[i].empty())
            offset = IntegerValue(reg->GetNodeMap()->GetNode(offsetNodes[i].c_str()));
        else if (!offsets[i].empty())
            offset = ParseNumber(offsets[i]);
        if (index && offset)
            address += *index * *offset;
        else
            readable = false;
        terms.push_back(indices[i] + " (" + (index ? std::to_string(*index) : "unreadable") +
                        ") x " + (offset ? std::to_string(*offset) : std::string("?")));
    }
    std::string text = "at ";
    if (!PropertyValues(reg, "IntSwissKnife").empty())
        text += "an address its description computes";
    else if (readable)
        text += Hex(address);
    else
        text += "an address that cannot be read now";
    if (terms.size() > 1) text += " (" + Join(terms, " + ") + ")";
    std::string mode = PropertyValue(reg, "AccessMode");
    text += Format(", %lld bytes, AccessMode %s", static_cast<long long>(length),
                   mode.empty() ? "RO (by default)" : mode.c_str());
    text += ", port " + PropertyValue(reg, "pPort");
    std::string caching = PropertyValue(reg, "Cachable");
    if (!caching.empty()) text += ", " + caching;
    return text;
}

class Walker {
public:
    std::vector<std::string> chain;

    // Why `node` has the access mode it has, phrased with `subject` ("it"
    // for the feature itself, else the node's name); empty when nothing
    // limits it. Appends the chain lines of the nodes met, innermost first.
    std::string Cause(INode* node, const std::string& subject, int depth) {
        if (!node || depth > kMaxDepth) return {};
        const EAccessMode mode = AccessOf(node);
        std::vector<std::string> parts;
        std::string cause;

        INode* implemented = LinkedNode(node, "pIsImplemented");
        INode* available = LinkedNode(node, "pIsAvailable");
        INode* locked = LinkedNode(node, "pIsLocked");
        if (implemented) {
            parts.push_back("pIsImplemented " + Shown(implemented));
            if (mode == NI && Truth(implemented) == false)
                cause = Predicate(subject, implemented, "pIsImplemented", depth);
        }
        if (available && cause.empty()) {
            parts.push_back("pIsAvailable " + Shown(available));
            if (mode == NA && Truth(available) == false)
                cause = Predicate(subject, available, "pIsAvailable", depth);
        }
        if (cause.empty()) {
            EAccessMode base = Base(node, subject, depth, parts, cause);
            if (locked) {
                parts.push_back("pIsLocked " + Shown(locked));
                if (IsWritable(base) && Truth(locked) == true) {
                    base = base == RW ? RO : NA;
                    cause = Predicate(subject, locked, "pIsLocked", depth);
                }
            }
            const std::string imposedText = PropertyValue(node, "ImposedAccessMode");
            if (!imposedText.empty()) {
                parts.push_back("ImposedAccessMode " + imposedText);
                EAccessMode imposed = Restrict(base, ParseMode(imposedText));
                if (imposed != base)
                    cause = Possessive(subject) + " description imposes " + imposedText +
                            " (ImposedAccessMode)";
            }
        }
        chain.push_back(NameOf(node) + ": " + Join(parts, "; ") + " -> " + AccessModeName(mode));
        return cause;
    }

private:
    std::set<INode*> formulasShown_;

    static std::string Possessive(const std::string& subject) {
        return subject == "it" ? "its" : subject + "'s";
    }

    // What the node's type gives before the lock and the imposed mode: the
    // register's own mode, a formula's inputs, or the mode of the value source.
    EAccessMode Base(INode* node, const std::string& subject, int depth,
                     std::vector<std::string>& parts, std::string& cause) {
        if (IsRegister(node)) {
            std::string modeText = PropertyValue(node, "AccessMode");
            EAccessMode own = modeText.empty() ? RO : ParseMode(modeText);
            parts.push_back("register " + RegisterText(node));
            INode* port = LinkedNode(node, "pPort");
            if (!port || !IsAvailable(AccessOf(port))) {
                cause = Possessive(subject) + " port " + PropertyValue(node, "pPort") +
                        " is not connected";
                return NA;
            }
            if (own != RW)
                cause = (subject == "it" ? "its register" : subject) + " is " + ModeWords(own) +
                        " (AccessMode " + (modeText.empty() ? "RO by default" : modeText) + ")";
            return own;
        }
        if (FormulaOf formula(node); formula) {
            parts.push_back("formula `" + formula.text + "`");
            for (const auto& [name, variable] : formula.variables) {
                if (!variable || IsReadable(AccessOf(variable))) continue;
                std::string inner = Cause(variable, NameOf(variable), depth + 1);
                cause = inner.empty() ? "its variable " + name + " (" + NameOf(variable) + ") is " +
                                            ModeWords(AccessOf(variable))
                                      : inner;
                return NA;
            }
            if (PropertyValue(node, "FormulaFrom").empty()) {
                cause = subject + " is computed by the formula `" + formula.text + "`";
                return RO;
            }
        }
        if (INode* source = ValueSource(node)) {
            EAccessMode sourceMode = AccessOf(source);
            parts.push_back("value from " + NameOf(source) + " (" + AccessModeName(sourceMode) +
                            ")");
            cause = Cause(source, NameOf(source), depth + 1);
            return sourceMode;
        }
        parts.push_back("own value");
        switch (node->GetPrincipalInterfaceType()) {
        case intfIInteger:
        case intfIFloat:
        case intfIBoolean:
        case intfICommand:
        case intfIString:
        case intfIEnumeration:
            return RW;
        default:
            return RO;
        }
    }

    // The innermost cause through a predicate: a plain node with its value,
    // or a formula with the values of its variables.
    std::string Predicate(const std::string& subject, INode* predicate, const char* role,
                          int depth) {
        const std::string roleText = std::string(role);
        FormulaOf formula(predicate);
        if (!formula) {
            const char* verb = roleText == "pIsLocked"      ? " is locked while "
                               : roleText == "pIsAvailable" ? " is not available while "
                                                            : " is not implemented while ";
            return subject + verb + Shown(predicate) + " (" + roleText + ")";
        }
        AddFormulaLines(predicate, depth + 1);
        std::vector<std::string> inputs;
        for (const auto& entry : formula.variables) {
            std::string shown = Shown(entry.second);
            if (std::find(inputs.begin(), inputs.end(), shown) == inputs.end())
                inputs.push_back(shown);
        }
        std::string text = JoinAnd(inputs) + (inputs.size() == 1 ? " makes " : " make ") +
                           NameOf(predicate) + " (formula `" + formula.text + "`) " +
                           ValueText(predicate);
        if (roleText == "pIsLocked") return text + ", which locks " + subject + " (pIsLocked)";
        return text +
               (subject == "it" ? " (" + roleText + ")" : " (" + roleText + " of " + subject + ")");
    }

    // A formula's line, after the lines of the formulas among its variables.
    void AddFormulaLines(INode* node, int depth) {
        if (!node || depth > kMaxDepth || !formulasShown_.insert(node).second) return;
        FormulaOf formula(node);
        if (!formula) return;
        std::vector<std::string> inputs;
        for (const auto& [name, variable] : formula.variables) {
            AddFormulaLines(variable, depth + 1);
            inputs.push_back(name + " = " + NameOf(variable) + " = " +
                             (variable ? ValueText(variable) : std::string("?")));
        }
        chain.push_back(NameOf(node) + " = " + ValueText(node) + ": formula `" + formula.text +
                        "`" + (inputs.empty() ? "" : " with " + Join(inputs, ", ")));
    }
};

// The node and the nodes it takes its value from, down to the register or
// formula that holds it.
std::vector<INode*> ValueChain(INode* node) {
    std::vector<INode*> nodes{node};
    while (nodes.size() < kMaxDepth) {
        INode* next = ValueSource(nodes.back());
        if (!next || std::find(nodes.begin(), nodes.end(), next) != nodes.end()) break;
        nodes.push_back(next);
    }
    return nodes;
}

// The element names of `parent` that link it to `child`.
std::vector<std::string> LinkRoles(INode* parent, const std::string& child) {
    gcstring_vector names;
    parent->GetPropertyNames(names);
    std::vector<std::string> roles;
    for (const gcstring& name : names) {
        std::vector<std::string> values = PropertyValues(parent, name.c_str());
        if (std::find(values.begin(), values.end(), child) != values.end())
            roles.emplace_back(name);
        // pIndex with pOffset, pVariable of a formula and the like all name
        // the child as the element's text; attributes name it rarely.
        else if (name == "pIndex") {
            auto offsets = PropertyAttributes(parent, "pIndex", "pOffset");
            if (std::find(offsets.begin(), offsets.end(), child) != offsets.end())
                roles.emplace_back("pIndex");
        }
    }
    return roles;
}

// The features whose value or access mode change when `node` is written:
// everything computed from it or its value chain, transitively, and what
// names them in pInvalidator. Selected features of a selector change too.
void AddDependents(INode* node, const std::vector<INode*>& chainNodes,
                   std::vector<std::string>& facts) {
    std::vector<std::string> computed, invalidated;
    std::set<INode*> seen(chainNodes.begin(), chainNodes.end());
    // Each node reached, and whether only an invalidation reaches it.
    std::vector<std::pair<INode*, bool>> queue;
    for (INode* n : chainNodes)
        queue.emplace_back(n, false);
    for (INode* selected : SelectedNodes(node))
        if (seen.insert(selected).second) {
            queue.emplace_back(selected, false);
            computed.push_back(NameOf(selected) + " (selected)");
        }
    for (size_t i = 0; i < queue.size(); ++i) {
        const auto [child, byInvalidation] = queue[i];
        NodeList_t parents;
        child->GetParents(parents);
        for (INode* parent : parents) {
            if (seen.count(parent)) continue;
            bool value = false, invalidator = false;
            for (const std::string& role : LinkRoles(parent, NameOf(child))) {
                if (role == "pInvalidator")
                    invalidator = true;
                else if (role != "pFeature" && role != "pSelected" && role != "pAlias" &&
                         role != "pCastAlias" && role != "pPort")
                    value = true;
            }
            if (!value && !invalidator) continue;
            const bool viaInvalidator = byInvalidation || !value;
            seen.insert(parent);
            queue.emplace_back(parent, viaInvalidator);
            if (parent->IsFeature())
                (viaInvalidator ? invalidated : computed).push_back(NameOf(parent));
        }
    }
    facts.push_back("Changes when written: " +
                    (computed.empty() ? std::string("nothing else") : Join(computed, ", ")));
    if (!invalidated.empty())
        facts.push_back("Read anew when written (pInvalidator): " + Join(invalidated, ", "));
}

} // namespace

AccessExplanation ExplainAccess(INode* node) {
    AccessExplanation out;
    if (!node) throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
    out.mode = AccessOf(node);
    Walker walker;
    std::string cause = walker.Cause(node, "it", 0);
    out.headline = NameOf(node) + " is " + ModeWords(out.mode) + " now" +
                   (cause.empty() ? std::string() : ": " + cause);
    out.chain = std::move(walker.chain);

    const std::vector<INode*> chainNodes = ValueChain(node);
    INode* reg = IsRegister(chainNodes.back()) ? chainNodes.back() : nullptr;
    if (reg)
        out.facts.push_back("Register: " + NameOf(reg) + " " + RegisterText(reg));
    else if (FormulaOf(chainNodes.back()))
        out.facts.push_back("Register: none, " + NameOf(chainNodes.back()) + " computes the value");
    else
        out.facts.push_back("Register: none, the description holds the value");

    std::string polling = "Polling: none";
    for (INode* n : chainNodes)
        if (n->GetPollingTime() >= 0) {
            polling = Format("Polling: every %lld ms", static_cast<long long>(n->GetPollingTime()));
            if (n != node) polling += " (" + NameOf(n) + ")";
            break;
        }
    out.facts.push_back(polling);

    std::vector<std::string> selecting;
    for (INode* selector : SelectingNodes(node))
        selecting.push_back(NameOf(selector) + " = " + ValueText(selector));
    if (!selecting.empty()) out.facts.push_back("Selected by: " + Join(selecting, ", "));
    std::vector<std::string> selected;
    for (INode* feature : SelectedNodes(node))
        selected.push_back(NameOf(feature));
    if (!selected.empty()) out.facts.push_back("Selects: " + Join(selected, ", "));

    AddDependents(node, chainNodes, out.facts);
    std::vector<std::string> invalidators;
    for (INode* n : chainNodes)
        for (const std::string& name : PropertyValues(n, "pInvalidator")) {
            // A hidden node is named with the feature that writes it.
            INode* feature = FeatureOver(n->GetNodeMap()->GetNode(name.c_str()));
            std::string shown = feature ? NameOf(feature) + " (" + name + ")" : name;
            if (std::find(invalidators.begin(), invalidators.end(), shown) == invalidators.end())
                invalidators.push_back(shown);
        }
    if (!invalidators.empty())
        out.facts.push_back("Read anew after: " + Join(invalidators, ", ") + " (pInvalidator)");

    if (node->GetPrincipalInterfaceType() == intfIEnumeration) {
        NodeList_t entries;
        try {
            CEnumerationPtr(node)->GetEntries(entries);
        } catch (const GenICam::GenericException&) {
            entries.clear();
        }
        for (INode* entry : entries) {
            if (IsAvailable(AccessOf(entry))) continue;
            const std::string symbolic(CEnumEntryPtr(entry)->GetSymbolic());
            Walker entryWalker;
            std::string why = entryWalker.Cause(entry, symbolic, 0);
            out.unavailableEntries.push_back(symbolic + ": " +
                                             (why.empty() ? ModeWords(AccessOf(entry)) : why));
        }
    }
    return out;
}

std::string ExplanationText(const AccessExplanation& e) {
    std::string text = e.headline + "\n";
    if (!e.chain.empty()) text += "Innermost first:\n";
    for (const std::string& line : e.chain)
        text += "  " + line + "\n";
    for (const std::string& line : e.facts)
        text += line + "\n";
    if (!e.unavailableEntries.empty()) text += "Entries not available now:\n";
    for (const std::string& line : e.unavailableEntries)
        text += "  " + line + "\n";
    return text;
}

} // namespace quillon::inspect
