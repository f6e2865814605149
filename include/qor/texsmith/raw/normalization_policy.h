// How normalised values stand in memory when a signed format is read or written.
#pragma once

#include "qor/texsmith/export.h"

#include <cstdint>

namespace qor::Texsmith {

enum NormalizationPolicy : std::uint32_t {
    kNormalizationPolicyUnit = 0,   // signed formats are mapped to 0..1
    kNormalizationPolicyAsItIs = 1, // values pass as they are
};

// Read by the block decoders and encoders of signed BC4 and BC5, also through the rows of the format table,
// and by the pixel codes. At the start it is 0, so that signed BC4 and BC5 hold 0..1 where all other signed
// formats of the Raw interface hold -1..1: a program that converts between the two sets it to 1. To be set
// before work starts.
QOR_TEXSMITH_API extern NormalizationPolicy g_normalizationPolicy;

} // namespace qor::Texsmith
