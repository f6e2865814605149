// A surface of a program's own: its texels are computed when they are asked for. It is turned into a texture
// and measured like any picture.
#include <qor/texsmith/texsmith.h>

#include <cstdio>

using namespace qor;
using namespace qor::Texsmith;

namespace {

// Rings of red and green around a corner, as four floats a texel.
class Rings : public Raw::ElementProvider {
public:
    explicit Rings(unsigned size) { setupAsTwoDimensional(Vex::kDataFormatR32G32B32A32Float, size, size); }

private:
    void doGetElement(const Raw::SurfaceIndex*, Raw::VectorFloat* element, unsigned x,
                      unsigned y) const override {
        const float distance = static_cast<float>(x * x + y * y);
        *element = {{distance / (distance + 4096.0f), (x ^ y) % 16 < 8 ? 1.0f : 0.25f, 0.0f, 1.0f}};
    }
    void doPutElement(const Raw::SurfaceIndex*, const Raw::VectorFloat*, unsigned, unsigned) const override {}
};

} // namespace

// procedural_surface TEXTURE.vxf
int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: procedural_surface TEXTURE.vxf\n");
        return 2;
    }
    Configuration configuration;
    const Rings rings(256);
    Raw::MinMaxMean measured;
    Raw::MemoryMappedImage texture;
    Raw::reallocate(&texture, &rings, Vex::kDataFormatBc1UnormNoAlpha);
    if (Raw::getMinMaxMean(&rings, &measured, &configuration) != Raw::kErrorNone ||
        Raw::reformat(&rings, &texture, &configuration) != Raw::kErrorNone ||
        Raw::saveWithResult(&texture, argv[1], &configuration) != Raw::kErrorNone) {
        return 1; // reports were printed
    }
    std::printf("red from %g to %g\n", measured.min[0], measured.max[0]);
    return 0;
}
