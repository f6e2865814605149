// How a command describes itself. Parsing, --help, the manual page and the completions of shells are all made
// from this description, and from nothing else.
#pragma once

#include <span>
#include <string_view>

namespace Tool {

class Options;

struct Option {
    std::string_view m_name; // "--mips"
    // What stands for the value in the help, as in "--mips [N]": brackets for one that may be left out, two
    // words for two values, nothing for a flag. Shells complete FILE, PICTURE and FOLDER by what lies there,
    // and FORMAT by the names of formats.
    std::string_view m_value = {};
    std::string_view m_help = {};    // a phrase, which begins in lower case and ends without a point
    std::string_view m_example = {}; // a value, for options that have one
    std::string_view m_choices = {}; // "fast|normal|high": the only values there are
    char m_letter = 0;               // 'q' for "-q" beside the name
    bool m_repeats = false;          // every value given counts, else the last one
};

// Options under one heading of the help. A group may be shared by several commands.
struct OptionGroup {
    std::string_view m_heading;
    std::span<const Option> m_options;
};

// An argument that is no option.
struct Operand {
    static constexpr unsigned kAnyNumber = ~0u;

    std::string_view m_name; // "SOURCE"
    std::string_view m_help;
    unsigned m_least = 1;
    unsigned m_most = 1;
};

struct Example {
    std::string_view m_arguments; // behind "texsmith "
    std::string_view m_help;
};

struct Command {
    std::string_view m_name;
    std::string_view m_summary;          // as the help of an option
    std::string_view m_description = {}; // sentences; an empty line parts paragraphs
    std::span<const Operand> m_operands = {};
    std::span<const OptionGroup> m_groups = {};
    std::span<const Example> m_examples = {};
    // Prints the result on the standard output, and throws Failure for anything that goes wrong.
    void (*m_run)(const Options& options) = nullptr;
};

// What every command takes besides.
extern const OptionGroup kCommonOptions;

template <typename Use> void forEachOption(const Command& command, Use use) {
    for (const OptionGroup& group : command.m_groups) {
        for (const Option& option : group.m_options) {
            use(option);
        }
    }
    for (const Option& option : kCommonOptions.m_options) {
        use(option);
    }
}

} // namespace Tool
