// The quillon command: prints the feature tree of the embedded simulated
// camera or of a description file, and checks folders of descriptions.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "GenApi/GenApi.h"
#include "sim/sim_camera.h"

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

int printRoot(CNodeMapRef& ref, const std::string& what) {
    INode* root = ref._GetNode("Root");
    if (!root) {
        std::fprintf(stderr, "%s has no Root category\n", what.c_str());
        return 1;
    }
    printTree(root, 0, Guru);
    return 0;
}

// A description file over a zero-filled memory port.
int tree(const std::string& file) {
    CNodeMapRef ref;
    ref._LoadXMLFromFile(file);
    CMemoryPort port;
    ref._Connect(&port);
    return printRoot(ref, file);
}

// The embedded simulated camera, live.
int simulatedTree() {
    qorvis::sim::ConnectedSimulatedCamera camera;
    return printRoot(camera.map, "the simulated camera");
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
                 "usage: quillon                 the simulated camera's feature tree\n"
                 "       quillon tree [FILE]     the feature tree of the simulated camera, or of a\n"
                 "                               description file over a zero-filled port\n"
                 "       quillon check FOLDER    load every description in a folder\n");
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (argc >= 3 && std::strcmp(argv[1], "tree") == 0) return tree(argv[2]);
        if (argc == 2 && std::strcmp(argv[1], "tree") == 0) return simulatedTree();
        if (argc >= 3 && std::strcmp(argv[1], "check") == 0) return check(argv[2]);
        if (argc != 1) return usage();
        std::printf("Quillon: the browser window is not built yet; this is the feature tree it will show,\n"
                    "read live from the embedded simulated camera (Torvex TVX1280M), every level:\n\n");
        return simulatedTree();
    } catch (const GenICam::GenericException& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}
