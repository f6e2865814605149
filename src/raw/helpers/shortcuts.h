// Shortcuts: direct ways from one type of file to another, with no image between them.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/filetype.h"

namespace qor::Texsmith::Raw {

struct Shortcut {
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
const Shortcut* findShortcut(FileType source, FileType destination);

} // namespace qor::Texsmith::Raw
