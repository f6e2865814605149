// Classic volumes.
#include "qor/texsmith/volume_image.h"

#include "qor/gpu_address/gpu_address.h"
#include "raw/frame/check.h"
#include "raw/frame/out_of_memory.h"

#include <algorithm>

namespace qor::Texsmith {
namespace {

constexpr char kSourcePath[] = "volume_image";

} // namespace

VolumeImage::VolumeImage(unsigned width, unsigned height, unsigned depth, unsigned planes,
                         Image::Plane::Type type)
    : VexTextureGen(kImageTypeVolume), m_width(width), m_height(height),
      m_numPlanes(std::clamp(planes, 1u, Image::kMaxPlanes)) {
    const Raw::Error error = Raw::failWithoutMemory(kSourcePath, [&] {
        m_slices.reserve(depth);
        for (unsigned z = 0; z < depth; ++z) {
            m_slices.push_back(std::make_unique<Image>(width, height, planes, type));
        }
        return Raw::Error(Raw::kErrorNone);
    });
    if (error != Raw::kErrorNone) {
        m_slices.clear();
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
    const bool isFilled = initTexture(&texture, &size, &alignment, format, tileMode) &&
                          encodeSurfaces(destination, bufferSize, texture, nullptr);
    return Raw::check(isFilled, kSourcePath, "isFilled") ? static_cast<unsigned>(size) : 0;
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
        Raw::check(false, kSourcePath, "tiledBytes <= bufferSize");
        return 0;
    }
    const Raw::Error error = Raw::failWithoutMemory(kSourcePath, [&] {
        std::vector<std::uint8_t> linear(static_cast<std::size_t>(linearBytes));
        GpuAddress::detileSurface(linear.data(), source, &parameters);
        const std::uint64_t sliceBytes = linearBytes / m_slices.size();
        const std::uint8_t* slice = linear.data();
        for (const auto& image : m_slices) {
            if (!Raw::check(image->getBufferSizeRequired(format) == sliceBytes, kSourcePath, "sliceBytes")) {
                return Raw::Error(Raw::kErrorFailed);
            }
            image->setRawData(slice, format);
            image->decompressRawData();
            slice += sliceBytes;
        }
        return Raw::Error(Raw::kErrorNone);
    });
    return error == Raw::kErrorNone ? static_cast<unsigned>(size) : 0;
}

} // namespace qor::Texsmith
