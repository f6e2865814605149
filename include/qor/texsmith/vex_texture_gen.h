// VexTextureGen: what all classic pictures share, from one surface to a volume.
//
// Objects are not locked: one thread at a time may change a picture, any number may read one.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/job_manager.h"
#include "qor/texsmith/raw/texture.h"
#include "qor/vex/texture.h"

#include <cstdint>

namespace qor::Texsmith {

class Image;

// Volumes ask for another tile mode than the rest.
enum ImageType : std::uint32_t {
    kImageTypeImage = 0,
    kImageTypeMipped = 1,
    kImageTypeCube = 2,
    kImageTypeArray = 3,
    kImageTypeVolume = 4,
    kImageTypeMippedVolume = 5,
};

// One surface or several, their settings, and their way to the hardware's formats and back.
class QOR_TEXSMITH_API VexTextureGen {
public:
    using IdentifiedImageCallback = void (*)(Image* image, const Raw::SurfaceIndex& identifier,
                                             void* context);
    using ImageCallback = void (*)(Image* image, void* context);

    virtual ~VexTextureGen() = default;

    // Call `callback` once for each image, in surface order: mip outermost, then array entry, face and depth.
    // No image is null.
    virtual void enumerateImages(IdentifiedImageCallback callback, void* context) = 0;
    virtual void enumerateImages(ImageCallback callback, void* context) = 0;
    // The descriptor of the picture in that format and tile mode, and what it needs in tiled memory, in
    // bytes. False when the format has no texels or the picture no pixels; the descriptor is then all zeros.
    virtual bool initTexture(Vex::Texture* texture, std::uint64_t* size, unsigned* alignment,
                             Vex::DataFormat format, Vex::TileMode tileMode) const = 0;
    // Encodes and tiles the surface into `bufferSize` bytes at `destination`. Returns the bytes that it takes
    // there, 0 after a failure. The address and the flag are handed to the tiler, whose order does not depend
    // on them.
    virtual unsigned fillSurface(void* destination, unsigned bufferSize, Vex::TileMode tileMode,
                                 Vex::DataFormat format, std::uint64_t baseAddress, unsigned flag) = 0;
    unsigned fillSurface(void* destination, unsigned bufferSize, Vex::TileMode tileMode,
                         Vex::DataFormat format) {
        return fillSurface(destination, bufferSize, tileMode, format, 0, 0);
    }
    // The way back: detiles `bufferSize` bytes at `source` and decodes them into the planes.
    virtual unsigned loadFromSurface(const void* source, unsigned bufferSize, Vex::TileMode tileMode,
                                     Vex::DataFormat format, std::uint64_t baseAddress, unsigned flag) = 0;
    unsigned loadFromSurface(const void* source, unsigned bufferSize, Vex::TileMode tileMode,
                             Vex::DataFormat format) {
        return loadFromSurface(source, bufferSize, tileMode, format, 0, 0);
    }

    virtual unsigned getNumSubImages() const = 0; // that enumerateImages calls for
    virtual Raw::SurfaceCount getSurfaceCount() const = 0;

    // Encodes all surfaces into `size` bytes at `destination`, as `texture` lays them out, on the manager, or
    // on this thread when that is null. Each image is encoded with its own settings, or copied where its raw
    // data has that format. False when anything failed; what does not fit is not written.
    bool encodeSurfaces(void* destination, std::uint64_t size, const Vex::Texture& texture,
                        JobManager* jobManager);

    ImageType getImageType() const { return m_imageType; }
    // Texels of BC1 whose alpha lies below it become transparent; 0 turns that off.
    float getOpacityThreshold() const { return m_opacityThreshold; }
    void setOpacityThreshold(float threshold) { m_opacityThreshold = threshold; }
    // How hard the encoder of BC6H searches; see Bc6QualitySettings::setFromQuality.
    float getQuality() const { return m_quality; }
    void setQuality(float quality) { m_quality = quality; }
    // The planes that BC4 (the first) and BC5 (both) take.
    unsigned getSelectedChannel(unsigned which) const { return m_selectedChannels[which & 1]; }
    void setSelectedChannel(unsigned which, unsigned channel) { m_selectedChannels[which & 1] = channel; }
    // Whether channels go through the sRGB curve, four bits a channel from the lowest up: the lower two when
    // they are encoded, the upper two when they are decoded; 0 as the format says, 1 never, 2 always.
    std::uint32_t getSrgbModes() const { return m_srgbModes; }
    void setSrgbModes(std::uint32_t modes) { m_srgbModes = modes; }
    // The array slice that the tiler is told, whose order does not depend on it.
    std::uint32_t getSubSurface() const { return m_subSurface; }
    void setSubSurface(std::uint32_t subSurface) { m_subSurface = subSurface; }
    // With a mode that is not 0, compressPixels first asks the GPU. There is none: it prints that and goes
    // on.
    std::uint32_t getGpuCompressionMode() const { return m_gpuCompressionMode; }
    void setGpuCompressionMode(std::uint32_t mode) { m_gpuCompressionMode = mode; }

protected:
    explicit VexTextureGen(ImageType type) : m_imageType(type) {}
    VexTextureGen(const VexTextureGen&) = default;
    VexTextureGen& operator=(const VexTextureGen&) = default;

    float m_opacityThreshold = 0.0f;
    float m_quality = 1.0f;
    unsigned m_selectedChannels[2] = {0, 1};
    std::uint32_t m_srgbModes = 0;
    ImageType m_imageType;
    std::uint32_t m_subSurface = 0;
    std::uint32_t m_gpuCompressionMode = 0;
};

} // namespace qor::Texsmith
