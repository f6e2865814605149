#include "steps/mip_steps.h"

#include "console.h"
#include "failure.h"
#include "file_info.h"
#include "float_image.h"
#include "progress_bar.h"
#include "resizing.h"

#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/mip_maps.h"
#include "qor/texsmith/raw/reformat.h"
#include "qor/texsmith/raw/texture.h"
#include "qor/texsmith/raw/view.h"
#include "qor/vex/data_formats.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <vector>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

// Of the image's shape, with that many mips at most.
Vex::Texture chainTexture(const Raw::MemoryMappedImage& image, Vex::DataFormat format, unsigned most) {
    Vex::Texture texture = Raw::changeDataFormat(*image.getVexTexture(), format);
    unsigned length = std::max({texture.getWidth(), texture.getHeight(), Raw::getDepthOfMip(texture, 0)}),
             mips = 1;
    for (; length > 1; length /= 2) {
        ++mips;
    }
    texture.setMipLevelRange(0, std::min(most, mips) - 1);
    return texture;
}

void makeMips(Raw::MemoryMappedImage* image, Raw::MemoryMappedImage* chain, Configuration* configuration) {
    Configuration mips = *configuration;
    // Made from one another, compressed mips would gather the losses of all above them.
    mips.m_encoderConfiguration.m_mipsFromPreviousMip = !chain->getDataFormat().isBlockCompressedFormat();
    const Raw::SurfaceCount count = chain->getSurfaceCount();
    ProgressBar progress("mips", count.mips * count.faces * count.arrayEntries);
    if (Raw::makeMipMaps(image, chain, &mips, progress.counter()) != 0) {
        throwUnsupported("no mips can be made of " + formatName(image->getDataFormat()));
    }
}

// By another filter than a box, each level of the one before it.
void makeFilteredMips(const Raw::MemoryMappedImage& image, Raw::MemoryMappedImage* chain,
                      const std::string& filter, Configuration* configuration) {
    Vex::Texture level = *image.getVexTexture();
    level.setMipLevelRange(0, 0);
    OwnedImage last = makeImage(level);
    const auto copyLevel = [](const Raw::MemoryMappedImage& from, unsigned fromMip,
                              Raw::MemoryMappedImage* to, unsigned toMip) {
        forEachSurface(from, [&](Raw::SurfaceIndex index) {
            if (index.mip != fromMip) {
                return;
            }
            const MemoryRegion source = from.getMemoryRegion(&index);
            index.mip = toMip;
            std::memcpy(to->getMemoryRegion(&index).begin, source.begin,
                        static_cast<std::size_t>(source.length()));
        });
    };
    copyLevel(image, 0, last.get(), 0);
    copyLevel(image, 0, chain, 0);
    for (unsigned mip = 1; mip < chain->getSurfaceCount().mips; ++mip) {
        const Size size = {std::max(1u, image.getVexTexture()->getWidth() >> mip),
                           std::max(1u, image.getVexTexture()->getHeight() >> mip)};
        last = resized(*last, size, filter, configuration);
        copyLevel(*last, 0, chain, mip);
    }
}

template <typename Use> void forEachTexelOf(const Raw::MemoryMappedImage& floats, unsigned mip, Use use) {
    forEachSurface(floats, [&](const Raw::SurfaceIndex& index) {
        const Raw::ElementRows rows = floats.getElementRows(&index);
        for (unsigned y = 0; index.mip == mip && rows.m_memory != nullptr && y < rows.m_tall; ++y) {
            float* const row = reinterpret_cast<float*>(rows.row(y));
            for (unsigned x = 0; x < rows.m_wide; ++x) {
                use(row + std::size_t{x} * 4);
            }
        }
    });
}

// Halfway between two neighbours that the format can hold, so that rounding moves nothing across it.
float betweenSteps(float threshold, Vex::DataFormat format) {
    const Vex::TextureChannel alpha = format.getChannel(3);
    const auto& bits = Raw::getSurfaceFormatInfo(format.getSurfaceFormat()).bitsPerChannel;
    if (format.getTextureChannelType() == Vex::kTextureChannelTypeFloat || alpha < Vex::kTextureChannelX) {
        return threshold;
    }
    const unsigned width = format.isBlockCompressedFormat() ? 8 : bits[alpha - Vex::kTextureChannelX];
    const float steps = static_cast<float>((1u << std::clamp(width, 1u, 16u)) - 1);
    return (std::floor(threshold * steps) + 0.5f) / steps;
}

std::vector<float> alphasOf(const Raw::MemoryMappedImage& floats, unsigned mip) {
    std::vector<float> alphas;
    forEachTexelOf(floats, mip, [&alphas](const float* texel) { alphas.push_back(texel[3]); });
    return alphas;
}

