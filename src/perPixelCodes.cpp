// Pixels of uncompressed formats under the normalization policy, and rows of classic pictures in such
// formats.
#include "qor/texsmith/per_pixel_codes.h"

#include "qor/texsmith/tools_assert.h"
#include "raw/texels/srgb_run.h"
#include "simd/float4.h"

#include <algorithm>

namespace qor::Texsmith {
namespace {

constexpr char kSourcePath[] = "perPixelCodes";

constexpr float kLuminance[3] = {0.2126f, 0.7152f, 0.0722f};
constexpr std::uint32_t kEncodeByFormat = 0, kEncodeAlways = 2;

using Simd::Float4;

// Under policy 0 planes hold normalised values, whatever the format calls its channels.
Vex::TextureChannelType normalizedType(Vex::TextureChannelType type) {
    switch (type) {
    case Vex::kTextureChannelTypeUScaled:
    case Vex::kTextureChannelTypeUInt:
    case Vex::kTextureChannelTypeSrgb:
    case Vex::kTextureChannelTypeUBNormNoZero:
    case Vex::kTextureChannelTypeUBInt:
    case Vex::kTextureChannelTypeUBScaled:
        return Vex::kTextureChannelTypeUNorm;
    case Vex::kTextureChannelTypeSScaled:
    case Vex::kTextureChannelTypeSInt:
        return Vex::kTextureChannelTypeSNormNoZero;
    default:
        return type;
    }
}

DataFormat formatUnder(NormalizationPolicy policy, DataFormat format) {
    const Vex::TextureChannelType type = format.getTextureChannelType();
    const bool isSrgb = type == Vex::kTextureChannelTypeSrgb;
    const Vex::TextureChannelType plain = isSrgb ? Vex::kTextureChannelTypeUNorm : type;
    return format.withTextureChannelType(policy == kNormalizationPolicyUnit ? normalizedType(type) : plain);
}

bool holdsBothSigns(Vex::TextureChannelType type) {
    return type == Vex::kTextureChannelTypeSNorm || type == Vex::kTextureChannelTypeSNormNoZero ||
           type == Vex::kTextureChannelTypeUBNorm || type == Vex::kTextureChannelTypeUBNormNoZero;
}

// What happens to the values beside the row's own conversion.
enum Conversion { kConversionNone, kConversionRemap, kConversionInteger };

Conversion conversionUnder(NormalizationPolicy policy, Vex::TextureChannelType type) {
    if (policy == kNormalizationPolicyUnit) {
        return holdsBothSigns(type) ? kConversionRemap : kConversionNone;
    }
    const bool isInteger = type == Vex::kTextureChannelTypeUInt || type == Vex::kTextureChannelTypeSInt;
    return isInteger ? kConversionInteger : kConversionNone;
}

bool isDefined(NormalizationPolicy policy) {
    return policy == kNormalizationPolicyUnit || policy == kNormalizationPolicyAsItIs;
}

template <Conversion kConversion>
void encodePixels(const PixelEncoder& code, void* destination, const VectorFloat* pixels, unsigned count) {
    VectorFloat values[PixelEncoder::kMaxPixels];
    for (unsigned i = 0; i < count; ++i) {
        if constexpr (kConversion == kConversionRemap) {
            Simd::store(&values[i], Simd::loadFloats(&pixels[i]) * Simd::splat(2.0f) - Simd::splat(1.0f));
        } else if constexpr (kConversion == kConversionInteger) {
            Simd::store(&values[i], roundToInts(Simd::loadFloats(&pixels[i])));
        } else {
            values[i] = pixels[i];
        }
    }
    code.m_info.encodeTexels(destination, values, &code.m_format, static_cast<int>(count));
}

template <Conversion kConversion> VectorFloat decodePixel(const PixelDecoder& code, const void* source) {
    VectorFloat value = {};
    code.m_info.decodeTexels(&value, source, &code.m_format, 1);
    if constexpr (kConversion == kConversionRemap) {
        Simd::store(&value, Simd::loadFloats(&value) * Simd::splat(0.5f) + Simd::splat(0.5f));
    } else if constexpr (kConversion == kConversionInteger) {
        Simd::store(&value, toFloats(Simd::loadInts(&value)));
    }
    return value;
}

constexpr PixelEncoder::Encode kPixelEncoders[] = {
    &encodePixels<kConversionNone>, &encodePixels<kConversionRemap>, &encodePixels<kConversionInteger>};
constexpr PixelDecoder::Decode kPixelDecoders[] = {
    &decodePixel<kConversionNone>, &decodePixel<kConversionRemap>, &decodePixel<kConversionInteger>};

} // namespace

PixelEncoder::PixelEncoder(DataFormat format) : m_format{}, m_info{}, m_encode(nullptr) {
    const NormalizationPolicy policy = g_normalizationPolicy;
    if (!isDefined(policy)) {
        return;
    }
    m_format = formatUnder(policy, format);
    m_info = Raw::getSurfaceFormatInfo(m_format.getSurfaceFormat());
    if (m_info.encodeTexels != nullptr) {
        m_encode = kPixelEncoders[conversionUnder(policy, m_format.getTextureChannelType())];
    }
}

void PixelEncoder::encode(void* destination, const VectorFloat* pixels, unsigned count) const {
    if (m_encode != nullptr) {
        m_encode(*this, destination, pixels, std::min(count, kMaxPixels));
    }
}

PixelDecoder::PixelDecoder(DataFormat format) : m_format{}, m_info{}, m_decode(nullptr) {
    const NormalizationPolicy policy = g_normalizationPolicy;
    if (!isDefined(policy)) {
        return;
    }
    m_format = formatUnder(policy, format);
    m_info = Raw::getSurfaceFormatInfo(m_format.getSurfaceFormat());
    if (m_info.decodeTexels != nullptr) {
        m_decode = kPixelDecoders[conversionUnder(policy, m_format.getTextureChannelType())];
    }
}

VectorFloat PixelDecoder::decode(const void* source) const {
    return m_decode != nullptr ? m_decode(*this, source) : VectorFloat{};
}

namespace {

// Of the sRGB modes of a picture, what channel `channel` says of encoding.
std::uint32_t encodeModeOf(const Image& image, unsigned channel) {
    return image.getSrgbModes() >> (4 * channel) & 3;
}

int componentOf(DataFormat format, unsigned channel) {
    return static_cast<int>(format.getChannel(channel)) - static_cast<int>(Vex::kTextureChannelX);
}

bool isLuminanceFormat(DataFormat format) {
    const int component = componentOf(format, 0);
    return (component == 0 || component == 1) && format.getChannel(0) == format.getChannel(1) &&
           format.getChannel(0) == format.getChannel(2);
}

} // namespace

PerImagePixelEncoder::PerImagePixelEncoder(std::uint8_t* destination, const Image* image, DataFormat format)
    : m_destination(destination), m_image(image), m_sourcePlanes{}, m_isSrgb{}, m_planeCount(0),
      m_luminanceChannel(-1), m_bytesPerElement(format.getBytesPerElement()), m_format(format),
      m_encoder(format), m_pixels{} {
    if (image == nullptr) {
        return;
    }
    if (isLuminanceFormat(format)) {
        initLuminance();
    } else {
        initChannels();
    }
    if (image->getNumPlanes() < m_planeCount) {
        toolsAssert(kSourcePath, __LINE__, "Source image does not have required channels for this format.");
    }
    for (unsigned plane = 0; plane < 4; ++plane) {
        m_pixels[plane] = image->getPlanePixels(plane);
    }
}

void PerImagePixelEncoder::initLuminance() {
    const bool isSrgbFormat = m_format.getTextureChannelType() == Vex::kTextureChannelTypeSrgb;
    const int luminance = componentOf(m_format, 0), alpha = componentOf(m_format, 3);
    m_luminanceChannel = luminance;
    m_planeCount = 3;
    if (alpha >= 0) {
        if (alpha != 1 - luminance) {
            toolsAssert(kSourcePath, __LINE__,
                        "invalid format: when luminance channel is defined as %i, alpha channel should be %i "
                        "but it is %i.",
                        luminance, 1 - luminance, alpha);
        }
        m_planeCount = 4;
    }
    for (unsigned channel = 0; channel < 3; ++channel) {
        m_isSrgb[channel] = isSrgbFormat || encodeModeOf(*m_image, channel) == kEncodeAlways;
    }
    m_isSrgb[3] = encodeModeOf(*m_image, 3) == kEncodeAlways;
    if (m_image->getNumPlanes() >= m_planeCount) {
        const int planes[4] = {luminance, luminance + 1, luminance + 2, alpha * 3};
        std::copy(planes, planes + 4, m_sourcePlanes);
        return;
    }
    m_planeCount -= 2;
    m_sourcePlanes[0] = luminance;
    m_sourcePlanes[1] = 1 - luminance;
    m_isSrgb[1] = m_isSrgb[3];
    m_luminanceChannel = -1;
}

void PerImagePixelEncoder::initChannels() {
    const bool isSrgbFormat = m_format.getTextureChannelType() == Vex::kTextureChannelTypeSrgb;
    const int components = static_cast<int>(m_format.getNumComponents());
    bool isNamed[4] = {};
    for (unsigned channel = 0; channel < 4; ++channel) {
        const int component = componentOf(m_format, channel);
        if (component < 0) {
            continue;
        }
        if (component >= components) {
            toolsAssert(kSourcePath, __LINE__,
                        "invalid format 0x%X: Format refers to channel %i but it only contains %i number of "
                        "components.",
                        m_format.m_word, component + 1, components);
        }
        if (!isNamed[component]) {
            const std::uint32_t mode = encodeModeOf(*m_image, channel);
            isNamed[component] = true;
            m_isSrgb[m_planeCount] =
                mode == kEncodeAlways || (mode == kEncodeByFormat && channel < 3 && isSrgbFormat);
            m_sourcePlanes[m_planeCount++] = component;
        }
    }
}

unsigned PerImagePixelEncoder::getNumberOfRows() const {
    return m_image != nullptr ? m_image->getHeight() : 0;
}

void PerImagePixelEncoder::gather(VectorFloat* pixels, std::size_t first, unsigned count) const {
    std::fill_n(pixels, count, VectorFloat{});
    const bool isLuminance = m_luminanceChannel >= 0;
    for (unsigned place = 0; place < m_planeCount; ++place) {
        const Image::PlanePixels plane = m_pixels[place];
        const unsigned lane = isLuminance ? place : static_cast<unsigned>(m_sourcePlanes[place]);
        float values[PixelEncoder::kMaxPixels];
        for (unsigned i = 0; i < count; ++i) {
            values[i] = plane.m_first[(first + i) * plane.m_stride];
        }
        if (m_isSrgb[place]) {
            Raw::srgbEncodeRun(values, values, count);
        }
        for (unsigned i = 0; i < count; ++i) {
            pixels[i][lane] = values[i];
        }
    }
    if (!isLuminance) {
        return;
    }
    for (unsigned i = 0; i < count; ++i) {
        const VectorFloat colour = pixels[i];
        const unsigned lane = static_cast<unsigned>(m_luminanceChannel);
        pixels[i][lane] = colour[0] * kLuminance[0] + colour[1] * kLuminance[1] + colour[2] * kLuminance[2];
        if (m_image->getNumPlanes() > 3) {
            pixels[i][1 - lane] = colour[3];
        }
    }
}

void PerImagePixelEncoder::encodeRows(unsigned firstRow, unsigned endRow) const {
    endRow = std::min(endRow, getNumberOfRows());
    if (m_destination == nullptr || firstRow >= endRow) {
        return;
    }
    const std::size_t width = m_image->getWidth();
    VectorFloat pixels[PixelEncoder::kMaxPixels];
    for (std::size_t at = firstRow * width, end = endRow * width; at < end;) {
        const unsigned count =
            static_cast<unsigned>(std::min<std::size_t>(PixelEncoder::kMaxPixels, end - at));
        gather(pixels, at, count);
        m_encoder.encode(m_destination + at * m_bytesPerElement, pixels, count);
        at += count;
    }
}

} // namespace qor::Texsmith
