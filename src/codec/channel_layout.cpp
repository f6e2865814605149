#include "codec/channel_layout.h"

#include "qor/texsmith/raw/format.h"
#include "qor/vex/data_formats.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>

namespace qor::Texsmith::Raw {
namespace {

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

bool isSrgb(const Image& image) {
    return image.getDataFormat().getTextureChannelType() == Vex::kTextureChannelTypeSrgb;
}

} // namespace

ChannelLayout layoutOf(const Image& image) {
    const Vex::DataFormat format = image.getDataFormat();
    return {isGrey(format) && image.getModifiers().m_decode.isNop(),
            format.getChannel(3) >= Vex::kTextureChannelX,
            isDeep(format) ? ChannelDepth::k16 : ChannelDepth::k8};
}

bool fitsHalf(const Image& image) {
    const Vex::DataFormat format = image.getDataFormat();
    const auto& bits = getSurfaceFormatInfo(format.getSurfaceFormat()).bitsPerChannel;
    const unsigned most = *std::max_element(std::begin(bits), std::end(bits));
    const bool isFloat = format.getTextureChannelType() == Vex::kTextureChannelTypeFloat;
    return format.isBlockCompressedFormat() || most <= (isFloat ? 16u : 11u);
}

ChannelLayout layoutToKeep(const Image& image, ChannelDepth most) {
    ChannelLayout layout = layoutOf(image);
    layout.m_depth = std::min(layout.m_depth, most);
    layout.m_isGrey =
        layout.m_isGrey &&
        (!layout.m_hasAlpha || image.getDataFormat() == formatOf(layout, Vex::kTextureChannelTypeUNorm));
    return layout;
}

std::uint8_t* makeRows(const FileKind& kind, ReallocatableImage* image, unsigned width, unsigned height,
                       Vex::DataFormat format) {
    const MemoryRegion rows = allocateFlatImage(kind, image, width, height, format);
    std::fill(rows.begin, rows.end, std::uint8_t{0});
    return rows.begin;
}

Error writeRows(const FileKind& kind, const Image& source, const ChannelLayout& layout,
                ResizableMemoryRegion* destination, Configuration* configuration, WriteRows write) {
    const Vex::DataFormat format =
        formatOf(layout, isSrgb(source) ? Vex::kTextureChannelTypeSrgb : Vex::kTextureChannelTypeUNorm);
    const EncoderEffort effort = configuration->m_encoderConfiguration.m_effort;
    const auto writeFile = [&](const Image& image, ResizableMemoryRegion* place) {
        const MemoryRegion elements = firstSurface(image);
        const unsigned width = image.getPixelsWide(0), height = image.getPixelsTall(0);
        std::vector<std::uint8_t> file;
        const Error error = write({elements.begin, elements.length() / height, width, height, layout,
                                   isSrgb(image) || configuration->m_numbersAreSrgb, effort},
                                  &file);
        if (error != kErrorNone || !resizeFile(kind, place, file.size())) {
            return error != kErrorNone ? error : kErrorFailed;
        }
        std::memcpy(place->begin, file.data(), file.size());
        return kErrorNone;
    };
    return writeInFormat(kind, source, format, Transforms::kApply, destination, configuration, writeFile);
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
