// Codecs that a machine brings, by type of file. raw knows them only through this; src/codec implements it.
#pragma once

#include "qor/texsmith/raw/filetype.h"
#include "qor/texsmith/raw/image.h"

namespace qor::Texsmith::Raw {

// Readers and writers find their arguments checked.
struct Codec {
    FileType m_type;       // ".PNG", ".JPG", ".BMP"
    const char* m_library; // its name, with the version where it tells one; null for code of our own
    Error (*m_read)(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration,
                    int index);
    // Null where the codec only reads.
    Error (*m_write)(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration);
};

// Null where this build has none; defined in src/codec/codecs.cpp.
const Codec* findCodec(FileType type);

// kErrorWicFactory, with a warning that names the type.
Error refuseWithoutCodec(FileType type);

// Through the codec of that type. Without one, or one that writes, a warning names the type, and the result
// is kErrorWicFactory.
Error readByCodec(FileType type, MemoryRegion* source, ReallocatableImage* destination,
                  Configuration* configuration, int index);
Error writeByCodec(FileType type, const Image* source, ResizableMemoryRegion* destination,
                   Configuration* configuration);

} // namespace qor::Texsmith::Raw
