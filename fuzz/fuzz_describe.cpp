#include "fuzz_target.h"

// As every type that has headers.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qor::Texsmith;
    Fuzz::Input input(data, size);
    for (const std::uint32_t options : {Raw::kReadLiterally, Raw::kReadKindly}) {
        input.configuration()->m_readingOptions = options;
        for (const char* extension :
             {"", ".bmp", ".dds", ".hdr", ".jpg", ".pfm", ".png", ".tga", ".tsh", ".vxf"}) {
            Raw::FileDescription description;
            Raw::describeFile(&description, input.region(), extension, input.configuration(),
                              size % 2 == 0 ? 0 : data[0]);
        }
    }
    return 0;
}
