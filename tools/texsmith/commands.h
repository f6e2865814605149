// The commands of the tool.
#pragma once

#include "command.h"

#include <span>
#include <string_view>

namespace Tool {

extern const Command kAssembleCommand;
extern const Command kCompareCommand;
extern const Command kCompletionsCommand;
extern const Command kConvertCommand;
extern const Command kExtractCommand;
extern const Command kFormatsCommand;
extern const Command kInfoCommand;
extern const Command kManualCommand;
extern const Command kReportCommand;
extern const Command kStatsCommand;
extern const Command kTexelCommand;
extern const Command kTileCommand;
extern const Command kUntileCommand;
extern const Command kValidateCommand;
extern const Command kVersionCommand;
extern const Command kViewCommand;

// All of them, by name.
std::span<const Command* const> allCommands();

// Throws UsageFailure for a name that no command has.
const Command& commandNamed(std::string_view name);

} // namespace Tool
