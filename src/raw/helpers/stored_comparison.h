// Equality of files whose texels need not be decoded for it.
#pragma once

#include "qor/texsmith/raw/helpers.h"

namespace qor::Texsmith::Raw {

struct TypedFile {
    MemoryRegion* m_region;
    FileType m_type;
};

// False for a pair of types that has to be loaded.
bool compareStoredTexels(Error* result, const TypedFile& a, const TypedFile& b, Configuration* configuration);

} // namespace qor::Texsmith::Raw
