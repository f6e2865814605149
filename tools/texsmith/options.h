// The arguments of one command, sorted into options and operands.
#pragma once

#include "command.h"

#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tool {

class Options {
public:
    // Options may stand anywhere; behind "--" nothing is one. Throws UsageFailure for what the description of
    // the command does not allow. With --help nothing else need be there.
    Options(const Command& command, const std::vector<std::string>& arguments);

    const Command& command() const { return *m_command; }
    bool has(std::string_view option) const { return m_values.contains(option); }
    // Of an option that was given more than once, the last value. Empty when it was not given, and for an
    // option whose value may be left out and was.
    std::string value(std::string_view option) const;
    // All values of an option that repeats, as they were given.
    std::vector<std::string> values(std::string_view option) const;
    // A whole number between the two bounds. Throws UsageFailure for anything else.
    unsigned number(std::string_view option, unsigned least, unsigned most, unsigned withoutOption) const;
    // A finite number from `least` on. Throws UsageFailure for anything else.
    double real(std::string_view option, double least = -std::numeric_limits<double>::infinity()) const;
    // The two finite numbers of an option that takes two values, as given last. Throws UsageFailure.
    std::pair<double, double> realPair(std::string_view option) const;

    const std::vector<std::string>& names() const { return m_names; }

private:
    void checkChoices() const;
    void checkNames() const;

    const Command* m_command;
    std::map<std::string, std::vector<std::string>, std::less<>> m_values; // by the names of options
    std::vector<std::string> m_names;
};

// A whole number and nothing else, between the two bounds. Throws UsageFailure, in which `what` stands for
// it.
unsigned readNumber(const std::string& text, const std::string& what, unsigned least, unsigned most);

} // namespace Tool
