// Tiles decoded straight from rows in memory, with the provider's modifiers: the reading side of measures.
//
// A tile comes out with the bits that getTile and decodeTileAndModify give.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/element_provider.h"
#include "raw/analysis/tile_kernels.h"

namespace qor::Texsmith::Raw {

// Chooses all steps once. Keeps a pointer to the configuration, whose texture is set and whose transform is
// composed. Immutable.
class TileDecoder {
public:
    explicit TileDecoder(const DecoderConfiguration& configuration);

    // Whether the format has what it takes to decode a tile.
    static bool canDecode(const DecoderConfiguration& configuration);

    // Decodes `count` tiles from tile (x, y) on. They lie wholly inside the surface of `rows`.
    void decode(Tile* tiles, const ElementRows& rows, unsigned x, unsigned y, unsigned count) const;

    // Whether texels are four bytes, or four floats, and nothing more.
    bool hasByteTexels() const { return m_hasByteTexels; }
    bool hasFloatTexels() const { return m_hasFloatTexels; }
    const ByteLanes& lanes() const { return m_lanes; } // of texels of bytes
    // Whether there are kernels that read texels of bytes as they are stored.
    bool readsBytes() const { return m_decodeFast != nullptr; }
    FloatTiles floatsAt(const ElementRows& rows, unsigned x, unsigned y) const {
        return {sourceAt(rows, x, y), rows.m_pitch};
    }
    ByteTiles bytesAt(const ElementRows& rows, unsigned x, unsigned y) const {
        return {sourceAt(rows, x, y), rows.m_pitch, m_lanes};
    }

private:
    const std::uint8_t* sourceAt(const ElementRows& rows, unsigned x, unsigned y) const {
        return rows.row(y * m_tall) + std::size_t{x} * m_bytesPerTile;
    }

    const DecoderConfiguration* m_configuration;
    unsigned m_bytesPerTile; // of one row of its elements
    unsigned m_tall;         // of a tile, in elements
    bool m_hasByteTexels, m_hasFloatTexels;
    DecodeByteTiles m_decodeFast; // null: by the format's row
    ByteLanes m_lanes;
};

} // namespace qor::Texsmith::Raw
