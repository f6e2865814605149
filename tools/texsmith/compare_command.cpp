// texsmith compare: how far two files are apart, by channel and mip.
#include "commands.h"
#include "failure.h"
#include "float_image.h"
#include "heat_map.h"
#include "options.h"

#include "qor/texsmith/raw/comparison.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>
#include <string>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

// The square of the range of values, for types that have a range of about one. Blocks of BC6 hold floats,
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

// Infinite where nothing differs.
double psnrOf(double meanSquaredError, double peak) { return 10.0 * std::log10(peak / meanSquaredError); }

struct LargestDifference {
    double m_value = 0;
    Raw::SurfaceIndex m_index;
    unsigned m_x = 0, m_y = 0, m_channel = 0;
};

void findLargest(LargestDifference* largest, const Raw::SurfaceIndex& index, const Raw::ElementRows& a,
                 const Raw::ElementRows& b) {
    for (unsigned y = 0; y < a.m_tall; ++y) {
        const float *rowA = texelOf(a, 0, y), *rowB = texelOf(b, 0, y);
        for (unsigned i = 0; i < a.m_wide * 4; ++i) {
            const double difference = std::fabs(static_cast<double>(rowA[i]) - static_cast<double>(rowB[i]));
            if (difference > largest->m_value) {
                *largest = {difference, index, i / 4, y, i % 4};
            }
        }
    }
}

// Two files as surfaces of the same shape.
class Pair {
public:
    Pair(const std::string& nameA, const std::string& nameB) {
        Raw::MemoryMappedImage a, b;
        loadFile(&a, nameA);
        loadFile(&b, nameB);
        const Vex::Texture &textureA = *a.getVexTexture(), &textureB = *b.getVexTexture();
        if (!Raw::dimensionsAreIdenticalExceptMips(textureA, textureB)) {
            throw Failure(nameB + ": the size or the type of texture is not that of " + nameA);
        }
        const unsigned mips = std::min(a.getSurfaceCount().mips, b.getSurfaceCount().mips);
        m_hasMoreMips = a.getSurfaceCount().mips != b.getSurfaceCount().mips;
        m_peak = squaredPeak(textureA.getDataFormat());
        const SrgbValues srgb =
            isSrgb(textureA) && isSrgb(textureB) ? SrgbValues::kAsStored : SrgbValues::kAsLight;
        convertToFloats(&m_a, a, mips, srgb, nameA);
        convertToFloats(&m_b, b, mips, srgb, nameB);
    }

