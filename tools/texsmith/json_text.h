// JSON texts that people write, read so that every complaint can name a place.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Tool {

struct JsonValue {
    enum class Kind { kNull, kBoolean, kNumber, kText, kArray, kObject };

    Kind m_kind = Kind::kNull;
    std::size_t m_offset = 0;        // of its first byte, in an object of its key
    std::string m_text;              // of a text; "true" or "false"; a number as it stands in the file
    std::vector<std::string> m_keys; // of an object, in order, one for each value
    std::vector<JsonValue> m_values; // of an array or object
};

class JsonText {
public:
    // Comments as in C++ are passed over. Throws UsageFailure with the place for what is no JSON, and for a
    // key that an object has twice.
    JsonText(std::string fileName, std::string text);

    const JsonValue& root() const { return m_root; }
    // "studio.json:7:12: the complaint", by lines and characters from 1 on. Throws UsageFailure.
    [[noreturn]] void complain(std::size_t offset, const std::string& complaint) const;

private:
    std::string m_fileName, m_text;
    JsonValue m_root;
};

} // namespace Tool
