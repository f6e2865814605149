#include "measures.h"

#include "failure.h"
#include "float_image.h"

#include <iterator>

namespace Tool {

using namespace qor;
using namespace qor::Texsmith;

namespace {

void check(Raw::Error error) {
    if (haveFailed(error)) {
        throw Failure("the statistics failed: " + firstReport());
    }
}

// The quick histogram serves values of 0 to 1 whose bins did not fill up; others are counted again, over the
// range that was measured.
void takeHistogram(Measures* measures, const Raw::FastHistogram& fast, const Raw::ElementProvider& image,
                   Configuration* configuration) {
    using Raw::FastHistogram;
    measures->m_bins = {{{0, 0, 0, 0}}, {{1, 1, 1, 1}}};
    if ((fast.flags & (FastHistogram::kFlagOutside | FastHistogram::kFlagSaturated)) != 0) {
        if ((fast.flags & FastHistogram::kFlagOutside) != 0) {
            measures->m_bins = measures->m_range;
        }
        check(Raw::getHistogram(&image, &measures->m_histogram, &measures->m_bins, configuration));
        return;
    }
    measures->m_histogram.Clear();
    measures->m_histogram.count = fast.count;
    for (unsigned channel = 0; channel < 4; ++channel) {
        for (int bin = 0; bin < FastHistogram::kBins; ++bin) {
            measures->m_histogram.m_bins[channel][bin] = fast.m_bins[channel][bin];
        }
    }
}

// One walk takes it all.
void measure(Measures* measures, const Raw::ElementProvider& image) {
    Configuration configuration;
    configuration.m_decoderConfiguration.m_srgbAsLinear = true;
    Raw::MinMaxMeanPerTexel mean(&measures->m_mean, &image, &configuration);
    Raw::ConstantsPerTexel constants(&measures->m_constants, &image, &configuration);
    Raw::FastHistogramPerTexel histogram(&image, &configuration);
    Raw::PerTile* chain[] = {&mean, &constants, &histogram};
    const Raw::PerTileJob job(&image, chain, &configuration, static_cast<unsigned>(std::size(chain)));
    check(configuration.m_jobManager->submitAndStall(&job));
    Raw::FastHistogram fast;
    histogram.getHistogram(&fast, static_cast<unsigned>(job.getCallbacks()));
    measures->m_range = {fast.min, fast.max};
    takeHistogram(measures, fast, image, &configuration);
}

} // namespace

void measureTexture(Measures* measures, const Raw::MemoryMappedImage& image, const std::string& name) {
    switch (image.getDataFormat().getTextureChannelType()) {
    case Vex::kTextureChannelTypeUInt:
    case Vex::kTextureChannelTypeSInt:
    case Vex::kTextureChannelTypeUBInt: { // whose values are measured as numbers, and not as bits
        Raw::MemoryMappedImage floats;
        convertToFloats(&floats, image, image.getSurfaceCount().mips, SrgbValues::kAsStored, name);
        return measure(measures, floats);
    }
    default:
        return measure(measures, image);
    }
}

const char* constantText(const Measures& measures, unsigned channel) {
    const std::uint32_t count = measures.m_mean.count;
    if (measures.m_constants.m_zeros[channel] == count) {
        return "constant zero";
    }
    if (measures.m_constants.m_ones[channel] == count) {
        return "constant one";
    }
    return measures.m_range.min[channel] == measures.m_range.max[channel] ? "constant" : "";
}

} // namespace Tool
