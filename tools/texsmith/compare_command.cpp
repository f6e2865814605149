// texsmith compare: how far two files are apart, by channel and mip.
#include "colour.h"
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

// What of one row of the tables is told: by channel, for those that were chosen.
using Tell = double (*)(const Errors& errors, unsigned channel, double peak);

double meanSquareOf(const Errors& errors, unsigned channel, double) { return errors.meanSquare(channel); }
double psnrOfErrors(const Errors& errors, unsigned channel, double peak) {
    return psnrOf(errors.meanSquare(channel), peak);
}
double similarityOf(const Errors& errors, unsigned channel, double) { return errors.similarity(channel); }

template <typename Use> void forEachChannel(const Selection& selection, Use use) {
    for (unsigned channel = 0; channel < 4; ++channel) {
        if (selection.m_channels[channel]) {
            use(channel);
        }
    }
}

template <typename Use> void forEachMip(const Comparison& comparison, Use use) {
    for (unsigned mip = 0; mip < comparison.m_mips.size(); ++mip) {
        if (comparison.m_mips[mip].m_texels != 0) {
            use(mip, comparison.m_mips[mip]);
        }
    }
}

struct Quantity {
    const char* m_title;
    Tell m_tell;
    const char* m_format;
};

void printTable(const Quantity& quantity, const Comparison& comparison, const Selection& selection,
                double peak) {
    std::printf("%-10s", quantity.m_title);
    forEachChannel(selection, [](unsigned channel) { std::printf(" %11s", kChannelNames[channel]); });
    const auto printRow = [&](const std::string& label, const Errors& errors) {
        std::printf("\n%-10s", label.c_str());
        forEachChannel(selection, [&](unsigned channel) {
            const bool hasAny = quantity.m_tell != &similarityOf || errors.m_similarity.m_windows != 0;
            char text[32] = "-";
            if (hasAny) {
                std::snprintf(text, sizeof text, quantity.m_format, quantity.m_tell(errors, channel, peak));
            }
            std::printf(" %11s", text);
        });
    };
    printRow("all", comparison.whole());
    if (comparison.m_mips.size() > 1) {
        forEachMip(comparison, [&](unsigned mip, const Errors& errors) {
            printRow("mip " + std::to_string(mip), errors);
        });
    }
    std::putchar('\n');
}

