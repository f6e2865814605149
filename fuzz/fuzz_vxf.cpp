#include "fuzz_target.h"

#include <algorithm>
#include <vector>

namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr int kMostTextures = 3;

// A join takes the first texture whatever the number of textures says.
bool isSmall(const Raw::VxfManipulator& file) {
    std::uint64_t sum = 0;
    for (int index = 0; index < std::max(file.getNumberOfTextures(), 1); ++index) {
        std::uint64_t bytes = 0;
        unsigned alignment = 0;
        GpuAddress::computeTotalTiledTextureSize(&bytes, &alignment, file.getTextureInFile(index));
        sum += std::min(bytes, Fuzz::kMostTexels * 16 + 1);
    }
    return sum <= Fuzz::kMostTexels * 16;
}

void convertTexture(Fuzz::Input& input, int index) {
    Raw::AllocatedMemory memory, file;
    Raw::ReallocatableImage image(&memory);
    if (Raw::convertFromVxf(input.region(), &image, input.configuration(), index) == Raw::kErrorNone) {
        Fuzz::expectDescribed(input, ".vxf", image, index);
    }
    Fuzz::useImage(input, ".vxf", image);
    Raw::convertFromVxf(input.region(), static_cast<Raw::Image*>(&image), input.configuration());
    Raw::convertToVxf(&image, &file, input.configuration());
}

void captureTexture(Fuzz::Input& input, int index) {
    Raw::Texture texture = {};
    Raw::vxf2Texture(input.region(), &texture, input.configuration(), index);
    Raw::AllocatedMemory memory, file;
    Raw::ReallocatableImage image(&memory);
    Raw::capture2ReallocatableImage(&texture, &image, input.configuration());
    Raw::capture2Vxf(&texture, &file, input.configuration());
    const Raw::TextureElementProvider provider(&texture);
    const Raw::SurfaceIndex surface;
    Raw::Tile tile = {};
    provider.getTile(&surface, &tile, 0, 0);
}

void splitAndJoin(Fuzz::Input& input, int textures) {
    std::vector<Raw::AllocatedMemory> parts(static_cast<std::size_t>(textures));
    std::vector<Raw::ResizableMemoryRegion*> destinations;
    for (Raw::AllocatedMemory& part : parts) {
        destinations.push_back(&part);
    }
    Raw::vxfSplit(destinations.data(), textures, input.region(), input.configuration());
    Raw::AllocatedMemory joined;
    MemoryRegion* sources[] = {input.region(), input.region()};
    Raw::vxfJoin(&joined, sources, 2, input.configuration());
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzz::Input input(data, size);
    Raw::VxfManipulator file;
    file.readFrom(input.region());
    if (!isSmall(file)) {
        return 0;
    }
    const int textures = file.getNumberOfTextures();
    for (int index = 0; index < std::min(textures, kMostTextures); ++index) {
        convertTexture(input, index);
        captureTexture(input, index);
    }
    splitAndJoin(input, textures);
    return 0;
}
