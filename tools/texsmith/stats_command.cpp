// texsmith stats: range, mean, constants and histogram of the values in a file.
#include "commands.h"
#include "console.h"
#include "float_image.h"
#include "histogram_plot.h"
#include "json_output.h"
#include "measures.h"
#include "options.h"
#include "source_file.h"

#include <cstdio>
#include <string>

namespace Tool {
namespace {

using namespace qor::Texsmith;

void print(const Measures& measures) {
    std::printf("texels     %u\n%-10s %12s %12s %12s\n", measures.m_mean.count, "channel", "least",
                "greatest", "mean");
    const Raw::VectorFloat mean = measures.m_mean.Mean();
    for (unsigned channel = 0; channel < 4; ++channel) {
        const char* const constant = constantText(measures, channel);
        std::printf("%-10s %12.6g %12.6g %12.6g%s%s\n", kChannelNames[channel],
                    static_cast<double>(measures.m_range.min[channel]),
                    static_cast<double>(measures.m_range.max[channel]), static_cast<double>(mean[channel]),
                    (*constant != '\0' ? "  " : ""), constant);
    }
    for (unsigned channel = 0; channel < 4; ++channel) {
        std::printf("%-10s %.4g [%s] %.4g\n", channel == 0 ? "histogram" : "",
                    static_cast<double>(measures.m_bins.min[channel]),
                    histogramLine(measures.m_histogram, channel).c_str(),
                    static_cast<double>(measures.m_bins.max[channel]));
    }
}

Json describe(const Measures& measures, unsigned channel) {
    const Raw::MinMax &range = measures.m_range, &bins = measures.m_bins;
    return {{"least", range.min[channel]},
            {"greatest", range.max[channel]},
            {"mean", measures.m_mean.Mean()[channel]},
            {"isConstant", range.min[channel] == range.max[channel]},
            {"histogram",
             {{"from", bins.min[channel]},
              {"to", bins.max[channel]},
              {"counts", measures.m_histogram.m_bins[channel]}}}};
}

Json describe(const std::string& name, const Measures& measures) {
    Json channels;
    for (unsigned channel = 0; channel < 4; ++channel) {
        channels[kChannelNames[channel]] = describe(measures, channel);
    }
    return {{"file", name}, {"texels", measures.m_mean.count}, {"channels", channels}};
}

void run(const Options& options) {
    if (options.has("--plot")) {
        Picture::checkName(options.value("--plot"), options.names());
    }
    Raw::MemoryMappedImage image;
    const std::string name = nameOfSource(options.names()[0]);
    loadFile(&image, options.names()[0], options.value("--type"));
    Measures measures;
    measureTexture(&measures, image, name);
    if (isJson()) {
        printJson(kStatsCommand, describe(name, measures));
    } else {
        print(measures);
    }
    if (options.has("--plot")) {
        drawHistogram(measures.m_histogram, measures.m_bins).save(options.value("--plot"));
    }
}

constexpr Operand kOperands[] = {{.m_name = "FILE", .m_help = "a picture or texture"}};

constexpr Option kOptions[] = {{.m_name = "--plot",
                                .m_value = "PICTURE",
                                .m_help = "draws the histogram as a .bmp, .jpg, .png or .tga file",
                                .m_example = "histogram.png"}};
const OptionGroup kGroups[] = {{"Output", kOptions}, kWarningOptions, kStandardStreamOptions};

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
