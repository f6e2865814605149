// The stored texels of a texture as text, which a page carries.
#pragma once

#include "qor/texsmith/raw/image.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Tool {

// The bytes of one mip of one face of one slice: all its depths and samples, as they are stored.
struct TexelPiece {
    unsigned m_slice, m_face, m_mip;
    bool m_isDeflated; // in the format of zlib (RFC 1950)
    std::string m_base64;
};

// The smallest mips come first.
struct PageTexels {
    std::vector<TexelPiece> m_pieces;
    unsigned m_firstMip = 0;    // the largest that is there; the number of mips where none is
    std::uint64_t m_length = 0; // of all texts
    std::uint64_t m_needed = 0; // with the next larger mip they would have at most so many; 0 where all fit

    void dropLarger(unsigned firstMip);
};

// As many mips, from the smallest one on, as have texts of no more than `limit` characters.
PageTexels packTexels(const qor::Texsmith::Raw::Image& image, std::uint64_t limit);

std::string toBase64(const std::uint8_t* bytes, std::size_t count);

} // namespace Tool
