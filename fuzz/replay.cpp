// Runs a target over files and over the files of directories: in the test suite, where every input
// that was ever found to fail is tried again, and by hand, to look into a failure.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "harness.h"

int main(int argc, char** argv) {
    std::vector<std::filesystem::path> paths;
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::exists(argv[i])) continue; // a target without seeds of this kind
        if (!std::filesystem::is_directory(argv[i])) {
            paths.emplace_back(argv[i]);
            continue;
        }
        for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i]))
            if (entry.is_regular_file()) paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end());
    for (const auto& path : paths) {
        std::ifstream stream(path, std::ios::binary);
        std::ostringstream content;
        content << stream.rdbuf();
        const std::string text = content.str();
        std::fprintf(stderr, "%s\n", path.c_str()); // the last one named is the one that fails
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    }
    std::printf("%zu inputs\n", paths.size());
    return paths.empty() ? 1 : 0;
}
