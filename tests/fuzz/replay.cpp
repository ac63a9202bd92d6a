// Replays inputs through a fuzz target's entry function without libFuzzer: each argument is a
// file or a folder of files (read in name order), and each file is one input. A failing check
// inside the target stops the program, so the test fails on the input it names last.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
extern "C" [[gnu::weak]] int LLVMFuzzerInitialize(int *argc, char ***argv);

namespace fs = std::filesystem;

int main(int argc, char **argv) {
    if (LLVMFuzzerInitialize != nullptr) LLVMFuzzerInitialize(&argc, &argv);
    std::vector<fs::path> files;
    for (int i = 1; i < argc; ++i) {
        const fs::path arg = argv[i];
        if (fs::is_directory(arg)) {
            for (const auto &e : fs::directory_iterator(arg)) {
                if (e.is_regular_file()) files.push_back(e.path());
            }
        } else {
            files.push_back(arg);
        }
    }
    std::sort(files.begin(), files.end());
    if (files.empty()) {
        std::fprintf(stderr, "replay: no inputs\n");
        return 1;
    }
    for (const fs::path &f : files) {
        std::ifstream in(f, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
        std::fprintf(stderr, "replay: %s\n", f.filename().c_str());
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
    }
    std::printf("replayed %zu inputs\n", files.size());
    return 0;
}
