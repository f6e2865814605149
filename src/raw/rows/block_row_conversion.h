// The change of format for rows of blocks, where one side is compressed or both are: all steps chosen once.
//
// Blocks of a row are decoded into rows of texels and encoded from there, many at a time, by the functions
// for runs of blocks and of texels. The result is that of the steps of a tile to the bit. Immutable; may run
// on many threads at once.
#pragma once

#include "qor/texsmith/raw/element_provider.h"
#include "raw/blocks/block_runs.h"
#include "raw/rows/row_conversion.h"

#include <optional>

namespace qor::Texsmith::Raw {

class BlockRowConversion {
public:
    // Of one call: their texels stay in the nearest cache.
    static constexpr unsigned kMostBlocks = 32;

    // Through floats.
    explicit BlockRowConversion(const TileConversion& steps);
    // By stored bytes: both formats have eight-bit blocks, and equal channel types.
    BlockRowConversion(const DecoderConfiguration& decoder, const EncoderConfiguration& encoder);

    // False for pairs of formats that are left to the steps of a tile.
    bool isUsable() const { return m_isUsable; }
    // Both sides begin at one row of blocks: the run of blocks itself, or the first of four rows of texels.
    void convert(const ElementRows& destination, const ElementRows& source, unsigned blocks) const;

private:
    struct Workspace;
    // Rows of texels in whatever layout, m_pitch bytes apart.
    struct Rows {
        std::uint8_t* m_texels;
        std::size_t m_pitch;

        std::uint8_t* row(unsigned y) const { return m_texels + m_pitch * y; }
    };

    void chooseByteEncoder(Vex::DataFormat from, Vex::DataFormat to);
    // What blocks of the source become: texels of this format.
    static Vex::DataFormat decodedFormat(Vex::DataFormat source);
    Rows decode(const ElementRows& source, unsigned blocks, Workspace& workspace) const;
    void decodeChannels(const Rows& rows, const ElementRows& source, unsigned blocks) const;
    void convertRows(const Rows& destination, const Rows& source, unsigned texels,
                     Workspace& workspace) const;
    void encode(std::uint8_t* destination, const Rows& rows, unsigned blocks, Workspace& workspace) const;

    EncoderConfiguration m_encoder;
    Vex::SurfaceFormat m_sourceFormat;
    bool m_sourceIsSigned;
    bool m_isUsable = false;
    DecodeBlockRun m_decode;               // null: texels, or blocks of one or two channels
    EncodeBlockRun m_encode;               // null: texels
    EncodeByteRun m_encodeBytes = nullptr; // in place of m_rows and m_encode: straight from pixels of bytes
    std::optional<ByteConversion> m_bytes; // comes first
    std::optional<RowConversion> m_rows;
};

} // namespace qor::Texsmith::Raw
