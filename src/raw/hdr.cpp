// Reads and writes HDR files: lines of text, then pixels of three mantissas and one exponent.
#include "qor/texsmith/raw/hdr.h"

#include "qor/texsmith/raw/bithacks.h"
#include "qor/texsmith/raw/file.h"
#include "qor/vex/data_formats.h"
#include "raw/files/describe.h"
#include "raw/files/flat_image.h"
#include "raw/files/hdr_decode.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\hdr";
constexpr FileKind kKind = {"HDR", kSourcePath};

constexpr char kSignature[] = "#?RADIANCE";
constexpr char kFormatKey[] = "FORMAT=";
constexpr char kFormatName[] = "32-bit_rle_rgbe";
constexpr Vex::DataFormat kFormat = Vex::kDataFormatR9G9B9E5Float;

bool beginsWith(const char* line, const char* text) {
    return std::strncmp(line, text, std::strlen(text)) == 0;
}

struct Line {
    char m_text[1024];

    // The front of a line that is longer; its rest is passed over. False at the end of the file.
    bool read(File* file) {
        const std::int64_t begin = file->position();
        if (fgets(m_text, sizeof m_text, file) == nullptr) {
            return false;
        }
        int last = m_text[file->position() - begin - 1];
        while (last != '\n' && !file->isAtEnd()) {
            last = file->getCharacter();
        }
        return true;
    }
};

struct Resolution {
    long m_width = 0, m_height = 0;
    bool m_bottomUp = false, m_rightToLeft = false;

    // "-Y height +X width". Any other sign than - and + turns the axis round.
    bool parse(const char* text) {
        m_bottomUp = *text != '-';
        if (!parseAxis(&text, 'Y', &m_height)) {
            return false;
        }
        text += std::strspn(text, " \t\r\n\v\f");
        m_rightToLeft = *text != '+';
        return parseAxis(&text, 'X', &m_width);
    }

    // Says why the line cannot be read.
    static void refuse(const char* text) {
        Resolution columns;
        const char sign = text[0];
        if ((sign == '+' || sign == '-') && parseAxis(&text, 'X', &columns.m_width)) {
            text += std::strspn(text, " \t\r\n\v\f");
            char reason[80];
            std::snprintf(reason, sizeof reason,
                          "its pixels are in '%cX %cY' order, but columns cannot come before rows", sign,
                          *text == '-' ? '-' : '+');
            refuseFile(kKind, reason);
            return;
        }
        refuseFile(kKind, "it has no line of the form '-Y height +X width'");
    }

private:
    // The sign may be any character.
    static bool parseAxis(const char** text, char axis, long* size) {
        if ((*text)[0] == '\0' || (*text)[1] != axis) {
            return false;
        }
        const char* number = *text + 2;
        char* end = nullptr;
        *size = std::strtol(number, &end, 10); // cut to what a long holds
        *text = end;
        return end != number;
    }
};

// The lines of text. Reading goes on behind a signature or a format that was reported, and has failed.
class Header {
public:
    // False, and reported, when no image can be made of what is there.
    bool read(File* file) {
        Line line;
        if (!readSignature(file, &line)) {
            return false;
        }
        if (!readVariables(file, &line) || !line.read(file)) {
            refuseFile(kKind, "it ends within its header");
            return false;
        }
        if (!m_resolution.parse(line.m_text)) {
            m_resolution.refuse(line.m_text);
            return false;
        }
        return imageSizeFits(kKind, m_resolution.m_width, m_resolution.m_height);
    }
    const Resolution& resolution() const { return m_resolution; }
    Error error() const { return m_error; }

private:
    void report(const char* text) {
        m_error = kErrorFailed;
        toolsAssert(kSourcePath, __LINE__, text);
    }

    bool readSignature(File* file, Line* line) {
        const bool any = line->read(file);
        if (!any || !beginsWith(line->m_text, kSignature)) {
            report("File is not a valid RGBE format file.");
        }
        return any;
    }

    // Up to the empty line. False at the end of the file.
    bool readVariables(File* file, Line* line) {
        while (line->read(file)) {
            if (line->m_text[0] == '\n') {
                return true;
            }
            if (beginsWith(line->m_text, kFormatKey) &&
                !beginsWith(line->m_text + std::strlen(kFormatKey), kFormatName)) {
                report("Only 32-bit_rle_rgbe formatted RGBE files are supported at this time.");
            }
        }
        return false;
    }

    Resolution m_resolution;
    Error m_error = kErrorNone;
};

// Runs can make any number of pixels out of a few bytes, so an image that is large for its file is counted
// first, through one line of its own.
bool checkClaim(const HdrLines& lines, const MemoryRegion& pixels, unsigned width, unsigned height,
                std::uint32_t* line) {
    ImageClaim claim{width, height, checkedSize(4, width, height), pixels.length(), kMostGainOfPlainTexels};
    if (!isClaimCredible(claim.m_imageBytes, claim.m_fileBytes, claim.m_mostGain)) {
        claim.m_fileBytes = std::max(claim.m_fileBytes, 4 * countPixels(lines, width, height, line));
    }
    return isClaimJust(kKind, claim);
}

