// The engine on the real vendor description files listed in MANIFEST.tsv.
// Expected node counts, feature sets and display names are derived from the
// manifest and from an independent walk of each file's XML, never from the
// engine itself.
#include <gtest/gtest.h>
#include <pugixml.hpp>
#include <zip.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "GenApi/GenApi.h"
#include "node.h"
#include "node_map.h"

namespace {

namespace fs = std::filesystem;
using namespace GenApi;

const fs::path kCorpus = QUILLON_CORPUS_DIR;

// ---------------------------------------------------------------- manifest

using Row = std::map<std::string, std::string>;

std::vector<std::string> splitTabs(const std::string& line) {
    std::vector<std::string> out;
    std::string cell;
    std::istringstream in(line);
    while (std::getline(in, cell, '\t')) out.push_back(cell);
    if (!line.empty() && line.back() == '\t') out.emplace_back();
    return out;
}

const std::vector<Row>& manifest() {
    static const std::vector<Row> rows = [] {
        std::vector<Row> out;
        std::ifstream in(kCorpus / "MANIFEST.tsv");
        std::string line;
        if (!std::getline(in, line)) return out;
        std::vector<std::string> header = splitTabs(line);
        while (std::getline(in, line)) {
            if (line.empty()) continue;
            std::vector<std::string> cells = splitTabs(line);
            Row row;
            for (size_t i = 0; i < header.size(); ++i) row[header[i]] = i < cells.size() ? cells[i] : "";
            out.push_back(std::move(row));
        }
        return out;
    }();
    return rows;
}

const Row& rowFor(const std::string& file) {
    for (const Row& r : manifest())
        if (r.at("file") == file) return r;
    throw std::runtime_error("no manifest row for " + file);
}

std::vector<std::string> manifestFiles() {
    std::vector<std::string> files;
    for (const Row& r : manifest()) files.push_back(r.at("file"));
    return files;
}

bool isZipFile(const std::string& file) { return file.size() > 4 && file.substr(file.size() - 4) == ".zip"; }

// ---------------------------------------------------------------- independent XML walk

std::string readBytes(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// The description inside a zip archive, read with libzip directly: the first
// .xml member that is no macOS resource fork.
std::string unzipFirstXml(const std::string& bytes) {
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* src = zip_source_buffer_create(bytes.data(), bytes.size(), 0, &error);
    zip_t* z = src ? zip_open_from_source(src, ZIP_RDONLY, &error) : nullptr;
    zip_error_fini(&error);
    if (!z) {
        if (src) zip_source_free(src);
        return {};
    }
    std::string out;
    for (zip_int64_t i = 0; i < zip_get_num_entries(z, 0); ++i) {
        std::string name = zip_get_name(z, static_cast<zip_uint64_t>(i), 0);
        if (name.rfind("__MACOSX/", 0) == 0 || name.size() < 4 || name.substr(name.size() - 4) != ".xml") continue;
        zip_stat_t st;
        zip_stat_index(z, static_cast<zip_uint64_t>(i), 0, &st);
        zip_file_t* f = zip_fopen_index(z, static_cast<zip_uint64_t>(i), 0);
        out.resize(static_cast<size_t>(st.size));
        zip_fread(f, out.data(), st.size);
        zip_fclose(f);
        break;
    }
    zip_discard(z);
    return out;
}

std::string_view localName(const char* qualified) {
    std::string_view n(qualified);
    size_t colon = n.find(':');
    return colon == std::string_view::npos ? n : n.substr(colon + 1);
}

std::string trimmed(std::string s) {
    const char* ws = " \t\r\n";
    size_t a = s.find_first_not_of(ws);
    if (a == std::string::npos) return {};
    size_t b = s.find_last_not_of(ws);
    return s.substr(a, b - a + 1);
}

// An element's text: all its character data, trimmed.
std::string textOf(const pugi::xml_node& e) {
    std::string t;
    for (pugi::xml_node c = e.first_child(); c; c = c.next_sibling())
        if (c.type() == pugi::node_pcdata || c.type() == pugi::node_cdata) t += c.value();
    return trimmed(t);
}

pugi::xml_node childNamed(const pugi::xml_node& e, std::string_view name) {
    for (pugi::xml_node c = e.first_child(); c; c = c.next_sibling())
        if (c.type() == pugi::node_element && localName(c.name()) == name) return c;
    return {};
}

struct XmlFacts {
    std::map<std::string, int> allElements;  // every element by local name, at any depth
    std::map<std::string, int> nodeElements; // node-defining elements (top level or in Groups)
    int structEntries = 0;
    int enumEntries = 0;
    std::vector<std::string> structEntryNames;
    // Each node's display name as the description gives it ("" when none).
    std::map<std::string, std::string> displayNames;
    std::set<std::string> features; // reachable from Root through Category pFeature
    std::string vendor, model;
};

XmlFacts walkXml(std::string xml, std::string& error) {
    XmlFacts facts;
    size_t lt = xml.find('<');
    if (lt == std::string::npos) {
        error = "no XML";
        return facts;
    }
    xml.erase(0, lt);
    pugi::xml_document doc;
    pugi::xml_parse_result r = doc.load_buffer(xml.data(), xml.size());
    if (!r) {
        error = r.description();
        return facts;
    }
    pugi::xml_node root = doc.document_element();
    facts.vendor = root.attribute("VendorName").value();
    facts.model = root.attribute("ModelName").value();

    std::vector<pugi::xml_node> stack{root};
    while (!stack.empty()) {
        pugi::xml_node e = stack.back();
        stack.pop_back();
        for (pugi::xml_node c = e.first_child(); c; c = c.next_sibling())
            if (c.type() == pugi::node_element) {
                ++facts.allElements[std::string(localName(c.name()))];
                stack.push_back(c);
            }
    }

    std::map<std::string, std::vector<std::string>> categoryFeatures;
    std::vector<pugi::xml_node> levels{root};
    while (!levels.empty()) {
        pugi::xml_node parent = levels.back();
        levels.pop_back();
        for (pugi::xml_node e = parent.first_child(); e; e = e.next_sibling()) {
            if (e.type() != pugi::node_element) continue;
            std::string type(localName(e.name()));
            if (type == "Group") {
                levels.push_back(e);
                continue;
            }
            ++facts.nodeElements[type];
            std::string name = e.attribute("Name").value();
            if (type == "StructReg") {
                pugi::xml_node shared = childNamed(e, "DisplayName");
                for (pugi::xml_node s = e.first_child(); s; s = s.next_sibling()) {
                    if (s.type() != pugi::node_element || localName(s.name()) != "StructEntry") continue;
                    ++facts.structEntries;
                    std::string entry = s.attribute("Name").value();
                    facts.structEntryNames.push_back(entry);
                    pugi::xml_node own = childNamed(s, "DisplayName");
                    facts.displayNames[entry] = own ? textOf(own) : shared ? textOf(shared) : "";
                }
                continue;
            }
            pugi::xml_node dn = childNamed(e, "DisplayName");
            facts.displayNames[name] = dn ? textOf(dn) : "";
            if (type == "Enumeration")
                for (pugi::xml_node c = e.first_child(); c; c = c.next_sibling())
                    if (c.type() == pugi::node_element && localName(c.name()) == "EnumEntry") ++facts.enumEntries;
            if (type == "Category")
                for (pugi::xml_node c = e.first_child(); c; c = c.next_sibling())
                    if (c.type() == pugi::node_element && localName(c.name()) == "pFeature")
                        categoryFeatures[name].push_back(textOf(c));
        }
    }

    std::vector<std::string> todo{"Root"};
    std::set<std::string> visited{"Root"};
    while (!todo.empty()) {
        std::string c = todo.back();
        todo.pop_back();
        for (const std::string& f : categoryFeatures[c]) {
            facts.features.insert(f);
            if (visited.insert(f).second && categoryFeatures.count(f)) todo.push_back(f);
        }
    }
    return facts;
}

// ---------------------------------------------------------------- loading

std::unique_ptr<CNodeMapRef> load(const std::string& file) {
    auto ref = std::make_unique<CNodeMapRef>();
    std::string path = (kCorpus / file).string();
    if (isZipFile(file)) ref->_LoadXMLFromZIPFile(path);
    else ref->_LoadXMLFromFile(path);
    return ref;
}

std::string descriptionText(const std::string& file) {
    std::string bytes = readBytes(kCorpus / file);
    return isZipFile(file) ? unzipFirstXml(bytes) : bytes;
}

const char* typeOf(INode* n) {
    auto* node = dynamic_cast<detail::Node*>(n);
    return node ? node->typeName() : "<not an engine node>";
}

// A device memory whose never-written bytes read as `fill`, noting whether a
// write changed any byte.
class DevicePort : public IPort {
public:
    explicit DevicePort(uint8_t fill) : fill_(fill) {}
    EAccessMode GetAccessMode() const override { return RW; }
    void Read(void* buffer, int64_t address, int64_t length) override {
        ++reads_;
        auto* out = static_cast<uint8_t*>(buffer);
        for (int64_t i = 0; i < length; ++i) out[i] = byte(static_cast<uint64_t>(address + i));
    }
    void Write(const void* buffer, int64_t address, int64_t length) override {
        const auto* in = static_cast<const uint8_t*>(buffer);
        for (int64_t i = 0; i < length; ++i) {
            auto a = static_cast<uint64_t>(address + i);
            if (byte(a) != in[i]) changed_ = true;
            page(a)[a % kPage] = in[i];
        }
    }
    bool takeChanged() { return std::exchange(changed_, false); }
    uint64_t reads() const { return reads_; }

private:
    static constexpr uint64_t kPage = 4096;
    uint8_t byte(uint64_t a) const {
        auto it = pages_.find(a / kPage);
        return it == pages_.end() ? fill_ : it->second[a % kPage];
    }
    std::vector<uint8_t>& page(uint64_t a) {
        auto& p = pages_[a / kPage];
        if (p.empty()) p.assign(kPage, fill_);
        return p;
    }
    uint8_t fill_;
    std::map<uint64_t, std::vector<uint8_t>> pages_;
    bool changed_ = false;
    uint64_t reads_ = 0;
};

// Runs `f`; a GenICam exception is a legitimate answer of the engine (counted
// in `raised`), any other exception is a fault.
struct Outcome {
    int ok = 0;
    int raised = 0;
};

template <class F>
bool genicamOnly(Outcome& o, INode* n, const char* what, F&& f) {
    try {
        f();
        ++o.ok;
        return true;
    } catch (const GenICam::GenericException&) {
        ++o.raised;
    } catch (const std::exception& e) {
        ADD_FAILURE() << what << " on " << typeOf(n) << " '" << n->GetName() << "' threw a non-GenICam exception: "
                      << e.what();
    } catch (...) {
        ADD_FAILURE() << what << " on " << typeOf(n) << " '" << n->GetName() << "' threw a non-exception object";
    }
    return false;
}

// Connects every Port node of the map (not all descriptions name theirs
// "Device"); returns how many there were.
int connectAll(CNodeMapRef& ref, IPort& port) {
    NodeList_t nodes;
    ref._GetNodes(nodes);
    int ports = 0;
    for (INode* n : nodes)
        if (n->GetPrincipalInterfaceType() == intfIPort && ref._Connect(&port, n->GetName())) ++ports;
    return ports;
}

class CorpusFile : public ::testing::TestWithParam<std::string> {};

// ---------------------------------------------------------------- tests

TEST(CorpusManifest, ListsEveryDescriptionInTheFolder) {
    ASSERT_GE(manifest().size(), 20u) << "MANIFEST.tsv missing or unreadable in " << kCorpus;
    std::set<std::string> listed;
    for (const Row& r : manifest()) {
        EXPECT_TRUE(listed.insert(r.at("file")).second) << "listed twice: " << r.at("file");
        EXPECT_TRUE(fs::exists(kCorpus / r.at("file"))) << "listed but missing: " << r.at("file");
    }
    for (const auto& entry : fs::directory_iterator(kCorpus)) {
        std::string name = entry.path().filename().string();
        std::string ext = entry.path().extension().string();
        if (ext == ".xml" || ext == ".zip") {
            EXPECT_TRUE(listed.count(name)) << "not in the manifest: " << name;
        }
    }
}

TEST_P(CorpusFile, LoadsWithTheManifestsNodeCounts) {
    const std::string& file = GetParam();
    const Row& row = rowFor(file);
    std::unique_ptr<CNodeMapRef> ref;
    try {
        ref = load(file);
    } catch (const GenICam::GenericException& e) {
        FAIL() << "load failed: " << e.GetDescription();
    }
    ASSERT_TRUE(ref->_IsValid());

    std::string walkError;
    XmlFacts facts = walkXml(descriptionText(file), walkError);
    ASSERT_TRUE(walkError.empty()) << walkError;

    // The walk must see what the manifest lists, or its counts prove nothing.
    for (const auto& [column, value] : row) {
        if (column.rfind("n_", 0) != 0 || column.rfind("n_p", 0) == 0 || column == "n_PollingTime") continue;
        std::string type = column.substr(2);
        EXPECT_EQ(facts.allElements[type], std::stoi(value)) << "<" << type << "> elements";
    }
    EXPECT_EQ(facts.vendor, row.at("vendor_attr"));
    EXPECT_EQ(facts.model, row.at("model_attr"));

    // One node per node-defining element. StructReg is no node: each of its
    // StructEntry children becomes a MaskedIntReg. EnumEntry elements become
    // nodes of their own. IntSwissKnife also occurs as a register's address
    // property; that one is no node, hence counting top-level elements only.
    std::map<std::string, uint64_t> expected;
    for (const auto& [type, n] : facts.nodeElements)
        if (type != "StructReg") expected[type] += static_cast<uint64_t>(n);
    if (facts.structEntries) expected["MaskedIntReg"] += static_cast<uint64_t>(facts.structEntries);
    if (facts.enumEntries) expected["EnumEntry"] += static_cast<uint64_t>(facts.enumEntries);
    EXPECT_EQ(facts.nodeElements["StructReg"], std::stoi(row.at("n_StructReg")));

    NodeList_t nodes;
    ref->_GetNodes(nodes);
    std::map<std::string, uint64_t> actual;
    for (INode* n : nodes) ++actual[typeOf(n)];
    EXPECT_EQ(actual, expected);
    uint64_t total = 0;
    for (const auto& [type, n] : expected) total += n;
    EXPECT_EQ(ref->_Ptr()->GetNumNodes(), total);
    EXPECT_EQ(nodes.size(), total);

    for (const std::string& entry : facts.structEntryNames) {
        INode* n = ref->_GetNode(entry.c_str());
        ASSERT_NE(n, nullptr) << "StructEntry " << entry;
        EXPECT_STREQ(typeOf(n), "MaskedIntReg") << entry;
    }

    EXPECT_EQ(ref->_GetNode("FileAccessControl") != nullptr, row.at("FileAccessControl") == "yes");
    EXPECT_EQ(ref->_GetNode("FileSelector") != nullptr, row.at("FileSelector") == "yes");

    auto* map = dynamic_cast<detail::NodeMap*>(ref->_Ptr());
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(map->vendorName(), row.at("vendor_attr"));
    EXPECT_EQ(map->modelName(), row.at("model_attr"));
    Version_t schema;
    dynamic_cast<IDeviceInfo*>(ref->_Ptr())->GetSchemaVersion(schema);
    EXPECT_EQ(std::to_string(schema.Major) + "." + std::to_string(schema.Minor) + "." +
                  std::to_string(schema.SubMinor),
              row.at("schema_version"));

    // Where StructEntries do not multiply shared properties, each property
    // element is one record of one node.
    if (row.at("StructReg") == "no") {
        auto count = [&](const char* property) {
            int c = 0;
            for (INode* n : nodes) {
                gcstring value, attributes;
                if (n->GetProperty(property, value, attributes))
                    c += 1 + static_cast<int>(std::count(value.begin(), value.end(), '\t'));
            }
            return c;
        };
        EXPECT_EQ(count("pIsImplemented"), std::stoi(row.at("n_pIsImplemented")));
        EXPECT_EQ(count("pIsAvailable"), std::stoi(row.at("n_pIsAvailable")));
        EXPECT_EQ(count("pIsLocked"), std::stoi(row.at("n_pIsLocked")));
        EXPECT_EQ(count("pInvalidator"), std::stoi(row.at("n_pInvalidator")));
        int polled = 0;
        size_t selected = 0;
        for (INode* n : nodes) {
            if (n->GetPollingTime() >= 0) ++polled;
            FeatureList_t features;
            if (auto* s = dynamic_cast<ISelector*>(n)) s->GetSelectedFeatures(features);
            selected += features.size();
        }
        EXPECT_EQ(polled, std::stoi(row.at("n_PollingTime")));
        EXPECT_EQ(selected, std::stoul(row.at("n_pSelected")));
    }

    // The same description from memory yields the same nodes.
    std::string bytes = readBytes(kCorpus / file);
    CNodeMapFactory factory(isZipFile(file) ? ContentType_ZippedXml : ContentType_Xml, bytes.data(), bytes.size());
    std::unique_ptr<INodeMap> fromMemory(factory.CreateNodeMap());
    NodeList_t again;
    fromMemory->GetNodes(again);
    ASSERT_EQ(again.size(), nodes.size());
    for (size_t i = 0; i < nodes.size(); ++i) EXPECT_EQ(again[i]->GetName(), nodes[i]->GetName());
}

TEST_P(CorpusFile, FeaturesAndDisplayNamesFollowTheDescription) {
    const std::string& file = GetParam();
    std::unique_ptr<CNodeMapRef> ref = load(file);
    std::string walkError;
    XmlFacts facts = walkXml(descriptionText(file), walkError);
    ASSERT_TRUE(walkError.empty()) << walkError;

    for (const char* name : {"Width", "Height", "PixelFormat", "DeviceModelName", "DeviceVendorName"}) {
        INode* n = ref->_GetNode(name);
        if (n && facts.features.count(name)) {
            EXPECT_TRUE(n->IsFeature()) << name;
        }
    }
    NodeList_t nodes;
    ref->_GetNodes(nodes);
    int features = 0;
    for (INode* n : nodes) {
        std::string name(n->GetName());
        EXPECT_EQ(n->IsFeature(), facts.features.count(name) == 1) << name;
        features += n->IsFeature();
        auto dn = facts.displayNames.find(name);
        if (dn == facts.displayNames.end()) continue; // enum entries
        EXPECT_EQ(std::string(n->GetDisplayName()), dn->second.empty() ? name : dn->second) << name;
    }
    EXPECT_GT(features, 0);
}

// Reads every node the way a feature browser does. Returns how many readable
// nodes there were.
int readEverything(const NodeList_t& nodes, Outcome& reads) {
    Outcome access;
    int readable = 0;
    for (INode* n : nodes) {
        EAccessMode mode = NI;
        genicamOnly(access, n, "GetAccessMode", [&] { mode = n->GetAccessMode(); });
        NodeList_t related;
        n->GetChildren(related);
        gcstring_vector properties;
        n->GetPropertyNames(properties);
        for (const gcstring& p : properties) {
            gcstring v, a;
            EXPECT_TRUE(n->GetProperty(p, v, a)) << n->GetName() << "." << p;
        }
        if (!IsReadable(mode)) continue;
        ++readable;
        if (auto* v = dynamic_cast<IValue*>(n)) genicamOnly(reads, n, "ToString", [&] { v->ToString(); });
        if (auto* i = dynamic_cast<IInteger*>(n)) {
            genicamOnly(reads, n, "GetValue", [&] { i->GetValue(); });
            genicamOnly(reads, n, "GetMin", [&] { i->GetMin(); });
            genicamOnly(reads, n, "GetMax", [&] { i->GetMax(); });
            genicamOnly(reads, n, "GetInc", [&] { i->GetInc(); });
            genicamOnly(reads, n, "GetUnit", [&] { i->GetUnit(); });
        }
        if (auto* f = dynamic_cast<IFloat*>(n)) {
            genicamOnly(reads, n, "GetValue", [&] { f->GetValue(); });
            genicamOnly(reads, n, "GetMin", [&] { f->GetMin(); });
            genicamOnly(reads, n, "GetMax", [&] { f->GetMax(); });
            genicamOnly(reads, n, "GetInc", [&] {
                if (f->HasInc()) f->GetInc();
            });
        }
        if (auto* e = dynamic_cast<IEnumeration*>(n)) {
            genicamOnly(reads, n, "GetCurrentEntry", [&] { e->GetCurrentEntry(); });
            genicamOnly(reads, n, "GetSymbolics", [&] {
                StringList_t symbolics;
                e->GetSymbolics(symbolics);
            });
        }
        if (auto* r = dynamic_cast<IRegister*>(n)) {
            genicamOnly(reads, n, "Register Get", [&] {
                int64_t length = r->GetLength();
                std::vector<uint8_t> buffer(static_cast<size_t>(length));
                r->Get(buffer.data(), length);
            });
        }
        if (auto* b = dynamic_cast<IBoolean*>(n)) genicamOnly(reads, n, "GetValue", [&] { b->GetValue(); });
        if (auto* s = dynamic_cast<IString*>(n)) {
            genicamOnly(reads, n, "GetValue", [&] { s->GetValue(); });
            genicamOnly(reads, n, "GetMaxLength", [&] { s->GetMaxLength(); });
        }
        if (auto* c = dynamic_cast<ICommand*>(n)) genicamOnly(reads, n, "IsDone", [&] { c->IsDone(); });
    }
    return readable;
}

// Writes every writable integer, float, boolean and enumeration with the
// value it holds (its minimum when it cannot be read). Returns how many plain
// register fields were written back that way.
int writeBackEverything(const NodeList_t& nodes, DevicePort& port, Outcome& writes) {
    int pureWrites = 0;
    for (INode* n : nodes) {
        EAccessMode mode = NI;
        Outcome ignored;
        if (!genicamOnly(ignored, n, "GetAccessMode", [&] { mode = n->GetAccessMode(); }) || !IsWritable(mode))
            continue;
        std::string type = typeOf(n);
        // A plain register field written with what it holds leaves every byte
        // as it was: neighbouring bit fields and byte order included.
        bool pureRegister = type == "IntReg" || type == "MaskedIntReg" || type == "FloatReg";
        bool readBack = false;
        port.takeChanged();
        if (auto* i = dynamic_cast<IInteger*>(n)) {
            int64_t v = 0;
            bool have = IsReadable(mode) && genicamOnly(ignored, n, "GetValue", [&] { v = i->GetValue(); });
            if (!have && !genicamOnly(ignored, n, "GetMin", [&] { v = i->GetMin(); })) continue;
            readBack = genicamOnly(writes, n, "SetValue", [&] { i->SetValue(v); }) && have;
            if (readBack) {
                int64_t after = 0;
                if (genicamOnly(ignored, n, "GetValue", [&] { after = i->GetValue(); }) && pureRegister) {
                    EXPECT_EQ(after, v) << n->GetName();
                }
                // The text form reads back too: hexadecimal, IP and MAC addresses.
                gcstring text;
                if (genicamOnly(ignored, n, "ToString", [&] { text = i->ToString(); }))
                    genicamOnly(writes, n, "FromString", [&] { i->FromString(text); });
            }
        } else if (auto* f = dynamic_cast<IFloat*>(n)) {
            double v = 0;
            bool have = IsReadable(mode) && genicamOnly(ignored, n, "GetValue", [&] { v = f->GetValue(); });
            if (!have && !genicamOnly(ignored, n, "GetMin", [&] { v = f->GetMin(); })) continue;
            readBack = genicamOnly(writes, n, "SetValue", [&] { f->SetValue(v); }) && have;
            gcstring text;
            if (readBack && genicamOnly(ignored, n, "ToString", [&] { text = f->ToString(); }))
                genicamOnly(writes, n, "FromString", [&] { f->FromString(text); });
        } else if (auto* b = dynamic_cast<IBoolean*>(n)) {
            bool v = false;
            bool have = IsReadable(mode) && genicamOnly(ignored, n, "GetValue", [&] { v = b->GetValue(); });
            readBack = genicamOnly(writes, n, "SetValue", [&] { b->SetValue(v); }) && have;
        } else if (auto* e = dynamic_cast<IEnumeration*>(n)) {
            gcstring symbolic;
            if (IsReadable(mode) && genicamOnly(ignored, n, "ToString", [&] { symbolic = e->ToString(); })) {
                genicamOnly(writes, n, "FromString", [&] { e->FromString(symbolic); });
            } else {
                NodeList_t entries;
                e->GetEntries(entries);
                if (!entries.empty())
                    genicamOnly(writes, n, "SetIntValue", [&] {
                        e->SetIntValue(dynamic_cast<IEnumEntry*>(entries.front())->GetValue());
                    });
            }
        } else {
            continue;
        }
        bool changed = port.takeChanged();
        if (pureRegister && readBack) {
            ++pureWrites;
            EXPECT_FALSE(changed) << type << " '" << n->GetName() << "' changed device bytes";
        }
    }
    return pureWrites;
}

class CorpusDevice : public ::testing::TestWithParam<std::tuple<std::string, uint8_t>> {};

// On a device whose memory is all zeros, then on one whose memory is all
// ones: every read and every write-back either works or raises a GenICam
// exception.
TEST_P(CorpusDevice, EveryNodeReadsAndWritesBackOrRaisesAGenICamException) {
    const auto& [file, fill] = GetParam();
    std::unique_ptr<CNodeMapRef> ref = load(file);
    DevicePort port(fill);
    ASSERT_GT(connectAll(*ref, port), 0);
    NodeList_t nodes;
    ref->_GetNodes(nodes);

    Outcome reads;
    int readable = readEverything(nodes, reads);
    EXPECT_GT(readable, 0);
    EXPECT_GT(port.reads(), 0u);
    // Uncommon register contents are legal: most reads must still succeed.
    EXPECT_GT(reads.ok, 2 * reads.raised) << reads.ok << " reads succeeded, " << reads.raised << " raised";

    Outcome writes;
    int pure = writeBackEverything(nodes, port, writes);
    EXPECT_GT(writes.ok, 0);
    RecordProperty("reads", reads.ok);
    RecordProperty("raised_reads", reads.raised);
    RecordProperty("writes", writes.ok);
    RecordProperty("raised_writes", writes.raised);
    RecordProperty("register_fields_written_back", pure);

    // What was written must not have broken reading.
    Outcome again;
    readEverything(nodes, again);
    EXPECT_GT(again.ok, 2 * again.raised) << again.ok << " reads succeeded, " << again.raised << " raised";
}

std::string testName(const ::testing::TestParamInfo<std::string>& info) {
    std::string name;
    for (char c : info.param) name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(Corpus, CorpusFile, ::testing::ValuesIn(manifestFiles()), testName);

std::string deviceTestName(const ::testing::TestParamInfo<std::tuple<std::string, uint8_t>>& info) {
    std::string name = std::get<1>(info.param) ? "Ones_" : "Zeros_";
    for (char c : std::get<0>(info.param)) name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(Corpus, CorpusDevice,
                         ::testing::Combine(::testing::ValuesIn(manifestFiles()),
                                            ::testing::Values(uint8_t{0x00}, uint8_t{0xFF})),
                         deviceTestName);

} // namespace
