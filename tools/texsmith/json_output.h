// Results as JSON (RFC 8259), which docs/json.md describes.
#pragma once

#include "command.h"

#include <nlohmann/json.hpp>

namespace Tool {

using Json = nlohmann::ordered_json;

// What every JSON text of the tool begins with. It grows when a reader of the older ones would go wrong.
inline constexpr int kJsonSchema = 1;

// Prints the result of a command, an object, behind the entries "schema" and "command". Bytes that are not
// UTF-8 become U+FFFD.
void printJson(const Command& command, const Json& result);

} // namespace Tool
