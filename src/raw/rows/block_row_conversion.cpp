#include "raw/rows/block_row_conversion.h"

#include "qor/vex/data_formats.h"
#include "raw/blocks/block_decoders.h"
#include "raw/blocks/block_encoders.h"
#include "raw/rows/lane_swizzle.h"
#include "raw/texels/channels.h"
#include "raw/texels/sides.h"
#include "raw/texels/texture_format.h"

#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

// Texels of four lanes or bytes, with the selects of `format`; bytes keep its channel type.
Vex::DataFormat asFloats(Vex::DataFormat format) {
    return Vex::kDataFormatR32G32B32A32Float.withChannelsOf(format);
}
Vex::DataFormat asBytes(Vex::DataFormat format) {
    return format.withSurfaceFormat(Vex::kSurfaceFormat8_8_8_8);
}

template <typename Configuration>
Configuration withFormat(Configuration configuration, Vex::DataFormat format) {
    configuration.m_texture.setDataFormat(format);
    return configuration;
}

bool isCompressed(Vex::DataFormat format) { return format.isBlockCompressedFormat(); }

// Blocks that become floats; the others become bytes.
bool holdsFloats(Vex::SurfaceFormat format) {
    return format == Vex::kSurfaceFormatBc4 || format == Vex::kSurfaceFormatBc5 ||
           format == Vex::kSurfaceFormatBc6;
}

// Integer lanes have no place among floats.
bool canDecode(Vex::DataFormat format) {
    return !isCompressed(format) || findBlockRunDecoder(format.getSurfaceFormat()) != nullptr ||
           (holdsFloats(format.getSurfaceFormat()) && isFloatingChannelType(format.getTextureChannelType()));
}

bool canEncode(Vex::DataFormat format) {
    return !isCompressed(format) || (findBlockRunEncoder(format.getSurfaceFormat()) != nullptr &&
                                     isFloatingChannelType(format.getTextureChannelType()));
}

bool canConvertBlocks(Vex::DataFormat from, Vex::DataFormat to) {
    return (isCompressed(from) || isCompressed(to)) && canDecode(from) && canEncode(to);
}

DecodeBlockRun findRunDecoder(Vex::SurfaceFormat format, bool isSigned) {
    const DecodeBlockRun toBytes = findBlockRunDecoder(format);
    return toBytes != nullptr ? toBytes : findFloatRunDecoder(format, isSigned);
}

// Whether colours stay in their places, and alpha too, or becomes the one that it is anyway.
bool keepsOpaqueLanes(const LaneSwizzle& swizzle) {
    constexpr unsigned kColoursInOrder =
        Vex::kTextureChannelX << 6 | Vex::kTextureChannelY << 3 | Vex::kTextureChannelZ;
    const unsigned alpha = swizzle.index() & 7;
    return swizzle.index() >> 3 == kColoursInOrder &&
           (alpha == Vex::kTextureChannelW || alpha == Vex::kTextureChannel1);
}

// Whether the first lanes stay as they are.
bool keepsLanes(const LaneSwizzle& swizzle, unsigned lanes) {
    for (unsigned lane = 0; lane < lanes; ++lane) {
        if (!swizzle.copies(lane) || swizzle.sourceOf(lane) != lane) {
            return false;
        }
    }
    return true;
}

// The decoder to the bytes that the destination stores, if there is one.
DecodeBlockRun findStoringDecoder(const TileConversion& steps) {
    constexpr unsigned kRed = Vex::kTextureChannelX << 6, kGreen = Vex::kTextureChannelY << 3;
    const Vex::DataFormat from = formatOf(&steps.decoder()), to = formatOf(&steps.encoder());
    const bool areFractions = from.getTextureChannelType() == Vex::kTextureChannelTypeUNorm &&
                              to.getTextureChannelType() == Vex::kTextureChannelTypeUNorm;
    if (!areFractions || !steps.decoder().m_transform.isNop() || !steps.encoder().m_transform.isNop()) {
        return nullptr;
    }
    const LaneSwizzle swizzle(from, to);
    const bool isBc5 = from.getSurfaceFormat() == Vex::kSurfaceFormatBc5;
    switch (to.getSurfaceFormat()) {
    case Vex::kSurfaceFormat8:
        return keepsLanes(swizzle, 1) ? findChannelRunDecoder(from.getSurfaceFormat(), 1) : nullptr;
    case Vex::kSurfaceFormat8_8:
        return keepsLanes(swizzle, 2) ? findChannelRunDecoder(from.getSurfaceFormat(), 2) : nullptr;
    case Vex::kSurfaceFormat8_8_8_8:
        return swizzle.index() == ((kRed | (isBc5 ? kGreen : 0)) << 3 | Vex::kTextureChannel1)
                   ? findChannelRunDecoder(from.getSurfaceFormat(), 4)
                   : nullptr;
    default:
        return nullptr;
    }
}

