// The tool's body: finds the command and turns every failure into one line and an exit status.
#pragma once

namespace Tool {

enum ExitStatus : int { kExitSuccess = 0, kExitFailure = 1, kExitUsage = 2 };

int runApplication(int argc, char** argv);

} // namespace Tool
