// The picture data of PNG files by a library that is several times as fast as zlib, but takes all of the data
// at once. Builds without it have the same functions, which decline.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/memory_region.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace qor::Texsmith::Raw {

// A PNG file in parts: what stands before and behind the picture data as it is, and that data stored instead
// of compressed. All sums of the file's chunks were checked.
class StoredPng {
public:
    // False for a file that is faulty in any way, does not unpack to that many bytes, or may not be unpacked
    // here.
    bool unpack(const MemoryRegion& file, std::uint64_t dataBytes);
    const std::vector<MemoryRegion>& parts() const { return m_parts; }

private:
    void addBlocks(std::size_t dataBytes, const std::uint8_t* sum);

    std::unique_ptr<std::uint8_t[]> m_data;
    std::vector<std::uint8_t> m_frames; // what stands around and between the stored blocks
    std::vector<MemoryRegion> m_parts;
};

// False where this build has no such library.
bool canCompressQuickly();
// Filtered rows as a zlib stream. Empty without memory. High and best effort take longer.
std::vector<std::uint8_t> compressQuickly(const std::uint8_t* bytes, std::size_t count, EncoderEffort effort);

} // namespace qor::Texsmith::Raw
