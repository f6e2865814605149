// Classic volumes.
#include "qor/texsmith/volume_image.h"

#include "qor/gpu_address/gpu_address.h"

namespace qor::Texsmith {

VolumeImage::VolumeImage(unsigned width, unsigned height, unsigned depth, unsigned planes,
                         Image::Plane::Type type)
    : VexTextureGen(kImageTypeVolume), m_width(width), m_height(height), m_numPlanes(planes) {
    m_slices.reserve(depth);
    for (unsigned z = 0; z < depth; ++z) {
        m_slices.push_back(std::make_unique<Image>(width, height, planes, type));
    }
    if (depth != 0) {
        m_numPlanes = m_slices[0]->getNumPlanes();
    }
}

void VolumeImage::enumerateImages(IdentifiedImageCallback callback, void* context) {
    Raw::SurfaceIndex index;
    for (const auto& slice : m_slices) {
        callback(slice.get(), index, context);
        ++index.depth;
    }
}

void VolumeImage::enumerateImages(ImageCallback callback, void* context) {
    for (const auto& slice : m_slices) {
        callback(slice.get(), context);
    }
}

bool VolumeImage::initTexture(Vex::Texture* texture, std::uint64_t* size, unsigned* alignment,
                              Vex::DataFormat format, Vex::TileMode tileMode) const {
    *texture = {};
    if (m_width == 0 || m_height == 0 || m_slices.empty() || format.getBitsPerElement() == 0) {
        return false;
    }
    const Vex::SizeAlign need = texture->initAs3d(m_width, m_height, getDepth(), 1, format, tileMode);
    *size = need.m_size;
    *alignment = need.m_align;
    return need.m_size != 0;
}

unsigned VolumeImage::fillSurface(void* destination, unsigned bufferSize, Vex::TileMode tileMode,
                                  Vex::DataFormat format, std::uint64_t, unsigned) {
    Vex::Texture texture;
    std::uint64_t size = 0;
    unsigned alignment = 0;
    if (!initTexture(&texture, &size, &alignment, format, tileMode) ||
        !encodeSurfaces(destination, bufferSize, texture, nullptr)) {
        return 0;
    }
    return static_cast<unsigned>(size);
}

unsigned VolumeImage::loadFromSurface(const void* source, unsigned bufferSize, Vex::TileMode tileMode,
                                      Vex::DataFormat format, std::uint64_t, unsigned) {
    Vex::Texture texture;
    GpuAddress::TilingParameters parameters;
    std::uint64_t size = 0, linearBytes = 0, tiledBytes = 0;
    unsigned alignment = 0;
    if (source == nullptr || !initTexture(&texture, &size, &alignment, format, tileMode) ||
        parameters.initFromTexture(&texture, 0, 0) != GpuAddress::kStatusSuccess ||
        GpuAddress::computeTiledSurfaceSize(&tiledBytes, &alignment, &parameters) !=
            GpuAddress::kStatusSuccess ||
        GpuAddress::computeUntiledSurfaceSize(&linearBytes, &alignment, &parameters) !=
            GpuAddress::kStatusSuccess ||
        tiledBytes > bufferSize) {
        return 0;
    }
    std::vector<std::uint8_t> linear(static_cast<std::size_t>(linearBytes));
    GpuAddress::detileSurface(linear.data(), source, &parameters);
    const std::uint8_t* slice = linear.data();
    for (const auto& image : m_slices) {
        if (image->getBufferSizeRequired(format) != linearBytes / m_slices.size()) {
            return 0;
        }
        image->setRawData(slice, format);
        image->decompressRawData();
        slice += image->getBufferSizeRequired(format);
    }
    return static_cast<unsigned>(size);
}

} // namespace qor::Texsmith
