// The arguments of a command, sorted into options and names.
#pragma once

#include "commands.h"

#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Tool {

// Options begin with two dashes and may stand anywhere. Throws UsageFailure for one that is in neither list,
// and for one whose value is missing.
class Options {
public:
    Options(Arguments arguments, std::initializer_list<std::string_view> flags,
            std::initializer_list<std::string_view> valued);

    bool has(std::string_view option) const { return m_options.contains(std::string(option)); }
    // Empty when the option was not given.
    std::string value(std::string_view option) const;
    const std::vector<std::string>& names() const { return m_names; }

private:
    std::map<std::string, std::string> m_options;
    std::vector<std::string> m_names;
};

} // namespace Tool
