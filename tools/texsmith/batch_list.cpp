#include "batch_list.h"

#include "batch_names.h"
#include "batch_options.h"
#include "batch_sources.h"
#include "failure.h"
#include "file_conversion.h"
#include "paths.h"
#include "recipe.h"
#include "source_file.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>
#include <utility>

namespace Tool {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kNeedsSources =
    "convert takes SOURCE... and a DESTINATION; see texsmith convert --help";

// Each of these asks for a name to be made.
constexpr std::string_view kBatchNames[] = {"--recursive", "--list", "--output", "--name", "--recipe"};

// ".dds", but not a folder such as "..", or a file whose name begins with a dot.
bool isExtension(const std::string& name) {
    std::error_code error;
    return name.starts_with('.') && nameOffset(name) == 0 && !fs::exists(toPath(name), error);
}

// All groups of a command but those that are about many files, results and streams: what a rule may have.
std::vector<OptionGroup> groupsOfTexels(const Command& command) {
    std::vector<OptionGroup> groups;
    const auto isSame = [](const OptionGroup& a, const OptionGroup& b) {
        return a.m_options.data() == b.m_options.data();
    };
    for (const OptionGroup& group : command.m_groups) {
        if (!isSame(group, kBatchGroups[0]) && !isSame(group, kBatchGroups[1]) &&
            !isSame(group, kStandardStreamOptions)) {
            groups.push_back(group);
        }
    }
    return groups;
}

// The options of a rule, and those of the command line in front of which they stand.
BatchSettings settingsOf(const std::vector<std::string>& rule, const std::vector<std::string>& given,
                         std::span<const OptionGroup> groups) {
    const Command command{.m_name = "convert", .m_summary = {}, .m_groups = groups};
    std::vector<std::string> all = rule;
    all.insert(all.end(), given.begin(), given.end());
    const Options merged(command, all);
    return {conversionOptionsOf(merged), argumentsIn(merged, groups)};
}

struct Request {
    SourceRequest m_sources;
    Naming m_naming;
};

Request requestOf(const Options& options) {
    Request request;
    request.m_sources.m_names = options.names();
    request.m_sources.m_lists = options.values("--list");
    request.m_sources.m_entersFolders = options.has("--recursive");
    request.m_sources.m_outputFolder = options.value("--output");
    request.m_naming.m_folder = options.value("--output");
    const std::string& folder = request.m_naming.m_folder;
    std::error_code error;
    if (options.has("--output") &&
        (folder.empty() || (fs::exists(toPath(folder), error) && !fs::is_directory(toPath(folder), error)))) {
        throw UsageFailure("--output names a folder, and not '" + folder + "'");
    }
    if (options.has("--name")) {
        request.m_naming.m_pattern = options.value("--name");
    }
    std::vector<std::string>& names = request.m_sources.m_names;
    if (!names.empty() && isExtension(names.back())) {
        request.m_naming.m_extension = names.back();
        names.pop_back();
    } else if (!options.has("--recipe")) {
        throw UsageFailure(names.size() < 2
                               ? std::string(kNeedsSources)
                               : "where several files are converted, an extension such as .dds stands "
                                 "behind them; see texsmith convert --help");
    }
    if (names.empty() && request.m_sources.m_lists.empty()) {
        throw UsageFailure(std::string(kNeedsSources));
    }
    return request;
}

bool namesOnePair(const Options& options) {
    const std::vector<std::string>& names = options.names();
    const bool isPlain = std::none_of(std::begin(kBatchNames), std::end(kBatchNames),
                                      [&](std::string_view option) { return options.has(option); });
    return names.size() == 2 && isPlain && !isExtension(names[1]);
}

class BatchMaker {
public:
    explicit BatchMaker(const Options& options)
        : m_options(options), m_groups(groupsOfTexels(options.command())), m_request(requestOf(options)) {}

    Batch make() {
        readSettings();
        SourceList sources = collectSources(m_request.m_sources);
        for (const BatchSource& source : sources.m_files) {
            add(source);
        }
        dropResults();
        m_batch.m_folders = std::move(sources.m_folders);
        if (m_batch.m_files.empty() && m_batch.m_passedOver.empty()) {
            throw UsageFailure(m_areFound.empty() ? "there is no file to convert"
                                                  : "all files that were found would be written over "
                                                    "themselves; -o names another folder");
        }
        return std::move(m_batch);
    }

private:
    void readSettings() {
        const std::vector<std::string> given = argumentsIn(m_options, m_groups);
        if (!m_options.has("--recipe")) {
            checkNaming(m_request.m_naming);
            m_batch.m_settings.push_back(settingsOf({}, given, m_groups));
            m_namings.push_back(m_request.m_naming);
            return;
        }
        const std::string recipe = m_options.value("--recipe");
        m_rules = readRecipe(recipe, m_groups);
        for (const RecipeRule& rule : m_rules) {
            Naming naming = m_request.m_naming;
            naming.m_extension = rule.m_extension.empty() ? naming.m_extension : rule.m_extension;
            naming.m_pattern = rule.m_name.empty() ? naming.m_pattern : rule.m_name;
            if (!rule.m_isSkipped) {
                checkNamingOf(rule, naming, recipe);
            }
            m_batch.m_settings.push_back(settingsOf(rule.m_arguments, given, m_groups));
            m_namings.push_back(naming);
        }
    }

