#include "raw/files/tga_decode.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <type_traits>

namespace qor::Texsmith::Raw {
namespace {

static_assert(std::endian::native == std::endian::little, "indices and elements are taken as they lie");

template <unsigned kBytes>
using Word =
    std::conditional_t<kBytes == 1, std::uint8_t,
                       std::conditional_t<kBytes == 2, std::uint16_t,
                                          std::conditional_t<kBytes == 4, std::uint32_t, std::uint64_t>>>;

// Turns one pixel of the file into an element, by constant sizes.
template <unsigned kElement, unsigned kPixel, unsigned kEntry, bool kMapped> class Reader {
public:
    using Element = Word<kElement>;
    static constexpr TgaLayout kLayout{kElement, kPixel, kEntry, kMapped};
    static constexpr unsigned kElementBytes = kElement;
    static constexpr unsigned kPixelBytes = kPixel;
    static constexpr bool kIsCopy = !kMapped && kElement == kPixel;

    explicit Reader(const TgaPixels& source)
        : m_map(source.m_map.begin), m_firstEntry(source.m_firstMapEntry),
          m_entries(source.m_map.length() / kEntry) {}

    Element read(const std::uint8_t* pixel) const {
        if constexpr (kMapped) {
            return lookUp(load<kPixel>(pixel));
        } else {
            return load<kPixel>(pixel);
        }
    }

    // For a pixel with another behind it, into which a load of the element's size may reach.
    Element readFollowed(const std::uint8_t* pixel) const {
        if constexpr (!kMapped && kPixel < kElement) {
            return load<kElement>(pixel) & static_cast<Element>((std::uint64_t{1} << kPixel * 8) - 1);
        } else {
            return read(pixel);
        }
    }

private:
    // In powers of two, since bytes gathered on the stack are slow to come back as one word.
    template <unsigned kBytes> static auto load(const std::uint8_t* from) {
        if constexpr (std::has_single_bit(kBytes)) {
            Word<kBytes> value;
            std::memcpy(&value, from, kBytes);
            return value;
        } else {
            constexpr unsigned kFront = std::bit_floor(kBytes);
            const Word<kFront* 2> back = load<kBytes - kFront>(from + kFront);
            return static_cast<Word<kFront * 2>>(load<kFront>(from) | back << kFront * 8);
        }
    }

    Element lookUp(unsigned pixel) const {
        const unsigned entry = pixel - m_firstEntry; // a pixel below the first entry wraps round
        return entry < m_entries ? load<kEntry>(m_map + std::size_t(entry) * kEntry) : Element(0);
    }

    const std::uint8_t* m_map;
    unsigned m_firstEntry;
    std::uint64_t m_entries;
};

// Writes elements in the order of the file. Work goes in pieces of one row, and inside a piece nothing asks
// about order, size or the end of the data.
template <typename PixelReader, unsigned kOrder> class Writer {
public:
    using Element = typename PixelReader::Element;

    Writer(std::uint8_t* elements, const TgaPixels& source)
        : m_reader(source), m_elements(elements), m_at(source.m_pixels.begin), m_end(source.m_pixels.end),
          m_width(source.m_width), m_left(std::uint64_t(source.m_width) * source.m_height),
          m_row(kTopDown || source.m_height == 0 ? 0 : source.m_height - 1) {}

    std::uint64_t left() const { return m_left; }

    // Takes as many of the next `count` pixels as the file has. True when it had all.
    bool putPixels(std::uint64_t count) {
        const std::uint64_t available = std::min(count, bytesLeft() / PixelReader::kPixelBytes);
        put(available, [this](std::uint8_t* to, std::size_t pixels) { putPiece(to, pixels); });
        return available == count;
    }

    void putPackets() {
        bool more = true;
        while (more && m_left > 0 && bytesLeft() > 0) {
            const unsigned code = *m_at++;
            const std::uint64_t count = std::min<std::uint64_t>((code & 127) + 1, m_left);
            more = code < 128 ? putPixels(count) : putRepeated(count);
        }
    }

    void putZeros() { putRun(0, m_left); }

private:
    static constexpr bool kTopDown = (kOrder & kTgaTopDown) != 0;
    static constexpr bool kRightToLeft = (kOrder & kTgaRightToLeft) != 0;
    static constexpr std::ptrdiff_t kBytes = PixelReader::kElementBytes;
    static constexpr std::ptrdiff_t kStep = kRightToLeft ? -kBytes : kBytes;

    std::uint64_t bytesLeft() const { return static_cast<std::uint64_t>(m_end - m_at); }

    std::uint8_t* nextElement() const {
        const unsigned column = kRightToLeft ? m_width - 1 - m_column : m_column;
        return m_elements + (std::size_t(m_row) * m_width + column) * kBytes;
    }

    void advance(unsigned count) {
        m_left -= count;
        m_column += count;
        if (m_column == m_width) {
            m_column = 0;
            m_row += kTopDown ? 1u : ~0u; // one past the last row is never addressed
        }
    }

    // Calls piece(first element, count) for each row that the next `count` elements lie in.
    template <typename Piece> void put(std::uint64_t count, Piece piece) {
        while (count > 0) {
            const auto inRow = static_cast<unsigned>(std::min<std::uint64_t>(count, m_width - m_column));
            piece(nextElement(), inRow);
            advance(inRow);
            count -= inRow;
        }
    }

    static void putElement(std::uint8_t* to, Element element) { std::memcpy(to, &element, kBytes); }

    // At least one pixel.
    void putPiece(std::uint8_t* to, std::size_t pixels) {
        if constexpr (PixelReader::kIsCopy && !kRightToLeft) {
            std::memcpy(to, m_at, pixels * PixelReader::kPixelBytes);
        } else {
            const std::uint8_t* from = m_at;
            for (std::size_t i = 1; i < pixels; ++i) {
                putElement(to, m_reader.readFollowed(from));
                from += PixelReader::kPixelBytes;
                to += kStep;
            }
            putElement(to, m_reader.read(from));
        }
        m_at += pixels * PixelReader::kPixelBytes;
    }

    bool putRepeated(std::uint64_t count) {
        if (bytesLeft() < PixelReader::kPixelBytes) {
            return false;
        }
        putRun(m_reader.read(m_at), count);
        m_at += PixelReader::kPixelBytes;
        return true;
    }

    void putRun(Element element, std::uint64_t count) {
        put(count, [element](std::uint8_t* to, std::size_t elements) {
            std::uint8_t* first = kRightToLeft ? to - (elements - 1) * kBytes : to;
            for (std::size_t i = 0; i < elements; ++i) {
                putElement(first + i * kBytes, element);
            }
        });
    }

    PixelReader m_reader;
    std::uint8_t* m_elements;
    const std::uint8_t* m_at;
    const std::uint8_t* m_end;
    unsigned m_width;
    std::uint64_t m_left; // elements not yet written
    unsigned m_row;
    unsigned m_column = 0; // in the file's order
};

template <typename PixelReader, unsigned kOrder>
std::uint64_t decode(std::uint8_t* elements, const TgaPixels& source) {
    Writer<PixelReader, kOrder> writer(elements, source);
    if (source.m_isRunLength) {
        writer.putPackets();
    } else {
        writer.putPixels(writer.left());
    }
    const std::uint64_t missing = writer.left();
    writer.putZeros();
    return missing;
}

struct DecoderRow {
    TgaLayout m_layout;
    TgaDecoder m_decoders[4]; // by order
};

template <typename PixelReader> constexpr DecoderRow makeRow() {
    return {
        PixelReader::kLayout,
        {&decode<PixelReader, 0>, &decode<PixelReader, 1>, &decode<PixelReader, 2>, &decode<PixelReader, 3>}};
}

// Element, pixel, map entry, mapped.
constexpr DecoderRow kDecoders[] = {
    makeRow<Reader<2, 1, 2, true>>(),  makeRow<Reader<4, 1, 3, true>>(),  makeRow<Reader<4, 1, 4, true>>(),
    makeRow<Reader<8, 1, 6, true>>(),  makeRow<Reader<8, 1, 8, true>>(),  makeRow<Reader<4, 2, 3, true>>(),
    makeRow<Reader<4, 2, 4, true>>(),  makeRow<Reader<8, 2, 6, true>>(),  makeRow<Reader<8, 2, 8, true>>(),
    makeRow<Reader<1, 1, 1, false>>(), makeRow<Reader<2, 2, 2, false>>(), makeRow<Reader<4, 3, 3, false>>(),
    makeRow<Reader<4, 4, 4, false>>(), makeRow<Reader<8, 6, 6, false>>(), makeRow<Reader<8, 8, 8, false>>(),
};
static_assert(std::size(kDecoders) == 15);

} // namespace

std::uint64_t countTgaPixels(const TgaPixels& source, unsigned pixelBytes) {
    const std::uint64_t most = std::uint64_t{source.m_width} * source.m_height;
    const std::uint64_t bytes = source.m_pixels.length();
    if (!source.m_isRunLength) {
        return std::min(most, bytes / pixelBytes);
    }
    std::uint64_t pixels = 0;
    for (std::uint64_t at = 0; at < bytes && pixels < most;) {
        const unsigned code = source.m_pixels.begin[at];
        const unsigned count = (code & 127) + 1;
        at += 1 + std::uint64_t{pixelBytes} * (code < 128 ? count : 1);
        pixels += at <= bytes ? count : 0;
    }
    return std::min(most, pixels);
}

TgaDecoder findTgaDecoder(const TgaLayout& layout, unsigned order) {
    const auto* row =
        std::find_if(std::begin(kDecoders), std::end(kDecoders),
                     [&layout](const DecoderRow& candidate) { return candidate.m_layout == layout; });
    return row != std::end(kDecoders) ? row->m_decoders[order & 3] : nullptr;
}

} // namespace qor::Texsmith::Raw
