// UTF-8 to wide text and back, where wide characters are code points.

#include "platform/platform.h"

namespace qor::Texsmith::Platform {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// The range of the second byte keeps out overlong forms, surrogates and what lies above U+10FFFF.
struct Lead {
    int m_followers;
    unsigned char m_secondFrom;
    unsigned char m_secondTo;
};

Lead classify(unsigned char lead) {
    if (lead >= 0xC2 && lead <= 0xDF) {
        return {1, 0x80, 0xBF};
    }
    if (lead >= 0xE0 && lead <= 0xEF) {
        return {2, static_cast<unsigned char>(lead == 0xE0 ? 0xA0 : 0x80),
                static_cast<unsigned char>(lead == 0xED ? 0x9F : 0xBF)};
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        return {3, static_cast<unsigned char>(lead == 0xF0 ? 0x90 : 0x80),
                static_cast<unsigned char>(lead == 0xF4 ? 0x8F : 0xBF)};
    }
    return {0, 0, 0};
}

// Takes one code point, or the longest piece of a broken one, which becomes one replacement character.
char32_t decodeNext(const unsigned char*& text) {
    const unsigned char first = *text++;
    if (first < 0x80) {
        return first;
    }
    const Lead lead = classify(first);
    if (lead.m_followers == 0 || *text < lead.m_secondFrom || *text > lead.m_secondTo) {
        return kReplacement;
    }
    char32_t code = first & (0x3Fu >> lead.m_followers);
    for (int i = 0; i < lead.m_followers; ++i) {
        if (!isContinuation(*text)) {
            return kReplacement;
        }
        code = code << 6 | (*text++ & 0x3Fu);
    }
    return code;
}

std::size_t encode(char32_t code, char (&bytes)[4]) {
    if (code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
        code = kReplacement;
    }
    const auto tail = [code](int shift) { return static_cast<char>(0x80 | (code >> shift & 0x3F)); };
    if (code < 0x80) {
        bytes[0] = static_cast<char>(code);
        return 1;
    }
    if (code < 0x800) {
        bytes[0] = static_cast<char>(0xC0 | code >> 6);
        bytes[1] = tail(0);
        return 2;
    }
    if (code < 0x10000) {
        bytes[0] = static_cast<char>(0xE0 | code >> 12);
        bytes[1] = tail(6);
        bytes[2] = tail(0);
        return 3;
    }
    bytes[0] = static_cast<char>(0xF0 | code >> 18);
    bytes[1] = tail(12);
    bytes[2] = tail(6);
    bytes[3] = tail(0);
    return 4;
}

template <class Put> void convertToWide(const char* text, Put put) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    while (*bytes != 0) {
        put(static_cast<wchar_t>(decodeNext(bytes)));
    }
    put(L'\0');
}

template <class Put> void convertToUtf8(const wchar_t* wide, Put put) {
    for (; *wide != 0; ++wide) {
        char bytes[4];
        const std::size_t count = encode(static_cast<char32_t>(*wide), bytes);
        for (std::size_t i = 0; i < count; ++i) {
            put(bytes[i]);
        }
    }
    put('\0');
}

// Once to count, and once more to write when that many fit.
template <class Unit, class Convert>
std::size_t countAndWrite(Unit* out, std::size_t units, Convert convert) {
    std::size_t needed = 0;
    convert([&needed](Unit) { ++needed; });
    if (needed <= units) {
        convert([&out](Unit unit) { *out++ = unit; });
    }
    return needed;
}

} // namespace

std::size_t toWide(const char* text, wchar_t* wide, std::size_t units) {
    return countAndWrite(wide, units, [text](auto put) { convertToWide(text, put); });
}

std::size_t toUtf8(const wchar_t* wide, char* text, std::size_t units) {
    return countAndWrite(text, units, [wide](auto put) { convertToUtf8(wide, put); });
}

} // namespace qor::Texsmith::Platform
