#include "fuzz_target.h"

// What was read is written and read again. The images have pages that nobody touches, however large they are.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qor::Texsmith;
    Fuzz::Input input(data, size);
    Raw::AllocatedMemory file;
    Raw::MemoryMappedImage image;
    if (Raw::convertFromTsh(input.region(), &image, input.configuration()) == Raw::kErrorNone) {
        Raw::FileDescription first, second;
        Raw::describeFile(&first, input.region(), ".tsh", input.configuration(), 0);
        Fuzz::require(Raw::convertToTsh(&image, &file, input.configuration()) == Raw::kErrorNone);
        Fuzz::require(Raw::describeFile(&second, &file, ".tsh", input.configuration(), 0) == Raw::kErrorNone);
        Fuzz::require(first.m_format == second.m_format && first.m_texelBytes == second.m_texelBytes);
    }
    return 0;
}