// The scale under which as near to `wanted` alphas as can be are above the threshold.
float scaleForCoverage(std::vector<float> alphas, float threshold, std::size_t wanted) {
    std::sort(alphas.begin(), alphas.end(), std::greater<>());
    const auto begin = alphas.begin(), end = alphas.end();
    auto cut = begin + static_cast<std::ptrdiff_t>(std::min(wanted, alphas.size()));
    if (cut != begin && cut != end && cut[-1] == *cut) { // equal ones go together
        const auto first = std::lower_bound(begin, end, *cut, std::greater<>());
        const auto last = std::upper_bound(begin, end, *cut, std::greater<>());
        cut = cut - first < last - cut ? first : last;
    }
    while (cut != begin && cut[-1] <= 0) { // which no scale covers
        --cut;
    }
    const float highestLeft = cut != end ? std::max(*cut, 0.0f) : 0.0f;
    if ((cut == begin || cut[-1] > threshold) && highestLeft <= threshold) {
        return 1;
    }
    return cut != begin ? 2 * threshold / (cut[-1] + highestLeft) : threshold / highestLeft * 0.99f;
}

void keepCoverage(Raw::MemoryMappedImage* floats, float threshold) {
    const std::vector<float> largest = alphasOf(*floats, 0);
    const auto covered =
        std::count_if(largest.begin(), largest.end(), [=](float alpha) { return alpha > threshold; });
    const double coverage =
        static_cast<double>(covered) / static_cast<double>(std::max<std::size_t>(1, largest.size()));
    if (coverage == 0 || coverage == 1) {
        hint(std::string("--alpha-coverage does nothing here: ") + (coverage == 0 ? "none" : "all") +
             " of the largest level is above the threshold");
        return;
    }
    for (unsigned mip = 1; mip < floats->getSurfaceCount().mips; ++mip) {
        std::vector<float> alphas = alphasOf(*floats, mip);
        const auto wanted =
            static_cast<std::size_t>(std::llround(coverage * static_cast<double>(alphas.size())));
        const float scale = scaleForCoverage(std::move(alphas), threshold, wanted);
        forEachTexelOf(*floats, mip, [scale](float* texel) { texel[3] = std::min(1.0f, texel[3] * scale); });
    }
}

// How normals lie in the numbers of a format.
struct NormalEncoding {
    bool m_isSigned; // -1 to 1, else 0 to 1
    bool m_hasZ;

    float decode(float value) const { return m_isSigned ? value : 2 * value - 1; }
    float encode(float value) const { return m_isSigned ? value : (value + 1) / 2; }
};

bool isSignedNorm(Vex::TextureChannelType type) {
    return type == Vex::kTextureChannelTypeSNorm || type == Vex::kTextureChannelTypeSNormNoZero;
}

NormalEncoding normalEncodingOf(Vex::DataFormat format) {
    const Vex::TextureChannelType type = format.getTextureChannelType();
    const bool isSigned = isSignedNorm(type) || type == Vex::kTextureChannelTypeFloat;
    return {isSigned, holdsZ(format)};
}

void fillInZ(float* texel, const NormalEncoding& encoding) {
    const float x = encoding.decode(texel[0]), y = encoding.decode(texel[1]);
    texel[2] = encoding.encode(std::sqrt(std::max(0.0f, 1 - x * x - y * y)));
}

// A normal of no length looks straight up.
void normalize(float* texel, const NormalEncoding& encoding) {
    float normal[3], squares = 0;
    for (unsigned i = 0; i < 3; ++i) {
        normal[i] = encoding.decode(texel[i]);
        squares += normal[i] * normal[i];
    }
    const float length = std::sqrt(squares);
    for (unsigned i = 0; i < 3; ++i) {
        texel[i] = encoding.encode(length > 0 ? normal[i] / length : i == 2 ? 1.0f : 0.0f);
    }
}

// In that format, after change(texel, encoding) of every texel.
template <typename Change>
OwnedImage withNormals(const Raw::MemoryMappedImage& image, Vex::DataFormat format, Change change,
                       Configuration* configuration) {
    const OwnedImage floats = inFormat(image, Vex::kDataFormatR32G32B32A32Float, configuration);
    const NormalEncoding encoding = normalEncodingOf(image.getDataFormat());
    for (unsigned mip = 0; mip < floats->getSurfaceCount().mips; ++mip) {
        forEachTexelOf(*floats, mip, [&](float* texel) { change(texel, encoding); });
    }
    return inFormat(*floats, format, configuration);
}

