// Numbers that the scalar and the wide fit of a pair of BC1 endpoints have in common.
#pragma once

#include <cfloat>
#include <cstdint>

namespace qor::Texsmith::Raw {

// The least float that is not below half a step of a byte: where the channels' ranges add up to less, a group
// is flat.
inline constexpr float kFlatRange = 0.0019607844f;
static_assert(static_cast<double>(kFlatRange) >= 0.00196078431372549);
static_assert(static_cast<double>(0.0019607842f) < 0.00196078431372549);

// Below this the sum of an axis' squares is a denormal, with too few digits to normalise the axis by.
inline constexpr float kLeastAxisSquare = FLT_MIN;

// Makes texels of bytes.
inline constexpr float kByteToUnit = static_cast<float>(1.0 / 255);

inline constexpr float kRedBlueLevels = 31.0f;
inline constexpr float kGreenLevels = 63.0f;
inline constexpr float kRedBlueStep = 0.032258064f;
inline constexpr float kGreenStep = 0.015873017f;

inline constexpr std::uint32_t kAllIndices2 = 0xAAAAAAAA;
inline constexpr std::uint32_t kSwapEndpoints = 0x55555555; // index 0 <-> 1, 2 <-> 3

// Added to a number from 0 to 2^22, it leaves the nearest integer (ties to even) in the last bits.
inline constexpr float kRoundingShift = 12582912.0f;

} // namespace qor::Texsmith::Raw
