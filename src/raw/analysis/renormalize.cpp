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

// What there is of each channel. One whose mean or range is no finite number, or whose range is inverted,
// keeps its values.
struct Measured {
    MinMax m_range;
    bool m_isUsable[4];

    explicit Measured(const MinMaxMean& measured) : m_range{measured.min, measured.max} {
        const VectorFloat mean = measured.Mean();
        for (unsigned lane = 0; lane < 4; ++lane) {
            m_isUsable[lane] = std::isfinite(mean[lane]) && extent(lane) >= 0 && std::isfinite(extent(lane));
        }
    }
    float extent(unsigned lane) const { return m_range.max[lane] - m_range.min[lane]; }
};

Error trimRange(Measured* measured, const ElementProvider* source, Configuration* configuration,
                float fraction) {
    Histogram histogram;
    const Error error = getHistogram(source, &histogram, &measured->m_range, configuration);
    if (error != kErrorNone) {
        return error;
    }
    const std::uint64_t budget = budgetOf(histogram.count, fraction);
    for (unsigned lane = 0; lane < 4; ++lane) {
        const Bins left = trim(histogram.m_bins[lane], budget);
        const float lowest = measured->m_range.min[lane], extent = measured->extent(lane);
        measured->m_range.min[lane] = static_cast<float>(left.m_low) * kBinToUnit * extent + lowest;
        measured->m_range.max[lane] = static_cast<float>(left.m_high) * kBinToUnit * extent + lowest;
    }
    return kErrorNone;
}

// Formats whose blocks keep the colour channels together.
bool sharesColourBlocks(Vex::SurfaceFormat format) {
    return (format >= Vex::kSurfaceFormatBc1 && format <= Vex::kSurfaceFormatBc3) ||
           format == Vex::kSurfaceFormatBc6 || format == Vex::kSurfaceFormatBc7;
}

// Each of the colour channels keeps its centre and gets the widest extent.
void widenColours(Measured* measured) {
    float extent = 0;
    for (unsigned lane = 0; lane < 3; ++lane) {
        extent = std::max(extent, measured->m_isUsable[lane] ? measured->extent(lane) : 0);
    }
    MinMax& range = measured->m_range;
    for (unsigned lane = 0; lane < 3; ++lane) {
        const float centre = (range.min[lane] + range.max[lane]) * 0.5f;
        range.min[lane] = centre - extent * 0.5f;
        range.max[lane] = centre + extent * 0.5f;
    }
}

// Axes and the way back to the texels, as the configuration's transform reads them. Where the mean is no
// finite number there are no axes, and the channels are taken as they are.
Error findAxes(Madd* fromPca, Madd* toPca, const ElementProvider* source, Configuration* configuration) {
    const Error error = getPca(source, fromPca, toPca, configuration);
    if (!std::all_of(fromPca->m_add.m_lanes, fromPca->m_add.m_lanes + 4,
                     [](float lane) { return std::isfinite(lane); })) {
        fromPca->Init();
        toPca->Init();
    }
    return error;
}

// Back and forth between the measured range and that of the destination's channel type. A channel keeps the
// identity where it is not usable, and where the type's range is without end.
struct Remapping {
    Madd m_measuredToType, m_typeToMeasured;

    Remapping(const Measured& measured, Vex::TextureChannelType type) {
        MinMax whole;
        getChannelTypeRange(&whole.min, &whole.max, type);
        m_measuredToType = maddFromRangeToRange(measured.m_range, whole);
        m_typeToMeasured = maddFromRangeToRange(whole, measured.m_range);
        for (unsigned lane = 0; lane < 4; ++lane) {
            if (!measured.m_isUsable[lane] || !std::isfinite(whole.max[lane] - whole.min[lane])) {
                keepLane(m_measuredToType, lane);
                keepLane(m_typeToMeasured, lane);
            }
        }
    }

private:
    static void keepLane(Madd& madd, unsigned lane) {
        madd.m_multiply[lane][lane] = 1;
        madd.m_add[lane] = 0;
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
        if (findAxes(&fromPca, &toPca, source, configuration) != kErrorNone) {
            return;
        }
        Madd& transform = configuration->m_decoderConfiguration.m_transform;
        transform = composeMadd(transform, toPca);
    }
    MinMaxMean whole;
    if (getMinMaxMean(source, &whole, configuration) != kErrorNone) {
        return;
    }
    Measured measured(whole);
    if (fraction < 1.0f && trimRange(&measured, source, configuration, fraction) != kErrorNone) {
        return;
    }
    const Vex::DataFormat format = destination->getDataFormat();
    if (configuration->m_encoderConfiguration.m_renormalizeFlag &&
        sharesColourBlocks(format.getSurfaceFormat())) {
        widenColours(&measured);
    }
    const Remapping remapping(measured, format.getTextureChannelType());
    Modifiers modifiers;
    modifiers.m_decode.Init(composeMadd(remapping.m_typeToMeasured, fromPca));
    modifiers.m_encode.Init(composeMadd(toPca, remapping.m_measuredToType));
    destination->setModifiers(modifiers);
}

} // namespace qor::Texsmith::Raw
