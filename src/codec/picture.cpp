#include "codec/picture.h"

#include "qor/texsmith/raw/bithacks.h"
#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/reformat.h"
#include "qor/texsmith/tools_assert.h"
#include "raw/surfaces/default_tile_mode.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>

namespace qor::Texsmith::Raw {
namespace {

constexpr unsigned kMaxSize = 16384;                   // of a texture, either way
constexpr std::uint64_t kFreeBytes = 64 * 1024 * 1024; // what any file may ask for

// By alpha, grey and depth.
constexpr Vex::DataFormat kFormats[2][2][2] = {
    {{{0x3AC00A}, {0x3AC00C}}, {{0x324001}, {0x324002}}},
    {{{0xFAC00A}, {0xFAC00C}}, {{0xB24003}, {0xB24005}}},
};

bool isDeep(Vex::DataFormat format) {
    if (format.isBlockCompressedFormat()) {
        return format.getSurfaceFormat() == Vex::kSurfaceFormatBc6;
    }
    const auto& bits = getSurfaceFormatInfo(format.getSurfaceFormat()).bitsPerChannel;
    return format.getTextureChannelType() == Vex::kTextureChannelTypeFloat ||
           std::any_of(std::begin(bits), std::end(bits), [](unsigned count) { return count > 8; });
}

bool isGrey(Vex::DataFormat format) {
    const Vex::TextureChannel x = format.getChannel(0);
    return x >= Vex::kTextureChannelX && format.getChannel(1) == x && format.getChannel(2) == x;
}

Error storeFile(const std::vector<std::uint8_t>& file, ResizableMemoryRegion* destination) {
    destination->resize(file.size());
    if (destination->length() < file.size()) {
        return kErrorFailed;
    }
    std::memcpy(destination->begin, file.data(), file.size());
    return kErrorNone;
}

Error writeRows(const Image& image, const PictureKind& kind, ResizableMemoryRegion* destination,
                WritePicture write) {
    const SurfaceIndex first;
    const MemoryRegion elements = image.getMemoryRegion(&first);
    const bool isSrgb = image.getDataFormat().getTextureChannelType() == Vex::kTextureChannelTypeSrgb;
    const unsigned width = image.getPixelsWide(0), height = image.getPixelsTall(0);
    if (elements.length() == 0) {
        return kErrorFailed;
    }
    std::vector<std::uint8_t> file;
    const PictureRows rows{elements.begin, elements.length() / height, width, height, kind, isSrgb};
    const Error error = write(rows, &file);
    return error == kErrorNone ? storeFile(file, destination) : error;
}

} // namespace

Vex::DataFormat formatOf(const PictureKind& kind, Vex::TextureChannelType channelType) {
    const bool isSrgb = channelType == Vex::kTextureChannelTypeSrgb;
    const std::uint32_t type = kind.m_isDeep && isSrgb ? Vex::kTextureChannelTypeUNorm : channelType & 0xF;
    return {kFormats[kind.m_hasAlpha][kind.m_isGrey][kind.m_isDeep].m_word | type << 8};
}

PictureKind kindOf(const Image& image) {
    const Vex::DataFormat format = image.getDataFormat();
    return {isGrey(format) && image.getModifiers().m_decode.isNop(),
            format.getChannel(3) >= Vex::kTextureChannelX, isDeep(format)};
}

bool isClaimJust(const PictureClaim& claim, const char* sourcePath) {
    if (claim.m_width > kMaxSize || claim.m_height > kMaxSize) {
        toolsWarning(sourcePath, __LINE__, "The %s image is %u x %u, but a texture is at most %u x %u.",
                     claim.m_name, claim.m_width, claim.m_height, kMaxSize, kMaxSize);
        return false;
    }
    if (claim.m_packedBytes > kFreeBytes &&
        claim.m_packedBytes > checkedSize(claim.m_fileBytes, claim.m_bytesPerByte)) {
        toolsWarning(sourcePath, __LINE__, "The %s image is %u x %u, but its file has only %llu bytes.",
                     claim.m_name, claim.m_width, claim.m_height,
                     static_cast<unsigned long long>(claim.m_fileBytes));
        return false;
    }
    return true;
}

std::uint8_t* makePicture(ReallocatableImage* image, unsigned width, unsigned height,
                          Vex::DataFormat format) {
    const Vex::TileMode tileMode = defaultTileMode(GpuAddress::kSurfaceTypeTextureFlat, format, 1);
    Vex::Texture texture;
    texture.initAs2dArray(width, height, 1, 0, 1, format, tileMode, Vex::kNumFragments1, false);
    image->reallocate(&texture);
    image->setModifiers(Modifiers());
    const MemoryRegion region = image->getMemoryRegion();
    if (region.length() < checkedSize(format.getBytesPerElement(), width, height)) {
        return nullptr;
    }
    std::memset(region.begin, 0, region.length());
    return region.begin;
}

Error writePicture(const Image* source, const PictureKind& kind, ResizableMemoryRegion* destination,
                   Configuration* configuration, WritePicture write) {
    const bool isSrgb = source->getDataFormat().getTextureChannelType() == Vex::kTextureChannelTypeSrgb;
    const Vex::DataFormat format =
        formatOf(kind, isSrgb ? Vex::kTextureChannelTypeSrgb : Vex::kTextureChannelTypeUNorm);
    if (source->getModifiers().m_decode.isNop() && source->getDataFormat() == format) {
        return writeRows(*source, kind, destination, write);
    }
    MemoryMappedImage converted;
    reallocate(&converted, source, format);
    const Error error = reformat(source, &converted, configuration);
    return error == kErrorNone ? writeRows(converted, kind, destination, write) : error;
}

bool appendBytes(std::vector<std::uint8_t>* file, const std::uint8_t* bytes, std::size_t count) noexcept {
    try {
        file->insert(file->end(), bytes, bytes + count);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

} // namespace qor::Texsmith::Raw
