// What the engine's tests share: a node map over a memory port, driven and
// checked by scenarios; a node's answers as one text, to compare nodes by.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <iomanip>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "../support/inline_description.h"
#include "GenApi/GenApi.h"

namespace quillon_test {

using namespace GenApi;

inline std::string fixturePath(const std::string& file) {
    return std::string(QUILLON_FIXTURE_DIR) + "/" + file;
}

// The what() of the GenICam exception `f` raises, or a failure.
template <class F> std::string raised(F&& f) {
    try {
        f();
    } catch (const GenICam::GenericException& e) {
        return e.what();
    }
    ADD_FAILURE() << "no exception";
    return {};
}

// Runs `read` and appends its text, or what it raised.
template <class F> void answer(std::string& text, F&& read) {
    try {
        text += read();
    } catch (const GenICam::GenericException& e) {
        text += std::string("raises ") + e.GetDescription();
    }
    text += '|';
}

// Numbers as text; doubles to the last digit.
template <class T> std::string num(T v) {
    std::ostringstream text;
    text << std::setprecision(17) << +v;
    return text.str();
}

inline INode* asNode(INode* n) {
    return n;
}
inline INode* asNode(IValue* v) {
    return v->GetNode();
}
template <class List> std::string names(const List& list) {
    std::string text;
    for (auto* x : list)
        text += (text.empty() ? "" : ",") + std::string(asNode(x)->GetName());
    return text;
}

const char* const kModes[] = {"NI", "NA", "WO", "RO", "RW"};

// One fact of a node as text, by the name scenarios use for it.
inline std::string fact(INode* n, const std::string& f) {
    NodeList_t nodes;
    FeatureList_t features;
    if (f.empty()) return std::string(CValuePtr(n)->ToString());
    if (f == "i") return num(CIntegerPtr(n)->GetValue());
    if (f == "f") return num(CFloatPtr(n)->GetValue());
    if (f == "min" || f == "max" || f == "inc") {
        if (CIntegerPtr i = n)
            return num(f == "min" ? i->GetMin() : f == "max" ? i->GetMax() : i->GetInc());
        CFloatPtr x = n;
        return num(f == "min" ? x->GetMin() : f == "max" ? x->GetMax() : x->GetInc());
    }
    if (f == "mode") return kModes[n->GetAccessMode()];
    if (f == "unit") return CIntegerPtr(n) ? CIntegerPtr(n)->GetUnit() : CFloatPtr(n)->GetUnit();
    if (f == "cached") return num(CValuePtr(n)->IsValueCacheValid());
    if (f == "done") return num(CCommandPtr(n)->IsDone());
    if (f == "display") return std::string(n->GetDisplayName());
    if (f == "tooltip") return std::string(n->GetToolTip());
    if (f == "descr") return std::string(n->GetDescription());
    if (f == "url") return std::string(n->GetDocuURL());
    if (f == "vis") return num(n->GetVisibility());
    if (f == "ns") return num(n->GetNameSpace());
    if (f == "feature") return num(n->IsFeature());
    if (f == "type") return num(n->GetPrincipalInterfaceType());
    if (f == "length") return num(CRegisterPtr(n)->GetLength());
    if (f == "address") return num(CRegisterPtr(n)->GetAddress());
    if (f == "symbolics") {
        StringList_t s;
        CEnumerationPtr(n)->GetSymbolics(s);
        std::string t;
        for (const gcstring& x : s)
            t += (t.empty() ? "" : ",") + std::string(x);
        return t;
    }
    if (f == "features") return CCategoryPtr(n)->GetFeatures(features), names(features);
    if (f == "selected") return CSelectorPtr(n)->GetSelectedFeatures(features), names(features);
    if (f == "selecting") return CSelectorPtr(n)->GetSelectingFeatures(features), names(features);
    if (f == "children") return n->GetChildren(nodes), names(nodes);
    if (f == "writing") return n->GetChildren(nodes, ctWritingChildren), names(nodes);
    if (f == "invalidators") return n->GetChildren(nodes, ctInvalidatingChildren), names(nodes);
    if (f == "depending") return n->GetChildren(nodes, ctDependingNodes), names(nodes);
    if (f == "terminal") return n->GetChildren(nodes, ctTerminalNodes), names(nodes);
    if (f == "parents") return n->GetParents(nodes), names(nodes);
    gcstring value, attributes;
    if (f.rfind("prop:", 0) == 0 && n->GetProperty(f.substr(5).c_str(), value, attributes))
        return std::string(value) + (attributes.empty() ? "" : "[" + std::string(attributes) + "]");
    ADD_FAILURE() << "no fact '" << f << "'";
    return {};
}

// A description loaded as the node map "Device" over a zero-filled port.
struct Device {
    CMemoryPort port; // the port outlives the node map that points at it
    CNodeMapRef map;

