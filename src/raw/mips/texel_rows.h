// The texels of a surface as floats, and floats as its texels.
//
// Both ends give, texel by texel, what the block codecs give. Integers become floats and floats are rounded
// to the nearest integers, ties to even. Where the provider has its rows in memory, whole rows are converted;
// elsewhere the surface is read and written block by block.
#pragma once

#include "qor/texsmith/raw/element_provider.h"
#include "raw/mips/halving_kernels.h"
#include "raw/rows/row_conversion.h"

#include <cstddef>
#include <optional>

namespace qor::Texsmith::Raw {

inline constexpr std::size_t kFloatsPerTexel = 4;

// One surface, opened once.
struct TexelSurface {
    SurfaceIndex m_index;
    ElementRows m_rows; // null: by blocks
    unsigned m_wide;    // texels
    unsigned m_tall;

    bool hasRows() const { return m_rows.m_memory != nullptr; }
};

class TexelReader {
public:
    // The configuration's decoder takes part behind the provider's modifiers.
    TexelReader(const ElementProvider* provider, const DecoderConfiguration& configuration);
    static bool canRead(Vex::DataFormat format);

    TexelSurface open(const SurfaceIndex& index) const;
    // What the rows in memory that row() gives out hold.
    TexelKind kind() const { return m_kind; }
    // Whether it gives out where they lie, and needs no buffer.
    bool isStraight() const { return !m_isConverted; }
    // `count` texels of a row in memory: where they lie, or converted into `buffer`.
    const void* row(const TexelSurface& surface, unsigned x, unsigned y, unsigned count, float* buffer) const;
    // All texels of row `y` of blocks, rows `pitch` floats apart. What overhangs the surface is not defined;
    // there is room for whole blocks.
    void blockRow(const TexelSurface& surface, unsigned y, float* texels, std::size_t pitch) const;

private:
    const ElementProvider* m_provider;
    DecoderConfiguration m_decoder;
    std::optional<RowConversion> m_rows; // none: plain floats, or the elements are no single texels
    TexelKind m_kind;
    bool m_isPlain;
    bool m_isConverted; // rows in memory are not of that kind themselves
    bool m_isInteger;
};

class TexelWriter {
public:
    // The configuration's encoder takes part before the provider's modifiers.
    TexelWriter(ElementProvider* provider, const EncoderConfiguration& configuration);
    static bool canWrite(Vex::DataFormat format);

    TexelSurface open(const SurfaceIndex& index) const;
    // What rows in memory hold, but for those of other formats, which are kFloats too.
    TexelKind kind() const { return m_kind; }
    // Where a row's texels may be written as floats, or null: not null where it is straight.
    bool isStraight() const { return m_isPlain; }
    float* rowInMemory(const TexelSurface& surface, unsigned x, unsigned y) const;
    void putRow(const TexelSurface& surface, unsigned x, unsigned y, unsigned count,
                const float* texels) const;
    // All texels of row `y` of blocks. Blocks that overhang the surface repeat its last row and column.
    void putBlockRow(const TexelSurface& surface, unsigned y, const float* texels, std::size_t pitch) const;

private:
    void putBlock(const TexelSurface& surface, unsigned x, unsigned y, Block* texels) const;

    ElementProvider* m_provider;
    EncoderConfiguration m_encoder;
    std::optional<RowConversion> m_rows;
    TexelKind m_kind;
    bool m_isPlain;
    bool m_isInteger;
};

} // namespace qor::Texsmith::Raw
