#include "json_output.h"

#include "console.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace Tool {
namespace {

std::string plainText(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

bool isRow(const Json& array) {
    return std::none_of(array.begin(), array.end(), [](const Json& entry) { return entry.is_structured(); });
}

// Two blanks a level; an array of numbers or texts on one line.
std::string textOf(const Json& json, const std::string& indent = "\n") {
    if (json.empty() || !json.is_structured() || (json.is_array() && isRow(json))) {
        return plainText(json);
    }
    std::string text;
    for (const auto& [key, value] : json.items()) {
        text += text.empty() ? "" : ",";
        text +=
            indent + "  " + (json.is_object() ? plainText(key) + ": " : "") + textOf(value, indent + "  ");
    }
    return json.is_object() ? "{" + text + indent + "}" : "[" + text + indent + "]";
}

} // namespace

void printJson(const Command& command, const Json& result) {
    Json whole = {{"schema", kJsonSchema}, {"command", command.m_name}};
    whole.update(result);
    whole["warnings"] = warningsGiven();
    whole["hints"] = hintsGiven();
    std::puts(textOf(whole).c_str());
}

std::string errorAsJson(const Failure& failure) {
    const auto* status =
        std::find_if(std::begin(kExitStatusTexts), std::end(kExitStatusTexts),
                     [&](const ExitStatusText& text) { return text.m_status == failure.status(); });
    Json error = {{"status", failure.status()},
                  {"kind", status != std::end(kExitStatusTexts) ? status->m_name : ""},
                  {"message", failure.what()}};
    error["file"] = failure.file().empty() ? Json() : Json(failure.file());
    return textOf(
        {{"schema", kJsonSchema}, {"error", error}, {"warnings", warningsGiven()}, {"hints", hintsGiven()}});
}

} // namespace Tool
