// A file in the temporary directory with the blocks that an earlier run converted, before and after.
//
// Its name is the SHA-1 of the state bytes. Fields are little-endian:
//
//     0   magic 0xDEADCAFE
//     4   bytes S of a source record
//     8   bytes T of a result record
//     12  length L of the state
//     16  the state
//     L   R source records, then R result records; the last 16 bytes of the file stay unused
//
// The records begin at L: over the end of the state, or over the header where the state is shorter than 16
// bytes. Both are part of the format. Nothing deletes these files.
//
// The magic goes while a run is at work and comes back when it has succeeded, as far as no records lie over
// it: the records of a run that was cut short are not believed.
#pragma once

#include "qor/texsmith/raw/memory_region.h"

#include <cstdint>
#include <string>

namespace qor::Texsmith::Raw {

struct BlockCacheLayout {
    std::uint32_t m_sourceBytes; // of a record
    std::uint32_t m_resultBytes;
    std::uint64_t m_records;
    std::uint32_t m_stateBytes;

    std::uint64_t fileBytes() const {
        return (std::uint64_t{m_sourceBytes} + m_resultBytes) * m_records + 16 + m_stateBytes;
    }
};

class BlockCache {
public:
    // Opens or makes the file. A failure of the system is reported, and the cache then holds nothing.
    BlockCache(const BlockCacheLayout& layout, const std::uint8_t* state, IAllocator allocator);

    // 40 digits behind the temporary directory, the low digit of each byte first. Empty where there is none.
    static std::string fileName(const std::uint8_t* state, std::uint32_t stateBytes);

    // The result of an earlier run for this source; null where there is none. Different records may be used
    // at once.
    const std::uint8_t* find(std::uint64_t record, const void* source) const;
    void store(std::uint64_t record, const void* source, const void* result) const;
    // After a run in which all went well.
    void seal() const;

private:
    bool headerFits() const;
    void writeHeader(const std::uint8_t* state) const;

    BlockCacheLayout m_layout;
    MemoryMappedFile m_file;
    bool m_isValid = false;
    std::uint8_t* m_sources = nullptr; // null: nothing can be kept
    std::uint8_t* m_results = nullptr;
};

} // namespace qor::Texsmith::Raw
