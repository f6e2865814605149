// texsmith report: a page for the browser.
#include "commands.h"
#include "console.h"
#include "failure.h"
#include "json_output.h"
#include "options.h"
#include "paths.h"
#include "replacement_file.h"
#include "report_comparison.h"
#include "report_file.h"
#include "report_page.h"
#include "source_file.h"

#include "qor/texsmith/raw/format.h"
#include "qor/vex/data_formats.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <span>
#include <string>
#include <vector>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr unsigned kThumbnailSize = 160;
constexpr std::uint64_t kMegabyte = 1'000'000;
constexpr unsigned kMostMegabytes = 400; // browsers keep a text of twice as many bytes

// The report while it grows.
struct Report {
    Json m_data;
    std::vector<PageTexels> m_texels; // of each file
    std::uint64_t m_left;             // characters that texels may still take
};

// What the graphics hardware makes of a byte of sRGB: the upper halves of floats, whose lower ones are zero.
Json hardwareSrgb() {
    const Vex::DataFormat format = Vex::kDataFormatR8G8B8A8UnormSrgb;
    const Raw::SurfaceFormatInfo& info = Raw::getSurfaceFormatInfo(format.getSurfaceFormat());
    Json words = Json::array();
    for (unsigned byte = 0; byte < 256; ++byte) {
        const std::uint8_t texel[4] = {static_cast<std::uint8_t>(byte)};
        Raw::VectorFloat value;
        info.hardwareDecodeTexels(&value, texel, &format, 1);
        words.push_back(std::bit_cast<std::uint32_t>(value.m_lanes[0]) >> 16);
    }
    return words;
}

// `needed`: characters with the next larger mip.
std::string noteOn(const PageTexels& texels, unsigned mips, std::uint64_t needed) {
    if (texels.m_firstMip == 0) {
        return {};
    }
    const std::uint64_t megabytes = (needed + kMegabyte - 1) / kMegabyte;
    const std::string what = texels.m_firstMip < mips ? "begins at mip " + std::to_string(texels.m_firstMip) +
                                                            ", since larger ones"
                                                      : "carries no texels, since they";
    return "This page " + what + " would make it too large" +
           (megabytes <= kMostMegabytes
                ? ": --max-page " + std::to_string(megabytes) + " makes room for more."
                : ".");
}

void addFile(Report* report, const LoadedFile& file, std::uint64_t limit) {
    Json data = describeForReport(file);
    report->m_texels.push_back(packTexels(file.m_image, limit));
    report->m_left -= report->m_texels.back().m_length;
    report->m_data["files"].push_back(std::move(data));
}

// Says from which mip on the texels of each file are there.
void addFirstMips(Report* report) {
    Json& files = report->m_data["files"];
    for (std::size_t i = 0; i < report->m_texels.size(); ++i) {
        const PageTexels& texels = report->m_texels[i];
        if (files[i].contains("mips")) {
            files[i]["firstMip"] = texels.m_firstMip;
            files[i]["note"] = noteOn(texels, files[i]["mips"], texels.m_needed * files.size());
        }
        const std::string note = files[i].value("note", "");
        if (!note.empty()) {
            hint(files[i].value("name", "") + ": " + note);
        }
    }
}

void addPair(Report* report, const std::string& nameA, const std::string& nameB) {
    LoadedFile a, b;
    loadForReport(&a, nameA);
    loadForReport(&b, nameB);
    report->m_data["comparison"] = compareForReport(a, b);
    addFile(report, a, report->m_left / 2);
    addFile(report, b, report->m_left);
    PageTexels &texelsA = report->m_texels[0], &texelsB = report->m_texels[1];
    const unsigned first = std::max(texelsA.m_firstMip, texelsB.m_firstMip);
    for (PageTexels* texels : {&texelsA, &texelsB}) {
        texels->dropLarger(first);
        texels->m_needed = std::max(texelsA.m_needed, texelsB.m_needed);
    }
}

// A file that cannot be read gets a place in the sheet all the same.
bool addSheetFile(Report* report, const std::string& name, std::uint64_t limit) {
    try {
        LoadedFile file;
        loadForReport(&file, name);
        addFile(report, file, limit);
        Json& data = report->m_data["files"].back();
        data["thumbnail"] = thumbnailOf(file.m_image, data["range"], kThumbnailSize);
        forgetReports(); // a page does without it, and those of the next file are its own
        return true;
    } catch (const Failure& failure) {
        const std::string shortName = toName(toPath(name).filename());
        report->m_data["files"].push_back({{"name", shortName}, {"failure", failure.what()}});
        report->m_texels.resize(report->m_data["files"].size());
        forgetReports();
        return false;
    }
}

