#include "fuzz_target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qor::Texsmith;
    if (size >= 18) {
        const unsigned width = data[12] | data[13] << 8, height = data[14] | data[15] << 8;
        if (std::uint64_t(width) * height > Fuzz::kMostTexels) {
            return 0;
        }
    }
    Fuzz::Input input(data, size);
    Raw::AllocatedMemory memory, file;
    Raw::ReallocatableImage image(&memory);
    if (Raw::convertFromTga(input.region(), &image, input.configuration()) == Raw::kErrorNone) {
        Raw::convertToTga(&image, &file, input.configuration());
    }
    return 0;
}
