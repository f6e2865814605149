#include "help_text.h"

#include "commands.h"
#include "exit_status.h"

#include "qor/texsmith/raw/helpers.h"

#include <algorithm>
#include <cctype>
#include <cstddef>

namespace Tool {
namespace {

namespace Raw = qor::Texsmith::Raw;

constexpr std::size_t kColumns = 79, kTermIndent = 2, kHelpIndent = 24;

// Words behind `text`, which ends at `column`, in lines that begin at `indent`.
void appendWrapped(std::string* text, std::string_view words, std::size_t column, std::size_t indent) {
    if (column > indent) { // the first word gets a line of its own
        *text += '\n';
        column = 0;
    }
    bool isLineEmpty = true;
    while (!words.empty()) {
        const std::string_view word = words.substr(0, words.find(' '));
        words.remove_prefix(std::min(words.size(), word.size() + 1));
        if (!isLineEmpty && column + 1 + word.size() > kColumns) {
            *text += '\n';
            column = 0;
            isLineEmpty = true;
        }
        const std::size_t gap = isLineEmpty ? indent - column : 1;
        text->append(gap, ' ');
        *text += word;
        column += gap + word.size();
        isLineEmpty = false;
    }
    *text += '\n';
}

void appendTerm(std::string* text, std::string_view term, std::string_view help) {
    text->append(kTermIndent, ' ');
    *text += term;
    const std::size_t column = kTermIndent + term.size();
    appendWrapped(text, help, column + 2 > kHelpIndent ? kHelpIndent + 1 : column, kHelpIndent);
}

void appendParagraphs(std::string* text, std::string_view paragraphs) {
    while (!paragraphs.empty()) {
        const std::size_t end = std::min(paragraphs.find("\n\n"), paragraphs.size());
        *text += '\n';
        appendWrapped(text, paragraphs.substr(0, end), 0, 0);
        paragraphs.remove_prefix(std::min(paragraphs.size(), end + 2));
    }
}

void appendGroup(std::string* text, const OptionGroup& group) {
    *text += "\n" + std::string(group.m_heading) + ":\n";
    for (const Option& option : group.m_options) {
        appendTerm(text, optionWithValue(option), optionHelp(option));
    }
}

// ".bmp, .dds", in the order of the library.
std::string typesOfFile() {
    std::string list;
    for (int index = 0; index < Raw::getFileTypeSupportCount(); ++index) {
        const Raw::FileTypeSupport type = Raw::getFileTypeSupport(index);
        if (type.m_isRead || type.m_isWritten) {
            list += list.empty() ? "" : ", ";
            for (const char* c = type.m_extension; *c != '\0'; ++c) {
                list += static_cast<char>(std::tolower(static_cast<unsigned char>(*c)));
            }
        }
    }
    return list;
}

} // namespace

std::string sentence(std::string_view phrase) {
    std::string text(phrase);
    if (!text.empty() && text[0] >= 'a' && text[0] <= 'z') {
        text[0] = static_cast<char>(text[0] - 'a' + 'A');
    }
    return text + ".";
}

std::string synopsis(const Command& command) {
    std::string text(command.m_name);
    text += " [OPTION]...";
    for (const Operand& operand : command.m_operands) {
        const std::string name = std::string(operand.m_name) + (operand.m_most > 1 ? "..." : "");
        text += operand.m_least == 0 ? " [" + name + "]" : " " + name;
    }
    return text;
}

std::string optionWithValue(const Option& option) {
    std::string text = option.m_letter == 0 ? "" : std::string("-") + option.m_letter + ", ";
    text += option.m_name;
    return option.m_value.empty() ? text : text + " " + std::string(option.m_value);
}

std::string optionHelp(const Option& option) {
    std::string text(option.m_help);
    if (!option.m_choices.empty()) {
        text += ": ";
        for (const char c : option.m_choices) {
            text += c == '|' ? std::string(", ") : std::string(1, c);
        }
    }
    if (option.m_repeats) {
        text += "; may be given more than once";
    }
    if (!option.m_example.empty()) {
        text += ". Example: " + std::string(option.m_name) + " " + std::string(option.m_example);
    }
    return text;
}

std::string commandHelp(const Command& command) {
    std::string text = "Usage: texsmith " + synopsis(command) + "\n\n";
    appendWrapped(&text, sentence(command.m_summary), 0, 0);
    appendParagraphs(&text, command.m_description);
    if (!command.m_operands.empty()) {
        text += '\n';
        for (const Operand& operand : command.m_operands) {
            appendTerm(&text, operand.m_name, operand.m_help);
        }
    }
    for (const OptionGroup& group : command.m_groups) {
        appendGroup(&text, group);
    }
    appendGroup(&text, kCommonOptions);
    text += command.m_examples.empty() ? "" : "\nExamples:\n";
    for (const Example& example : command.m_examples) {
        text += "  texsmith " + std::string(example.m_arguments) + "\n";
        appendWrapped(&text, example.m_help, 0, 6);
    }
    return text;
}

std::string generalHelp() {
    std::string text = "Usage: texsmith COMMAND [ARGUMENT]...\n"
                       "       texsmith --help | --version\n\n"
                       "Converts, measures and compares textures.\n\nCommands (COMMAND --help tells more):\n";
    for (const Command* command : allCommands()) {
        appendTerm(&text, command->m_name, command->m_summary);
    }
    appendGroup(&text, kCommonOptions);
    text += "\nExit status:\n";
    for (const ExitStatusText& status : kExitStatusTexts) {
        appendTerm(&text, std::to_string(status.m_status), status.m_help);
    }
    text += "\nTypes: " + typesOfFile() + "\n";
    return text;
}

} // namespace Tool
