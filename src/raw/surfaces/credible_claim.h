// How large an image a header may ask for.
#pragma once

#include <cstdint>

namespace qor::Texsmith::Raw {

// What every header may ask for, however short its file is.
inline constexpr std::uint64_t kFreeClaimBytes = 1 << 20;
// A file of plain texels that was cut to less than its sixteenth is refused as a whole.
inline constexpr std::uint64_t kMostGainOfPlainTexels = 16;

// Whether a file that has `fileBytes` of texels may claim an image of `imageBytes`, when its encoding makes
// at most `mostGain` bytes out of one.
constexpr bool isClaimCredible(std::uint64_t imageBytes, std::uint64_t fileBytes, std::uint64_t mostGain) {
    return imageBytes <= kFreeClaimBytes || imageBytes / mostGain <= fileBytes;
}

} // namespace qor::Texsmith::Raw
