// Numbers as text that is the same under every locale of the process.
#pragma once

#include <charconv>
#include <cstddef>

namespace qor::Texsmith::Raw {

// Room for the largest number, of 309 digits.
inline constexpr std::size_t kFixedTextSize = 320;

// With six decimals, as "%f" prints it in the C locale.
inline const char* writeFixed(double value, char (&text)[kFixedTextSize]) {
    constexpr int kDecimals = 6;
    char* const last = text + sizeof text - 1;
    *std::to_chars(text, last, value, std::chars_format::fixed, kDecimals).ptr = '\0';
    return text;
}

} // namespace qor::Texsmith::Raw
