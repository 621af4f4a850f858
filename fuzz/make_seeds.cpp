// Writes the seed corpora of the fuzz targets from description files:
//   make_seeds xml|zip|formula|cache|feature_set OUT-FOLDER DESCRIPTION...
// xml: the files as they are; zip: each zipped; formula: every formula text of
// each file (one byte of arithmetic mode first); cache: the records of each
// file's node-map cache (what follows the key); feature_set: a feature-set
// file of each description's values over zero-filled memory.
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include <pugixml.hpp>
#include <zip.h>

#include "GenApi/MemoryPort.h"
#include "cache_file.h"
#include "inspect/feature_set_format.h"

namespace {

std::string readFile(const char* path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream whole;
    whole << in.rdbuf();
    return whole.str();
}

void write(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

std::string zipped(const std::string& xml) {
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* out = zip_source_buffer_create(nullptr, 0, 0, &error);
    zip_source_keep(out);
    zip_t* archive = zip_open_from_source(out, ZIP_TRUNCATE, &error);
    zip_source_t* member = zip_source_buffer(archive, xml.data(), xml.size(), 0);
    zip_file_add(archive, "description.xml", member, ZIP_FL_OVERWRITE);
    zip_close(archive);
    zip_source_open(out);
    zip_source_seek(out, 0, SEEK_END);
    std::string bytes(static_cast<size_t>(zip_source_tell(out)), '\0');
    zip_source_seek(out, 0, SEEK_SET);
    zip_source_read(out, bytes.data(), bytes.size());
    zip_source_close(out);
    zip_source_free(out);
    return bytes;
}

std::string cacheRecords(const char* path) {
    GenApi::CNodeMapRef ref;
    ref._LoadXMLFromFile(path);
    std::string file = std::string("/tmp/quillon-seed-") + std::to_string(::getpid());
    GenApi::detail::NodeMapCache::store(file, quillon::fuzz::FuzzKey(),
                                        static_cast<GenApi::detail::NodeMap&>(*ref._Ptr()));
    std::string bytes = readFile(file.c_str());
    ::unlink(file.c_str());
    const size_t skip = 32 + quillon::fuzz::KeyBytes().size(); // the header, then the key
    return bytes.size() > skip ? bytes.substr(skip) : std::string();
}

// Every value node as a line, a read-only one as a comment, a selected one
// with the slice its selectors hold.
std::string featureSet(const char* path) {
    using namespace GenApi;
    using namespace quillon::inspect;
    CNodeMapRef ref;
    ref._LoadXMLFromFile(path);
    CMemoryPort port;
    ref._Connect(&port);
    NodeList_t nodes;
    ref._GetNodes(nodes);
    FeatureSection section;
    section.caption = "Camera";
    section.header = {"Vendor: " + std::string(path)};
    for (INode* node : nodes) {
        try {
            CValuePtr value = node;
            if (!value || !IsReadable(node->GetAccessMode())) continue;
            const auto type = node->GetPrincipalInterfaceType();
            if (type == intfICommand || type == intfIRegister || type == intfIPort ||
                type == intfICategory)
                continue;
            FeatureLine line;
            line.name = node->GetName();
            line.value = type == intfIString ? QuoteText(value->ToString().c_str())
                                             : std::string(value->ToString());
            line.readOnly = !IsWritable(node->GetAccessMode());
            FeatureList_t selectors;
            if (CSelectorPtr selected = node) selected->GetSelectingFeatures(selectors);
            for (IValue* s : selectors)
                line.selectors.push_back({std::string(s->GetNode()->GetName()), std::string(s->ToString())});
            section.lines.push_back(line);
        } catch (const GenICam::GenericException&) {
        }
    }
    FeatureSet set;
    set.header = {"Quillon feature set"};
    set.sections.push_back(section);
    return WriteFeatureSet(set);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fprintf(stderr, "usage: make_seeds xml|zip|formula|cache|feature_set OUT-FOLDER DESCRIPTION...\n");
        return 2;
    }
    const std::string kind = argv[1], out = argv[2];
    int seeds = 0;
    for (int i = 3; i < argc; ++i) {
        const std::string name = out + "/seed-" + std::to_string(i);
        try {
            if (kind == "xml") {
                write(name, readFile(argv[i]));
            } else if (kind == "zip") {
                write(name, zipped(readFile(argv[i])));
            } else if (kind == "feature_set") {
                write(name, featureSet(argv[i]));
            } else if (kind == "cache") {
                write(name, cacheRecords(argv[i]));
            } else if (kind == "formula") {
                pugi::xml_document doc;
                if (!doc.load_file(argv[i])) continue;
                int n = 0;
                for (const char* element : {"Formula", "FormulaTo", "FormulaFrom", "Expression"})
                    for (auto node : doc.select_nodes((std::string("//") + element).c_str())) {
                        // Float arithmetic for the Converter/SwissKnife parents.
                        std::string parent = node.node().parent().name();
                        char mode = parent == "SwissKnife" || parent == "Converter" ? 1 : 0;
                        write(name + "-" + std::to_string(n++),
                              std::string(1, mode) + node.node().child_value() + '\0');
                    }
                seeds += n - 1;
            } else {
                std::fprintf(stderr, "make_seeds: unknown kind '%s'\n", kind.c_str());
                return 2;
            }
            ++seeds;
        } catch (const GenICam::GenericException& e) {
            std::fprintf(stderr, "make_seeds: %s: %s\n", argv[i], e.GetDescription());
        }
    }
    std::printf("make_seeds: %d %s seeds in %s\n", seeds, kind.c_str(), out.c_str());
    return 0;
}
