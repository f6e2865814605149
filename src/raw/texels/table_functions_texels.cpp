// The texel functions of the rows: a kernel where there is one, else the generic codec.
#include "raw/frame/check.h"
#include "raw/texels/codec.h"
#include "raw/texels/generic_codec.h"
#include "raw/texels/kernels.h"
#include "raw/texels/srgb.h"
#include "raw/texels/table_functions.h"
#include "simd/float4.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\format";

// Kernels take the lanes of absent channels for zero; other contents have to be converted.
bool absentLanesAreZero(const VectorFloat* texels, int count, unsigned channels) {
    Simd::Int4 all = Simd::splat(0u);
    for (int i = 0; i < count && channels < 4; ++i) {
        all = all | Simd::loadInts(&texels[i]);
    }
    std::uint32_t lanes[4];
    Simd::store(lanes, all);
    return std::all_of(lanes + channels, lanes + 4, [](std::uint32_t bits) { return bits == 0; });
}

// What the hardware makes of an element's first four bytes, whatever its channels.
VectorFloat hardwareSrgbTexel(const void* source, unsigned bytesPerElement) {
    std::uint8_t bytes[4] = {};
    std::memcpy(bytes, source, std::min(bytesPerElement, 4u));
    const auto fromTable = [](std::uint8_t byte) {
        return std::bit_cast<float>(static_cast<std::uint32_t>(g_hardwareSrgbWords[byte]) << 16);
    };
    return {{fromTable(bytes[0]), fromTable(bytes[1]), fromTable(bytes[2]),
             static_cast<float>(bytes[3]) / 255.0f}};
}

} // namespace

void packedEncodeTexels(void* destination, const VectorFloat* source, const Vex::DataFormat* format,
                        int count) {
    check(count <= kMaxCount, kSourcePath, "count <= kMaxCount");
    const SurfaceFormatInfo& row = getSurfaceFormatInfo(format->getSurfaceFormat());
    if (const EncodeKernel kernel = findEncodeKernel(*format); kernel != nullptr) {
        kernel(destination, source, count);
    } else {
        genericEncode(destination, source, row, format->getTextureChannelType(), count);
    }
}

void packedDecodeTexels(VectorFloat* destination, const void* source, const Vex::DataFormat* format,
                        int count) {
    const SurfaceFormatInfo& row = getSurfaceFormatInfo(format->getSurfaceFormat());
    const DecodeKernel kernel = findDecodeKernel(*format);
    if (kernel != nullptr && absentLanesAreZero(destination, count, row.channels)) {
        kernel(destination, source, count);
    } else {
        genericDecode(destination, source, row, format->getTextureChannelType(), count);
    }
}

// An sRGB run deliberately repeats its first element.
void packedHardwareDecodeTexels(VectorFloat* destination, const void* source, const Vex::DataFormat* format,
                                int count) {
    if (format->getTextureChannelType() != Vex::kTextureChannelTypeSrgb) {
        packedDecodeTexels(destination, source, format, count);
        return;
    }
    const SurfaceFormatInfo& row = getSurfaceFormatInfo(format->getSurfaceFormat());
    if (count > 0) {
        std::fill_n(destination, count, hardwareSrgbTexel(source, row.bytesPerElement));
    }
}

void nullEncodeTexels(void*, const VectorFloat*, const Vex::DataFormat*, int) {}

void nullDecodeTexels(VectorFloat* destination, const void*, const Vex::DataFormat*, int count) {
    if (count > 0) {
        std::fill_n(destination, count, VectorFloat{});
    }
}

} // namespace qor::Texsmith::Raw
