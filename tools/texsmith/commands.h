// The commands. Each takes the arguments behind its name, prints its result on the standard output, and
// throws Failure for anything that goes wrong.
#pragma once

#include <span>

namespace Tool {

using Arguments = std::span<char* const>;

void compareCommand(Arguments arguments);
void convertCommand(Arguments arguments);
void formatsCommand(Arguments arguments);
void infoCommand(Arguments arguments);
void statsCommand(Arguments arguments);
void texelCommand(Arguments arguments);

} // namespace Tool
