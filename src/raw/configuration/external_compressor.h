// The compressor that a machine may bring, as far as the settings and the block encoders know it.
#pragma once

#include <cstdint>

namespace qor::Texsmith::Raw {

struct ExternalCompressorProfile;

inline constexpr int kExternalLevels = 5;

// Rows of texels with the channels R, G, B, A.
struct ExternalSurface {
    const std::uint8_t* m_texels;
    std::int32_t m_width;
    std::int32_t m_height;
    std::int32_t m_pitch; // bytes from row to row
};

using ExternalEncode = void (*)(const ExternalSurface* source, std::uint8_t* destination);
// The profile is the configuration's.
using ExternalProfileEncode = void (*)(const ExternalSurface* source, std::uint8_t* destination,
                                       const ExternalCompressorProfile* profile);

// Null entries where the machine has no such compressor.
struct ExternalCompressor {
    ExternalEncode m_encodeBc1;
    ExternalEncode m_encodeBc3;
    const ExternalCompressorProfile* m_bc6hProfiles[kExternalLevels];  // veryslow to veryfast
    const ExternalCompressorProfile* m_plainProfiles[kExternalLevels]; // slow to ultrafast
    const ExternalCompressorProfile* m_alphaProfiles[kExternalLevels]; // the same, for formats that use W
    ExternalProfileEncode m_encodeBc6h = nullptr;                      // of R, G, B, A halves
    ExternalProfileEncode m_encodeBc7 = nullptr;
};

} // namespace qor::Texsmith::Raw
