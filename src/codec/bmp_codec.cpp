// Reads and writes bitmaps of all kinds. Those of 24 and 32 bits that are plain and whole never come here.
#include "codec/codecs.h"
#include "qor/texsmith/raw/bithacks.h"
#include "qor/vex/data_formats.h"
#include "raw/files/bmp_layout.h"
#include "raw/files/flat_image.h"
#include "raw/files/widened_rows.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

static_assert(std::endian::native == std::endian::little, "elements are put together as words");

constexpr char kSourcePath[] = "codec\\bmp_codec";
constexpr FileKind kKind = {"BMP", kSourcePath};

constexpr Vex::DataFormat kBgrx = Vex::kDataFormatB8G8R8X8Unorm;
constexpr Vex::DataFormat kBgra = Vex::kDataFormatB8G8R8A8Unorm;

// The palette index at pixel `i`. Bits lie from the highest down.
template <unsigned kBits> unsigned indexAt(const std::uint8_t* bytes, std::uint64_t i) {
    const std::uint64_t bit = i * kBits;
    return bytes[bit / 8] >> (8 - kBits - bit % 8) & ((1u << kBits) - 1);
}

// ---- Rows

using ReadRow = void (*)(std::uint32_t* to, const std::uint8_t* from, std::size_t pixels,
                         const BmpLayout& layout);

template <unsigned kBits>
void readIndices(std::uint32_t* to, const std::uint8_t* from, std::size_t pixels, const BmpLayout& layout) {
    for (std::size_t i = 0; i < pixels; ++i) {
        to[i] = layout.m_palette[indexAt<kBits>(from, i)];
    }
}

template <unsigned kBytes>
void readWords(std::uint32_t* to, const std::uint8_t* from, std::size_t pixels, const BmpLayout& layout) {
    for (std::size_t i = 0; i < pixels; ++i, from += kBytes) {
        std::uint32_t word = 0;
        std::memcpy(&word, from, kBytes);
        std::uint32_t element = 0;
        for (unsigned channel = 0; channel < 4; ++channel) {
            element |= std::uint32_t(layout.m_fields[channel].toByte(word)) << 8 * channel;
        }
        to[i] = element;
    }
}

ReadRow rowReader(unsigned bits) {
    switch (bits) {
    case 1:
        return &readIndices<1>;
    case 4:
        return &readIndices<4>;
    case 8:
        return &readIndices<8>;
    case 16:
        return &readWords<2>;
    case 24:
        return &readWords<3>;
    default:
        return &readWords<4>;
    }
}

// The image's row for a row of the file, at first all zeros.
class Canvas {
public:
    Canvas(const BmpLayout& layout, MemoryRegion elements)
        : m_elements(reinterpret_cast<std::uint32_t*>(elements.begin)),
          m_width(static_cast<std::size_t>(layout.m_width)),
          m_height(static_cast<std::size_t>(layout.m_height)), m_isTopDown(layout.m_isTopDown) {
        std::memset(elements.begin, 0, static_cast<std::size_t>(elements.length()));
    }

    std::uint32_t* row(std::size_t fileRow) const {
        return m_elements + (m_isTopDown ? fileRow : m_height - 1 - fileRow) * m_width;
    }
    std::size_t width() const { return m_width; }
    std::size_t height() const { return m_height; }

private:
    std::uint32_t* m_elements;
    std::size_t m_width, m_height;
    bool m_isTopDown;
};

// Both return the number of pixels that the file lacks.

std::uint64_t readRows(const BmpLayout& layout, const Canvas& canvas) {
    const ReadRow readRow = rowReader(layout.m_bits);
    const std::uint64_t pitch = (std::uint64_t(canvas.width()) * layout.m_bits + 31) / 32 * 4;
    const std::uint64_t length = layout.m_texels.length();
    std::uint64_t missing = 0;
    for (std::size_t y = 0; y < canvas.height(); ++y) {
        const std::uint64_t place = std::min(y * pitch, length);
        const std::uint64_t available = (length - place) * 8 / layout.m_bits;
        const auto pixels = static_cast<std::size_t>(std::min<std::uint64_t>(available, canvas.width()));
        readRow(canvas.row(y), layout.m_texels.begin + place, pixels, layout);
        missing += canvas.width() - pixels;
    }
    return missing;
}

