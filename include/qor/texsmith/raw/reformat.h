// Conversion of a surface's texels into another surface's format.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/element_provider.h"

namespace qor::Texsmith::Raw {

// Converts the whole contents of `source` into the format, channel type and swizzle of `destination`, which
// has the same dimensions. Equal formats without transforms are copied; formats with eight-bit blocks and
// equal channel types go by stored bytes; all others through floats. Null arguments, a null job manager and
// differing dimensions are reported. kErrorFailed for a format that cannot be read or written.
QOR_TEXSMITH_API Error reformat(const ElementProvider* source, ElementProvider* destination,
                                Configuration* configuration);

} // namespace qor::Texsmith::Raw
