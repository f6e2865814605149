#include "json_text.h"

#include "failure.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace Tool {
namespace {

constexpr std::size_t kMostNested = 64;

// Counts in one place how far the parser has read, while copies of the iterator come and go.
class CountingIterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountingIterator(const char* at, std::size_t* read) : m_at(at), m_read(read) {}
    reference operator*() const { return *m_at; }
    CountingIterator& operator++() {
        ++m_at;
        ++*m_read;
        return *this;
    }
    CountingIterator operator++(int) {
        const CountingIterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const CountingIterator& other) const { return m_at == other.m_at; }
    bool operator!=(const CountingIterator& other) const { return m_at != other.m_at; }

private:
    const char* m_at;
    std::size_t* m_read;
};

// Builds the tree from what the parser tells, just behind each token. Of numbers it has read one byte more.
class Builder : public nlohmann::json_sax<nlohmann::ordered_json> {
public:
    Builder(const JsonText& file, const std::string& text, const std::size_t& read, JsonValue* root)
        : m_file(file), m_text(text), m_read(read), m_root(root) {}

    bool null() override { return add(JsonValue::Kind::kNull, "null", m_read - 4); }
    bool boolean(bool value) override {
        const std::string text = value ? "true" : "false";
        return add(JsonValue::Kind::kBoolean, text, m_read - text.size());
    }
    bool number_integer(number_integer_t value) override { return addNumber(std::to_string(value)); }
    bool number_unsigned(number_unsigned_t value) override { return addNumber(std::to_string(value)); }
    bool number_float(number_float_t, const string_t& text) override { return addNumber(text); }
    bool string(string_t& value) override { return add(JsonValue::Kind::kText, value, beginOfText()); }
    bool binary(binary_t&) override { return false; }
    bool start_object(std::size_t) override { return open(JsonValue::Kind::kObject); }
    bool start_array(std::size_t) override { return open(JsonValue::Kind::kArray); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }

    bool key(string_t& value) override {
        JsonValue& object = *m_open.back();
        m_key = beginOfText();
        if (std::find(object.m_keys.begin(), object.m_keys.end(), value) != object.m_keys.end()) {
            m_file.complain(m_key, "'" + value + "' stands here twice");
        }
        object.m_keys.push_back(value);
        m_hasKey = true;
        return true;
    }

    bool parse_error(std::size_t position, const std::string&,
                     const nlohmann::detail::exception& error) override {
        // "[json.exception.parse_error.101] parse error at line 3, column 5: ...: reason; last read: '...'"
        const std::string text = error.what();
        const std::size_t reason = text.find(": ", text.find("column"));
        m_file.complain(position - std::min<std::size_t>(position, 1),
                        reason == text.npos ? "this is no JSON" : text.substr(reason + 2));
    }

private:
    bool addNumber(const std::string& text) {
        return add(JsonValue::Kind::kNumber, text, m_read - std::min(m_read, text.size() + 1));
    }

    bool add(JsonValue::Kind kind, const std::string& text, std::size_t offset) {
        place() = {kind, m_hasKey ? m_key : offset, text, {}, {}};
        m_hasKey = false;
        return true;
    }

    bool open(JsonValue::Kind kind) {
        if (m_open.size() == kMostNested) {
            m_file.complain(m_read - 1, "this is nested too deeply");
        }
        JsonValue& opened = place();
        opened = {kind, m_hasKey ? m_key : m_read - 1, {}, {}, {}};
        m_hasKey = false;
        m_open.push_back(&opened);
        return true;
    }

    bool close() {
        m_open.pop_back();
        return true;
    }

    // Where the next value goes. Those that are open do not move: only the innermost grows.
    JsonValue& place() { return m_open.empty() ? *m_root : m_open.back()->m_values.emplace_back(); }

    // Of the text whose closing quote was read last: a quote behind an even number of backslashes.
    std::size_t beginOfText() const {
        std::size_t quote = m_read - 1;
        bool isEscaped = true;
        while (quote > 0 && isEscaped) {
            quote = m_text.rfind('"', quote - 1);
            std::size_t slashes = 0;
            while (slashes < quote && m_text[quote - 1 - slashes] == '\\') {
                ++slashes;
            }
            isEscaped = slashes % 2 == 1;
        }
        return quote;
    }

    const JsonText& m_file;
    const std::string& m_text;
    const std::size_t& m_read;
    JsonValue* m_root;
    std::vector<JsonValue*> m_open;
    std::size_t m_key = 0;
    bool m_hasKey = false;
};

bool isFirstByte(char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }

} // namespace

JsonText::JsonText(std::string fileName, std::string text)
    : m_fileName(std::move(fileName)), m_text(std::move(text)) {
    std::size_t read = 0;
    Builder builder(*this, m_text, read, &m_root);
    const char* const begin = m_text.data();
    nlohmann::ordered_json::sax_parse(CountingIterator(begin, &read),
                                      CountingIterator(begin + m_text.size(), &read), &builder,
                                      nlohmann::ordered_json::input_format_t::json, true, true);
}

void JsonText::complain(std::size_t offset, const std::string& complaint) const {
    const std::string before = m_text.substr(0, offset);
    const std::size_t lineStart = before.rfind('\n') + 1; // 0 without one
    const auto line = 1 + std::count(before.begin(), before.end(), '\n');
    const auto column = 1 + std::count_if(before.begin() + static_cast<std::ptrdiff_t>(lineStart),
                                          before.end(), &isFirstByte);
    throw UsageFailure(m_fileName + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " +
                       complaint);
}

} // namespace Tool
