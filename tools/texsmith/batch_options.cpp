#include "batch_options.h"

#include "failure.h"

#include "qor/texsmith/version.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <thread>

namespace Tool {
namespace {

constexpr std::uint64_t kGigabyte = std::uint64_t{1} << 30;
constexpr unsigned kMostJobs = 256; // with three open files each, fewer than the 1,024 that systems allow

constexpr Option kFileOptions[] = {
    {.m_name = "--recursive",
     .m_help = "takes all files below the folders among the sources",
     .m_letter = 'r'},
    {.m_name = "--list",
     .m_value = "FILE",
     .m_help = "takes the files that FILE names, one in each line; - is the standard input",
     .m_example = "textures.txt",
     .m_repeats = true},
    {.m_name = "--output",
     .m_value = "FOLDER",
     .m_help =
         "writes below FOLDER, where files of folders and lists keep their places; without it results lie "
         "beside their sources",
     .m_example = "build/textures",
     .m_letter = 'o'},
    {.m_name = "--name",
     .m_value = "PATTERN",
     .m_help = "names results: {name} and {extension} are those of the source, {folder} its folder",
     .m_example = "{folder}_{name}"},
    {.m_name = "--recipe",
     .m_value = "FILE",
     .m_help =
         "takes each file's options from FILE, which has them by patterns of names; options of the command "
         "line win over it",
     .m_example = "studio.json"},
    {.m_name = "--jobs",
     .m_value = "N",
     .m_help =
         "converts N files at once, each on one thread; without it as many as there are cores, and where "
         "there are fewer files, one after the other on all cores",
     .m_example = "4",
     .m_letter = 'j'},
    {.m_name = "--memory",
     .m_value = "SIZE",
     .m_help = "starts no further file while those at work need that much; 2G for each core without it",
     .m_example = "2G"},
    {.m_name = "--keep-going", .m_help = "converts the other files when one fails, as it does anyway"},
    {.m_name = "--fail-fast", .m_help = "starts no further file when one has failed"},
    {.m_name = "--dry-run", .m_help = "tells what would be written and how large, and writes nothing"},
    {.m_name = "--plan",
     .m_value = "FORMAT",
     .m_help = "converts nothing, but writes what is to be done: a Ninja file, or a line of JSON for each "
               "file with "
               "its arguments",
     .m_example = "ninja",
     .m_choices = "ninja|jsonl"},
    {.m_name = "--plan-file",
     .m_value = "FILE",
     .m_help =
         "where --plan writes: - is the standard output, as for jsonl without it; build.ninja for ninja",
     .m_example = "textures.ninja"},
};

constexpr Option kWritingOptions[] = {
    {.m_name = "--update",
     .m_help =
         "leaves out results that are there already: made from a source with the same contents by the same "
         "options and version, and unchanged since, as a file .texsmith-record beside them tells"},
    {.m_name = "--no-clobber", .m_help = "leaves files alone that are there already", .m_letter = 'n'},
    {.m_name = "--force", .m_help = "replaces read-only files too", .m_letter = 'f'},
    {.m_name = "--parents", .m_help = "makes the folders of a destination that is named, as -o does anyway"},
    {.m_name = "--serial", .m_help = "works on one thread, for engines that start many conversions"},
    {.m_name = "--require-version",
     .m_value = "VERSION",
     .m_help = "fails where the tool is of another version, whose results may differ",
     .m_example = "1.0.0"},
};

// "512M", "2G": with letters for powers of 1024.
std::uint64_t readByteCount(const std::string& text, const std::string& option) {
    std::uint64_t value = 0;
    const char* const end = text.data() + text.size();
    const auto [unit, error] = std::from_chars(text.data(), end, value);
    unsigned shift = 0;
    bool isSize = error == std::errc() && value > 0;
    if (isSize && unit != end) {
        const std::size_t letter = std::string_view("KMGTkmgt").find(*unit);
        isSize = letter != std::string_view::npos && unit + 1 == end;
        shift = 10 * (static_cast<unsigned>(letter % 4) + 1);
    }
    if (!isSize || value > ~std::uint64_t{0} >> shift) {
        throw UsageFailure(option + " is a size such as 512M or 2G, and not '" + text + "'");
    }
    return value << shift;
}

void refuseBoth(const Options& options, const char* a, const char* b) {
    if (options.has(a) && options.has(b)) {
        throw UsageFailure(std::string(a) + " and " + b + " contradict each other");
    }
}

} // namespace

constinit const OptionGroup kBatchGroups[2] = {{"Many files", kFileOptions}, {"Results", kWritingOptions}};

BatchOptions batchOptionsOf(const Options& options) {
    refuseBoth(options, "--keep-going", "--fail-fast");
    refuseBoth(options, "--no-clobber", "--force");
    refuseBoth(options, "--no-clobber", "--update");
    refuseBoth(options, "--dry-run", "--plan");
    const std::string wanted = options.value("--require-version");
    if (!wanted.empty() && wanted != qor::Texsmith::getLibraryVersionText()) {
        throw UsageFailure("version " + wanted + " is required, and this is " +
                           qor::Texsmith::getLibraryVersionText());
    }
    BatchOptions batch;
    batch.m_jobs = options.number("--jobs", 1, kMostJobs, 0);
    batch.m_memory = options.has("--memory")
                         ? readByteCount(options.value("--memory"), "--memory")
                         : 2 * kGigabyte * std::max(1u, std::thread::hardware_concurrency());
    batch.m_failsFast = options.has("--fail-fast");
    batch.m_isDryRun = options.has("--dry-run");
    if (options.has("--plan")) {
        const bool isNinja = options.value("--plan") == "ninja";
        batch.m_plan = isNinja ? PlanFormat::kNinja : PlanFormat::kJsonLines;
        batch.m_planFile = options.has("--plan-file") ? options.value("--plan-file")
                           : isNinja                  ? "build.ninja"
                                                      : "-";
    } else if (options.has("--plan-file")) {
        throw UsageFailure("--plan-file goes with --plan");
    }
    batch.m_isSerial = options.has("--serial");
    batch.m_makesFolders = options.has("--parents");
    batch.m_force = options.has("--force");
    batch.m_keepsExisting = options.has("--no-clobber");
    batch.m_updates = options.has("--update");
    return batch;
}

} // namespace Tool
