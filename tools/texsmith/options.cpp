#include "options.h"

#include "failure.h"
#include "near_miss.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <locale>
#include <sstream>

namespace Tool {
namespace {

bool takesValue(const Option& option) { return !option.m_value.empty(); }
bool takesTwoValues(const Option& option) { return option.m_value.find(' ') != option.m_value.npos; }
bool mayLeaveOutValue(const Option& option) { return option.m_value.starts_with('['); }

const Option* findOption(const Command& command, std::string_view name) {
    const Option* found = nullptr;
    forEachOption(command, [&](const Option& option) { found = option.m_name == name ? &option : found; });
    return found;
}

std::string helpOf(const Command& command) {
    return "see texsmith " + std::string(command.m_name) + " --help";
}

bool isWholeNumber(const std::string& text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Values as the parser takes them for what they are: those that may be left out behind "=", others apart. A
// number behind an option whose value may be left out is its value.
std::vector<std::string> withPlainValues(const Command& command, const std::vector<std::string>& arguments) {
    std::vector<std::string> result;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--") {
            result.insert(result.end(), arguments.begin() + static_cast<std::ptrdiff_t>(i), arguments.end());
            break;
        }
        const std::size_t equals = argument.find('=');
        const Option* option = findOption(command, std::string_view(argument).substr(0, equals));
        if (option == nullptr) {
            result.push_back(argument);
        } else if (mayLeaveOutValue(*option) && equals == argument.npos && i + 1 < arguments.size() &&
                   isWholeNumber(arguments[i + 1])) {
            result.push_back(argument + "=" + arguments[++i]);
        } else if (takesValue(*option) && !mayLeaveOutValue(*option)) {
            const bool isApart = equals == argument.npos;
            if (isApart && i + 1 == arguments.size()) {
                throw UsageFailure(argument + " needs a value; " + helpOf(command));
            }
            result.push_back(argument.substr(0, equals));
            result.push_back(isApart ? arguments[++i] : argument.substr(equals + 1));
            if (takesTwoValues(*option)) {
                if (i + 1 == arguments.size()) {
                    throw UsageFailure(std::string(option->m_name) + " needs two values; " + helpOf(command));
                }
                result.push_back(arguments[++i]);
            }
        } else if (!takesValue(*option) && equals != argument.npos) {
            throw UsageFailure(argument.substr(0, equals) + " takes no value; " + helpOf(command));
        } else {
            result.push_back(argument);
        }
    }
    return result;
}

void describe(CLI::App* app, const Option& option) {
    const std::string letter = option.m_letter == 0 ? "" : std::string("-") + option.m_letter + ",";
    const std::string names = letter + std::string(option.m_name);
    CLI::Option* described = takesValue(option) && !mayLeaveOutValue(option)
                                 ? app->add_option(names)->expected(takesTwoValues(option) ? 2 : 1)
                                 : app->add_flag(names)->disable_flag_override(!takesValue(option));
    described->multi_option_policy(option.m_repeats ? CLI::MultiOptionPolicy::TakeAll
                                                    : CLI::MultiOptionPolicy::TakeLast);
}

[[noreturn]] void throwUnknown(const Command& command, const std::string& argument) {
    std::vector<std::string_view> names;
    forEachOption(command, [&](const Option& option) { names.push_back(option.m_name); });
    const std::string_view name = std::string_view(argument).substr(0, argument.find('='));
    throw UsageFailure("unknown option '" + argument + "'" + suggestion(name, names, helpOf(command)));
}

// What the parser left: operands, one "--" behind which everything is one, and options that there are not.
std::vector<std::string> operandsOf(const Command& command, const std::vector<std::string>& remaining) {
    std::vector<std::string> operands;
    bool isOptionPossible = true;
    for (const std::string& argument : remaining) {
        if (isOptionPossible && argument == "--") {
            isOptionPossible = false;
        } else if (isOptionPossible && argument.size() > 1 && argument[0] == '-' &&
                   !isWholeNumber(argument.substr(1))) {
            throwUnknown(command, argument);
        } else {
            operands.push_back(argument);
        }
    }
    return operands;
}

std::string choicesText(std::string_view choices) {
    std::string text(choices);
    const std::size_t last = text.rfind('|');
    if (last != text.npos) {
        text.replace(last, 1, " or ");
    }
    for (std::size_t bar = text.find('|'); bar != text.npos; bar = text.find('|')) {
        text.replace(bar, 1, ", ");
    }
    return text;
}

bool isChoice(std::string_view choices, std::string_view value) {
    const std::string all = "|" + std::string(choices) + "|";
    return value.find('|') == value.npos && all.find("|" + std::string(value) + "|") != all.npos;
}

double readReal(const std::string& text, const std::string& what, double least) {
    double number = 0;
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    stream >> number;
    if (text.empty() || stream.fail() || !(stream >> std::ws).eof() || !(number >= least) ||
        std::isinf(number)) {
        std::ostringstream bound;
        bound << " from " << least << " on";
        throw UsageFailure(what + " is a number" + (std::isinf(least) ? "" : bound.str()) + ", and not '" +
                           text + "'");
    }
    return number;
}

} // namespace

