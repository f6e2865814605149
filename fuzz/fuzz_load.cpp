#include "fuzz_target.h"

// The type comes from the first bytes. Types whose headers may ask for large images have targets of their
// own, which look at the size first.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qor::Texsmith;
    Fuzz::Input input(data, size);
    const Raw::FileType type = Raw::getFileTypeFromContents(input.region());
    for (const Raw::FileType large : {Raw::makeFileType(".VXF"), Raw::makeFileType(".DDS"),
                                      Raw::makeFileType(".HDR"), Raw::makeFileType(".JPG")}) {
        if (type == large) {
            return 0;
        }
    }
    Raw::AllocatedMemory memory, file;
    Raw::ReallocatableImage image(&memory);
    Raw::load(&image, input.region(), "no extension", input.configuration());
    if (image.getElements() != 0 && image.getElements() <= Fuzz::kMostTexels) {
        Raw::save(&image, &file, ".tga", input.configuration());
    }
    return 0;
}
