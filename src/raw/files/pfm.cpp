// Reads and writes PFM files: a short text, then floats.
#include "qor/texsmith/raw/pfm.h"

#include "qor/texsmith/raw/bithacks.h"
#include "qor/vex/data_formats.h"
#include "raw/files/describe.h"
#include "raw/files/flat_image.h"
#include "raw/files/widened_rows.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <system_error>
#include <utility>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\files\\pfm";
constexpr FileKind kKind = {"PFM", kSourcePath};

constexpr unsigned long long kMostSize = std::numeric_limits<unsigned>::max();

constexpr Vex::DataFormat kGrey = Vex::kDataFormatL32Float;
constexpr Vex::DataFormat kColor = Vex::kDataFormatR32G32B32X32Float;

Vex::DataFormat formatOf(unsigned channels) { return channels == 1 ? kGrey : kColor; }

bool isSpace(std::uint8_t byte) { return byte == ' ' || (byte >= '\t' && byte <= '\r'); }

// A word of the header, with its terminator.
struct Token {
    static constexpr std::size_t kMostLength = 15;
    char m_text[kMostLength + 1] = {};

    // Cuts white space and the token behind it off the front. False for a token that is too long.
    bool read(MemoryRegion* file) {
        while (file->begin < file->end && isSpace(*file->begin)) {
            ++file->begin;
        }
        std::size_t length = 0;
        for (; file->begin < file->end && !isSpace(*file->begin); ++file->begin) {
            if (length == kMostLength) {
                return false;
            }
            m_text[length++] = static_cast<char>(*file->begin);
        }
        return true;
    }

    // False where no number begins. One that is negative or too large for its type comes out as too large for
    // a texture.
    bool scan(unsigned long long* value) const {
        char* end = nullptr;
        *value = std::strtoull(m_text, &end, 10);
        return end != m_text;
    }
    // Not by strtof, whose decimal point is that of the process's locale.
    bool isNumber() const {
        const char* begin = m_text + (m_text[0] == '+' ? 1 : 0);
        float value = 0;
        return std::from_chars(begin, m_text + std::strlen(m_text), value).ec != std::errc::invalid_argument;
    }
    bool isNegative() const { return m_text[0] == '-'; }
};

struct Header {
    unsigned m_channels = 0;
    unsigned long long m_width = 0, m_height = 0;
    bool m_isBigEndian = false; // by its scale

    // Leaves `file` at the first float. Null, or what is wrong.
    const char* read(MemoryRegion* file) {
        Token magic, width, height, scale;
        if (!magic.read(file) || !width.read(file) || !height.read(file) || !scale.read(file)) {
            return "a word of its header is too long";
        }
        if (!width.scan(&m_width) || !height.scan(&m_height) || !scale.isNumber()) {
            return "its width, height or scale is no number";
        }
        m_isBigEndian = !scale.isNegative();
        m_channels = std::strcmp(magic.m_text, "Pf") == 0 ? 1 : std::strcmp(magic.m_text, "PF") == 0 ? 3 : 0;
        file->begin += file->begin < file->end ? 1 : 0;
        return m_channels != 0 ? nullptr : "it begins with neither 'Pf' nor 'PF'";
    }
    std::uint64_t floatBytes() const { return checkedSize(4, m_channels, m_width, m_height); }
};

bool floatsFit(const Header& header, const MemoryRegion& floats) {
    if (header.floatBytes() <= floats.length()) {
        return true;
    }
    toolsWarning(kSourcePath, __LINE__,
                 "The PFM file ends early: %llu of its %llu bytes of floats are missing.",
                 static_cast<unsigned long long>(header.floatBytes() - floats.length()),
                 static_cast<unsigned long long>(header.floatBytes()));
    return false;
}

// Calls row(to, from, elements) for the rows of a file, or for all of them as one, into the rows of an image
// or the other way round.
template <typename Row>
void forEachRow(std::uint8_t* to, std::size_t toPitch, const std::uint8_t* from, std::size_t fromPitch,
                std::size_t width, std::size_t rows, bool turns, Row row) {
    if (!turns) {
        row(to, from, width * rows);
        return;
    }
    for (std::size_t y = 0; y < rows; ++y) {
        row(to + y * toPitch, from + (rows - 1 - y) * fromPitch, width);
    }
}

void swapBytes(MemoryRegion floats) {
    for (std::uint8_t* at = floats.begin; at < floats.end; at += 4) {
        std::swap(at[0], at[3]);
        std::swap(at[1], at[2]);
    }
}

