// Classic pictures in GPU formats: encoded, decoded, tiled and detiled.
#include "qor/gpu_address/gpu_address.h"
#include "qor/texsmith/block_compression.h"
#include "qor/texsmith/image.h"
#include "qor/texsmith/per_pixel_codes.h"
#include "raw/frame/check.h"
#include "raw/texels/srgb.h"
#include "tools_memory.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>

namespace qor::Texsmith {
namespace {

constexpr char kSourcePath[] = "image";
constexpr unsigned kFlagBit = 12;
constexpr std::uint32_t kDecodeNever = 1, kDecodeAlways = 2;

// Where decoded components go: place p, which fills plane p, takes the p-th component that the selects name,
// through the sRGB curve when the first channel that names it does.
struct Places {
    unsigned m_count = 0;
    unsigned m_components[4] = {};
    bool m_isSrgb[4] = {};
};

Places placesOf(Vex::DataFormat format, std::uint32_t srgbModes, unsigned planes) {
    Places places;
    const unsigned components = format.getNumComponents();
    const bool isSrgbFormat = format.getTextureChannelType() == Vex::kTextureChannelTypeSrgb;
    for (unsigned channel = 0; channel < 4; ++channel) {
        const unsigned component = format.getChannel(channel) - Vex::kTextureChannelX;
        const unsigned* begin = places.m_components;
        const unsigned* end = begin + places.m_count;
        if (component >= components || places.m_count == planes || std::find(begin, end, component) != end) {
            continue;
        }
        const std::uint32_t mode = srgbModes >> (4 * channel + 2) & 3;
        places.m_isSrgb[places.m_count] =
            mode == kDecodeAlways || (mode != kDecodeNever && isSrgbFormat && channel < 3);
        places.m_components[places.m_count++] = component;
    }
    return places;
}

// Stores decoded texels into the planes.
class PlaneWriter {
public:
    PlaneWriter(Image* image, const Places& places) : m_places(places), m_stride(image->getPixelStride()) {
        for (unsigned p = 0; p < places.m_count; ++p) {
            m_planes[p] = image->getWritablePixels(p);
        }
    }

