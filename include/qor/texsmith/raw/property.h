// Typed values with names, for reporting what a texel or surface holds.
//
//     Properties properties;
//     provider.getTexel(&surfaceIndex, &properties, x, y);
//     for (unsigned i = 0; i < properties.getCount(); ++i) {
//         char line[256];
//         properties[i].print(line, sizeof line, nullptr);     // "TexelXY [3, 4]\n"
//     }
//
// A value is a bool, one of the numbers named below, or a few of them in a row; 16 bytes at most. Both
// classes are plain values that own nothing. A property and a list belong to one thread at a time.
#pragma once

#include "qor/texsmith/export.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace qor::Texsmith::Raw {

// The names that the library gives; g_propertyName has their texts.
enum PropertyName : unsigned {
    kPropertyTexelU = 0,
    kPropertyTexelUV = 1,
    kPropertyTexelUVW = 2,
    kPropertyTexelX = 3,
    kPropertyTexelXY = 4,
    kPropertyTexelXYZ = 5,
    kPropertyBlockXY = 6,
    kPropertyTileXY = 7,
    kPropertyElement = 8,
    kPropertyValue = 9,
    kPropertyHardwareValue = 10,
    kPropertyArrayEntryFaceMipDepth = 29,
};

// The first of each group; a group has one type for each of the numbers of elements named beside it.
enum PropertyType : unsigned {
    kPropertyTypeBool = 0,
    kPropertyTypeUnsigned8 = 1,   // 1, 2, 4, 8, 16
    kPropertyTypeUnsigned16 = 6,  // 1, 2, 4, 8
    kPropertyTypeUnsigned32 = 10, // 1, 2, 3, 4
    kPropertyTypeUnsigned64 = 14, // 1, 2
    kPropertyTypeUnsigned128 = 16,
    kPropertyTypeSigned8 = 17,
    kPropertyTypeSigned16 = 22,
    kPropertyTypeSigned32 = 26,
    kPropertyTypeSigned64 = 30,
    kPropertyTypeSigned128 = 32,
    kPropertyTypeFloat = 33, // 1, 2, 3, 4
    kPropertyTypeCount = 37
};

enum PropertyFormat : unsigned { kPropertyFormatDecimal = 0, kPropertyFormatHexadecimal = 1 };

// One value with its name, its type and how it is printed.
class QOR_TEXSMITH_API Property {
public:
    unsigned m_name = 0;   // a PropertyName, or an index into a table of the caller's
    unsigned m_type = 0;   // a PropertyType
    unsigned m_format = 0; // a PropertyFormat
    std::uint8_t m_value[16] = {};

    // The name, a blank, the value and a line feed, cut to `size` bytes with the terminator; several elements
    // stand in square brackets. `names` is a table that m_name is an index of; null stands for the library's
    // names. A name of some 500 characters cuts off what follows it. A type that there is not, and a format
    // of 37 or more, are reported; the first prints nothing. A null buffer does nothing.
    void print(char* buffer, unsigned size, const char** names) const;
};

// Up to 16 properties, each of another name.
class QOR_TEXSMITH_API Properties {
public:
    static constexpr unsigned kMaxProperties = 16;

    void clear() { m_count = 0; }
    unsigned getCount() const { return m_count; }
    // `index` is below getCount().
    const Property& operator[](unsigned index) const { return m_properties[index]; }
    // Null where no property has that name.
    const Property* find(unsigned name) const;

    // A property of the same name is replaced; what does not fit into the list is dropped.
    template <typename T> void set(unsigned name, T value, PropertyFormat format = kPropertyFormatDecimal) {
        store(name, typeOf<T>(1), format, &value, sizeof value);
    }
    // As many elements as the group of their type knows.
    template <typename T, std::size_t kCount>
    void set(unsigned name, const T (&values)[kCount], PropertyFormat format = kPropertyFormatDecimal) {
        static_assert(isKnown<T>(kCount), "no type of property has so many elements");
        store(name, typeOf<T>(kCount), format, values, sizeof values);
    }
    // The two halves of a number of 128 bits.
    void set128(unsigned name, std::uint64_t high, std::uint64_t low, bool isSigned,
                PropertyFormat format = kPropertyFormatDecimal);

private:
    template <typename T> static constexpr unsigned firstType() {
        if constexpr (std::is_same_v<T, bool>) {
            return kPropertyTypeBool;
        } else if constexpr (std::is_same_v<T, float>) {
            return kPropertyTypeFloat;
        } else {
            static_assert(std::is_integral_v<T>, "properties are of bool, float and integers");
            constexpr unsigned kUnsigned[] = {kPropertyTypeUnsigned8, kPropertyTypeUnsigned16,
                                              kPropertyTypeUnsigned32, kPropertyTypeUnsigned64};
            constexpr unsigned kSigned[] = {kPropertyTypeSigned8, kPropertyTypeSigned16,
                                            kPropertyTypeSigned32, kPropertyTypeSigned64};
            constexpr unsigned kSize = sizeof(T) == 1 ? 0 : sizeof(T) == 2 ? 1 : sizeof(T) == 4 ? 2 : 3;
            return std::is_signed_v<T> ? kSigned[kSize] : kUnsigned[kSize];
        }
    }
    // Values of 32 bits come in ones to fours, all others in powers of two.
    template <typename T> static constexpr unsigned typeOf(std::size_t count) {
        const unsigned step = count == 1 ? 0 : count == 2 ? 1 : count <= 4 ? 2 : count == 8 ? 3 : 4;
        return firstType<T>() + (sizeof(T) == 4 ? static_cast<unsigned>(count - 1) : step);
    }
    template <typename T> static constexpr bool isKnown(std::size_t count) {
        const bool isPowerOfTwo = count != 0 && (count & (count - 1)) == 0;
        return sizeof(T) * count <= 16 && (isPowerOfTwo || (sizeof(T) == 4 && count == 3)) &&
               (!std::is_same_v<T, bool> || count == 1);
    }
    void store(unsigned name, unsigned type, PropertyFormat format, const void* value, std::size_t bytes);

    Property m_properties[kMaxProperties];
    unsigned m_count = 0;
};

} // namespace qor::Texsmith::Raw
