#include "surface_benchmarks.h"

#include "ratio_reporter.h"
#include "raw/tiles/tiling.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <set>

namespace Bench {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr unsigned kSizes[] = {2048, 8192};

template <typename Function> void add(const std::string& name, Function function) {
    benchmark::RegisterBenchmark(name.c_str(), function)->UseRealTime()->Unit(benchmark::kMillisecond);
}

// One memcpy, or one for each of two halves at the same time.
class MemcpyParts : public Raw::Job {
public:
    MemcpyParts(Raw::MemoryRegion destination, Raw::MemoryRegion source, unsigned parts)
        : Job(parts), m_destination(destination), m_source(source) {}

private:
    Raw::Error doCallback(unsigned part) const override {
        const std::size_t bytes = m_source.length() / static_cast<unsigned>(getCallbacks());
        std::memcpy(m_destination.begin + bytes * part, m_source.begin + bytes * part, bytes);
        return Raw::kErrorNone;
    }

    Raw::MemoryRegion m_destination, m_source;
};

void memcpyBench(benchmark::State& state, double bytesInAll, JobManager* manager, unsigned parts) {
    const std::size_t bytes = static_cast<std::size_t>(bytesInAll / 2);
    Raw::AllocatedMemory source, destination;
    source.resize(bytes);
    destination.resize(bytes);
    std::memset(source.begin, 1, bytes);
    std::memset(destination.begin, 2, bytes);
    for (auto _ : state) {
        const MemcpyParts job(destination, source, parts);
        manager->submitAndStall(&job);
    }
    compareWith(state, bytesInAll);
}

void runOperation(benchmark::State& state, JobManager* manager, double work, const std::string& baseline,
                  const MakeOperation& make) {
    Configuration configuration;
    configuration.m_jobManager = manager;
    const Operation operation = make();
    operation(&configuration); // touches all pages
    for (auto _ : state) {
        if (operation(&configuration) != Raw::kErrorNone) {
            state.SkipWithError("the operation failed");
            break;
        }
    }
    compareWith(state, work, baseline);
}

double bytesOf(const char* format, unsigned size) {
    return double(size) * size * formatNamed(format).getBytesPerElement();
}

// Floats and halves are made from the bytes, so that they lie in 0..1.
std::unique_ptr<Raw::MemoryMappedImage> makeTexels(const char* format, unsigned size) {
    Configuration configuration;
    const auto bytes = makeImage("R8G8B8A8Unorm", size);
    auto image = makeImage(format, size);
    Raw::reformat(bytes.get(), image.get(), &configuration);
    return image;
}

void addReformat(const std::string& group, const char* from, const char* to, unsigned size) {
    const double work = bytesOf(from, size) + bytesOf(to, size);
    addOperation(group, std::string("reformat ") + from + " to " + to, work, memcpyOf(work), [=] {
        const std::shared_ptr<Raw::MemoryMappedImage> source = makeTexels(from, size);
        const std::shared_ptr<Raw::MemoryMappedImage> destination = makeImage(to, size);
        return [=](Configuration* configuration) {
            return Raw::reformat(source.get(), destination.get(), configuration);
        };
    });
}

void addTiling(const std::string& group, const char* format, Vex::TileMode mode, const char* modeName,
               unsigned size) {
    for (const bool toTiled : {true, false}) {
        const double work = 2 * bytesOf(format, size);
        const std::string name = std::string(toTiled ? "tile " : "detile ") + modeName + " " + format;
        addOperation(group, name, work, memcpyOf(work), [=] {
            const std::shared_ptr<Raw::MemoryMappedImage> image = makeImage(format, size, mode);
            const auto tiled = std::make_shared<Raw::AllocatedMemory>();
            std::uint64_t bytes = 0;
            unsigned alignment = 0;
            GpuAddress::computeTotalTiledTextureSize(&bytes, &alignment, image->getVexTexture());
            tiled->resize(bytes);
            std::memset(tiled->begin, 1, bytes);
            return [=](Configuration* configuration) {
                return toTiled ? Raw::tileImage(tiled.get(), image.get(), configuration, 0)
                               : Raw::detileImage(image.get(), tiled.get(), configuration, 0);
            };
        });
    }
}

// A canvas of a whole chain, beside a plain image of as many texels; both into a bitmap, as for a viewer.
void addCanvas(const std::string& group, unsigned size) {
    const unsigned wide = size / 2 * 3;
    const double work = double(wide) * size * 8;
    const auto addInto = [&](const char* name, const std::string& baseline, bool isCanvas) {
        addOperation(group, name, work, baseline, [=] {
            Vex::Texture texture;
            texture.initAs2dArray(isCanvas ? size : wide, size, 1, 0, isCanvas ? 12 : 1,
                                  formatNamed("R8G8B8A8Unorm"), Vex::kTileModeThin_1dThin,
                                  Vex::kNumFragments1, false);
            const auto image = std::make_shared<Raw::MemoryMappedImage>();
            image->reallocate(&texture);
            std::memset(image->getMemoryRegion().begin, 1, image->getBytesTotal());
            const auto bitmap = std::make_shared<Raw::AllocatedMemory>();
            bitmap->resize(std::uint64_t{wide} * size * 4);
            Raw::Raster raster;
            raster.begin = bitmap->begin;
            raster.end = bitmap->end;
            raster.dataFormat = formatNamed("B8G8R8X8Unorm");
            raster.width = wide;
            raster.height = size;
            raster.pitch = wide * 4;
            const auto shown = std::make_shared<Raw::RasterElementProvider>(&raster);
            const auto canvas = std::make_shared<Raw::AsCanvasElementProvider>(image.get());
            return [=](Configuration* configuration) {
                (void)bitmap;
                return Raw::reformat(isCanvas ? static_cast<const Raw::ElementProvider*>(canvas.get())
                                              : image.get(),
                                     shown.get(), configuration);
            };
        });
    };
    addInto("reformat a plain image into a bitmap", memcpyOf(work), false);
    addInto("reformat a canvas into a bitmap", group + "/reformat a plain image into a bitmap", true);
}

void addMemory(const std::string& group, unsigned size) {
    const double work = 2 * bytesOf("R8G8B8A8Unorm", size);
    const auto images = [=] {
        return std::pair<std::shared_ptr<Raw::MemoryMappedImage>, std::shared_ptr<Raw::MemoryMappedImage>>(
            makeImage("R8G8B8A8Unorm", size), makeImage("R8G8B8A8Unorm", size));
    };
    addOperation(group, "copy", work, memcpyOf(work), [=] {
        const auto [source, destination] = images();
        return [source = source, destination = destination](Configuration* configuration) {
            return Raw::copy(destination.get(), source.get(), configuration);
        };
    });
    addOperation(group, "multicoreMemcpy", work, memcpyOf(work), [=] {
        const auto [source, destination] = images();
        return [source = source, destination = destination](Configuration* configuration) {
            return Raw::multicoreMemcpy(destination->getMemoryRegion(), source->getMemoryRegion(),
                                        source->getBytesTotal(), configuration);
        };
    });
}

// Between regions of memory, which are made large enough by the first run.
void addFileConversion(const std::string& group, const char* fromExtension, const char* toExtension,
                       unsigned size, bool isBottomUp = false) {
    const double work = 2 * bytesOf("R8G8B8A8Unorm", size);
    const std::string name = std::string("convert ") + fromExtension + " to " + toExtension +
                             (isBottomUp ? " from the bottom up" : "");
    addOperation(group, name, work, memcpyOf(work), [=] {
        Configuration configuration;
        const auto file = std::make_shared<Raw::AllocatedMemory>();
        const auto converted = std::make_shared<Raw::AllocatedMemory>();
        const auto image = makeImage("R8G8B8A8Unorm", size);
        if (std::strcmp(fromExtension, ".tga") == 0) {
            Raw::convertToTga(image.get(), file.get(), &configuration);
            file->begin[17] = isBottomUp ? 0x00 : 0x20; // the descriptor
        } else {
            Raw::convertToVxf(image.get(), file.get(), &configuration);
        }
        return [=](Configuration* current) {
            return Raw::convertWithResult(file.get(), fromExtension, converted.get(), toExtension, current);
        };
    });
}

void registerFormats(const std::string& group, unsigned size) {
    static constexpr const char* kPairs[][2] = {
        {"R8G8B8A8Unorm", "R8G8B8A8Unorm"},         {"R8G8B8A8Unorm", "B8G8R8A8Unorm"},
        {"R8G8B8A8Unorm", "R32G32B32A32Float"},     {"R32G32B32A32Float", "R8G8B8A8Unorm"},
        {"R8G8B8A8Unorm", "R16G16B16A16Float"},     {"R16G16B16A16Float", "R8G8B8A8Unorm"},
        {"R16G16B16A16Unorm", "R8G8B8A8Unorm"},     {"R8G8B8A8Unorm", "R16G16B16A16Unorm"},
        {"R16G16B16A16Float", "R8G8B8A8UnormSrgb"}, {"R32G32B32A32Float", "R16G16B16A16Float"},
        {"R16G16B16A16Float", "R32G32B32A32Float"}, {"R8G8B8A8Unorm", "R10G10B10A2Unorm"},
        {"R10G10B10A2Unorm", "R8G8B8A8Unorm"},      {"R8G8B8A8Unorm", "B5G6R5Unorm"},
        {"B5G6R5Unorm", "R8G8B8A8Unorm"},           {"R8G8B8A8UnormSrgb", "R32G32B32A32Float"},
        {"R32G32B32A32Float", "R8G8B8A8UnormSrgb"}, {"R16G16Unorm", "R8G8Unorm"},
        {"R8G8B8A8Snorm", "R16G16B16A16Float"},     {"B5G6R5Unorm", "B5G5R5A1Unorm"},
        {"R11G11B10Float", "R9G9B9E5Float"},
    };
    for (const auto& pair : kPairs) {
        addReformat(group, pair[0], pair[1], size);
    }
}

void registerTiling(const std::string& group, unsigned size) {
    for (const char* format : {"R8G8B8A8Unorm", "R16G16B16A16Float", "R32G32B32A32Float"}) {
        addTiling(group, format, Vex::kTileModeThin_1dThin, "1d thin", size);
        addTiling(group, format, Vex::kTileModeThin_2dThin, "2d thin", size);
    }
}

} // namespace

