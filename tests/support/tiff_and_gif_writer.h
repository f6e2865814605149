// TIFF and GIF files of many kinds without a library: nothing is compressed, and samples are told by a
// function.
#pragma once

#include "support/tga_writer.h"

#include <functional>

namespace TestSupport {

inline void putLittle(Bytes& bytes, std::uint32_t value, unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
        bytes.push_back(static_cast<std::uint8_t>(value >> 8 * i & 255));
    }
}

// Pages that differ in nothing but what the function makes of the page's number.
struct TiffWriter {
    enum class Order { kStrips, kTiles, kPlanes };
    unsigned m_width, m_height, m_photometric, m_bits, m_samples;
    bool m_isFloat, m_hasAlpha;
    Order m_order;
    std::function<std::uint32_t(unsigned x, unsigned y, unsigned channel)> m_sample;
    std::vector<std::uint16_t> m_palette{};
    unsigned m_pages = 1;

    static constexpr unsigned kTile = 16, kRowsPerStrip = 5;

    Bytes file() const {
        Bytes file{'I', 'I', 42, 0};
        std::size_t link = file.size();
        putLittle(file, 0, 4);
        for (unsigned page = 0; page < m_pages; ++page) {
            addPage(file, page, &link);
        }
        return file;
    }

private:
    using Values = std::vector<std::uint32_t>;

    Bytes segment(unsigned page, unsigned left, unsigned top, unsigned wide, unsigned tall, int plane) const {
        Bytes bytes;
        for (unsigned y = top; y < top + tall; ++y) {
            unsigned filled = 8; // bits of the last byte
            for (unsigned x = left; x < left + wide; ++x) {
                for (unsigned c = plane < 0 ? 0u : unsigned(plane); c < (plane < 0 ? m_samples : plane + 1u);
                     ++c) {
                    const std::uint32_t value = m_sample(x + page, y, c);
                    if (m_bits >= 8) {
                        putLittle(bytes, value, m_bits / 8);
                        continue;
                    }
                    if (filled == 8) {
                        bytes.push_back(0);
                        filled = 0;
                    }
                    filled += m_bits;
                    bytes.back() = static_cast<std::uint8_t>(bytes.back() | value << (8 - filled));
                }
            }
        }
        return bytes;
    }
    void addPage(Bytes& file, unsigned page, std::size_t* link) const {
        const bool isTiled = m_order == Order::kTiles, isApart = m_order == Order::kPlanes;
        const unsigned wide = isTiled ? kTile : m_width, tall = isTiled ? kTile : kRowsPerStrip;
        Values offsets, counts;
        for (unsigned plane = 0; plane < (isApart ? m_samples : 1); ++plane) {
            for (unsigned y = 0; y < m_height; y += tall) {
                for (unsigned x = 0; x < m_width; x += wide) {
                    const Bytes bytes =
                        segment(page, x, y, wide, isTiled ? tall : std::min(tall, m_height - y),
                                isApart ? int(plane) : -1);
                    offsets.push_back(static_cast<std::uint32_t>(file.size()));
                    counts.push_back(static_cast<std::uint32_t>(bytes.size()));
                    file.insert(file.end(), bytes.begin(), bytes.end());
                }
            }
        }
        std::vector<std::pair<unsigned, Values>> tags{{256, {m_width}},
                                                      {257, {m_height}},
                                                      {258, Values(m_samples, m_bits)},
                                                      {259, {1}},
                                                      {262, {m_photometric}}};
        const auto add = [&](unsigned tag, Values values) { tags.emplace_back(tag, std::move(values)); };
        if (!isTiled) {
            add(273, offsets);
        }
        add(277, {m_samples});
        if (!isTiled) {
            add(278, {tall});
            add(279, counts);
        }
        add(284, {isApart ? 2u : 1u});
        if (!m_palette.empty()) {
            add(320, Values(m_palette.begin(), m_palette.end()));
        }
        if (isTiled) {
            add(322, {wide});
            add(323, {tall});
            add(324, offsets);
            add(325, counts);
        }
        if (m_hasAlpha) {
            add(338, {2});
        }
        add(339, Values(m_samples, m_isFloat ? 3 : 1));
        addDirectory(file, tags, link);
    }
    // Values are words of 16 bits but for places and lengths; those that do not fit into an entry stand
    // before.
    static void addDirectory(Bytes& file, const std::vector<std::pair<unsigned, Values>>& tags,
                             std::size_t* link) {
        Bytes directory;
        putLittle(directory, static_cast<std::uint32_t>(tags.size()), 2);
        for (const auto& [tag, values] : tags) {
            const bool isLong = tag == 273 || tag == 279 || tag == 324 || tag == 325;
            putLittle(directory, tag, 2);
            putLittle(directory, isLong ? 4 : 3, 2);
            putLittle(directory, static_cast<std::uint32_t>(values.size()), 4);
            Bytes stored;
            for (const std::uint32_t value : values) {
                putLittle(stored, value, isLong ? 4 : 2);
            }
            if (stored.size() > 4) {
                file.resize((file.size() + 1) & ~std::size_t{1});
                putLittle(directory, static_cast<std::uint32_t>(file.size()), 4);
                file.insert(file.end(), stored.begin(), stored.end());
            } else {
                stored.resize(4);
                directory.insert(directory.end(), stored.begin(), stored.end());
            }
        }
        file.resize((file.size() + 1) & ~std::size_t{1});
        for (unsigned i = 0; i < 4; ++i) {
            file[*link + i] = static_cast<std::uint8_t>(file.size() >> 8 * i & 255);
        }
        *link = file.size() + directory.size();
        putLittle(directory, 0, 4);
        file.insert(file.end(), directory.begin(), directory.end());
    }
};

