// Replays fuzz inputs through a fuzz target without libFuzzer: every file in
// the folders (or files) given, once each. The regression inputs of earlier
// findings run this way in every test run.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    size_t inputs = 0;
    for (int i = 1; i < argc; ++i) {
        std::vector<fs::path> files;
        if (!fs::exists(argv[i])) continue; // a target without findings kept
        if (fs::is_directory(argv[i])) {
            for (const auto& entry : fs::directory_iterator(argv[i]))
                if (entry.is_regular_file()) files.push_back(entry.path());
        } else {
            files.emplace_back(argv[i]);
        }
        for (const auto& file : files) {
            std::ifstream in(file, std::ios::binary);
            if (!in) {
                std::fprintf(stderr, "replay: cannot read %s\n", file.c_str());
                return 2;
            }
            std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
            ++inputs;
        }
    }
    std::printf("replay: %zu inputs, no finding\n", inputs);
    return 0;
}
