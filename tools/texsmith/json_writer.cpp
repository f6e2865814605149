#include "json_writer.h"

#include "qor/texsmith/raw/text.h"

#include <cstdio>

namespace Tool {

namespace Raw = qor::Texsmith::Raw;

void JsonWriter::quote(std::string_view text) {
    m_text += '"';
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            m_text += '\\';
            m_text += c;
        } else if (static_cast<unsigned char>(c) < ' ') {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
            m_text += escape;
        } else {
            m_text += c;
        }
    }
    m_text += '"';
}

void JsonWriter::startEntry(std::string_view key) {
    if (m_depth != 0) {
        m_text += m_isFirst ? "\n" : ",\n";
        m_text.append(2 * m_depth, ' ');
    }
    m_isFirst = false;
    if (!key.empty()) {
        quote(key);
        m_text += ": ";
    }
}

void JsonWriter::begin(std::string_view key, char bracket) {
    startEntry(key);
    m_text += bracket;
    ++m_depth;
    m_isFirst = true;
}

void JsonWriter::end(char bracket) {
    --m_depth;
    if (!m_isFirst) {
        m_text += '\n';
        m_text.append(2 * m_depth, ' ');
    }
    m_text += bracket;
    m_isFirst = false;
}

void JsonWriter::string(std::string_view key, const std::string& value) {
    startEntry(key);
    const Raw::utf16 wide(value.c_str(), Raw::g_mallocAllocator);
    quote(Raw::utf8(wide.c_str(), Raw::g_mallocAllocator).c_str());
}

void JsonWriter::number(std::string_view key, std::uint64_t value) {
    startEntry(key);
    m_text += std::to_string(value);
}

} // namespace Tool