// Runs, literals and moves. What is passed over stays zero; what lies beyond a row's end is dropped.
template <unsigned kBits> class RunReader {
public:
    RunReader(const BmpLayout& layout, const Canvas& canvas)
        : m_layout(layout), m_canvas(canvas), m_at(layout.m_texels.begin), m_end(layout.m_texels.end) {}

    std::uint64_t read() {
        while (!m_isDone && m_y < m_canvas.height() && m_end - m_at >= 2) {
            const unsigned count = m_at[0], value = m_at[1];
            m_at += 2;
            if (count == 0) {
                escape(value);
            } else {
                const std::uint8_t pattern = static_cast<std::uint8_t>(value);
                put(count, [&pattern](unsigned i) { return indexAt<kBits>(&pattern, i % (8 / kBits)); });
            }
        }
        return missing();
    }

private:
    std::uint64_t missing() const {
        const bool isWhole = m_isDone || m_y >= m_canvas.height();
        return isWhole ? 0 : std::uint64_t(m_canvas.height() - m_y) * m_canvas.width() - m_x;
    }

    template <typename IndexOf> void put(unsigned count, IndexOf indexOf) {
        const std::size_t pixels = std::min<std::size_t>(count, m_canvas.width() - m_x);
        std::uint32_t* to = m_canvas.row(m_y) + m_x;
        for (unsigned i = 0; i < pixels; ++i) {
            to[i] = m_layout.m_palette[indexOf(i)];
        }
        m_x += pixels;
    }

    void escape(unsigned code) {
        switch (code) {
        case 0:
            m_x = 0;
            ++m_y;
            break;
        case 1:
            m_isDone = true;
            break;
        case 2:
            move();
            break;
        default:
            putLiterals(code);
        }
    }

    void move() {
        if (m_end - m_at >= 2) {
            m_x = std::min<std::size_t>(m_x + m_at[0], m_canvas.width());
            m_y += m_at[1];
        }
        m_at += std::min<std::ptrdiff_t>(2, m_end - m_at);
    }

    // Their bytes are filled up to an even number.
    void putLiterals(unsigned count) {
        const std::ptrdiff_t left = m_end - m_at, bytes = (std::ptrdiff_t(count) * kBits + 15) / 16 * 2;
        const auto available = static_cast<unsigned>(std::min<std::ptrdiff_t>(count, left * 8 / kBits));
        put(available, [this](unsigned i) { return indexAt<kBits>(m_at, i); });
        m_at += std::min(bytes, left);
    }

    const BmpLayout& m_layout;
    const Canvas& m_canvas;
    const std::uint8_t* m_at;
    const std::uint8_t* m_end;
    std::size_t m_x = 0, m_y = 0; // the place of the next pixel, in the file's order of rows
    bool m_isDone = false;
};

std::uint64_t readTexels(const BmpLayout& layout, const Canvas& canvas) {
    switch (layout.m_compression) {
    case kBmpRuns8:
        return RunReader<8>(layout, canvas).read();
    case kBmpRuns4:
        return RunReader<4>(layout, canvas).read();
    default:
        return readRows(layout, canvas);
    }
}

// In bits of the file. Runs may skip as much as they like, and so may be few for a large image by right.
ImageClaim claimOf(const BmpLayout& layout) {
    const std::uint64_t pixels = checkedSize(layout.m_width, layout.m_height);
    return {static_cast<unsigned>(layout.m_width), static_cast<unsigned>(layout.m_height),
            pixels * layout.m_bits / 8, layout.m_texels.length(), kMostGainOfPlainTexels};
}

Error readBmp(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration,
              int index) {
    if (!checkFrame(kKind, index, 1)) {
        return kErrorWicGetFrame;
    }
    BmpLayout layout;
    if (const char* fault = layout.parse(*source); fault != nullptr) {
        return refuseFile(kKind, fault);
    }
    if (!imageSizeFits(kKind, layout.m_width, layout.m_height)) {
        return kErrorFailed;
    }
    const auto width = static_cast<unsigned>(layout.m_width), height = static_cast<unsigned>(layout.m_height);
    if (!layout.isRuns() && !isClaimJust(kKind, claimOf(layout))) {
        return kErrorFailed;
    }
    const Vex::DataFormat format =
        (layout.m_hasAlpha ? kBgra : kBgrx).withTextureChannelType(configuration->m_textureChannelType);
    const MemoryRegion elements = allocateFlatImage(kKind, destination, width, height, format);
    if (elements.length() == 0) {
        return kErrorFailed;
    }
    const std::uint64_t missing = readTexels(layout, Canvas(layout, elements));
    return reportMissingTexels(kKind, missing, elements.length() / 4);
}

