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
    std::string m_transfer, m_transferSource; // what its numbers mean, and what says so; empty: nothing does
    bool m_isCut = false; // the headers end early or are wrong: what is told may be less than all
};

// Reads its headers; `type` is what the standard input holds. Throws Failure for one whose headers do not
// tell its size.
FileInfo readFileInfo(const std::string& name, const std::string& type);

// The first name of the format; "R8G8B8A8Unorm without alpha" for one without a name that differs by that
// alone; else its word in hexadecimal.
std::string formatName(qor::Vex::DataFormat format);

} // namespace Tool
