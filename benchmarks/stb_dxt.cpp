// The peer of the block encoders, as its header gives it.
#include <cstdlib>
#include <cstring>

#define STB_DXT_IMPLEMENTATION
#include <stb/stb_dxt.h>

#include "stb_dxt_peers.h"

#ifdef TEXSMITH_STB_BY_CLANG
extern "C" {
void clangStbDxt(unsigned char* destination, const unsigned char* pixels, int hasAlpha, int quality);
void clangStbBc4(unsigned char* destination, const unsigned char* values);
void clangStbBc5(unsigned char* destination, const unsigned char* values);
}
#endif

namespace Bench {

std::vector<StbDxt> stbDxtBuilds() {
    return {
        {"this compiler", &stb_compress_dxt_block, &stb_compress_bc4_block, &stb_compress_bc5_block},
#ifdef TEXSMITH_STB_BY_CLANG
        {"Clang", &clangStbDxt, &clangStbBc4, &clangStbBc5},
#endif
    };
}

} // namespace Bench
