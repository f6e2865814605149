// Prints one texel of a .vxf file's largest mip as four floats: red, green, blue and alpha, of any format.
#include <qor/texsmith/texsmith.h>

#include <cstdio>

using namespace qor;
using namespace qor::Texsmith;

// texel_value TEXTURE.vxf X Y
int main(int argc, char** argv) {
    unsigned x = 0, y = 0;
    if (argc != 4 || std::sscanf(argv[2], "%u", &x) != 1 || std::sscanf(argv[3], "%u", &y) != 1) {
        std::fprintf(stderr, "usage: texel_value TEXTURE.vxf X Y\n");
        return 2;
    }
    Configuration configuration;
    Raw::MemoryMappedImage image, floats;
    if (Raw::loadWithResult(&image, argv[1], &configuration, 0) != Raw::kErrorNone) {
        return 1; // reports were printed
    }
    const Raw::SurfaceIndex first;
    const Raw::AsSurfaceElementProvider largestMip(&image, &first);
    Raw::reallocate(&floats, &largestMip, Vex::kDataFormatR32G32B32A32Float);
    if (Raw::reformat(&largestMip, &floats, &configuration) != Raw::kErrorNone) {
        return 1;
    }
    if (x >= floats.getPixelsWide(0) || y >= floats.getPixelsTall(0)) {
        std::fprintf(stderr, "the texture is %u x %u\n", floats.getPixelsWide(0), floats.getPixelsTall(0));
        return 1;
    }
    Raw::VectorFloat texel;
    floats.getElement(&first, &texel, x, y);
    std::printf("%g %g %g %g\n", texel[0], texel[1], texel[2], texel[3]);
    return 0;
}
