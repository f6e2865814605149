// The encoder of BC7: blocks of few colours one by one, all others together in lanes.
#include "raw/blocks/bc7_encoder.h"

#include "raw/blocks/bc7_few_colours.h"
#include "raw/blocks/bc7_kernels.h"
#include "simd/dispatch.h"
#include "simd/float4.h"

#include <algorithm>

namespace qor::Texsmith::Raw {
namespace {

constexpr unsigned kBlockFloats = 64;
constexpr unsigned kRunBlocks = 64; // at a time, on the stack

// Clamps to 0..1. A NaN is 0.
void clampBlock(float* destination, const float* source) {
    const Simd::Float4 zero = Simd::splat(0.0f), one = Simd::splat(1.0f);
    for (unsigned i = 0; i < kBlockFloats; i += 4) {
        Simd::store(destination + i, minimum(maximum(Simd::loadFloats(source + i), zero), one));
    }
}

bool hasAlpha(const float* block) {
    for (unsigned i = 3; i < kBlockFloats; i += 4) {
        if (1.0f - block[i] > kBc7OneLevel) {
            return true;
        }
    }
    return false;
}

// Blocks for the kernels, and where their bytes go.
class Waiting {
public:
    explicit Waiting(bool hasAlpha) : m_hasAlpha(hasAlpha) {}

    void add(const float* block, std::uint8_t* destination) {
        std::copy_n(block, kBlockFloats, m_texels + kBlockFloats * m_count);
        m_destinations[m_count++] = destination;
    }
    void encode(const Bc7Kernels& kernels, EncoderEffort effort) {
        if (m_count == 0) {
            return;
        }
        const unsigned padded = (m_count + kBc7MaxLanes - 1) / kBc7MaxLanes * kBc7MaxLanes;
        std::fill(m_texels + kBlockFloats * m_count, m_texels + kBlockFloats * padded, 0.0f);
        Bc7Fields fields[kRunBlocks];
        kernels.m_encode(m_texels, m_count, m_hasAlpha, effort, fields);
        for (unsigned i = 0; i < m_count; ++i) {
            packBc7(m_destinations[i], fields[i]);
        }
    }

private:
    bool m_hasAlpha;
    unsigned m_count = 0;
    std::uint8_t* m_destinations[kRunBlocks];
    alignas(32) float m_texels[kBlockFloats * kRunBlocks];
};
static_assert(kRunBlocks % kBc7MaxLanes == 0);

void encodeRun(std::uint8_t* destination, const float* texels, std::size_t count, const Bc7Kernels& kernels,
               EncoderEffort effort) {
    const bool isLong = effort == kEncoderEffortHigh || effort == kEncoderEffortBest;
    Waiting opaque(false), withAlpha(true);
    for (std::size_t i = 0; i < count; ++i) {
        alignas(16) float block[kBlockFloats];
        clampBlock(block, texels + kBlockFloats * i);
        const bool alpha = hasAlpha(block);
        // The ends of six bits that pairs of colours with alpha get are not what a longer search would
        // choose.
        const unsigned most = alpha && isLong ? 2 : 4;
        if (!encodeFewColours(destination + 16 * i, block, alpha, most)) {
            (alpha ? withAlpha : opaque).add(block, destination + 16 * i);
        }
    }
    opaque.encode(kernels, effort);
    withAlpha.encode(kernels, effort);
}

} // namespace

void encodeBc7Blocks(std::uint8_t* destination, const ColorRGBA32F* texels, std::size_t count,
                     EncoderEffort effort) {
    const Bc7Kernels* wide = Simd::mayUseAvx2() ? bc7KernelsAvx2() : nullptr;
    const Bc7Kernels& kernels = wide != nullptr ? *wide : kBc7Kernels4;
    const auto* floats = reinterpret_cast<const float*>(texels);
    for (std::size_t i = 0; i < count; i += kRunBlocks) {
        encodeRun(destination + 16 * i, floats + kBlockFloats * i,
                  std::min<std::size_t>(kRunBlocks, count - i), kernels, effort);
    }
}

void encodeBc7(std::uint8_t* destination, const ColorRGBA32F* block) {
    encodeBc7Blocks(destination, block, 1, kEncoderEffortNormal);
}

} // namespace qor::Texsmith::Raw
