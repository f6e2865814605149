#include "fuzz_target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qor::Texsmith;
    // Sizes of four digits, and with them large pictures, are passed over.
    unsigned digits = 0;
    for (std::size_t i = 0; i < size; ++i) {
        digits = data[i] >= '0' && data[i] <= '9' ? digits + 1 : 0;
        if (digits > 3) {
            return 0;
        }
    }
    Fuzz::Input input(data, size);
    Raw::AllocatedMemory file;
    Raw::MemoryMappedImage image;
    if (Raw::convertFromHdr(input.region(), &image, input.configuration()) == Raw::kErrorNone) {
        Raw::convertToHdr(&image, &file, input.configuration());
    }
    return 0;
}
