// The classic volume: slices of one size, each an Image.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/image.h"

#include <memory>
#include <vector>

namespace qor::Texsmith {

// Slices are encoded with their own settings: those of the volume itself play no part.
class QOR_TEXSMITH_API VolumeImage : public VexTextureGen {
public:
    // Without slices when memory is short for them, which is reported.
    VolumeImage(unsigned width, unsigned height, unsigned depth, unsigned planes,
                Image::Plane::Type type = Image::Plane::kTypeInterleaved);
    VolumeImage(const VolumeImage&) = delete;
    VolumeImage& operator=(const VolumeImage&) = delete;

    unsigned getWidth() const { return m_width; }
    unsigned getHeight() const { return m_height; }
    unsigned getDepth() const { return static_cast<unsigned>(m_slices.size()); }
    unsigned getNumPlanes() const { return m_numPlanes; }
    // Null outside the volume. Slices keep their size: whoever makes one smaller gets its surface refused.
    Image* getSlice(unsigned z) { return z < m_slices.size() ? m_slices[z].get() : nullptr; }
    const Image* getSlice(unsigned z) const { return z < m_slices.size() ? m_slices[z].get() : nullptr; }

    void enumerateImages(IdentifiedImageCallback callback, void* context) override;
    void enumerateImages(ImageCallback callback, void* context) override;
    bool initTexture(Vex::Texture* texture, std::uint64_t* size, unsigned* alignment, Vex::DataFormat format,
                     Vex::TileMode tileMode) const override;
    using VexTextureGen::fillSurface;
    unsigned fillSurface(void* destination, unsigned bufferSize, Vex::TileMode tileMode,
                         Vex::DataFormat format, std::uint64_t baseAddress, unsigned flag) override;
    using VexTextureGen::loadFromSurface;
    unsigned loadFromSurface(const void* source, unsigned bufferSize, Vex::TileMode tileMode,
                             Vex::DataFormat format, std::uint64_t baseAddress, unsigned flag) override;
    unsigned getNumSubImages() const override { return getDepth(); }
    Raw::SurfaceCount getSurfaceCount() const override { return {}; }

private:
    unsigned m_width;
    unsigned m_height;
    unsigned m_numPlanes;
    std::vector<std::unique_ptr<Image>> m_slices;
};

} // namespace qor::Texsmith
