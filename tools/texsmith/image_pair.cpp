#include "image_pair.h"

#include "failure.h"
#include "float_image.h"
#include "heat_map.h"

#include <algorithm>
#include <cmath>

namespace Tool {

using namespace qor;
using namespace qor::Texsmith;

namespace {

// Blocks of BC6 hold floats,
// whatever their type is called.
std::optional<double> squaredPeak(Vex::DataFormat format) {
    if (format.getSurfaceFormat() == Vex::kSurfaceFormatBc6) {
        return {};
    }
    switch (format.getTextureChannelType()) {
    case Vex::kTextureChannelTypeUNorm:
    case Vex::kTextureChannelTypeSrgb:
    case Vex::kTextureChannelTypeUBNorm:
    case Vex::kTextureChannelTypeUBNormNoZero:
        return 1.0;
    case Vex::kTextureChannelTypeSNorm:
    case Vex::kTextureChannelTypeSNormNoZero:
        return 4.0;
    default:
        return {};
    }
}

bool isSrgb(const Vex::Texture& texture) {
    return texture.getDataFormat().getTextureChannelType() == Vex::kTextureChannelTypeSrgb;
}

struct Rectangle {
    unsigned m_left, m_top, m_right, m_bottom;
};

void findLargest(Difference* largest, const Raw::SurfaceIndex& index, const Raw::ElementRows& a,
                 const Raw::ElementRows& b, const Rectangle& part) {
    for (unsigned y = part.m_top; y < part.m_bottom; ++y) {
        const float *rowA = texelOf(a, 0, y), *rowB = texelOf(b, 0, y);
        for (unsigned i = part.m_left * 4; i < part.m_right * 4; ++i) {
            const double difference = std::fabs(static_cast<double>(rowA[i]) - static_cast<double>(rowB[i]));
            if (difference > largest->m_value) {
                *largest = {difference, index, i / 4, y, i % 4};
            }
        }
    }
}

void findLargest(Difference* largest, const Raw::SurfaceIndex& index, const Raw::ElementRows& a,
                 const Raw::ElementRows& b) {
    findLargest(largest, index, a, b, {0, 0, a.m_wide, a.m_tall});
}

// Of equal ones, those that came first stand first.
void insertWorst(std::vector<Difference>* worst, const Difference& difference, unsigned count) {
    const auto place = std::upper_bound(
        worst->begin(), worst->end(), difference,
        [](const Difference& one, const Difference& other) { return one.m_value > other.m_value; });
    worst->insert(place, difference);
    worst->resize(std::min<std::size_t>(worst->size(), count));
}

} // namespace

double psnrOf(double meanSquaredError, double peak) { return 10.0 * std::log10(peak / meanSquaredError); }

Raw::VectorFloat meanOfMip(const Raw::ErrorSummary& summary, unsigned mip) {
    Raw::VectorFloat mean = summary.sums[mip];
    for (float& lane : mean.m_lanes) {
        lane /= static_cast<float>(std::max(1u, summary.counts[mip]));
    }
    return mean;
}

ImagePair::ImagePair(const Raw::MemoryMappedImage& a, const std::string& nameA,
                     const Raw::MemoryMappedImage& b, const std::string& nameB) {
    const Vex::Texture &textureA = *a.getVexTexture(), &textureB = *b.getVexTexture();
    if (!Raw::dimensionsAreIdenticalExceptMips(textureA, textureB)) {
        throw Failure("the size or the type of texture is not that of " + nameA, kExitWrongArguments, nameB);
    }
    const unsigned mips = std::min(a.getSurfaceCount().mips, b.getSurfaceCount().mips);
    m_hasMoreMips = a.getSurfaceCount().mips != b.getSurfaceCount().mips;
    m_peak = squaredPeak(textureA.getDataFormat());
    m_isAsStored = isSrgb(textureA) && isSrgb(textureB);
    const SrgbValues srgb = m_isAsStored ? SrgbValues::kAsStored : SrgbValues::kAsLight;
    convertToFloats(&m_a, a, mips, srgb, nameA);
    convertToFloats(&m_b, b, mips, srgb, nameB);
}

Raw::ErrorSummary ImagePair::errors() {
    Configuration configuration;
    const Raw::StandardSquaredErrorCalculator standard;
    Raw::ErrorSummary summary;
    Raw::CalculateErrorPerTexel perTexel(&summary, &m_a, &m_b, &configuration, &standard);
    const Raw::PerTileJob job(&m_a, &perTexel, &configuration);
    if (configuration.m_jobManager->submitAndStall(&job) != Raw::kErrorNone) {
        throw Failure("the comparison failed: " + firstReport());
    }
    return summary;
}

Difference ImagePair::largest() const {
    Difference largest;
    forEachSurface(m_a, [&](const Raw::SurfaceIndex& index) {
        findLargest(&largest, index, m_a.getElementRows(&index), m_b.getElementRows(&index));
    });
    return largest;
}

std::vector<Difference> ImagePair::worst(unsigned count) const {
    constexpr unsigned kTile = 8;
    std::vector<Difference> worst;
    forEachSurface(m_a, [&](const Raw::SurfaceIndex& index) {
        const Raw::ElementRows a = m_a.getElementRows(&index), b = m_b.getElementRows(&index);
        for (unsigned y = 0; y < a.m_tall; y += kTile) {
            for (unsigned x = 0; x < a.m_wide; x += kTile) {
                Difference largest;
                findLargest(&largest, index, a, b,
                            {x, y, std::min(x + kTile, a.m_wide), std::min(y + kTile, a.m_tall)});
                if (largest.m_value > (worst.size() == count ? worst.back().m_value : 0)) {
                    insertWorst(&worst, largest, count);
                }
            }
        }
    });
    return worst;
}

Picture ImagePair::heatMap() const {
    const Raw::SurfaceIndex first;
    const Raw::ElementRows a = m_a.getElementRows(&first), b = m_b.getElementRows(&first);
    Difference largest;
    findLargest(&largest, first, a, b);
    return drawHeatMap(a, b, largest.m_value);
}

} // namespace Tool
