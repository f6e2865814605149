#include "plan.h"

#include "failure.h"
#include "json_output.h"
#include "paths.h"
#include "replacement_file.h"
#include "source_file.h"

#include "qor/texsmith/version.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

namespace Tool {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kMadeBy = "# Made by texsmith ";
constexpr bool kIsWindows = fs::path::preferred_separator == '\\';
// Options of which each edge has its own, or none.
constexpr std::string_view kWriting[] = {"--update", "--no-clobber", "--force"};

std::string s_program = "texsmith";

// What every conversion of the plan begins with.
std::vector<std::string> startOf(const Options& options) {
    std::vector<std::string> start = {s_program, "convert", "--serial", "--parents",
                                      std::string("--require-version=") +
                                          qor::Texsmith::getLibraryVersionText()};
    for (const std::string_view option : kWriting) {
        if (options.has(option)) {
            start.emplace_back(option);
        }
    }
    return start;
}

// As the C run-time library of Windows takes a command line apart: backslashes count only in front of quotes.
std::string quotedForWindows(const std::string& argument) {
    std::string quoted = "\"";
    std::size_t slashes = 0;
    for (const char c : argument) {
        if (c == '"') {
            quoted.append(slashes + 1, '\\');
        }
        slashes = c == '\\' ? slashes + 1 : 0;
        quoted += c;
    }
    return quoted.append(slashes, '\\') + '"';
}

std::string quotedForShell(const std::string& argument) {
    std::string quoted = "'";
    for (const char c : argument) {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + "'";
}

std::string quoted(const std::string& argument) {
    constexpr std::string_view kPlain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_=+./:,@";
    if (!argument.empty() && argument.find_first_not_of(kPlain) == argument.npos) {
        return argument;
    }
    return kIsWindows ? quotedForWindows(argument) : quotedForShell(argument);
}

// For Ninja, in which a dollar sign begins every escape. There is none for what is in `impossible`.
std::string escapedForNinja(const std::string& text, std::string_view special, std::string_view impossible) {
    if (text.find_first_of(impossible) != text.npos) {
        throw UsageFailure("'" + text + "': a Ninja file cannot hold names with line feeds or bars");
    }
    std::string escapedText;
    for (const char c : text) {
        escapedText += special.find(c) != special.npos ? std::string("$") + c : std::string(1, c);
    }
    return escapedText;
}

std::string ninjaPath(const std::string& path) { return escapedForNinja(path, "$ :", "\r\n|"); }

std::string ninjaCommand(const std::vector<std::string>& arguments) {
    std::string command;
    for (const std::string& argument : arguments) {
        command += (command.empty() ? "" : " ") + escapedForNinja(quoted(argument), "$", "\r\n");
    }
    return command;
}

fs::path canonicalOf(const fs::path& path) {
    std::error_code error;
    return fs::weakly_canonical(path.empty() ? fs::path(".") : path, error);
}

// Those that results lie in, and all folders above them.
std::set<fs::path> foldersOfResults(const Batch& batch) {
    std::set<fs::path> named, all;
    for (const BatchFile& file : batch.m_files) {
        named.insert(toPath(file.m_destination).parent_path());
    }
    for (const fs::path& folder : named) {
        for (fs::path above = canonicalOf(folder); all.insert(above).second && above.has_relative_path();) {
            above = above.parent_path();
        }
    }
    return all;
}

// The command line that made the plan, with its own file.
std::vector<std::string> argumentsToPlan(const Options& options, const std::string& planFile) {
    std::vector<std::string> arguments = {s_program, "convert"};
    for (const std::string& argument : argumentsIn(options, options.command().m_groups)) {
        if (!argument.starts_with("--plan-file")) {
            arguments.push_back(argument);
        }
    }
    arguments.push_back("--plan-file=" + planFile);
    arguments.push_back("--");
    arguments.insert(arguments.end(), options.names().begin(), options.names().end());
    return arguments;
}

std::string planEdge(const Batch& batch, const BatchOptions& plan, const Options& options) {
    std::vector<std::string> inputs = options.values("--list");
    const bool canBeRepeated =
        plan.m_planFile != "-" && std::find(inputs.begin(), inputs.end(), "-") == inputs.end();
    if (!canBeRepeated) {
        return {};
    }
    if (options.has("--recipe")) {
        inputs.push_back(options.value("--recipe"));
    }
    if (nameOffset(s_program) != 0) {
        inputs.push_back(s_program);
    }
    // A folder in which results come up changes with each of them, and tells nothing.
    const std::set<fs::path> ofResults = foldersOfResults(batch);
    for (const std::string& folder : batch.m_folders) {
        if (!ofResults.contains(canonicalOf(toPath(folder)))) {
            inputs.push_back(folder);
        }
    }
    std::string text = "\nrule plan\n  command = " + ninjaCommand(argumentsToPlan(options, plan.m_planFile)) +
                       "\n  description = plan\n  generator = 1\n\nbuild " + ninjaPath(plan.m_planFile) +
                       ": plan";
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        text += (i == 0 ? " | " : " ") + ninjaPath(inputs[i]);
    }
    return text + "\n";
}

std::string ninjaFile(const Batch& batch, const BatchOptions& plan, const Options& options) {
    const unsigned depth = plan.m_jobs != 0 ? plan.m_jobs : std::max(1u, std::thread::hardware_concurrency());
    std::string text =
        std::string(kMadeBy) + qor::Texsmith::getLibraryVersionText() +
        ". Run it in the folder where it was made.\n"
        "ninja_required_version = 1.5\n\npool texsmith\n  depth = " +
        std::to_string(depth) + "\n\nrule convert\n  command = " + ninjaCommand(startOf(options)) +
        " $options -- $in $out\n  description = $out\n  pool = texsmith\n" + planEdge(batch, plan, options);
    for (const BatchFile& file : batch.m_files) {
        text += "\nbuild " + ninjaPath(file.m_destination) + ": convert " + ninjaPath(file.m_source) +
                "\n  options = " + ninjaCommand(batch.m_settings[file.m_settings].m_arguments) + "\n";
    }
    return text;
}

std::string jsonLines(const Batch& batch, const Options& options) {
    std::string text;
    for (const BatchFile& file : batch.m_files) {
        std::vector<std::string> arguments = startOf(options);
        const std::vector<std::string>& own = batch.m_settings[file.m_settings].m_arguments;
        arguments.insert(arguments.end(), own.begin(), own.end());
        arguments.insert(arguments.end(), {"--", file.m_source, file.m_destination});
        const Json line = {{"schema", kJsonSchema},
                           {"source", file.m_source},
                           {"destination", file.m_destination},
                           {"version", qor::Texsmith::getLibraryVersionText()},
                           {"arguments", arguments}};
        try {
            text += line.dump() + "\n";
        } catch (const Json::type_error&) {
            throw UsageFailure(file.m_source + ": lines of JSON hold names in UTF-8 alone");
        }
    }
    return text;
}

// The standard streams are gone when a plan is run, and Ninja knows files alone.
void refuseOutsideOfPlans(const BatchFile& file, bool isNinja) {
    if (file.m_source == kStandardStream || file.m_destination == kStandardStream) {
        throw UsageFailure("a plan is for files, and not for the standard input or output");
    }
    if (isNinja && isUrl(file.m_source)) {
        throw UsageFailure(file.m_source + ": a Ninja file is for files, and not for URLs");
    }
}

// A Ninja file that somebody wrote by hand, or that builds something else, is not lost.
void refuseForeignFile(const std::string& name) {
    std::error_code error;
    std::string start(kMadeBy.size(), '\0');
    std::ifstream stream(toPath(name), std::ios::binary);
    stream.read(start.data(), static_cast<std::streamsize>(start.size()));
    if (fs::exists(toPath(name), error) && start != kMadeBy) {
        throw Failure("this file was not made by texsmith, and stays; --plan-file names another",
                      kExitUnwritable, name);
    }
}

} // namespace

void rememberProgram(const char* name) {
    if (name == nullptr || *name == '\0') {
        return;
    }
    s_program = name;
    std::error_code error;
    const fs::path path = fs::absolute(toPath(s_program), error);
    if (nameOffset(s_program) != 0 && !error) {
        s_program = toName(path.lexically_normal());
    }
}

void writePlan(const Batch& batch, const BatchOptions& plan, const Options& options) {
    const bool isNinja = plan.m_plan == PlanFormat::kNinja;
    for (const BatchFile& file : batch.m_files) {
        refuseOutsideOfPlans(file, isNinja);
    }
    const std::string text = isNinja ? ninjaFile(batch, plan, options) : jsonLines(batch, options);
    if (plan.m_planFile == "-") {
        std::fputs(text.c_str(), stdout);
        return;
    }
    if (isNinja) {
        refuseForeignFile(plan.m_planFile);
    }
    replaceFile(plan.m_planFile, text);
}

} // namespace Tool
