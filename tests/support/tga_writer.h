// Builds TGA files step by step: set the header's fields, then add pixels or packets in the file's order.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace TestSupport {

using Bytes = std::vector<std::uint8_t>;

// A kind of picture that is loaded, and what it is loaded as.
struct TgaKind {
    unsigned m_type, m_pixelBits, m_entryBits; // no entry bits: no map
    std::uint32_t m_format;
    std::size_t m_elementBytes;
};
inline constexpr TgaKind kTgaKinds[] = {
    {1, 8, 16, 0xF2E011, 2},  {1, 8, 24, 0x32E00A, 4}, {1, 8, 32, 0xF2E00A, 4}, {1, 16, 24, 0x32E00A, 4},
    {1, 16, 32, 0xF2E00A, 4}, {2, 16, 0, 0xF2E011, 2}, {2, 24, 0, 0x32E00A, 4}, {2, 32, 0, 0xF2E00A, 4},
    {3, 8, 0, 0x324001, 1},   {3, 16, 0, 0x324002, 2}, {3, 32, 0, 0x324004, 4},
};

struct TgaWriter {
    unsigned m_type = 2, m_pixelBits = 32, m_descriptor = 0x20, m_entryBits = 0;
    unsigned m_width = 1, m_height = 1, m_firstEntry = 0;
    Bytes m_id{}, m_map{}, m_data{};

    void add(const Bytes& bytes) { m_data.insert(m_data.end(), bytes.begin(), bytes.end()); }
    void addPacket(unsigned code, const Bytes& bytes) {
        m_data.push_back(static_cast<std::uint8_t>(code));
        add(bytes);
    }
    Bytes file() const {
        Bytes file(18);
        const auto put = [&file](std::size_t at, std::size_t word) {
            file[at] = static_cast<std::uint8_t>(word & 0xFF);
            file[at + 1] = static_cast<std::uint8_t>(word >> 8);
        };
        put(0, m_id.size() | (m_entryBits != 0 ? 0x100u : 0u));
        put(2, m_type);
        put(3, m_firstEntry);
        put(5, m_entryBits != 0 ? m_map.size() * 8 / m_entryBits : 0);
        put(7, m_entryBits);
        put(12, m_width);
        put(14, m_height);
        put(16, m_pixelBits | m_descriptor * 0x100u);
        for (const Bytes* part : {&m_id, &m_map, &m_data}) {
            file.insert(file.end(), part->begin(), part->end());
        }
        return file;
    }
};

// A picture of random runs and literals, some of which cross rows, and its pixels in the file's order.
struct TgaPicture {
    static constexpr unsigned kMapEntries = 20, kFirstEntry = 3;

    TgaWriter m_writer;
    std::vector<Bytes> m_pixels;
    std::size_t m_surplusBytes = 0; // of the last packet, behind the last pixel of the picture

    TgaPicture(const TgaKind& kind, bool isRunLength, unsigned descriptor, unsigned width, unsigned height)
        : m_writer{isRunLength ? kind.m_type | 8u : kind.m_type, kind.m_pixelBits, descriptor,
                   kind.m_entryBits} {
        m_writer.m_width = width;
        m_writer.m_height = height;
        m_writer.m_firstEntry = kind.m_entryBits != 0 ? kFirstEntry : 0;
        m_writer.m_id = {'i', 'd'};
        m_writer.m_map = randomBytes(kMapEntries * kind.m_entryBits / 8);
        while (m_pixels.size() < width * height) {
            const std::size_t count = m_random() % 23 + 1, left = width * height - m_pixels.size();
            const bool isRun = m_random() % 2 == 0;
            const Bytes first = randomPixel(kind);
            Bytes literal;
            for (std::size_t i = 0; i < std::min(count, left); ++i) {
                m_pixels.push_back(isRun ? first : randomPixel(kind));
                literal.insert(literal.end(), m_pixels.back().begin(), m_pixels.back().end());
            }
            if (isRunLength) { // the last packet may run past the picture's end
                m_surplusBytes = isRun ? 0 : (count - std::min(count, left)) * first.size();
                literal.resize(literal.size() + m_surplusBytes);
                m_writer.addPacket(static_cast<unsigned>(count - 1) | (isRun ? 0x80u : 0u),
                                   isRun ? first : literal);
            } else {
                m_writer.add(literal);
            }
        }
    }

private:
    Bytes randomBytes(std::size_t count) {
        Bytes bytes(count);
        for (std::uint8_t& byte : bytes) {
            byte = static_cast<std::uint8_t>(m_random() % 255 + 1); // no zeros: those stand for missing
        }
        return bytes;
    }
    // Indices run past both ends of the map.
    Bytes randomPixel(const TgaKind& kind) {
        Bytes pixel = randomBytes(kind.m_pixelBits / 8);
        if (kind.m_entryBits != 0) {
            std::fill(pixel.begin(), pixel.end(), std::uint8_t{0});
            pixel[0] = static_cast<std::uint8_t>(m_random() % (kMapEntries + 2 * kFirstEntry));
        }
        return pixel;
    }
    std::minstd_rand m_random;
};

} // namespace TestSupport
