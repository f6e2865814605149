#include "raw/pertile/reformatpertile8.h"

#include "raw/rows/block_tiles.h"
#include "raw/rows/check_reformat.h"
#include "raw/surfaces/tile_rows.h"
#include "raw/texels/channels.h"
#include "raw/texels/codec.h"
#include "raw/texels/texture_format.h"

#include <cstdint>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\pertile\\reformatpertile8";

} // namespace

ReformatPerTile8::ReformatPerTile8(const ElementProvider* source, const ElementProvider* destination,
                                   const Configuration* configuration)
    : m_source(source), m_destination(destination) {
    if (!checkReformatArguments(source, destination, configuration, kSourcePath).m_canWork) {
        return;
    }
    m_decoder = configuration->m_decoderConfiguration;
    m_encoder = configuration->m_encoderConfiguration;
    m_decoder.setTexture(&source->getTexture());
    m_encoder.setTexture(&destination->getTexture());
    const Vex::DataFormat from = source->getDataFormat(), to = destination->getDataFormat();
    m_decodeBlock8 = isIdentitySwizzle(from) ? infoOf(from).decodeBlock8 : decodeBlock8;
    m_encodeBlock8 = isIdentitySwizzle(to) ? infoOf(to).encodeBlock8 : encodeBlock8;
    m_sourcePitch = getTilePitchInBytes(from);
    m_destinationPitch = getTilePitchInBytes(to);
    m_sourceOffsets = quadrantOffsets(infoOf(from), m_sourcePitch);
    m_destinationOffsets = quadrantOffsets(infoOf(to), m_destinationPitch);
    m_rows = ByteConversion(from, to);
    m_byRows = ByteConversion::canConvert(from, to);
    if (canReformat(source, destination)) {
        m_blocks.emplace(m_decoder, m_encoder);
    }
}

bool ReformatPerTile8::canReformat(const ElementProvider* source, const ElementProvider* destination) {
    const Vex::DataFormat from = source->getDataFormat(), to = destination->getDataFormat();
    return from.getTextureChannelType() == to.getTextureChannelType() &&
           infoOf(from).decodeBlock8 != nullptr && infoOf(to).encodeBlock8 != nullptr;
}

ReformatPerTile8::QuadrantOffsets ReformatPerTile8::quadrantOffsets(const SurfaceFormatInfo& info,
                                                                    unsigned pitch) {
    const unsigned rowsPerBlock = info.blockHeight > 1 ? 1 : 4;
    const unsigned right = pitch / 2, bottom = rowsPerBlock * pitch;
    return {0, right, bottom, bottom + right};
}

Error ReformatPerTile8::doPerTileCallback(unsigned, const SurfaceIndex* surfaceIndex, unsigned x,
                                          unsigned y) const {
    if (m_decodeBlock8 == nullptr || m_encodeBlock8 == nullptr) {
        return kErrorFailed;
    }
    Tile raw = {}, encoded = {};
    m_source->getTile(surfaceIndex, &raw, x, y);
    const auto* from = reinterpret_cast<const std::uint8_t*>(&raw);
    auto* to = reinterpret_cast<std::uint8_t*>(&encoded);
    for (std::size_t quadrant = 0; quadrant < m_sourceOffsets.size(); ++quadrant) {
        Block8 block = {};
        m_decodeBlock8(&block, from + m_sourceOffsets[quadrant], m_sourcePitch, &m_decoder);
        m_encodeBlock8(to + m_destinationOffsets[quadrant], m_destinationPitch, &block, &m_encoder);
    }
    m_destination->putTile(surfaceIndex, &encoded, x, y);
    return kErrorNone;
}

OpenSurface ReformatPerTile8::doOpenSurface(const SurfaceIndex* surfaceIndex) const {
    if (m_blocks.has_value() && m_blocks->isUsable()) {
        return openBlockTiles(*m_source, *m_destination, surfaceIndex);
    }
    return m_byRows ? openTileRows(*m_source, *m_destination, surfaceIndex) : OpenSurface{};
}

unsigned ReformatPerTile8::doLeadingTiles(unsigned, const SurfaceIndex* surfaceIndex,
                                          const OpenSurface& surface, unsigned y) const {
    if (m_blocks.has_value() && m_blocks->isUsable()) {
        return convertBlockTiles(*m_source, *m_destination, surfaceIndex, surface, y, *m_blocks);
    }
    return convertTileRow(
        *m_source, *m_destination, surfaceIndex, surface, y,
        [this](void* destination, const void* source, std::size_t elements, RowStores stores) {
            m_rows.convert(destination, source, elements, stores);
        });
}

} // namespace qor::Texsmith::Raw
