// SPDX-License-Identifier: MIT
// Runs the inputs in a folder, for a compiler without libFuzzer.
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz.h"

int main(int, char** argv)
{
    std::size_t count = 0;
    for (const auto& file : std::filesystem::directory_iterator(argv[1])) {
        std::fprintf(stderr, "%s\n", file.path().c_str());
        std::ifstream stream(file.path(), std::ios::binary);
        const std::vector<char> bytes(std::istreambuf_iterator<char>(stream), {});
        const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
        LLVMFuzzerTestOneInput(input.data(), input.size());
        ++count;
    }
    return count > 0 ? 0 : 1; // without a corpus nothing was shown
}
