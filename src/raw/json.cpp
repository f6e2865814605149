// Reads and writes the text of JSON trees.

#include "qor/texsmith/raw/json.h"
#include "raw/frame/check.h"
#include "raw/text/fixed_text.h"

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>

namespace qor::Texsmith::Raw::Json {
namespace {

constexpr char kSourcePath[] = "raw\\json";
constexpr char kInside[] = "m_offset < m_size";
constexpr char kMatches[] = "matches";

constexpr unsigned kMaxDepth = 256;
constexpr char kLineBreak[] = "\r\n";

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// 10 to the power of minus `digits`, rounded once on every machine.
double negativePowerOfTen(unsigned digits) {
    char text[16];
    const int length = std::snprintf(text, sizeof text, "1e-%u", digits);
    double power = 0.0; // stays so below the smallest double
    std::from_chars(text, text + length, power);
    return power;
}

bool isWholeNumber(double value) {
    return value >= std::numeric_limits<std::int32_t>::min() &&
           value <= std::numeric_limits<std::int32_t>::max() &&
           static_cast<double>(static_cast<std::int32_t>(value)) == value;
}

void writeNumber(double value, Writer* writer) {
    char text[kFixedTextSize];
    if (isWholeNumber(value)) {
        std::snprintf(text, sizeof text, "%d", static_cast<int>(value));
        writer->write(text);
    } else {
        writer->write(writeFixed(value, text));
    }
}

void writeString(const Node& node, Writer* writer) {
    writer->put('"');
    writer->write(node.copyToString());
    writer->put('"');
}

void writeElement(Node* node, Writer* writer) {
    if (node == nullptr) { // a slot that was never asked for
        writer->write("null");
    } else {
        write(node, writer);
    }
}

void writeEntries(Node* node, std::size_t count, Writer* writer) {
    const char* const lineBreak = node->isMultiline() ? kLineBreak : "";
    for (std::size_t i = 0; i < count; ++i) {
        if (node->getType() == kTypeObject) {
            writeString(*node->getKey(i), writer);
            writer->write(" : ");
            writeElement(node->getValue(i), writer);
        } else {
            writeElement(node->getElement(i), writer);
        }
        if (i + 1 < count) {
            writer->write(", ");
            writer->write(lineBreak);
        }
    }
}

void writeList(Node* node, Writer* writer) {
    const bool isObject = node->getType() == kTypeObject;
    const char* const lineBreak = node->isMultiline() ? kLineBreak : "";
    writer->indent();
    writer->put(isObject ? '{' : '[');
    writer->write(lineBreak);
    writeEntries(node, isObject ? node->getKeyValuePairs() : node->getElements(), writer);
    writer->unindent();
    writer->write(lineBreak);
    writer->put(isObject ? '}' : ']');
}

} // namespace

void Reader::init(void* text, unsigned size, IAllocator allocator) {
    m_text = static_cast<const char*>(text);
    m_size = text != nullptr ? size : 0;
    m_offset = 0;
    m_allocator = allocator;
    m_depth = 0;
    m_hasFailed = false;
}

bool Reader::checkRead(bool condition, const char* text) {
    m_hasFailed |= !condition;
    return check(condition, kSourcePath, text);
}

char Reader::get() { return checkRead(!isAtEnd(), kInside) ? m_text[m_offset++] : '\0'; }

char Reader::peek() const { return isAtEnd() ? '\0' : m_text[m_offset]; }

void Reader::skipWhitespace() {
    while (isBlank(peek())) {
        ++m_offset;
    }
}

void Reader::requireCharacter(char c) { checkRead(get() == c, kMatches); }

void Reader::require(const char* text) {
    skipWhitespace();
    for (; *text != '\0'; ++text) {
        requireCharacter(*text);
    }
    skipWhitespace();
}

// Reads values at a reader's place.
class Parser {
public:
    explicit Parser(Reader* reader) : m_reader(*reader) {}

    void readValue(Node* node);

private:
    void readBool(Node* node, bool value);
    void readNumber(Node* node);
    void readString(Node* node);
    void readArray(Node* node);
    void readObject(Node* node);
    void readNested(Node* node, void (Parser::*read)(Node*));
    unsigned readDigits(unsigned* count);
    // Behind an element: false at the bracket that closes, and at the end of the text.
    bool goesOn(char closing);

