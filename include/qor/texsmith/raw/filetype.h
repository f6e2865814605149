// What type a file is, by its name and by its first bytes.
//
// Null pointers are reported, and the type is then unknown. An `extension` may be a whole file name.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/memory_region.h"
#include "qor/texsmith/raw/reading_options.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// Four characters, a dot and three capitals, the first in the low byte. 0 means unknown.
using FileType = std::uint32_t;
constexpr FileType makeFileType(const char (&text)[5]) {
    return FileType(std::uint8_t(text[0])) | FileType(std::uint8_t(text[1])) << 8 |
           FileType(std::uint8_t(text[2])) << 16 | FileType(std::uint8_t(text[3])) << 24;
}

// By what stands behind the last dot.
QOR_TEXSMITH_API FileType getFileTypeFromExtension(const char* filename);
// By the first bytes; at most five are looked at.
QOR_TEXSMITH_API FileType getFileTypeFromContents(const MemoryRegion* region);
// The same, with bits of ReadingOption.
QOR_TEXSMITH_API FileType getFileTypeFromContents(const MemoryRegion* region, std::uint32_t readingOptions);

} // namespace qor::Texsmith::Raw
