// What stands around a row's function: the swizzle, and the transform where there is one.
//
// A transform that does nothing is skipped: multiplied by the identity, integers whose bits are those of a
// NaN would not survive.
#include "raw/texels/codec.h"
#include "raw/frame/check.h"
#include "raw/texels/texture_format.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\format";

const SurfaceFormatInfo& rowOf(Vex::DataFormat format) {
    return getSurfaceFormatInfo(format.getSurfaceFormat());
}

void swizzleFloat(Vex::DataFormat format, void* texels, unsigned count) {
    swizzleFloats(swizzleIndex(format), texels, count);
}

void swizzle8(Vex::DataFormat format, Block8* block) { swizzleBytes(swizzleIndex(format), block, 4); }

// Decoding keeps what stands in the lanes of absent channels, so they start from zero.
template <typename Area> void clearUnlessFilled(Area* area, const SurfaceFormatInfo& row) {
    if (row.channels < 4) {
        std::memset(static_cast<void*>(area), 0, sizeof *area);
    }
}

template <typename Area>
void decodeAndModify(DecodeArea<Area> SurfaceFormatInfo::*decode, Area* area, const void* source,
                     unsigned rowPitchInBytes, const DecoderConfiguration* configuration) {
    const Vex::DataFormat format = formatOf(configuration);
    const SurfaceFormatInfo& row = rowOf(format);
    clearUnlessFilled(area, row);
    if (row.*decode != nullptr) {
        (row.*decode)(area, source, rowPitchInBytes, configuration);
    }
    swizzleFloat(format, area, sizeof(Area) / sizeof(VectorFloat));
    if (!configuration->m_transform.isNop()) {
        configuration->m_transform.Decode(area);
    }
}

template <typename Area>
void encodeAndModify(EncodeArea<Area> SurfaceFormatInfo::*encode, void* destination, unsigned rowPitchInBytes,
                     const Area* area, const EncoderConfiguration* configuration) {
    const Vex::DataFormat format = formatOf(configuration);
    const SurfaceFormatInfo& row = rowOf(format);
    Area copy = *area;
    if (!configuration->m_transform.isNop()) {
        configuration->m_transform.Encode(&copy);
    }
    swizzleFloat(format, &copy, sizeof(Area) / sizeof(VectorFloat));
    if (row.*encode != nullptr) {
        (row.*encode)(destination, rowPitchInBytes, &copy, configuration);
    }
}

} // namespace

void decodeBlock8(Block8* block, const void* source, unsigned rowPitchInBytes,
                  const DecoderConfiguration* configuration) {
    const Vex::DataFormat format = formatOf(configuration);
    const SurfaceFormatInfo& row = rowOf(format);
    if (row.decodeBlock8 != nullptr) {
        row.decodeBlock8(block, source, rowPitchInBytes, configuration);
        swizzle8(format, block);
    }
}

void decodeBlockAndModify(Block* block, const void* source, unsigned rowPitchInBytes,
                          const DecoderConfiguration* configuration) {
    decodeAndModify(&SurfaceFormatInfo::decodeBlock, block, source, rowPitchInBytes, configuration);
}

void decodeTileAndModify(Tile* tile, const void* source, unsigned rowPitchInBytes,
                         const DecoderConfiguration* configuration) {
    decodeAndModify(&SurfaceFormatInfo::decodeTile, tile, source, rowPitchInBytes, configuration);
}

void hardwareDecodeBlockAndModify(Block* block, const void* source, unsigned rowPitchInBytes,
                                  const DecoderConfiguration* configuration) {
    decodeAndModify(&SurfaceFormatInfo::hardwareDecodeBlock, block, source, rowPitchInBytes, configuration);
}

void decodeTexelRun(VectorFloat* texels, const void* source, const DecoderConfiguration* configuration,
                    int count) {
    const Vex::DataFormat format = formatOf(configuration);
    const SurfaceFormatInfo& row = rowOf(format);
    if (row.decodeTexels != nullptr && count > 0) {
        row.decodeTexels(texels, source, &format, count);
        swizzleFloat(format, texels, static_cast<unsigned>(count));
    }
}

void hardwareDecodeTexelRun(VectorFloat* texels, const void* source,
                            const DecoderConfiguration* configuration, int count) {
    const Vex::DataFormat format = formatOf(configuration);
    const SurfaceFormatInfo& row = rowOf(format);
    if (row.hardwareDecodeTexels != nullptr && count > 0) {
        row.hardwareDecodeTexels(texels, source, &format, count);
        swizzleFloat(format, texels, static_cast<unsigned>(count));
    }
}

void encodeBlock8(void* destination, unsigned rowPitchInBytes, const Block8* block,
                  const EncoderConfiguration* configuration) {
    const Vex::DataFormat format = formatOf(configuration);
    const SurfaceFormatInfo& row = rowOf(format);
    Block8 copy = *block;
    swizzle8(format, &copy);
    if (row.encodeBlock8 != nullptr) {
        row.encodeBlock8(destination, rowPitchInBytes, &copy, configuration);
    }
}

void encodeBlockAndModify(void* destination, unsigned rowPitchInBytes, const Block* block,
                          const EncoderConfiguration* configuration) {
    encodeAndModify(&SurfaceFormatInfo::encodeBlock, destination, rowPitchInBytes, block, configuration);
}

void encodeTileAndModify(void* destination, unsigned rowPitchInBytes, const Tile* tile,
                         const EncoderConfiguration* configuration) {
    encodeAndModify(&SurfaceFormatInfo::encodeTile, destination, rowPitchInBytes, tile, configuration);
}

void encodeTexelRun(void* destination, const VectorFloat* texels, const EncoderConfiguration* configuration,
                    int count) {
    const Vex::DataFormat format = formatOf(configuration);
    const SurfaceFormatInfo& row = rowOf(format);
    const bool changes = !configuration->m_transform.isNop();
    check(count <= kMaxCount, kSourcePath, "count <= kMaxCount");
    auto* at = static_cast<std::uint8_t*>(destination);
    for (int done = 0; done < count && row.encodeTexels != nullptr; done += kMaxCount) {
        const int run = std::min(count - done, kMaxCount);
        VectorFloat copy[kMaxCount];
        std::copy_n(texels + done, run, copy);
        if (changes) {
            configuration->m_transform.Encode(copy, run);
        }
        swizzleFloat(format, copy, static_cast<unsigned>(run));
        row.encodeTexels(at + std::size_t{row.bytesPerElement} * static_cast<unsigned>(done), copy, &format,
                         run);
    }
}

} // namespace qor::Texsmith::Raw
