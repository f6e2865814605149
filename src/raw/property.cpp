// Typed values with names, and their text.

#include "qor/texsmith/raw/property.h"

#include "qor/texsmith/raw/reflected_types.h"
#include "raw/frame/check.h"
#include "raw/text/fixed_text.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <string>
#include <string_view>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\property";
constexpr char kValid[] = "static_cast<unsigned>(m_format) < COUNT_OF(s_propertyTypeInfo) && "
                          "s_propertyTypeInfo[m_type].m_type == m_type";

enum class Kind { kBool, kUnsigned, kSigned, kFloat, k128 };

struct TypeInfo {
    Kind m_kind = Kind::kBool;
    unsigned m_bytes = 1; // of an element
    unsigned m_count = 1;
};

using Types = std::array<TypeInfo, kPropertyTypeCount>;

constexpr void addGroup(Types& types, unsigned first, Kind kind, unsigned bytes) {
    constexpr unsigned kPowers[] = {1, 2, 4, 8, 16}, kOneToFour[] = {1, 2, 3, 4};
    const unsigned rows = bytes == 1 ? 5 : bytes == 8 ? 2 : 4;
    for (unsigned row = 0; row < rows; ++row) {
        types[first + row] = {kind, bytes, bytes == 4 ? kOneToFour[row] : kPowers[row]};
    }
}

constexpr Types makeTypes() {
    Types types;
    addGroup(types, kPropertyTypeUnsigned8, Kind::kUnsigned, 1);
    addGroup(types, kPropertyTypeUnsigned16, Kind::kUnsigned, 2);
    addGroup(types, kPropertyTypeUnsigned32, Kind::kUnsigned, 4);
    addGroup(types, kPropertyTypeUnsigned64, Kind::kUnsigned, 8);
    types[kPropertyTypeUnsigned128] = {Kind::k128, 16, 1};
    addGroup(types, kPropertyTypeSigned8, Kind::kSigned, 1);
    addGroup(types, kPropertyTypeSigned16, Kind::kSigned, 2);
    addGroup(types, kPropertyTypeSigned32, Kind::kSigned, 4);
    addGroup(types, kPropertyTypeSigned64, Kind::kSigned, 8);
    types[kPropertyTypeSigned128] = {Kind::k128, 16, 1};
    addGroup(types, kPropertyTypeFloat, Kind::kFloat, 4);
    return types;
}

constexpr Types kTypes = makeTypes();

std::uint64_t loadWord(const std::uint8_t* from, unsigned bytes) {
    std::uint64_t word = 0;
    std::memcpy(&word, from, bytes);
    return word;
}

// What a format of at most 511 characters prints, while it is put together.
class CutFormat {
public:
    void literal(std::string_view text) {
        const std::size_t fits = std::min(text.size(), m_left);
        m_printed += text.substr(0, fits);
        m_left -= fits;
    }
    // One that the cut falls into prints nothing. `length` is that of the conversion in the format.
    void conversion(std::size_t length, const char* value) {
        m_printed += length <= m_left ? value : "";
        m_left -= std::min(length, m_left);
    }
    const char* c_str() const { return m_printed.c_str(); }

private:
    std::size_t m_left = 511;
    std::string m_printed;
};

// %u, %d, %llu and %lld.
void addDecimal(CutFormat* format, const TypeInfo& info, const std::uint8_t* element) {
    char text[24];
    const std::uint64_t word = loadWord(element, info.m_bytes);
    if (info.m_kind == Kind::kUnsigned) {
        std::snprintf(text, sizeof text, "%" PRIu64, word);
    } else {
        const unsigned unused = 64 - info.m_bytes * 8;
        std::snprintf(text, sizeof text, "%" PRId64, static_cast<std::int64_t>(word << unused) >> unused);
    }
    format->conversion(info.m_bytes == 8 ? 4 : 2, text);
}

// %02x, %04x, %08x and %016llx.
void addHexadecimal(CutFormat* format, const std::uint8_t* element, unsigned bytes) {
    char text[20];
    std::snprintf(text, sizeof text, "%0*" PRIx64, static_cast<int>(bytes * 2), loadWord(element, bytes));
    format->conversion(bytes == 8 ? 7 : 4, text);
}

// %.6f
void addFloat(CutFormat* format, const std::uint8_t* element) {
    float value;
    std::memcpy(&value, element, sizeof value);
    char text[kFixedTextSize];
    format->conversion(4, writeFixed(static_cast<double>(value), text));
}

void addElement(CutFormat* format, const TypeInfo& info, const std::uint8_t* element, bool isHexadecimal) {
    switch (info.m_kind) {
    case Kind::kBool: // %s
        return format->conversion(2, *element != 0 ? "true" : "false");
    case Kind::kFloat:
        return addFloat(format, element);
    case Kind::k128: // the high half lies first
        addHexadecimal(format, element, 8);
        return addHexadecimal(format, element + 8, 8);
    default:
        return isHexadecimal ? addHexadecimal(format, element, info.m_bytes)
                             : addDecimal(format, info, element);
    }
}

} // namespace

void Property::print(char* buffer, unsigned size, const char** names) const {
    // The format is deliberately held against the number of types.
    const bool isKnown = m_type < kTypes.size();
    check(isKnown && m_format < kTypes.size(), kSourcePath, kValid);
    if (buffer == nullptr || size == 0 || !isKnown) {
        return;
    }
    const char* const name =
        names != nullptr ? names[m_name] : ReflectedTypes::g_propertyName.valueToName(m_name);
    const TypeInfo& info = kTypes[m_type];
    CutFormat format;
    format.literal(name != nullptr ? name : "");
    format.literal(info.m_count > 1 ? " [" : " ");
    for (unsigned i = 0; i < info.m_count; ++i) {
        format.literal(i > 0 ? ", " : "");
        addElement(&format, info, m_value + std::size_t{i} * info.m_bytes,
                   m_format == kPropertyFormatHexadecimal);
    }
    format.literal(info.m_count > 1 ? "]\n" : "\n");
    std::snprintf(buffer, size, "%s", format.c_str());
}

const Property* Properties::find(unsigned name) const {
    const Property* const end = m_properties + m_count;
    const Property* const found =
        std::find_if(m_properties, end, [name](const Property& property) { return property.m_name == name; });
    return found != end ? found : nullptr;
}

void Properties::store(unsigned name, unsigned type, PropertyFormat format, const void* value,
                       std::size_t bytes) {
    const Property* const old = find(name);
    const auto index = old != nullptr ? static_cast<unsigned>(old - m_properties) : m_count;
    if (index >= kMaxProperties) {
        return;
    }
    Property& property = m_properties[index];
    property = {name, type, format, {}};
    std::memcpy(property.m_value, value, std::min(bytes, sizeof property.m_value));
    m_count = std::max(m_count, index + 1);
}

void Properties::set128(unsigned name, std::uint64_t high, std::uint64_t low, bool isSigned,
                        PropertyFormat format) {
    const std::uint64_t halves[] = {high, low};
    store(name, isSigned ? kPropertyTypeSigned128 : kPropertyTypeUnsigned128, format, halves, sizeof halves);
}

} // namespace qor::Texsmith::Raw
