#include "raw/files/codec.h"

#include "qor/texsmith/tools_assert.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\files\\codec";

const Codec* findOrWarn(FileType type) {
    const Codec* codec = findCodec(type);
    if (codec == nullptr) {
        const char name[] = {char(type & 0xFF), char(type >> 8 & 0xFF), char(type >> 16 & 0xFF),
                             char(type >> 24 & 0xFF), '\0'};
        toolsWarning(kSourcePath, __LINE__, "There is no codec for files of type '%s' here.", name);
    }
    return codec;
}

} // namespace

Error readByCodec(FileType type, MemoryRegion* source, ReallocatableImage* destination,
                  Configuration* configuration, int index) {
    const Codec* codec = findOrWarn(type);
    return codec != nullptr ? codec->m_read(source, destination, configuration, index) : kErrorWicFactory;
}

Error writeByCodec(FileType type, const Image* source, ResizableMemoryRegion* destination,
                   Configuration* configuration) {
    const Codec* codec = findOrWarn(type);
    return codec != nullptr ? codec->m_write(source, destination, configuration) : kErrorWicFactory;
}

} // namespace qor::Texsmith::Raw