// Whether the halves of decoded blocks are what the destination stores.
bool storesDecodedHalves(const TileConversion& steps) {
    const Vex::DataFormat from = formatOf(&steps.decoder()), to = formatOf(&steps.encoder());
    return to.getSurfaceFormat() == Vex::kSurfaceFormat16_16_16_16 &&
           to.getTextureChannelType() == Vex::kTextureChannelTypeFloat &&
           steps.decoder().m_transform.isNop() && steps.encoder().m_transform.isNop() &&
           keepsOpaqueLanes(LaneSwizzle(from, to));
}

} // namespace

struct alignas(64) BlockRowConversion::Workspace {
    static constexpr unsigned kTexels = kMostBlocks * kBlockSide;

    std::uint8_t m_decoded[kBlockSide][kTexels * sizeof(VectorFloat)];
    std::uint8_t m_floats[kBlockSide][kTexels * sizeof(VectorFloat)];
    std::uint8_t m_bytes[kTexels * 4];
    ColorRGBA32F m_blocks[kMostBlocks * kTexelsPerBlock];
};

BlockRowConversion::BlockRowConversion(const TileConversion& steps)
    : m_encoder(steps.encoder()), m_sourceFormat(formatOf(&steps.decoder()).getSurfaceFormat()),
      m_sourceIsSigned(steps.decoder().isSigned()),
      m_decode(findRunDecoder(m_sourceFormat, m_sourceIsSigned)) {
    const Vex::DataFormat from = formatOf(&steps.decoder()), to = formatOf(&m_encoder);
    m_encode = findBlockRunEncoder(to.getSurfaceFormat());
    const Vex::DataFormat decoded = decodedFormat(from), encoded = isCompressed(to) ? asFloats(to) : to;
    m_isUsable = canConvertBlocks(from, to) && RowConversion::canConvert(decoded, encoded);
    const DecodeBlockRun toHalves = findHalfRunDecoder(m_sourceFormat, m_sourceIsSigned);
    if (m_isUsable && steps.decoder().m_transform.isNop() && steps.encoder().m_transform.isNop()) {
        chooseByteEncoder(from, to);
    }
    const DecodeBlockRun toBytes = findStoringDecoder(steps);
    if (m_isUsable && toHalves != nullptr && storesDecodedHalves(steps)) {
        m_decode = toHalves;
    } else if (m_isUsable && toBytes != nullptr) {
        m_decode = toBytes;
    } else if (m_isUsable && m_encodeBytes == nullptr) {
        m_rows.emplace(TileConversion(withFormat(steps.decoder(), decoded), withFormat(m_encoder, encoded)));
    }
}

BlockRowConversion::BlockRowConversion(const DecoderConfiguration& decoder,
                                       const EncoderConfiguration& encoder)
    : m_encoder(encoder), m_sourceFormat(formatOf(&decoder).getSurfaceFormat()), m_sourceIsSigned(false),
      m_decode(findBlockRunDecoder(m_sourceFormat)) {
    const Vex::DataFormat from = formatOf(&decoder), to = formatOf(&encoder);
    m_encode = findBlockRunEncoder(to.getSurfaceFormat());
    m_isUsable = canConvertBlocks(from, to);
    if (!m_isUsable) {
        return;
    }
    chooseByteEncoder(from, to);
    if (m_encodeBytes != nullptr) {
        return;
    }
    const LaneSwizzle swizzle(from, to);
    const DecodeBlockRun opaque = findOpaqueRunDecoder(m_sourceFormat);
    const bool isOpaque = keepsLanes(swizzle, 3) && (swizzle.index() & 7) == Vex::kTextureChannel1;
    if (isOpaque && opaque != nullptr) {
        m_decode = opaque;
    } else if (!swizzle.isIdentity()) {
        m_bytes.emplace(asBytes(from), asBytes(to));
    }
    if (m_encode != nullptr) {
        const Vex::DataFormat bytes = asBytes(to).withChannelsOf(Vex::kDataFormatR8G8B8A8Unorm);
        m_rows.emplace(TileConversion(withFormat(DecoderConfiguration(), bytes),
                                      withFormat(EncoderConfiguration(), asFloats(bytes))));
    }
}

void BlockRowConversion::chooseByteEncoder(Vex::DataFormat from, Vex::DataFormat to) {
    const bool isBytes = from.getSurfaceFormat() == Vex::kSurfaceFormat8_8_8_8 &&
                         from.getTextureChannelType() == Vex::kTextureChannelTypeUNorm;
    const ByteRunEncoder encoder =
        isBytes && isCompressed(to) ? findByteRunEncoder(m_encoder) : ByteRunEncoder{nullptr, 0};
    m_encodeBytes = encoder.m_encode;
    if (m_encodeBytes != nullptr && !keepsLanes(LaneSwizzle(from, to), encoder.m_lanes)) {
        m_bytes.emplace(from, asBytes(to));
    }
}

