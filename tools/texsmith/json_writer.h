// A writer of standard JSON, indented by two blanks a level. What the library's own JSON text allows, other
// readers refuse.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Tool {

class JsonWriter {
public:
    // A key is given inside objects, and only there.
    void beginObject(std::string_view key = {}) { begin(key, '{'); }
    void endObject() { end('}'); }
    void beginArray(std::string_view key = {}) { begin(key, '['); }
    void endArray() { end(']'); }
    void string(std::string_view key, const std::string& value); // bytes that are not UTF-8 become U+FFFD
    void number(std::string_view key, std::uint64_t value);

    const std::string& text() const { return m_text; }

private:
    void begin(std::string_view key, char bracket);
    void end(char bracket);
    void startEntry(std::string_view key);
    void quote(std::string_view text);

    std::string m_text;
    unsigned m_depth = 0;
    bool m_isFirst = true; // of its object or array
};

} // namespace Tool
