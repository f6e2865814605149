// Conversions between two types of file that need no image between them.
#pragma once

#include "qor/texsmith/raw/helpers.h"

namespace qor::Texsmith::Raw {

struct FileRoad {
    FileType m_source;
    FileType m_destination;
    bool m_keepsStoredTexels; // and so always tells its result
    // False, with nothing reported or written, when this file needs an image after all. Else the result is
    // the first error of the reader and the writer. The arguments are checked, and the two regions do not
    // overlap.
    bool (*m_convert)(Error* result, MemoryRegion* source, ResizableMemoryRegion* destination,
                      Configuration* configuration);
};

// Null where there is none.
const FileRoad* findFileRoad(FileType source, FileType destination);

} // namespace qor::Texsmith::Raw