Error writeFile(const Image& image, unsigned channels, ResizableMemoryRegion* destination,
                std::uint32_t readingOptions) {
    const MemoryRegion texels = firstSurface(image);
    const std::size_t width = image.getElementsWide(0), rows = image.getElementsTall(0);
    const std::size_t elementBytes = image.getBytesPerElement(), bytesInFile = std::size_t{4} * channels;
    char header[64];
    const auto headerBytes = static_cast<std::size_t>(
        std::snprintf(header, sizeof header, "P%c\n%u %u\n-1.0\n", channels == 1 ? 'f' : 'F',
                      image.getElementsWide(0), image.getElementsTall(0)));
    if (!resizeFile(kKind, destination, headerBytes + bytesInFile * width * rows)) {
        return kErrorFailed;
    }
    std::memcpy(destination->begin, header, headerBytes);
    forEachRow(destination->begin + headerBytes, bytesInFile * width, texels.begin, elementBytes * width,
               width, rows, (readingOptions & kReadPfmBottomUp) != 0,
               [=](std::uint8_t* to, const std::uint8_t* from, std::size_t count) {
                   if (channels == 1) {
                       std::memcpy(to, from, count * 4);
                       return;
                   }
                   for (; count > 0; --count, from += 16, to += 12) {
                       std::memcpy(to, from, 12);
                   }
               });
    return kErrorNone;
}

Error readFile(MemoryRegion floats, ReallocatableImage* destination, std::uint32_t readingOptions) {
    Header header;
    if (const char* fault = header.read(&floats); fault != nullptr) {
        return refuseFile(kKind, fault);
    }
    if (!imageSizeFits(kKind, std::int64_t(header.m_width), std::int64_t(header.m_height)) ||
        !floatsFit(header, floats)) {
        return kErrorFailed;
    }
    const auto width = static_cast<unsigned>(header.m_width), height = static_cast<unsigned>(header.m_height);
    const MemoryRegion texels =
        allocateFlatImage(kKind, destination, width, height, formatOf(header.m_channels));
    if (texels.length() == 0) {
        return kErrorFailed;
    }
    const RowStores stores = storesFor(texels.length());
    const bool isGrey = header.m_channels == 1;
    forEachRow(texels.begin, texels.length() / height, floats.begin,
               std::size_t{4} * header.m_channels * width, width, height,
               (readingOptions & kReadPfmBottomUp) != 0,
               [=](std::uint8_t* to, const std::uint8_t* from, std::size_t count) {
                   isGrey ? copyRow(to, from, count * 4, stores)
                          : widenRow<&widenElements12, 16>(to, from, count, stores);
               });
    if (header.m_isBigEndian && (readingOptions & kReadPfmByteOrder) != 0) {
        swapBytes(texels);
    }
    return kErrorNone;
}

} // namespace

Error convertFromPfm(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration) {
    return readFlatImage(kKind, source, destination, configuration, [=](const MemoryRegion* file) {
        return readFile(*file, destination, configuration->m_readingOptions);
    });
}

bool describePfm(FileDescription* description, const DescribedFile& file) {
    MemoryRegion text = file.m_region;
    Header header;
    if (header.read(&text) != nullptr || std::max(header.m_width, header.m_height) > kMostSize) {
        return false;
    }
    describeFlat(description, static_cast<unsigned>(header.m_width), static_cast<unsigned>(header.m_height),
                 formatOf(header.m_channels));
    setTransfer(description, kFileTransferLinear, "its type");
    description->m_readingOptions |=
        file.m_configuration->m_readingOptions &
        ((header.m_isBigEndian ? kReadPfmByteOrder : 0u) | (header.m_height > 1 ? kReadPfmBottomUp : 0u));
    return true;
}

Error convertToPfm(const Image* source, ResizableMemoryRegion* destination, PfmChannels channels,
                   Configuration* configuration) {
    const unsigned count = channels == kPfmChannels1 ? 1 : 3;
    const auto write = [=](const Image& image, ResizableMemoryRegion* place) {
        return writeFile(image, count, place, configuration->m_readingOptions);
    };
    return writeFlatImage(kKind, source, destination, configuration, [&] {
        return writeInFormat(kKind, *source, formatOf(count), Transforms::kApply, destination, configuration,
                             write);
    });
}

} // namespace qor::Texsmith::Raw
