#include "fuzz_target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qor;
    using namespace qor::Texsmith;
    Fuzz::Input input(data, size);
    const int textures = Raw::vxfGetNumberOfTextures(input.region(), input.configuration());
    for (int index = 0; index < textures && index < 3; ++index) {
        Raw::VxfManipulator manipulator;
        manipulator.readFrom(input.region());
        const Vex::Texture* texture = manipulator.getTextureInFile(index);
        std::uint64_t bytes = 0;
        unsigned alignment = 0;
        if (texture == nullptr ||
            GpuAddress::computeTotalTiledTextureSize(&bytes, &alignment, texture) !=
                GpuAddress::kStatusSuccess ||
            bytes > Fuzz::kMostTexels * 16) {
            continue;
        }
        Raw::AllocatedMemory memory, file;
        Raw::ReallocatableImage image(&memory);
        Raw::convertFromVxf(input.region(), &image, input.configuration(), index);
        Raw::convertToVxf(&image, &file, input.configuration());
        Raw::Texture inFile = {};
        static_cast<Vex::Texture&>(inFile) = *texture;
        inFile.m_memoryRegion = manipulator.getTexelsInFile(index);
        const Raw::TextureElementProvider provider(&inFile);
        const Raw::SurfaceIndex surface;
        Raw::Tile tile = {};
        provider.getTile(&surface, &tile, 0, 0);
    }
    return 0;
}
