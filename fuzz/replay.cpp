// Replays the committed corpus of every target through the same checks, without libFuzzer:
// any seed that once found a fault keeps guarding against it in the ordinary test run.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz.hpp"

namespace fs = std::filesystem;

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <corpus directory>\n", argv[0]);
        return 2;
    }
    ven::fuzz::installAbortHook();
    int total = 0;
    for (const auto& target : ven::fuzz::kTargets) {
        const fs::path dir = fs::path(argv[1]) / target.name;
        std::vector<fs::path> files;
        for (const auto& entry : fs::directory_iterator(dir)) {
            if (entry.is_regular_file()) {
                files.push_back(entry.path());
            }
        }
        std::sort(files.begin(), files.end());
        if (files.empty()) {
            std::fprintf(stderr, "replay: no seeds in %s\n", dir.c_str());
            return 1;
        }
        for (const fs::path& file : files) {
            std::ifstream in(file, std::ios::binary);
            const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
            ven::fuzz::setCurrentInput(file.c_str());
            target.check(bytes.data(), bytes.size());
        }
        ven::fuzz::setCurrentInput(nullptr);
        std::printf("replay: %s: %zu inputs agree with the reference\n", target.name, files.size());
        total += static_cast<int>(files.size());
    }
    std::printf("%d passed, 0 failed\n", total);
    return 0;
}
