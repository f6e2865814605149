#include "raw/dds_layout/file_header.h"

#include "qor/texsmith/raw/bithacks.h"
#include "qor/texsmith/raw/format.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr unsigned kMostMips = 16; // that a descriptor can name

unsigned mipsOf(const Dds::Header& header, const DdsShape& shape) {
    const bool hasMips =
        (header.m_flags & Dds::kFlagMipMapCount) != 0 || (header.m_caps & Dds::kCapsMipMap) != 0;
    const unsigned largest = std::max({shape.m_width, shape.m_height, shape.m_depth});
    const unsigned fullChain = std::min<unsigned>(kMostMips, std::bit_width(largest));
    return std::clamp(hasMips ? header.m_mipMapCount : 1, 1u, fullChain);
}

std::uint64_t bytesOfVolume(const Dds::Header& header, const DdsFormat& format) {
    const unsigned texels = format.m_format.isBlockCompressedFormat() ? 4 : 1; // across an element
    const auto elements = [texels](std::uint32_t size) {
        return (std::uint64_t{std::max(1u, size)} + texels - 1) / texels;
    };
    return checkedSize(format.m_bytesInFile, elements(header.m_width), elements(header.m_height),
                       header.m_depth);
}

// A volume that the flag for it does not tell of.
bool isUnflaggedVolume(const DdsFileHeader& file, const DdsFormat& format, std::uint64_t texelBytes) {
    const Dds::Header& header = file.m_header;
    if (header.m_depth <= 1) {
        return false;
    }
    if (file.isDx10()) {
        return file.m_dx10.m_resourceDimension == Dds::kDimensionTexture3d;
    }
    return (header.m_flags & Dds::kFlagDepth) != 0 || bytesOfVolume(header, format) <= texelBytes;
}

} // namespace

DdsFileHeader copyDdsHeader(const MemoryRegion& file) {
    DdsFileHeader header;
    const std::uint64_t bytes = std::min<std::uint64_t>(file.length(), sizeof header);
    if (bytes != 0) {
        std::memcpy(static_cast<void*>(&header), file.begin, static_cast<std::size_t>(bytes));
    }
    return header;
}

DdsFormat findDdsFormat(const DdsFileHeader& header, Vex::TextureChannelType channelType,
                        std::uint32_t readingOptions) {
    if (!header.isDx10()) {
        return formatFromPixelFormat(header.m_header.m_pixelFormat, channelType, readingOptions);
    }
    const Vex::DataFormat format = formatFromDxgi(header.m_dx10.m_dxgiFormat, channelType);
    return {format, g_surfaceFormatInfo[format.getSurfaceFormat()].bytesPerElement};
}

DdsShape findDdsShape(const DdsFileHeader& file, const DdsFormat& format, std::uint64_t texelBytes,
                      std::uint32_t readingOptions) {
    const Dds::Header& header = file.m_header;
    const bool isWhole = (readingOptions & kReadDdsWholeTexture) != 0;
    const bool usesDx10 = isWhole && file.isDx10();
    DdsShape shape = {};
    shape.m_isCube = (header.m_caps2 & Dds::kCaps2Cube) != 0 ||
                     (usesDx10 && (file.m_dx10.m_miscFlag & Dds::kMiscCube) != 0);
    shape.m_isVolume = !shape.m_isCube && ((header.m_caps2 & Dds::kCaps2Volume) != 0 ||
                                           (isWhole && isUnflaggedVolume(file, format, texelBytes)));
    shape.m_width = std::max(1u, header.m_width);
    shape.m_height = std::max(1u, header.m_height);
    shape.m_depth = shape.m_isVolume ? std::max(1u, header.m_depth) : 1;
    shape.m_entries = usesDx10 && !shape.m_isVolume ? std::max(1u, file.m_dx10.m_arraySize) : 1;
    shape.m_mips = mipsOf(header, shape);
    return shape;
}

} // namespace qor::Texsmith::Raw
