// Plain structures in memory as data, so that one walker turns them into a tree of JSON nodes and back.
//
//     struct Size { std::uint32_t m_width, m_height; };
//     const StructConverter::Member kMembers[] = {{"Width", 0, &g_uint32Converter},
//                                                 {"Height", 4, &g_uint32Converter}};
//     const StructConverter kSize(kMembers, 2, sizeof(Size));
//     kSize.toJson(&node, &size);      // {"Width" : 3, "Height" : 4}
//     kSize.fromJson(&size, &node);
//
// A converter knows the size of a thing, how to write it to a node and how to read it from one. Converters
// are constant, hold no resources and own no tables; any number of threads may use one at once, on different
// data. Nothing is reported: unknown keys and names, short lists and values of a wrong type are passed over,
// so that a partial object patches a structure in place. Null arguments do nothing.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/json.h"

#include <cstdint>

namespace qor::Texsmith::Raw::Reflection {

// `data` is the thing's memory, of size() bytes at any alignment; the node stays the caller's. Writing makes
// the node what the thing is, and needs memory: without it, std::bad_alloc is thrown. Reading changes no
// node.
class QOR_TEXSMITH_API Converter {
public:
    unsigned size() const { return doSize(); } // of the thing, in bytes
    void fromJson(void* data, Json::Node* node) const {
        if (data != nullptr && node != nullptr) {
            doFromJson(data, node);
        }
    }
    void toJson(Json::Node* node, void* data) const {
        if (data != nullptr && node != nullptr) {
            doToJson(node, data);
        }
    }

protected:
    constexpr Converter() = default;
    ~Converter() = default;

private:
    virtual void doFromJson(void* data, Json::Node* node) const = 0;
    virtual void doToJson(Json::Node* node, void* data) const = 0;
    virtual unsigned doSize() const = 0;
};

// A float, as a number: rounded to single precision when read.
class QOR_TEXSMITH_API FloatConverter final : public Converter {
private:
    void doFromJson(void* data, Json::Node* node) const override;
    void doToJson(Json::Node* node, void* data) const override;
    unsigned doSize() const override { return sizeof(float); }
};

// Integers of 1 to 8 bytes. Numbers are truncated to 64 bits and then to the field; what does not fit into 64
// bits becomes 0x8000000000000000.
class QOR_TEXSMITH_API UnsignedIntegerConverter final : public Converter {
public:
    explicit constexpr UnsignedIntegerConverter(unsigned size) : m_size(size) {}

private:
    void doFromJson(void* data, Json::Node* node) const override;
    void doToJson(Json::Node* node, void* data) const override;
    unsigned doSize() const override { return m_size; }

    unsigned m_size;
};

// Deliberately without sign extension: a negative number of fewer than 64 bits is written as a large positive
// one.
class QOR_TEXSMITH_API SignedIntegerConverter final : public Converter {
public:
    explicit constexpr SignedIntegerConverter(unsigned size) : m_size(size) {}

private:
    void doFromJson(void* data, Json::Node* node) const override;
    void doToJson(Json::Node* node, void* data) const override;
    unsigned doSize() const override { return m_size; }

    unsigned m_size;
};

// Values with names, compared without regard to case. A number is read as it is, member or not; a value
// without a name is written as a number.
class QOR_TEXSMITH_API EnumConverter final : public Converter {
public:
    struct Member {
        const char* m_name;
        unsigned m_value;
    };

    constexpr EnumConverter(const Member* members, unsigned count, unsigned size)
        : m_members(members), m_count(count), m_size(size) {}

    unsigned nameToValue(const char* name) const;  // 0xFFFFFFFF for an unknown name
    const char* valueToName(unsigned value) const; // "" for a value without a name
    unsigned getMembers() const { return m_count; }

private:
    void doFromJson(void* data, Json::Node* node) const override;
    void doToJson(Json::Node* node, void* data) const override;
    unsigned doSize() const override { return m_size; }
    const Member* findName(const char* name) const; // null for none
    const Member* findValue(unsigned long long value) const;

    const Member* m_members;
    unsigned m_count;
    unsigned m_size;
};

// `count` elements in a row. A short list leaves the tail as it was; what a long one has more is ignored.
class QOR_TEXSMITH_API ArrayConverter final : public Converter {
public:
    constexpr ArrayConverter(const Converter* element, unsigned count) : m_element(element), m_count(count) {}

private:
    void doFromJson(void* data, Json::Node* node) const override;
    void doToJson(Json::Node* node, void* data) const override;
    unsigned doSize() const override { return m_element->size() * m_count; }

    const Converter* m_element;
    unsigned m_count;
};

// Fields by name and offset, read in the order of the node's keys, written in that of the table.
class QOR_TEXSMITH_API StructConverter final : public Converter {
public:
    struct Member {
        const char* m_name;
        unsigned m_offset;
        const Converter* m_converter;
    };

    constexpr StructConverter(const Member* members, unsigned count, unsigned size)
        : m_members(members), m_count(count), m_size(size) {}

private:
    void doFromJson(void* data, Json::Node* node) const override;
    void doToJson(Json::Node* node, void* data) const override;
    unsigned doSize() const override { return m_size; }

    const Member* m_members;
    unsigned m_count;
    unsigned m_size;
};

QOR_TEXSMITH_API extern const FloatConverter g_floatConverter;
QOR_TEXSMITH_API extern const SignedIntegerConverter g_int8Converter;
QOR_TEXSMITH_API extern const SignedIntegerConverter g_int16Converter;
QOR_TEXSMITH_API extern const SignedIntegerConverter g_int32Converter;
QOR_TEXSMITH_API extern const SignedIntegerConverter g_int64Converter;
QOR_TEXSMITH_API extern const UnsignedIntegerConverter g_uint8Converter;
QOR_TEXSMITH_API extern const UnsignedIntegerConverter g_uint16Converter;
QOR_TEXSMITH_API extern const UnsignedIntegerConverter g_uint32Converter;
QOR_TEXSMITH_API extern const UnsignedIntegerConverter g_uint64Converter;

} // namespace qor::Texsmith::Raw::Reflection
