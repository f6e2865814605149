#include "raw/blocks/bc7_fields.h"
#include "raw/blocks/bc7_tables.h"

#include <cstring>
#include <utility>

namespace qor::Texsmith::Raw {
namespace {

class BlockWriter {
public:
    void put(unsigned value, unsigned bits) {
        m_words[m_at >> 6] |= static_cast<std::uint64_t>(value) << (m_at & 63);
        if ((m_at & 63) + bits > 64) {
            m_words[1] |= static_cast<std::uint64_t>(value) >> (64 - (m_at & 63));
        }
        m_at += bits;
    }
    // Bytes from the lowest on, on any machine.
    void store(std::uint8_t* destination) const {
        for (unsigned i = 0; i < 16; ++i) {
            destination[i] = static_cast<std::uint8_t>(m_words[i >> 3] >> 8 * (i & 7));
        }
    }

private:
    std::uint64_t m_words[2] = {};
    unsigned m_at = 0;
};

void exchangeEnds(Bc7Fields& fields, unsigned subset, unsigned firstChannel, unsigned endChannel) {
    for (unsigned channel = firstChannel; channel < endChannel; ++channel) {
        std::swap(fields.m_ends[subset][0][channel], fields.m_ends[subset][1][channel]);
    }
}

void invert(std::uint8_t* indices, unsigned texel, unsigned bits) {
    indices[texel] = static_cast<std::uint8_t>((1u << bits) - 1 - indices[texel]);
}

bool hasTopBit(unsigned index, unsigned bits) { return (index >> (bits - 1)) != 0; }

// Colours, and alpha where it shares their indices.
void clearAnchor(Bc7Fields& fields, const Bc7Mode& mode, unsigned subset, unsigned bits) {
    const unsigned anchor = bc7AnchorOf(mode.m_subsets, fields.m_partition, subset);
    if (!hasTopBit(fields.m_indices[anchor], bits)) {
        return;
    }
    exchangeEnds(fields, subset, 0, mode.m_secondIndexBits == 0 ? 4 : 3);
    if (mode.m_pBits == Bc7PBits::OfEndpoint) {
        std::swap(fields.m_pBits[subset][0], fields.m_pBits[subset][1]);
    }
    for (unsigned texel = 0; texel < 16; ++texel) {
        if (bc7SubsetOf(mode.m_subsets, fields.m_partition, texel) == subset) {
            invert(fields.m_indices, texel, bits);
        }
    }
}

void clearScalarAnchor(Bc7Fields& fields, unsigned bits) {
    if (!hasTopBit(fields.m_scalarIndices[0], bits)) {
        return;
    }
    exchangeEnds(fields, 0, 3, 4);
    for (unsigned texel = 0; texel < 16; ++texel) {
        invert(fields.m_scalarIndices, texel, bits);
    }
}

void putEnds(BlockWriter& writer, const Bc7Fields& fields, const Bc7Mode& mode) {
    for (unsigned channel = 0; channel < 4; ++channel) {
        const unsigned bits = channel < 3 ? mode.m_colourBits : mode.m_alphaBits;
        for (unsigned subset = 0; bits != 0 && subset < mode.m_subsets; ++subset) {
            writer.put(fields.m_ends[subset][0][channel], bits);
            writer.put(fields.m_ends[subset][1][channel], bits);
        }
    }
    const unsigned pBitsPerSubset = mode.pBitCount() / mode.m_subsets;
    for (unsigned subset = 0; subset < mode.m_subsets; ++subset) {
        for (unsigned end = 0; end < pBitsPerSubset; ++end) {
            writer.put(fields.m_pBits[subset][end], 1);
        }
    }
}

void putIndices(BlockWriter& writer, const std::uint8_t* indices, unsigned bits, unsigned anchors) {
    for (unsigned texel = 0; texel < 16; ++texel) {
        writer.put(indices[texel], bits - (anchors >> texel & 1u));
    }
}

unsigned anchorTexels(const Bc7Mode& mode, unsigned partition) {
    unsigned anchors = 0;
    for (unsigned subset = 0; subset < mode.m_subsets; ++subset) {
        anchors |= 1u << bc7AnchorOf(mode.m_subsets, partition, subset);
    }
    return anchors;
}

} // namespace

void packBc7(std::uint8_t* destination, const Bc7Fields& chosen) {
    const Bc7Mode& mode = kBc7Modes[chosen.m_mode];
    Bc7Fields fields = chosen;
    const unsigned colourBits = fields.m_selection != 0 ? mode.m_secondIndexBits : mode.m_indexBits;
    const unsigned scalarBits = fields.m_selection != 0 ? mode.m_indexBits : mode.m_secondIndexBits;
    for (unsigned subset = 0; subset < mode.m_subsets; ++subset) {
        clearAnchor(fields, mode, subset, colourBits);
    }
    if (scalarBits != 0) {
        clearScalarAnchor(fields, scalarBits);
    }
    BlockWriter writer;
    writer.put(1u << fields.m_mode, fields.m_mode + 1u);
    writer.put(fields.m_partition, mode.m_partitionBits);
    writer.put(fields.m_rotation, mode.m_rotationBits);
    writer.put(fields.m_selection, mode.m_selectionBits);
    putEnds(writer, fields, mode);
    const bool swapped = fields.m_selection != 0;
    putIndices(writer, swapped ? fields.m_scalarIndices : fields.m_indices, mode.m_indexBits,
               anchorTexels(mode, fields.m_partition));
    if (mode.m_secondIndexBits != 0) {
        putIndices(writer, swapped ? fields.m_indices : fields.m_scalarIndices, mode.m_secondIndexBits, 1);
    }
    writer.store(destination);
}

} // namespace qor::Texsmith::Raw
