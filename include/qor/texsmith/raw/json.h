// The library's own JSON tree: the text form of its descriptors.
//
//     Node node(g_mallocAllocator);
//     node("Size")("Width").copyFromNumber(3);
//     char text[1024];
//     Writer writer;
//     writer.init(text, sizeof text - 1);
//     write(&node, &writer);
//     text[writer.offset()] = 0;       // lines of {"Size" : {"Width" : 3}}
//     Reader reader;
//     reader.init(text, writer.offset(), g_mallocAllocator);
//     read(&node, &reader);
//
// This is not a general-purpose parser. What it reads and writes differs from the standard on purpose, and
// reader and writer are not each other's inverse: see read and write below. Texts are bytes, as a rule UTF-8;
// numbers are the same under every locale. Trees, readers and writers belong to one thread at a time.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/allocator.h"
#include "qor/texsmith/raw/memory_region.h"

#include <cstddef>
#include <string>

namespace qor::Texsmith::Raw::Json {

enum Type : unsigned {
    kTypeNull = 0,
    kTypeBool = 1,
    kTypeNumber = 2,
    kTypeString = 3,
    kTypeArray = 4,
    kTypeObject = 5
};

class Node;

// The slots of an array, or of an object: key 0, value 0, key 1, value 1, ... Owns the memory of the slots,
// not the nodes. Grows at least to the double, and shrinks when less than half is used.
class QOR_TEXSMITH_API NodeList : public AllocatedMemory {
public:
    explicit NodeList(IAllocator allocator) : AllocatedMemory(allocator) {}

    std::size_t size() const { return m_count < capacity() ? m_count : capacity(); }
    void
    setSize(std::size_t count); // new slots are null; throws std::bad_alloc, and has changed nothing then
    Node*& slot(std::size_t index) { return reinterpret_cast<Node**>(begin)[index]; }

private:
    std::size_t capacity() const { return static_cast<std::size_t>(length() / sizeof(Node*)); }

    std::size_t m_count = 0;
};

// A value, and all the nodes below it, which it owns. Everything is allocated by the node's allocator, which
// is handed on to its children; without memory std::bad_alloc is thrown, and the tree stays whole.
class QOR_TEXSMITH_API Node {
public:
    explicit Node(IAllocator allocator); // a Null
    ~Node();
    Node(const Node&) = delete; // copyFromNode copies
    Node& operator=(const Node&) = delete;

    Type getType() const { return m_type; }
    // Discards the value, unless the type is the same, and makes an empty one: false, 0, "", or an empty
    // list.
    void setType(Type type);
    // Whether an array or object is written over several lines. True at first.
    bool isMultiline() const { return m_multiline; }
    void setMultiline(bool multiline) { m_multiline = multiline; }

    // The element or value; the node becomes an array or object if it is none, discarding what it held.
    // Missing ones are made, as Null. Keys are compared without regard to case. A null key is that of an
    // empty text.
    Node& operator[](std::size_t index);
    Node& operator()(const char* key);

    // Null outside the list, for a slot that was never asked for, and for nodes of other types, whose counts
    // are 0.
    Node* getElement(std::size_t index);
    std::size_t getElements() const;
    Node* getKey(std::size_t index);
    Node* getValue(std::size_t index);
    std::size_t getKeyValuePairs() const;
    // The last pair takes the place of the one that goes. A key that is not there changes nothing.
    void deleteKey(const char* key);

    void copyFromBool(bool value);
    void copyFromNumber(double value);
    void copyFromString(const char* value); // null: an empty text
    // A deep copy. A Null source deliberately changes nothing.
    void copyFromNode(const Node& source);
    // false, 0 and "" for nodes of other types. The text stays the node's.
    bool copyToBool() const;
    double copyToNumber() const;
    const char* copyToString() const;

private:
    union Value {
        bool m_bool;
        double m_number;
        std::string* m_string;
        NodeList* m_list;
    };

    void deallocate();
    bool isList() const { return m_type == kTypeArray || m_type == kTypeObject; }
    std::size_t findPair(const char* key) const; // the number of pairs where there is none
    NodeList* copyOf(const NodeList& list) const;

    Type m_type;
    Value m_value;
    bool m_multiline;
    IAllocator m_allocator;
};

// A place in a text, which it does not own and which needs no terminator.
class QOR_TEXSMITH_API Reader {
public:
    void init(void* text, unsigned size, IAllocator allocator);
    // The next byte. At the end `get` reports, and both give 0.
    char get();
    char peek() const;

    bool isAtEnd() const { return m_offset >= m_size; }
    bool hasFailed() const { return m_hasFailed; } // something did not match, and was reported
    void skipWhitespace();
    // Takes a byte, and reports when it is not `c`. No white space is skipped.
    void requireCharacter(char c);
    // The bytes of `text`, with white space before and after.
    void require(const char* text);

private:
    friend class Parser;

    bool checkRead(bool condition, const char* text);

    const char* m_text = nullptr;
    unsigned m_size = 0;
    unsigned m_offset = 0;
    IAllocator m_allocator = g_mallocAllocator;
    unsigned m_depth = 0;
    bool m_hasFailed = false;
};

// A place in a buffer, which it does not own. What does not fit is reported and dropped. The text gets no
// terminator.
class QOR_TEXSMITH_API Writer {
public:
    void init(void* buffer, unsigned size); // leaves the indent as it is
    void put(char c);                       // behind a line feed comes the indent, of four blanks a level
    void write(const char* text);
    unsigned offset() const { return m_offset; }
    void indent() { ++m_indent; }
    void unindent() { --m_indent; }

private:
    char* m_buffer = nullptr;
    unsigned m_size = 0;
    unsigned m_offset = 0;
    unsigned m_indent = 0;
};

// Reads one value. Where none begins, the node stays as it was and nothing is consumed: that goes for `null`,
// too. Numbers have no exponent and strings no escapes; both quotes serve, and in a key any byte does. An
// empty array has one Null element; an empty object cannot be read. An array or object keeps what the node
// held. Whatever does not match is reported, and reading goes on; at 256 levels it ends.
QOR_TEXSMITH_API void read(Node* node, Reader* reader);
// Numbers that are whole, of 32 bits, have no decimals, all others six; strings are written as they are.
QOR_TEXSMITH_API void write(Node* node, Writer* writer);

} // namespace qor::Texsmith::Raw::Json
