// What --help prints, for people at a terminal of 80 columns.
#pragma once

#include "command.h"

#include <string>
#include <string_view>

namespace Tool {

std::string generalHelp();
std::string commandHelp(const Command& command);

// "convert [OPTION]... SOURCE DESTINATION"
std::string synopsis(const Command& command);

// "--resize WxH", with the letter in front where there is one: "-o, --output FOLDER".
std::string optionWithValue(const Option& option);

// The help of an option, with its choices and example, as one line of sentences.
std::string optionHelp(const Option& option);

// A phrase as a sentence, with a capital and a point.
std::string sentence(std::string_view phrase);

} // namespace Tool
