#include "block_benchmarks.h"

#include "photographs.h"
#include "qor/texsmith/raw/format.h"
#include "ratio_reporter.h"
#include "raw/bc1_punch_through.h"
#include "raw/block_encoders.h"
#include "raw/block_runs.h"
#include "simd/dispatch.h"

#include <stb/stb_dxt.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace Bench {
namespace {

using namespace qor;
using namespace qor::Texsmith;

const PhotographBlocks& photographs() {
    static const PhotographBlocks s_blocks = loadPhotographBlocks();
    return s_blocks;
}

// Times `work(blocks, destination)`, which goes over all blocks, with the wide kernels or without. Room is
// for 256 bytes a block.
template <typename Work>
void add(const std::string& name, const std::string& baseline, Work work, bool wide = true) {
    const auto run = [=](benchmark::State& state) {
        const PhotographBlocks& blocks = photographs();
        std::vector<std::uint8_t> destination(std::size_t(256) * blocks.m_count);
        Simd::allowAvx2(wide);
        for (auto _ : state) {
            work(blocks, destination.data());
            benchmark::ClobberMemory();
        }
        Simd::allowAvx2(true);
        compareWith(state, 16.0 * blocks.m_count, baseline);
    };
    benchmark::RegisterBenchmark(name.c_str(), run)->UseRealTime();
}
template <typename Work> void addBoth(const std::string& name, const std::string& baseline, Work work) {
    add(name, baseline, work);
    add(name + ", base line", baseline, work, false);
}

void addBc1() {
    add("blocks/BC1 peer", "", [](const PhotographBlocks& blocks, std::uint8_t* destination) {
        for (unsigned i = 0; i < blocks.m_count; ++i) {
            stb_compress_dxt_block(destination + 8 * i, &blocks.m_bytes[64 * i], 0, STB_DXT_NORMAL);
        }
    });
    addBoth("blocks/BC1", "blocks/BC1 peer", [](const PhotographBlocks& blocks, std::uint8_t* destination) {
        Raw::encodeBc1Blocks(destination, blocks.m_texels.data(), blocks.m_count);
    });
    addBoth("blocks/BC1 with transparency", "blocks/BC1 peer",
            [](const PhotographBlocks& blocks, std::uint8_t* destination) {
                Raw::encodeBc1PunchThroughBlocks(destination, blocks.m_texels.data(), blocks.m_count, 0.5f);
            });
    addBoth("blocks/linear to sRGB", "blocks/BC1 peer",
            [](const PhotographBlocks& blocks, std::uint8_t* destination) {
                Raw::prepareBlockForEncoding(reinterpret_cast<ColorRGBA32F*>(destination),
                                             blocks.m_texels.data(), Vex::kTextureChannelTypeSrgb,
                                             blocks.m_count);
            });
}

Raw::EncoderConfiguration configurationOf(const char* name) {
    Raw::Configuration any;
    Vex::DataFormat format;
    Raw::makeDataFormat(&format, name, &any);
    Raw::EncoderConfiguration configuration;
    Raw::Texture texture;
    texture.setDataFormat(format);
    configuration.setTexture(&texture);
    return configuration;
}

// All blocks as one run, and tile by tile through the row of the format table.
void addEncoder(const std::string& name, const char* format, const std::string& baseline) {
    const Raw::EncoderConfiguration configuration = configurationOf(format);
    const Vex::SurfaceFormat surfaceFormat = configuration.getTexture()->getDataFormat().getSurfaceFormat();
    addBoth(name, baseline, [=](const PhotographBlocks& blocks, std::uint8_t* destination) {
        Raw::findBlockRunEncoder(surfaceFormat)(destination, blocks.m_texels.data(), configuration,
                                                blocks.m_count);
    });
    add(name + ", a tile at a time", baseline,
        [=](const PhotographBlocks& blocks, std::uint8_t* destination) {
            const Raw::SurfaceFormatInfo& row = Raw::getSurfaceFormatInfo(surfaceFormat);
            const unsigned pitch = 2 * row.bytesPerElement;
            for (std::size_t i = 0; i + 4 <= blocks.m_count; i += 4) {
                Raw::Tile tile; // its texels stand in another order than in the picture
                std::memcpy(&tile, &blocks.m_texels[16 * i], sizeof tile);
                row.encodeTile(destination + i * row.bytesPerElement, pitch, &tile, &configuration);
            }
        });
}

void addBc3() {
    add("blocks/BC3 peer", "", [](const PhotographBlocks& blocks, std::uint8_t* destination) {
        for (unsigned i = 0; i < blocks.m_count; ++i) {
            stb_compress_dxt_block(destination + 16 * i, &blocks.m_bytes[64 * i], 1, STB_DXT_NORMAL);
        }
    });
    addEncoder("blocks/BC3", "Bc3Unorm", "blocks/BC3 peer");
}

void addBc4AndBc5() {
    add("blocks/BC4 peer", "", [](const PhotographBlocks& blocks, std::uint8_t* destination) {
        for (unsigned i = 0; i < blocks.m_count; ++i) {
            std::uint8_t red[16];
            for (unsigned texel = 0; texel < 16; ++texel) {
                red[texel] = blocks.m_bytes[64 * i + 4 * texel];
            }
            stb_compress_bc4_block(destination + 8 * i, red);
        }
    });
    add("blocks/BC5 peer", "", [](const PhotographBlocks& blocks, std::uint8_t* destination) {
        for (unsigned i = 0; i < blocks.m_count; ++i) {
            std::uint8_t both[32];
            for (unsigned texel = 0; texel < 16; ++texel) {
                both[2 * texel] = blocks.m_bytes[64 * i + 4 * texel];
                both[2 * texel + 1] = blocks.m_bytes[64 * i + 4 * texel + 1];
            }
            stb_compress_bc5_block(destination + 16 * i, both);
        }
    });
    addEncoder("blocks/BC4", "Bc4Unorm", "blocks/BC4 peer");
    addEncoder("blocks/BC5", "Bc5Unorm", "blocks/BC5 peer");
}

// Surfaces of 128 blocks across, whose blocks were encoded before.
void addDecoder(const std::string& name, const char* format) {
    constexpr unsigned kAcross = 128;
    const Raw::EncoderConfiguration configuration = configurationOf(format);
    const Vex::SurfaceFormat surfaceFormat = configuration.getTexture()->getDataFormat().getSurfaceFormat();
    const std::size_t bytes = Raw::getSurfaceFormatInfo(surfaceFormat).bytesPerElement;
    const PhotographBlocks& pictures = photographs();
    std::vector<std::uint8_t> source(bytes * pictures.m_count);
    Raw::findBlockRunEncoder(surfaceFormat)(source.data(), pictures.m_texels.data(), configuration,
                                            pictures.m_count);
    addBoth(name, "blocks/BC1 peer", [=](const PhotographBlocks& blocks, std::uint8_t* destination) {
        const Raw::DecodeBlockRun decode = Raw::findBlockRunDecoder(surfaceFormat);
        for (unsigned i = 0; i + kAcross <= blocks.m_count; i += kAcross) {
            decode(destination + 64 * std::size_t(i), 16 * kAcross, source.data() + bytes * i, kAcross);
        }
    });
}

} // namespace

void registerBlockBenchmarks() {
    if (photographs().m_count == 0) {
        std::fprintf(stderr, "No photographs: the benchmarks of blocks are left out.\n");
        return;
    }
    addBc1();
    addBc3();
    addBc4AndBc5();
    addDecoder("blocks/decode BC1", "Bc1UnormNoAlpha");
    addDecoder("blocks/decode BC3", "Bc3Unorm");
}

} // namespace Bench
