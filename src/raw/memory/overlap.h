// The rule for a source and a destination that share memory: the work goes through memory of its own.
#pragma once

#include "qor/texsmith/raw/memory_region.h"

#include <functional>

namespace qor::Texsmith::Raw {

// Whether two regions share bytes. An empty one shares none.
inline bool overlap(const MemoryRegion& a, const MemoryRegion& b) {
    const std::less<const void*> isBefore;
    return a.length() != 0 && b.length() != 0 && isBefore(a.begin, b.end) && isBefore(b.begin, a.end);
}

// Calls read(region), which returns an Error, with the source itself, or with a copy of it when it shares
// memory with what will be written.
template <typename Read> Error readApart(MemoryRegion* source, const MemoryRegion& written, Read read) {
    if (!overlap(*source, written)) {
        return read(source);
    }
    MappedMemory own;
    own.resize(source->length());
    if (own.length() < source->length()) {
        return kErrorFailed; // reported
    }
    copy(own, *source);
    return read(static_cast<MemoryRegion*>(&own));
}

// Calls write(place), which returns an Error, with the destination itself, or when `isShared` says that what
// will be read may lie there, with memory of its own that is copied over in the end.
template <typename Write> Error writeApart(bool isShared, ResizableMemoryRegion* destination, Write write) {
    if (!isShared) {
        return write(destination);
    }
    MappedMemory own;
    const Error error = write(static_cast<ResizableMemoryRegion*>(&own));
    if (own.length() == 0) {
        return error;
    }
    destination->ensureSize(own.length());
    copy(*destination, own);
    return error == kErrorNone && destination->length() < own.length() ? kErrorFailed : error;
}

} // namespace qor::Texsmith::Raw