// ---- Writing

constexpr std::uint32_t kPlainHeaders = 14 + 40;
constexpr std::uint32_t kFieldHeaders = 14 + 108;
constexpr std::uint32_t kSrgbSpace = 0x73524742; // "sRGB", highest byte first
constexpr std::uint32_t kPixelsPerMetre = 2835;  // 72 an inch

struct Sizes {
    std::uint32_t m_width, m_height;
    bool m_withAlpha;

    std::uint32_t headerBytes() const { return m_withAlpha ? kFieldHeaders : kPlainHeaders; }
    std::uint32_t pitch() const { return m_withAlpha ? m_width * 4 : (m_width * 3 + 3) & ~3u; }
    std::uint64_t texelBytes() const { return std::uint64_t(pitch()) * m_height; }
};

// Two headers, of which the second is as short as the bits allow: masks are only for files with alpha.
void writeHeaders(std::uint8_t* bytes, const Sizes& sizes) {
    const auto put = [bytes](std::uint32_t place, std::uint32_t value) {
        std::memcpy(bytes + place, &value, sizeof value);
    };
    const auto texelBytes = static_cast<std::uint32_t>(sizes.texelBytes());
    std::memset(bytes, 0, sizes.headerBytes());
    std::memcpy(bytes, "BM", 2);
    put(2, sizes.headerBytes() + texelBytes);
    put(10, sizes.headerBytes());
    put(14, sizes.headerBytes() - 14);
    put(18, sizes.m_width);
    put(22, sizes.m_height);
    put(26, 1 | (sizes.m_withAlpha ? 32u : 24u) << 16); // planes, bits
    put(30, sizes.m_withAlpha ? kBmpFields : kBmpPlain);
    put(34, texelBytes);
    put(38, kPixelsPerMetre);
    put(42, kPixelsPerMetre);
    if (sizes.m_withAlpha) {
        put(54, 0xFF0000);
        put(58, 0xFF00);
        put(62, 0xFF);
        put(66, 0xFF000000);
        put(70, kSrgbSpace);
    }
}

void writeRow(std::uint8_t* to, const std::uint8_t* from, const Sizes& sizes) {
    if (sizes.m_withAlpha) {
        std::memcpy(to, from, std::size_t(sizes.m_width) * 4);
        return;
    }
    narrowToTriples(to, from, sizes.m_width);
    std::fill(to + std::size_t{sizes.m_width} * 3, to + sizes.pitch(), std::uint8_t{0});
}

Error writeFile(const Image& image, bool withAlpha, ResizableMemoryRegion* destination) {
    const MemoryRegion elements = firstSurface(image);
    const Sizes sizes{image.getPixelsWide(0), image.getPixelsTall(0), withAlpha};
    if (!resizeFile(kKind, destination, sizes.headerBytes() + sizes.texelBytes())) {
        return kErrorFailed;
    }
    writeHeaders(destination->begin, sizes);
    std::uint8_t* to = destination->begin + sizes.headerBytes();
    for (std::uint32_t y = sizes.m_height; y-- > 0; to += sizes.pitch()) {
        writeRow(to, elements.begin + std::size_t(y) * sizes.m_width * 4, sizes);
    }
    return kErrorNone;
}

// sRGB formats keep their bytes, as readers take them for sRGB.
Error writeBmp(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    const Vex::DataFormat from = source->getDataFormat();
    const bool withAlpha = from.getChannel(3) >= Vex::kTextureChannelX;
    const Vex::TextureChannelType type = from.getTextureChannelType() == Vex::kTextureChannelTypeSrgb
                                             ? Vex::kTextureChannelTypeSrgb
                                             : Vex::kTextureChannelTypeUNorm;
    const Vex::DataFormat format = (withAlpha ? kBgra : kBgrx).withTextureChannelType(type);
    return writeInFormat(
        kKind, *source, format, Transforms::kApply, destination, configuration,
        [=](const Image& image, ResizableMemoryRegion* place) { return writeFile(image, withAlpha, place); });
}

} // namespace

constinit const Codec g_bmpCodec = {makeFileType(".BMP"), nullptr, &readBmp, &writeBmp};

} // namespace qor::Texsmith::Raw
