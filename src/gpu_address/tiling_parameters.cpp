// What a tiler needs to know of a surface, taken from its descriptor.
#include "qor/gpu_address/gpu_address.h"

#include <algorithm>

namespace qor::GpuAddress {

namespace {

unsigned sizeAtMip(unsigned size, unsigned mip) { return std::max(1u, size >> mip); }

// Sets what depends on the format; false for a format without bytes.
bool setFormat(TilingParameters& parameters, Vex::DataFormat format) {
    parameters.m_bitsPerElement = format.getBitsPerElement();
    parameters.m_isBlockCompressed = format.isBlockCompressedFormat();
    return parameters.m_bitsPerElement != 0;
}

// What the render targets, colour or depth, have in common.
template <typename Target>
TilingParameters fromTarget(const Target& target, Vex::TileMode tileMode, unsigned arraySlice) {
    TilingParameters parameters;
    parameters.m_tileMode = tileMode;
    parameters.m_width = target.m_width;
    parameters.m_height = target.m_height;
    parameters.m_depth = 1;
    parameters.m_fragments = 1u << (target.m_fragments & 3u);
    parameters.m_arraySlice = arraySlice;
    return parameters;
}

// Hands `parameters` over, or zeros.
int finish(TilingParameters& result, const TilingParameters& parameters, bool valid) {
    result = valid ? parameters : TilingParameters{};
    return valid ? kStatusSuccess : kStatusInvalidArgument;
}

} // namespace

int TilingParameters::initFromTexture(const Vex::Texture* texture, unsigned mip, unsigned arraySlice) {
    TilingParameters parameters;
    if (texture == nullptr || mip > texture->getLastMipLevel()) {
        return finish(*this, parameters, false);
    }
    const bool volume = texture->getTextureType() == Vex::kTextureType3d;
    parameters.m_tileMode = texture->getTileMode();
    parameters.m_width = sizeAtMip(texture->getWidth(), mip);
    parameters.m_height = sizeAtMip(texture->getHeight(), mip);
    parameters.m_depth = volume ? sizeAtMip(texture->getDepth(), mip) : 1;
    parameters.m_fragments = 1u << texture->getNumFragments();
    parameters.m_mip = mip;
    parameters.m_arraySlice = arraySlice;
    return finish(*this, parameters, setFormat(parameters, texture->getDataFormat()));
}

int TilingParameters::initFromRenderTarget(const Vex::RenderTarget* target, unsigned arraySlice) {
    if (target == nullptr) {
        return finish(*this, {}, false);
    }
    TilingParameters parameters = fromTarget(*target, target->m_tileMode, arraySlice);
    return finish(*this, parameters, setFormat(parameters, target->m_dataFormat));
}

int TilingParameters::initFromDepthSurface(const Vex::DepthRenderTarget* target, unsigned arraySlice) {
    if (target == nullptr) {
        return finish(*this, {}, false);
    }
    TilingParameters parameters = fromTarget(*target, target->m_tileMode, arraySlice);
    parameters.m_bitsPerElement = target->m_depthBits;
    return finish(*this, parameters, target->m_depthBits == 16 || target->m_depthBits == 32);
}

int TilingParameters::initFromStencilSurface(const Vex::DepthRenderTarget* target, unsigned arraySlice) {
    if (target == nullptr) {
        return finish(*this, {}, false);
    }
    TilingParameters parameters = fromTarget(*target, target->m_stencilTileMode, arraySlice);
    parameters.m_bitsPerElement = 8;
    return finish(*this, parameters, true);
}

} // namespace qor::GpuAddress
