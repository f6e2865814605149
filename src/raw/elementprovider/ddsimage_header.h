// What stands in a DDS file before its texels: reading, checking and making it.
#pragma once

#include "qor/texsmith/raw/element_provider.h"
#include "raw/dds_layout/formats.h"

namespace qor::Texsmith::Raw {

// What stands in a file before its texels; zeros for what the file lacks.
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
DdsFormat findDdsFormat(const DdsFileHeader& header, Vex::TextureChannelType channelType);

// Makes and reports every check, whatever the first ones say. `length` is that of the file.
bool checkDdsHeader(const DdsFileHeader& header, Vex::DataFormat format, std::uint64_t length);
bool checkDdsSurfaceFormat(Vex::DataFormat format);
void reportNoDdsFormat();

// For an image whose descriptor is set up.
DdsFileHeader makeDdsHeader(const ElementProvider& image, bool isDx10);

} // namespace qor::Texsmith::Raw
