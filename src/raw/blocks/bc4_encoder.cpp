#include "raw/blocks/bc4_encoder.h"

#include "qor/texsmith/raw/normalization_policy.h"
#include "raw/blocks/bc4_lanes.h"
#include "simd/dispatch.h"
#include "simd/words.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr Bc4Plan kNormal = {2, 4, true, true};
constexpr Bc4Plan kFast = {2, 0, false, false};
constexpr Bc4Plan kLong = {4, 64, true, true}; // until no neighbour is better

const Bc4Plan& planOf(EncoderEffort effort) {
    switch (effort) {
    case kEncoderEffortFast:
        return kFast;
    case kEncoderEffortHigh:
    case kEncoderEffortBest:
        return kLong;
    default:
        return kNormal;
    }
}

constexpr Bc4Kernel kBaseKernel = &Bc4Run<Simd::Words8>::encode;
constexpr Bc4Kernel kOneBlockKernel = &Bc4Run<Simd::Words8, true>::encode;

// For few blocks half a wide vector is less to do.
Bc4Kernel chooseKernel(std::size_t count) {
    const bool mayBeWide = count > Simd::Words8::kCount && Simd::mayUseAvx2();
    const Bc4Kernel wide = mayBeWide ? getBc4KernelAvx2() : nullptr;
    return wide != nullptr ? wide : kBaseKernel;
}

Bc4Source sourceOf(const ColorRGBA32F* texels, unsigned channel, bool isSigned) {
    const bool remaps = isSigned && g_normalizationPolicy == kNormalizationPolicyUnit;
    return {{&texels->r, nullptr, 0, channel & 3}, isSigned, remaps};
}

} // namespace

void encodeBc4Channel(void* destination, const ColorRGBA32F* block, unsigned channel, bool isSigned) {
    encodeBc4Blocks(destination, 8, block, channel, isSigned, 1, kEncoderEffortNormal);
}

void encodeBc4Blocks(void* destination, std::size_t stride, const ColorRGBA32F* texels, unsigned channel,
                     bool isSigned, std::size_t count, EncoderEffort effort) {
    const Bc4Kernel kernel = count == 1 ? kOneBlockKernel : chooseKernel(count);
    kernel(static_cast<std::uint8_t*>(destination), stride, sourceOf(texels, channel, isSigned), count,
           planOf(effort));
}

void encodeBc4Rows(void* destination, std::size_t stride, const std::uint8_t* rows, std::size_t pitch,
                   unsigned channel, std::size_t count, EncoderEffort effort) {
    chooseKernel(count)(static_cast<std::uint8_t*>(destination), stride,
                        {{nullptr, rows, pitch, channel & 3}, false, false}, count, planOf(effort));
}

} // namespace qor::Texsmith::Raw
