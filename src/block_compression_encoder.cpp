// CpuBlockEncoder: gathers blocks of a classic picture and hands them to the block encoders.
#include "qor/texsmith/block_compression.h"
#include "raw/blocks/bc1_group.h"
#include "raw/blocks/bc1_punch_through.h"
#include "raw/blocks/bc4_encoder.h"
#include "raw/blocks/bc6_encoder.h"
#include "raw/blocks/bc7_encoder.h"
#include "raw/blocks/block_alpha.h"
#include "raw/frame/check.h"
#include "raw/texels/srgb.h"
#include "raw/texels/srgb_run.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith {
namespace {

constexpr char kSourcePath[] = "block_compression";

enum FormatIndex : std::uint32_t { kBc1 = 0, kBc2, kBc3, kBc4, kBc5, kBc6, kBc7 };
constexpr unsigned kFormats = 7;
constexpr unsigned kMinimumPlanes[kFormats] = {3, 4, 4, 1, 2, 3, 3};
constexpr unsigned kTexels = 16;
constexpr unsigned kBlocksAtOnce = 32; // whose texels stay in the nearest cache
constexpr std::uint32_t kEncodeByFormat = 0, kEncodeAlways = 2;
constexpr float kZero = 0.0f;

float readChannelPlain(const float* base, std::size_t index) { return base[index]; }
float readChannelSrgb(const float* base, std::size_t index) { return Raw::srgbEncode(base[index]); }
float readChannelZero(const float*, std::size_t) { return 0.0f; }
float readChannelOne(const float*, std::size_t) { return 1.0f; }

unsigned blocksOf(unsigned pixels) { return pixels / 4 + (pixels % 4 != 0 ? 1 : 0); }

} // namespace

CpuBlockEncoder::CpuBlockEncoder(std::uint8_t* destination, const Image* image, DataFormat format)
    : m_hasOpacityThreshold(false), m_image(image), m_destination(destination),
      m_formatIndex(format.getSurfaceFormat() - Vex::kSurfaceFormatBc1),
      m_bytesPerBlock(format.getBitsPerElement() * 2),
      m_isSigned(format.getTextureChannelType() == Vex::kTextureChannelTypeSNorm), m_channelStride{} {
    const bool isBlockFormat = format.isBlockCompressedFormat();
    if (!isBlockFormat) {
        toolsAssert(kSourcePath, __LINE__,
                    "Only BC formats are allowed. Format's surface format passed is: 0x%X!!!.",
                    static_cast<unsigned>(format.getSurfaceFormat()));
    }
    Raw::Texture texture;
    texture.setDataFormat(format);
    m_configuration.setTexture(&texture);
    std::fill_n(m_readChannel, 4, &readChannelZero);
    std::fill_n(m_channelData, 4, &kZero);
    if (image == nullptr || !isBlockFormat) {
        return;
    }
    const unsigned planes = image->getNumPlanes();
    std::uint64_t minimum = kMinimumPlanes[m_formatIndex];
    if (m_formatIndex == kBc4 || m_formatIndex == kBc5) {
        minimum = std::max(minimum, std::uint64_t{image->getSelectedChannel(0)} + 1);
    }
    if (m_formatIndex == kBc5) {
        minimum = std::max(minimum, std::uint64_t{image->getSelectedChannel(1)} + 1);
    }
    if (m_formatIndex == kBc6) {
        m_configuration.m_bc6Quality.setFromQuality(image->getQuality());
        m_configuration.m_bc6Quality.reservedCount = m_isSigned ? 1 : 0; // deliberately the signed flag
    }
    m_hasOpacityThreshold = m_formatIndex == kBc1 && planes == 4 && image->getOpacityThreshold() > 0.0f;
    if (planes < minimum) {
        toolsAssert(kSourcePath, __LINE__,
                    "Source image does not have required minimum number of channels for this format.");
    }
    initChannels(format.getTextureChannelType());
}

void CpuBlockEncoder::initChannels(std::uint32_t channelType) {
    const unsigned planes = m_image->getNumPlanes();
    for (unsigned channel = 0; channel < 4; ++channel) {
        const std::uint32_t mode = m_image->getSrgbModes() >> (4 * channel) & 3;
        const bool isSrgb = mode == kEncodeAlways || (mode == kEncodeByFormat && channel < 3 &&
                                                      channelType == Vex::kTextureChannelTypeSrgb);
        const Image::PlanePixels pixels = m_image->getPlanePixels(channel);
        m_readChannel[channel] = isSrgb ? &readChannelSrgb : &readChannelPlain;
        m_channelData[channel] = pixels.m_first;
        m_channelStride[channel] = pixels.m_stride;
        if (channel >= planes) {
            m_readChannel[channel] = channel == 3 ? &readChannelOne : &readChannelZero;
        }
    }
}

