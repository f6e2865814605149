#include "commands.h"

#include "failure.h"
#include "near_miss.h"
#include "paths.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

namespace Tool {
namespace {

// clang-format off
constexpr const Command* kCommands[] = {
    &kAssembleCommand,
    &kCompareCommand,
    &kCompletionsCommand,
    &kConvertCommand,
    &kExtractCommand,
    &kFormatsCommand,
    &kInfoCommand,
    &kManualCommand,
    &kReportCommand,
    &kStatsCommand,
    &kTexelCommand,
    &kTileCommand,
    &kUntileCommand,
    &kValidateCommand,
    &kVersionCommand,
    &kViewCommand,
};
// clang-format on

} // namespace

std::span<const Command* const> allCommands() { return kCommands; }

const Command& commandNamed(std::string_view name) {
    const auto* found = std::find_if(std::begin(kCommands), std::end(kCommands),
                                     [name](const Command* command) { return command->m_name == name; });
    if (found != std::end(kCommands)) {
        return **found;
    }
    if (isThere(std::string(name))) {
        throw UsageFailure("no command given in front of '" + std::string(name) +
                           "'; 'texsmith convert' is one, and texsmith --help tells all");
    }
    std::vector<std::string_view> names = {"--help", "--version"};
    for (const Command* command : kCommands) {
        names.push_back(command->m_name);
    }
    throw UsageFailure("unknown command '" + std::string(name) + "'" +
                       suggestion(name, names, "see texsmith --help"));
}

} // namespace Tool
