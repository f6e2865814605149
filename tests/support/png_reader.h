// Reads reference pictures.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace TestSupport {

// R, G, B, A bytes, top row first.
struct PngPicture {
    unsigned m_width = 0;
    unsigned m_height = 0;
    std::vector<std::uint8_t> m_texels;
};

// False for a file that cannot be read.
bool readPng(const std::string& name, PngPicture* picture);

} // namespace TestSupport
