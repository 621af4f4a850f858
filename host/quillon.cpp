// The quillon command: for now it loads GenICam descriptions and prints what
// the engine reads from them over a zero-filled memory port.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "GenApi/GenApi.h"

using namespace GenApi;
namespace fs = std::filesystem;

namespace {

std::string valueText(INode* node) {
    try {
        if (!IsReadable(node->GetAccessMode())) return std::string("(") + AccessModeName(node->GetAccessMode()) + ")";
        switch (node->GetPrincipalInterfaceType()) {
        case intfICategory:
        case intfIBase:
        case intfIPort:
        case intfIEnumEntry: return "";
        case intfICommand: return "(command)";
        case intfIRegister: return "(" + std::to_string(CRegisterPtr(node)->GetLength()) + " bytes)";
        default: {
            CValuePtr value(node);
            return std::string(value->ToString());
        }
        }
    } catch (const GenICam::GenericException& e) {
        return std::string("Error: ") + e.GetDescription();
    }
}

void printTree(INode* node, int depth, EVisibility level) {
    if (node->GetVisibility() > level) return;
    std::printf("%*s%s\t%s\n", depth * 2, "", std::string(node->GetDisplayName()).c_str(),
                valueText(node).c_str());
    if (CCategoryPtr category = node) {
        FeatureList_t features;
        category->GetFeatures(features);
        for (IValue* f : features) printTree(f->GetNode(), depth + 1, level);
    }
}

int tree(const std::string& file) {
    CNodeMapRef ref;
    ref._LoadXMLFromFile(file);
    CMemoryPort port;
    ref._Connect(&port);
    INode* root = ref._GetNode("Root");
    if (!root) {
        std::fprintf(stderr, "%s has no Root category\n", file.c_str());
        return 1;
    }
    printTree(root, 0, Guru);
    return 0;
}

int check(const std::string& folder) {
    int failures = 0;
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder)) {
        auto ext = entry.path().extension();
        if (ext == ".xml" || ext == ".zip") files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    for (const auto& path : files) {
        auto start = std::chrono::steady_clock::now();
        try {
            CNodeMapRef ref;
            ref._LoadXMLFromFile(path.string());
            double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
            std::printf("%-45s %6llu nodes  %7.2f ms\n", path.filename().c_str(),
                        static_cast<unsigned long long>(ref._Ptr()->GetNumNodes()), ms);
        } catch (const GenICam::GenericException& e) {
            std::printf("%-45s FAILED: %s\n", path.filename().c_str(), e.GetDescription());
            ++failures;
        }
    }
    return failures ? 1 : 0;
}

int usage() {
    std::fprintf(stderr,
                 "usage: quillon                 what this build can show\n"
                 "       quillon tree FILE.xml   the feature tree of a description, over a zero-filled port\n"
                 "       quillon check FOLDER    load every description in a folder\n");
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (argc >= 3 && std::strcmp(argv[1], "tree") == 0) return tree(argv[2]);
        if (argc >= 3 && std::strcmp(argv[1], "check") == 0) return check(argv[2]);
        if (argc != 1) return usage();
        std::printf("Quillon: the simulated camera and the browser window are not built yet.\n"
                    "What exists is the GenICam engine; it loads the vendor descriptions beside the checkout:\n\n");
        fs::path corpus = fs::path(argv[0]).parent_path() / "../../../../shared/genicam-xml";
        if (!fs::exists(corpus)) corpus = "../shared/genicam-xml";
        if (!fs::exists(corpus)) {
            std::printf("(no ../shared/genicam-xml folder here)\n");
            return 0;
        }
        int rc = check(corpus.string());
        std::printf("\nFeature tree of Hamamatsu_ORCA-Fire_C16240-20UP.xml over a zero-filled port:\n\n");
        tree((corpus / "Hamamatsu_ORCA-Fire_C16240-20UP.xml").string());
        return rc;
    } catch (const GenICam::GenericException& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}