// Fills the whole image and returns the number of pixels that the file lacks.
std::uint64_t readLines(HdrLines lines, const Resolution& resolution, std::uint32_t* texels) {
    const auto width = static_cast<unsigned>(resolution.m_width);
    const auto height = static_cast<unsigned>(resolution.m_height);
    std::uint64_t missing = 0;
    for (unsigned y = 0; y < height; ++y) {
        std::uint32_t* row = texels + std::size_t(resolution.m_bottomUp ? height - 1 - y : y) * width;
        const unsigned count = lines.read(row);
        std::fill(row + count, row + width, 0u);
        if (resolution.m_rightToLeft) {
            std::reverse(row, row + width);
        }
        missing += width - count;
    }
    return missing;
}

Error writeFile(const Image& image, ResizableMemoryRegion* destination) {
    const MemoryRegion texels = firstSurface(image);
    char header[128];
    const auto headerBytes = static_cast<std::size_t>(
        std::snprintf(header, sizeof header, "%s\n%s%s\n\n-Y %u +X %u\n", kSignature, kFormatKey, kFormatName,
                      image.getPixelsTall(0), image.getPixelsWide(0)));
    if (!resizeFile(kKind, destination, headerBytes + texels.length())) {
        return kErrorFailed;
    }
    std::memcpy(destination->begin, header, headerBytes);
    std::uint8_t* to = destination->begin + headerBytes;
    for (const std::uint8_t* from = texels.begin; from != texels.end; from += 4, to += 4) {
        std::uint32_t word;
        std::memcpy(&word, from, sizeof word);
        word = packRgbe(word);
        std::memcpy(to, &word, sizeof word);
    }
    return kErrorNone;
}

Error readFile(MemoryRegion* source, ReallocatableImage* destination, const Configuration& configuration) {
    File file;
    file.open(source, File::kModeBinary);
    Header header;
    if (!header.read(&file)) {
        return kErrorFailed;
    }
    MemoryRegion pixels = *source;
    pixels.begin += file.position();
    const auto width = static_cast<unsigned>(header.resolution().m_width);
    const auto height = static_cast<unsigned>(header.resolution().m_height);
    AllocatedMemory buffer(configuration.m_allocator); // for a line, and for its components
    if (!resizeFile(kKind, &buffer, 4 * std::size_t(width) + HdrLines::bufferBytes(width))) {
        return kErrorFailed;
    }
    auto* line = reinterpret_cast<std::uint32_t*>(buffer.begin);
    const HdrLines lines(pixels, width, buffer.begin + 4 * std::size_t(width));
    if (!checkClaim(lines, pixels, width, height, line)) {
        return kErrorFailed;
    }
    const MemoryRegion texels =
        allocateFlatImage(kKind, destination, width, height, kFormat, GpuAddress::kSurfaceTypeRwTextureFlat);
    if (texels.length() == 0) {
        return kErrorFailed;
    }
    const std::uint64_t missing =
        readLines(lines, header.resolution(), reinterpret_cast<std::uint32_t*>(texels.begin));
    const Error error = reportMissingTexels(kKind, missing, texels.length() / 4);
    return header.error() != kErrorNone ? header.error() : error;
}

} // namespace

Error convertFromHdr(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration) {
    return readFlatImage(kKind, source, destination, configuration,
                         [=](MemoryRegion* file) { return readFile(file, destination, *configuration); });
}

bool describeHdr(FileDescription* description, const DescribedFile& described) {
    MemoryRegion region = described.m_region;
    File file;
    file.open(&region, File::kModeBinary);
    Line line;
    bool more = line.read(&file) && beginsWith(line.m_text, kSignature);
    do {
        more = more && line.read(&file);
    } while (more && line.m_text[0] != '\n');
    Resolution size;
    const auto fits = [](std::int64_t pixels) {
        return pixels >= 0 && pixels <= std::numeric_limits<unsigned>::max();
    };
    if (!more || !line.read(&file) || !size.parse(line.m_text) || !fits(size.m_width) ||
        !fits(size.m_height)) {
        return false;
    }
    describeFlat(description, static_cast<unsigned>(size.m_width), static_cast<unsigned>(size.m_height),
                 kFormat);
    setTransfer(description, kFileTransferLinear, "its type");
    return true;
}

Error convertToHdr(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    return writeFlatImage(kKind, source, destination, configuration, [=] {
        return writeInFormat(kKind, *source, kFormat, Transforms::kByFormat, destination, configuration,
                             &writeFile);
    });
}

} // namespace qor::Texsmith::Raw
