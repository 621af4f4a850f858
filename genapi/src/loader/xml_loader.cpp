// Builds a node map from description XML with pugixml. The DOM lives only
// while loading: nodes keep their texts in the map's arena.
#include <pugixml.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <set>

#include "loader/loader.h"
#include "nodes/node_types.h"

namespace GenApi::detail {

namespace {

std::string_view localName(const char* qualified) {
    std::string_view n(qualified);
    size_t colon = n.find(':');
    return colon == std::string_view::npos ? n : n.substr(colon + 1);
}

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string_view trim(std::string_view t) {
    while (!t.empty() && isSpace(t.front())) t.remove_prefix(1);
    while (!t.empty() && isSpace(t.back())) t.remove_suffix(1);
    return t;
}

// Unknown elements are reported once per process, not once per occurrence.
void reportUnknownElement(std::string_view element, const std::string& source) {
    static std::mutex mutex;
    static std::set<std::string, std::less<>> seen;
    std::lock_guard guard(mutex);
    if (seen.count(element)) return;
    seen.emplace(element);
    std::fprintf(stderr, "GenApi: ignoring unknown element <%.*s> in %s\n", static_cast<int>(element.size()),
                 element.data(), source.c_str());
}

size_t lineOf(std::string_view text, ptrdiff_t offset) {
    // The parser may place an error before the text ("<" alone): line 1.
    auto end = text.begin() + std::clamp<ptrdiff_t>(offset, 0, static_cast<ptrdiff_t>(text.size()));
    return static_cast<size_t>(std::count(text.begin(), end, '\n')) + 1;
}

// Sorts the name index: the names' first eight bytes, compared as one
// number, decide most comparisons without a call to memcmp.
void sortByName(std::vector<std::pair<std::string_view, Node*>>& index) {
    std::vector<std::pair<uint64_t, uint32_t>> keyed; // (prefix, position in index)
    keyed.reserve(index.size());
    for (size_t i = 0; i < index.size(); ++i) {
        std::string_view name = index[i].first;
        unsigned char bytes[8] = {};
        std::memcpy(bytes, name.data(), std::min<size_t>(8, name.size()));
        uint64_t prefix = 0; // big-endian: numeric order is byte order
        for (unsigned char b : bytes) prefix = prefix << 8 | b;
        keyed.emplace_back(prefix, static_cast<uint32_t>(i));
    }
    std::sort(keyed.begin(), keyed.end(), [&index](const auto& a, const auto& b) {
        if (a.first != b.first) return a.first < b.first;
        return index[a.second].first < index[b.second].first;
    });
    std::vector<std::pair<std::string_view, Node*>> sorted;
    sorted.reserve(index.size());
    for (const auto& k : keyed) sorted.push_back(index[k.second]);
    index.swap(sorted);
}

} // namespace

struct Loader::Builder {
    Loader& loader;
    NodeMap& map;
    std::string joined{}; // an element text in several pieces

    TextRef store(std::string_view text) {
        TextRef r{static_cast<uint32_t>(map.arena_.size()), static_cast<uint32_t>(text.size())};
        map.arena_.append(text);
        return r;
    }

    // The element's text: its PCDATA and CDATA pieces, trimmed. Most
    // elements hold one piece, seen in place; several are joined in `joined`.
    static std::string_view elementText(const pugi::xml_node& e, std::string& joined) {
        pugi::xml_node c = e.first_child();
        if (!c) return {};
        if (!c.next_sibling() && (c.type() == pugi::node_pcdata || c.type() == pugi::node_cdata))
            return trim(c.value());
        joined.clear();
        for (; c; c = c.next_sibling())
            if (c.type() == pugi::node_pcdata || c.type() == pugi::node_cdata) joined += c.value();
        return trim(joined);
    }

