// Reads and writes PFM files: a short text, then floats as the machine has them.
#include "qor/texsmith/raw/pfm.h"

#include "qor/texsmith/raw/bithacks.h"
#include "qor/vex/data_formats.h"
#include "raw/files/flat_image.h"
#include "raw/files/widened_rows.h"

#include <cctype>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <system_error>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\files\\pfm";
constexpr FileKind kKind = {"PFM", kSourcePath};

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
    bool scan(unsigned long* value) const {
        char* end = nullptr;
        *value = std::strtoul(m_text, &end, 10);
        return end != m_text;
    }
    // Not by strtof, whose decimal point is that of the process's locale.
    bool isNumber() const {
        const char* begin = m_text + (m_text[0] == '+' ? 1 : 0);
        float value = 0;
        return std::from_chars(begin, m_text + std::strlen(m_text), value).ec != std::errc::invalid_argument;
    }
};

struct Header {
    unsigned m_channels = 0;
    unsigned long m_width = 0, m_height = 0;

    // Leaves `file` at the first float. Null, or what is wrong.
    const char* read(MemoryRegion* file) {
        Token magic, width, height, scale;
        if (!magic.read(file) || !width.read(file) || !height.read(file) || !scale.read(file)) {
            return "a word of its header is too long";
        }
        if (!width.scan(&m_width) || !height.scan(&m_height) || !scale.isNumber()) {
            return "its width, height or scale is no number";
        }
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

Error writeFile(const Image& image, unsigned channels, ResizableMemoryRegion* destination) {
    const MemoryRegion texels = firstSurface(image);
    const std::uint64_t elements = image.getElementsWide(0) * std::uint64_t{image.getElementsTall(0)};
    char header[64];
    const auto headerBytes = static_cast<std::size_t>(
        std::snprintf(header, sizeof header, "P%c\n%u %u\n-1.0\n", channels == 1 ? 'f' : 'F',
                      image.getElementsWide(0), image.getElementsTall(0)));
    if (!resizeFile(kKind, destination, headerBytes + 4 * channels * elements)) {
        return kErrorFailed;
    }
    std::memcpy(destination->begin, header, headerBytes);
    std::uint8_t* to = destination->begin + headerBytes;
    if (channels == 1) {
        std::memcpy(to, texels.begin, texels.length());
        return kErrorNone;
    }
    for (const std::uint8_t* from = texels.begin; from != texels.end; from += 16, to += 12) {
        std::memcpy(to, from, 12);
    }
    return kErrorNone;
}

Error readFile(MemoryRegion floats, ReallocatableImage* destination) {
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
    if (header.m_channels == 1) {
        copyRow(texels.begin, floats.begin, texels.length(), storesFor(texels.length()));
    } else {
        widenRow<&widenElements12, 16>(texels.begin, floats.begin, texels.length() / 16,
                                       storesFor(texels.length()));
    }
    return kErrorNone;
}

} // namespace

Error convertFromPfm(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration) {
    return readFlatImage(kKind, source, destination, configuration,
                         [=](const MemoryRegion* file) { return readFile(*file, destination); });
}

Error convertToPfm(const Image* source, ResizableMemoryRegion* destination, PfmChannels channels,
                   Configuration* configuration) {
    const unsigned count = channels == kPfmChannels1 ? 1 : 3;
    const auto write = [=](const Image& image, ResizableMemoryRegion* place) {
        return writeFile(image, count, place);
    };
    return writeFlatImage(kKind, source, destination, configuration, [&] {
        return writeInFormat(kKind, *source, formatOf(count), Transforms::kApply, destination, configuration,
                             write);
    });
}

} // namespace qor::Texsmith::Raw
