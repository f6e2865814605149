// An image whose texels are the bytes of a DDS file.
#include "qor/texsmith/raw/dds.h"

#include "raw/elementprovider/ddsimage_header.h"
#include "raw/frame/check.h"
#include "raw/surfaces/credible_claim.h"
#include "raw/surfaces/default_tile_mode.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\elementprovider\\ddsimage";

// As many whole elements as both regions have. What is between them in the destination stays.
void widenElements(MemoryRegion destination, std::size_t stride, MemoryRegion source, std::size_t bytes) {
    const std::uint64_t elements = std::min(destination.length() / stride, source.length() / bytes);
    std::uint8_t* to = destination.begin;
    const std::uint8_t* from = source.begin;
    if (stride == 4 && bytes == 3) { // the only sizes that files of ordinary writers have
        for (std::uint64_t i = 0; i < elements; ++i, to += 4, from += 3) {
            std::memcpy(to, from, 3);
        }
        return;
    }
    for (std::uint64_t i = 0; i < elements; ++i, to += stride, from += bytes) {
        std::memcpy(to, from, bytes);
    }
}

// Reported otherwise.
bool fits(const DdsShape& shape) {
    const unsigned mostEntries = shape.m_isCube ? Vex::kMaxTextureSlices / 6 : Vex::kMaxTextureSlices;
    if (std::max(shape.m_width, shape.m_height) > Vex::kMaxTextureSize ||
        shape.m_depth > Vex::kMaxTextureSlices) {
        toolsWarning(kSourcePath, __LINE__,
                     "The DDS image is %u x %u x %u, but a texture is at most %u x %u x %u.", shape.m_width,
                     shape.m_height, shape.m_depth, Vex::kMaxTextureSize, Vex::kMaxTextureSize,
                     Vex::kMaxTextureSlices);
    } else if (shape.m_entries > mostEntries) {
        toolsWarning(kSourcePath, __LINE__, "The DDS array has %u entries, but a texture has at most %u.",
                     shape.m_entries, mostEntries);
    } else {
        return true;
    }
    reportNoDdsFormat();
    return false;
}

Vex::Texture textureOf(const DdsShape& shape, Vex::DataFormat format) {
    const auto tileMode = [format](GpuAddress::SurfaceType type) { return defaultTileMode(type, format, 1); };
    Vex::Texture texture;
    if (shape.m_isVolume) {
        texture.initAs3d(shape.m_width, shape.m_height, shape.m_depth, shape.m_mips, format,
                         tileMode(GpuAddress::kSurfaceTypeTextureVolume));
    } else {
        const auto type =
            shape.m_isCube ? GpuAddress::kSurfaceTypeTextureCubemap : GpuAddress::kSurfaceTypeTextureFlat;
        texture.initAs2dArray(shape.m_width, shape.m_height, shape.m_entries, 0, shape.m_mips, format,
                              tileMode(type), Vex::kNumFragments1, shape.m_isCube);
    }
    return texture;
}

} // namespace

DdsImage::DdsImage(const DdsImage& other)
    : Image(other), m_header(other.m_header), m_headerDx10(other.m_headerDx10),
      m_ownMemory(other.m_ownMemory), m_texels(other.m_texels) {
    m_memoryRegion = &m_texels;
}

DdsImage& DdsImage::operator=(const DdsImage& other) {
    if (this != &other) {
        Image::operator=(other);
        m_header = other.m_header;
        m_headerDx10 = other.m_headerDx10;
        m_ownMemory = other.m_ownMemory;
        m_texels = other.m_texels;
        m_memoryRegion = &m_texels;
    }
    return *this;
}

DdsImage::DdsImage(DdsImage&& other) noexcept { *this = std::move(other); }

DdsImage& DdsImage::operator=(DdsImage&& other) noexcept {
    if (this != &other) {
        Image::operator=(other);
        m_header = std::exchange(other.m_header, nullptr);
        m_headerDx10 = std::exchange(other.m_headerDx10, nullptr);
        m_ownMemory = std::move(other.m_ownMemory);
        m_texels = std::exchange(other.m_texels, MemoryRegion());
        m_memoryRegion = &m_texels;
    }
    return *this;
}

const std::type_info* DdsImage::doGetRowsClass() const { return &typeid(DdsImage); }

void DdsImage::setFile(std::uint8_t* file, bool hasDx10Header) {
    m_header = reinterpret_cast<const Dds::Header*>(file + Dds::kHeaderOffset);
    m_headerDx10 =
        hasDx10Header ? reinterpret_cast<const Dds::HeaderDx10*>(file + Dds::kBytesBefore) : nullptr;
}

// False for what would be 4 GiB or more, which is reported and leaves the image empty.
bool DdsImage::setShape(const Vex::Texture& texture) {
    m_texels = {};
    m_memoryRegion = &m_texels;
    setupAsVexTexture(&texture);
    return getDataFormat() == texture.getDataFormat();
}

