#include "fuzz_target.h"

// The size stands behind the mark of a frame: the largest that may be one.
static std::uint64_t largestSize(const std::uint8_t* data, std::size_t size) {
    std::uint64_t largest = 0;
    for (std::size_t i = 0; i + 9 <= size; ++i) {
        if (data[i] == 0xFF && (data[i + 1] & 0xF0) == 0xC0) {
            const unsigned height = data[i + 5] << 8 | data[i + 6], width = data[i + 7] << 8 | data[i + 8];
            const std::uint64_t area = std::uint64_t(width) * height;
            largest = area > largest ? area : largest;
        }
    }
    return largest;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qor::Texsmith;
    if (largestSize(data, size) > Fuzz::kMostTexels) {
        return 0;
    }
    Fuzz::Input input(data, size);
    Raw::AllocatedMemory memory, file;
    Raw::ReallocatableImage image(&memory);
    if (Raw::convertFromJpg(input.region(), &image, input.configuration()) == Raw::kErrorNone) {
        Raw::convertToJpg(&image, &file, input.configuration());
    }
    return 0;
}
