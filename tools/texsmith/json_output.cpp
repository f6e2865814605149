#include "json_output.h"

#include <cstdio>
#include <string>

namespace Tool {

void printJson(const Command& command, const Json& result) {
    Json whole = {{"schema", kJsonSchema}, {"command", command.m_name}};
    whole.update(result);
    std::puts(whole.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
}

} // namespace Tool