Options::Options(const Command& command, const std::vector<std::string>& arguments) : m_command(&command) {
    CLI::App app;
    app.set_help_flag();
    app.allow_windows_style_options(false); // a path may begin with a slash
    app.allow_extras();
    forEachOption(command, [&](const Option& option) { describe(&app, option); });
    std::vector<std::string> backwards = withPlainValues(command, arguments);
    std::reverse(backwards.begin(), backwards.end());
    try {
        app.parse(std::move(backwards));
    } catch (const CLI::ParseError& error) { // "--name: ...", of a letter at the end
        const std::string text = error.what();
        throw UsageFailure(text.substr(0, text.find(':')) + " needs a value; " + helpOf(command));
    }
    forEachOption(command, [&](const Option& option) {
        const CLI::Option* parsed = app.get_option(std::string(option.m_name));
        if (parsed->count() > 0) {
            auto& values = m_values[std::string(option.m_name)] = parsed->results();
            if (!takesValue(option) || (mayLeaveOutValue(option) && values.back() == "true")) {
                values.back().clear();
            }
        }
    });
    m_names = operandsOf(command, app.remaining());
    if (!has("--help")) {
        checkChoices();
        checkNames();
    }
}

void Options::checkChoices() const {
    forEachOption(*m_command, [this](const Option& option) {
        for (const std::string& value : values(option.m_name)) {
            if (!option.m_choices.empty() && !isChoice(option.m_choices, value)) {
                throw UsageFailure(std::string(option.m_name) + " is " + choicesText(option.m_choices) +
                                   ", and not '" + value + "'");
            }
        }
    });
}

void Options::checkNames() const {
    std::uint64_t least = 0, most = 0;
    std::string list;
    for (const Operand& operand : m_command->m_operands) {
        least += operand.m_least;
        most += operand.m_most;
        list += (list.empty() ? "" : " ") + std::string(operand.m_name) + (operand.m_most > 1 ? "..." : "");
    }
    if (m_names.size() < least || m_names.size() > most) {
        throw UsageFailure(std::string(m_command->m_name) + " takes " + (list.empty() ? "no names" : list) +
                           "; " + helpOf(*m_command));
    }
}

std::string Options::value(std::string_view option) const {
    const auto found = m_values.find(option);
    return found != m_values.end() ? found->second.back() : std::string();
}

std::vector<std::string> Options::values(std::string_view option) const {
    const auto found = m_values.find(option);
    return found != m_values.end() ? found->second : std::vector<std::string>();
}

unsigned Options::number(std::string_view option, unsigned least, unsigned most,
                         unsigned withoutOption) const {
    return has(option) ? readNumber(value(option), std::string(option), least, most) : withoutOption;
}

double Options::real(std::string_view option, double least) const {
    return readReal(value(option), std::string(option), least);
}

std::pair<double, double> Options::realPair(std::string_view option) const {
    const std::vector<std::string> both = values(option);
    constexpr double kLeast = -std::numeric_limits<double>::infinity();
    return {readReal(both.at(both.size() - 2), std::string(option), kLeast),
            readReal(both.back(), std::string(option), kLeast)};
}

unsigned readNumber(const std::string& text, const std::string& what, unsigned least, unsigned most) {
    unsigned value = 0;
    const char* const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, value);
    if (error == std::errc() && stopped == end && value >= least && value <= most) {
        return value;
    }
    const std::string bounds =
        most == ~0u ? std::to_string(least) + " on" : std::to_string(least) + " to " + std::to_string(most);
    throw UsageFailure(what + " is a number from " + bounds + ", and not '" + text + "'");
}

} // namespace Tool