// Averages need all of the normals, and so a Z before there are any.
OwnedImage floatsOf(const Raw::MemoryMappedImage& image, bool isNormalMap, Configuration* configuration) {
    OwnedImage floats = inFormat(image, Vex::kDataFormatR32G32B32A32Float, configuration);
    const NormalEncoding encoding = normalEncodingOf(image.getDataFormat());
    if (isNormalMap && !encoding.m_hasZ) {
        forEachTexelOf(*floats, 0, [&](float* texel) { fillInZ(texel, encoding); });
    }
    return floats;
}

// Through a chain of floats, for what the library's own chains do not do.
OwnedImage withComputedMips(const Raw::MemoryMappedImage& image, const StepOptions& options,
                            Configuration* configuration) {
    if (Raw::getDepthOfMip(*image.getVexTexture(), 0) > 1 && options.m_mipFilter != "box") {
        throw Failure("the mips of volumes are made by a box filter", kExitUnsupported);
    }
    const Vex::DataFormat format = image.getDataFormat();
    const OwnedImage base = floatsOf(image, options.m_isNormalMap, configuration);
    OwnedImage floats = makeImage(chainTexture(*base, base->getDataFormat(), options.m_mostMips));
    if (options.m_mipFilter == "box") {
        makeMips(base.get(), floats.get(), configuration);
    } else {
        makeFilteredMips(*base, floats.get(), options.m_mipFilter, configuration);
    }
    if (options.m_isNormalMap) {
        const NormalEncoding encoding = normalEncodingOf(format);
        for (unsigned mip = 1; mip < floats->getSurfaceCount().mips; ++mip) {
            forEachTexelOf(*floats, mip, [&](float* texel) { normalize(texel, encoding); });
        }
    }
    if (options.m_alphaCoverage) {
        keepCoverage(floats.get(), betweenSteps(*options.m_alphaCoverage, format));
    }
    OwnedImage chain = inFormat(*floats, format, configuration);
    forEachSurface(image, [&](const Raw::SurfaceIndex& index) { // the largest level as it was
        const MemoryRegion from = image.getMemoryRegion(&index);
        if (index.mip == 0) {
            std::memcpy(chain->getMemoryRegion(&index).begin, from.begin,
                        static_cast<std::size_t>(from.length()));
        }
    });
    return chain;
}

} // namespace

bool holdsZ(Vex::DataFormat format) {
    const Vex::TextureChannel z = format.getChannel(2);
    return z >= Vex::kTextureChannelX && z != format.getChannel(0) && z != format.getChannel(1);
}

OwnedImage withZ(OwnedImage image, Configuration* configuration) {
    const Vex::DataFormat format = image->getDataFormat();
    if (holdsZ(format)) {
        return image;
    }
    return withNormals(*image, fourChannelsLike(format), &fillInZ, configuration);
}

OwnedImage withNormalsFor(Vex::TextureChannelType destination, OwnedImage image,
                          Configuration* configuration) {
    const Vex::TextureChannelType source = image->getDataFormat().getTextureChannelType();
    const bool wasUnsigned = source == Vex::kTextureChannelTypeUNorm, wasSigned = isSignedNorm(source);
    if (!(wasUnsigned && isSignedNorm(destination)) &&
        !(wasSigned && destination == Vex::kTextureChannelTypeUNorm)) {
        return image;
    }
    const Vex::DataFormat format =
        wasSigned ? Vex::kDataFormatR16G16B16A16Unorm : Vex::kDataFormatR16G16B16A16Snorm;
    const auto change = [wasSigned](float* texel, const NormalEncoding& encoding) {
        for (unsigned i = 0; i < 3; ++i) {
            texel[i] = wasSigned ? (texel[i] + 1) / 2 : encoding.decode(texel[i]);
        }
    };
    const OwnedImage whole = withZ(std::move(image), configuration);
    return withNormals(*whole, format, change, configuration);
}

OwnedImage withUnitLengths(OwnedImage image, Configuration* configuration) {
    return withNormals(*image, image->getDataFormat(), &normalize, configuration);
}

OwnedImage withMips(OwnedImage image, const StepOptions& options, Configuration* configuration) {
    OwnedImage chain;
    const bool isPlain = options.m_mipFilter == "box" && !options.m_alphaCoverage && !options.m_isNormalMap;
    if (isPlain) {
        chain = makeImage(chainTexture(*image, image->getDataFormat(), options.m_mostMips));
        chain->setModifiers(image->getModifiers());
        makeMips(image.get(), chain.get(), configuration);
    } else {
        chain = withComputedMips(*image, options, configuration);
        chain->setModifiers(image->getModifiers());
    }
    return chain;
}

} // namespace Tool
