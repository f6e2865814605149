#include "raw/blocks/block_preparation.h"

#include "raw/texels/sides.h"
#include "raw/texels/srgb_run.h"
#include "simd/float4.h"

namespace qor::Texsmith::Raw {
namespace {

// A NaN counts as 0.
void clampTexels(float* destination, const float* source, unsigned texelCount) {
    const Simd::Float4 zero = Simd::splat(0.0f), one = Simd::splat(1.0f);
    for (unsigned i = 0; i < 4 * texelCount; i += 4) {
        Simd::store(destination + i, minimum(maximum(Simd::loadFloats(source + i), zero), one));
    }
}

} // namespace

void prepareBlockForEncoding(ColorRGBA32F* output, const ColorRGBA32F* source,
                             Vex::TextureChannelType channelType, unsigned blockCount) {
    auto* destination = reinterpret_cast<float*>(output);
    const auto* texels = reinterpret_cast<const float*>(source);
    if (channelType == Vex::kTextureChannelTypeSrgb) {
        srgbEncodeTexels(destination, texels, kTexelsPerBlock * blockCount);
    } else {
        clampTexels(destination, texels, kTexelsPerBlock * blockCount);
    }
}

} // namespace qor::Texsmith::Raw
