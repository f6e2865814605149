// Where the mips and slices of a whole tiled texture lie.
#include "qor/gpu_address/gpu_address.h"

#include "gpu_address/sizes.h"

#include <algorithm>

namespace qor::GpuAddress {

namespace {

constexpr unsigned kDefaultAlignment = 256;

unsigned slicesOf(const Vex::Texture& texture) {
    if (texture.getTextureType() == Vex::kTextureType3d) {
        return 1;
    }
    return texture.getDepth() * (texture.getTextureType() == Vex::kTextureTypeCubemap ? 6 : 1);
}

// One mip: all its slices, one after another.
struct MipLayout {
    std::uint64_t m_offset = 0;
    std::uint64_t m_stride = 0; // from slice to slice
    std::uint64_t m_end = 0;
    std::uint32_t m_alignment = 0;
};

// Advances from one mip to the next. No descriptor can make the sizes overflow: the largest is below 2^55.
int advance(MipLayout& layout, const Vex::Texture& texture, unsigned mip) {
    TilingParameters parameters;
    SurfaceInfo info;
    int status = parameters.initFromTexture(&texture, mip, 0);
    if (status == kStatusSuccess) {
        status = computeSurfaceInfo(&info, &parameters);
    }
    if (status == kStatusSuccess) {
        layout.m_alignment = info.m_alignment;
        layout.m_offset = roundedUp(layout.m_end, info.m_alignment);
        layout.m_stride = roundedUp(info.m_size, info.m_alignment);
        layout.m_end = layout.m_offset + layout.m_stride * slicesOf(texture);
    }
    return status;
}

} // namespace

int computeTotalTiledTextureSize(std::uint64_t* size, unsigned* alignment, const Vex::Texture* texture) {
    if (size == nullptr || alignment == nullptr) {
        return kStatusInvalidArgument;
    }
    *size = 0;
    *alignment = 0;
    if (texture == nullptr) {
        return kStatusInvalidArgument;
    }
    if (texture->getDataFormat().getSurfaceFormat() == Vex::kSurfaceFormatInvalid) {
        *alignment = kDefaultAlignment;
        return kStatusSuccess;
    }
    MipLayout layout;
    unsigned largestAlignment = 0;
    for (unsigned mip = 0; mip <= texture->getLastMipLevel(); ++mip) {
        if (const int status = advance(layout, *texture, mip); status != kStatusSuccess) {
            return status;
        }
        largestAlignment = std::max(largestAlignment, layout.m_alignment);
    }
    *size = layout.m_end;
    *alignment = largestAlignment;
    return kStatusSuccess;
}

int computeTextureSurfaceOffsetAndSize(std::uint64_t* offset, std::uint64_t* size,
                                       const Vex::Texture* texture, unsigned mip, unsigned arraySlice) {
    if (offset == nullptr || size == nullptr) {
        return kStatusInvalidArgument;
    }
    *offset = 0;
    *size = 0;
    if (texture == nullptr || mip > texture->getLastMipLevel() || arraySlice >= slicesOf(*texture)) {
        return kStatusInvalidArgument;
    }
    MipLayout layout;
    for (unsigned level = 0; level <= mip; ++level) {
        if (const int status = advance(layout, *texture, level); status != kStatusSuccess) {
            return status;
        }
    }
    *offset = layout.m_offset + layout.m_stride * arraySlice;
    *size = layout.m_stride;
    return kStatusSuccess;
}

} // namespace qor::GpuAddress
