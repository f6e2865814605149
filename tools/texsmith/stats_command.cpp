// texsmith stats: range, mean, constants and histogram of the values in a file.
#include "commands.h"
#include "failure.h"
#include "float_image.h"
#include "histogram_plot.h"
#include "options.h"

#include "qor/texsmith/raw/statistics.h"

#include <cstdio>
#include <string>

namespace Tool {
namespace {

using namespace qor::Texsmith;

struct Measures {
    Raw::MinMaxMean m_mean;
    Raw::ConstantCounts m_constants;
    Raw::MinMax m_range; // the true one: the mean's deliberately starts above zero
    Raw::Histogram m_histogram;
    Raw::MinMax m_bins;
};

void check(Raw::Error error) {
    if (error != Raw::kErrorNone || !firstReport().empty()) {
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

const char* constantText(const Measures& measures, unsigned channel) {
    const std::uint32_t count = measures.m_mean.count;
    if (measures.m_constants.m_zeros[channel] == count) {
        return "  constant zero";
    }
    if (measures.m_constants.m_ones[channel] == count) {
        return "  constant one";
    }
    return measures.m_range.min[channel] == measures.m_range.max[channel] ? "  constant" : "";
}

void print(const Measures& measures) {
    std::printf("texels     %u\n%-10s %12s %12s %12s\n", measures.m_mean.count, "channel", "least",
                "greatest", "mean");
    const Raw::VectorFloat mean = measures.m_mean.Mean();
    for (unsigned channel = 0; channel < 4; ++channel) {
        std::printf("%-10s %12.6g %12.6g %12.6g%s\n", kChannelNames[channel],
                    static_cast<double>(measures.m_range.min[channel]),
                    static_cast<double>(measures.m_range.max[channel]), static_cast<double>(mean[channel]),
                    constantText(measures, channel));
    }
    for (unsigned channel = 0; channel < 4; ++channel) {
        std::printf("%-10s %.4g [%s] %.4g\n", channel == 0 ? "histogram" : "",
                    static_cast<double>(measures.m_bins.min[channel]),
                    histogramLine(measures.m_histogram, channel).c_str(),
                    static_cast<double>(measures.m_bins.max[channel]));
    }
}

void run(const Options& options) {
    if (options.has("--plot")) {
        Picture::checkName(options.value("--plot"));
    }
    Raw::MemoryMappedImage image, floats;
    loadFile(&image, options.names()[0]);
    convertToFloats(&floats, image, image.getSurfaceCount().mips, SrgbValues::kAsStored, options.names()[0]);
    Measures measures;
    measure(&measures, floats);
    print(measures);
    if (options.has("--plot")) {
        drawHistogram(measures.m_histogram, measures.m_bins).save(options.value("--plot"));
    }
}

constexpr Operand kOperands[] = {{.m_name = "FILE", .m_help = "a picture or texture"}};

constexpr Option kOptions[] = {{.m_name = "--plot",
                                .m_value = "PICTURE",
                                .m_help = "draws the histogram as a .bmp, .jpg, .png or .tga file",
                                .m_example = "histogram.png"}};
constexpr OptionGroup kGroups[] = {{"Output", kOptions}};

constexpr Example kExamples[] = {
    {"stats photo.png --plot histogram.png", "numbers on the terminal, and the histogram as a picture"}};

} // namespace

const Command kStatsCommand = {
    .m_name = "stats",
    .m_summary = "tells range, mean, constants and histogram of the values",
    .m_description = "Values of sRGB are told as they are stored.",
    .m_operands = kOperands,
    .m_groups = kGroups,
    .m_examples = kExamples,
    .m_run = &run,
};

} // namespace Tool
