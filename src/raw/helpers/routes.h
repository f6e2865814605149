// The routes: who reads and who writes a type of file.
#pragma once

#include "qor/texsmith/raw/helpers.h"

namespace qor::Texsmith::Raw {

struct LoadRoute {
    FileType m_type;
    Error (*m_load)(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration,
                    int index);
};

struct SaveRoute {
    FileType m_type;
    Error (*m_save)(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration);
};

// Null for a type that nobody reads or writes.
const LoadRoute* findLoader(FileType type);
const SaveRoute* findSaver(FileType type);

} // namespace qor::Texsmith::Raw
