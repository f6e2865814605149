#include "fuzz_target.h"

// What a header may claim depends on the length of its file, so that no input asks for much.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return Fuzz::loadAndSave(data, size, ".tif");
}