    Reader& m_reader;
};

void Parser::readValue(Node* node) {
    m_reader.skipWhitespace();
    const char next = m_reader.peek();
    if (next == 't' || next == 'f') {
        readBool(node, next == 't');
    } else if (next == '-' || next == '.' || isDigit(next)) {
        readNumber(node);
    } else if (next == '"' || next == '\'') {
        readString(node);
    } else if (next == '[') {
        readNested(node, &Parser::readArray);
    } else if (next == '{') {
        readNested(node, &Parser::readObject);
    }
}

void Parser::readBool(Node* node, bool value) {
    m_reader.require(value ? "true" : "false");
    node->copyFromBool(value);
}

// Wraps at 32 bits.
unsigned Parser::readDigits(unsigned* count) {
    std::uint32_t value = 0;
    for (*count = 0; isDigit(m_reader.peek()); ++*count) {
        value = value * 10 + static_cast<std::uint32_t>(m_reader.get() - '0');
    }
    return value;
}

void Parser::readNumber(Node* node) {
    const bool isNegative = m_reader.peek() == '-';
    if (isNegative) {
        m_reader.get();
    }
    unsigned digits = 0;
    double value = readDigits(&digits);
    if (m_reader.peek() == '.') {
        m_reader.get();
        const unsigned fraction = readDigits(&digits);
        value += negativePowerOfTen(digits) * fraction;
    }
    node->copyFromNumber(isNegative ? -value : value);
}

// Whatever byte comes first is the quote: keys rely on it.
void Parser::readString(Node* node) {
    m_reader.skipWhitespace();
    const char quote = m_reader.get();
    std::string text;
    while (!m_reader.isAtEnd() && m_reader.peek() != quote) {
        text += m_reader.get();
    }
    m_reader.get();
    node->copyFromString(text.c_str());
}

// A text with more levels ends here.
void Parser::readNested(Node* node, void (Parser::*read)(Node*)) {
    if (!m_reader.checkRead(m_reader.m_depth < kMaxDepth, kMatches)) {
        m_reader.m_size = m_reader.m_offset;
        return;
    }
    ++m_reader.m_depth;
    (this->*read)(node);
    --m_reader.m_depth;
}

bool Parser::goesOn(char closing) {
    m_reader.skipWhitespace();
    if (m_reader.isAtEnd() || m_reader.peek() == closing) {
        return false;
    }
    m_reader.require(",");
    return !m_reader.isAtEnd();
}

void Parser::readArray(Node* node) {
    node->setType(kTypeArray);
    m_reader.require("[");
    do {
        readValue(&(*node)[node->getElements()]);
    } while (goesOn(']'));
    m_reader.require("]");
}

void Parser::readObject(Node* node) {
    node->setType(kTypeObject);
    m_reader.require("{");
    do {
        Node key(m_reader.m_allocator);
        readString(&key);
        m_reader.require(":");
        readValue(&(*node)(key.copyToString()));
    } while (goesOn('}'));
    m_reader.require("}");
}

void read(Node* node, Reader* reader) {
    const bool hasNode = checkNotNull(node, kSourcePath, "node must not be NULL.");
    if (checkNotNull(reader, kSourcePath, "reader must not be NULL.") && hasNode) {
        Parser(reader).readValue(node);
    }
}

void Writer::init(void* buffer, unsigned size) {
    m_buffer = static_cast<char*>(buffer);
    m_size = buffer != nullptr ? size : 0;
    m_offset = 0;
}

void Writer::put(char c) {
    if (check(m_offset < m_size, kSourcePath, kInside)) {
        m_buffer[m_offset++] = c;
    }
    for (unsigned blank = 0; c == '\n' && blank < m_indent * 4; ++blank) {
        put(' ');
    }
}

void Writer::write(const char* text) {
    for (; text != nullptr && *text != '\0'; ++text) {
        put(*text);
    }
}

void write(Node* node, Writer* writer) {
    const bool hasNode = checkNotNull(node, kSourcePath, "node must not be NULL.");
    if (!checkNotNull(writer, kSourcePath, "writer must not be NULL.") || !hasNode) {
        return;
    }
    switch (node->getType()) {
    case kTypeNull:
        return writer->write("null");
    case kTypeBool:
        return writer->write(node->copyToBool() ? "true" : "false");
    case kTypeNumber:
        return writeNumber(node->copyToNumber(), writer);
    case kTypeString:
        return writeString(*node, writer);
    case kTypeArray:
    case kTypeObject:
        return writeList(node, writer);
    }
}

} // namespace qor::Texsmith::Raw::Json