Vex::DataFormat formatNamed(const char* name) {
    Configuration configuration;
    Vex::DataFormat format = {};
    if (Raw::makeDataFormat(&format, name, &configuration) != 0) {
        std::fprintf(stderr, "no format is named %s\n", name);
        std::abort();
    }
    return format;
}

std::unique_ptr<Raw::MemoryMappedImage> makeImage(const char* format, unsigned size, Vex::TileMode tileMode) {
    constexpr std::size_t kPatternBytes = 1 << 20;
    static const std::vector<std::uint8_t> s_pattern = [] {
        std::vector<std::uint8_t> bytes(kPatternBytes);
        std::mt19937 random(1);
        for (std::uint8_t& byte : bytes) {
            byte = static_cast<std::uint8_t>(random());
        }
        return bytes;
    }();
    Vex::Texture texture;
    texture.initAs2dArray(size, size, 1, 0, 1, formatNamed(format), tileMode, Vex::kNumFragments1, false);
    auto image = std::make_unique<Raw::MemoryMappedImage>();
    image->reallocate(&texture);
    const MemoryRegion bytes = image->getMemoryRegion();
    for (std::size_t at = 0; at < bytes.length(); at += kPatternBytes) {
        std::memcpy(bytes.begin + at, s_pattern.data(),
                    std::min<std::size_t>(kPatternBytes, bytes.length() - at));
    }
    return image;
}

