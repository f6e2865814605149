#include "qor/texsmith/raw/tga.h"

#include "raw/files/check_arguments.h"
#include "raw/files/tga_encode.h"
#include "raw/files/tga_header.h"
#include "raw/files/tga_picture.h"
#include "raw/memory/overlap.h"
#include "raw/surfaces/default_tile_mode.h"

#include <algorithm>
#include <iterator>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\files\\tga";

constexpr unsigned kMaxSize = 16384; // of a texture, either way

Error checkImageType(const TgaHeader& header) {
    if (header.m_imageType == 0) {
        return kErrorTgaNoImageData;
    }
    const unsigned kind = header.m_imageType & ~kTgaTypeRunLength;
    return kind >= kTgaTypeMapped && kind <= kTgaTypeGrey ? kErrorNone : kErrorTgaImageType;
}

Error checkColorMap(const TgaHeader& header) {
    if (!header.isMapped()) {
        return header.m_mapType == 1 ? kErrorTgaUnexpectedColorMap : kErrorNone;
    }
    if (header.m_mapType == 0) {
        return kErrorTgaMissingColorMap;
    }
    return header.m_mapLength == 0 ? kErrorTgaEmptyColorMap : kErrorNone;
}

Error checkBits(const TgaHeader& header) {
    constexpr unsigned kPixelBits[] = {8, 16, 24, 32, 48, 64};
    constexpr unsigned kEntryBits[] = {8, 16, 24, 32};
    if (std::find(std::begin(kPixelBits), std::end(kPixelBits), header.m_pixelBits) == std::end(kPixelBits)) {
        return kErrorTgaPixelDepth;
    }
    const auto* entry = std::find(std::begin(kEntryBits), std::end(kEntryBits), header.m_mapEntryBits);
    return header.isMapped() && entry == std::end(kEntryBits) ? kErrorTgaColorMapEntrySize : kErrorNone;
}

Error checkHeader(const TgaHeader& header) {
    if (header.m_mapType >= 2) {
        return kErrorTgaColorMapType;
    }
    if (const Error error = checkImageType(header); error != kErrorNone) {
        return error;
    }
    if (const Error error = checkColorMap(header); error != kErrorNone) {
        return error;
    }
    if (header.m_width == 0 || header.m_height == 0) {
        return kErrorTgaZeroDimension;
    }
    return checkBits(header);
}

struct FormatRow {
    bool m_isGrey;
    unsigned m_bits;
    Vex::DataFormat m_format;
};

// The last two name a format of 16 bits, for which there is no decoder.
constexpr FormatRow kFormats[] = {
    {true, 8, {0x324001}},   // L8Unorm
    {true, 16, {0x324002}},  // L16Unorm
    {true, 32, {0x324004}},  // one channel of 32 bits
    {false, 16, {0xF2E011}}, // B5G5R5A1Unorm
    {false, 24, {0x32E00A}}, // B8G8R8X8Unorm
    {false, 32, kTgaFormat}, {false, 48, {0x32E002}}, {false, 64, {0xF2E002}},
};

// Format 0 when the table has none.
Vex::DataFormat chooseFormat(const TgaHeader& header, Vex::TextureChannelType channelType) {
    const auto* row =
        std::find_if(std::begin(kFormats), std::end(kFormats), [&header](const FormatRow& candidate) {
            return candidate.m_isGrey == header.isGrey() && candidate.m_bits == header.elementBits();
        });
    if (row == std::end(kFormats)) {
        return {0};
    }
    return {(row->m_format.m_word & ~0xF00u) | (std::uint32_t(channelType) & 0xF) << 8};
}

bool sizeFits(const TgaHeader& header) {
    if (header.m_width <= kMaxSize && header.m_height <= kMaxSize) {
        return true;
    }
    toolsWarning(kSourcePath, __LINE__, "The TGA image is %u x %u, but a texture is at most %u x %u.",
                 header.m_width, header.m_height, kMaxSize, kMaxSize);
    return false;
}

Vex::Texture makeTexture(const TgaHeader& header, Vex::DataFormat format) {
    const Vex::TileMode tileMode = defaultTileMode(GpuAddress::kSurfaceTypeTextureFlat, format, 1);
    Vex::Texture texture;
    texture.initAs2dArray(header.m_width, header.m_height, 1, 0, 1, format, tileMode, Vex::kNumFragments1,
                          false);
    return texture;
}

