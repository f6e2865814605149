#include "fuzz_target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qor::Texsmith;
    const auto word = [data](std::size_t at) {
        std::int32_t value;
        std::memcpy(&value, data + at, sizeof value);
        return std::uint64_t(value < 0 ? -std::int64_t{value} : value);
    };
    if (size >= 54 && word(18) <= 16384 && word(22) <= 16384 && word(18) * word(22) > Fuzz::kMostTexels) {
        return 0;
    }
    Fuzz::Input input(data, size);
    Raw::AllocatedMemory file;
    Raw::MemoryMappedImage image;
    if (Raw::convertFromBmp(input.region(), &image, input.configuration()) == Raw::kErrorNone) {
        Raw::convertToBmp(&image, &file, input.configuration());
    }
    return 0;
}
