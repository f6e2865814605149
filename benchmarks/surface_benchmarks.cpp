#include "surface_benchmarks.h"

#include "ratio_reporter.h"
#include "raw/tiling.h"

#include "qor/texsmith/texsmith.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>

namespace Bench {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr unsigned kSize = 2048;
constexpr double kMiB = 1 << 20;

Vex::DataFormat formatNamed(const char* name) {
    Configuration configuration;
    Vex::DataFormat format = {};
    if (Raw::makeDataFormat(&format, name, &configuration) != 0) {
        std::abort();
    }
    return format;
}

Vex::Texture textureOf(const char* format, Vex::TileMode tileMode) {
    Vex::Texture texture;
    texture.initAs2dArray(kSize, kSize, 1, 0, 1, formatNamed(format), tileMode, Vex::kNumFragments1, false);
    return texture;
}

// Texels within 0..1 in the formats used here: bytes are random, floats are made from them.
std::unique_ptr<Raw::MemoryMappedImage> makeImage(const char* format,
                                                  Vex::TileMode tileMode = Vex::kTileModeThin_1dThin) {
    auto image = std::make_unique<Raw::MemoryMappedImage>();
    const Vex::Texture texture = textureOf(format, tileMode);
    image->reallocate(&texture);
    const MemoryRegion bytes = image->getMemoryRegion();
    std::mt19937 random(1);
    for (std::uint8_t* byte = bytes.begin; byte < bytes.end; ++byte) {
        *byte = static_cast<std::uint8_t>(random());
    }
    return image;
}

void setBytes(benchmark::State& state, double bytes) { state.counters[kBytesCounter] = bytes; }

void memcpyBench(benchmark::State& state, double bytesInAll) {
    const std::size_t bytes = static_cast<std::size_t>(bytesInAll / 2);
    Raw::AllocatedMemory source, destination;
    source.resize(bytes);
    destination.resize(bytes);
    std::memset(source.begin, 1, bytes);
    std::memset(destination.begin, 2, bytes);
    for (auto _ : state) {
        std::memcpy(destination.begin, source.begin, bytes);
        benchmark::ClobberMemory();
    }
    setBytes(state, bytesInAll);
}

void reformatBench(benchmark::State& state, JobManager* manager, const char* from, const char* to) {
    Configuration configuration;
    configuration.m_jobManager = manager;
    const auto bytes = makeImage("R8G8B8A8Unorm");
    const auto source = makeImage(from), destination = makeImage(to);
    Raw::reformat(bytes.get(), source.get(), &configuration);
    for (auto _ : state) {
        if (Raw::reformat(source.get(), destination.get(), &configuration) != Raw::kErrorNone) {
            state.SkipWithError("reformat failed");
        }
    }
    setBytes(state, double(source->getBytesTotal()) + destination->getBytesTotal());
}

void tileBench(benchmark::State& state, JobManager* manager, Vex::TileMode tileMode, bool toTiled) {
    Configuration configuration;
    configuration.m_jobManager = manager;
    const auto image = makeImage("R8G8B8A8Unorm", tileMode);
    Raw::AllocatedMemory tiled;
    std::uint64_t size = 0;
    unsigned alignment = 0;
    GpuAddress::computeTotalTiledTextureSize(&size, &alignment, image->getVexTexture());
    tiled.resize(size);
    for (auto _ : state) {
        const Raw::Error error = toTiled ? Raw::tileImage(&tiled, image.get(), &configuration, 0)
                                         : Raw::detileImage(image.get(), &tiled, &configuration, 0);
        if (error != Raw::kErrorNone) {
            state.SkipWithError("tiling failed");
        }
    }
    setBytes(state, 2.0 * image->getBytesTotal());
}

void tgaBench(benchmark::State& state, JobManager* manager, bool load) {
    Configuration configuration;
    configuration.m_jobManager = manager;
    const auto image = makeImage("B8G8R8A8Unorm");
    Raw::AllocatedMemory file, pixels;
    Raw::ReallocatableImage destination(&pixels);
    Raw::convertToTga(image.get(), &file, &configuration);
    for (auto _ : state) {
        const Raw::Error error = load ? Raw::convertFromTga(&file, &destination, &configuration)
                                      : Raw::convertToTga(image.get(), &file, &configuration);
        if (error != Raw::kErrorNone) {
            state.SkipWithError("TGA failed");
        }
    }
    setBytes(state, 2.0 * image->getBytesTotal());
}

template <typename Function> void add(const std::string& name, Function function) {
    benchmark::RegisterBenchmark(name.c_str(), function)->UseRealTime();
}

void registerFor(const std::string& threads, JobManager* manager) {
    static constexpr const char* kPairs[][2] = {
        {"R8G8B8A8Unorm", "R8G8B8A8Unorm"},     {"R8G8B8A8Unorm", "B8G8R8A8Unorm"},
        {"R8G8B8A8Unorm", "R32G32B32A32Float"}, {"R32G32B32A32Float", "R8G8B8A8Unorm"},
        {"R8G8B8A8Unorm", "R16G16B16A16Float"}, {"R16G16B16A16Float", "R8G8B8A8Unorm"},
    };
    for (const auto& pair : kPairs) {
        add(threads + "/" + pair[0] + "/" + pair[1],
            [manager, pair](benchmark::State& state) { reformatBench(state, manager, pair[0], pair[1]); });
    }
    const auto addTiling = [&](const char* name, Vex::TileMode mode, bool toTiled) {
        add(threads + "/" + name, [=](benchmark::State& state) { tileBench(state, manager, mode, toTiled); });
    };
    addTiling("tile 1d thin", Vex::kTileModeThin_1dThin, true);
    addTiling("detile 1d thin", Vex::kTileModeThin_1dThin, false);
    addTiling("tile 2d thin", Vex::kTileModeThin_2dThin, true);
    addTiling("detile 2d thin", Vex::kTileModeThin_2dThin, false);
    add(threads + "/TGA load", [manager](benchmark::State& state) { tgaBench(state, manager, true); });
    add(threads + "/TGA save", [manager](benchmark::State& state) { tgaBench(state, manager, false); });
}

} // namespace

void registerSurfaceBenchmarks() {
    for (const double mebibytes : {32.0, 48.0, 80.0}) {
        add(kMemcpyName + std::to_string(static_cast<int>(mebibytes)) + " MiB moved",
            [mebibytes](benchmark::State& state) { memcpyBench(state, mebibytes * kMiB); });
    }
    static Raw::SerialJobManager s_serial;
    static Raw::ThreadpoolJobManager s_pool;
    registerFor("one thread", &s_serial);
    registerFor("pool", &s_pool);
}

} // namespace Bench