unsigned CpuBlockEncoder::getNumberOfRows() const {
    return m_image != nullptr ? blocksOf(m_image->getHeight()) : 0;
}

unsigned CpuBlockEncoder::encode(void* destination, const ColorRGBA32F block[16]) const {
    if (m_formatIndex >= kFormats) {
        toolsAssert(kSourcePath, __LINE__, "CpuBlockEncoder data is corrupt! Invalid BC format: 0x%i!!!.",
                    static_cast<int>(m_formatIndex));
        return m_bytesPerBlock;
    }
    auto* bytes = static_cast<std::uint8_t*>(destination);
    const float threshold = m_image != nullptr ? m_image->getOpacityThreshold() : 0.0f;
    switch (m_formatIndex) {
    case kBc1:
        if (m_hasOpacityThreshold && std::any_of(block, block + kTexels, [threshold](const ColorRGBA32F& t) {
                return t.a < threshold;
            })) {
            Raw::encodeBc1PunchThrough(bytes, block, threshold);
        } else {
            Raw::encodeBc1Group(bytes, block, 1);
        }
        break;
    case kBc2:
        Raw::encodeBc2Alpha(bytes, block);
        Raw::encodeBc1Group(bytes + 8, block, 1);
        break;
    case kBc3:
        Raw::encodeBc3Alpha(bytes, block);
        Raw::encodeBc1Group(bytes + 8, block, 1);
        break;
    case kBc4:
    case kBc5:
        encodeChannels(bytes, block, 1);
        break;
    case kBc6:
        Raw::encodeBc6(bytes, block, m_configuration);
        break;
    default:
        Raw::encodeBc7(bytes, block);
        break;
    }
    return m_bytesPerBlock;
}

// One block of BC4 or two of BC5 for each block of texels, of the channels that the picture has selected.
void CpuBlockEncoder::encodeChannels(std::uint8_t* destination, const ColorRGBA32F* texels,
                                     unsigned count) const {
    const unsigned halves = m_formatIndex == kBc5 ? 2 : 1;
    for (unsigned half = 0; half < halves; ++half) {
        const unsigned channel = m_image != nullptr ? std::min(m_image->getSelectedChannel(half), 3u) : half;
        Raw::encodeBc4Blocks(destination + std::size_t{8} * half, std::size_t{8} * halves, texels, channel,
                             m_isSigned, count, Raw::kEncoderEffortNormal);
    }
}

// Most formats' blocks are encoded many at once, which gives the bytes of encode.
void CpuBlockEncoder::encodeRun(std::uint8_t* destination, const ColorRGBA32F* texels, unsigned count) const {
    if (m_formatIndex == kBc1 && !m_hasOpacityThreshold) {
        Raw::encodeBc1Blocks(destination, 8, texels, count, Raw::kEncoderEffortNormal);
    } else if (m_formatIndex == kBc2 || m_formatIndex == kBc3) {
        Raw::encodeBc1Blocks(destination + 8, 16, texels, count, Raw::kEncoderEffortNormal);
        if (m_formatIndex == kBc3) {
            Raw::encodeBc3AlphaBlocks(destination, 16, texels, count);
        }
        for (unsigned block = 0; m_formatIndex == kBc2 && block < count; ++block) {
            Raw::encodeBc2Alpha(destination + block * 16, texels + block * kTexels);
        }
    } else if (m_formatIndex == kBc4 || m_formatIndex == kBc5) {
        encodeChannels(destination, texels, count);
    } else if (m_formatIndex == kBc6) {
        Raw::encodeBc6Blocks(destination, texels, m_configuration, count);
    } else if (m_formatIndex == kBc7) {
        Raw::encodeBc7Blocks(destination, texels, count, Raw::kEncoderEffortNormal);
    } else {
        for (unsigned block = 0; block < count; ++block) {
            encode(destination + block * m_bytesPerBlock, texels + block * kTexels);
        }
    }
}

// Four interleaved planes in their first order, read as they are: texels lie in memory as blocks want them.
bool CpuBlockEncoder::isPacked() const {
    for (unsigned channel = 0; channel < 4; ++channel) {
        if (m_readChannel[channel] != &readChannelPlain || m_channelStride[channel] != 4 ||
            m_channelData[channel] != m_channelData[0] + channel) {
            return false;
        }
    }
    return true;
}

