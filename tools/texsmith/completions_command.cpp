// texsmith completions: what makes a shell complete the tool's arguments.
#include "commands.h"
#include "failure.h"
#include "help_text.h"
#include "options.h"

#include "qor/texsmith/raw/format.h"

#include <cstdio>
#include <string>
#include <string_view>

namespace Tool {
namespace {

namespace Raw = qor::Texsmith::Raw;

std::string replaced(std::string text, std::string_view from, std::string_view to) {
    for (std::size_t at = text.find(from); at != text.npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

// In single quotes, for shells whose quotes know no escapes, and for fish.
std::string inSingleQuotes(std::string_view text) {
    return "'" + replaced(std::string(text), "'", "'\\''") + "'";
}
std::string quotedForFish(std::string_view text) {
    return "'" + replaced(replaced(std::string(text), "\\", "\\\\"), "'", "\\'") + "'";
}

std::string commandNames() {
    std::string names;
    for (const Command* command : allCommands()) {
        names += (names.empty() ? "" : " ") + std::string(command->m_name);
    }
    return names;
}

std::string formatNames() {
    std::string names;
    for (int index = 0; index < Raw::getNamedDataFormatCount(); ++index) {
        const Raw::NamedDataFormat format = Raw::getNamedDataFormat(index);
        names +=
            format.m_dataFormat.m_word == 0 ? "" : (names.empty() ? "" : " ") + std::string(format.m_name);
    }
    return names;
}

// The words that the value may be; empty where there is no list of them.
std::string wordsOf(const Option& option, std::string_view formats) {
    return option.m_value == "FORMAT" ? std::string(formats)
                                      : replaced(std::string(option.m_choices), "|", " ");
}

bool takesFile(const Option& option) {
    return option.m_value == "FILE" || option.m_value == "PICTURE" || option.m_value == "FOLDER";
}

std::string forBash() {
    std::string values, options;
    for (const Command* command : allCommands()) {
        const std::string name(command->m_name);
        std::string list;
        forEachOption(*command, [&](const Option& option) {
            list += (list.empty() ? "" : " ") + std::string(option.m_name);
            const std::string words = wordsOf(option, "$formats");
            if (!words.empty()) {
                values += "    " + name + "," + std::string(option.m_name) + ") words=\"" + words + "\" ;;\n";
            }
        });
        options += "        " + name + ") words=\"" + list + "\" ;;\n";
    }
    return "# Completes the arguments of texsmith in bash.\n"
           "_texsmith() {\n"
           "    local formats=" +
           inSingleQuotes(formatNames()) +
           "\n"
           "    local commands=" +
           inSingleQuotes(commandNames()) +
           "\n"
           "    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} command= words= "
           "word\n"
           "    if [[ $current == = ]]; then\n"
           "        current=\n"
           "    elif [[ $previous == = && COMP_CWORD -gt 1 ]]; then\n"
           "        previous=${COMP_WORDS[COMP_CWORD-2]}\n"
           "    fi\n"
           "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
           "        if [[ \" $commands \" == *\" $word \"* ]]; then\n"
           "            command=$word\n"
           "            break\n"
           "        fi\n"
           "    done\n"
           "    case $command,$previous in\n" +
           values +
           "    esac\n"
           "    if [[ -z $words && -z $command ]]; then\n"
           "        words=\"$commands --help --version\"\n"
           "    elif [[ -z $words && $current == -* ]]; then\n"
           "        case $command in\n" +
           options +
           "        esac\n"
           "    fi\n"
           "    COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n"
           "}\n"
           "complete -o default -F _texsmith texsmith\n";
}

// Brackets and colons part the pieces of what zsh is told of an option.
std::string forZshPiece(std::string_view text) {
    return replaced(replaced(replaced(std::string(text), "[", "\\["), "]", "\\]"), ":", "\\:");
}

std::string forZshOption(const Option& option) {
    std::string text = std::string(option.m_repeats ? "*" : "") + std::string(option.m_name);
    const bool mayLeaveOut = option.m_value.starts_with('[');
    text += option.m_value.empty() ? "" : mayLeaveOut ? "=-" : "=";
    text += "[" + forZshPiece(optionHelp(option)) + "]";
    if (!option.m_value.empty()) {
        const std::string words = wordsOf(option, "$formats");
        text += std::string(mayLeaveOut ? "::" : ":") + forZshPiece(option.m_value) + ":";
        text += words.empty() ? (takesFile(option) ? "_files" : "") : "(" + words + ")";
    }
    const bool isInDoubleQuotes = option.m_value == "FORMAT"; // $formats is filled in
    return isInDoubleQuotes ? "\"" + replaced(replaced(text, "\\", "\\\\"), "\"", "\\\"") + "\""
                            : inSingleQuotes(text);
}

std::string forZsh() {
    std::string commands, cases;
    for (const Command* command : allCommands()) {
        const std::string name(command->m_name);
        commands += "        " + inSingleQuotes(name + ":" + std::string(command->m_summary)) + "\n";
        cases += "    " + name + ")\n        _arguments -S";
        forEachOption(*command, [&](const Option& option) {
            cases += " \\\n            " + forZshOption(option);
            if (option.m_letter != 0 && option.m_value.empty()) {
                cases += " \\\n            " + inSingleQuotes(std::string("-") + option.m_letter + "[" +
                                                              forZshPiece(option.m_help) + "]");
            }
        });
        cases += " \\\n            '*:file:_files'\n        ;;\n";
    }
    return "#compdef texsmith\n# Completes the arguments of texsmith in zsh.\n"
           "_texsmith() {\n"
           "    local formats=" +
           inSingleQuotes(formatNames()) +
           "\n"
           "    local -a commands=(\n" +
           commands +
           "    )\n"
           "    if (( CURRENT == 2 )); then\n"
           "        _describe command commands\n"
           "        return\n"
           "    fi\n"
           "    shift words\n"
           "    (( CURRENT-- ))\n"
           "    case $words[1] in\n" +
           cases +
           "    esac\n"
           "}\n"
           "_texsmith \"$@\"\n";
}

std::string forFish() {
    std::string text = "# Completes the arguments of texsmith in fish.\n";
    const std::string formats = formatNames();
    for (const Command* command : allCommands()) {
        const std::string name(command->m_name);
        text += "complete -c texsmith -n __fish_use_subcommand -f -a " + name + " -d " +
                quotedForFish(command->m_summary) + "\n";
        forEachOption(*command, [&](const Option& option) {
            const std::string words = wordsOf(option, formats);
            text += "complete -c texsmith -n '__fish_seen_subcommand_from " + name + "' -l " +
                    std::string(option.m_name.substr(2));
            text += option.m_letter != 0 ? std::string(" -s ") + option.m_letter : "";
            text += option.m_value.empty() || option.m_value.starts_with('[') ? ""
                    : takesFile(option)                                       ? " -r"
                                                                              : " -x";
            text += words.empty() ? "" : " -a " + quotedForFish(words);
            text += " -d " + quotedForFish(option.m_help) + "\n";
        });
    }
    return text;
}

void run(const Options& options) {
    const std::string& shell = options.names()[0];
    if (shell != "bash" && shell != "zsh" && shell != "fish") {
        throw UsageFailure("completions are there for bash, zsh and fish, and not for '" + shell + "'");
    }
    std::fputs((shell == "bash" ? forBash() : shell == "zsh" ? forZsh() : forFish()).c_str(), stdout);
}

constexpr Operand kOperands[] = {{.m_name = "SHELL", .m_help = "bash, zsh or fish"}};

constexpr Example kExamples[] = {
    {"completions bash > texsmith.bash", "for bash, once 'source texsmith.bash' stands in ~/.bashrc"}};

} // namespace

const Command kCompletionsCommand = {
    .m_name = "completions",
    .m_summary = "prints what makes a shell complete the arguments of texsmith",
    .m_operands = kOperands,
    .m_examples = kExamples,
    .m_run = &run,
};

} // namespace Tool
