// What stands in a DDS file before its texels, and what shape it tells.
#pragma once

#include "qor/texsmith/raw/memory_region.h"
#include "qor/texsmith/raw/reading_options.h"
#include "raw/dds_layout/formats.h"

namespace qor::Texsmith::Raw {

// Zeros for what the file lacks.
struct DdsFileHeader {
    std::uint32_t m_magic = 0;
    Dds::Header m_header = {};
    Dds::HeaderDx10 m_dx10 = {};

    bool isDx10() const {
        return (m_header.m_pixelFormat.m_flags & Dds::kPixelFourCc) != 0 &&
               m_header.m_pixelFormat.m_fourCc == Dds::kFourCcDx10;
    }
    unsigned bytes() const { return isDx10() ? Dds::kBytesBeforeDx10 : Dds::kBytesBefore; }
};
static_assert(sizeof(DdsFileHeader) == Dds::kBytesBeforeDx10);

DdsFileHeader copyDdsHeader(const MemoryRegion& file);

// `readingOptions` are bits of ReadingOption.
DdsFormat findDdsFormat(const DdsFileHeader& header, Vex::TextureChannelType channelType,
                        std::uint32_t readingOptions);

struct DdsShape {
    bool m_isCube, m_isVolume;
    unsigned m_width, m_height, m_depth, m_entries;
    unsigned m_mips; // no more than a full chain, nor than a descriptor can name

    friend bool operator==(const DdsShape&, const DdsShape&) = default;
};

// Read literally, the classic header alone says it, even where there is an extended one.
DdsShape findDdsShape(const DdsFileHeader& header, const DdsFormat& format, std::uint64_t texelBytes,
                      std::uint32_t readingOptions);

} // namespace qor::Texsmith::Raw
