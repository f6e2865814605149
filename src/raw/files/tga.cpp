// Reads TGA files of every kind that has a format here, and writes those of 32 bits.
#include "qor/texsmith/raw/tga.h"

#include "qor/texsmith/raw/bithacks.h"
#include "qor/vex/data_formats.h"
#include "raw/files/describe.h"
#include "raw/files/flat_image.h"
#include "raw/files/tga_encode.h"
#include "raw/files/tga_header.h"
#include "raw/files/tga_view.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\files\\tga";

constexpr FileKind kKind = {"TGA", kSourcePath};

struct Fault {
    Error m_error;
    const char* m_reason;
};

constexpr Fault kFaults[] = {
    {kErrorTgaTooSmall, "it is too small for its header"},
    {kErrorTgaColorMapType, "its type of colour map is unknown"},
    {kErrorTgaNoImageData, "it holds no image"},
    {kErrorTgaImageType, "its image type is unknown"},
    {kErrorTgaMissingColorMap, "it lacks the colour map that its pixels need"},
    {kErrorTgaEmptyColorMap, "its colour map is empty"},
    {kErrorTgaUnexpectedColorMap, "it has a colour map that its pixels do not use"},
    {kErrorTgaZeroDimension, "its width or height is zero"},
    {kErrorTgaPixelDepth, "its number of bits per pixel is unknown"},
    {kErrorTgaColorMapEntrySize, "the entries of its colour map have an unknown size"},
    {kErrorTgaUnsupported, "no texture format holds its pixels"},
};

Error report(Error error) {
    const auto* fault = std::find_if(std::begin(kFaults), std::end(kFaults),
                                     [error](const Fault& candidate) { return candidate.m_error == error; });
    refuseFile(kKind, fault->m_reason);
    return error;
}

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
    {true, 8, Vex::kDataFormatL8Unorm},
    {true, 16, Vex::kDataFormatL16Unorm},
    {true, 32, {0x324004}}, // one channel of 32 bits
    {false, 16, Vex::kDataFormatB5G5R5A1Unorm},
    {false, 24, Vex::kDataFormatB8G8R8X8Unorm},
    {false, 32, kTgaFormat},
    {false, 48, {0x32E002}},
    {false, 64, {0xF2E002}},
};

// Format 0 when the table has none.
Vex::DataFormat formatInTable(const TgaHeader& header) {
    const auto* row =
        std::find_if(std::begin(kFormats), std::end(kFormats), [&header](const FormatRow& candidate) {
            return candidate.m_isGrey == header.isGrey() && candidate.m_bits == header.elementBits();
        });
    return row != std::end(kFormats) ? row->m_format : Vex::DataFormat{0};
}

// Of the options, the one that makes a difference to such a file, or none.
std::uint32_t effectiveOption(const TgaHeader& header, std::uint32_t readingOptions) {
    if (header.elementBits() != 16) {
        return kReadLiterally;
    }
    if (header.isGrey()) {
        return header.attributeBits() == 8 ? readingOptions & kReadTgaGreyWithAlpha : kReadLiterally;
    }
    return header.attributeBits() == 0 ? readingOptions & kReadTgaColorAsOpaque : kReadLiterally;
}

