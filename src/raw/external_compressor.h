// The compressor that a machine may bring, as far as the settings know it: its profiles, by level.
#pragma once

namespace qor::Texsmith::Raw {

struct ExternalCompressorProfile;

inline constexpr int kExternalLevels = 5;

// Null entries where the machine has no such compressor.
struct ExternalCompressor {
    const ExternalCompressorProfile* m_bc6hProfiles[kExternalLevels];  // veryslow to veryfast
    const ExternalCompressorProfile* m_plainProfiles[kExternalLevels]; // slow to ultrafast
    const ExternalCompressorProfile* m_alphaProfiles[kExternalLevels]; // the same, for formats that use W
};

} // namespace qor::Texsmith::Raw
