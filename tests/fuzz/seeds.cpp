// Feeds each file of a folder to a fuzzer once: a program that any compiler builds.

#include "tests/fuzz/fuzz.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include <unistd.h>

int main(int argc, char** argv)
{
    fuzz::require(argc == 2, "a folder of seeds is needed");
    const std::filesystem::path folder = argv[1];
    LLVMFuzzerInitialize(&argc, &argv);
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        dprintf(STDOUT_FILENO, "%s\n", entry.path().c_str());
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        ++count;
    }
    fuzz::require(count > 0, "no seed");
    return 0;
}
