// A row of tiles whose texels are four bytes and nothing more, as how often each byte stands in each channel.
//
// What depends on how often values occur, and not on their order, needs no texel decoded.
#pragma once

#include "qor/texsmith/raw/per_tile.h"
#include "raw/analysis/tile_kernels.h"

namespace qor::Texsmith::Raw {

class ByteRow {
public:
    // Of the whole tiles of row `y`.
    ByteRow(const DecoderConfiguration& configuration, const ElementProvider* provider,
            const OpenSurface& surface, unsigned mip, unsigned y);

    // How many tiles were counted. 0: the texels are not bytes, or too few for their bytes to be counted.
    unsigned tiles() const { return m_tiles; }
    unsigned texels() const { return m_tiles * 64; }

    // Calls `use(lane, byte, count)` for each byte that occurs, upwards. Its value is byte * (1.0f / 255).
    template <typename Use> void forEach(Use use) const {
        for (unsigned lane = 0; lane < 4; ++lane) {
            if (m_lanes.m_byte[lane] == ByteLanes::kNoByte) {
                use(lane, m_lanes.m_whole[lane], texels());
                continue;
            }
            for (unsigned byte = 0; byte < 256; ++byte) {
                const std::uint32_t count =
                    m_even[m_lanes.m_byte[lane]][byte] + m_odd[m_lanes.m_byte[lane]][byte];
                if (count != 0) {
                    use(lane, byte, count);
                }
            }
        }
    }

private:
    void countTexels(const std::uint8_t* texels, unsigned count);

    unsigned m_tiles;
    ByteLanes m_lanes;
    // Neighbours, whose bytes are often equal, count apart: an increment would wait for the one before it.
    std::uint32_t m_even[4][256], m_odd[4][256];
};

} // namespace qor::Texsmith::Raw
