#include "raw/analysis/tile_decoder.h"

#include "qor/vex/data_formats.h"
#include "raw/texels/channels.h"
#include "raw/texels/codec.h"
#include "raw/texels/texture_format.h"
#include "simd/dispatch.h"

namespace qor::Texsmith::Raw {
namespace {

bool isFourUnormBytes(Vex::DataFormat format) {
    return format.getSurfaceFormat() == Vex::kSurfaceFormat8_8_8_8 &&
           format.getTextureChannelType() == Vex::kTextureChannelTypeUNorm;
}

bool isFourFloats(Vex::DataFormat format) {
    return format.getLayoutAndType() == Vex::kDataFormatR32G32B32A32Float.getLayoutAndType() &&
           isIdentitySwizzle(format);
}

// Selects 2 and 3, which mean nothing, give 0 like the constant zero.
ByteLanes lanesOf(Vex::DataFormat format) {
    ByteLanes lanes = {};
    for (unsigned lane = 0; lane < 4; ++lane) {
        const unsigned select = format.getChannel(lane);
        lanes.m_byte[lane] =
            static_cast<std::uint8_t>(select >= Vex::kTextureChannelX ? select - 4u : ByteLanes::kNoByte);
        lanes.m_whole[lane] = select == Vex::kTextureChannel1 ? 255 : 0;
    }
    return lanes;
}

} // namespace

TileDecoder::TileDecoder(const DecoderConfiguration& configuration)
    : m_configuration(&configuration), m_hasByteTexels(false), m_hasFloatTexels(false),
      m_decodeFast(nullptr), m_lanes{} {
    const Vex::DataFormat format = formatOf(&configuration);
    const SurfaceFormatInfo& info = infoOf(format);
    m_bytesPerTile = packedPitchInBytes(info, 8);
    m_tall = info.blockHeight == 4 ? 2 : 8;
    m_hasByteTexels = isFourUnormBytes(format) && configuration.m_transform.isNop();
    m_hasFloatTexels = isFourFloats(format) && configuration.m_transform.isNop();
    if (m_hasByteTexels) {
        const TileKernels* kernels = Simd::mayUseAvx2() ? getTileKernelsAvx2() : nullptr;
        m_decodeFast = kernels != nullptr ? kernels->m_decodeBytes : nullptr;
        m_lanes = lanesOf(format);
    }
}

bool TileDecoder::canDecode(const DecoderConfiguration& configuration) {
    return infoOf(formatOf(&configuration)).decodeTile != nullptr;
}

void TileDecoder::decode(Tile* tiles, const ElementRows& rows, unsigned x, unsigned y, unsigned count) const {
    if (m_decodeFast != nullptr) {
        m_decodeFast(tiles, bytesAt(rows, x, y), count);
        return;
    }
    const std::uint8_t* source = sourceAt(rows, x, y);
    for (unsigned i = 0; i < count; ++i, source += m_bytesPerTile) {
        decodeTileAndModify(&tiles[i], source, static_cast<unsigned>(rows.m_pitch), m_configuration);
    }
}

} // namespace qor::Texsmith::Raw
