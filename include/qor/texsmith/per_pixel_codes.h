// Texels of uncompressed formats, pixel by pixel: single ones, and those of whole classic pictures.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/image.h"
#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/normalization_policy.h"
#include "qor/texsmith/raw/vector_math.h"
#include "qor/vex/data_format.h"

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith {

using Vex::DataFormat;

// Encodes single pixels to an uncompressed format, as g_normalizationPolicy said when the object was made.
// Under 0 the pixel is normalised, and signed formats store v * 2 - 1; under 1 values pass as they are, and
// integers are rounded. Formats without texels, and any other policy, encode nothing. Pointers must not be
// null. Constant once made: any number of threads may use one.
class QOR_TEXSMITH_API PixelEncoder {
public:
    using Encode = void (*)(const PixelEncoder& code, void* destination, const VectorFloat* pixels,
                            unsigned count);
    static constexpr unsigned kMaxPixels = 16; // in one call

    DataFormat m_format; // with the channel type that the policy makes of it
    Raw::SurfaceFormatInfo m_info;
    Encode m_encode;

    explicit PixelEncoder(DataFormat format);
    // To m_info.bytesPerElement bytes a pixel at `destination`.
    void encode(void* destination, const VectorFloat& pixel) const { encode(destination, &pixel, 1); }
    // At most kMaxPixels; of a larger count only so many.
    void encode(void* destination, const VectorFloat* pixels, unsigned count) const;
};

// The way back, of m_info.bytesPerElement bytes. Gives zeros where the encoder encodes nothing. The pointer
// must not be null.
class QOR_TEXSMITH_API PixelDecoder {
public:
    using Decode = VectorFloat (*)(const PixelDecoder& code, const void* source);

    DataFormat m_format;
    Raw::SurfaceFormatInfo m_info;
    Decode m_decode;

    explicit PixelDecoder(DataFormat format);
    VectorFloat decode(const void* source) const;
};

// Encodes rows of a classic picture to an uncompressed format. Place p reads plane p of the picture; its
// value goes where the format stores the p-th channel that its selects name. Formats whose X, Y and Z select
// one channel take the luminance of the first three planes, where the picture has as many.
//
// Holds no mutable state: threads may encode different rows at once. Neither the picture nor the destination,
// of width * height * bytes per element bytes, is owned. Without one of them nothing is encoded.
class QOR_TEXSMITH_API PerImagePixelEncoder {
public:
    std::uint8_t* m_destination;
    const Image* m_image;
    int m_sourcePlanes[4]; // the component that a place stands for
    bool m_isSrgb[4];      // of each place: the first channel that names it goes through the sRGB curve
    unsigned m_planeCount;
    int m_luminanceChannel; // -1 for none
    unsigned m_bytesPerElement;
    DataFormat m_format;

    // A format that names a channel which it does not have, and a picture with too few planes, are reported;
    // what is missing is encoded as 0.
    PerImagePixelEncoder(std::uint8_t* destination, const Image* image, DataFormat format);
    // The rows from `firstRow` to before `endRow`, to their places in the destination.
    void encodeRows(unsigned firstRow, unsigned endRow) const;

    unsigned getNumberOfRows() const;

private:
    void initLuminance();
    void initChannels();
    void gather(VectorFloat* pixels, std::size_t first, unsigned count) const;

    PixelEncoder m_encoder;
    Image::PlanePixels m_pixels[4];
};

} // namespace qor::Texsmith
