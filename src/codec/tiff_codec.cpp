// TIFF by libtiff: pages of grey, palettes and colour, in strips and tiles.
#include "codec/codecs.h"
#include "codec/frame_reader.h"
#include "codec/pixel_rows.h"
#include "qor/texsmith/raw/bithacks.h"
#include "qor/texsmith/tools_assert.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>

#include <tiffio.h>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "codec\\tiff_codec";
constexpr FileKind kKind = {"TIFF", kSourcePath};

constexpr std::uint64_t kMostSegmentBytes = std::uint64_t{1} << 30; // of a strip or tile

struct CloseTiff {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffHandle = std::unique_ptr<TIFF, CloseTiff>;

// The library's view of a file. Nothing that it calls throws.
struct Stream {
    MemoryRegion m_file;                // that is read
    std::vector<std::uint8_t>* m_bytes; // that are written; null for reading
    std::uint64_t m_at;
    ReadingProgress m_progress;

    std::uint64_t length() const { return m_bytes != nullptr ? m_bytes->size() : m_file.length(); }
};

Stream& streamOf(thandle_t handle) { return *static_cast<Stream*>(handle); }

tmsize_t readStream(thandle_t handle, void* to, tmsize_t count) {
    Stream& stream = streamOf(handle);
    const std::uint64_t at = std::min(stream.m_at, stream.length());
    const auto taken = static_cast<std::size_t>(
        std::min(stream.length() - at, static_cast<std::uint64_t>(std::max<tmsize_t>(count, 0))));
    if (taken != 0) {
        std::memcpy(to, (stream.m_bytes != nullptr ? stream.m_bytes->data() : stream.m_file.begin) + at,
                    taken);
    }
    stream.m_at = at + taken;
    return static_cast<tmsize_t>(taken);
}

tmsize_t refuseToWrite(thandle_t, void*, tmsize_t) { return 0; }

// The library seeks beyond the end as well.
tmsize_t writeStream(thandle_t handle, void* from, tmsize_t count) {
    Stream& stream = streamOf(handle);
    const auto bytes = static_cast<std::size_t>(count), at = static_cast<std::size_t>(stream.m_at);
    try {
        stream.m_bytes->resize(std::max(stream.m_bytes->size(), at + bytes));
    } catch (const std::exception&) {
        return 0;
    }
    std::memcpy(stream.m_bytes->data() + at, from, bytes);
    stream.m_at += bytes;
    return count;
}

toff_t seekStream(thandle_t handle, toff_t offset, int from) {
    Stream& stream = streamOf(handle);
    stream.m_at = from == SEEK_SET ? offset : (from == SEEK_CUR ? stream.m_at : stream.length()) + offset;
    return stream.m_at;
}

int closeStream(thandle_t) { return 0; }
toff_t sizeOfStream(thandle_t handle) { return streamOf(handle).length(); }
int mapNothing(thandle_t, void**, toff_t*) { return 0; }
void unmapNothing(thandle_t, void*, toff_t) {}

// The library's texts go nowhere else.
int keepError(TIFF*, void* user, const char*, const char* format, va_list arguments) {
    char text[200];
    std::vsnprintf(text, sizeof text, format, arguments);
    text[std::strcspn(text, "\n")] = '\0';
    const std::size_t length = std::strlen(text);
    if (length != 0 && text[length - 1] == '.') {
        text[length - 1] = '\0';
    }
    keepFirstText(static_cast<Stream*>(user)->m_progress.m_error, text);
    return 1;
}

// Writers leave tags of their own everywhere.
int ignoreWarning(TIFF*, void*, const char*, const char*, va_list) { return 1; }

TiffHandle openTiff(Stream* stream, const char* mode) {
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    if (options == nullptr) {
        return nullptr;
    }
    TIFFOpenOptionsSetErrorHandlerExtR(options, &keepError, stream);
    TIFFOpenOptionsSetWarningHandlerExtR(options, &ignoreWarning, stream);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, static_cast<tmsize_t>(kMostSegmentBytes));
    TIFF* tiff = TIFFClientOpenExt("", mode, stream, &readStream,
                                   stream->m_bytes != nullptr ? &writeStream : &refuseToWrite, &seekStream,
                                   &closeStream, &sizeOfStream, &mapNothing, &unmapNothing, options);
    TIFFOpenOptionsFree(options);
    return TiffHandle(tiff);
}