Vex::DataFormat BlockRowConversion::decodedFormat(Vex::DataFormat source) {
    if (!isCompressed(source)) {
        return source;
    }
    return holdsFloats(source.getSurfaceFormat()) ? asFloats(source) : asBytes(source);
}

void BlockRowConversion::convert(const ElementRows& destination, const ElementRows& source,
                                 unsigned blocks) const {
    const bool isStraight = !m_bytes.has_value() && !m_rows.has_value();
    if (m_encodeBytes != nullptr && isStraight) {
        m_encodeBytes(destination.m_memory, source.m_memory, source.m_pitch, m_encoder, blocks);
        return;
    }
    if (isStraight) {
        m_decode(destination.m_memory, destination.m_pitch, source.m_memory, blocks);
        return;
    }
    Workspace workspace;
    if (m_encodeBytes != nullptr) {
        const Rows bytes = {workspace.m_floats[0], sizeof workspace.m_floats[0]};
        convertRows(bytes, {source.m_memory, source.m_pitch}, blocks * kBlockSide, workspace);
        m_encodeBytes(destination.m_memory, bytes.m_texels, bytes.m_pitch, m_encoder, blocks);
        return;
    }
    const Rows decoded = decode(source, blocks, workspace);
    if (m_encode == nullptr) {
        convertRows({destination.m_memory, destination.m_pitch}, decoded, blocks * kBlockSide, workspace);
        return;
    }
    const Rows floats = {workspace.m_floats[0], sizeof workspace.m_floats[0]};
    convertRows(floats, decoded, blocks * kBlockSide, workspace);
    encode(destination.m_memory, floats, blocks, workspace);
}

BlockRowConversion::Rows BlockRowConversion::decode(const ElementRows& source, unsigned blocks,
                                                    Workspace& workspace) const {
    const Rows rows = {workspace.m_decoded[0], sizeof workspace.m_decoded[0]};
    if (m_decode != nullptr) {
        m_decode(rows.m_texels, rows.m_pitch, source.m_memory, blocks);
        return rows;
    }
    if (holdsFloats(m_sourceFormat)) {
        decodeChannels(rows, source, blocks);
        return rows;
    }
    return {source.m_memory, source.m_pitch};
}

void BlockRowConversion::decodeChannels(const Rows& rows, const ElementRows& source, unsigned blocks) const {
    const bool isOne = m_sourceFormat == Vex::kSurfaceFormatBc4;
    const auto decodeOne = isOne ? &decodeBc4 : &decodeBc5;
    ColorRGBA32F texels[kTexelsPerBlock] = {}; // the lanes that the format lacks stay zero
    for (unsigned block = 0; block < blocks; ++block) {
        decodeOne(texels, source.m_memory + block * (isOne ? 8u : 16u), m_sourceIsSigned);
        for (unsigned y = 0; y < kBlockSide; ++y) {
            constexpr std::size_t kBytes = kBlockSide * sizeof(ColorRGBA32F);
            std::memcpy(rows.row(y) + block * kBytes, &texels[y * kBlockSide], kBytes);
        }
    }
}

void BlockRowConversion::convertRows(const Rows& destination, const Rows& source, unsigned texels,
                                     Workspace& workspace) const {
    for (unsigned y = 0; y < kBlockSide; ++y) {
        const std::uint8_t* from = source.row(y);
        if (m_bytes.has_value()) {
            std::uint8_t* to = m_rows.has_value() ? workspace.m_bytes : destination.row(y);
            m_bytes->convert(to, from, texels, RowStores::kCached);
            from = to;
        }
        if (m_rows.has_value()) {
            m_rows->convert(destination.row(y), from, texels, RowStores::kCached);
        }
    }
}

void BlockRowConversion::encode(std::uint8_t* destination, const Rows& rows, unsigned blocks,
                                Workspace& workspace) const {
    constexpr std::size_t kBytes = kBlockSide * sizeof(ColorRGBA32F);
    for (unsigned block = 0; block < blocks; ++block) {
        for (unsigned y = 0; y < kBlockSide; ++y) {
            std::memcpy(&workspace.m_blocks[block * kTexelsPerBlock + y * kBlockSide],
                        rows.row(y) + block * kBytes, kBytes);
        }
    }
    m_encode(destination, workspace.m_blocks, m_encoder, blocks);
}

} // namespace qor::Texsmith::Raw
