// Converters between JSON and numbers, enumerations, arrays and structures.

#include "qor/texsmith/raw/reflection.h"

#include "qor/texsmith/raw/names.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace qor::Texsmith::Raw::Reflection {
namespace {

constexpr std::uint64_t kOutOfRange = 0x8000000000000000; // as the hardware's conversion gives

constexpr double kTwoTo63 = 9223372036854775808.0;

std::uint64_t truncateToSigned(double number) {
    const bool fits = number >= -kTwoTo63 && number < kTwoTo63;
    return fits ? static_cast<std::uint64_t>(static_cast<std::int64_t>(number)) : kOutOfRange;
}

std::uint64_t truncateToUnsigned(double number) {
    const bool isLarge = number >= kTwoTo63 && number < 2 * kTwoTo63;
    return isLarge ? static_cast<std::uint64_t>(number) : truncateToSigned(number);
}

// Words are little-endian, as all machines that this runs on are.
std::size_t bytesOf(unsigned size) { return std::min<std::size_t>(size, sizeof(std::uint64_t)); }

void storeWord(void* data, std::uint64_t word, unsigned size) { std::memcpy(data, &word, bytesOf(size)); }

std::uint64_t loadWord(const void* data, unsigned size) {
    std::uint64_t word = 0;
    std::memcpy(&word, data, bytesOf(size));
    return word;
}

void* at(void* data, std::size_t offset) { return static_cast<char*>(data) + offset; }

} // namespace

void FloatConverter::doFromJson(void* data, Json::Node* node) const {
    const float value = static_cast<float>(node->copyToNumber());
    std::memcpy(data, &value, sizeof value);
}

void FloatConverter::doToJson(Json::Node* node, void* data) const {
    float value;
    std::memcpy(&value, data, sizeof value);
    node->copyFromNumber(value);
}

void UnsignedIntegerConverter::doFromJson(void* data, Json::Node* node) const {
    storeWord(data, truncateToSigned(node->copyToNumber()), m_size);
}

void UnsignedIntegerConverter::doToJson(Json::Node* node, void* data) const {
    node->copyFromNumber(static_cast<double>(loadWord(data, m_size)));
}

void SignedIntegerConverter::doFromJson(void* data, Json::Node* node) const {
    storeWord(data, truncateToSigned(node->copyToNumber()), m_size);
}

void SignedIntegerConverter::doToJson(Json::Node* node, void* data) const {
    node->copyFromNumber(static_cast<double>(static_cast<std::int64_t>(loadWord(data, m_size))));
}

const EnumConverter::Member* EnumConverter::findName(const char* name) const {
    const Member* const end = m_members + m_count;
    const Member* const member = std::find_if(m_members, end, [name](const Member& candidate) {
        return name != nullptr && strcmpCaseInsensitive(candidate.m_name, name) == 0;
    });
    return member != end ? member : nullptr;
}

const EnumConverter::Member* EnumConverter::findValue(unsigned long long value) const {
    const Member* const end = m_members + m_count;
    const Member* const member =
        std::find_if(m_members, end, [value](const Member& candidate) { return candidate.m_value == value; });
    return member != end ? member : nullptr;
}

unsigned EnumConverter::nameToValue(const char* name) const {
    const Member* const member = findName(name);
    return member != nullptr ? member->m_value : 0xFFFFFFFF;
}

const char* EnumConverter::valueToName(unsigned value) const {
    const Member* const member = findValue(value);
    return member != nullptr ? member->m_name : "";
}

void EnumConverter::doFromJson(void* data, Json::Node* node) const {
    if (node->getType() == Json::kTypeNumber) {
        storeWord(data, truncateToUnsigned(node->copyToNumber()), m_size);
    } else if (node->getType() == Json::kTypeString) {
        if (const Member* const member = findName(node->copyToString())) {
            storeWord(data, member->m_value, m_size);
        }
    }
}

void EnumConverter::doToJson(Json::Node* node, void* data) const {
    const std::uint64_t word = loadWord(data, m_size);
    if (const Member* const member = findValue(word)) {
        node->copyFromString(member->m_name);
    } else {
        node->copyFromNumber(static_cast<double>(word));
    }
}

void ArrayConverter::doFromJson(void* data, Json::Node* node) const {
    const std::size_t count = std::min<std::size_t>(m_count, node->getElements());
    for (std::size_t i = 0; i < count; ++i) {
        if (Json::Node* const element = node->getElement(i)) { // not a slot that was never asked for
            m_element->fromJson(at(data, i * m_element->size()), element);
        }
    }
}

void ArrayConverter::doToJson(Json::Node* node, void* data) const {
    node->setType(Json::kTypeArray);
    for (std::size_t i = 0; i < m_count; ++i) {
        m_element->toJson(&(*node)[i], at(data, i * m_element->size()));
    }
}

// Members of one name are all filled.
void StructConverter::doFromJson(void* data, Json::Node* node) const {
    for (std::size_t pair = 0; pair < node->getKeyValuePairs(); ++pair) {
        const char* const key = node->getKey(pair)->copyToString();
        for (const Member* member = m_members; member != m_members + m_count; ++member) {
            if (strcmpCaseInsensitive(key, member->m_name) == 0) {
                member->m_converter->fromJson(at(data, member->m_offset), node->getValue(pair));
            }
        }
    }
}

void StructConverter::doToJson(Json::Node* node, void* data) const {
    node->setType(Json::kTypeObject);
    for (const Member* member = m_members; member != m_members + m_count; ++member) {
        member->m_converter->toJson(&(*node)(member->m_name), at(data, member->m_offset));
    }
}

constinit const FloatConverter g_floatConverter;
constinit const SignedIntegerConverter g_int8Converter{1};
constinit const SignedIntegerConverter g_int16Converter{2};
constinit const SignedIntegerConverter g_int32Converter{4};
constinit const SignedIntegerConverter g_int64Converter{8};
constinit const UnsignedIntegerConverter g_uint8Converter{1};
constinit const UnsignedIntegerConverter g_uint16Converter{2};
constinit const UnsignedIntegerConverter g_uint32Converter{4};
constinit const UnsignedIntegerConverter g_uint64Converter{8};

} // namespace qor::Texsmith::Raw::Reflection