    static void checkNamingOf(const RecipeRule& rule, const Naming& naming, const std::string& recipe) {
        const std::string place = recipe + ": the rule for '" + rule.m_patterns.front() + "'";
        if (naming.m_extension.empty()) {
            throw UsageFailure(place + " has no \"to\", and the command line no extension");
        }
        try {
            checkNaming(naming);
        } catch (const UsageFailure& failure) {
            throw UsageFailure(place + ": " + failure.what());
        }
    }

    void add(const BatchSource& source) {
        std::size_t settings = 0;
        if (m_options.has("--recipe")) {
            const RecipeRule* rule = ruleFor(source.m_place, m_rules);
            if (rule == nullptr || rule->m_isSkipped) {
                m_batch.m_passedOver.push_back(source.m_name);
                return;
            }
            settings = static_cast<std::size_t>(rule - m_rules.data());
        }
        const std::string destination = destinationOf(source, m_namings[settings]);
        checkConversionOptions(m_batch.m_settings[settings].m_options, destination);
        m_batch.m_files.push_back({source.m_name, destination, settings});
        m_areFound.push_back(source.m_isFound);
    }

    // Of the files that were found in folders: those that others, or they themselves, would be written as.
    // Where results lie beside their sources, a second run finds them.
    void dropResults() {
        const auto keyOf = [](const std::string& name) { return toPath(name).lexically_normal(); };
        std::set<fs::path> results;
        for (const BatchFile& file : m_batch.m_files) {
            results.insert(keyOf(file.m_destination));
        }
        std::size_t kept = 0;
        for (std::size_t i = 0; i < m_batch.m_files.size(); ++i) {
            if (!m_areFound[i] || !results.contains(keyOf(m_batch.m_files[i].m_source))) {
                std::swap(m_batch.m_files[kept++], m_batch.m_files[i]);
            }
        }
        m_batch.m_files.resize(kept);
    }

    const Options& m_options;
    const std::vector<OptionGroup> m_groups;
    Request m_request;
    std::vector<RecipeRule> m_rules;
    std::vector<Naming> m_namings; // one for each of the settings
    std::vector<bool> m_areFound;  // of the files, in folders
    Batch m_batch;
};

Batch pairOf(const Options& options) {
    const std::string& source = options.names()[0];
    std::error_code error;
    if (fs::is_directory(toPath(source), error)) {
        throw UsageFailure(source + " is a folder; -r takes the files below it");
    }
    const std::string& destination = options.names()[1];
    const bool endsLikeFolder = !destination.empty() && nameOffset(destination) == destination.size();
    if (endsLikeFolder || fs::is_directory(toPath(destination), error)) {
        throw UsageFailure(destination + " is a folder; '" + source + " .dds -o " + destination +
                           "' writes below it");
    }
    Batch batch;
    batch.m_settings.push_back(
        {conversionOptionsOf(options), argumentsIn(options, groupsOfTexels(options.command()))});
    batch.m_files.push_back({source, resolveDestination(source, destination), 0});
    batch.m_isOnePair = true;
    return batch;
}

} // namespace

std::string BatchSettings::text() const {
    std::string text;
    for (const std::string& argument : m_arguments) {
        text += (text.empty() ? "" : " ") + argument;
    }
    return text;
}

std::vector<std::string> argumentsIn(const Options& options, std::span<const OptionGroup> groups) {
    std::vector<std::string> arguments;
    for (const OptionGroup& group : groups) {
        for (const Option& option : group.m_options) {
            for (const std::string& value : options.values(option.m_name)) {
                arguments.push_back(std::string(option.m_name) + (value.empty() ? "" : "=" + value));
            }
        }
    }
    return arguments;
}

Batch makeBatch(const Options& options) {
    if (namesOnePair(options)) {
        return pairOf(options);
    }
    Batch batch = BatchMaker(options).make();
    std::vector<std::pair<std::string, std::string>> conversions;
    for (const BatchFile& file : batch.m_files) {
        conversions.emplace_back(file.m_source, file.m_destination);
    }
    refuseCollisions(conversions);
    return batch;
}

} // namespace Tool
