#include "growth_benchmarks.h"

#include "ratio_reporter.h"
#include "raw/tiles/tiling.h"
#include "surface_benchmarks.h"

#include <cstdio>
#include <cstring>

namespace Bench {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr unsigned kSizes[] = {256, 512, 1024, 2048, 4096, 8192, 16384};
constexpr char kFormat[] = "R8G8B8A8Unorm";

using Image = std::shared_ptr<Raw::MemoryMappedImage>;

Operation reformatTo(const char* format, unsigned size) {
    const Image source = makeImage(kFormat, size), destination = makeImage(format, size);
    return [=](Configuration* configuration) {
        return Raw::reformat(source.get(), destination.get(), configuration);
    };
}

Operation move(bool toTiled, unsigned size) {
    const Image image = makeImage(kFormat, size, Vex::kTileModeThin_2dThin);
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
}

Operation makeMips(const char* format, unsigned size) {
    const Image source = makeImage(format, size);
    const auto chain = std::make_shared<Raw::MemoryMappedImage>();
    Raw::reallocateAndAddMips(source.get(), chain.get(), source->getDataFormat());
    return [=](Configuration* configuration) {
        return static_cast<Raw::Error>(Raw::makeMipMaps(source.get(), chain.get(), configuration));
    };
}

} // namespace

// Names that sort by size.
void registerGrowthBenchmarks() {
    for (const unsigned size : kSizes) {
        char number[8];
        std::snprintf(number, sizeof number, " %5u", size);
        const auto add = [&](const char* name, MakeOperation make) {
            addOperation(kPerTexelGroup, name + std::string(number), double(size) * size, {},
                         std::move(make));
        };
        add("reformat to B8G8R8A8Unorm", [size] { return reformatTo("B8G8R8A8Unorm", size); });
        add("reformat to R16G16B16A16Float", [size] { return reformatTo("R16G16B16A16Float", size); });
        add("tile 2d thin", [size] { return move(true, size); });
        add("detile 2d thin", [size] { return move(false, size); });
        add("mips", [size] { return makeMips(kFormat, size); });
        add("mips sRGB", [size] { return makeMips("R8G8B8A8UnormSrgb", size); });
    }
}

} // namespace Bench
