// texsmith manual: the manual page, in the language of man(7).
#include "commands.h"
#include "exit_status.h"
#include "help_text.h"

#include "qor/texsmith/version.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>

namespace Tool {
namespace {

// Text that the formatter takes for what it is.
std::string literal(std::string_view text) {
    std::string result;
    for (const char c : text) {
        const bool startsLine = result.empty() || result.back() == '\n';
        result += startsLine && (c == '.' || c == '\'') ? "\\&" : "";
        result += c == '\\' ? "\\e" : c == '-' ? "\\-" : c == '\'' ? "\\(aq" : std::string(1, c);
    }
    return result;
}

std::string bold(std::string_view text) { return "\\fB" + literal(text) + "\\fR"; }

std::string term(const std::string& name, std::string_view help) {
    return ".TP\n" + name + "\n" + literal(help) + "\n";
}

std::string paragraphs(std::string_view text) {
    std::string result = literal(text);
    for (std::size_t gap = result.find("\n\n"); gap != result.npos; gap = result.find("\n\n", gap)) {
        result.replace(gap, 2, "\n.PP\n");
    }
    return result + "\n";
}

std::string group(const OptionGroup& options) {
    std::string text = ".PP\n" + std::string(options.m_heading) + ":\n";
    for (const Option& option : options.m_options) {
        text += term(bold(optionWithValue(option)), optionHelp(option));
    }
    return text;
}

std::string section(const Command& command) {
    std::string text = ".SS \"" + literal(command.m_name) + "\"\n" + bold("texsmith " + synopsis(command)) +
                       "\n.PP\n" + literal(sentence(command.m_summary)) + "\n";
    if (!command.m_description.empty()) {
        text += ".PP\n" + paragraphs(command.m_description);
    }
    for (const Operand& operand : command.m_operands) {
        text += term("\\fI" + literal(operand.m_name) + "\\fR", operand.m_help);
    }
    for (const OptionGroup& options : command.m_groups) {
        text += group(options);
    }
    text += command.m_examples.empty() ? "" : ".PP\nExamples:\n";
    for (const Example& example : command.m_examples) {
        text += term(bold("texsmith " + std::string(example.m_arguments)), example.m_help);
    }
    return text;
}

std::string manualPage() {
    std::string text =
        ".TH TEXSMITH 1 \"\" \"texsmith " + literal(qor::Texsmith::getLibraryVersionText()) +
        "\" \"User Commands\"\n.SH NAME\ntexsmith \\- converts, measures and compares textures\n"
        ".SH SYNOPSIS\n" +
        bold("texsmith") + " \\fICOMMAND\\fR [\\fIARGUMENT\\fR]...\n.SH COMMANDS\n";
    for (const Command* command : allCommands()) {
        text += section(*command);
    }
    text += ".SH OPTIONS\n" + group(kCommonOptions) + ".SH \"EXIT STATUS\"\n";
    for (const ExitStatusText& status : kExitStatusTexts) {
        text += term(bold(std::to_string(status.m_status)), status.m_help);
    }
    return text + "After a signal the status is that of the signal.\n";
}

void run(const Options&) { std::fputs(manualPage().c_str(), stdout); }

constexpr Example kExamples[] = {{"manual > texsmith.1", "the page that 'man ./texsmith.1' shows"}};

} // namespace

const Command kManualCommand = {
    .m_name = "manual",
    .m_summary = "prints the manual page",
    .m_examples = kExamples,
    .m_run = &run,
};

} // namespace Tool
