// The codecs that Windows has, by its Imaging Component.
#pragma once

#include "raw/files/codec.h"

#include <span>

namespace qor::Texsmith::Raw {

// What the component reads and writes; which of them a system has is known when they are used.
std::span<const Codec> wicCodecs();

// References to files that were left behind by objects of the component, since the start: none, unless
// something is leaked. For tests.
unsigned countLeakedWicReferences();

} // namespace qor::Texsmith::Raw