    // `source`: a fixture's name, a path or a description.
    explicit Device(const std::string& source) {
        if (source.find('<') == std::string::npos)
            map._LoadXMLFromFile((source[0] == '/' ? source : fixturePath(source)).c_str());
        else
            map._LoadXMLFromString(source.c_str());
        map._Connect(&port);
    }
    INode* node(const std::string& name) const {
        INode* n = map._GetNode(name.c_str());
        EXPECT_NE(n, nullptr) << "no node " << name;
        return n;
    }

    // Runs a scenario: steps separated by white space, each checked in turn.
    //   Name=text      writes text (FromString); Name~text writes it unverified
    //   Name?text      the value reads as text (ToString)
    //   Name.fact?text a fact of the node reads as text (see fact())
    //   Name.execute() Name.invalidate() Name.impose(RO) *.invalidate() *.poll(ms)
    //   @0x10=0A0B     device bytes written; @0x10?0A0B device bytes expected
    // A step ending in !Kind must raise a GenICam exception of that kind
    // (!OutOfRange, !Access, ...; a bare ! any kind). 'A step' may hold spaces.
    void play(const std::string& script) {
        std::istringstream in(script);
        size_t number = 0;
        for (std::string step; in >> std::quoted(step, '\'');)
            this->step(step, ++number);
    }

private:
    void step(std::string s, size_t number) {
        SCOPED_TRACE("step " + std::to_string(number) + " '" + s + "'");
        std::string kind;
        bool raises = false;
        if (size_t bang = s.rfind('!'); bang != std::string::npos) {
            kind = s.substr(bang + 1), s.erase(bang), raises = true;
        }
        size_t op = s.find_first_of("=?~");
        std::string target = s.substr(0, op),
                    value = op == std::string::npos ? "" : s.substr(op + 1);
        auto run = [&]() -> std::string {
            if (target[0] == '@')
                return bytes(std::stoll(target.substr(1), nullptr, 0), s[op], value);
            size_t dot = target.find('.');
            std::string name = target.substr(0, dot),
                        what = dot == std::string::npos ? "" : target.substr(dot + 1);
            INodeMap* m = map._Ptr();
            if (what.rfind("poll(", 0) == 0) return m->Poll(std::stoll(what.substr(5))), "";
            if (what == "invalidate()" && name == "*") return m->InvalidateNodes(), "";
            INode* n = node(name);
            if (!n) return "";
            if (what == "execute()") return CCommandPtr(n)->Execute(), "";
            if (what == "invalidate()") return n->InvalidateNode(), "";
            if (what.rfind("impose(", 0) == 0)
                return n->ImposeAccessMode(static_cast<EAccessMode>(
                           std::find(kModes, kModes + 5, what.substr(7, 2)) - kModes)),
                       "";
            if (s[op] != '?') return CValuePtr(n)->FromString(value.c_str(), s[op] == '='), "";
            return fact(n, what);
        };
        if (raises) {
            std::string what = raised(run);
            EXPECT_NE(what.find(kind + (kind.empty() ? "" : "Exception thrown")), std::string::npos)
                << what;
        } else if (std::string got = run(); op != std::string::npos && s[op] == '?') {
            EXPECT_EQ(got, value);
        }
    }