    uint16_t propertyId(std::string_view name) {
        Prop p = propertyFromName(name);
        if (p != Prop::Count) return static_cast<uint16_t>(p);
        auto& extra = map.extraPropertyNames_;
        for (size_t i = 0; i < extra.size(); ++i)
            if (extra[i] == name) return static_cast<uint16_t>(kKnownPropertyCount + i);
        extra.emplace_back(name);
        return static_cast<uint16_t>(kKnownPropertyCount + extra.size() - 1);
    }

    void addRecord(const pugi::xml_node& e, uint8_t level) {
        PropertyRecord r{};
        std::string_view name = localName(e.name());
        r.name = propertyId(name);
        r.level = level;
        r.value = store(elementText(e, joined));
        // Written straight into the arena: most elements have no attributes.
        std::string& arena = map.arena_;
        r.attributes.off = static_cast<uint32_t>(arena.size());
        for (pugi::xml_attribute a = e.first_attribute(); a; a = a.next_attribute()) {
            if (arena.size() != r.attributes.off) arena += '\t';
            arena += a.name();
            arena += '=';
            arena += a.value();
        }
        r.attributes.len = static_cast<uint32_t>(arena.size() - r.attributes.off);
        map.records_.push_back(r);
        if (level == 0 && r.name != static_cast<uint16_t>(Prop::Extension))
            for (pugi::xml_node c = e.first_child(); c; c = c.next_sibling())
                if (c.type() == pugi::node_element) addRecord(c, 1);
    }

    Node* newNode(std::string_view type, std::string_view name, ENameSpace ns, const pugi::xml_node& at) {
        if (name.empty())
            throw PROPERTY_EXCEPTION("%s: <%.*s> without a Name (offset %td)", loader.source_.c_str(),
                                     static_cast<int>(type.size()), type.data(), at.offset_debug());
        auto node = createNode(type, map, static_cast<uint32_t>(map.nodes_.size()));
        node->setName(store(name), ns);
        Node* raw = node.get();
        map.nodes_.push_back(std::move(node));
        return raw;
    }

    static ENameSpace nameSpaceOf(const pugi::xml_node& e) {
        return std::string_view(e.attribute("NameSpace").value()) == "Standard" ? Standard : Custom;
    }

    void nodeElement(const pugi::xml_node& e, std::string_view type) {
        Node* node = newNode(type, e.attribute("Name").value(), nameSpaceOf(e), e);
        auto first = static_cast<uint32_t>(map.records_.size());
        std::vector<pugi::xml_node> entries;
        for (pugi::xml_node c = e.first_child(); c; c = c.next_sibling()) {
            if (c.type() != pugi::node_element) continue;
            if (type == "Enumeration" && localName(c.name()) == "EnumEntry") {
                entries.push_back(c);
                continue;
            }
            addRecord(c, 0);
        }
        node->setRecords(first, static_cast<uint32_t>(map.records_.size()) - first);
        if (entries.empty()) return;
        auto* enumeration = static_cast<EnumerationNode*>(node);
        std::string enumName(node->name());
        for (const pugi::xml_node& c : entries) {
            std::string symbolic = c.attribute("Name").value();
            // Entries are nodes of their own, named after the enumeration.
            auto* entry = static_cast<EnumEntryNode*>(
                newNode("EnumEntry", "EnumEntry_" + enumName + "_" + symbolic, nameSpaceOf(c), c));
            entry->setSymbolic(store(symbolic));
            auto entryFirst = static_cast<uint32_t>(map.records_.size());
            for (pugi::xml_node p = c.first_child(); p; p = p.next_sibling())
                if (p.type() == pugi::node_element) addRecord(p, 0);
            entry->setRecords(entryFirst, static_cast<uint32_t>(map.records_.size()) - entryFirst);
            enumeration->addEntry(entry);
        }
    }

