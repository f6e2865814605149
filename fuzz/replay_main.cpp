// Runs the target on every file of the folders given.
#include "fuzz_target.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

int main(int argc, char** argv) {
    int files = 0;
    for (int argument = 1; argument < argc; ++argument) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[argument])) {
            std::ifstream stream(entry.path(), std::ios::binary);
            const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
            ++files;
        }
    }
    std::printf("%d files replayed\n", files);
    return files == 0;
}
