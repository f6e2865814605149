// The block and tile functions of the rows.
#include "raw/texels/kernels.h"
#include "raw/texels/sides.h"
#include "raw/texels/table_functions.h"
#include "raw/texels/texture_format.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

const std::uint8_t* rowAt(const void* area, unsigned rowPitchInBytes, unsigned row) {
    return static_cast<const std::uint8_t*>(area) + std::size_t{rowPitchInBytes} * row;
}

std::uint8_t* rowAt(void* area, unsigned rowPitchInBytes, unsigned row) {
    return static_cast<std::uint8_t*>(area) + std::size_t{rowPitchInBytes} * row;
}

void decodeRows(DecodeTexels decode, VectorFloat* destination, const void* source, unsigned rowPitchInBytes,
                Vex::DataFormat format, unsigned side) {
    if (decode == nullptr) {
        return;
    }
    for (unsigned row = 0; row < side; ++row) {
        decode(destination + side * row, rowAt(source, rowPitchInBytes, row), &format,
               static_cast<int>(side));
    }
}

// Rows that follow each other without a gap are one run.
void decodeSquare(VectorFloat* destination, const void* source, unsigned rowPitchInBytes,
                  Vex::DataFormat format, unsigned side) {
    const SurfaceFormatInfo& info = getSurfaceFormatInfo(format.getSurfaceFormat());
    if (rowPitchInBytes == side * info.bytesPerElement && info.decodeTexels != nullptr) {
        info.decodeTexels(destination, source, &format, static_cast<int>(side * side));
    } else {
        decodeRows(info.decodeTexels, destination, source, rowPitchInBytes, format, side);
    }
}

void encodeByKernel(EncodeKernel kernel, void* destination, unsigned rowPitchInBytes,
                    const VectorFloat* source, unsigned bytesPerElement, unsigned side) {
    if (rowPitchInBytes == side * bytesPerElement) {
        kernel(destination, source, static_cast<int>(side * side));
        return;
    }
    for (unsigned row = 0; row < side; ++row) {
        kernel(rowAt(destination, rowPitchInBytes, row), source + side * row, static_cast<int>(side));
    }
}

void encodeSquare(void* destination, unsigned rowPitchInBytes, const VectorFloat* source,
                  Vex::DataFormat format, unsigned side) {
    const SurfaceFormatInfo& info = getSurfaceFormatInfo(format.getSurfaceFormat());
    if (const EncodeKernel kernel = findEncodeKernel(format); kernel != nullptr) {
        encodeByKernel(kernel, destination, rowPitchInBytes, source, info.bytesPerElement, side);
        return;
    }
    if (info.encodeTexels == nullptr) {
        return;
    }
    for (unsigned row = 0; row < side; ++row) {
        info.encodeTexels(rowAt(destination, rowPitchInBytes, row), source + side * row, &format,
                          static_cast<int>(side));
    }
}

// Where the four blocks of a tile lie, in texels and in stored bytes.
struct Quadrant {
    unsigned m_texel;
    std::size_t m_offset;

    Quadrant(unsigned number, unsigned rowPitchInBytes, const SurfaceFormatInfo& info)
        : m_texel((number / 2) * kBlockSide * kTileSide + (number % 2) * kBlockSide),
          m_offset(std::size_t{rowPitchInBytes} * (number / 2 * kBlockSide / info.blockHeight) +
                   std::size_t{info.bytesPerElement} * (number % 2 * kBlockSide / info.blockWidth)) {}
};

} // namespace

void encodeBlockByRows(void* destination, unsigned rowPitchInBytes, const Block* source,
                       const EncoderConfiguration* configuration) {
    encodeSquare(destination, rowPitchInBytes, source->m_texels, formatOf(configuration), kBlockSide);
}

void decodeBlockByRows(Block* destination, const void* source, unsigned rowPitchInBytes,
                       const DecoderConfiguration* configuration) {
    decodeSquare(destination->m_texels, source, rowPitchInBytes, formatOf(configuration), kBlockSide);
}

void hardwareDecodeBlockByRows(Block* destination, const void* source, unsigned rowPitchInBytes,
                               const DecoderConfiguration* configuration) {
    const Vex::DataFormat format = formatOf(configuration);
    const SurfaceFormatInfo& info = getSurfaceFormatInfo(format.getSurfaceFormat());
    decodeRows(info.hardwareDecodeTexels, destination->m_texels, source, rowPitchInBytes, format, kBlockSide);
}

void encodeTileByRows(void* destination, unsigned rowPitchInBytes, const Tile* source,
                      const EncoderConfiguration* configuration) {
    encodeSquare(destination, rowPitchInBytes, source->m_texels, formatOf(configuration), kTileSide);
}

void decodeTileByRows(Tile* destination, const void* source, unsigned rowPitchInBytes,
                      const DecoderConfiguration* configuration) {
    decodeSquare(destination->m_texels, source, rowPitchInBytes, formatOf(configuration), kTileSide);
}

void encodeTileByBlocks(void* destination, unsigned rowPitchInBytes, const Tile* source,
                        const EncoderConfiguration* configuration) {
    const SurfaceFormatInfo& info = getSurfaceFormatInfo(formatOf(configuration).getSurfaceFormat());
    if (info.encodeBlock == nullptr) {
        return;
    }
    for (unsigned number = 0; number < 4; ++number) {
        const Quadrant quadrant(number, rowPitchInBytes, info);
        Block block;
        for (unsigned row = 0; row < kBlockSide; ++row) {
            std::copy_n(&source->m_texels[quadrant.m_texel + row * kTileSide], kBlockSide,
                        &block.m_texels[row * kBlockSide]);
        }
        info.encodeBlock(static_cast<std::uint8_t*>(destination) + quadrant.m_offset, rowPitchInBytes, &block,
                         configuration);
    }
}

void decodeTileByBlocks(Tile* destination, const void* source, unsigned rowPitchInBytes,
                        const DecoderConfiguration* configuration) {
    const SurfaceFormatInfo& info = getSurfaceFormatInfo(formatOf(configuration).getSurfaceFormat());
    if (info.decodeBlock == nullptr) {
        return;
    }
    for (unsigned number = 0; number < 4; ++number) {
        const Quadrant quadrant(number, rowPitchInBytes, info);
        Block block = {}; // lanes without a channel have to start from something
        info.decodeBlock(&block, static_cast<const std::uint8_t*>(source) + quadrant.m_offset,
                         rowPitchInBytes, configuration);
        for (unsigned row = 0; row < kBlockSide; ++row) {
            std::copy_n(&block.m_texels[row * kBlockSide], kBlockSide,
                        &destination->m_texels[quadrant.m_texel + row * kTileSide]);
        }
    }
}

void copyFromBlock8(void* destination, unsigned rowPitchInBytes, const Block8* source,
                    const EncoderConfiguration*) {
    for (unsigned row = 0; row < kBlockSide; ++row) {
        std::memcpy(rowAt(destination, rowPitchInBytes, row), source->m_texels[row * kBlockSide], 16);
    }
}

void copyToBlock8(Block8* destination, const void* source, unsigned rowPitchInBytes,
                  const DecoderConfiguration*) {
    for (unsigned row = 0; row < kBlockSide; ++row) {
        std::memcpy(destination->m_texels[row * kBlockSide], rowAt(source, rowPitchInBytes, row), 16);
    }
}

} // namespace qor::Texsmith::Raw