    // Each StructEntry becomes a MaskedIntReg with the StructReg's properties
    // and its own, its own taking precedence.
    void structReg(const pugi::xml_node& e) {
        for (pugi::xml_node entry = e.child("StructEntry"); entry; entry = entry.next_sibling("StructEntry")) {
            Node* node = newNode("MaskedIntReg", entry.attribute("Name").value(), nameSpaceOf(entry), entry);
            auto first = static_cast<uint32_t>(map.records_.size());
            std::set<std::string_view> own;
            for (pugi::xml_node p = entry.first_child(); p; p = p.next_sibling())
                if (p.type() == pugi::node_element) own.insert(localName(p.name()));
            for (pugi::xml_node p = e.first_child(); p; p = p.next_sibling()) {
                if (p.type() != pugi::node_element) continue;
                std::string_view n = localName(p.name());
                if (n == "StructEntry" || own.count(n)) continue;
                addRecord(p, 0);
            }
            for (pugi::xml_node p = entry.first_child(); p; p = p.next_sibling())
                if (p.type() == pugi::node_element) addRecord(p, 0);
            node->setRecords(first, static_cast<uint32_t>(map.records_.size()) - first);
        }
    }

    void children(const pugi::xml_node& parent, int depth) {
        if (depth > 64) throw PROPERTY_EXCEPTION("%s: Groups nested too deeply", loader.source_.c_str());
        for (pugi::xml_node e = parent.first_child(); e; e = e.next_sibling()) {
            if (e.type() != pugi::node_element) continue;
            std::string_view type = localName(e.name());
            if (type == "Group") children(e, depth + 1);
            else if (type == "StructReg") structReg(e);
            else if (type == "EnumEntry") reportUnknownElement("EnumEntry outside an Enumeration", loader.source_);
            else if (isNodeType(type)) nodeElement(e, type);
            else reportUnknownElement(type, loader.source_);
        }
    }
};

Loader::Loader(NodeMap& map, std::string sourceName) : map_(map), source_(std::move(sourceName)) {}

void Loader::load(std::string_view xmlText) {
    std::string_view xml = stripPreamble(xmlText);
    if (xml.empty()) throw RUNTIME_EXCEPTION("%s: no XML in the description", source_.c_str());
    std::string buffer(xml);
    pugi::xml_document doc;
    // No DOCTYPE processing: entities declared there are never expanded.
    pugi::xml_parse_result result =
        doc.load_buffer_inplace(buffer.data(), buffer.size(), pugi::parse_default, pugi::encoding_auto);
    // Lines count from the start of the file, skipped header lines included.
    if (!result)
        throw RUNTIME_EXCEPTION("%s: XML error at line %zu: %s", source_.c_str(),
                                lineOf(xmlText, result.offset + (xml.data() - xmlText.data())), result.description());
    pugi::xml_node root = doc.document_element();
    if (localName(root.name()) != "RegisterDescription")
        throw RUNTIME_EXCEPTION("%s: not a GenICam description (root element <%s>, not <RegisterDescription>)",
                                source_.c_str(), root.name());
    map_.modelName_ = root.attribute("ModelName").value();
    map_.vendorName_ = root.attribute("VendorName").value();
    for (pugi::xml_attribute a : root.attributes())
        if (std::string_view(a.name()).find(':') == std::string_view::npos &&
            std::string_view(a.name()) != "xmlns") {
            map_.descriptionAttributes_.emplace_back(a.name());
            map_.descriptionAttributes_.emplace_back(a.value());
        }

    map_.arena_.reserve(xml.size() / 2);
    map_.records_.reserve(xml.size() / 48);
    map_.nodes_.reserve(xml.size() / 300);
    Builder builder{*this, map_};
    builder.children(root, 0);
    finish();
}

void Loader::finish() {
    map_.arena_.shrink_to_fit();
    map_.records_.shrink_to_fit();
    auto& index = map_.byName_;
    index.reserve(map_.nodes_.size());
    for (auto& n : map_.nodes_) index.emplace_back(n->name(), n.get());
    sortByName(index);
    for (size_t i = 1; i < index.size(); ++i)
        if (index[i].first == index[i - 1].first)
            throw PROPERTY_EXCEPTION("%s: node '%.*s' is defined twice", source_.c_str(),
                                     static_cast<int>(index[i].first.size()), index[i].first.data());
    // References are resolved through a hash table while loading: a dozen
    // string comparisons of a bisection per reference are most of linking.
    names_ = NameTable<Node*>(index.size());
    for (const auto& [name, node] : index) names_.insert(name, node);
    for (auto& n : map_.nodes_) {
        n->linkBegin_ = static_cast<uint32_t>(map_.linkPool_.size());
        const PropertyRecord* records = map_.records(n->firstRecord_);
        for (uint32_t i = 0; i < n->recordCount_; ++i) {
            const PropertyRecord& r = records[i];
            if (r.level != 0) continue;
            // An element without text or nested elements (<Streamable/>, as
            // older descriptions write) leaves the property at its default;
            // GetProperty still lists it.
            bool nestedFollow = i + 1 < n->recordCount_ && records[i + 1].level == 1;
            if (r.value.len == 0 && !nestedFollow) continue;
            auto prop = r.name < kKnownPropertyCount ? static_cast<Prop>(r.name) : Prop::Count;
            // Unknown properties stay readable through GetProperty.
            if (prop != Prop::Count) n->applyProperty(*this, prop, map_.text(r.value), r, n->firstRecord_ + i);
        }
        n->finishConfigure(*this);
    }
    // Dependents: the reverse of every reference, except aliases; a selector's
    // selected features depend on the selector. Built as one sorted pool.
    // Each node's dependents sorted and unique: bucketed by node in two passes
    // over the links, then each (short) bucket sorted.
    auto forEachEdge = [&](auto&& take) { // take(node, dependent)
        for (auto& n : map_.nodes_)
            for (const Link& l : n->links()) {
                if (l.role == Prop::pAlias || l.role == Prop::pCastAlias || l.node == n.get()) continue;
                if (l.role == Prop::pSelected) take(n.get(), l.node);
                else take(l.node, n.get());
            }
    };
    for (auto& n : map_.nodes_) n->dependentCount_ = 0;
    forEachEdge([](Node* n, Node*) { ++n->dependentCount_; });
    uint32_t total = 0;
    for (auto& n : map_.nodes_) {
        n->dependentBegin_ = total;
        total += n->dependentCount_;
        n->dependentCount_ = 0;
    }
    auto& pool = map_.dependentPool_;
    pool.resize(total);
    forEachEdge([&](Node* n, Node* dependent) { pool[n->dependentBegin_ + n->dependentCount_++] = dependent; });
    auto byIndex = [](const Node* a, const Node* b) { return a->index() < b->index(); };
    auto kept = pool.begin();
    for (auto& n : map_.nodes_) {
        auto first = pool.begin() + n->dependentBegin_, last = first + n->dependentCount_;
        std::sort(first, last, byIndex);
        auto end = std::unique(first, last);
        auto begin = kept;
        kept = kept == first ? end : std::copy(first, end, kept); // moves down, never onto itself
        n->dependentBegin_ = static_cast<uint32_t>(begin - pool.begin());
        n->dependentCount_ = static_cast<uint32_t>(kept - begin);
    }
    pool.erase(kept, pool.end());
    pool.shrink_to_fit();
    for (auto& n : map_.nodes_)
        for (const Link& l : n->links())
            if (l.role == Prop::pSelected && l.node != n.get()) l.node->addSelecting(n.get());
    map_.linkPool_.shrink_to_fit();
    // Features are what the categories from "Root" reach.
    if (auto* root = dynamic_cast<CategoryNode*>(map_.find("Root"))) {
        std::vector<CategoryNode*> stack{root};
        std::vector<bool> seen(map_.nodes_.size());
        seen[root->index()] = true;
        while (!stack.empty()) {
            CategoryNode* c = stack.back();
            stack.pop_back();
            for (Node* f : c->features()) {
                f->markFeature();
                if (seen[f->index()]) continue;
                seen[f->index()] = true;
                if (auto* sub = dynamic_cast<CategoryNode*>(f)) stack.push_back(sub);
            }
        }
    }
}

Node* Loader::ref(Node& from, Prop role, std::string_view name) {
    name = trim(name);
    Node* const* found = names_.find(name);
    Node* target = found ? *found : nullptr;
    if (!target)
        throw PROPERTY_EXCEPTION("%s: node '%.*s' refers to node '%.*s' (%.*s), which does not exist",
                                 source_.c_str(), static_cast<int>(from.name().size()), from.name().data(),
                                 static_cast<int>(name.size()), name.data(),
                                 static_cast<int>(propertyName(role).size()), propertyName(role).data());
    // Nodes configure one after the other, so each node's links stay together.
    if (from.linkBegin_ + from.linkCount_ != map_.linkPool_.size())
        throw LOGICAL_ERROR_EXCEPTION("%s: reference from '%.*s' made out of order", source_.c_str(),
                                      static_cast<int>(from.name().size()), from.name().data());
    map_.linkPool_.push_back({role, target});
    ++from.linkCount_;
    return target;
}

int64_t Loader::toInt(const Node& from, Prop role, std::string_view text) const {
    int64_t v = 0;
    if (!parseInt(text, v)) {
        // Some descriptions write integral constants as floats ("1.0").
        double d = 0;
        // Range first: converting a double outside int64 is undefined.
        if (parseFloat(text, d) && d >= -9.2233720368547758e18 && d < 9.2233720368547758e18 && d == std::trunc(d))
            return static_cast<int64_t>(d);
        fail(from, std::string(propertyName(role)) + " '" + std::string(text) + "' is not an integer");
    }
    return v;
}

double Loader::toFloat(const Node& from, Prop role, std::string_view text) const {
    double v = 0;
    if (!parseFloat(text, v)) fail(from, std::string(propertyName(role)) + " '" + std::string(text) + "' is not a number");
    return v;
}

bool Loader::toBool(const Node& from, Prop role, std::string_view text) const {
    text = trim(text);
    if (text == "Yes" || text == "true" || text == "True" || text == "1") return true;
    if (text == "No" || text == "false" || text == "False" || text == "0") return false;
    fail(from, std::string(propertyName(role)) + " '" + std::string(text) + "' is not Yes or No");
}

ERepresentation Loader::toRepresentation(const Node& from, std::string_view text) const {
    ERepresentation r = parseRepresentation(text);
    if (r == _UndefinedRepresentation) fail(from, "unknown Representation '" + std::string(text) + "'");
    return r;
}

ESlope Loader::toSlope(const Node& from, std::string_view text) const {
    ESlope s = parseSlope(text);
    if (s == _UndefinedESlope) fail(from, "unknown Slope '" + std::string(text) + "'");
    return s;
}

std::string_view Loader::attribute(const PropertyRecord& r, std::string_view name) const {
    std::string_view attrs = map_.text(r.attributes);
    while (!attrs.empty()) {
        size_t tab = attrs.find('\t');
        std::string_view pair = attrs.substr(0, tab);
        size_t eq = pair.find('=');
        if (eq != std::string_view::npos && pair.substr(0, eq) == name) return pair.substr(eq + 1);
        if (tab == std::string_view::npos) break;
        attrs.remove_prefix(tab + 1);
    }
    return {};
}

std::span<const PropertyRecord> Loader::nested(uint32_t index) const {
    const auto& records = map_.records_;
    size_t end = index + 1;
    while (end < records.size() && records[end].level == 1) ++end;
    return {records.data() + index + 1, end - index - 1};
}

void Loader::fail(const Node& node, const std::string& what) const {
    throw PROPERTY_EXCEPTION("%s: node '%.*s' (%s): %s", source_.c_str(), static_cast<int>(node.name().size()),
                             node.name().data(), node.typeName(), what.c_str());
}

std::string_view stripPreamble(std::string_view xml) {
    // A UTF-8 byte order mark or a header line may precede the XML.
    size_t lt = xml.find('<');
    return lt == std::string_view::npos ? std::string_view() : xml.substr(lt);
}

} // namespace GenApi::detail
