// Blocks of every compressed format: what is decoded one by one, in runs and by the wide kernels has to be
// the same, and the texels that come out, like those that the input's bytes make, have to be encoded.
#include "fuzz_target.h"
#include "raw/blocks/block_runs.h"
#include "simd/dispatch.h"

#include <algorithm>
#include <vector>

namespace {

using namespace qor;
using namespace qor::Texsmith;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kMostBlocks = 19; // two groups of eight and a rest
constexpr std::size_t kMostEncoded = 2; // encoders are slow
constexpr std::size_t kBytesOfFloats = 256;

struct Blocks {
    Vex::SurfaceFormat m_format;
    bool m_isSigned;
    std::size_t m_bytes; // of a block

    std::uint32_t word() const { return 0xFAC000u | (m_isSigned ? 0x100u : 0u) | m_format; }
};

using Fuzz::require;

// Rows of a run of blocks, as one buffer without a byte to spare.
Bytes decodeRun(Raw::DecodeBlockRun decode, const Bytes& source, std::size_t count, std::size_t texelBytes) {
    Bytes rows(count * 16 * texelBytes);
    decode(rows.data(), count * 4 * texelBytes, source.data(), count);
    return rows;
}

// Texel after texel of the first blocks, one block after the other.
std::vector<ColorRGBA32F> decodeOneByOne(const Blocks& blocks, const Bytes& source, std::size_t count) {
    CpuBlockDecoder decoder(DataFormat{blocks.word()});
    std::vector<ColorRGBA32F> texels(count * 16);
    for (std::size_t i = 0; i < count; ++i) {
        blockDecompress(&texels[i * 16], &source[i * blocks.m_bytes], &decoder, false);
    }
    return texels;
}

using Find = Raw::DecodeBlockRun (*)(const Blocks& blocks);

void compareRuns(const Blocks& blocks, const Bytes& source, std::size_t count, Find find,
                 std::size_t texelBytes) {
    Simd::allowAvx2(false);
    const Raw::DecodeBlockRun narrow = find(blocks);
    Simd::allowAvx2(true);
    const Raw::DecodeBlockRun wide = find(blocks);
    if (narrow != nullptr) {
        const Bytes expected = decodeRun(narrow, source, count, texelBytes);
        require(decodeRun(wide, source, count, texelBytes) == expected);
        // The last block alone: rows do not depend on their neighbours.
        const Bytes last(source.end() - static_cast<std::ptrdiff_t>(blocks.m_bytes), source.end());
        const Bytes alone = decodeRun(wide, last, 1, texelBytes);
        for (std::size_t row = 0; row < 4; ++row) {
            const auto end =
                expected.begin() + static_cast<std::ptrdiff_t>((row + 1) * count * 4 * texelBytes);
            require(std::equal(end - static_cast<std::ptrdiff_t>(4 * texelBytes), end,
                               alone.begin() + static_cast<std::ptrdiff_t>(row * 4 * texelBytes)));
        }
    }
}

void encode(const Blocks& blocks, const std::vector<ColorRGBA32F>& texels) {
    Raw::EncoderConfiguration configuration;
    Raw::Texture texture;
    texture.setDataFormat({blocks.word()});
    configuration.setTexture(&texture);
    const std::size_t count = texels.size() / 16;
    Bytes narrow(count * blocks.m_bytes), wide(count * blocks.m_bytes);
    Simd::allowAvx2(false);
    Raw::findBlockRunEncoder(blocks.m_format)(narrow.data(), texels.data(), configuration, count);
    Simd::allowAvx2(true);
    Raw::findBlockRunEncoder(blocks.m_format)(wide.data(), texels.data(), configuration, count);
    require(narrow == wide);
}

void checkFormat(const Blocks& blocks, const Bytes& data) {
    const std::size_t count = std::min(data.size() / blocks.m_bytes, kMostBlocks);
    if (count == 0) {
        return;
    }
    const Bytes source(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(count * blocks.m_bytes));
    const std::vector<ColorRGBA32F> texels = decodeOneByOne(blocks, source, count);
    compareRuns(
        blocks, source, count, [](const Blocks& b) { return Raw::findBlockRunDecoder(b.m_format); }, 4);
    compareRuns(
        blocks, source, count,
        [](const Blocks& b) { return Raw::findFloatRunDecoder(b.m_format, b.m_isSigned); }, 16);
    compareRuns(
        blocks, source, count,
        [](const Blocks& b) { return Raw::findHalfRunDecoder(b.m_format, b.m_isSigned); }, 8);
    encode(blocks, {texels.begin(),
                    texels.begin() + static_cast<std::ptrdiff_t>(std::min(count, kMostEncoded) * 16)});
    std::vector<ColorRGBA32F> raw(std::min(data.size() / kBytesOfFloats, kMostEncoded) * 16);
    if (!raw.empty()) {
        std::memcpy(static_cast<void*>(raw.data()), data.data(), raw.size() * sizeof raw[0]);
        encode(blocks, raw);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Fuzz::Input quiet(data, size);
    const Bytes bytes(data, data + size);
    for (std::uint32_t format = Vex::kSurfaceFormatBc1; format <= Vex::kSurfaceFormatBc7; ++format) {
        const bool isSmall = format == Vex::kSurfaceFormatBc1 || format == Vex::kSurfaceFormatBc4;
        for (const bool isSigned : {false, true}) {
            checkFormat({Vex::SurfaceFormat(format), isSigned, isSmall ? 8u : 16u}, bytes);
        }
    }
    return 0;
}
