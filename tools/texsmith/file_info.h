// What a file holds.
#pragma once

#include "qor/vex/texture.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Tool {

struct TextureInfo {
    qor::Vex::Texture m_texture;
    std::string m_tileMode;
    std::uint64_t m_bytes;
};

struct ChunkInfo {
    std::string m_type; // four characters
    std::uint64_t m_bytes;
};

struct FileInfo {
    std::string m_name;
    std::string m_type; // in capitals, without a dot
    std::uint64_t m_bytes = 0;
    std::vector<TextureInfo> m_textures;
    std::vector<ChunkInfo> m_chunks;
};

// Loads the file; `type` is what the standard input holds. Throws Failure for one that cannot be read whole.
FileInfo readFileInfo(const std::string& name, const std::string& type);

// The first name of the format, or its word in hexadecimal.
std::string formatName(qor::Vex::DataFormat format);

} // namespace Tool
