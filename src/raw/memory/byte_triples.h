// Rows of pixels of three bytes, and of four.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

// Three bytes to four, of which the last becomes zero. The two do not overlap; neither need be aligned.
void widenTriples(std::uint8_t* to, const std::uint8_t* from, std::size_t pixels);
// Four bytes to their first three.
void narrowToTriples(std::uint8_t* to, const std::uint8_t* from, std::size_t pixels);

// Takes as many of the pixels, from the first on, as it can in steps of eight, and returns how many.
using MoveTriples = std::size_t (*)(std::uint8_t* to, const std::uint8_t* from, std::size_t pixels);
struct TripleKernels {
    MoveTriples m_widen, m_narrow;
};
// Null where the build has none.
const TripleKernels* getTripleKernelsAvx2();

} // namespace qor::Texsmith::Raw
