#include "qor/texsmith/raw/tga.h"

#include "qor/texsmith/raw/reformat.h"
#include "raw/convert_arguments.h"
#include "raw/default_tile_mode.h"
#include "raw/tga_decode.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\tga";

constexpr unsigned kHeaderBytes = 18;
constexpr unsigned kMaxSize = 16384;                // of a texture, either way
constexpr Vex::DataFormat kWrittenFormat{0xF2E00A}; // B8G8R8A8Unorm

constexpr std::uint8_t kTypeMapped = 1;
constexpr std::uint8_t kTypeColor = 2;
constexpr std::uint8_t kTypeGrey = 3;
constexpr std::uint8_t kTypeRunLength = 8; // added to the three above
constexpr std::uint8_t kDescriptorRightToLeft = 0x10;
constexpr std::uint8_t kDescriptorTopDown = 0x20;

//   0  u8  ID length          5  u16 map length            14  u16 height
//   1  u8  colour map type    7  u8  bits of a map entry   16  u8  bits of a pixel
//   2  u8  image type         8  2 x u16 origin            17  u8  descriptor
//   3  u16 first map entry   12  u16 width
struct Header {
    unsigned m_idLength;
    unsigned m_mapType;
    unsigned m_imageType;
    unsigned m_firstMapEntry;
    unsigned m_mapLength;
    unsigned m_mapEntryBits;
    unsigned m_width;
    unsigned m_height;
    unsigned m_pixelBits;
    unsigned m_descriptor;

    explicit Header(const std::uint8_t* bytes)
        : m_idLength(bytes[0]), m_mapType(bytes[1]), m_imageType(bytes[2]), m_firstMapEntry(word(bytes + 3)),
          m_mapLength(word(bytes + 5)), m_mapEntryBits(bytes[7]), m_width(word(bytes + 12)),
          m_height(word(bytes + 14)), m_pixelBits(bytes[16]), m_descriptor(bytes[17]) {}

    bool isRunLength() const { return (m_imageType & kTypeRunLength) != 0; }
    bool isMapped() const { return (m_imageType & ~kTypeRunLength) == kTypeMapped; }
    bool isGrey() const { return (m_imageType & ~kTypeRunLength) == kTypeGrey; }
    unsigned elementBits() const { return isMapped() ? m_mapEntryBits : m_pixelBits; }
    unsigned order() const {
        return ((m_descriptor & kDescriptorTopDown) != 0 ? kTgaTopDown : 0) |
               ((m_descriptor & kDescriptorRightToLeft) != 0 ? kTgaRightToLeft : 0);
    }

private:
    static unsigned word(const std::uint8_t* bytes) { return bytes[0] | unsigned(bytes[1]) << 8; }
};

Error checkImageType(const Header& header) {
    if (header.m_imageType == 0) {
        return kErrorTgaNoImageData;
    }
    const unsigned kind = header.m_imageType & ~kTypeRunLength;
    return kind >= kTypeMapped && kind <= kTypeGrey ? kErrorNone : kErrorTgaImageType;
}

Error checkColorMap(const Header& header) {
    if (!header.isMapped()) {
        return header.m_mapType == 1 ? kErrorTgaUnexpectedColorMap : kErrorNone;
    }
    if (header.m_mapType == 0) {
        return kErrorTgaMissingColorMap;
    }
    return header.m_mapLength == 0 ? kErrorTgaEmptyColorMap : kErrorNone;
}

Error checkBits(const Header& header) {
    constexpr unsigned kPixelBits[] = {8, 16, 24, 32, 48, 64};
    constexpr unsigned kEntryBits[] = {8, 16, 24, 32};
    if (std::find(std::begin(kPixelBits), std::end(kPixelBits), header.m_pixelBits) == std::end(kPixelBits)) {
        return kErrorTgaPixelDepth;
    }
    const auto* entry = std::find(std::begin(kEntryBits), std::end(kEntryBits), header.m_mapEntryBits);
    return header.isMapped() && entry == std::end(kEntryBits) ? kErrorTgaColorMapEntrySize : kErrorNone;
}

Error checkHeader(const Header& header) {
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
    {false, 32, kWrittenFormat}, {false, 48, {0x32E002}}, {false, 64, {0xF2E002}},
};

