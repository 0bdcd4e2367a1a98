// Runs a harness over given inputs without a fuzzer: replay_NAME FILE-OR-FOLDER...
//
// Prints each input's name before it is tried, so that the last line names the one that ended the process.
// Fails when there is no input.
#include "fuzz/FuzzInput.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace fs = std::filesystem;

// As the fuzzer does, the address sanitizer's build ends the process where so much is asked for at a time,
// whether or not the machine would give it.
extern "C" const char* __asan_default_options() { // NOLINT(bugprone-reserved-identifier)
    return "max_allocation_size_mb=1024";
}

int main(int argc, char** argv) {
    std::vector<fs::path> inputs;
    for (int i = 1; i < argc; ++i) {
        if (!fs::is_directory(argv[i])) {
            inputs.emplace_back(argv[i]);
            continue;
        }
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(argv[i])) {
            if (entry.is_regular_file()) inputs.push_back(entry.path());
        }
    }
    std::sort(inputs.begin(), inputs.end());
    for (const fs::path& path : inputs) {
        std::ifstream file(path, std::ios::binary);
        if (!file) {
            std::fprintf(stderr, "%s cannot be read\n", path.c_str());
            return 1;
        }
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
        std::printf("%s\n", path.c_str());
        std::fflush(stdout);
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }
    std::printf("%zu inputs\n", inputs.size());
    return inputs.empty() ? 1 : 0;
}
