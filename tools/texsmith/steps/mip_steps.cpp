#include "steps/mip_steps.h"

#include "failure.h"
#include "file_info.h"
#include "float_image.h"
#include "progress_bar.h"
#include "resizing.h"

#include "qor/texsmith/raw/mip_maps.h"
#include "qor/texsmith/raw/reformat.h"
#include "qor/texsmith/raw/texture.h"
#include "qor/texsmith/raw/view.h"
#include "qor/vex/data_formats.h"

#include <algorithm>
#include <cmath>
#include <cstring>

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
    if (Raw::makeMipMaps(image, chain, &mips, progress.counter()) != 0 && firstReport().empty()) {
        throw Failure("no mips can be made of " + formatName(image->getDataFormat()), kExitUnsupported);
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

double coverageOf(const Raw::MemoryMappedImage& floats, unsigned mip, float threshold, float scale) {
    std::uint64_t covered = 0, all = 0;
    forEachTexelOf(floats, mip, [&](const float* texel) {
        covered += texel[3] * scale > threshold ? 1u : 0u;
        ++all;
    });
    return static_cast<double>(covered) / static_cast<double>(std::max<std::uint64_t>(1, all));
}

// The scale under which coverage comes nearest to what is wanted: coverage grows with it.
float scaleForCoverage(const Raw::MemoryMappedImage& floats, unsigned mip, float threshold, double wanted) {
    constexpr int kSteps = 16;
    float least = 0, most = 4, best = 1;
    double nearest = std::fabs(coverageOf(floats, mip, threshold, 1.0f) - wanted);
    for (int step = 0; step < kSteps && nearest > 0; ++step) {
        const float scale = (least + most) / 2;
        const double coverage = coverageOf(floats, mip, threshold, scale);
        if (std::fabs(coverage - wanted) < nearest) {
            nearest = std::fabs(coverage - wanted);
            best = scale;
        }
        (coverage < wanted ? least : most) = scale;
    }
    return best;
}

void keepCoverage(Raw::MemoryMappedImage* floats, float threshold) {
    const double wanted = coverageOf(*floats, 0, threshold, 1.0f);
    for (unsigned mip = 1; mip < floats->getSurfaceCount().mips; ++mip) {
        const float scale = scaleForCoverage(*floats, mip, threshold, wanted);
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

NormalEncoding normalEncodingOf(Vex::DataFormat format) {
    const Vex::TextureChannelType type = format.getTextureChannelType();
    const bool isSigned = type == Vex::kTextureChannelTypeSNorm ||
                          type == Vex::kTextureChannelTypeSNormNoZero ||
                          type == Vex::kTextureChannelTypeFloat;
    return {isSigned, format.getChannel(2) == Vex::kTextureChannelZ};
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
        keepCoverage(floats.get(), *options.m_alphaCoverage);
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
