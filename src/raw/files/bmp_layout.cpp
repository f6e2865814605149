#include "raw/files/bmp_layout.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr std::uint64_t kLeastBytes = 54;
constexpr std::uint64_t kFileHeaderBytes = 14;
constexpr std::uint32_t kOldHeaderBytes = 12; // with sizes of 16 bits and palette entries of three bytes
constexpr std::uint32_t kUsualHeaderBytes = 40;
constexpr std::uint32_t kOs2HeaderBytes = 64;   // whose numbers of compressions from 3 on are its own
constexpr std::uint32_t kAlphaHeaderBytes = 56; // from here on the header has four masks
constexpr std::uint64_t kMasksPlace = 54;       // in the header, or behind one that ends before them

constexpr std::uint32_t kMasks16[] = {0x1F, 0x3E0, 0x7C00, 0};
constexpr std::uint32_t kMasks32[] = {0xFF, 0xFF00, 0xFF0000, 0xFF000000};

std::uint32_t half(const std::uint8_t* bytes) { return bytes[0] | std::uint32_t(bytes[1]) << 8; }
std::uint32_t word(const std::uint8_t* bytes) { return half(bytes) | half(bytes + 2) << 16; }

// 0 where the file has ended.
std::uint32_t wordAt(const MemoryRegion& file, std::uint64_t place) {
    return place + 4 <= file.length() ? word(file.begin + place) : 0;
}

} // namespace

BmpField::BmpField(std::uint32_t mask) : m_mask(mask), m_shift(0), m_bytes{} {
    if (mask == 0) {
        return;
    }
    const auto lowest = static_cast<unsigned>(std::countr_zero(mask));
    const auto bits = static_cast<unsigned>(std::bit_width(mask)) - lowest;
    m_shift = lowest + (bits > 8 ? bits - 8 : 0);
    const unsigned most = mask >> m_shift;
    for (unsigned value = 0; value <= most; ++value) {
        m_bytes[value] = static_cast<std::uint8_t>((value * 255 + most / 2) / most);
    }
}

//   14  u32 bytes of this header      old: 18  u16 width, height    24  u16 bits
//   18  s32 width, s32 height              28  u16 bits             30  u32 compression
//   46  u32 colours of the palette         54  u32 masks of R, G, B, A
const char* BmpLayout::parse(const MemoryRegion& file) {
    if (file.length() < kLeastBytes) {
        return "it is shorter than its headers";
    }
    if (std::memcmp(file.begin, "BM", 2) != 0) {
        return "it does not begin with 'BM'";
    }
    parseSizes(file.begin);
    if (!isKnown()) {
        return reasonToDecline();
    }
    m_texels = file;
    m_texels.begin += std::min<std::uint64_t>(word(file.begin + 10), file.length());
    parseFields(file);
    parsePalette(file);
    return nullptr;
}

void BmpLayout::parseSizes(const std::uint8_t* bytes) {
    m_headerBytes = word(bytes + 14);
    if (m_headerBytes == kOldHeaderBytes) {
        m_width = half(bytes + 18);
        m_height = half(bytes + 20);
        m_bits = half(bytes + 24);
        return;
    }
    m_width = static_cast<std::int32_t>(word(bytes + 18));
    m_height = static_cast<std::int32_t>(word(bytes + 22));
    m_isTopDown = m_height < 0;
    m_height = m_isTopDown ? -m_height : m_height;
    m_bits = half(bytes + 28);
    m_compression = word(bytes + 30);
    m_colors = word(bytes + 46);
}

bool BmpLayout::isKnown() const {
    if (m_headerBytes != kOldHeaderBytes && m_headerBytes < kUsualHeaderBytes) {
        return false;
    }
    switch (m_compression) {
    case kBmpPlain:
        return m_bits == 1 || m_bits == 4 || m_bits == 8 || m_bits == 16 || m_bits == 24 || m_bits == 32;
    case kBmpRuns8:
        return m_bits == 8;
    case kBmpRuns4:
        return m_bits == 4;
    case kBmpFields:
    case kBmpFieldsWithAlpha:
        return m_bits == 16 || m_bits == 32;
    default:
        return false;
    }
}

const char* BmpLayout::reasonToDecline() const {
    if (m_headerBytes != kOldHeaderBytes && m_headerBytes < kUsualHeaderBytes) {
        return "its header is of an unknown kind";
    }
    const bool isOs2 = m_headerBytes == kOs2HeaderBytes;
    switch (m_compression) {
    case kBmpPlain:
    case kBmpRuns8:
    case kBmpRuns4:
        return "the number of bits of its pixels is not one that bitmaps of its kind have";
    case kBmpFields:
        return isOs2 ? "its pixels are compressed as Huffman 1D, which is not read"
                     : "its pixels have masks, but neither 16 nor 32 bits";
    case kBmpJpeg:
        return isOs2 || m_bits == 24 ? "its pixels are compressed as RLE24, which is not read"
                                     : "it holds a JPEG file, which is not read from a bitmap";
    case kBmpPng:
        return "it holds a PNG file, which is not read from a bitmap";
    case kBmpCmyk:
    case kBmpCmykRuns8:
    case kBmpCmykRuns4:
        return "its colours are CMYK, which is not read";
    default:
        return "the compression of its pixels is unknown";
    }
}

void BmpLayout::parseFields(const MemoryRegion& file) {
    const bool inFile = m_compression == kBmpFields || m_compression == kBmpFieldsWithAlpha;
    const bool withAlpha = m_compression == kBmpFieldsWithAlpha || m_headerBytes >= kAlphaHeaderBytes;
    constexpr unsigned kPlaces[] = {2, 1, 0, 3}; // the file begins with red
    for (unsigned i = 0; i < m_fields.size(); ++i) {
        const std::uint32_t usual = (m_bits == 16 ? kMasks16 : kMasks32)[i];
        const std::uint32_t mask = inFile ? wordAt(file, kMasksPlace + 4 * kPlaces[i]) : usual;
        m_fields[i] = BmpField(inFile && i == 3 && !withAlpha ? 0 : mask);
        m_hasAlpha = inFile && withAlpha && mask != 0;
    }
}

void BmpLayout::parsePalette(const MemoryRegion& file) {
    if (m_bits > 8) {
        return;
    }
    const unsigned entryBytes = m_headerBytes == kOldHeaderBytes ? 3 : 4;
    const std::uint32_t most = 1u << m_bits;
    const std::uint32_t count = m_colors == 0 ? most : std::min(m_colors, most);
    std::uint64_t place = kFileHeaderBytes + m_headerBytes;
    for (std::uint32_t i = 0; i < count && place + entryBytes <= file.length(); ++i, place += entryBytes) {
        const std::uint8_t* entry = file.begin + place;
        m_palette[i] = half(entry) | std::uint32_t(entry[2]) << 16;
    }
}

} // namespace qor::Texsmith::Raw
