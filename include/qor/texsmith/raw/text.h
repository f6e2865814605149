// Conversion between UTF-8 and the system's wide text (UTF-16 on Windows, one unit per code point elsewhere).
// What cannot be converted becomes U+FFFD.
//
//     CreateDirectoryW(utf16(name, g_mallocAllocator).c_str(), nullptr);
//
// The objects hold the converted text for as long as they live, and belong to one thread at a time. Texts end
// in a zero unit.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/allocator.h"

#include <cstddef>

namespace qor::Texsmith::Raw {

// From UTF-8. Holds the converted text in place up to 128 units with the terminator, else in memory from
// `allocator`.
class QOR_TEXSMITH_API utf16 {
public:
    utf16(const char* text, IAllocator allocator);
    ~utf16();
    utf16(const utf16&) = delete;
    utf16& operator=(const utf16&) = delete;
    const wchar_t* c_str() const { return m_text; } // null for a null text, and without memory

private:
    static constexpr std::size_t kLocalUnits = 128;
    IAllocator m_allocator;
    wchar_t m_local[kLocalUnits];
    wchar_t* m_text;
};

// To UTF-8, in the same way.
class QOR_TEXSMITH_API utf8 {
public:
    utf8(const wchar_t* text, IAllocator allocator);
    ~utf8();
    utf8(const utf8&) = delete;
    utf8& operator=(const utf8&) = delete;
    const char* c_str() const { return m_text; }

private:
    static constexpr std::size_t kLocalUnits = 128;
    IAllocator m_allocator;
    char m_local[kLocalUnits];
    char* m_text;
};

} // namespace qor::Texsmith::Raw
