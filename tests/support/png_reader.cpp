#include "support/png_reader.h"

#include <png.h>

namespace TestSupport {

bool readPng(const std::string& name, PngPicture* picture) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, name.c_str()) == 0) {
        return false;
    }
    image.format = PNG_FORMAT_RGBA;
    picture->m_width = image.width;
    picture->m_height = image.height;
    picture->m_texels.resize(PNG_IMAGE_SIZE(image));
    return png_image_finish_read(&image, nullptr, picture->m_texels.data(), 0, nullptr) != 0;
}

} // namespace TestSupport
