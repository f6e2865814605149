// Results as JSON (RFC 8259), which docs/json.md describes.
#pragma once

#include "command.h"
#include "failure.h"

#include <nlohmann/json.hpp>

#include <string>

namespace Tool {

using Json = nlohmann::ordered_json;

// What every JSON text of the tool begins with. It grows when a reader of the older ones would go wrong.
inline constexpr int kJsonSchema = 1;

// Prints the result of a command, an object, behind the entries "schema" and "command" and in front of
// "warnings" and "hints". Bytes that are not UTF-8 become U+FFFD; numbers that are not finite are null.
void printJson(const Command& command, const Json& result);

// The same for what ended a command, with no line feed behind it.
std::string errorAsJson(const Failure& failure);

// Numbers by the names of the channels.
template <typename Lanes> Json byChannel(const Lanes& lanes) {
    return {{"R", lanes[0]}, {"G", lanes[1]}, {"B", lanes[2]}, {"A", lanes[3]}};
}

} // namespace Tool
