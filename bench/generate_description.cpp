// Writes a generated camera description: generate_description NODES FILE.xml
// (for whole-process runs of the quillon command at scale).
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "description_generator.h"

int main(int argc, char** argv) {
    if (argc != 3 || std::atol(argv[1]) <= 0) {
        std::fprintf(stderr, "usage: generate_description NODES FILE.xml\n");
        return 2;
    }
    const auto d = quillon_bench::GenerateDescription(static_cast<size_t>(std::atol(argv[1])));
    std::ofstream out(argv[2], std::ios::binary | std::ios::trunc);
    out << d.xml;
    if (!out.flush()) {
        std::fprintf(stderr, "generate_description: cannot write %s\n", argv[2]);
        return 2;
    }
    std::printf("%s: %zu nodes, %zu features, %zu categories, %zu bytes\n", argv[2], d.nodes,
                d.features, d.categories, d.xml.size());
    return 0;
}