// Cuts up to `bytes` off the front of `region`.
MemoryRegion takeFront(MemoryRegion* region, std::uint64_t bytes) {
    MemoryRegion front = *region;
    front.end = front.begin + std::min<std::uint64_t>(bytes, region->length());
    region->begin = front.end;
    return front;
}

TgaPixels makePixels(const TgaHeader& header, MemoryRegion file) {
    TgaPixels pixels{};
    takeFront(&file, kTgaHeaderBytes);
    takeFront(&file, header.m_idLength);
    if (header.isMapped()) {
        pixels.m_map = takeFront(&file, std::uint64_t(header.m_mapLength) * header.m_mapEntryBits / 8);
    }
    pixels.m_pixels = file;
    pixels.m_firstMapEntry = header.m_firstMapEntry;
    pixels.m_width = header.m_width;
    pixels.m_height = header.m_height;
    pixels.m_isRunLength = header.isRunLength();
    return pixels;
}

Error decodePixels(const TgaHeader& header, MemoryRegion file, ReallocatableImage* image) {
    const unsigned pixelBytes = header.m_pixelBits / 8;
    const TgaLayout layout{image->getBytesPerElement(), pixelBytes,
                           header.isMapped() ? header.m_mapEntryBits / 8 : pixelBytes, header.isMapped()};
    const TgaDecoder decoder = findTgaDecoder(layout, header.order());
    const SurfaceIndex first;
    const MemoryRegion elements = image->getMemoryRegion(&first);
    if (decoder == nullptr || elements.length() == 0) {
        return kErrorFailed;
    }
    const std::uint64_t missing = decoder(elements.begin, makePixels(header, file));
    if (missing == 0) {
        return kErrorNone;
    }
    toolsWarning(kSourcePath, __LINE__, "The TGA file ends early: %llu of its %llu pixels are missing.",
                 static_cast<unsigned long long>(missing), image->getElements());
    return kErrorFailed;
}

// What a file becomes: its format, or the error that it meets first.
struct Outline {
    Error m_error;
    Vex::DataFormat m_format = {0};
};

Outline outlineOf(const TgaHeader& header, const Configuration& configuration) {
    if (const Error error = checkHeader(header); error != kErrorNone) {
        return {error};
    }
    const Vex::DataFormat format = chooseFormat(header, configuration.m_textureChannelType);
    const bool isInvalid = format.getSurfaceFormat() == Vex::kSurfaceFormatInvalid;
    return {isInvalid ? kErrorTgaUnsupported : kErrorNone, format};
}

} // namespace

Error convertFromTga(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration) {
    if (!checkConvertArguments(source, destination, configuration, kSourcePath)) {
        return kErrorFailed;
    }
    if (source->length() < kTgaHeaderBytes) {
        return kErrorTgaTooSmall;
    }
    const TgaHeader header(source->begin);
    const Outline outline = outlineOf(header, *configuration);
    if (outline.m_error != kErrorNone) {
        return outline.m_error;
    }
    if (!sizeFits(header)) {
        return kErrorFailed;
    }
    const Vex::Texture texture = makeTexture(header, outline.m_format);
    destination->reallocate(&texture);
    destination->setModifiers(Modifiers());
    return decodePixels(header, *source, destination);
}

bool viewTga(RegionImage* view, const MemoryRegion& source, const Configuration& configuration) {
    if (source.length() < kTgaHeaderBytes) {
        return false;
    }
    const TgaHeader header(source.begin);
    const Outline outline = outlineOf(header, configuration);
    if (outline.m_error != kErrorNone || !header.isPlain() ||
        std::max(header.m_width, header.m_height) > kMaxSize) {
        return false;
    }
    view->setup(makeTexture(header, outline.m_format), makePixels(header, source).m_pixels);
    return header.m_pixelBits == view->getBytesPerElement() * 8 &&
           view->getMemoryRegion().length() == view->getBytesTotal();
}

Error convertToTga(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    if (!checkConvertArguments(source, destination, configuration, kSourcePath)) {
        return kErrorFailed;
    }
    if (!overlap(source->getMemoryRegion(), *destination)) {
        return writeTga(*source, destination, configuration);
    }
    MemoryMappedImage own;
    reallocate(&own, source);
    own.setModifiers(source->getModifiers());
    copy(own.getMemoryRegion(), source->getMemoryRegion());
    return writeTga(own, destination, configuration);
}

} // namespace qor::Texsmith::Raw
