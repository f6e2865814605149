// Output names made from input names, comparison of names, and a stop watch.
#pragma once

#include "qor/texsmith/export.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// An output name made from an input name. A `filenameToDerive` that begins with a dot is an extension that
// takes the place of the other name's; anything else is the whole name. At most 1023 bytes.
// Null names, and an extension where the other name has no dot, are reported; the extension then goes to the
// end.
class QOR_TEXSMITH_API DerivedFilename {
public:
    DerivedFilename(const char* filenameToDerive, const char* filenameToDeriveFrom);
    const char* c_str() const { return m_text; }

private:
    char m_text[1024];
};

// 0 for texts that are equal but for the case of A to Z, whatever the locale; else the sign of the first
// difference. Exactly one null: 0. Two nulls: 1. Both are deliberate.
QOR_TEXSMITH_API int strcmpCaseInsensitive(const char* a, const char* b);

// Measures the time since it was made or reset, by the system's counter that never goes back.
class QOR_TEXSMITH_API Timer {
public:
    Timer();
    void reset();
    float getSeconds() const;
    float getMilliseconds() const;
    float getMicroseconds() const;

private:
    std::uint64_t m_frequency;
    std::uint64_t m_start;
};

} // namespace qor::Texsmith::Raw
