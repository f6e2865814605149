// The check of a copy of a given number of bytes.
#pragma once

#include "qor/texsmith/raw/memory_region.h"

namespace qor::Texsmith::Raw {

// Reports each region that has fewer than `bytes`. Returns how many of them both have.
unsigned long long checkCopy(MemoryRegion destination, MemoryRegion source, unsigned long long bytes);

} // namespace qor::Texsmith::Raw
