// The classic interface: a picture as planes of floats, made half as large and compressed into a texture.
#include <qor/texsmith/texsmith.h>

#include <cmath>
#include <cstdio>
#include <vector>

using namespace qor;
using namespace qor::Texsmith;

// classic_picture TEXTURE.vxf
int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: classic_picture TEXTURE.vxf\n");
        return 2;
    }
    Image picture(256, 256, 3);
    std::vector<float> row(256);
    for (unsigned plane = 0; plane < 3; ++plane) {
        for (unsigned y = 0; y < 256; ++y) {
            for (unsigned x = 0; x < 256; ++x) {
                row[x] = 0.5f + 0.5f * std::sin(static_cast<float>((plane + 1) * x + y) / 40.0f);
            }
            picture.setScanline(row.data(), 256, y, plane);
        }
    }
    Image half(128, 128, 3);
    ImageHelper::resizeImage(picture, &half, Filters::LanczosFilter());
    Raw::ThreadpoolJobManager manager;
    writeImage2VxfFile(argv[1], &half, Vex::kDataFormatBc1UnormNoAlpha, nullptr, &manager);
    return 0;
}
