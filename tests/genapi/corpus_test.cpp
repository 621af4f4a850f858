// The engine on the real vendor description files. Expected node counts,
// features and display names come from an independent walk of each file's
// XML, never from the engine.
#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <cctype>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <string_view>
#include <tuple>

#include "engine_support.h"
#include "node.h"
#include "node_map.h"

namespace {

namespace fs = std::filesystem;
using namespace GenApi;

const fs::path kCorpus = QUILLON_CORPUS_DIR;

// The vendor descriptions, and with `zipped` the zipped ones too.
std::vector<std::string> corpusFiles(bool zipped) {
    std::vector<std::string> files;
    for (const auto& e : fs::directory_iterator(kCorpus))
        if (e.path().extension() == ".xml" || (zipped && e.path().extension() == ".zip"))
            files.push_back(e.path().filename().string());
    std::sort(files.begin(), files.end());
    return files;
}

bool isZip(const std::string& file) {
    return file.size() > 4 && file.substr(file.size() - 4) == ".zip";
}

std::string readBytes(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string_view localName(const char* qualified) {
    std::string_view n(qualified);
    return n.substr(n.find(':') == std::string_view::npos ? 0 : n.find(':') + 1);
}

// An element's text: all its character data, trimmed.
std::string textOf(const pugi::xml_node& e) {
    std::string t;
    for (pugi::xml_node c = e.first_child(); c; c = c.next_sibling())
        if (c.type() == pugi::node_pcdata || c.type() == pugi::node_cdata) t += c.value();
    size_t a = t.find_first_not_of(" \t\r\n");
    return a == std::string::npos ? "" : t.substr(a, t.find_last_not_of(" \t\r\n") - a + 1);
}

std::vector<pugi::xml_node> childrenNamed(const pugi::xml_node& e, std::string_view name) {
    std::vector<pugi::xml_node> out;
    for (pugi::xml_node c = e.first_child(); c; c = c.next_sibling())
        if (c.type() == pugi::node_element && localName(c.name()) == name) out.push_back(c);
    return out;
}

struct XmlFacts {
    std::map<std::string, uint64_t> nodes; // the nodes the elements define, by type
    std::vector<std::string> structEntries;
    std::map<std::string, std::string> displayNames; // "" when the description gives none
    std::set<std::string> features;                  // reachable from Root through pFeature
    std::string vendor, model, schema;               // root attributes
};

// One node per element (top level or in Groups), EnumEntry and StructEntry
// (a MaskedIntReg) elements included, StructReg ones not.
XmlFacts walkXml(std::string xml) {
    XmlFacts facts;
    xml.erase(0, xml.find('<'));
    pugi::xml_document doc;
    EXPECT_TRUE(doc.load_buffer(xml.data(), xml.size()));
    pugi::xml_node root = doc.document_element();
    facts.vendor = root.attribute("VendorName").value();
    facts.model = root.attribute("ModelName").value();
    facts.schema = std::string(root.attribute("SchemaMajorVersion").value()) + "." +
                   root.attribute("SchemaMinorVersion").value() + "." +
                   root.attribute("SchemaSubMinorVersion").value();
    std::map<std::string, std::vector<std::string>> categoryFeatures;
    for (std::vector<pugi::xml_node> levels{root}; !levels.empty();) {
        pugi::xml_node parent = levels.back();
        levels.pop_back();
        for (pugi::xml_node e = parent.first_child(); e; e = e.next_sibling()) {
            std::string type(localName(e.name())), name = e.attribute("Name").value();
            if (e.type() != pugi::node_element) continue;
            if (type == "Group") {
                levels.push_back(e);
            } else if (type == "StructReg") {
                auto shared = childrenNamed(e, "DisplayName");
                for (pugi::xml_node s : childrenNamed(e, "StructEntry")) {
                    std::string entry = s.attribute("Name").value();
                    auto own = childrenNamed(s, "DisplayName");
                    facts.structEntries.push_back(entry);
                    facts.displayNames[entry] = !own.empty()      ? textOf(own[0])
                                                : !shared.empty() ? textOf(shared[0])
                                                                  : "";
                    ++facts.nodes["MaskedIntReg"];
                }
            } else {
                ++facts.nodes[type];
                auto dn = childrenNamed(e, "DisplayName");
                facts.displayNames[name] = dn.empty() ? "" : textOf(dn[0]);
                if (size_t entries = childrenNamed(e, "EnumEntry").size())
                    facts.nodes["EnumEntry"] += entries;
                for (pugi::xml_node f : childrenNamed(e, "pFeature"))
                    categoryFeatures[name].push_back(textOf(f));
            }
        }
    }
    std::set<std::string> visited{"Root"};
    for (std::vector<std::string> todo{"Root"}; !todo.empty();) {
        std::string c = todo.back();
        todo.pop_back();
        for (const std::string& f : categoryFeatures[c])
            if (facts.features.insert(f), visited.insert(f).second) todo.push_back(f);
    }
    return facts;
}

std::unique_ptr<CNodeMapRef> load(const std::string& file) {
    auto ref = std::make_unique<CNodeMapRef>();
    std::string path = (kCorpus / file).string();
    isZip(file) ? ref->_LoadXMLFromZIPFile(path) : ref->_LoadXMLFromFile(path);
    return ref;
}

const char* typeOf(INode* n) {
    return dynamic_cast<detail::Node*>(n)->typeName();
}

class CorpusFile : public ::testing::TestWithParam<std::string> {};

// Node counts by type, display names, features, root attributes: as the XML says.
TEST_P(CorpusFile, LoadsWhatAnIndependentReadingFinds) {
    const std::string& file = GetParam();
    std::unique_ptr<CNodeMapRef> ref = load(file);
    XmlFacts facts = walkXml(readBytes(kCorpus / file));

    NodeList_t nodes;
    ref->_GetNodes(nodes);
    std::map<std::string, uint64_t> types;
    for (INode* n : nodes)
        ++types[typeOf(n)];
    EXPECT_EQ(types, facts.nodes);
    EXPECT_EQ(ref->_Ptr()->GetNumNodes(), nodes.size());
    for (const std::string& entry : facts.structEntries)
        EXPECT_STREQ(typeOf(ref->_GetNode(entry.c_str())), "MaskedIntReg");
    int features = 0;
    for (INode* n : nodes) {
        std::string name(n->GetName());
        EXPECT_EQ(n->IsFeature(), facts.features.count(name) == 1) << name;
        features += n->IsFeature();
        auto dn = facts.displayNames.find(name); // none for enumeration entries
        std::string want = dn == facts.displayNames.end() ? std::string(n->GetDisplayName())
                           : dn->second.empty()           ? name
                                                          : dn->second;
        EXPECT_EQ(std::string(n->GetDisplayName()), want) << name;
    }
    EXPECT_GT(features, 0);

    auto* map = dynamic_cast<detail::NodeMap*>(ref->_Ptr());
    EXPECT_EQ(map->vendorName() + "/" + map->modelName(), facts.vendor + "/" + facts.model);
    Version_t schema;
    dynamic_cast<IDeviceInfo*>(map)->GetSchemaVersion(schema);
    EXPECT_EQ(std::to_string(schema.Major) + "." + std::to_string(schema.Minor) + "." +
                  std::to_string(schema.SubMinor),
              facts.schema);
}

// Memory whose never-written bytes read as `fill`; notes changed bytes.
class DevicePort : public IPort {
public:
    explicit DevicePort(uint8_t fill) : fill_(fill) {}
    EAccessMode GetAccessMode() const override { return RW; }
    void Read(void* buffer, int64_t address, int64_t length) override {
        ++reads;
        for (int64_t i = 0; i < length; ++i)
            static_cast<uint8_t*>(buffer)[i] = byte(static_cast<uint64_t>(address + i));
    }
    void Write(const void* buffer, int64_t address, int64_t length) override {
        for (int64_t i = 0; i < length; ++i) {
            auto a = static_cast<uint64_t>(address + i);
            uint8_t b = static_cast<const uint8_t*>(buffer)[i];
            changed |= byte(a) != b;
            written[a] = b;
        }
    }
    bool changed = false;
    uint64_t reads = 0;

private:
    uint8_t byte(uint64_t a) const { return written.count(a) ? written.at(a) : fill_; }
    uint8_t fill_;
    std::map<uint64_t, uint8_t> written;
};

// Counts what worked and what raised a GenICam exception.
struct Outcome {
    int ok = 0, raised = 0;
    template <class F> bool operator()(F&& f) {
        try {
            f();
            ++ok;
            return true;
        } catch (const GenICam::GenericException&) {
            ++raised;
            return false;
        }
    }
};

// Reads every node as a feature browser does, counting the answers.
void readEverything(const NodeList_t& nodes, Outcome& o) {
    for (INode* n : nodes) {
        std::string text = quillon_test::NodeBehaviour(n);
        o.ok += static_cast<int>(std::count(text.begin(), text.end(), '|'));
        for (size_t at = 0; (at = text.find("|raises ", at)) != std::string::npos; ++at)
            ++o.raised, --o.ok;
    }
}

class CorpusDevice : public ::testing::TestWithParam<std::tuple<std::string, uint8_t>> {};

// Over memory of all zeros, then all ones: every read, and every write of a
// node's own value back, works or raises a GenICam exception, most work; a
// register field written with what it holds leaves every byte as it was.
TEST_P(CorpusDevice, EveryNodeReadsAndWritesBackOrRaisesAGenICamException) {
    const auto& [file, fill] = GetParam();
    std::unique_ptr<CNodeMapRef> ref = load(file);
    DevicePort port(fill);
    NodeList_t nodes;
    ref->_GetNodes(nodes);
    for (INode* n : nodes)
        EXPECT_TRUE(n->GetPrincipalInterfaceType() != intfIPort ||
                    ref->_Connect(&port, n->GetName()));
    Outcome reads, writes, ignored;
    readEverything(nodes, reads);
    EXPECT_GT(port.reads, 0u);
    EXPECT_GT(reads.ok, 2 * reads.raised);
    for (INode* n : nodes) {
        CValuePtr v = n;
        std::string type = typeOf(n), before, after;
        if (!v || CCommandPtr(n) || CRegisterPtr(n) || CStringPtr(n) ||
            !ignored([&] { before = IsWritable(n->GetAccessMode()) ? v->ToString() : ""; }) ||
            before.empty())
            continue;
        port.changed = false;
        if (CFloatPtr f = n)
            writes([&] { f->SetValue(f->GetValue()); });
        else if (CIntegerPtr i = n)
            writes([&] { i->SetValue(i->GetValue()); });
        // The text form reads back too: hexadecimal, IP and MAC addresses, symbolics.
        writes([&] { v->FromString(before.c_str()); });
        if (type != "IntReg" && type != "MaskedIntReg" && type != "FloatReg") continue;
        EXPECT_FALSE(port.changed) << type << " '" << n->GetName() << "' changed device bytes";
        EXPECT_TRUE(ignored([&] { after = v->ToString(); }) && after == before) << n->GetName();
    }
    EXPECT_GT(writes.ok, 0);
    Outcome again;
    readEverything(nodes, again);
    EXPECT_GT(again.ok, 2 * again.raised);
}

std::string testName(const std::string& file) {
    std::string name;
    for (char c : file)
        name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(Corpus, CorpusFile, ::testing::ValuesIn(corpusFiles(false)),
                         [](const auto& p) { return testName(p.param); });
INSTANTIATE_TEST_SUITE_P(Corpus, CorpusDevice,
                         ::testing::Combine(::testing::ValuesIn(corpusFiles(true)),
                                            ::testing::Values(0x00, 0xFF)),
                         [](const auto& p) {
                             return (std::get<1>(p.param) ? "Ones_" : "Zeros_") +
                                    testName(std::get<0>(p.param));
                         });

} // namespace
