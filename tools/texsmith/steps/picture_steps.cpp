#include "steps/picture_steps.h"

#include "failure.h"
#include "float_image.h"

#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/reformat.h"
#include "qor/texsmith/raw/texture.h"
#include "qor/texsmith/raw/view.h"
#include "qor/vex/data_formats.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

Size sizeOf(const Raw::MemoryMappedImage& image) {
    return {image.getVexTexture()->getWidth(), image.getVexTexture()->getHeight()};
}

bool isCube(const Raw::MemoryMappedImage& image) { return image.getSurfaceCount().faces > 1; }

// Texels that lie alone, so that they can be moved.
bool hasPlainTexels(Vex::DataFormat format) {
    const Raw::SurfaceFormatInfo& info = Raw::getSurfaceFormatInfo(format.getSurfaceFormat());
    return info.blockWidth == 1 && info.blockHeight == 1 && info.bytesPerElement != 0 &&
           format.getSurfaceFormat() != Vex::kSurfaceFormatGB_GR &&
           format.getSurfaceFormat() != Vex::kSurfaceFormatBG_RG;
}

// The largest mip alone, in another size: texel x, y is the one of the source at columns[x], rows[y].
OwnedImage gathered(const Raw::MemoryMappedImage& image, const std::vector<unsigned>& columns,
                    const std::vector<unsigned>& rows) {
    Vex::Texture texture = *image.getVexTexture();
    texture.setWidthMinus1(static_cast<unsigned>(columns.size()) - 1);
    texture.setHeightMinus1(static_cast<unsigned>(rows.size()) - 1);
    texture.setMipLevelRange(0, 0);
    OwnedImage result = makeImage(texture);
    const std::size_t bytes =
        Raw::getSurfaceFormatInfo(image.getDataFormat().getSurfaceFormat()).bytesPerElement;
    forEachSurface(*result, [&](const Raw::SurfaceIndex& index) {
        const Raw::ElementRows from = image.getElementRows(&index), to = result->getElementRows(&index);
        if (from.m_memory == nullptr || to.m_memory == nullptr) {
            return;
        }
        for (unsigned y = 0; y < to.m_tall; ++y) {
            const std::uint8_t* source = from.row(rows[y]);
            std::uint8_t* destination = to.row(y);
            for (unsigned x = 0; x < to.m_wide; ++x, destination += bytes) {
                std::memcpy(destination, source + columns[x] * bytes, bytes);
            }
        }
    });
    result->setModifiers(image.getModifiers());
    return result;
}

// first, first + 1, ... as many as `count`, none above `last`.
std::vector<unsigned> rising(unsigned first, unsigned count, unsigned last) {
    std::vector<unsigned> list(count);
    for (unsigned i = 0; i < count; ++i) {
        list[i] = std::min(first + i, last);
    }
    return list;
}

OwnedImage cropped(const Raw::MemoryMappedImage& image, const Rectangle& crop) {
    const Size size = sizeOf(image);
    if (crop.m_x >= size.m_width || crop.m_y >= size.m_height || crop.m_width > size.m_width - crop.m_x ||
        crop.m_height > size.m_height - crop.m_y) {
        throw Failure("--crop asks for more than the " + std::to_string(size.m_width) + " x " +
                          std::to_string(size.m_height) + " texels that there are",
                      kExitWrongArguments);
    }
    return gathered(image, rising(crop.m_x, crop.m_width, size.m_width),
                    rising(crop.m_y, crop.m_height, size.m_height));
}

OwnedImage padded(const Raw::MemoryMappedImage& image, unsigned multiple) {
    const Size size = sizeOf(image);
    const auto up = [multiple](unsigned length) { return (length + multiple - 1) / multiple * multiple; };
    return gathered(image, rising(0, up(size.m_width), size.m_width - 1),
                    rising(0, up(size.m_height), size.m_height - 1));
}

OwnedImage turned(const Raw::MemoryMappedImage& image, bool mirrors, bool turnsOver) {
    const Size size = sizeOf(image);
    std::vector<unsigned> columns = rising(0, size.m_width, size.m_width);
    std::vector<unsigned> rows = rising(0, size.m_height, size.m_height);
    if (mirrors) {
        std::reverse(columns.begin(), columns.end());
    }
    if (turnsOver) {
        std::reverse(rows.begin(), rows.end());
    }
    return gathered(image, columns, rows);
}

OwnedImage halvedUntilItFits(const Raw::MemoryMappedImage& image, unsigned most, const std::string& filter,
                             Configuration* configuration) {
    Size size = sizeOf(image);
    while (size.m_width > most || size.m_height > most) {
        size = {std::max(1u, size.m_width / 2), std::max(1u, size.m_height / 2)};
    }
    return resized(image, size, filter, configuration);
}

void checkReformat(Raw::Error error) {
    if (error != Raw::kErrorNone) {
        throw Failure("the channels cannot be changed: " + firstReport(), kExitUnsupported);
    }
}

