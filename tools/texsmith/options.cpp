#include "options.h"

#include "failure.h"

#include <algorithm>

namespace Tool {

Options::Options(Arguments arguments, std::initializer_list<std::string_view> flags,
                 std::initializer_list<std::string_view> valued) {
    const auto isIn = [](const auto& list, std::string_view option) {
        return std::find(list.begin(), list.end(), option) != list.end();
    };
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string argument = arguments[i];
        if (!argument.starts_with("--")) {
            m_names.push_back(argument);
        } else if (isIn(flags, argument)) {
            m_options[argument];
        } else if (!isIn(valued, argument)) {
            throw UsageFailure("unknown option '" + argument + "'; see texsmith --help");
        } else if (i + 1 == arguments.size()) {
            throw UsageFailure(argument + " needs a value; see texsmith --help");
        } else {
            m_options[argument] = arguments[++i];
        }
    }
}

std::string Options::value(std::string_view option) const {
    const auto found = m_options.find(std::string(option));
    return found != m_options.end() ? found->second : std::string();
}

} // namespace Tool