void printTables(const Comparison& comparison, const Selection& selection, std::optional<double> peak) {
    printTable({"MSE", &meanSquareOf, "%.5g"}, comparison, selection, 0);
    if (!peak) {
        std::puts("no PSNR: the values of this type have no range of their own");
        return;
    }
    printTable({"PSNR in dB", &psnrOfErrors, "%.2f"}, comparison, selection, *peak);
    if (comparison.whole().m_similarity.m_windows != 0) {
        printTable({"SSIM", &similarityOf, "%.5f"}, comparison, selection, *peak);
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

Json byChannel(const Errors& errors, const Selection& selection, double peak, Tell tell) {
    Json channels;
    forEachChannel(selection,
                   [&](unsigned channel) { channels[kChannelNames[channel]] = tell(errors, channel, peak); });
    return channels;
}

Json describe(const Errors& errors, const Selection& selection, std::optional<double> peak) {
    Json result = {
        {"mse", byChannel(errors, selection, 0, &meanSquareOf)}, {"psnr", nullptr}, {"ssim", nullptr}};
    if (peak) {
        result["psnr"] = byChannel(errors, selection, *peak, &psnrOfErrors);
    }
    if (errors.m_similarity.m_windows != 0) {
        result["ssim"] = byChannel(errors, selection, 0, &similarityOf);
    }
    return result;
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

void printResult(const Options& options, const ImagePair& pair, const Selection& selection,
                 const Comparison& comparison) {
    if (isJson()) {
        Json result = {{"a", options.names()[0]}, {"b", options.names()[1]}};
        result.update(describe(comparison.whole(), selection, pair.peak()));
        result["mips"] = Json::array();
        forEachMip(comparison, [&](unsigned mip, const Errors& errors) {
            Json described = {{"mip", mip}};
            described.update(describe(errors, selection, pair.peak()));
            result["mips"].push_back(described);
        });
        result["largest"] = describe(comparison.m_largest);
        printJson(kCompareCommand, result);
    } else if (!isQuiet()) {
        printTables(comparison, selection, pair.peak());
        printLargest(comparison.m_largest, pair.a().getSurfaceCount(),
                     pair.a().getVexTexture()->getTextureType() == Vex::kTextureType3d);
    }
}

// What the options ask for; not a number where they do not.
struct Limits {
    double m_psnr, m_similarity, m_largest;
};

double limitOf(const Options& options, const char* name) {
    return options.has(name) ? options.real(name) : NAN;
}

[[noreturn]] void answerNo(const char* format, const char* what, double value, double limit) {
    char text[120];
    std::snprintf(text, sizeof text, format, what, value, limit);
    throw Failure(text, kExitAnswerIsNo);
}

// Not a number is never good enough.
void checkLeast(const Comparison& comparison, const Selection& selection, double peak, Tell tell,
                double least, const char* format) {
    const Errors errors = comparison.whole();
    forEachChannel(selection, [&](unsigned channel) {
        const double value = tell(errors, channel, peak);
        if (!std::isnan(least) && !(value >= least)) {
            answerNo(format, kChannelNames[channel], value, least);
        }
    });
}

void checkLimits(const Comparison& comparison, const Selection& selection, std::optional<double> peak,
                 const Limits& limits) {
    if (!std::isnan(limits.m_psnr) && !peak) {
        throw Failure("--fail-psnr: the values of this type have no PSNR", kExitAnswerIsNo);
    }
    if (!std::isnan(limits.m_similarity) && comparison.whole().m_similarity.m_windows == 0) {
        throw Failure("--fail-ssim: there is no SSIM of these values, or of fewer than 8 x 8 texels",
                      kExitAnswerIsNo);
    }
    checkLeast(comparison, selection, peak.value_or(1), &psnrOfErrors, limits.m_psnr,
               "PSNR of %s is %.2f dB, below %g");
    checkLeast(comparison, selection, 1, &similarityOf, limits.m_similarity, "SSIM of %s is %.5f, below %g");
    const Difference& largest = comparison.m_largest;
    if (!std::isnan(limits.m_largest) && !(largest.m_value <= limits.m_largest)) {
        answerNo("the largest difference, in %s, is %.5g, above %g", kChannelNames[largest.m_channel],
                 largest.m_value, limits.m_largest);
    }
}

// "rgb", in any order and case.
void readChannels(Selection* selection, const std::string& text) {
    bool isRight = !text.empty();
    std::fill(std::begin(selection->m_channels), std::end(selection->m_channels), false);
    for (const char letter : text) {
        const std::size_t channel = std::string("rgbaRGBA").find(letter);
        if (channel == std::string::npos || selection->m_channels[channel % 4]) {
            isRight = false;
            break;
        }
        selection->m_channels[channel % 4] = true;
    }
    if (!isRight) {
        throw UsageFailure("--channels takes some of the letters r, g, b and a, each once, and not '" + text +
                           "'");
    }
}

// "X,Y,WxH".
Region readRegion(const std::string& text) {
    const std::size_t first = text.find(','), second = text.find(',', first + 1),
                      times = text.find('x', second + 1);
    if (first == text.npos || second == text.npos || times == text.npos) {
        throw UsageFailure("--region takes a place and a size, as in 16,32,128x64, and not '" + text + "'");
    }
    constexpr unsigned kMost = 16384;
    const auto numberAt = [&](std::size_t begin, std::size_t end, unsigned least) {
        return readNumber(text.substr(begin, end - begin), "each number of --region", least, kMost);
    };
    Region region = {numberAt(0, first, 0), numberAt(first + 1, second, 0), 0, 0};
    region.m_right = region.m_left + numberAt(second + 1, times, 1);
    region.m_bottom = region.m_top + numberAt(times + 1, text.size(), 1);
    return region;
}

Selection readSelection(const Options& options) {
    Selection selection;
    if (options.has("--channels")) {
        readChannels(&selection, options.value("--channels"));
    }
    if (options.has("--mip")) {
        selection.m_mip = options.number("--mip", 0, 15, 0);
    }
    if (options.has("--region")) {
        selection.m_region = readRegion(options.value("--region"));
    }
    return selection;
}

// The numbers of a picture that says that it is sRGB are those of its bytes, and no light.
void hintAtLight(const ComparedFile& picture, const ComparedFile& light) {
    const Vex::DataFormat format = picture.m_image->getDataFormat();
    if (picture.m_transfer == Raw::kFileTransferSrgb && !isSrgb(format) && !isFloat(format) &&
        isFloat(light.m_image->getDataFormat())) {
        hint(
            picture.m_name + " is sRGB and " + light.m_name +
            " is light, but they are compared as numbers: convert one to a format of the other's kind first");
    }
}

void run(const Options& options) {
    const Limits limits = {limitOf(options, "--fail-psnr"), limitOf(options, "--fail-ssim"),
                           limitOf(options, "--fail-max")};
    const Selection selection = readSelection(options);
    if (options.has("--heatmap")) {
        Picture::checkName(options.value("--heatmap"), options.names());
    }
    if (options.names()[0] == kStandardStream && options.names()[1] == kStandardStream) {
        throw UsageFailure("only one of the files can be the standard input");
    }
    const std::string nameA = nameOfSource(options.names()[0]), nameB = nameOfSource(options.names()[1]);
    Raw::MemoryMappedImage a, b;
    const ComparedFile fileA = {&a, nameA, loadFile(&a, options.names()[0], options.value("--type"))};
    const ComparedFile fileB = {&b, nameB, loadFile(&b, options.names()[1], options.value("--type"))};
    const ImagePair pair(fileA, fileB);
    hintAtLight(fileA, fileB);
    hintAtLight(fileB, fileA);
    if (!pair.assumedSrgb().empty()) {
        hint(pair.assumedSrgb() +
             " does not say what its numbers mean: they are taken for sRGB, as the other file's are");
    }
    if (pair.hasMoreMips() && !selection.m_mip && !selection.m_region) {
        hint("one of the files has more mips, which were not compared");
    }
    const Comparison comparison = pair.compare(selection);
    printResult(options, pair, selection, comparison);
    if (options.has("--heatmap")) {
        pair.heatMap(selection, comparison.m_largest).save(options.value("--heatmap"));
    }
    checkLimits(comparison, selection, pair.peak(), limits);
}

constexpr Operand kOperands[] = {{.m_name = "A", .m_help = "a picture or texture"},
                                 {.m_name = "B", .m_help = "another one of the same size"}};

constexpr Option kSelections[] = {
    {.m_name = "--channels",
     .m_value = "LETTERS",
     .m_help = "compares only these channels",
     .m_example = "rgb"},
    {.m_name = "--mip",
     .m_value = "N",
     .m_help = "compares only that mip; 0 is the largest",
     .m_example = "1"},
    {.m_name = "--region",
     .m_value = "X,Y,WxH",
     .m_help = "compares only these texels of each surface of the mip",
     .m_example = "16,32,128x64"},
};

constexpr Option kOptions[] = {
    {.m_name = "--heatmap",
     .m_value = "PICTURE",
     .m_help = "draws the differences as a .bmp, .jpg, .png or .tga file, the largest in a ring",
     .m_example = "heat.png"},
    {.m_name = "--fail-psnr",
     .m_value = "DB",
     .m_help = "ends with status 1 when a channel's PSNR is below that",
     .m_example = "40"},
    {.m_name = "--fail-ssim",
     .m_value = "S",
     .m_help = "ends with status 1 when a channel's SSIM is below that; 1 is the same",
     .m_example = "0.98"},
    {.m_name = "--fail-max",
     .m_value = "D",
     .m_help = "ends with status 1 when a value differs by more than that",
     .m_example = "0.05"},
};
const OptionGroup kGroups[] = {
    {"What is compared", kSelections}, {"Output", kOptions}, kWarningOptions, kStandardStreamOptions};

constexpr Example kExamples[] = {
    {"compare photo.png photo.dds --fail-psnr 38", "errors by channel and mip, as a check for scripts"}};

} // namespace

const Command kCompareCommand = {
    .m_name = "compare",
    .m_summary = "tells how far two files of the same size are apart",
    .m_description =
        "Errors by channel and mip, and the largest. Two sRGB files are compared as they are stored, any "
        "other pair as light. A picture that does not say what its numbers mean counts as sRGB beside one "
        "that is. SSIM is the mean over squares of 8 x 8 texels, one at every fourth texel and row. A number "
        "and a NaN are infinitely far apart.",
    .m_operands = kOperands,
    .m_groups = kGroups,
    .m_examples = kExamples,
    .m_run = &run,
};

} // namespace Tool
