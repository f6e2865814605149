// texsmith convert: writes a file as another type.
#include "batch.h"
#include "batch_list.h"
#include "batch_options.h"
#include "commands.h"
#include "console.h"
#include "dry_run.h"
#include "failure.h"
#include "json_output.h"
#include "options.h"
#include "plan.h"
#include "source_file.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace Tool {
namespace {

constexpr Operand kOperands[] = {
    {.m_name = "SOURCE",
     .m_help = "a file or URL, with -r a folder, or a pattern such as \"*.png\"; - for the standard input",
     .m_least = 0,
     .m_most = Operand::kAnyNumber},
    {.m_name = "DESTINATION",
     .m_help = "a file, or an extension that begins with a dot, such as .vxf, for each SOURCE with that "
               "extension; - for the standard output",
     .m_least = 0},
};

const OptionGroup kGroups[] = {kConversionGroups[0], kConversionGroups[1],  kConversionGroups[2],
                               kStepOptions,         kMipOptions,           kBatchGroups[0],
                               kBatchGroups[1],      kStandardStreamOptions};

constexpr Example kExamples[] = {
    {"convert photo.png photo.dds --format bc7-srgb --mips", "a compressed texture with all its mips"},
    {"convert rock.dds .vxf", "the same texels in the native container, as rock.vxf"},
    {"convert big.tga small.png --resize 512x512", "a smaller picture"},
    {"convert -r art .dds -o build --format Bc7UnormSrgb --mips", "all pictures below a folder"},
    {"convert -r art -o build --recipe studio.json --update",
     "what changed since the last time, by a recipe"},
};

const char* outcomeName(BatchOutcome outcome) {
    switch (outcome) {
    case BatchOutcome::kWritten:
        return "written";
    case BatchOutcome::kUpToDate:
        return "up-to-date";
    case BatchOutcome::kKept:
        return "kept";
    case BatchOutcome::kFailed:
        return "failed";
    default:
        return "not-tried";
    }
}

Json asJson(const Batch& batch, const std::vector<BatchResult>& results) {
    Json files = Json::array();
    for (std::size_t i = 0; i < results.size(); ++i) {
        const std::string& failure = results[i].m_failure;
        files.push_back({{"source", batch.m_files[i].m_source},
                         {"destination", batch.m_files[i].m_destination},
                         {"outcome", outcomeName(results[i].m_outcome)},
                         {"failure", failure.empty() ? Json() : Json(failure)}});
    }
    return {{"files", files}, {"leftOut", batch.m_passedOver}};
}

void convertAll(const Batch& batch, const BatchOptions& options) {
    const std::vector<BatchResult> results = convertBatch(batch, options);
    const bool isStreamed = batch.m_isOnePair && batch.m_files[0].m_destination == kStandardStream;
    if (isJson() && !isStreamed) {
        printJson(kConvertCommand, asJson(batch, results));
    } else if (!isJson() && !isQuiet() &&
               (results.size() != 1 || results[0].m_outcome != BatchOutcome::kWritten)) {
        std::printf("%s\n", summaryOf(results).c_str());
    }
    const auto failed = std::count_if(results.begin(), results.end(), [](const BatchResult& result) {
        return result.m_outcome == BatchOutcome::kFailed;
    });
    if (failed != 0) {
        throw Failure(std::to_string(failed) + " of " + std::to_string(results.size()) + " files failed",
                      kExitPartFailed);
    }
}

void run(const Options& options) {
    const BatchOptions batchOptions = batchOptionsOf(options);
    const Batch batch = makeBatch(options);
    if (batchOptions.m_plan != PlanFormat::kNone) {
        writePlan(batch, batchOptions, options);
    } else if (!batchOptions.m_isDryRun) {
        convertAll(batch, batchOptions);
    } else if (isJson()) {
        printJson(kConvertCommand, dryRunAsJson(batch, batchOptions));
    } else {
        printDryRun(batch, batchOptions);
    }
}

} // namespace

const Command kConvertCommand = {
    .m_name = "convert",
    .m_summary = "writes a picture or texture as another type of file",
    .m_description =
        "The destination's extension says its type. A file that stands there is replaced once the new "
        "one is whole, and survives a failure."
        "\n\n"
        "Numbers that are sRGB keep their bytes in sRGB formats, in PNG, JPEG, BMP and TGA, and in UNorm "
        "formats; they become light in formats of floats, BC6H, HDR, PFM and EXR. Light, from formats of "
        "floats, is encoded for sRGB formats and for PNG, JPEG, BMP and TGA, and goes as it is into all "
        "others. Linear numbers of 8 or 16 bits are encoded for sRGB formats alone. Mips and --resize make "
        "their averages in light where the source's numbers are sRGB.",
    .m_operands = kOperands,
    .m_groups = kGroups,
    .m_examples = kExamples,
    .m_run = &run,
};

} // namespace Tool
