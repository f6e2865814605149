// The routes: who reads and who writes a type of file.
#pragma once

#include "qor/texsmith/raw/helpers.h"

#include <span>

namespace qor::Texsmith::Raw {

struct LoadRoute {
    FileType m_type;
    Error (*m_load)(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration,
                    int index);
    FileType m_codec = 0; // the type that its codec goes by; 0 for types that need none
};

struct SaveRoute {
    FileType m_type;
    Error (*m_save)(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration);
};

// Null for a type that nobody reads or writes.
const LoadRoute* findLoader(FileType type);
const SaveRoute* findSaver(FileType type);

// All that are read, if there are the codecs for them.
std::span<const LoadRoute> getLoadRoutes();

} // namespace qor::Texsmith::Raw
