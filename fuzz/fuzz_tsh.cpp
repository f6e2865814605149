#include "fuzz_target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qor::Texsmith;
    Fuzz::Input input(data, size);
    Raw::AllocatedMemory file;
    Raw::MemoryMappedImage image;
    if (Raw::convertFromTsh(input.region(), &image, input.configuration()) == Raw::kErrorNone) {
        Raw::convertToTsh(&image, &file, input.configuration());
    }
    return 0;
}