Vex::DataFormat chooseFormat(const TgaHeader& header, std::uint32_t readingOptions,
                             Vex::TextureChannelType channelType) {
    switch (effectiveOption(header, readingOptions)) {
    case kReadTgaGreyWithAlpha: // of sRGB texels alpha is the fourth channel: the curve is for three
        return channelType == Vex::kTextureChannelTypeSrgb ? Vex::kDataFormatR8G8B8A8Unorm
                                                           : Vex::kDataFormatL8A8Unorm;
    case kReadTgaColorAsOpaque:
        return Vex::kDataFormatB5G5R5X1Unorm;
    default:
        return formatInTable(header);
    }
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

// Two bytes of grey and alpha stand for four.
bool isSpread(const TgaHeader& header, Vex::DataFormat format) {
    return header.isGrey() && header.m_pixelBits == 16 && format.getBytesPerElement() == 4;
}

// From the second half of the elements, where grey and alpha were decoded to. Element i begins before them.
void spreadGreyAndAlpha(MemoryRegion elements) {
    const std::uint64_t count = elements.length() / 4;
    const std::uint8_t* from = elements.begin + count * 2;
    for (std::uint64_t i = 0; i < count; ++i, from += 2) {
        const std::uint8_t grey = from[0], alpha = from[1];
        const std::uint8_t element[] = {grey, grey, grey, alpha};
        std::memcpy(elements.begin + i * 4, element, sizeof element);
    }
}

// Null for pixels of 48 and 64 bits, which have a format and no decoder.
TgaDecoder findDecoder(const TgaHeader& header, Vex::DataFormat format) {
    const unsigned pixelBytes = header.m_pixelBits / 8;
    const unsigned elementBytes = isSpread(header, format) ? pixelBytes : format.getBytesPerElement();
    const TgaLayout layout{elementBytes, pixelBytes,
                           header.isMapped() ? header.m_mapEntryBits / 8 : pixelBytes, header.isMapped()};
    return findTgaDecoder(layout, header.order());
}

// A few runs can stand for any number of pixels, so those of an image that is large for its file are counted
// first.
bool checkClaim(const TgaPixels& pixels, unsigned pixelBytes, unsigned elementBytes) {
    ImageClaim claim{pixels.m_width, pixels.m_height,
                     checkedSize(elementBytes, pixels.m_width, pixels.m_height), pixels.m_pixels.length(),
                     kMostGainOfPlainTexels};
    if (pixels.m_isRunLength && !isClaimCredible(claim.m_imageBytes, claim.m_fileBytes, claim.m_mostGain)) {
        claim.m_fileBytes = std::max(claim.m_fileBytes, elementBytes * countTgaPixels(pixels, pixelBytes));
    }
    return isClaimJust(kKind, claim);
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
    const Vex::DataFormat format =
        chooseFormat(header, configuration.m_readingOptions, configuration.m_textureChannelType);
    if (format.getSurfaceFormat() == Vex::kSurfaceFormatInvalid) {
        return {kErrorTgaUnsupported};
    }
    return {kErrorNone, format.withTextureChannelType(configuration.m_textureChannelType)};
}

Error readFile(MemoryRegion file, ReallocatableImage* destination, const Configuration& configuration) {
    if (file.length() < kTgaHeaderBytes) {
        return report(kErrorTgaTooSmall);
    }
    const TgaHeader header(file.begin);
    const Outline outline = outlineOf(header, configuration);
    if (outline.m_error != kErrorNone) {
        return report(outline.m_error);
    }
    const TgaDecoder decoder = findDecoder(header, outline.m_format);
    if (decoder == nullptr) {
        return refuseFile(kKind, "pixels of its size are not supported");
    }
    const TgaPixels pixels = makePixels(header, file);
    if (!imageSizeFits(kKind, header.m_width, header.m_height) ||
        !checkClaim(pixels, header.m_pixelBits / 8, outline.m_format.getBytesPerElement())) {
        return kErrorFailed;
    }
    const MemoryRegion elements =
        allocateFlatImage(kKind, destination, header.m_width, header.m_height, outline.m_format);
    if (elements.length() == 0) {
        return kErrorFailed;
    }
    const bool spreads = isSpread(header, outline.m_format);
    const std::uint64_t missing =
        decoder(spreads ? elements.begin + elements.length() / 2 : elements.begin, pixels);
    if (spreads) {
        spreadGreyAndAlpha(elements);
    }
    return reportMissingTexels(kKind, missing, std::uint64_t{header.m_width} * header.m_height);
}

} // namespace

Error convertFromTga(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration) {
    return readFlatImage(kKind, source, destination, configuration, [=](const MemoryRegion* file) {
        return readFile(*file, destination, *configuration);
    });
}

bool describeTga(FileDescription* description, const DescribedFile& file) {
    if (file.m_region.length() < kTgaHeaderBytes) {
        return false;
    }
    const TgaHeader header(file.m_region.begin);
    const Outline outline = outlineOf(header, *file.m_configuration);
    describeFlat(description, header.m_width, header.m_height, outline.m_format);
    description->m_attributeBits = header.attributeBits();
    description->m_readingOptions |= effectiveOption(header, file.m_configuration->m_readingOptions);
    return outline.m_error == kErrorNone;
}

bool viewTga(RegionImage* view, RowOrder* rowOrder, const MemoryRegion& source,
             const Configuration& configuration) {
    if (source.length() < kTgaHeaderBytes) {
        return false;
    }
    const TgaHeader header(source.begin);
    const Outline outline = outlineOf(header, configuration);
    if (outline.m_error != kErrorNone || !header.isPlain() ||
        std::max(header.m_width, header.m_height) > Vex::kMaxTextureSize) {
        return false;
    }
    view->setup(flatTexture(header.m_width, header.m_height, outline.m_format),
                makePixels(header, source).m_pixels);
    *rowOrder = (header.order() & kTgaTopDown) != 0 ? RowOrder::kTopDown : RowOrder::kBottomUp;
    return header.m_pixelBits == view->getBytesPerElement() * 8 &&
           view->getMemoryRegion().length() == view->getBytesTotal();
}

Error convertToTga(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    return writeFlatImage(kKind, source, destination, configuration, [=] {
        return writeApart(
            overlap(source->getStorage(), *destination), destination,
            [=](ResizableMemoryRegion* place) { return writeTga(*source, place, configuration); });
    });
}

} // namespace qor::Texsmith::Raw
