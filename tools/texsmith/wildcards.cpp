#include "wildcards.h"

#include <filesystem>

namespace Tool {
namespace {

constexpr bool kHasBackslashes = std::filesystem::path::preferred_separator == '\\';

char lowered(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

char plain(char c) { return kHasBackslashes && c == '\\' ? '/' : lowered(c); }

// How many bytes the character takes: "?" is one character of UTF-8.
std::size_t characterAt(std::string_view text, std::size_t at) {
    std::size_t bytes = 1;
    while (at + bytes < text.size() && (static_cast<unsigned char>(text[at + bytes]) & 0xC0) == 0x80) {
        ++bytes;
    }
    return bytes;
}

// A star that may still take more text: where the pattern goes on behind it, and where the text does.
struct Star {
    std::size_t m_pattern = std::string_view::npos;
    std::size_t m_text = 0;
    bool m_isDouble = false;
};

} // namespace

// Every star takes as little as it can, and more when what follows does not fit. A single star that meets a
// separator gives up in favour of the last double one.
bool matchesPattern(std::string_view text, std::string_view pattern) {
    Star single, twice;
    std::size_t t = 0, p = 0;
    for (;;) {
        if (p < pattern.size() && pattern[p] == '*') {
            const bool isDouble = p + 1 < pattern.size() && pattern[p + 1] == '*';
            p += isDouble ? 2 : 1;
            // "**/" also stands for no folder at all.
            if (isDouble && p < pattern.size() && plain(pattern[p]) == '/' &&
                matchesPattern(text.substr(t), pattern.substr(p + 1))) {
                return true;
            }
            (isDouble ? twice : single) = {p, t, isDouble};
            single = isDouble ? Star() : single;
            continue;
        }
        if (t == text.size() && p == pattern.size()) {
            return true;
        }
        const bool fits = t < text.size() && p < pattern.size() &&
                          (pattern[p] == '?' ? plain(text[t]) != '/' : plain(text[t]) == plain(pattern[p]));
        if (fits) {
            t += pattern[p] == '?' ? characterAt(text, t) : 1;
            ++p;
        } else if (single.m_pattern != pattern.npos && single.m_text < text.size() &&
                   plain(text[single.m_text]) != '/') {
            t = ++single.m_text;
            p = single.m_pattern;
        } else if (twice.m_pattern != pattern.npos && twice.m_text < text.size()) {
            t = ++twice.m_text;
            p = twice.m_pattern;
            single = Star();
        } else {
            return false;
        }
    }
}

bool hasWildcards(std::string_view name) { return name.find_first_of("*?") != name.npos; }

} // namespace Tool
