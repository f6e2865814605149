#include "block_benchmarks.h"

#include "photographs.h"
#include "ratio_reporter.h"
#include "raw/bc1_punch_through.h"
#include "raw/block_encoders.h"
#include "simd/dispatch.h"

#include <stb/stb_dxt.h>

#include <cstdint>
#include <cstdio>
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

} // namespace

void registerBlockBenchmarks() {
    if (photographs().m_count == 0) {
        std::fprintf(stderr, "No photographs: the benchmarks of blocks are left out.\n");
        return;
    }
    addBc1();
}

} // namespace Bench