template <typename Value> Value tagOf(TIFF* tiff, std::uint32_t tag) {
    Value value = 0;
    return TIFFGetFieldDefaulted(tiff, tag, &value) != 0 ? value : Value{0};
}

// ---- Reading

// Files without the tag have what their samples look like.
unsigned photometricOf(TIFF* tiff) {
    std::uint16_t photometric = 0;
    if (TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric) != 0) {
        return photometric;
    }
    return tagOf<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL) < 3 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
}

// What a byte of the file becomes at most; 0 for a compression that is not read.
std::uint64_t mostGainOf(unsigned compression) {
    switch (compression) {
    case COMPRESSION_NONE:
        return kMostGainOfPlainTexels;
    case COMPRESSION_PACKBITS:
        return 64;
    case COMPRESSION_JPEG:
        return 512;
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_DEFLATE:
        return 1032;
    case COMPRESSION_LZW: // 12 bits for up to 4096 bytes
        return 2731;
    case COMPRESSION_CCITTRLE:
    case COMPRESSION_CCITTFAX3:
    case COMPRESSION_CCITTFAX4: // a bit for a row
        return Vex::kMaxTextureSize;
    default:
        return 0;
    }
}

// A page lies in strips or tiles, each of which is compressed for itself; with planes apart, one for each.
struct Segments {
    bool m_isTiled;
    unsigned m_wide, m_tall; // pixels of one
    unsigned m_planes;
    std::uint64_t m_bytes; // of one, a plane of it
    std::uint64_t m_count; // with each plane
};

class Reader {
public:
    explicit Reader(const MemoryRegion& file) : m_stream{file, nullptr, 0, {}} {}
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    bool readHeader(unsigned frame);
    unsigned countFrames() { return m_tiff != nullptr ? TIFFNumberOfDirectories(m_tiff.get()) : 0; }
    ImageClaim claim() const;
    Vex::DataFormat chooseFormat(Vex::TextureChannelType channelType);
    bool readRows(std::uint8_t* rows, std::size_t pitch);
    const ReadingProgress& progress() const { return m_stream.m_progress; }

private:
    bool fail(const char* text);
    bool findPixels();
    bool findAlpha();
    bool findPalette();
    bool findSegments();
    bool readSegment(unsigned left, unsigned top, std::uint8_t* to);
    void interleave();
    void unpack(unsigned left, unsigned top, bool isWhole, std::uint8_t* rows, std::size_t pitch) const;

    Stream m_stream;
    TiffHandle m_tiff;
    unsigned m_width = 0, m_height = 0, m_compression = 0;
    PixelLayout m_pixels{};
    Segments m_segments{};
    Palette m_palette;
    ChannelLayout m_layout{};
    std::vector<std::uint8_t> m_planes, m_segment; // planes one behind the other, and pixels of one whole
};

bool Reader::fail(const char* text) {
    keepFirstText(m_stream.m_progress.m_error, text);
    return false;
}

bool Reader::readHeader(unsigned frame) {
    m_tiff = openTiff(&m_stream, "rm");
    if (m_tiff == nullptr || (frame != 0 && TIFFSetDirectory(m_tiff.get(), frame) == 0)) {
        return fail("it is none");
    }
    TIFF* tiff = m_tiff.get();
    m_width = tagOf<std::uint32_t>(tiff, TIFFTAG_IMAGEWIDTH);
    m_height = tagOf<std::uint32_t>(tiff, TIFFTAG_IMAGELENGTH);
    m_compression = tagOf<std::uint16_t>(tiff, TIFFTAG_COMPRESSION);
    if (mostGainOf(m_compression) == 0) {
        char text[64];
        std::snprintf(text, sizeof text, "compression %u is not supported", m_compression);
        return fail(text);
    }
    return findPixels() && findSegments();
}

