#include "raw/mips/texel_rows.h"

#include "qor/vex/data_formats.h"
#include "raw/configuration/provider_settings.h"
#include "raw/surfaces/extent.h"
#include "raw/texels/channels.h"
#include "raw/texels/codec.h"
#include "raw/texels/sides.h"
#include "raw/texels/texture_format.h"
#include "simd/float4.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr Vex::DataFormat kFloats = Vex::kDataFormatR32G32B32A32Float;

template <typename Configuration> Configuration plainConfiguration() {
    Configuration configuration;
    Texture texture;
    texture.setDataFormat(kFloats);
    configuration.setTexture(&texture);
    return configuration;
}

bool isInteger(const DecoderConfiguration& configuration) {
    return !isFloatingChannelType(formatOf(&configuration).getTextureChannelType());
}

bool isPlain(const DecoderConfiguration& configuration) {
    return formatOf(&configuration) == kFloats && configuration.m_transform.isNop();
}

TexelKind kindOf(const DecoderConfiguration& configuration) {
    const Vex::DataFormat format = formatOf(&configuration);
    if (format.getSurfaceFormat() != Vex::kSurfaceFormat8_8_8_8 ||
        format.getTextureChannelType() != Vex::kTextureChannelTypeSrgb ||
        !configuration.m_transform.isNop()) {
        return TexelKind::kFloats;
    }
    if (isIdentitySwizzle(format)) {
        return TexelKind::kSrgb;
    }
    const bool isSwapped = format.getChannels() == Vex::kDataFormatB8G8R8A8UnormSrgb.getChannels();
    return isSwapped ? TexelKind::kSrgbSwapped : TexelKind::kFloats;
}

TexelSurface openSurface(const ElementProvider& provider, const SurfaceIndex& index, bool mayHaveRows) {
    const Extent pixels = pixelsOf(provider.getTexture(), index.mip);
    const ElementRows rows = mayHaveRows ? provider.getElementRows(&index) : ElementRows{};
    return {index, rows, pixels.m_wide, pixels.m_tall};
}

std::uint8_t* addressOf(const ElementProvider& provider, const TexelSurface& surface, unsigned x,
                        unsigned y) {
    return surface.m_rows.row(y) + std::size_t{x} * provider.getBytesPerElement();
}

// Without a conversion the texels are floats on both sides.
void convertRow(const std::optional<RowConversion>& rows, void* destination, const void* source,
                unsigned count) {
    if (rows.has_value()) {
        rows->convert(destination, source, count, RowStores::kCached);
    } else {
        std::memcpy(destination, source, std::size_t{count} * sizeof(VectorFloat));
    }
}

void integersToFloats(Block* block) {
    for (VectorFloat& texel : block->m_texels) {
        Simd::store(&texel, Simd::toFloats(Simd::loadInts(&texel)));
    }
}

void floatsToIntegers(Block* block) {
    for (VectorFloat& texel : block->m_texels) {
        Simd::store(&texel, Simd::roundToInts(Simd::loadFloats(&texel)));
    }
}

} // namespace

TexelReader::TexelReader(const ElementProvider* provider, const DecoderConfiguration& configuration)
    : m_provider(provider), m_decoder(decoderFor(*provider, configuration)) {
    m_isPlain = isPlain(m_decoder);
    if (!m_isPlain && RowConversion::canConvert(formatOf(&m_decoder), kFloats)) {
        m_rows.emplace(TileConversion(m_decoder, plainConfiguration<EncoderConfiguration>()));
    }
    m_kind = kindOf(m_decoder);
    m_isConverted = m_kind == TexelKind::kFloats && !m_isPlain;
    m_isInteger = isInteger(m_decoder);
}

bool TexelReader::canRead(Vex::DataFormat format) { return infoOf(format).decodeBlock != nullptr; }

TexelSurface TexelReader::open(const SurfaceIndex& index) const {
    return openSurface(*m_provider, index, m_isPlain || m_rows.has_value());
}

const void* TexelReader::row(const TexelSurface& surface, unsigned x, unsigned y, unsigned count,
                             float* buffer) const {
    const std::uint8_t* stored = addressOf(*m_provider, surface, x, y);
    if (!m_isConverted) {
        return stored;
    }
    m_rows->convert(buffer, stored, count, RowStores::kCached);
    return buffer;
}