    // Writes the bytes `hex` spells at `address`, or reads them as hex.
    std::string bytes(int64_t address, char op, const std::string& hex) {
        std::vector<uint8_t> b(hex.size() / 2);
        for (size_t i = 0; op == '=' && i < b.size(); ++i)
            b[i] = static_cast<uint8_t>(std::stoi(hex.substr(2 * i, 2), nullptr, 16));
        if (op == '=') return port.Write(b.data(), address, static_cast<int64_t>(b.size())), "";
        port.Read(b.data(), address, static_cast<int64_t>(b.size()));
        std::string text(2 * b.size() + 1, '\0');
        for (size_t i = 0; i < b.size(); ++i)
            std::snprintf(&text[2 * i], 3, "%02X", b[i]);
        return text.substr(0, 2 * b.size());
    }
};

// What a node answers over its memory, but for name and property records.
inline std::string NodeAnswers(INode* n) {
    std::string t = std::string(n->GetToolTip()) + "|" + std::string(n->GetDescription()) + "|" +
                    std::string(n->GetDocuURL()) + "|" + num(n->GetNameSpace()) +
                    num(n->GetVisibility()) + num(n->GetCachingMode()) + num(n->IsDeprecated()) +
                    num(n->IsStreamable()) + num(n->IsFeature()) +
                    num(n->GetPrincipalInterfaceType()) + "|" + num(n->GetPollingTime()) + "|" +
                    num(n->GetEventID()) + "|" +
                    (n->GetAlias() ? std::string(n->GetAlias()->GetName()) : "") + "|" +
                    (n->GetCastAlias() ? std::string(n->GetCastAlias()->GetName()) : "") + "|";
    answer(t, [&] { return num(n->GetAccessMode()); });
    if (CValuePtr v = n)
        answer(t, [&] { return IsReadable(n->GetAccessMode()) ? std::string(v->ToString()) : ""; });
    if (CIntegerPtr i = n)
        answer(t, [&] {
            return num(i->GetMin()) + ".." + num(i->GetMax()) + "/" + num(i->GetInc()) +
                   num(i->GetRepresentation()) + std::string(i->GetUnit());
        });
    if (CFloatPtr f = n)
        answer(t, [&] {
            return num(f->GetMin()) + ".." + num(f->GetMax()) + "/" +
                   (f->HasInc() ? num(f->GetInc()) : "") + num(f->GetRepresentation()) +
                   num(f->GetDisplayNotation()) + num(f->GetDisplayPrecision()) +
                   std::string(f->GetUnit());
        });
    if (CEnumerationPtr e = n) {
        NodeList_t entries;
        e->GetEntries(entries);
        for (INode* entry : entries) {
            CEnumEntryPtr x = entry;
            t += std::string(x->GetSymbolic()) + "=" + num(x->GetValue()) + "/" +
                 num(x->GetNumericValue()) + num(x->IsSelfClearing()) +
                 std::string(entry->GetDisplayName()) + ";";
        }
    }
    if (CRegisterPtr r = n)
        answer(t, [&] { return num(r->GetAddress()) + "+" + num(r->GetLength()); });
    if (CStringPtr str = n) answer(t, [&] { return num(str->GetMaxLength()); });
    if (CCommandPtr c = n) answer(t, [&] { return num(c->IsDone()); });
    if (CCategoryPtr c = n) answer(t, [&] { return fact(n, "features"); });
    return t;
}

// NodeAnswers with the node's name, display name, property records and links.
inline std::string NodeBehaviour(INode* n) {
    std::string t = std::string(n->GetName()) + "|" + std::string(n->GetDisplayName()) + "|";
    gcstring_vector properties;
    n->GetPropertyNames(properties);
    for (const gcstring& p : properties)
        t += std::string(p) + "=" + fact(n, "prop:" + std::string(p)) + ";";
    // Parents are the reverse of these links: left out, being slow to find.
    for (const char* links :
         {"children", "writing", "invalidators", "depending", "terminal", "selected", "selecting"})
        t += fact(n, links) + "|";
    return t + NodeAnswers(n);
}

} // namespace quillon_test
