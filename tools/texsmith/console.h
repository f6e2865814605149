// What the tool says beside its results, and whether anybody wants to hear it.
#pragma once

#include "command.h"

#include <string>
#include <string_view>
#include <vector>

namespace Tool {

// --strict, for commands that read files and convert none.
extern const OptionGroup kWarningOptions;

// From the options of a command, once, before anything else is told.
void setConsole(const Options& options);

// The result is told as JSON, in which hints have their place.
bool isJson();
// Only the exit status and errors are asked for.
bool isQuiet();
// Somebody looks: at a terminal, or because of --verbose.
bool showsProgress();

// What is warned of is a failure.
bool isStrict();

// One line for the user of what is wrong although the work is done, on the standard error stream. Any thread
// may call it; a text that was told is not told again.
void warn(const std::string& text);
// One line for the user that is no failure, on the standard error stream where somebody looks. Any thread may
// call it; a text that was told is not told again.
void hint(const std::string& text);
// While it lives, hints of this thread name the file that they are about.
class HintsAbout {
public:
    explicit HintsAbout(const std::string& file);
    ~HintsAbout();
    HintsAbout(const HintsAbout&) = delete;
    HintsAbout& operator=(const HintsAbout&) = delete;

private:
    std::string m_file;
};
// All that were given.
std::vector<std::string> hintsGiven();
std::vector<std::string> warningsGiven();

// On one line, whatever the text holds: control characters and bytes that are not UTF-8 as \n, \t or \x1b.
std::string escaped(std::string_view text);
// A name as a result shows it: escaped on a terminal, and elsewhere as it is.
std::string shownName(const std::string& name);

} // namespace Tool
