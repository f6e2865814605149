// texsmith compare: how far two files are apart, by channel and mip.
#include "commands.h"
#include "console.h"
#include "failure.h"
#include "float_image.h"
#include "image_pair.h"
#include "json_output.h"
#include "options.h"
#include "source_file.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>
#include <string>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

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
        printErrors(("mip " + std::to_string(mip)).c_str(), meanOfMip(summary, mip), peak);
    }
    if (!peak) {
        std::puts("no PSNR: the values of this type have no range of their own");
    }
}

void printLargest(const Difference& largest, const Raw::SurfaceCount& count, bool isVolume) {
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

Json psnrs(const Raw::VectorFloat& errors, std::optional<double> peak) {
    if (!peak) {
        return nullptr;
    }
    double values[4];
    for (unsigned channel = 0; channel < 4; ++channel) {
        values[channel] = psnrOf(static_cast<double>(errors[channel]), *peak);
    }
    return byChannel(values);
}

Json describe(const Raw::ErrorSummary& summary, std::optional<double> peak) {
    Json mips = Json::array();
    for (unsigned mip = 0; mip < summary.mipCount; ++mip) {
        const Raw::VectorFloat mean = meanOfMip(summary, mip);
        mips.push_back({{"mse", byChannel(mean)}, {"psnr", psnrs(mean, peak)}});
    }
    return {{"mse", byChannel(summary.Mean())}, {"psnr", psnrs(summary.Mean(), peak)}, {"mips", mips}};
}

Json describe(const Difference& largest) {
    if (largest.m_value == 0) {
        return nullptr;
    }
    const Raw::SurfaceIndex& index = largest.m_index;
    return {{"difference", largest.m_value},
            {"channel", kChannelNames[largest.m_channel]},
            {"x", largest.m_x},
            {"y", largest.m_y},
            {"mip", index.mip},
            {"slice", index.arrayEntry},
            {"face", index.face},
            {"depth", index.depth},
            {"fragment", index.fragment}};
}

void printResult(const Options& options, const ImagePair& pair, const Raw::ErrorSummary& summary) {
    const Difference largest = pair.largest();
    if (isJson()) {
        Json result = {{"a", options.names()[0]}, {"b", options.names()[1]}};
        result.update(describe(summary, pair.peak()));
        result["largest"] = describe(largest);
        printJson(kCompareCommand, result);
    } else if (!isQuiet()) {
        printTable(summary, pair.peak());
        printLargest(largest, pair.a().getSurfaceCount(),
                     pair.a().getVexTexture()->getTextureType() == Vex::kTextureType3d);
    }
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
        throw Failure("--fail-psnr: the values of this type have no PSNR", kExitAnswerIsNo);
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
        Picture::checkName(options.value("--heatmap"), options.names());
    }
    if (options.names()[0] == kStandardStream && options.names()[1] == kStandardStream) {
        throw UsageFailure("only one of the files can be the standard input");
    }
    const std::string nameA = nameOfSource(options.names()[0]), nameB = nameOfSource(options.names()[1]);
    Raw::MemoryMappedImage a, b;
    loadFile(&a, options.names()[0], options.value("--type"));
    loadFile(&b, options.names()[1], options.value("--type"));
    ImagePair pair(a, nameA, b, nameB);
    if (pair.hasMoreMips()) {
        hint("one of the files has more mips, which were not compared");
    }
    const Raw::ErrorSummary summary = pair.errors();
    printResult(options, pair, summary);
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
const OptionGroup kGroups[] = {{"Output", kOptions}, kStandardStreamOptions};

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
