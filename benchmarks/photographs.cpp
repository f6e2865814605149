#include "photographs.h"

#include "support/png_reader.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace Bench {
namespace {

std::filesystem::path corpusPath(const char* part) {
    const char* corpus = std::getenv("TEXSMITH_CORPUS");
    return std::filesystem::path(corpus != nullptr ? corpus : TEXSMITH_SOURCE_DIR "/../shared/corpus") / part;
}

void addBlocks(const TestSupport::PngPicture& picture, PhotographBlocks* blocks) {
    for (unsigned y = 0; y + 4 <= picture.m_height; y += 4) {
        for (unsigned x = 0; x + 4 <= picture.m_width; x += 4) {
            for (unsigned row = 0; row < 4; ++row) {
                const std::size_t offset = 4 * (std::size_t(picture.m_width) * (y + row) + x);
                const std::uint8_t* bytes = &picture.m_texels[offset];
                blocks->m_bytes.insert(blocks->m_bytes.end(), bytes, bytes + 16);
            }
            ++blocks->m_count;
        }
    }
}

} // namespace

PhotographBlocks loadPhotographBlocks() {
    PhotographBlocks blocks;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(corpusPath("photos"), error)) {
        TestSupport::PngPicture picture;
        if (entry.path().extension() == ".png" && TestSupport::readPng(entry.path().string(), &picture)) {
            addBlocks(picture, &blocks);
        }
    }
    for (std::size_t i = 0; i < blocks.m_bytes.size(); i += 4) {
        const auto channel = [&](std::size_t k) {
            return static_cast<float>(blocks.m_bytes[i + k]) / 255.0f;
        };
        blocks.m_texels.push_back({channel(0), channel(1), channel(2), channel(3)});
    }
    return blocks;
}

std::vector<std::uint8_t> loadDdsBlocks(const std::string& name) {
    constexpr std::ptrdiff_t kHeaders = 148;
    std::ifstream stream(corpusPath("dds") / name, std::ios::binary);
    const std::vector<std::uint8_t> file(std::istreambuf_iterator<char>(stream), {});
    return file.size() > kHeaders ? std::vector<std::uint8_t>(file.begin() + kHeaders, file.end())
                                  : std::vector<std::uint8_t>();
}

} // namespace Bench