// Format 0 when the table has none.
Vex::DataFormat chooseFormat(const Header& header, Vex::TextureChannelType channelType) {
    const auto* row =
        std::find_if(std::begin(kFormats), std::end(kFormats), [&header](const FormatRow& candidate) {
            return candidate.m_isGrey == header.isGrey() && candidate.m_bits == header.elementBits();
        });
    if (row == std::end(kFormats)) {
        return {0};
    }
    return {(row->m_format.m_word & ~0xF00u) | (std::uint32_t(channelType) & 0xF) << 8};
}

bool sizeFits(const Header& header) {
    if (header.m_width <= kMaxSize && header.m_height <= kMaxSize) {
        return true;
    }
    toolsWarning(kSourcePath, __LINE__, "The TGA image is %u x %u, but a texture is at most %u x %u.",
                 header.m_width, header.m_height, kMaxSize, kMaxSize);
    return false;
}

void allocate(ReallocatableImage* image, const Header& header, Vex::DataFormat format) {
    const Vex::TileMode tileMode = defaultTileMode(GpuAddress::kSurfaceTypeTextureFlat, format, 1);
    Vex::Texture texture;
    texture.initAs2dArray(header.m_width, header.m_height, 1, 0, 1, format, tileMode, Vex::kNumFragments1,
                          false);
    image->reallocate(&texture);
    image->setModifiers(Modifiers());
}

// Cuts up to `bytes` off the front of `region`.
MemoryRegion takeFront(MemoryRegion* region, std::uint64_t bytes) {
    MemoryRegion front = *region;
    front.end = front.begin + std::min<std::uint64_t>(bytes, region->length());
    region->begin = front.end;
    return front;
}

TgaPixels makePixels(const Header& header, MemoryRegion file) {
    TgaPixels pixels{};
    takeFront(&file, kHeaderBytes);
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

Error decodePixels(const Header& header, MemoryRegion file, ReallocatableImage* image) {
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

// Of a colour image of 32 bits, top row first, without ID and map.
void writeHeader(std::uint8_t* bytes, unsigned width, unsigned height) {
    std::memset(bytes, 0, kHeaderBytes);
    bytes[2] = kTypeColor;
    bytes[12] = static_cast<std::uint8_t>(width & 0xFF);
    bytes[13] = static_cast<std::uint8_t>(width >> 8);
    bytes[14] = static_cast<std::uint8_t>(height & 0xFF);
    bytes[15] = static_cast<std::uint8_t>(height >> 8);
    bytes[16] = 32;
    bytes[17] = kDescriptorTopDown;
}

Error writeFile(const Image& image, ResizableMemoryRegion* destination) {
    const SurfaceIndex first;
    const MemoryRegion elements = image.getMemoryRegion(&first);
    const std::uint64_t bytes = kHeaderBytes + elements.length();
    if (elements.length() == 0) {
        return kErrorFailed;
    }
    destination->resize(bytes);
    if (destination->length() < bytes) {
        return kErrorFailed;
    }
    writeHeader(destination->begin, image.getPixelsWide(0), image.getPixelsTall(0));
    std::memcpy(destination->begin + kHeaderBytes, elements.begin, elements.length());
    return kErrorNone;
}

} // namespace

Error convertFromTga(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration) {
    if (!checkConvertArguments(source, destination, configuration, kSourcePath)) {
        return kErrorFailed;
    }
    if (source->length() < kHeaderBytes) {
        return kErrorTgaTooSmall;
    }
    const Header header(source->begin);
    if (const Error error = checkHeader(header); error != kErrorNone) {
        return error;
    }
    const Vex::DataFormat format = chooseFormat(header, configuration->m_textureChannelType);
    if (format.getSurfaceFormat() == Vex::kSurfaceFormatInvalid) {
        return kErrorTgaUnsupported;
    }
    if (!sizeFits(header)) {
        return kErrorFailed;
    }
    allocate(destination, header, format);
    return decodePixels(header, *source, destination);
}

Error convertToTga(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    if (!checkConvertArguments(source, destination, configuration, kSourcePath)) {
        return kErrorFailed;
    }
    if (source->getModifiers().m_decode.isNop() && source->getDataFormat() == kWrittenFormat) {
        return writeFile(*source, destination);
    }
    MemoryMappedImage converted;
    reallocate(&converted, source, kWrittenFormat);
    const Error error = reformat(source, &converted, configuration);
    return error == kErrorNone ? writeFile(converted, destination) : error;
}

} // namespace qor::Texsmith::Raw
