#include "raw/analysis/byte_row.h"

#include "raw/analysis/tile_decoder.h"

#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr unsigned kFewestTiles = 32; // whose texels take longer to decode than the counts to go through

} // namespace

ByteRow::ByteRow(const DecoderConfiguration& configuration, const ElementProvider* provider,
                 const OpenSurface& surface, unsigned mip, unsigned y)
    : m_tiles(0) {
    if (!surface.m_hasRows || surface.m_isHidden || provider->getPixelsWide(mip) / 8 < kFewestTiles ||
        y * 8 + 8 > provider->getPixelsTall(mip)) {
        return;
    }
    const TileDecoder decoder(configuration);
    if (!decoder.hasByteTexels()) {
        return;
    }
    m_tiles = provider->getPixelsWide(mip) / 8;
    m_lanes = decoder.lanes();
    std::memset(m_even, 0, sizeof m_even);
    std::memset(m_odd, 0, sizeof m_odd);
    for (unsigned row = 0; row < 8; ++row) {
        countTexels(surface.m_source.row(y * 8 + row), m_tiles * 8);
    }
}

void ByteRow::countTexels(const std::uint8_t* texels, unsigned count) {
    for (unsigned i = 0; i < count; i += 2, texels += 8) {
        std::uint32_t even, odd;
        std::memcpy(&even, texels, sizeof even);
        std::memcpy(&odd, texels + 4, sizeof odd);
        for (unsigned channel = 0; channel < 4; ++channel) {
            ++m_even[channel][even >> 8 * channel & 0xFF];
            ++m_odd[channel][odd >> 8 * channel & 0xFF];
        }
    }
}

} // namespace qor::Texsmith::Raw
