// Runs a fuzz target over its committed corpus without libFuzzer: every file named on the command line,
// or found in a directory named there, is passed once to LLVMFuzzerTestOneInput. A broken invariant or
// a sanitizer report aborts the run, which fails the test.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace fs = std::filesystem;

int main(int argc, char **argv)
{
    std::vector<fs::path> files;
    for (int i = 1; i < argc; ++i) {
        const fs::path path(argv[i]);
        if (fs::is_directory(path)) {
            for (const auto &entry : fs::recursive_directory_iterator(path)) {
                if (entry.is_regular_file())
                    files.push_back(entry.path());
            }
        } else if (fs::is_regular_file(path)) {
            files.push_back(path);
        } else {
            std::fprintf(stderr, "no such corpus: %s\n", argv[i]);
            return 2;
        }
    }
    if (files.empty()) {
        std::fprintf(stderr, "the corpus is empty\n");
        return 2;
    }
    std::sort(files.begin(), files.end());
    for (const fs::path &file : files) {
        std::ifstream in(file, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
        std::fprintf(stderr, "%s (%zu bytes)\n", file.c_str(), bytes.size());
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
    }
    std::printf("%zu inputs passed\n", files.size());
    return 0;
}