bool Reader::findPixels() {
    using Kind = PixelLayout::Kind;
    TIFF* tiff = m_tiff.get();
    const unsigned photometric = photometricOf(tiff);
    const unsigned sampleFormat = tagOf<std::uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT);
    const bool isColorsInJpeg = photometric == PHOTOMETRIC_YCBCR && m_compression == COMPRESSION_JPEG;
    if (isColorsInJpeg) {
        TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    }
    m_pixels.m_bits = tagOf<std::uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE);
    m_pixels.m_samples = tagOf<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL);
    m_pixels.m_isFloat = sampleFormat == SAMPLEFORMAT_IEEEFP;
    m_pixels.m_isInverted = photometric == PHOTOMETRIC_MINISWHITE;
    const bool isGrey = photometric == PHOTOMETRIC_MINISBLACK || photometric == PHOTOMETRIC_MINISWHITE;
    const bool isPalette = photometric == PHOTOMETRIC_PALETTE;
    if (!isGrey && !isPalette && photometric != PHOTOMETRIC_RGB && !isColorsInJpeg) {
        char text[80];
        std::snprintf(text, sizeof text, "its kind of colours, %u, is not supported", photometric);
        return fail(text);
    }
    m_pixels.m_kind = isGrey ? Kind::kGrey : isPalette ? Kind::kPalette : Kind::kRgb;
    m_pixels.m_hasAlpha = !isPalette && findAlpha();
    if (!canUnpack(m_pixels) ||
        (sampleFormat != SAMPLEFORMAT_UINT && sampleFormat != SAMPLEFORMAT_VOID && !m_pixels.m_isFloat)) {
        char text[96];
        std::snprintf(text, sizeof text, "%u samples of %u bits a pixel are not supported",
                      m_pixels.m_samples, m_pixels.m_bits);
        return fail(text);
    }
    return !isPalette || findPalette();
}

// The first of the samples behind the colours. Many writers do not say what it is.
bool Reader::findAlpha() {
    std::uint16_t count = 0;
    std::uint16_t* kinds = nullptr;
    TIFFGetFieldDefaulted(m_tiff.get(), TIFFTAG_EXTRASAMPLES, &count, &kinds);
    return count != 0 && m_pixels.m_samples > m_pixels.colors();
}

// Entries have 16 bits, of which some writers leave the upper ones zero.
bool Reader::findPalette() {
    std::uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
    if (TIFFGetField(m_tiff.get(), TIFFTAG_COLORMAP, &red, &green, &blue) == 0) {
        return fail("it has no palette");
    }
    const unsigned entries = 1u << m_pixels.m_bits;
    const auto isWide = [entries](const std::uint16_t* values) {
        return std::any_of(values, values + entries, [](unsigned value) { return value > 255; });
    };
    const unsigned shift = isWide(red) || isWide(green) || isWide(blue) ? 8 : 0;
    for (unsigned i = 0; i < entries; ++i) {
        m_palette.set(i, static_cast<std::uint8_t>(red[i] >> shift),
                      static_cast<std::uint8_t>(green[i] >> shift),
                      static_cast<std::uint8_t>(blue[i] >> shift));
    }
    return true;
}

