// The classic picture: one surface as planes of 32-bit floats, with an optional copy in a GPU format.
//
// Nothing here returns an Error or throws by itself: a failure is reported and gives 0, -1, null or nothing.
// Memory comes from the tools' system allocator (raw/allocator.h) and belongs to the image. Null pointers
// move nothing; compressPixels reports its own. One thread at a time may change a picture, any number may
// read it.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/half.h"
#include "qor/texsmith/vex_texture_gen.h"
#include "qor/vex/data_format.h"

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith {

// Pixels of up to four planes, which it owns, and the settings by which they are encoded.
class QOR_TEXSMITH_API Image : public VexTextureGen {
public:
    // The order of the planes.
    enum Channel : std::uint32_t { kChannelRed = 0, kChannelGreen = 1, kChannelBlue = 2, kChannelAlpha = 3 };

    static constexpr unsigned kMaxPlanes = 4;

    // One channel: pixels that lie interleaved with those of the other planes, or one value for all of them.
    class QOR_TEXSMITH_API Plane {
    public:
        enum Type : std::uint32_t { kTypeInterleaved = 0, kTypeConstant = 1 };
        union Data {
            float* m_pixels; // the first pixel in the image's buffer
            float m_value;
        };

        Data m_data = {};
        Type m_type = kTypeInterleaved;
        Image* m_image = nullptr;

        // The constant. Any other plane is reported, and gives the bits of its pointer.
        float getValue() const;
        // On a plane that is not constant this is reported and done all the same: the plane then has lost its
        // pixels, reads zeros and takes nothing. Drops the image's raw data.
        void setValue(float value);
        // Moves min(count, width) pixels of row y. A constant plane fills, and takes nothing; a row outside
        // the image moves nothing. setScanline does not drop the image's raw data: call deleteRawData.
        void getScanline(float* destination, unsigned count, unsigned y) const;
        void setScanline(const float* source, unsigned count, unsigned y);
    };

    // Where the pixels of a plane stand: pixel i at m_first[i * m_stride]. A constant has a stride of 0, and
    // a plane that lost its pixels points at a zero. Valid until the image changes.
    struct PlanePixels {
        const float* m_first;
        std::size_t m_stride;
    };

    // 1 to 4 planes; other counts are clamped. Interleaved planes start as zeros, constant ones as 0, and as
    // 1 for alpha. When memory is short that is reported, and all pixels read as zeros.
    Image(unsigned width, unsigned height, unsigned planes, Plane::Type type = Plane::kTypeInterleaved);
    ~Image() override;
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    unsigned getWidth() const { return m_width; }
    unsigned getHeight() const { return m_height; }
    unsigned getNumPlanes() const { return m_numPlanes; }
    unsigned getPixelStride() const { return m_pixelStride; }
    Plane* getPlane(unsigned plane) { return plane < m_numPlanes ? &m_planes[plane] : nullptr; }
    const Plane* getPlane(unsigned plane) const { return plane < m_numPlanes ? &m_planes[plane] : nullptr; }
    PlanePixels getPlanePixels(unsigned plane) const;
    // Null where nothing may be written: constants, and planes that lost their pixels.
    float* getWritablePixels(unsigned plane);

    int findChannel(Channel channel) const; // -1 where there is no such plane
    unsigned getNumPixelsRequired(bool blockPadded) const;
    // Bytes of the picture in a format. Sizes of 4 GiB and more give 0xFFFFFFFF, and cannot be allocated.
    unsigned getBufferSizeRequired(Vex::DataFormat format) const;

    // Each is reported when a coordinate lies outside, and moves nothing then. `count` is cut to what is left
    // of the row (or column). Constant planes fill, and take nothing. The setters drop the raw data.
    void getScanline(float* destination, unsigned count, unsigned y, unsigned plane) const;
    void getScanline(float* destination, unsigned count, unsigned y, unsigned plane, unsigned x) const;
    void setScanline(const float* source, unsigned count, unsigned y, unsigned plane);
    void getColumn(float* destination, unsigned count, unsigned x, unsigned plane) const;
    void setColumn(const float* source, unsigned count, unsigned x, unsigned plane);
    // 0 outside the image.
    Raw::Half getPixelF16(unsigned x, unsigned y, int plane) const;

    void setWidth(unsigned width);   // keeps the left part; nothing for 0 and for widths that are not smaller
    void setHeight(unsigned height); // keeps the upper part; nothing for heights that are not smaller
    // Exchanges two planes, and drops the raw data. A number that is no plane changes nothing.
    void swapPlanes(unsigned a, unsigned b);

    Vex::DataFormat getRawDataFormat() const { return m_rawDataFormat; }
    const std::uint8_t* getRawData() const { return m_rawData; }
    unsigned getRawDataSize() const { return m_rawDataSize; }
    // Room for getBufferSizeRequired(format) bytes, of undefined contents, in place of the raw data so far.
    // The image's; null when memory is short, which is reported.
    std::uint8_t* allocateRawData(Vex::DataFormat format);
    // Copies getBufferSizeRequired(format) bytes; a null source drops the raw data.
    void setRawData(const void* source, Vex::DataFormat format);

    void deleteRawData();
    void deleteData(); // the pixels; they read as zeros then

    Image* clone() const; // the caller's; null when memory is short
    // 0, or -1 when the sizes, the plane counts or the image types differ. The raw data comes along with
    // interleaved planes, and is dropped with constant ones.
    int copy(const Image* other);

    // Encodes the picture into getBufferSizeRequired(format) bytes at `outBuffer`, and returns how many.
    unsigned compressPixels(void* outBuffer, Vex::DataFormat format);
    // Fills the planes from the raw data: channel after channel in the order in which the selects name them.
    // Does nothing without raw data, which is reported when there are no pixels to fill either.
    void decompressRawData();

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
    unsigned getNumSubImages() const override { return 1; }
    Raw::SurfaceCount getSurfaceCount() const override { return {}; }

private:
    struct Surface;

    void initializeUncompressedMemory(Plane::Type type);
    bool hasPixels(const Plane& plane) const;
    PlanePixels pixelsOf(const Plane& plane) const;
    std::uint8_t* reserveRawData(Vex::DataFormat format);
    Surface surfaceFor(Vex::TileMode tileMode, Vex::DataFormat format, std::uint64_t baseAddress,
                       unsigned flag) const;
    unsigned tileSurface(void* destination, unsigned bufferSize, const void* linear,
                         const Surface& surface) const;

    std::uint8_t* m_rawData = nullptr;
    std::uint32_t m_width;
    std::uint32_t m_height;
    std::uint32_t m_numPlanes;
    std::uint32_t m_pixelStride = 0;
    Plane m_planes[kMaxPlanes];
    float* m_pixels = nullptr;
    Vex::DataFormat m_rawDataFormat = {0};
    std::uint32_t m_rawDataSize = 0;
    std::uint64_t m_pixelFloats = 0; // in the buffer
};

} // namespace qor::Texsmith