// Images in rectangles of their own, in the colours of one palette.
struct GifWriter {
    struct Image {
        unsigned m_width, m_height;
        bool m_isInterlaced;
        int m_transparent; // -1 for none
    };
    std::vector<Image> m_images;
    std::function<unsigned(unsigned x, unsigned y)> m_index;
    Bytes m_palette; // 256 times R, G, B

    Bytes file() const {
        Bytes file{'G', 'I', 'F', '8', '9', 'a'};
        putLittle(file, 64, 2);
        putLittle(file, 64, 2);
        file.insert(file.end(), {0xF7, 0, 0}); // with a palette of 256
        file.insert(file.end(), m_palette.begin(), m_palette.end());
        for (const Image& image : m_images) {
            if (image.m_transparent >= 0) {
                file.insert(file.end(), {0x21, 0xF9, 4, 1, 0, 0, std::uint8_t(image.m_transparent), 0});
            }
            file.push_back(0x2C);
            putLittle(file, 0, 4);
            putLittle(file, image.m_width, 2);
            putLittle(file, image.m_height, 2);
            file.push_back(image.m_isInterlaced ? 0x40 : 0);
            addPixels(file, image);
        }
        file.push_back(0x3B);
        return file;
    }

private:
    // Codes of nine bits, with a clear code before the tables would want more.
    void addPixels(Bytes& file, const Image& image) const {
        std::vector<unsigned> codes;
        const unsigned starts[] = {0, 4, 2, 1}, steps[] = {8, 8, 4, 2};
        for (unsigned pass = 0; pass < (image.m_isInterlaced ? 4 : 1); ++pass) {
            for (unsigned y = image.m_isInterlaced ? starts[pass] : 0; y < image.m_height;
                 y += image.m_isInterlaced ? steps[pass] : 1) {
                for (unsigned x = 0; x < image.m_width; ++x) {
                    if (codes.size() % 200 == 0) {
                        codes.push_back(256);
                    }
                    codes.push_back(m_index(x, y));
                }
            }
        }
        codes.push_back(257);
        Bytes bytes;
        unsigned held = 0, bits = 0;
        for (const unsigned code : codes) {
            held |= code << bits;
            for (bits += 9; bits >= 8; bits -= 8, held >>= 8) {
                bytes.push_back(static_cast<std::uint8_t>(held & 255));
            }
        }
        bytes.push_back(static_cast<std::uint8_t>(held & 255));
        file.push_back(8);
        for (std::size_t at = 0; at < bytes.size(); at += 255) {
            const std::size_t count = std::min<std::size_t>(255, bytes.size() - at);
            file.push_back(static_cast<std::uint8_t>(count));
            file.insert(file.end(), bytes.begin() + std::ptrdiff_t(at),
                        bytes.begin() + std::ptrdiff_t(at + count));
        }
        file.push_back(0);
    }
};

} // namespace TestSupport
