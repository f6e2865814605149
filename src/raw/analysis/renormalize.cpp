// The transforms that spread the range of a picture, as it was measured, over that of a format.
#include "qor/texsmith/raw/statistics.h"

#include "raw/configuration/check_configuration.h"
#include "raw/configuration/restored_transform.h"
#include "raw/texels/channels.h"

#include <algorithm>
#include <cmath>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\analysis";
constexpr float kBinToUnit = 0.003921569f; // 1 / 255

// The texels that may be cut off. The product is exact in double precision.
std::uint64_t budgetOf(unsigned long long pixels, float fraction) {
    const double kept = static_cast<double>(pixels) * std::max(0.0f, fraction);
    return pixels - static_cast<std::uint64_t>(kept);
}

// The bins that are left when the emptier end is spent, again and again, until the budget is passed.
struct Bins {
    unsigned m_low = 0, m_high = 255;
};

Bins trim(const std::uint32_t (&bins)[256], std::uint64_t budget) {
    Bins left;
    for (std::uint64_t low = 0, high = 0; left.m_low < left.m_high && low + high <= budget;) {
        const std::uint64_t a = low + bins[left.m_low], b = high + bins[left.m_high];
        if (a < b) {
            low = a;
            ++left.m_low;
        } else {
            high = b;
            --left.m_high;
        }
    }
    return left;
}

Error trimRange(MinMax* range, const ElementProvider* source, Configuration* configuration, float fraction) {
    Histogram histogram;
    const Error error = getHistogram(source, &histogram, range, configuration);
    if (error != kErrorNone) {
        return error;
    }
    const std::uint64_t budget = budgetOf(source->getPixels(), fraction);
    for (unsigned lane = 0; lane < 4; ++lane) {
        const Bins left = trim(histogram.m_bins[lane], budget);
        const float lowest = range->min[lane], extent = range->max[lane] - lowest;
        range->min[lane] = static_cast<float>(left.m_low) * kBinToUnit * extent + lowest;
        range->max[lane] = static_cast<float>(left.m_high) * kBinToUnit * extent + lowest;
    }
    return kErrorNone;
}

// Formats whose blocks keep the colour channels together.
bool sharesColourBlocks(Vex::SurfaceFormat format) {
    return (format >= Vex::kSurfaceFormatBc1 && format <= Vex::kSurfaceFormatBc3) ||
           format == Vex::kSurfaceFormatBc6 || format == Vex::kSurfaceFormatBc7;
}

// Each of the colour channels keeps its centre and gets the widest extent.
void widenColours(MinMax* range) {
    float extent = 0;
    for (unsigned lane = 0; lane < 3; ++lane) {
        extent = std::max(extent, range->max[lane] - range->min[lane]);
    }
    for (unsigned lane = 0; lane < 3; ++lane) {
        const float centre = (range->min[lane] + range->max[lane]) * 0.5f;
        range->min[lane] = centre - extent * 0.5f;
        range->max[lane] = centre + extent * 0.5f;
    }
}

bool isFinite(const MinMax& range) {
    bool finite = true;
    for (unsigned lane = 0; lane < 4; ++lane) {
        finite = finite && std::isfinite(range.max[lane] - range.min[lane]);
    }
    return finite;
}

Error measure(MinMax* range, const ElementProvider* source, Configuration* configuration, float fraction) {
    MinMaxMean measured;
    const Error error = getMinMaxMean(source, &measured, configuration);
    *range = {measured.min, measured.max};
    return error == kErrorNone && fraction < 1.0f ? trimRange(range, source, configuration, fraction) : error;
}

// Back and forth between the measured range and that of the destination's channel type; the identity where
// either is without end.
struct Remapping {
    Madd m_measuredToType, m_typeToMeasured;

    Remapping(const MinMax& measured, Vex::TextureChannelType type) {
        MinMax whole;
        getChannelTypeRange(&whole.min, &whole.max, type);
        m_measuredToType.Init();
        m_typeToMeasured.Init();
        if (isFinite(measured) && isFinite(whole)) {
            m_measuredToType = maddFromRangeToRange(measured, whole);
            m_typeToMeasured = maddFromRangeToRange(whole, measured);
        }
    }
};

bool checkArguments(const ElementProvider* source, const ElementProvider* destination,
                    const Configuration* configuration) {
    const bool hasSource = checkNotNull(source, kSourcePath, "source must not be NULL.");
    const bool hasDestination = checkNotNull(destination, kSourcePath, "destination must not be NULL.");
    return checkJobManager(configuration, kSourcePath) && hasSource && hasDestination;
}

} // namespace

void renormalize(const ElementProvider* source, ElementProvider* destination, Configuration* configuration,
                 RenormalizationScheme scheme, float fraction) {
    if (!checkArguments(source, destination, configuration) || scheme == RenormalizationNone) {
        return;
    }
    const RestoredTransform restored(configuration);
    Madd fromPca, toPca;
    fromPca.Init();
    toPca.Init();
    if (scheme == RenormalizationPca) {
        if (getPca(source, &fromPca, &toPca, configuration) != kErrorNone) {
            return;
        }
        Madd& transform = configuration->m_decoderConfiguration.m_transform;
        transform = composeMadd(transform, toPca);
    }
    MinMax range;
    if (measure(&range, source, configuration, fraction) != kErrorNone) {
        return;
    }
    const Vex::DataFormat format = destination->getDataFormat();
    if (configuration->m_encoderConfiguration.m_renormalizeFlag &&
        sharesColourBlocks(format.getSurfaceFormat())) {
        widenColours(&range);
    }
    const Remapping remapping(range, format.getTextureChannelType());
    Modifiers modifiers;
    modifiers.m_decode.Init(composeMadd(remapping.m_typeToMeasured, fromPca));
    modifiers.m_encode.Init(composeMadd(toPca, remapping.m_measuredToType));
    destination->setModifiers(modifiers);
}

} // namespace qor::Texsmith::Raw