Error DdsImage::fillOwnMemory(MemoryRegion inFile, unsigned bytesInFile, std::uint64_t neededInFile) {
    const std::uint64_t old = std::min<std::uint64_t>(m_ownMemory.length(), m_bytesTotal);
    m_ownMemory.resize(m_bytesTotal);
    if (m_ownMemory.length() < m_bytesTotal) {
        return kErrorFailed;
    }
    std::fill_n(m_ownMemory.begin, old, std::uint8_t{0});
    m_texels = m_ownMemory;
    if (bytesInFile == getBytesPerElement()) {
        copy(m_texels, inFile);
    } else if (bytesInFile != 0) {
        widenElements(m_texels, getBytesPerElement(), inFile, bytesInFile);
    }
    if (inFile.length() >= neededInFile) {
        return kErrorNone;
    }
    toolsWarning(kSourcePath, __LINE__, "The DDS file ends early: it lacks %llu of its %llu bytes of texels.",
                 static_cast<unsigned long long>(neededInFile - inFile.length()),
                 static_cast<unsigned long long>(neededInFile));
    return kErrorFailed;
}

Error DdsImage::takeTexels(MemoryRegion inFile, unsigned bytesInFile) {
    const unsigned bytesPerElement = getBytesPerElement();
    const std::uint64_t elements = bytesPerElement != 0 ? m_bytesTotal / bytesPerElement : 0;
    const std::uint64_t neededInFile = elements * bytesInFile;
    if (!isClaimCredible(m_bytesTotal, inFile.length(), kMostGainOfPlainTexels)) {
        toolsWarning(kSourcePath, __LINE__,
                     "The DDS image has %u bytes, but its file has only %llu of texels.", m_bytesTotal,
                     inFile.length());
        *this = DdsImage();
        return kErrorFailed;
    }
    if (bytesInFile != bytesPerElement || inFile.length() < neededInFile) {
        return fillOwnMemory(inFile, bytesInFile, neededInFile);
    }
    m_texels.begin = inFile.begin;
    m_texels.end = inFile.begin + m_bytesTotal;
    return kErrorNone;
}

Error DdsImage::readFrom(MemoryRegion* memoryRegion, Vex::TextureChannelType channelType) {
    return readFrom(memoryRegion, channelType, kReadLiterally);
}

Error DdsImage::readFrom(MemoryRegion* memoryRegion, Vex::TextureChannelType channelType,
                         std::uint32_t readingOptions) {
    if (!checkNotNull(memoryRegion, kSourcePath, "memoryRegion must not be NULL.")) {
        return kErrorFailed;
    }
    const DdsFileHeader header = copyDdsHeader(*memoryRegion);
    const DdsFormat format = findDdsFormat(header, channelType, readingOptions);
    if (!checkDdsHeader(header, format.m_format, memoryRegion->length())) {
        return kErrorFailed;
    }
    MemoryRegion inFile = *memoryRegion;
    inFile.begin += header.bytes();
    const DdsShape shape = findDdsShape(header, format, inFile.length(), readingOptions);
    if (!fits(shape) || !setShape(textureOf(shape, format.m_format))) {
        return kErrorFailed;
    }
    setFile(memoryRegion->begin, header.isDx10());
    return takeTexels(inFile, format.m_bytesInFile);
}

Error DdsImage::writeTo(const Vex::Texture* texture, ResizableMemoryRegion* destination, unsigned version) {
    const bool hasTexture = checkNotNull(texture, kSourcePath, "texture must not be NULL.");
    const bool hasDestination = checkNotNull(destination, kSourcePath, "destination must not be NULL.");
    if (!hasTexture || !hasDestination || !checkDdsSurfaceFormat(texture->getDataFormat())) {
        return kErrorFailed;
    }
    m_texels = {};
    m_memoryRegion = &m_texels;
    setupAsVexTexture(texture);
    if (getDataFormat() != texture->getDataFormat()) {
        return kErrorFailed; // 4 GiB or more, which was reported
    }
    const DdsFileHeader header = makeDdsHeader(*this, needsDx10Header(getDataFormat(), version));
    const std::uint64_t bytes = std::uint64_t{header.bytes()} + m_bytesTotal;
    destination->ensureSize(bytes);
    if (destination->length() < bytes) {
        toolsWarning(kSourcePath, __LINE__, "There is no room for the %llu bytes of the DDS file.",
                     static_cast<unsigned long long>(bytes));
        return kErrorFailed;
    }
    std::memcpy(destination->begin, &header, header.bytes());
    setFile(destination->begin, header.isDx10());
    m_texels.begin = destination->begin + header.bytes();
    m_texels.end = m_texels.begin + m_bytesTotal;
    return kErrorNone;
}

} // namespace qor::Texsmith::Raw
