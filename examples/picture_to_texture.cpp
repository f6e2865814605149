// Makes a texture of a picture: loads it, adds its chain of mips, compresses all of them to BC7, and writes a
// .vxf file.
#include <qor/texsmith/texsmith.h>

#include <cstdio>

using namespace qor;
using namespace qor::Texsmith;

namespace {

Raw::Error makeTexture(const char* picture, const char* texture) {
    Configuration configuration;
    configuration.m_textureChannelType = Vex::kTextureChannelTypeSrgb; // what the bytes of a PNG file are
    Raw::MemoryMappedImage image, chain, compressed;
    Raw::Error error = Raw::loadWithResult(&image, picture, &configuration, 0);
    if (error != Raw::kErrorNone) {
        return error;
    }
    // The chain is made before it is compressed, so that no mip gathers the losses of those above it.
    if (Raw::makeMipMaps(&image, &chain, image.getDataFormat(), &configuration) != Raw::kErrorNone) {
        return Raw::kErrorFailed;
    }
    Raw::reallocate(&compressed, &chain, Vex::kDataFormatBc7UnormSrgb);
    error = Raw::reformat(&chain, &compressed, &configuration);
    return error == Raw::kErrorNone ? Raw::saveWithResult(&compressed, texture, &configuration) : error;
}

} // namespace

// picture_to_texture PICTURE.png TEXTURE.vxf
int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: picture_to_texture PICTURE.png TEXTURE.vxf\n");
        return 2;
    }
    return makeTexture(argv[1], argv[2]) == Raw::kErrorNone ? 0 : 1; // reports were printed
}