void CpuBlockEncoder::GetBlockRGBA(float* out, unsigned x, unsigned y) const {
    const bool isInside = m_image != nullptr && x < m_image->getWidth() && y < m_image->getHeight();
    for (unsigned channel = 0; channel < 4; ++channel) {
        const ReadChannel read = m_readChannel[channel];
        const float* base = m_channelData[channel];
        for (unsigned texel = 0; texel < kTexels; ++texel) {
            if (!isInside) {
                out[texel * 4 + channel] = 0.0f;
                continue;
            }
            const unsigned column = x + texel % 4, row = y + texel / 4;
            const bool isBeyond = column >= m_image->getWidth() || row >= m_image->getHeight();
            const std::size_t pixel =
                std::size_t{isBeyond ? y : row} * m_image->getWidth() + (isBeyond ? x : column);
            out[texel * 4 + channel] = read(base, pixel * m_channelStride[channel]);
        }
    }
}

// One channel of whole blocks, of which `pixel` is the first, with the values that its reader gives.
void CpuBlockEncoder::gatherChannel(ColorRGBA32F* texels, unsigned channel, std::size_t pixel,
                                    unsigned columns) const {
    const ReadChannel read = m_readChannel[channel];
    const std::size_t stride = m_channelStride[channel];
    const bool isStored = read == &readChannelPlain || read == &readChannelSrgb;
    float values[kBlocksAtOnce * 4];
    for (unsigned row = 0; row < 4; ++row, pixel += m_image->getWidth()) {
        const float* pixels = m_channelData[channel] + pixel * stride;
        for (unsigned x = 0; x < columns; ++x) {
            values[x] = isStored ? pixels[x * stride] : read(pixels, x * stride);
        }
        if (read == &readChannelSrgb) {
            Raw::srgbEncodeRun(values, values, columns);
        }
        float* first = &texels[row * 4].r + channel;
        for (unsigned x = 0; x < columns; ++x) {
            first[(x / 4 * kTexels + x % 4) * 4] = values[x];
        }
    }
}

void CpuBlockEncoder::gatherBlocks(ColorRGBA32F* texels, unsigned x, unsigned y, unsigned count) const {
    const std::size_t width = m_image->getWidth();
    const bool isWhole = std::size_t{y} + 4 <= m_image->getHeight() && std::size_t{x} + 4 * count <= width;
    if (!isWhole) {
        for (unsigned block = 0; block < count; ++block) {
            GetBlockRGBA(&texels[block * kTexels].r, x + 4 * block, y);
        }
        return;
    }
    if (!isPacked()) {
        for (unsigned channel = 0; channel < 4; ++channel) {
            gatherChannel(texels, channel, y * width + x, 4 * count);
        }
        return;
    }
    for (unsigned row = 0; row < 4; ++row) {
        const float* pixels = m_channelData[0] + ((y + row) * width + x) * 4;
        for (unsigned block = 0; block < count; ++block) {
            std::memcpy(&texels[block * kTexels + row * 4], pixels + block * 16, 16 * sizeof(float));
        }
    }
}

std::uint8_t* CpuBlockEncoder::compressPixels(unsigned firstBlockRow, unsigned endBlockRow) const {
    if (m_destination == nullptr || m_image == nullptr) {
        return m_destination;
    }
    const unsigned blocksWide = blocksOf(m_image->getWidth());
    const std::size_t rowBytes = std::size_t{blocksWide} * m_bytesPerBlock;
    std::uint8_t* const begin = m_destination + firstBlockRow * rowBytes;
    ColorRGBA32F texels[kBlocksAtOnce * kTexels] = {};
    for (unsigned row = firstBlockRow; row < std::min(endBlockRow, getNumberOfRows()); ++row) {
        for (unsigned x = 0; x < blocksWide; x += kBlocksAtOnce) {
            // The last block of a row may overhang: it goes alone, so that the others are copied whole.
            const unsigned whole =
                std::min(kBlocksAtOnce, m_image->getWidth() / 4 - std::min(x, m_image->getWidth() / 4));
            const unsigned count = std::min(kBlocksAtOnce, blocksWide - x);
            if (whole != 0) {
                gatherBlocks(texels, x * 4, row * 4, whole);
            }
            if (count > whole) {
                gatherBlocks(texels + whole * kTexels, (x + whole) * 4, row * 4, count - whole);
            }
            encodeRun(m_destination + row * rowBytes + std::size_t{x} * m_bytesPerBlock, texels, count);
        }
    }
    return begin;
}

} // namespace qor::Texsmith
