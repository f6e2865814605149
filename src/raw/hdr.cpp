#include "qor/texsmith/raw/hdr.h"

#include "qor/texsmith/raw/file.h"
#include "raw/files/check_arguments.h"
#include "raw/files/flat_picture.h"
#include "raw/files/hdr_decode.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\hdr";
constexpr FileKind kKind = {"HDR", kSourcePath};

constexpr char kSignature[] = "#?RADIANCE";
constexpr char kFormatKey[] = "FORMAT=";
constexpr char kFormatName[] = "32-bit_rle_rgbe";
constexpr Vex::DataFormat kFormat{0x3AC722}; // R9G9B9E5Float

bool beginsWith(const char* line, const char* text) {
    return std::strncmp(line, text, std::strlen(text)) == 0;
}

struct Line {
    char m_text[1024];
    bool read(File* file) { return fgets(m_text, sizeof m_text, file) != nullptr; }
};

// Reports another signature. False at the end of the file.
bool readSignature(File* file, Line* line) {
    const bool any = line->read(file);
    if (!any || !beginsWith(line->m_text, kSignature)) {
        toolsAssert(kSourcePath, __LINE__, "File is not a valid RGBE format file.");
    }
    return any;
}

void checkVariable(const char* line) {
    if (beginsWith(line, kFormatKey) && !beginsWith(line + std::strlen(kFormatKey), kFormatName)) {
        toolsAssert(kSourcePath, __LINE__,
                    "Only 32-bit_rle_rgbe formatted RGBE files are supported at this time.");
    }
}

// Up to the empty line, whose text `line` has in the end. False at the end of the file.
bool readVariables(File* file, Line* line) {
    while (line->read(file)) {
        if (line->m_text[0] == '\n') {
            return true;
        }
        checkVariable(line->m_text);
    }
    return false;
}

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

bool readResolution(File* file, Resolution* resolution) {
    Line line;
    if (!readSignature(file, &line) || !readVariables(file, &line) || !line.read(file)) {
        return false;
    }
    if (!resolution->parse(line.m_text)) {
        toolsWarning(kSourcePath, __LINE__, "The HDR file has no line of the form '-Y height +X width'.");
        return false;
    }
    return pictureSizeFits(kKind, resolution->m_width, resolution->m_height);
}

// Fills the whole picture and returns the number of pixels that the file lacks.
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
    if (texels.length() == 0 || !resizeFile(destination, headerBytes + texels.length())) {
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

} // namespace

Error convertFromHdr(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration) {
    if (!checkConvertArguments(source, destination, configuration, kSourcePath)) {
        return kErrorFailed;
    }
    File file;
    file.open(source, File::kModeBinary);
    Resolution resolution;
    if (!readResolution(&file, &resolution)) {
        return kErrorFailed;
    }
    MemoryRegion pixels = *source;
    pixels.begin += file.position();
    const auto width = static_cast<unsigned>(resolution.m_width);
    const MemoryRegion texels =
        allocatePicture(destination, width, static_cast<unsigned>(resolution.m_height), kFormat,
                        GpuAddress::kSurfaceTypeRwTextureFlat);
    AllocatedMemory buffer(configuration->m_allocator);
    buffer.resize(HdrLines::bufferBytes(width));
    if (texels.length() == 0 || buffer.length() == 0) {
        return kErrorFailed;
    }
    const std::uint64_t missing = readLines(HdrLines(pixels, width, buffer.begin), resolution,
                                            reinterpret_cast<std::uint32_t*>(texels.begin));
    return reportMissingTexels(kKind, missing, texels.length() / 4);
}

Error convertToHdr(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    if (!checkConvertArguments(source, destination, configuration, kSourcePath)) {
        return kErrorFailed;
    }
    return writeInFormat(*source, source->getDataFormat() == kFormat, kFormat, configuration,
                         [destination](const Image& image) { return writeFile(image, destination); });
}

} // namespace qor::Texsmith::Raw
