// The tool's body: finds the command and turns every failure into one line and an exit status.
#pragma once

namespace Tool {

int runApplication(int argc, char** argv);

} // namespace Tool
