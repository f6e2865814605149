// PNG files of any kind without a library: stored blocks, no filters, and samples that are told by a
// function.
#pragma once

#include "support/tga_writer.h"

#include <functional>
#include <utility>

namespace TestSupport {

inline void putWord(Bytes& bytes, std::uint32_t word) {
    for (unsigned shift = 32; shift != 0; shift -= 8) {
        bytes.push_back(static_cast<std::uint8_t>(word >> (shift - 8)));
    }
}

struct PngWriter {
    unsigned m_width, m_height, m_bits, m_colorType;
    bool m_isInterlaced;
    std::function<unsigned(unsigned x, unsigned y, unsigned channel)> m_sample;
    Bytes m_palette{}, m_transparency{};
    bool m_hasPixels = true;
    std::vector<std::pair<const char*, Bytes>> m_chunks{}; // before the palette

    unsigned channels() const {
        return m_colorType == 2 ? 3 : m_colorType == 6 ? 4 : m_colorType == 4 ? 2 : 1;
    }
    Bytes file() const {
        Bytes file{0x89, 'P', 'N', 'G', 13, 10, 26, 10}, header;
        putWord(header, m_width);
        putWord(header, m_height);
        for (const unsigned byte : {m_bits, m_colorType, 0u, 0u, unsigned(m_isInterlaced)}) {
            header.push_back(static_cast<std::uint8_t>(byte));
        }
        addChunk(file, "IHDR", header);
        for (const auto& [type, data] : m_chunks) {
            addChunk(file, type, data);
        }
        if (!m_palette.empty()) {
            addChunk(file, "PLTE", m_palette);
        }
        if (!m_transparency.empty()) {
            addChunk(file, "tRNS", m_transparency);
        }
        addChunk(file, "IDAT", stored(!m_hasPixels ? Bytes{} : m_isInterlaced ? passes() : rows(0, 0, 1, 1)));
        addChunk(file, "IEND", {});
        return file;
    }

private:
    static void addChunk(Bytes& file, const char* type, const Bytes& data) {
        putWord(file, static_cast<std::uint32_t>(data.size()));
        const std::size_t from = file.size();
        file.insert(file.end(), type, type + 4);
        file.insert(file.end(), data.begin(), data.end());
        std::uint32_t crc = ~0u;
        for (std::size_t i = from; i < file.size(); ++i) {
            crc ^= file[i];
            for (int bit = 0; bit < 8; ++bit) {
                crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320u : 0);
            }
        }
        putWord(file, ~crc);
    }
    static Bytes stored(const Bytes& data) { // of less than 64 KiB
        const auto count = static_cast<std::uint16_t>(data.size());
        Bytes stream{0x78, 1, 1, std::uint8_t(count & 0xFF), std::uint8_t(count >> 8)};
        stream.push_back(static_cast<std::uint8_t>(~stream[3]));
        stream.push_back(static_cast<std::uint8_t>(~stream[4]));
        stream.insert(stream.end(), data.begin(), data.end());
        std::uint32_t a = 1, b = 0;
        for (const std::uint8_t byte : data) {
            a = (a + byte) % 65521;
            b = (b + a) % 65521;
        }
        putWord(stream, b << 16 | a);
        return stream;
    }
    Bytes passes() const {
        constexpr unsigned kPasses[7][4] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                                            {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};
        Bytes all;
        for (const auto& pass : kPasses) {
            const Bytes bytes = rows(pass[0], pass[1], pass[2], pass[3]);
            all.insert(all.end(), bytes.begin(), bytes.end());
        }
        return all;
    }
    Bytes rows(unsigned left, unsigned top, unsigned across, unsigned down) const {
        Bytes all;
        for (unsigned y = top; y < m_height && left < m_width; y += down) {
            std::uint8_t filled = 8; // bits of the last byte
            all.push_back(0);        // no filter
            for (unsigned x = left; x < m_width; x += across) {
                for (unsigned channel = 0; channel < channels(); ++channel) {
                    addSample(all, filled, m_sample(x, y, channel));
                }
            }
        }
        return all;
    }
    void addSample(Bytes& bytes, std::uint8_t& filled, unsigned sample) const {
        for (unsigned bit = m_bits; bit-- > 0;) {
            if (filled == 8) {
                bytes.push_back(0);
                filled = 0;
            }
            bytes.back() = static_cast<std::uint8_t>(bytes.back() | (sample >> bit & 1) << (7 - filled++));
        }
    }
};

} // namespace TestSupport