    Raw::ErrorSummary errors() {
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
    LargestDifference largest() const {
        LargestDifference largest;
        forEachSurface(m_a, [&](const Raw::SurfaceIndex& index) {
            findLargest(&largest, index, m_a.getElementRows(&index), m_b.getElementRows(&index));
        });
        return largest;
    }
    // Of the first surface, scaled to its own largest difference.
    Picture heatMap() const {
        const Raw::SurfaceIndex first;
        const Raw::ElementRows a = m_a.getElementRows(&first), b = m_b.getElementRows(&first);
        LargestDifference largest;
        findLargest(&largest, first, a, b);
        return drawHeatMap(a, b, largest.m_value);
    }
    std::optional<double> peak() const { return m_peak; }
    bool hasMoreMips() const { return m_hasMoreMips; }
    const Vex::Texture& texture() const { return *m_a.getVexTexture(); }

private:
    Raw::MemoryMappedImage m_a, m_b;
    std::optional<double> m_peak;
    bool m_hasMoreMips;
};

void printErrors(const char* label, const Raw::VectorFloat& errors, std::optional<double> peak) {
    std::printf("%-10s", label);
    for (const float error : errors.m_lanes) {
        std::printf(" %11.5g", static_cast<double>(error));
    }
    if (peak) {
        std::printf("  |");
        for (const float error : errors.m_lanes) {
            std::printf(" %7.2f", psnrOf(static_cast<double>(error), *peak));
        }
    }
    std::putchar('\n');
}

void printTable(const Raw::ErrorSummary& summary, std::optional<double> peak) {
    std::printf("%-10s", "MSE");
    for (const char* name : kChannelNames) {
        std::printf(" %11s", name);
    }
    std::printf(peak ? "  | PSNR in dB: R, G, B, A\n" : "\n");
    printErrors("all", summary.Mean(), peak);
    for (unsigned mip = 0; mip < summary.mipCount && summary.mipCount > 1; ++mip) {
        Raw::VectorFloat mean = summary.sums[mip];
        for (float& lane : mean.m_lanes) {
            lane /= static_cast<float>(std::max(1u, summary.counts[mip]));
        }
        printErrors(("mip " + std::to_string(mip)).c_str(), mean, peak);
    }
    if (!peak) {
        std::puts("no PSNR: the values of this type have no range of their own");
    }
}

void printLargest(const LargestDifference& largest, const Raw::SurfaceCount& count, bool isVolume) {
    if (largest.m_value == 0) {
        std::puts("largest    0: no texel differs");
        return;
    }
    std::printf("largest    %.5g in %s at %u, %u", largest.m_value, kChannelNames[largest.m_channel],
                largest.m_x, largest.m_y);
    const auto where = [](const char* name, unsigned value, bool matters) {
        if (matters) {
            std::printf(", %s %u", name, value);
        }
    };
    where("mip", largest.m_index.mip, count.mips > 1);
    where("array entry", largest.m_index.arrayEntry, count.arrayEntries > 1);
    where("face", largest.m_index.face, count.faces > 1);
    where("slice", largest.m_index.depth, isVolume);
    where("fragment", largest.m_index.fragment, count.fragments > 1);
    std::putchar('\n');
}

// Not a number where none is asked for.
double leastPsnr(const Options& options) {
    return options.has("--fail-psnr") ? options.real("--fail-psnr") : NAN;
}

void checkPsnr(const Raw::VectorFloat& errors, std::optional<double> peak, double least) {
    if (std::isnan(least)) {
        return;
    }
    if (!peak) {
        throw Failure("--fail-psnr: the values of this type have no PSNR");
    }
    for (unsigned channel = 0; channel < 4; ++channel) {
        const double psnr = psnrOf(static_cast<double>(errors[channel]), *peak);
        if (!(psnr >= least)) { // nor is a NaN good enough
            char text[96];
            std::snprintf(text, sizeof text, "PSNR of %s is %.2f dB, below %g", kChannelNames[channel], psnr,
                          least);
            throw Failure(text, kExitAnswerIsNo);
        }
    }
}

void run(const Options& options) {
    const double least = leastPsnr(options);
    if (options.has("--heatmap")) {
        Picture::checkName(options.value("--heatmap"));
    }
    Pair pair(options.names()[0], options.names()[1]);
    const Raw::ErrorSummary summary = pair.errors();
    printTable(summary, pair.peak());
    if (pair.hasMoreMips()) {
        std::puts("note       one of the files has more mips, which were not compared");
    }
    printLargest(pair.largest(), Raw::SurfaceCount(pair.texture()),
                 pair.texture().getTextureType() == Vex::kTextureType3d);
    if (options.has("--heatmap")) {
        pair.heatMap().save(options.value("--heatmap"));
    }
    checkPsnr(summary.Mean(), pair.peak(), least);
}

constexpr Operand kOperands[] = {{.m_name = "A", .m_help = "a picture or texture"},
                                 {.m_name = "B", .m_help = "another one of the same size"}};

constexpr Option kOptions[] = {
    {.m_name = "--heatmap",
     .m_value = "PICTURE",
     .m_help = "draws the differences as a .bmp, .jpg, .png or .tga file",
     .m_example = "heat.png"},
    {.m_name = "--fail-psnr",
     .m_value = "DB",
     .m_help = "ends with status 1 when a channel's PSNR is below that",
     .m_example = "40"},
};
constexpr OptionGroup kGroups[] = {{"Output", kOptions}};

constexpr Example kExamples[] = {
    {"compare photo.png photo.dds --fail-psnr 38", "errors by channel and mip, as a check for scripts"}};

} // namespace

const Command kCompareCommand = {
    .m_name = "compare",
    .m_summary = "tells how far two files of the same size are apart",
    .m_description =
        "Errors by channel and mip, and the largest. Two sRGB files are compared as they are stored, "
        "any other pair as light.",
    .m_operands = kOperands,
    .m_groups = kGroups,
    .m_examples = kExamples,
    .m_run = &run,
};

} // namespace Tool