    void store(std::size_t pixel, const float* texel) const {
        for (unsigned p = 0; p < m_places.m_count; ++p) {
            if (m_planes[p] != nullptr) {
                const float value = texel[m_places.m_components[p]];
                m_planes[p][pixel * m_stride] = m_places.m_isSrgb[p] ? Raw::srgbDecode(value) : value;
            }
        }
    }

private:
    const Places& m_places;
    std::size_t m_stride;
    float* m_planes[4] = {};
};

void decodeBlocks(const PlaneWriter& writer, const Image& image, const std::uint8_t* source) {
    CpuBlockDecoder decoder(image.getRawDataFormat());
    const bool remapSigned = g_normalizationPolicy == kNormalizationPolicyUnit;
    const unsigned width = image.getWidth(), height = image.getHeight();
    for (unsigned y = 0; y < height; y += 4) {
        for (unsigned x = 0; x < width && source != nullptr; x += 4) {
            ColorRGBA32F texels[16] = {};
            source = blockDecompress(texels, source, &decoder, remapSigned);
            for (unsigned texel = 0; texel < 16; ++texel) {
                const unsigned column = x + texel % 4, row = y + texel / 4;
                if (column < width && row < height) {
                    writer.store(std::size_t{row} * width + column, &texels[texel].r);
                }
            }
        }
    }
}

void decodePixels(const PlaneWriter& writer, const Image& image, const std::uint8_t* source) {
    const PixelDecoder decoder(image.getRawDataFormat());
    const std::size_t bytes = image.getRawDataFormat().getBytesPerElement();
    const std::size_t pixels = std::size_t{image.getWidth()} * image.getHeight();
    for (std::size_t pixel = 0; pixel < pixels; ++pixel) {
        const VectorFloat texel = decoder.decode(source + pixel * bytes);
        writer.store(pixel, texel.m_lanes);
    }
}

// There is no GPU compressor.
bool compressOnGpu() { return false; }

} // namespace

unsigned Image::compressPixels(void* outBuffer, Vex::DataFormat format) {
    if (!Raw::checkNotNull(outBuffer, kSourcePath, "compressPixels outBuffer is NULL.")) {
        return 0;
    }
    const unsigned size = getBufferSizeRequired(format);
    if (size == std::numeric_limits<unsigned>::max()) {
        return 0;
    }
    if (m_rawData != nullptr && m_rawDataFormat == format) {
        std::memcpy(outBuffer, m_rawData, m_rawDataSize);
        return m_rawDataSize;
    }
    auto* destination = static_cast<std::uint8_t*>(outBuffer);
    if (!format.isBlockCompressedFormat()) {
        PerImagePixelEncoder(destination, this, format).encodeRows(0, m_height);
        return size;
    }
    if (m_gpuCompressionMode != 0 && !compressOnGpu()) {
        std::fputs("**** Faild to do GPU Compression ****\n", stdout); // deliberately so spelt
    }
    const CpuBlockEncoder encoder(destination, this, format);
    encoder.compressPixels(0, encoder.getNumberOfRows());
    return size;
}

void Image::decompressRawData() {
    if (m_rawDataFormat.m_word == 0 && m_rawData == nullptr && m_pixels == nullptr) {
        toolsAssert(kSourcePath, __LINE__, "Image does not have good rawData or sufficient number of planes");
    }
    if (m_rawData == nullptr || m_rawDataSize < getBufferSizeRequired(m_rawDataFormat)) {
        return;
    }
    const Places places = placesOf(m_rawDataFormat, m_srgbModes, m_numPlanes);
    const PlaneWriter writer(this, places);
    if (m_rawDataFormat.isBlockCompressedFormat()) {
        decodeBlocks(writer, *this, m_rawData);
    } else {
        decodePixels(writer, *this, m_rawData);
    }
}

void Image::enumerateImages(IdentifiedImageCallback callback, void* context) {
    callback(this, Raw::SurfaceIndex{}, context);
}

void Image::enumerateImages(ImageCallback callback, void* context) { callback(this, context); }

bool Image::initTexture(Vex::Texture* texture, std::uint64_t* size, unsigned* alignment,
                        Vex::DataFormat format, Vex::TileMode tileMode) const {
    *texture = {};
    if (m_width == 0 || m_height == 0 || format.getBitsPerElement() == 0) {
        return false;
    }
    const Vex::SizeAlign need =
        texture->initAs2d(m_width, m_height, 1, format, tileMode, Vex::kNumFragments1);
    *size = need.m_size;
    *alignment = need.m_align;
    return need.m_size != 0;
}

struct Image::Surface {
    GpuAddress::TilingParameters m_parameters;
    std::uint64_t m_tiledBytes = 0;
    std::uint64_t m_linearBytes = 0;
    bool m_isValid = false;
};

Image::Surface Image::surfaceFor(Vex::TileMode tileMode, Vex::DataFormat format, std::uint64_t baseAddress,
                                 unsigned flag) const {
    Surface surface;
    GpuAddress::TilingParameters& parameters = surface.m_parameters;
    parameters.m_tileMode = tileMode;
    parameters.m_bitsPerElement = format.getBitsPerElement();
    parameters.m_isBlockCompressed = format.isBlockCompressedFormat();
    parameters.m_width = m_width;
    parameters.m_height = m_height;
    parameters.m_depth = 1;
    parameters.m_fragments = 1;
    parameters.m_baseAddress = baseAddress;
    parameters.m_arraySlice = m_subSurface;
    parameters.m_flags = (flag != 0 ? 1u : 0u) << kFlagBit;
    unsigned alignment = 0;
    const int tiled = GpuAddress::computeTiledSurfaceSize(&surface.m_tiledBytes, &alignment, &parameters);
    const int linear = GpuAddress::computeUntiledSurfaceSize(&surface.m_linearBytes, &alignment, &parameters);
    surface.m_isValid = tiled == GpuAddress::kStatusSuccess && linear == GpuAddress::kStatusSuccess;
    if (!surface.m_isValid) {
        toolsAssert(kSourcePath, __LINE__, "computeTiledSurfaceSize() failed");
    }
    return surface;
}

// Returns the bytes that the surface takes, or the size of a buffer that is too small.
unsigned Image::tileSurface(void* destination, unsigned bufferSize, const void* linear,
                            const Surface& surface) const {
    if (!surface.m_isValid) {
        return 0;
    }
    if (surface.m_tiledBytes > bufferSize) {
        toolsAssert(kSourcePath, __LINE__,
                    "buffer size is smaller than required size for tiling! Required: %li, Buffer size: %i",
                    static_cast<long>(surface.m_tiledBytes), static_cast<int>(bufferSize));
        return bufferSize;
    }
    GpuAddress::tileSurface(destination, linear, &surface.m_parameters);
    return static_cast<unsigned>(surface.m_tiledBytes);
}

unsigned Image::fillSurface(void* destination, unsigned bufferSize, Vex::TileMode tileMode,
                            Vex::DataFormat format, std::uint64_t baseAddress, unsigned flag) {
    const Surface surface = surfaceFor(tileMode, format, baseAddress, flag);
    if (!surface.m_isValid || destination == nullptr) {
        return 0;
    }
    if (m_rawData != nullptr && m_rawDataFormat == format && m_rawDataSize >= surface.m_linearBytes) {
        return tileSurface(destination, bufferSize, m_rawData, surface);
    }
    const std::uint64_t bytes = std::max<std::uint64_t>(getBufferSizeRequired(format), surface.m_linearBytes);
    const ToolsBytes buffer = allocateToolsBytes(bytes, 16);
    if (buffer == nullptr) {
        toolsAssert(kSourcePath, __LINE__,
                    "Out of memory! failed to allocate buffer to compressPixels, in fillSurface method: "
                    "buffer size needed %i.",
                    static_cast<int>(bytes));
        return 0;
    }
    std::memset(buffer.get(), 0, static_cast<std::size_t>(bytes)); // of formats that nothing encodes
    compressPixels(buffer.get(), format);
    return tileSurface(destination, bufferSize, buffer.get(), surface);
}

unsigned Image::loadFromSurface(const void* source, unsigned bufferSize, Vex::TileMode tileMode,
                                Vex::DataFormat format, std::uint64_t baseAddress, unsigned flag) {
    const Surface surface = surfaceFor(tileMode, format, baseAddress, flag);
    if (!surface.m_isValid || source == nullptr) {
        return 0;
    }
    if (surface.m_tiledBytes > bufferSize) {
        toolsAssert(kSourcePath, __LINE__,
                    "buffer size is smaller than required size for tiling! Required: %li, Buffer size: %i",
                    static_cast<long>(surface.m_tiledBytes), static_cast<int>(bufferSize));
        return 0; // where tileSurface gives the buffer's size: nothing was loaded
    }
    std::uint8_t* linear = reserveRawData(format);
    if (linear == nullptr || m_rawDataSize < surface.m_linearBytes) {
        toolsAssert(kSourcePath, __LINE__,
                    "Out of memory! failed to allocate image rawData buffer: buffer size needed %i.",
                    static_cast<int>(surface.m_linearBytes));
        return 0;
    }
    GpuAddress::detileSurface(linear, source, &surface.m_parameters);
    decompressRawData();
    return static_cast<unsigned>(surface.m_tiledBytes);
}

} // namespace qor::Texsmith
