// Prints one texel of a .vxf file as four floats: red, green, blue and alpha, of any format.
#include <qor/texsmith/texsmith.h>

#include <cstdio>
#include <cstdlib>

using namespace qor;
using namespace qor::Texsmith;

namespace {

// The largest mip as four floats a texel.
Raw::Error loadAsFloats(const char* file, Raw::MemoryMappedImage* floats) {
    Configuration configuration;
    Raw::MemoryMappedImage image;
    const Raw::Error error = Raw::loadWithResult(&image, file, &configuration, 0);
    if (error != Raw::kErrorNone) {
        return error;
    }
    const Raw::SurfaceIndex first;
    const Raw::AsSurfaceElementProvider largestMip(&image, &first);
    Raw::reallocate(floats, &largestMip, Vex::kDataFormatR32G32B32A32Float);
    return Raw::reformat(&largestMip, floats, &configuration);
}

} // namespace

// texel_value TEXTURE.vxf X Y
int main(int argc, char** argv) {
    Raw::MemoryMappedImage floats;
    if (argc != 4) {
        std::fprintf(stderr, "usage: texel_value TEXTURE.vxf X Y\n");
        return 2;
    }
    if (loadAsFloats(argv[1], &floats) != Raw::kErrorNone) {
        return 1; // reports were printed
    }
    const auto x = static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10));
    const auto y = static_cast<unsigned>(std::strtoul(argv[3], nullptr, 10));
    if (x >= floats.getPixelsWide(0) || y >= floats.getPixelsTall(0)) {
        std::fprintf(stderr, "the texture is %u x %u\n", floats.getPixelsWide(0), floats.getPixelsTall(0));
        return 1;
    }
    const Raw::SurfaceIndex first;
    Raw::VectorFloat texel;
    floats.getElement(&first, &texel, x, y);
    std::printf("%g %g %g %g\n", texel[0], texel[1], texel[2], texel[3]);
    return 0;
}