std::string memcpyOf(double bytesInAll) {
    static std::set<std::string> s_registered;
    static Raw::SerialJobManager s_serial;
    static Raw::ThreadpoolJobManager s_pool;
    const std::string bytes = std::to_string(static_cast<long long>(bytesInAll)) + " bytes";
    const auto addWith = [&](const char* threads, JobManager* manager, unsigned parts) {
        add(std::string("memcpy/") + threads + "/" + bytes,
            [=](benchmark::State& state) { memcpyBench(state, bytesInAll, manager, parts); });
    };
    if (s_registered.insert(bytes).second) {
        addWith(kOneThread, &s_serial, 1);
        addWith(kTwoThreads, &s_pool, 2);
    }
    return "memcpy/" + bytes;
}

void addOperation(const std::string& group, const std::string& name, double work, const std::string& baseline,
                  MakeOperation make) {
    static Raw::SerialJobManager s_serial;
    static Raw::ThreadpoolJobManager s_pool;
    const auto addWith = [&](const char* threads, JobManager* manager) {
        add(group + "/" + threads + "/" + name,
            [=](benchmark::State& state) { runOperation(state, manager, work, baseline, make); });
    };
    addWith(kOneThread, &s_serial);
    addWith(kTwoThreads, &s_pool);
}

void registerSurfaceBenchmarks() {
    for (const unsigned size : kSizes) {
        const std::string group = std::to_string(size);
        registerFormats(group, size);
        addCanvas(group, size);
        addMemory(group, size);
        registerTiling(group, size);
    }
    addReformat("512", "R8G8B8A8UnormSrgb", "R32G32B32A32Float", 512);
    addReformat("512", "R32G32B32A32Float", "R8G8B8A8UnormSrgb", 512);
    addFileConversion("4096", ".vxf", ".tga", 4096);
    addFileConversion("4096", ".tga", ".vxf", 4096);
    addFileConversion("4096", ".tga", ".vxf", 4096, true);
}

} // namespace Bench
