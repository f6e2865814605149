// The squares of texels that are worked on at once.
#pragma once

namespace qor::Texsmith::Raw {

// Texels across, and as many down.
inline constexpr unsigned kBlockSide = 4;
inline constexpr unsigned kTileSide = 8;

inline constexpr unsigned kTexelsPerBlock = kBlockSide * kBlockSide;

} // namespace qor::Texsmith::Raw
