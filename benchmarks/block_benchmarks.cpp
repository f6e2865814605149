#include "block_benchmarks.h"

#include "photographs.h"
#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/image.h"
#include "qor/texsmith/raw/job_manager.h"
#include "qor/texsmith/raw/reformat.h"
#include "ratio_reporter.h"
#include "raw/blocks/bc1_group.h"
#include "raw/blocks/bc1_punch_through.h"
#include "raw/blocks/bc4_encoder.h"
#include "raw/blocks/bc7_encoder.h"
#include "raw/blocks/block_encoders.h"
#include "raw/blocks/block_preparation.h"
#include "raw/blocks/block_runs.h"
#include "simd/dispatch.h"
#include "stb_dxt_peers.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace Bench {
namespace {

using namespace qor;
using namespace qor::Texsmith;

const PhotographBlocks& photographs() {
    static const PhotographBlocks s_blocks = loadPhotographBlocks();
    return s_blocks;
}

PhotographBlocks everySixteenthBlock() {
    const PhotographBlocks& all = photographs();
    PhotographBlocks some;
    for (std::size_t i = 0; i < all.m_count; i += 16, ++some.m_count) {
        some.m_bytes.insert(some.m_bytes.end(), &all.m_bytes[64 * i], &all.m_bytes[64 * i] + 64);
        some.m_texels.insert(some.m_texels.end(), &all.m_texels[16 * i], &all.m_texels[16 * i] + 16);
    }
    return some;
}

// For encoders that search long.
const PhotographBlocks& fewPhotographs() {
    static const PhotographBlocks s_blocks = everySixteenthBlock();
    return s_blocks;
}

using BlockSource = const PhotographBlocks& (*)();

// The first channels of 16 pixels.
template <unsigned kChannels> void gatherChannels(std::uint8_t* values, const std::uint8_t* pixels) {
    for (unsigned i = 0; i < 16 * kChannels; ++i) {
        values[i] = pixels[i / kChannels * 4 + i % kChannels];
    }
}

double secondsOf(void (*encodeOne)(const StbDxt& build, unsigned char* destination,
                                   const unsigned char* pixels),
                 const StbDxt& build) {
    double least = 1e9;
    for (int round = 0; round < 5; ++round) {
        const auto start = std::chrono::steady_clock::now();
        for (unsigned i = 0; i < 5000 && i < photographs().m_count; ++i) {
            std::uint8_t block[16];
            encodeOne(build, block, &photographs().m_bytes[64 * std::size_t(i)]);
            benchmark::DoNotOptimize(block);
        }
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        least = std::min(least, taken.count());
    }
    return least;
}

// Of each encoder the faster build, which the first blocks tell.
const StbDxt& peer() {
    static const StbDxt s_fastest = [] {
        const std::vector<StbDxt> builds = stbDxtBuilds();
        const auto fastest = [&](auto encodeOne) {
            return *std::min_element(builds.begin(), builds.end(), [&](const StbDxt& x, const StbDxt& y) {
                return secondsOf(encodeOne, x) < secondsOf(encodeOne, y);
            });
        };
        const StbDxt dxt = fastest([](const StbDxt& build, unsigned char* to, const unsigned char* pixels) {
            build.m_dxt(to, pixels, 0, kStbNormal);
        });
        const StbDxt bc4 = fastest([](const StbDxt& build, unsigned char* to, const unsigned char* pixels) {
            std::uint8_t red[16];
            gatherChannels<1>(red, pixels);
            build.m_bc4(to, red);
        });
        const StbDxt bc5 = fastest([](const StbDxt& build, unsigned char* to, const unsigned char* pixels) {
            std::uint8_t both[32];
            gatherChannels<2>(both, pixels);
            build.m_bc5(to, both);
        });
        std::fprintf(stderr, "stb_dxt is built by %s for BC1 and BC3, by %s for BC4, by %s for BC5.\n",
                     dxt.m_compiler, bc4.m_compiler, bc5.m_compiler);
        return StbDxt{dxt.m_compiler, dxt.m_dxt, bc4.m_bc4, bc5.m_bc5};
    }();
    return s_fastest;
}

// Times `work(blocks, destination)`, which goes over all blocks of a source, with the wide kernels or
// without. Room is for 256 bytes a block.
template <typename Work>
void add(const std::string& name, const std::string& baseline, Work work, bool wide = true,
         BlockSource source = photographs) {
    const auto run = [=](benchmark::State& state) {
        const PhotographBlocks& blocks = source();
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
template <typename Work>
void addBoth(const std::string& name, const std::string& baseline, Work work,
             BlockSource source = photographs) {
    add(name, baseline, work, true, source);
    add(name + ", base line", baseline, work, false, source);
}

void addBc1() {
    add("blocks/BC1 peer", "", [](const PhotographBlocks& blocks, std::uint8_t* destination) {
        for (unsigned i = 0; i < blocks.m_count; ++i) {
            peer().m_dxt(destination + 8 * i, &blocks.m_bytes[64 * i], 0, kStbNormal);
        }
    });
    addBoth("blocks/BC1", "blocks/BC1 peer", [](const PhotographBlocks& blocks, std::uint8_t* destination) {
        Raw::encodeBc1Blocks(destination, 8, blocks.m_texels.data(), blocks.m_count,
                             Raw::kEncoderEffortNormal);
    });
    for (const auto& [name, effort] : {std::pair{"blocks/BC1 high", Raw::kEncoderEffortHigh},
                                       {"blocks/BC1 best", Raw::kEncoderEffortBest}}) {
        addBoth(
            name, "blocks/BC1 peer",
            [effort = effort](const PhotographBlocks& blocks, std::uint8_t* destination) {
                Raw::encodeBc1Blocks(destination, 8, blocks.m_texels.data(), blocks.m_count, effort);
            },
            fewPhotographs);
    }
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

Vex::DataFormat formatWord(const char* name) {
    Raw::Configuration any;
    Vex::DataFormat format;
    Raw::makeDataFormat(&format, name, &any);
    return format;
}

Raw::EncoderConfiguration configurationOf(const char* name) {
    Raw::EncoderConfiguration configuration;
    Raw::Texture texture;
    texture.setDataFormat(formatWord(name));
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

// BC6H by effort and quality. Photographs of bytes, so that the peer has the same blocks.
void addBc6Encoder() {
    struct Level {
        const char* m_name;
        Raw::EncoderEffort m_effort;
        float m_quality;
    };
    for (const Level& level :
         {Level{"fast", Raw::kEncoderEffortFast, 1.0f}, Level{"best", Raw::kEncoderEffortBest, 1.0f},
          Level{"quality 0.3", Raw::kEncoderEffortNormal, 0.3f},
          Level{"quality 1", Raw::kEncoderEffortNormal, 1.0f},
          Level{"quality 6", Raw::kEncoderEffortNormal, 6.0f}}) {
        Raw::EncoderConfiguration configuration = configurationOf("Bc6Uf16");
        configuration.m_effort = level.m_effort;
        configuration.m_bc6Quality.setFromQuality(level.m_quality);
        addBoth(
            std::string("blocks/BC6H ") + level.m_name, "blocks/BC1 peer",
            [=](const PhotographBlocks& blocks, std::uint8_t* destination) {
                Raw::findBlockRunEncoder(Vex::kSurfaceFormatBc6)(destination, blocks.m_texels.data(),
                                                                 configuration, blocks.m_count);
            },
            fewPhotographs);
    }
}

void addBc3() {
    add("blocks/BC3 peer", "", [](const PhotographBlocks& blocks, std::uint8_t* destination) {
        for (unsigned i = 0; i < blocks.m_count; ++i) {
            peer().m_dxt(destination + 16 * i, &blocks.m_bytes[64 * i], 1, kStbNormal);
        }
    });
    addEncoder("blocks/BC3", "Bc3Unorm", "blocks/BC3 peer");
}

// The blocks of the photographs side by side: four rows of pixels.
std::vector<std::uint8_t> photographRows() {
    const PhotographBlocks& blocks = photographs();
    const std::size_t pitch = 16 * std::size_t(blocks.m_count);
    std::vector<std::uint8_t> rows(4 * pitch);
    for (std::size_t i = 0; i < blocks.m_count; ++i) {
        for (std::size_t y = 0; y < 4; ++y) {
            std::memcpy(&rows[y * pitch + 16 * i], &blocks.m_bytes[64 * i + 16 * y], 16);
        }
    }
    return rows;
}

void addBc4Rows(const std::string& name, Raw::EncoderEffort effort) {
    const std::vector<std::uint8_t> rows = photographRows();
    addBoth(name, "blocks/BC4 peer", [=](const PhotographBlocks& blocks, std::uint8_t* destination) {
        Raw::encodeBc4Rows(destination, 8, rows.data(), 16 * std::size_t(blocks.m_count), 0, blocks.m_count,
                           effort);
    });
}

void addBc4AndBc5() {
    add("blocks/BC4 peer", "", [](const PhotographBlocks& blocks, std::uint8_t* destination) {
        for (unsigned i = 0; i < blocks.m_count; ++i) {
            std::uint8_t red[16];
            gatherChannels<1>(red, &blocks.m_bytes[64 * std::size_t(i)]);
            peer().m_bc4(destination + 8 * i, red);
        }
    });
    add("blocks/BC5 peer", "", [](const PhotographBlocks& blocks, std::uint8_t* destination) {
        for (unsigned i = 0; i < blocks.m_count; ++i) {
            std::uint8_t both[32];
            gatherChannels<2>(both, &blocks.m_bytes[64 * std::size_t(i)]);
            peer().m_bc5(destination + 16 * i, both);
        }
    });
    addEncoder("blocks/BC4", "Bc4Unorm", "blocks/BC4 peer");
    addEncoder("blocks/BC5", "Bc5Unorm", "blocks/BC5 peer");
    addBc4Rows("blocks/BC4 of pixels", Raw::kEncoderEffortNormal);
    addBc4Rows("blocks/BC4 of pixels, fast", Raw::kEncoderEffortFast);
}

std::vector<std::uint8_t> encodedPhotographs(const char* format) {
    const Raw::EncoderConfiguration configuration = configurationOf(format);
    const Vex::SurfaceFormat surfaceFormat = configuration.getTexture()->getDataFormat().getSurfaceFormat();
    const PhotographBlocks& pictures = photographs();
    std::vector<std::uint8_t> blocks(Raw::getSurfaceFormatInfo(surfaceFormat).bytesPerElement *
                                     std::size_t(pictures.m_count));
    Raw::findBlockRunEncoder(surfaceFormat)(blocks.data(), pictures.m_texels.data(), configuration,
                                            pictures.m_count);
    return blocks;
}

void addBc7() {
    struct Row {
        const char* m_name;
        Raw::EncoderEffort m_effort;
    };
    const Row rows[] = {{"blocks/BC7", Raw::kEncoderEffortNormal},
                        {"blocks/BC7 fast", Raw::kEncoderEffortFast},
                        {"blocks/BC7 high", Raw::kEncoderEffortHigh},
                        {"blocks/BC7 best", Raw::kEncoderEffortBest}};
    for (const Row& row : rows) {
        addBoth(
            row.m_name, "blocks/BC1 peer",
            [=](const PhotographBlocks& blocks, std::uint8_t* destination) {
                Raw::encodeBc7Blocks(destination, blocks.m_texels.data(), blocks.m_count, row.m_effort);
            },
            fewPhotographs);
    }
}

using FindRunDecoder = Raw::DecodeBlockRun (*)();

// What a decoder is measured on, and beside what.
struct StoredBlocks {
    std::vector<std::uint8_t> m_bytes; // surfaces of 128 blocks across
    std::size_t m_blockBytes;
    double m_workPerBlock;
    const char* m_baseline;
};

void addStoredDecoder(const std::string& name, const StoredBlocks& blocks, FindRunDecoder find,
                      std::size_t texelBytes) {
    constexpr std::size_t kAcross = 128;
    const std::size_t rowBytes = blocks.m_blockBytes * kAcross, pitch = 4 * texelBytes * kAcross;
    const std::size_t rows = blocks.m_bytes.size() / rowBytes;
    for (const bool wide : {true, false}) {
        const auto run = [=](benchmark::State& state) {
            std::vector<std::uint8_t> destination(rows * 4 * pitch);
            Simd::allowAvx2(wide);
            const Raw::DecodeBlockRun decode = find();
            for (auto _ : state) {
                for (std::size_t row = 0; row < rows; ++row) {
                    decode(&destination[row * 4 * pitch], pitch, &blocks.m_bytes[row * rowBytes], kAcross);
                }
                benchmark::ClobberMemory();
            }
            Simd::allowAvx2(true);
            compareWith(state, blocks.m_workPerBlock * static_cast<double>(rows * kAcross),
                        blocks.m_baseline);
        };
        benchmark::RegisterBenchmark((name + (wide ? "" : ", base line")).c_str(), run)->UseRealTime();
    }
}

// Blocks that were encoded before, beside a memcpy: bytes read and written.
void addDecoder(const std::string& name, const char* format, FindRunDecoder find, std::size_t texelBytes) {
    const std::size_t blockBytes =
        Raw::getSurfaceFormatInfo(formatWord(format).getSurfaceFormat()).bytesPerElement;
    addStoredDecoder(name,
                     {encodedPhotographs(format), blockBytes,
                      static_cast<double>(16 * texelBytes + blockBytes), "blocks/memcpy"},
                     find, texelBytes);
}

void addMemcpy() {
    benchmark::RegisterBenchmark("blocks/memcpy", [](benchmark::State& state) {
        const std::vector<std::uint8_t>& source = photographs().m_bytes;
        std::vector<std::uint8_t> destination(source.size());
        for (auto _ : state) {
            std::memcpy(destination.data(), source.data(), source.size());
            benchmark::ClobberMemory();
        }
        compareWith(state, 2.0 * static_cast<double>(source.size()));
    })->UseRealTime();
}

void addDecoders() {
    addMemcpy();
    addDecoder(
        "blocks/decode BC1", "Bc1UnormNoAlpha",
        [] { return Raw::findBlockRunDecoder(Vex::kSurfaceFormatBc1); }, 4);
    addDecoder(
        "blocks/decode BC1 as opaque", "Bc1UnormNoAlpha",
        [] { return Raw::findOpaqueRunDecoder(Vex::kSurfaceFormatBc1); }, 4);
    addDecoder(
        "blocks/decode BC3", "Bc3Unorm", [] { return Raw::findBlockRunDecoder(Vex::kSurfaceFormatBc3); }, 4);
    addDecoder(
        "blocks/decode BC4 to R8", "Bc4Unorm",
        [] { return Raw::findChannelRunDecoder(Vex::kSurfaceFormatBc4, 1); }, 1);
    addDecoder(
        "blocks/decode BC5 to R8G8", "Bc5Unorm",
        [] { return Raw::findChannelRunDecoder(Vex::kSurfaceFormatBc5, 2); }, 2);
    addDecoder(
        "blocks/decode BC5 to R8G8B8A8", "Bc5Unorm",
        [] { return Raw::findChannelRunDecoder(Vex::kSurfaceFormatBc5, 4); }, 4);
}

// Beside the peer's encoder, texel by texel.
void addDecoderBesidePeer(const std::string& name, std::vector<std::uint8_t> source, FindRunDecoder find,
                          std::size_t texelBytes) {
    addStoredDecoder(name, {std::move(source), 16, 16.0, "blocks/BC1 peer"}, find, texelBytes);
}

// Random blocks, all beginning with the bits of a mode; without any of its own, all modes in turn.
std::vector<std::uint8_t> randomBlocks(unsigned mode, unsigned modeBits) {
    constexpr std::size_t kCount = 128 * 128;
    std::mt19937 random(mode);
    std::vector<std::uint8_t> blocks(16 * kCount);
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        blocks[i] = static_cast<std::uint8_t>(random());
        if (i % 16 == 0) {
            blocks[i] = static_cast<std::uint8_t>((blocks[i] >> modeBits << modeBits) | mode);
        }
    }
    return blocks;
}

void addBc6AndBc7Decoders() {
    const FindRunDecoder bc7 = [] { return Raw::findBlockRunDecoder(Vex::kSurfaceFormatBc7); };
    const FindRunDecoder bc6 = [] { return Raw::findHalfRunDecoder(Vex::kSurfaceFormatBc6, false); };
    const FindRunDecoder signedBc6 = [] { return Raw::findHalfRunDecoder(Vex::kSurfaceFormatBc6, true); };
    for (unsigned mode = 0; mode < 8; ++mode) {
        addDecoderBesidePeer("blocks/decode BC7, random blocks of mode " + std::to_string(mode),
                             randomBlocks(1u << mode, mode + 1), bc7, 4);
    }
    addDecoderBesidePeer("blocks/decode BC7, random blocks", randomBlocks(0, 0), bc7, 4);
    addDecoderBesidePeer("blocks/decode BC6H to halves, random blocks", randomBlocks(0, 0), bc6, 8);
    addDecoderBesidePeer("blocks/decode BC6H to halves, random blocks of one subset", randomBlocks(3, 5), bc6,
                         8);
    addDecoderBesidePeer("blocks/decode BC6H to halves, random signed blocks", randomBlocks(0, 0), signedBc6,
                         8);
    addDecoderBesidePeer("blocks/decode BC7", encodedPhotographs("Bc7Unorm"), bc7, 4);
    addDecoderBesidePeer("blocks/decode BC6H to halves", encodedPhotographs("Bc6Uf16"), bc6, 8);
    const char* const pictures[] = {"tac__BC7_RGBA_Modern.dds", "rd__bc-DX10_BC7_UNORM_SRGB.dds"};
    for (const char* picture : pictures) {
        addDecoderBesidePeer(std::string("blocks/decode BC7, ") + picture, loadDdsBlocks(picture), bc7, 4);
    }
    for (const char* picture : {"P__bc6h.dds", "rd__bc-DX10_BC6H_UF16.dds"}) {
        addDecoderBesidePeer(std::string("blocks/decode BC6H to halves, ") + picture, loadDdsBlocks(picture),
                             bc6, 8);
    }
}

// The blocks side by side as a picture of bytes; what makes no whole row of blocks is left out.
constexpr unsigned kBlocksAcross = 512;

Vex::Texture pictureTexture(const char* format) {
    Raw::Configuration any;
    Vex::DataFormat word;
    Raw::makeDataFormat(&word, format, &any);
    Vex::Texture texture;
    texture.initAs2d(4 * kBlocksAcross, 4 * (photographs().m_count / kBlocksAcross), 1, word,
                     Vex::kTileModeDisplay_LinearAligned, Vex::kNumFragments1);
    return texture;
}

void fillPicture(Raw::MemoryMappedImage* picture) {
    const Vex::Texture texture = pictureTexture("R8G8B8A8Unorm");
    picture->reallocate(&texture);
    const Raw::SurfaceIndex first = {};
    const unsigned count = picture->getBlocks(0);
    for (unsigned i = 0; i < count; ++i) {
        Raw::Block block;
        std::memcpy(static_cast<void*>(&block), &photographs().m_bytes[64 * std::size_t(i)], 64);
        picture->putBlock(&first, &block, i % kBlocksAcross, i / kBlocksAcross);
    }
}

// Whole surfaces there or back, on one thread and on the pool.
void addSurface(const std::string& name, const char* format, bool compresses, Raw::JobManager* manager) {
    const auto run = [=](benchmark::State& state) {
        Raw::Configuration configuration;
        configuration.m_jobManager = manager;
        Raw::MemoryMappedImage picture, blocks;
        fillPicture(&picture);
        const Vex::Texture texture = pictureTexture(format);
        blocks.reallocate(&texture);
        Raw::reformat(&picture, &blocks, &configuration);
        for (auto _ : state) {
            compresses ? Raw::reformat(&picture, &blocks, &configuration)
                       : Raw::reformat(&blocks, &picture, &configuration);
            benchmark::ClobberMemory();
        }
        compareWith(state, picture.getPixels(0), "blocks/BC1 peer");
    };
    benchmark::RegisterBenchmark(name.c_str(), run)->UseRealTime();
}

void addSurfaces() {
    static Raw::SerialJobManager s_serial;
    static Raw::ThreadpoolJobManager s_pool;
    for (const char* format :
         {"Bc1UnormNoAlpha", "Bc1Unorm", "Bc3Unorm", "Bc4Unorm", "Bc5Unorm", "Bc7Unorm"}) {
        for (const bool compresses : {true, false}) {
            const std::string name = std::string("blocks/surface ") + (compresses ? "to " : "from ") + format;
            addSurface(name, format, compresses, &s_serial);
            addSurface(name + ", pool", format, compresses, &s_pool);
        }
    }
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
    addBc7();
    addDecoders();
    addBc6Encoder();
    addBc6AndBc7Decoders();
    addSurfaces();
}

} // namespace Bench
