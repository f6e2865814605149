#include "raw/files/codec.h"

#include "qor/texsmith/tools_assert.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\files\\codec";

Error refuseType(FileType type, const char* format) {
    const char name[] = {char(type & 0xFF), char(type >> 8 & 0xFF), char(type >> 16 & 0xFF),
                         char(type >> 24 & 0xFF), '\0'};
    toolsWarning(kSourcePath, __LINE__, format, name);
    return kErrorWicFactory;
}

} // namespace

Error refuseWithoutCodec(FileType type) {
    return refuseType(type, "There is no codec for files of type '%s' here.");
}

Error readByCodec(FileType type, MemoryRegion* source, ReallocatableImage* destination,
                  Configuration* configuration, int index) {
    const Codec* codec = findCodec(type);
    return codec != nullptr ? codec->m_read(source, destination, configuration, index)
                            : refuseWithoutCodec(type);
}

Error writeByCodec(FileType type, const Image* source, ResizableMemoryRegion* destination,
                   Configuration* configuration) {
    const Codec* codec = findCodec(type);
    if (codec != nullptr && codec->m_write == nullptr) {
        return refuseType(type, "Files of type '%s' are read here, but not written.");
    }
    return codec != nullptr ? codec->m_write(source, destination, configuration) : refuseWithoutCodec(type);
}

} // namespace qor::Texsmith::Raw
