// The chunks of a PNG file before its pixels, as the third edition of the W3C standard for Portable Network
// Graphics has them. Checksums are looked at where a chunk is left out for a wrong one, and changes the
// format.
#include "raw/files/channel_formats.h"
#include "raw/files/describe.h"
#include "raw/files/png_checksum.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr std::uint8_t kSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr std::size_t kHeaderBytes = 13;
constexpr unsigned kColor = 2, kAlpha = 4; // bits of the colour type

std::uint32_t word(const std::uint8_t* bytes) {
    return std::uint32_t(bytes[0]) << 24 | std::uint32_t(bytes[1]) << 16 | std::uint32_t(bytes[2]) << 8 |
           bytes[3];
}

//   u32 length, type of four characters, data, u32 checksum
struct Chunk {
    char m_type[4];
    MemoryRegion m_data;
    std::uint32_t m_sum; // 0 where the file has ended

    bool is(const char* type) const { return std::memcmp(m_type, type, sizeof m_type) == 0; }

    // Cuts the next one off the front. False where its data is not all there.
    bool take(MemoryRegion* file) {
        if (file->length() < 8) {
            return false;
        }
        const std::uint64_t length = word(file->begin);
        std::memcpy(m_type, file->begin + 4, sizeof m_type);
        m_data.begin = file->begin + 8;
        if (length > static_cast<std::uint64_t>(file->end - m_data.begin)) {
            return false;
        }
        m_data.end = m_data.begin + length;
        m_sum = file->end - m_data.end >= 4 ? word(m_data.end) : 0;
        file->begin = m_data.end + std::min<std::ptrdiff_t>(4, file->end - m_data.end);
        return true;
    }

    bool hasRightSum() const { return m_sum == pngChecksum({m_data.begin - sizeof m_type, m_data.end}); }
};

// The first in this order counts, whichever stands first in the file.
enum Statement { kNone, kGamma, kSrgb, kProfile, kCodePoints };

class Header {
public:
    Header(FileDescription* description, const DescribedFile& file)
        : m_description(description), m_channelType(file.m_configuration->m_textureChannelType) {}

    // Up to the pixels, behind which no chunk counts. False when it does not come so far.
    bool read(MemoryRegion file) {
        file.begin += sizeof kSignature;
        Chunk chunk;
        if (!chunk.take(&file) || !chunk.is("IHDR") || chunk.m_data.length() != kHeaderBytes) {
            return false;
        }
        readSizes(chunk.m_data.begin);
        while (chunk.take(&file) && !chunk.is("IDAT") && !chunk.is("IEND")) {
            readChunk(chunk);
        }
        return chunk.is("IDAT") || chunk.is("IEND"); // whose data may be cut
    }

private:
    //   u32 width, height, u8 bits, colour type, ...
    void readSizes(const std::uint8_t* bytes) {
        m_description->m_width = word(bytes);
        m_description->m_height = word(bytes + 4);
        m_bits = std::min<unsigned>(bytes[8], 8);
        m_colorType = bytes[9];
        m_layout = {(m_colorType & kColor) == 0, (m_colorType & kAlpha) != 0,
                    bytes[8] == 16 ? ChannelDepth::k16 : ChannelDepth::k8};
        setFormat();
    }
    void setFormat() {
        m_description->m_format = formatOf(layoutToRead(m_layout, m_channelType), m_channelType);
    }

    void readChunk(const Chunk& chunk) {
        const auto* bytes = chunk.m_data.begin;
        const auto length = static_cast<std::size_t>(chunk.m_data.length());
        if (chunk.is("PLTE")) {
            m_paletteEntries = std::min(length / 3, std::size_t{1} << m_bits);
        } else if (chunk.is("tRNS") && isTransparency(length) && chunk.hasRightSum()) {
            m_layout.m_hasAlpha = true;
            setFormat();
        } else if (chunk.is("cICP") && length >= 4 && claim(kCodePoints)) {
            readCodePoints(bytes[1]);
        } else if (chunk.is("iCCP") && length > 0 && claim(kProfile)) {
            setTransferByProfile(m_description, reinterpret_cast<const char*>(bytes),
                                 std::min<std::size_t>(length, 79));
        } else if (chunk.is("sRGB") && claim(kSrgb)) {
            setTransfer(m_description, kFileTransferSrgb, "its sRGB chunk");
        } else if (chunk.is("gAMA") && length >= 4 && claim(kGamma)) {
            readGamma(word(bytes));
        }
    }

    // A colour that is transparent, or the alpha of the first entries of a palette, which comes before it.
    bool isTransparency(std::size_t length) const {
        constexpr unsigned kPalette = 3;
        return m_colorType == kPalette
                   ? length > 0 && length <= m_paletteEntries
                   : length == ((m_colorType & kColor) != 0 ? 6u : 2u) && (m_colorType & kAlpha) == 0;
    }

    bool claim(Statement statement) {
        const bool counts = statement > m_statement;
        m_statement = std::max(m_statement, statement);
        return counts;
    }

    // The transfer characteristics of ITU-T H.273.
    void readCodePoints(unsigned transfer) {
        constexpr unsigned kLinear = 8, kIec61966 = 13;
        setTransfer(m_description,
                    transfer == kIec61966 ? kFileTransferSrgb
                    : transfer == kLinear ? kFileTransferLinear
                                          : kFileTransferOther,
                    "its cICP chunk");
    }

    // 100,000 times the exponent that encoded the numbers; that of sRGB is 1 / 2.2, roughly.
    void readGamma(std::uint32_t gamma) {
        const auto isNear = [gamma](std::uint32_t value) {
            return gamma >= value - value / 100 && gamma <= value + value / 100;
        };
        char source[40];
        std::snprintf(source, sizeof source, "its gAMA chunk of %.5g", gamma / 100000.0);
        setTransfer(m_description,
                    isNear(45455)    ? kFileTransferSrgb
                    : isNear(100000) ? kFileTransferLinear
                                     : kFileTransferOther,
                    source);
    }

    FileDescription* m_description;
    Vex::TextureChannelType m_channelType;
    ChannelLayout m_layout = {};
    unsigned m_colorType = 0;
    unsigned m_bits = 0; // of an index
    std::size_t m_paletteEntries = 0;
    Statement m_statement = kNone;
};

} // namespace

bool describePng(FileDescription* description, const DescribedFile& file) {
    return file.m_region.length() >= sizeof kSignature &&
           std::memcmp(file.m_region.begin, kSignature, sizeof kSignature) == 0 &&
           Header(description, file).read(file.m_region);
}

} // namespace qor::Texsmith::Raw
