// The texels of photographs as 4 x 4 blocks.
#pragma once

#include "qor/texsmith/raw/vector_math.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Bench {

// One block after the other, texels in row order. Bytes and the same as floats.
struct PhotographBlocks {
    std::vector<std::uint8_t> m_bytes; // 64 a block
    std::vector<qor::Texsmith::ColorRGBA32F> m_texels;
    unsigned m_count = 0;
};

// Of all PNG photographs of the corpus, cut to whole blocks. Empty where there is none.
PhotographBlocks loadPhotographBlocks();

// The stored blocks of all mips of a DDS file with the extended header. Empty where there is no such file.
std::vector<std::uint8_t> loadDdsBlocks(const std::string& name);

} // namespace Bench
