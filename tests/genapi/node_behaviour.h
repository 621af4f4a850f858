// What a client can learn of a node through the GenApi interfaces, as text:
// two nodes that give the same text behave the same to every reader.
#pragma once

#include <cstdio>
#include <string>
#include <type_traits>

#include "GenApi/GenApi.h"

namespace quillon_test {

// Runs `read` and appends its text, or what it raised.
template <class F> void answer(std::string& text, F&& read) {
    try {
        text += read();
    } catch (const GenICam::GenericException& e) {
        text += std::string("raises ") + e.GetDescription();
    }
    text += '|';
}

inline std::string names(const GenApi::NodeList_t& nodes) {
    std::string text;
    for (GenApi::INode* n : nodes)
        text += std::string(n->GetName()) + ",";
    return text;
}

// The node's answers apart from its name and property records: texts,
// flags, access, and value, limits and entries over its current memory.
inline std::string NodeAnswers(GenApi::INode* n) {
    using namespace GenApi;
    auto s = [](auto v) {
        char text[32];
        if constexpr (std::is_floating_point_v<decltype(v)>)
            std::snprintf(text, sizeof text, "%.17g", v);
        else
            std::snprintf(text, sizeof text, "%lld", static_cast<long long>(v));
        return std::string(text);
    };
    std::string t = std::string(n->GetToolTip()) + "|" + std::string(n->GetDescription()) + "|" +
                    std::string(n->GetDocuURL()) + "|" + s(n->GetNameSpace()) +
                    s(n->GetVisibility()) + s(n->GetCachingMode()) + s(n->IsDeprecated()) +
                    s(n->IsStreamable()) + s(n->IsFeature()) + s(n->GetPrincipalInterfaceType()) +
                    "|" + s(n->GetPollingTime()) + "|" + s(n->GetEventID()) + "|" +
                    (n->GetAlias() ? std::string(n->GetAlias()->GetName()) : "") + "|" +
                    (n->GetCastAlias() ? std::string(n->GetCastAlias()->GetName()) : "") + "|";
    answer(t, [&] { return s(n->GetAccessMode()); });
    if (CValuePtr v = n)
        answer(t, [&] {
            return IsReadable(n->GetAccessMode()) ? std::string(v->ToString()) : std::string();
        });
    if (CIntegerPtr i = n)
        answer(t, [&] {
            return s(i->GetMin()) + ".." + s(i->GetMax()) + "/" + s(i->GetInc()) +
                   s(i->GetRepresentation()) + std::string(i->GetUnit());
        });
    if (CFloatPtr f = n)
        answer(t, [&] {
            return s(f->GetMin()) + ".." + s(f->GetMax()) + "/" +
                   (f->HasInc() ? s(f->GetInc()) : "") + s(f->GetRepresentation()) +
                   s(f->GetDisplayNotation()) + s(f->GetDisplayPrecision()) +
                   std::string(f->GetUnit());
        });
    if (CEnumerationPtr e = n) {
        NodeList_t entries;
        e->GetEntries(entries);
        for (INode* entry : entries) {
            CEnumEntryPtr x = entry;
            t += std::string(x->GetSymbolic()) + "=" + s(x->GetValue()) + "/" +
                 s(x->GetNumericValue()) + s(x->IsSelfClearing()) +
                 std::string(entry->GetDisplayName()) + ";";
        }
    }
    if (CRegisterPtr r = n) answer(t, [&] { return s(r->GetAddress()) + "+" + s(r->GetLength()); });
    if (CStringPtr str = n) answer(t, [&] { return s(str->GetMaxLength()); });
    if (CCategoryPtr c = n) {
        FeatureList_t features;
        c->GetFeatures(features);
        for (IValue* f : features)
            t += std::string(f->GetNode()->GetName()) + ",";
    }
    return t;
}

// NodeAnswers with the node's name, display name, property records and links.
inline std::string NodeBehaviour(GenApi::INode* n) {
    using namespace GenApi;
    std::string t = std::string(n->GetName()) + "|" + std::string(n->GetDisplayName()) + "|";
    gcstring_vector properties;
    n->GetPropertyNames(properties);
    for (const gcstring& p : properties) {
        gcstring value, attributes;
        n->GetProperty(p, value, attributes);
        t += std::string(p) + "=" + std::string(value) + "[" + std::string(attributes) + "];";
    }
    // Parents are the reverse of these links: left out, being slow to find.
    for (ELinkType type : {ctReadingChildren, ctWritingChildren, ctInvalidatingChildren,
                           ctDependingNodes, ctTerminalNodes}) {
        NodeList_t related;
        n->GetChildren(related, type);
        t += names(related) + "|";
    }
    FeatureList_t selected, selecting;
    if (CSelectorPtr s = n) {
        s->GetSelectedFeatures(selected);
        s->GetSelectingFeatures(selecting);
    }
    for (FeatureList_t* list : {&selected, &selecting})
        for (IValue* f : *list)
            t += std::string(f->GetNode()->GetName()) + ",";
    return t + "|" + NodeAnswers(n);
}

} // namespace quillon_test
