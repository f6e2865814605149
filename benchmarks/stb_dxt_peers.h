// The encoders of stb_dxt, once for each compiler that has built them: the faster one is the peer.
#pragma once

#include <vector>

namespace Bench {

inline constexpr int kStbNormal = 0; // the quality

struct StbDxt {
    const char* m_compiler;
    void (*m_dxt)(unsigned char* destination, const unsigned char* pixels, int hasAlpha, int quality);
    void (*m_bc4)(unsigned char* destination, const unsigned char* values);
    void (*m_bc5)(unsigned char* destination, const unsigned char* values);
};

std::vector<StbDxt> stbDxtBuilds();

} // namespace Bench
