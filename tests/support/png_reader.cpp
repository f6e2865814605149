#include "support/png_reader.h"

#include <png.h>

#include <csetjmp>
#include <cstdio>

namespace TestSupport {
namespace {

// Apart from anything with a destructor, since errors jump.
bool readRows(png_structp reader, png_infop info, std::FILE* file, PngPicture* picture,
              std::vector<png_bytep>* rows) {
    if (setjmp(png_jmpbuf(reader)) != 0) {
        return false;
    }
    png_init_io(reader, file);
    png_read_info(reader, info);
    png_set_expand(reader);
    png_set_strip_16(reader);
    png_set_gray_to_rgb(reader);
    png_set_add_alpha(reader, 255, PNG_FILLER_AFTER);
    png_read_update_info(reader, info);
    picture->m_width = png_get_image_width(reader, info);
    picture->m_height = png_get_image_height(reader, info);
    picture->m_texels.resize(std::size_t(picture->m_height) * png_get_rowbytes(reader, info));
    for (unsigned y = 0; y < picture->m_height; ++y) {
        rows->push_back(picture->m_texels.data() + y * png_get_rowbytes(reader, info));
    }
    png_read_image(reader, rows->data());
    return png_get_rowbytes(reader, info) == std::size_t(picture->m_width) * 4;
}

} // namespace

bool readPng(const std::string& name, PngPicture* picture) {
    std::FILE* file = std::fopen(name.c_str(), "rb");
    if (file == nullptr) {
        return false;
    }
    png_structp reader = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(reader);
    std::vector<png_bytep> rows;
    const bool good = readRows(reader, info, file, picture, &rows);
    png_destroy_read_struct(&reader, &info, nullptr);
    std::fclose(file);
    return good;
}

} // namespace TestSupport