bool Reader::findSegments() {
    TIFF* tiff = m_tiff.get();
    const bool isApart =
        tagOf<std::uint16_t>(tiff, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE && m_pixels.m_samples > 1;
    m_segments.m_isTiled = TIFFIsTiled(tiff) != 0;
    m_segments.m_planes = isApart ? m_pixels.m_samples : 1;
    if (m_segments.m_isTiled) {
        m_segments.m_wide = tagOf<std::uint32_t>(tiff, TIFFTAG_TILEWIDTH);
        m_segments.m_tall = tagOf<std::uint32_t>(tiff, TIFFTAG_TILELENGTH);
        m_segments.m_bytes = TIFFTileSize64(tiff);
    } else {
        m_segments.m_wide = m_width;
        m_segments.m_tall = std::min(tagOf<std::uint32_t>(tiff, TIFFTAG_ROWSPERSTRIP), m_height);
        m_segments.m_bytes = TIFFVStripSize64(tiff, m_segments.m_tall);
    }
    // Planes of less than a byte cannot be put together, and are not: such samples are alone in their pixel.
    const PixelLayout plane{m_pixels.m_kind,     m_pixels.m_bits,    m_pixels.m_samples / m_segments.m_planes,
                            m_pixels.m_hasAlpha, m_pixels.m_isFloat, false};
    const std::uint64_t expected = checkedSize(plane.rowBytes(m_segments.m_wide), m_segments.m_tall);
    if (expected == 0 || m_segments.m_bytes != expected ||
        checkedSize(expected, m_segments.m_planes) > kMostSegmentBytes) {
        return fail("its strips or tiles have an unexpected size");
    }
    // Each has an entry in a table of the file.
    m_segments.m_count = m_segments.m_isTiled ? TIFFNumberOfTiles(tiff) : TIFFNumberOfStrips(tiff);
    return (m_segments.m_count != 0 && m_segments.m_count <= m_stream.length()) ||
           fail("it is too short for its strips or tiles");
}

// Strips are the image. Tiles may be larger than it by any factor, and have to be backed as well.
ImageClaim Reader::claim() const {
    const std::uint64_t bytes = m_segments.m_isTiled ? checkedSize(m_segments.m_bytes, m_segments.m_count)
                                                     : checkedSize(m_pixels.rowBytes(m_width), m_height);
    return {m_width, m_height, bytes, m_stream.length(), mostGainOf(m_compression)};
}

Vex::DataFormat Reader::chooseFormat(Vex::TextureChannelType channelType) {
    m_layout = layoutToRead(layoutOf(m_pixels), channelType);
    return formatOf(m_layout, channelType);
}

// Whatever a segment lacks stays zero; the others may be there all the same.
bool Reader::readRows(std::uint8_t* rows, std::size_t pitch) {
    ReadingProgress& progress = m_stream.m_progress;
    const auto planeBytes = static_cast<std::size_t>(m_segments.m_bytes);
    m_segment.resize(planeBytes * m_segments.m_planes);
    m_planes.resize(m_segments.m_planes > 1 ? m_segment.size() : 0);
    progress.m_rowsInAll = m_height;
    for (unsigned top = 0; top < m_height; top += m_segments.m_tall) {
        bool isWhole = true;
        for (unsigned left = 0; left < m_width; left += m_segments.m_wide) {
            std::vector<std::uint8_t>& to = m_segments.m_planes > 1 ? m_planes : m_segment;
            std::fill(to.begin(), to.end(), std::uint8_t{0});
            const bool isSegmentWhole = readSegment(left, top, to.data());
            isWhole = isSegmentWhole && isWhole;
            interleave();
            unpack(left, top, isSegmentWhole, rows, pitch);
        }
        progress.m_rowsDone += isWhole ? std::min(m_segments.m_tall, m_height - top) : 0;
    }
    return progress.m_rowsDone == progress.m_rowsInAll || fail("strips or tiles are missing");
}

bool Reader::readSegment(unsigned left, unsigned top, std::uint8_t* to) {
    TIFF* tiff = m_tiff.get();
    const auto bytes = static_cast<tmsize_t>(m_segments.m_bytes);
    bool isWhole = true;
    for (unsigned plane = 0; plane < m_segments.m_planes; ++plane, to += bytes) {
        const auto sample = static_cast<std::uint16_t>(plane);
        if (m_segments.m_isTiled) {
            const std::uint32_t tile = TIFFComputeTile(tiff, left, top, 0, sample);
            isWhole = TIFFReadEncodedTile(tiff, tile, to, bytes) == bytes && isWhole;
        } else {
            const unsigned tall = std::min(m_segments.m_tall, m_height - top);
            const tmsize_t needed = bytes / m_segments.m_tall * tall; // less in the last strip
            const std::uint32_t strip = TIFFComputeStrip(tiff, top, sample);
            isWhole = TIFFReadEncodedStrip(tiff, strip, to, needed) == needed && isWhole;
        }
    }
    return isWhole;
}

// Puts the samples of planes together.
void Reader::interleave() {
    if (m_segments.m_planes == 1) {
        return;
    }
    const std::size_t wordBytes = m_pixels.m_bits / 8, step = wordBytes * m_segments.m_planes;
    const std::size_t words = static_cast<std::size_t>(m_segments.m_bytes) / wordBytes;
    const std::uint8_t* from = m_planes.data();
    for (unsigned plane = 0; plane < m_segments.m_planes; ++plane) {
        std::uint8_t* to = m_segment.data() + plane * wordBytes;
        for (std::size_t i = 0; i < words; ++i, from += wordBytes, to += step) {
            std::memcpy(to, from, wordBytes);
        }
    }
}

// Zeros of a segment that is not whole are missing rows, whatever colour a zero may be.
void Reader::unpack(unsigned left, unsigned top, bool isWhole, std::uint8_t* rows, std::size_t pitch) const {
    const UnpackRow unpackRow = findUnpackRow(m_pixels, m_layout);
    const auto rowBytes = static_cast<std::size_t>(m_pixels.rowBytes(m_segments.m_wide));
    const unsigned wide = std::min(m_segments.m_wide, m_width - left);
    const unsigned tall = std::min(m_segments.m_tall, m_height - top);
    const std::size_t elementBytes = pitch / m_width;
    for (unsigned y = 0; y < tall; ++y) {
        const std::uint8_t* from = m_segment.data() + y * rowBytes;
        if (isWhole || std::any_of(from, from + rowBytes, [](std::uint8_t byte) { return byte != 0; })) {
            unpackRow(rows + (top + y) * pitch + left * elementBytes, from, wide, m_pixels, m_palette);
        }
    }
}

Error readTiff(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration,
               int index) {
    return readFrame<Reader>(kKind, source, destination, configuration, index);
}

// ---- Writing

constexpr std::size_t kStripBytes = 1 << 16;

// One page of strips. The compression is one that all readers have.
bool writePage(TIFF* tiff, const ImageRows& rows) {
    const unsigned channels = packedChannels(rows.m_layout);
    const std::size_t rowBytes = packedPixelBytes(rows.m_layout) * rows.m_width;
    const auto rowsPerStrip = static_cast<unsigned>(std::max<std::size_t>(1, kStripBytes / rowBytes));
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, rows.m_width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, rows.m_height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, rows.m_layout.m_depth == ChannelDepth::k8 ? 8 : 16);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, channels);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC,
                 rows.m_layout.m_isGrey ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rowsPerStrip);
    if (rows.m_layout.m_hasAlpha) {
        const std::uint16_t kind = EXTRASAMPLE_UNASSALPHA;
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &kind);
    }
    std::vector<std::uint8_t> strip(rowBytes * rowsPerStrip);
    for (unsigned y = 0; y < rows.m_height; y += rowsPerStrip) {
        const unsigned count = std::min(rowsPerStrip, rows.m_height - y);
        for (unsigned i = 0; i < count; ++i) {
            packRow(strip.data() + rowBytes * i, rows.row(y + i), rows.m_width, rows.m_layout);
        }
        const auto bytes = static_cast<tmsize_t>(rowBytes * count);
        if (TIFFWriteEncodedStrip(tiff, y / rowsPerStrip, strip.data(), bytes) != bytes) {
            return false;
        }
    }
    return TIFFFlush(tiff) != 0;
}

Error writeTiff(const ImageRows& rows, std::vector<std::uint8_t>* file) {
    Stream stream{{}, file, 0, {}};
    TiffHandle tiff = openTiff(&stream, "w");
    const bool isWritten = tiff != nullptr && writePage(tiff.get(), rows);
    tiff.reset();
    if (!isWritten || stream.m_progress.m_error[0] != '\0') {
        keepFirstText(stream.m_progress.m_error, "there is not enough memory");
        toolsWarning(kSourcePath, __LINE__, "The TIFF file cannot be written: %s.",
                     stream.m_progress.m_error);
        return kErrorFailed;
    }
    return kErrorNone;
}

Error saveTiff(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    return writeRows(kKind, *source, layoutToKeep(*source, ChannelDepth::k16), destination, configuration,
                     &writeTiff);
}

} // namespace

constinit const Codec g_tiffCodec = {makeFileType(".TIF"), "libtiff", &readTiff, &saveTiff};

} // namespace qor::Texsmith::Raw