void TexelReader::blockRow(const TexelSurface& surface, unsigned y, float* texels, std::size_t pitch) const {
    if (surface.hasRows()) {
        const unsigned rows = std::min(kBlockSide, surface.m_tall - y * kBlockSide);
        for (unsigned row = 0; row < rows; ++row) {
            const void* stored = addressOf(*m_provider, surface, 0, y * kBlockSide + row);
            convertRow(m_rows, texels + row * pitch, stored, surface.m_wide);
        }
        return;
    }
    const unsigned storedPitch = packedPitchInBytes(infoOf(formatOf(&m_decoder)), kBlockSide);
    for (unsigned x = 0; x * kBlockSide < surface.m_wide; ++x) {
        Block stored = {}, block;
        m_provider->getBlock(&surface.m_index, &stored, x, y);
        decodeBlockAndModify(&block, &stored, storedPitch, &m_decoder);
        if (m_isInteger) {
            integersToFloats(&block);
        }
        for (unsigned row = 0; row < kBlockSide; ++row) {
            std::memcpy(texels + row * pitch + x * kBlockSide * kFloatsPerTexel,
                        &block.m_texels[row * kBlockSide], kBlockSide * sizeof(VectorFloat));
        }
    }
}

TexelWriter::TexelWriter(ElementProvider* provider, const EncoderConfiguration& configuration)
    : m_provider(provider), m_encoder(encoderFor(*provider, configuration)) {
    m_isPlain = isPlain(m_encoder);
    if (!m_isPlain && RowConversion::canConvert(kFloats, formatOf(&m_encoder))) {
        m_rows.emplace(TileConversion(plainConfiguration<DecoderConfiguration>(), m_encoder));
    }
    m_kind = kindOf(m_encoder);
    m_isInteger = isInteger(m_encoder);
}

bool TexelWriter::canWrite(Vex::DataFormat format) { return infoOf(format).encodeBlock != nullptr; }

TexelSurface TexelWriter::open(const SurfaceIndex& index) const {
    return openSurface(*m_provider, index, m_isPlain || m_rows.has_value());
}

float* TexelWriter::rowInMemory(const TexelSurface& surface, unsigned x, unsigned y) const {
    return m_isPlain ? reinterpret_cast<float*>(addressOf(*m_provider, surface, x, y)) : nullptr;
}

void TexelWriter::putRow(const TexelSurface& surface, unsigned x, unsigned y, unsigned count,
                         const float* texels) const {
    convertRow(m_rows, addressOf(*m_provider, surface, x, y), texels, count);
}

void TexelWriter::putBlock(const TexelSurface& surface, unsigned x, unsigned y, Block* texels) const {
    if (m_isInteger) {
        floatsToIntegers(texels);
    }
    Block stored = {};
    encodeBlockAndModify(&stored, packedPitchInBytes(infoOf(formatOf(&m_encoder)), kBlockSide), texels,
                         &m_encoder);
    m_provider->putBlock(&surface.m_index, &stored, x, y);
}

void TexelWriter::putBlockRow(const TexelSurface& surface, unsigned y, const float* texels,
                              std::size_t pitch) const {
    const unsigned rows = std::min(kBlockSide, surface.m_tall - y * kBlockSide);
    if (surface.hasRows()) {
        for (unsigned row = 0; row < rows; ++row) {
            putRow(surface, 0, y * kBlockSide + row, surface.m_wide, texels + row * pitch);
        }
        return;
    }
    for (unsigned x = 0; x * kBlockSide < surface.m_wide; ++x) {
        Block block;
        for (unsigned i = 0; i < kBlockSide * kBlockSide; ++i) {
            const unsigned row = std::min(i / kBlockSide, rows - 1);
            const unsigned column = std::min(x * kBlockSide + i % kBlockSide, surface.m_wide - 1);
            std::memcpy(&block.m_texels[i], texels + row * pitch + column * kFloatsPerTexel,
                        sizeof(VectorFloat));
        }
        putBlock(surface, x, y, &block);
    }
}

} // namespace qor::Texsmith::Raw
