#include "fuzz_target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qor::Texsmith;
    const auto word = [data](std::size_t at) {
        return std::uint64_t(data[at]) << 24 | data[at + 1] << 16 | data[at + 2] << 8 | data[at + 3];
    };
    if (size >= 24 && word(16) * word(20) > Fuzz::kMostTexels) {
        return 0;
    }
    Fuzz::Input input(data, size);
    Raw::AllocatedMemory memory, file;
    Raw::ReallocatableImage image(&memory);
    if (Raw::convertFromPng(input.region(), &image, input.configuration()) == Raw::kErrorNone) {
        Raw::convertToPng(&image, &file, input.configuration());
    }
    return 0;
}