// How many of the files could not be read.
std::size_t addSheet(Report* report, std::span<const std::string> names) {
    report->m_data["isSheet"] = true;
    std::size_t failed = 0;
    for (std::size_t i = 0; i < names.size(); ++i) {
        failed += addSheetFile(report, names[i], report->m_left / (names.size() - i)) ? 0 : 1;
    }
    return failed;
}

void checkDestination(const std::string& destination, std::span<const std::string> sources) {
    std::string extension = destination.substr(extensionOffset(destination));
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (extension != ".html" && extension != ".htm") {
        throw UsageFailure(destination + ": a report is written as .html");
    }
    for (const std::string& source : sources) {
        if (source == kStandardStream) {
            throw UsageFailure("a report is made of files, and not of the standard input");
        }
        if (isSameFile(source, destination)) {
            throw UsageFailure(destination + ": that is one of the files to report on");
        }
    }
}

Json describe(const Report& report, std::span<const std::string> sources, const std::string& destination,
              std::size_t bytes) {
    Json files = Json::array();
    for (std::size_t i = 0; i < sources.size(); ++i) {
        const Json& file = report.m_data["files"][i];
        files.push_back({{"file", sources[i]},
                         {"firstMip", file.value("firstMip", Json())},
                         {"failure", file.value("failure", Json())}});
    }
    return {{"page", destination}, {"bytes", bytes}, {"files", files}};
}

void run(const Options& options) {
    const std::vector<std::string>& names = options.names();
    const std::span<const std::string> sources(names.data(), names.size() - 1);
    const std::string& destination = names.back();
    checkDestination(destination, sources);
    Report report = {{{"isSheet", false}, {"files", Json::array()}, {"hardwareSrgb", hardwareSrgb()}},
                     {},
                     options.number("--max-page", 1, kMostMegabytes, 64) * kMegabyte};
    std::size_t failed = 0;
    if (options.has("--sheet") || sources.size() > 2) {
        failed = addSheet(&report, sources);
    } else if (sources.size() == 2) {
        addPair(&report, sources[0], sources[1]);
    } else {
        LoadedFile file;
        loadForReport(&file, sources[0]);
        addFile(&report, file, report.m_left);
    }
    addFirstMips(&report);
    const std::string page = makePage(report.m_data, report.m_texels);
    replaceFile(destination, page);
    if (isJson()) {
        printJson(kReportCommand, describe(report, sources, destination, page.size()));
    }
    if (failed != 0) {
        throw Failure(std::to_string(failed) + " of " + std::to_string(sources.size()) +
                          " files could not be read; " + destination + " says why",
                      kExitPartFailed);
    }
}

constexpr Operand kOperands[] = {
    {.m_name = "FILE",
     .m_help = "a picture or texture; a second one is the reference that it is compared with",
     .m_most = Operand::kAnyNumber},
    {.m_name = "OUT.html", .m_help = "the page to write"}};

constexpr Option kOptions[] = {
    {.m_name = "--sheet",
     .m_help = "shows the files side by side as a contact sheet, as is done for more than two"},
    {.m_name = "--max-page",
     .m_value = "MB",
     .m_help = "limits the size of the texels in the page; without it 64. What is too large is left out, the "
               "largest mips first",
     .m_example = "200"},
};
const OptionGroup kGroups[] = {{"Output", kOptions}, kWarningOptions};

constexpr Example kExamples[] = {
    {"report rock.vxf rock.html", "a page with the texels, their histograms and all that info tells"},
    {"report rock.dds rock.png rock.html", "the same with a slider and a heat map against the original"},
    {"report --sheet a.dds b.dds all.html", "a contact sheet"}};

} // namespace

const Command kReportCommand = {
    .m_name = "report",
    .m_summary = "writes a page for the browser that shows textures",
    .m_description = "The page is one file that needs nothing else: it can be mailed and opened anywhere. It "
                     "carries the stored texels, so that every one of them can be inspected.",
    .m_operands = kOperands,
    .m_groups = kGroups,
    .m_examples = kExamples,
    .m_run = &run,
};

} // namespace Tool
