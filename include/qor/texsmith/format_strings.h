// Data formats as short texts, such as "R8G8B8A8UNorm" and "Bc3UNormSrgb".
//
// These names are parsed and printed by rule, unlike the named formats of raw/format.h. What a name gives is
// read from the least significant channel on. All functions may be called from any thread.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/vex/data_format.h"

namespace qor::Texsmith {

inline constexpr unsigned kBlessedFormats = 109;
// The formats that classic tools offer, and a null behind them.
QOR_TEXSMITH_API extern const char* const blessedFormats[kBlessedFormats + 1];

// The word 0 for a null pointer and for texts that name no format. Case does not count.
QOR_TEXSMITH_API Vex::DataFormat str2Format(const char* text);
// The name of a format, "Invalid" for one without channels. A null destination, and one of less than 32
// bytes, is left alone. Not every name comes back as the same format: integer formats, for one, name
// constants for W.
QOR_TEXSMITH_API void format2Str(Vex::DataFormat format, char* destination, unsigned size);
// Eight lines for people, cut to `size` bytes with the terminator.
QOR_TEXSMITH_API void getFormatDetails(Vex::DataFormat format, char* destination, unsigned size);
// By surface format and channel type alone: the selects do not count.
QOR_TEXSMITH_API bool isBlessedFormat(Vex::DataFormat format);
QOR_TEXSMITH_API bool isBlesssedFormat(Vex::DataFormat format); // deliberately also so spelt

} // namespace qor::Texsmith