// Calls change(rgba) with every texel of every mip, as floats.
template <typename Change>
void changeTexels(Raw::MemoryMappedImage* image, SrgbValues srgb, Configuration* configuration,
                  Change change) {
    Configuration conversion = *configuration;
    conversion.m_decoderConfiguration.m_srgbAsLinear = srgb == SrgbValues::kAsStored;
    conversion.m_encoderConfiguration.m_srgbAsLinear = srgb == SrgbValues::kAsStored;
    OwnedImage floats =
        makeImage(Raw::changeDataFormat(*image->getVexTexture(), Vex::kDataFormatR32G32B32A32Float));
    checkReformat(Raw::reformat(image, floats.get(), &conversion));
    forEachSurface(*floats, [&](const Raw::SurfaceIndex& index) {
        const Raw::ElementRows rows = floats->getElementRows(&index);
        for (unsigned y = 0; rows.m_memory != nullptr && y < rows.m_tall; ++y) {
            float* const row = reinterpret_cast<float*>(rows.row(y));
            for (unsigned x = 0; x < rows.m_wide; ++x) {
                change(row + std::size_t{x} * 4);
            }
        }
    });
    checkReformat(Raw::reformat(floats.get(), image, &conversion));
}

unsigned indexOf(char channel) { return static_cast<unsigned>(std::string_view("rgba").find(channel)); }

void swizzle(Raw::MemoryMappedImage* image, const std::string& channels, Configuration* configuration) {
    changeTexels(image, SrgbValues::kAsStored, configuration, [&channels](float* texel) {
        const float old[] = {texel[0], texel[1], texel[2], texel[3]};
        for (unsigned i = 0; i < 4; ++i) {
            const char from = channels[i];
            texel[i] = from == '0' ? 0.0f : from == '1' ? 1.0f : old[indexOf(from)];
        }
    });
}

// Of the range 0 to 1, or -1 to 1 for types with a sign.
void invert(Raw::MemoryMappedImage* image, const std::string& channels, Configuration* configuration) {
    const Vex::TextureChannelType type = image->getDataFormat().getTextureChannelType();
    const bool isSigned =
        type == Vex::kTextureChannelTypeSNorm || type == Vex::kTextureChannelTypeSNormNoZero;
    changeTexels(image, SrgbValues::kAsStored, configuration, [&](float* texel) {
        for (const char channel : channels) {
            float& value = texel[indexOf(channel)];
            value = isSigned ? -value : 1.0f - value;
        }
    });
}

void premultiply(Raw::MemoryMappedImage* image, Configuration* configuration) {
    changeTexels(image, SrgbValues::kAsLight, configuration, [](float* texel) {
        for (unsigned i = 0; i < 3; ++i) {
            texel[i] *= texel[3];
        }
    });
}

OwnedImage withChannels(OwnedImage image, const StepOptions& options, Configuration* configuration) {
    const Vex::DataFormat wide = fourChannelsLike(image->getDataFormat());
    if (!(wide == image->getDataFormat())) {
        image = inFormat(*image, wide, configuration);
    }
    if (!options.m_swizzle.empty()) {
        swizzle(image.get(), options.m_swizzle, configuration);
    }
    if (!options.m_inverted.empty()) {
        invert(image.get(), options.m_inverted, configuration);
    }
    if (options.m_premultiplies) {
        premultiply(image.get(), configuration);
    }
    return image;
}

} // namespace

OwnedImage withPictureSteps(OwnedImage image, const StepOptions& options, const std::optional<Size>& size,
                            const std::string& filter, Configuration* configuration) {
    if (image->getSurfaceCount().fragments > 1) {
        throw Failure("textures of several samples cannot be changed like that", kExitUnsupported);
    }
    if (isCube(*image) && (options.m_crop || options.m_padToMultiple)) {
        throw Failure("the faces of a cubemap are neither cropped nor padded", kExitUnsupported);
    }
    const Vex::DataFormat format = image->getDataFormat();
    const bool staysAsItIs = !options.changePicture(); // but for its size
    if (!staysAsItIs && !hasPlainTexels(format)) {
        image = inFormat(*image, fourChannelsLike(format), configuration);
    }
    if (options.m_crop) {
        image = cropped(*image, *options.m_crop);
    }
    if (options.m_mirrors || options.m_turnsOver) {
        image = turned(*image, options.m_mirrors, options.m_turnsOver);
    }
    if (options.changeChannels()) {
        image = withChannels(std::move(image), options, configuration);
    }
    if (size) {
        image = resized(*image, *size, filter, configuration);
    }
    if (options.m_maxSize) {
        image = halvedUntilItFits(*image, *options.m_maxSize, filter, configuration);
    }
    if (options.m_padToMultiple) {
        image = padded(*image, *options.m_padToMultiple);
    }
    return staysAsItIs || hasPlainTexels(format) ? std::move(image) : inFormat(*image, format, configuration);
}

OwnedImage withTileMode(OwnedImage image, Vex::TileMode mode) {
    Vex::Texture texture = *image->getVexTexture();
    texture.setTileMode(mode);
    OwnedImage result = makeImage(texture);
    const MemoryRegion from = image->getMemoryRegion(), to = result->getMemoryRegion();
    std::memcpy(to.begin, from.begin, static_cast<std::size_t>(std::min(from.length(), to.length())));
    result->setModifiers(image->getModifiers());
    return result;
}

} // namespace Tool
