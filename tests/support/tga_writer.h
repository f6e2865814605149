// Builds TGA files step by step: set the header's fields, then add pixels or packets in the file's order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace TestSupport {

using Bytes = std::vector<std::uint8_t>;

// A kind of picture that is loaded, and what it is loaded as.
struct TgaKind {
    std::uint8_t m_type;
    std::uint8_t m_pixelBits;
    std::uint8_t m_entryBits; // 0: without a map
    std::uint32_t m_format;
    std::size_t m_elementBytes;
};

inline constexpr TgaKind kTgaKinds[] = {
    {1, 8, 16, 0xF2E011, 2},  {1, 8, 24, 0x32E00A, 4}, {1, 8, 32, 0xF2E00A, 4}, {1, 16, 24, 0x32E00A, 4},
    {1, 16, 32, 0xF2E00A, 4}, {2, 16, 0, 0xF2E011, 2}, {2, 24, 0, 0x32E00A, 4}, {2, 32, 0, 0xF2E00A, 4},
    {3, 8, 0, 0x324001, 1},   {3, 16, 0, 0x324002, 2}, {3, 32, 0, 0x324004, 4},
};

class TgaWriter {
public:
    std::uint8_t m_type = 2;
    std::uint8_t m_pixelBits = 32;
    std::uint8_t m_descriptor = 0x20;
    unsigned m_width = 1;
    unsigned m_height = 1;
    std::string m_id;
    unsigned m_firstEntry = 0;
    std::uint8_t m_entryBits = 0;
    Bytes m_map;

    void addPixel(const Bytes& pixel) { m_data.insert(m_data.end(), pixel.begin(), pixel.end()); }
    void addRun(unsigned count, const Bytes& pixel) {
        m_data.push_back(static_cast<std::uint8_t>(0x80 | (count - 1)));
        addPixel(pixel);
    }
    void addLiteral(const std::vector<Bytes>& pixels) {
        m_data.push_back(static_cast<std::uint8_t>(pixels.size() - 1));
        for (const Bytes& pixel : pixels) {
            addPixel(pixel);
        }
    }

    Bytes file() const {
        Bytes bytes = {static_cast<std::uint8_t>(m_id.size()), m_entryBits != 0, m_type};
        addWord(&bytes, m_firstEntry);
        addWord(&bytes, m_entryBits != 0 ? static_cast<unsigned>(m_map.size() * 8 / m_entryBits) : 0);
        bytes.push_back(m_entryBits);
        bytes.insert(bytes.end(), 4, 0);
        addWord(&bytes, m_width);
        addWord(&bytes, m_height);
        bytes.push_back(m_pixelBits);
        bytes.push_back(m_descriptor);
        bytes.insert(bytes.end(), m_id.begin(), m_id.end());
        bytes.insert(bytes.end(), m_map.begin(), m_map.end());
        bytes.insert(bytes.end(), m_data.begin(), m_data.end());
        return bytes;
    }

private:
    static void addWord(Bytes* bytes, unsigned value) {
        bytes->push_back(static_cast<std::uint8_t>(value & 0xFF));
        bytes->push_back(static_cast<std::uint8_t>(value >> 8));
    }

    Bytes m_data;
};

// A picture of random runs and literals, some of which cross rows, and its pixels in the file's order.
struct TgaPicture {
    static constexpr unsigned kMapEntries = 20;
    static constexpr unsigned kFirstEntry = 3;

    TgaWriter m_writer;
    std::vector<Bytes> m_pixels;
    std::size_t m_surplusBytes = 0; // at the end of the file, behind the last pixel of the picture

    TgaPicture(const TgaKind& kind, bool isRunLength, std::uint8_t descriptor, unsigned width,
               unsigned height) {
        m_writer.m_type = static_cast<std::uint8_t>(kind.m_type + (isRunLength ? 8 : 0));
        m_writer.m_pixelBits = kind.m_pixelBits;
        m_writer.m_descriptor = descriptor;
        m_writer.m_width = width;
        m_writer.m_height = height;
        m_writer.m_id = "id";
        m_writer.m_entryBits = kind.m_entryBits;
        m_writer.m_firstEntry = kind.m_entryBits != 0 ? kFirstEntry : 0;
        m_writer.m_map = randomBytes(kMapEntries * kind.m_entryBits / 8);
        while (m_pixels.size() < width * height) {
            addPacket(kind, isRunLength, width * height - m_pixels.size());
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
            pixel[0] = static_cast<std::uint8_t>(m_random() % (kMapEntries + 2 * kFirstEntry));
            pixel.resize(1);
            pixel.resize(kind.m_pixelBits / 8);
        }
        return pixel;
    }
    void addPacket(const TgaKind& kind, bool isRunLength, std::size_t left) {
        const std::size_t count = m_random() % 23 + 1;
        const bool isRun = m_random() % 2 == 0;
        std::vector<Bytes> packet(count, randomPixel(kind));
        for (Bytes& pixel : packet) {
            pixel = isRun ? packet[0] : randomPixel(kind);
        }
        if (isRunLength && isRun) {
            m_writer.addRun(static_cast<unsigned>(count), packet[0]);
        } else if (isRunLength) {
            m_writer.addLiteral(packet);
            m_surplusBytes = count > left ? (count - left) * kind.m_pixelBits / 8 : 0;
        }
        packet.resize(count < left ? count : left); // the last packet may run past the picture's end
        for (const Bytes& pixel : packet) {
            if (!isRunLength) {
                m_writer.addPixel(pixel);
            }
            m_pixels.push_back(pixel);
        }
    }

    std::minstd_rand m_random;
};

} // namespace TestSupport
