#include "conversion_estimate.h"

#include "failure.h"
#include "paths.h"

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/file_description.h"
#include "qor/texsmith/raw/filetype.h"
#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/memory_region.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <vector>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

// Headers lie in there; only a profile of colours in front of a picture's size may be longer.
constexpr std::size_t kHeaderBytes = 256 * 1024;
constexpr std::uint64_t kBytesOfFloats = 16; // a texel while a picture is resized
constexpr std::uint64_t kWithoutHeaders = 8; // times the bytes of the file

constexpr Raw::FileType kPlainTypes[] = {Raw::makeFileType(".DDS"), Raw::makeFileType(".VXF"),
                                         Raw::makeFileType(".TGA"), Raw::makeFileType(".BMP"),
                                         Raw::makeFileType(".PFM")};

// Not by a mapping: another program may cut the file meanwhile.
std::vector<char> readStart(const std::string& file) {
    std::vector<char> bytes(kHeaderBytes);
    std::ifstream stream(toPath(file), std::ios::binary);
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(stream.gcount()));
    return bytes;
}

Raw::FileDescription describe(const std::string& file) {
    std::vector<char> bytes = readStart(file);
    MemoryRegion region;
    region.begin = reinterpret_cast<std::uint8_t*>(bytes.data());
    region.end = region.begin + bytes.size();
    Raw::FileDescription description;
    Configuration configuration;
    try {
        Raw::describeFile(&description, &region, file.c_str(), &configuration, 0);
    } catch (const Failure&) { // reading it will tell why
    }
    forgetReports();
    return description;
}

std::uint64_t bytesOfSurface(Vex::DataFormat format, std::uint64_t width, std::uint64_t height) {
    const std::uint64_t bytes = Raw::getSurfaceFormatInfo(format.getSurfaceFormat()).bytesPerElement;
    return format.isBlockCompressedFormat() ? (width + 3) / 4 * ((height + 3) / 4) * bytes
                                            : width * height * bytes;
}

std::uint64_t bytesOfChain(const ConversionEstimate& estimate, Vex::DataFormat format) {
    std::uint64_t bytes = 0;
    for (unsigned mip = 0; mip < estimate.m_mips; ++mip) {
        bytes += bytesOfSurface(format, std::max(1u, estimate.m_width >> mip),
                                std::max(1u, estimate.m_height >> mip));
    }
    return bytes * estimate.m_surfaces;
}

unsigned mipsOf(unsigned width, unsigned height) {
    unsigned mips = 1;
    for (unsigned size = std::max(width, height); size > 1; size /= 2) {
        ++mips;
    }
    return mips;
}

// Of the largest mip, by the steps in their order.
void setSize(ConversionEstimate* estimate, const Raw::FileDescription& from,
             const ConversionOptions& options) {
    const StepOptions& steps = options.m_steps;
    unsigned width = steps.m_crop ? steps.m_crop->m_width : from.m_width;
    unsigned height = steps.m_crop ? steps.m_crop->m_height : from.m_height;
    if (options.m_size) {
        width = options.m_size->m_width;
        height = options.m_size->m_height;
    }
    const unsigned most = steps.m_maxSize.value_or(~0u);
    while (most != 0 && std::max(width, height) > most) {
        width = std::max(1u, width / 2);
        height = std::max(1u, height / 2);
    }
    const unsigned multiple = std::max(1u, steps.m_padToMultiple.value_or(1));
    estimate->m_width = (width + multiple - 1) / multiple * multiple;
    estimate->m_height = (height + multiple - 1) / multiple * multiple;
}

std::uint64_t fileBytes(const std::string& file) {
    std::error_code error;
    const std::uintmax_t bytes = std::filesystem::file_size(toPath(file), error);
    return error ? 0 : bytes;
}

} // namespace

ConversionEstimate estimateConversion(const std::string& source, const std::string& destination,
                                      const ConversionOptions& options) {
    const Raw::FileDescription from = describe(source);
    const Raw::FileType to = Raw::getFileTypeFromExtension(destination.c_str());
    const bool holdsMips = to == kPlainTypes[0] || to == kPlainTypes[1];
    ConversionEstimate estimate;
    estimate.m_memory = kWithoutHeaders * fileBytes(source);
    if (from.m_width == 0 || from.m_height == 0 || from.m_format.m_word == 0) {
        return estimate;
    }
    setSize(&estimate, from, options);
    if (holdsMips) {
        estimate.m_mips =
            options.m_mips ? std::min(mipsOf(estimate.m_width, estimate.m_height), options.m_steps.m_mostMips)
                           : from.m_mips;
    }
    estimate.m_surfaces = holdsMips ? from.m_depth * from.m_faces * from.m_arrayEntries : 1;
    estimate.m_format = options.m_format.value_or(from.m_format);
    const std::uint64_t result = bytesOfChain(estimate, estimate.m_format);
    if (std::find(std::begin(kPlainTypes), std::end(kPlainTypes), to) != std::end(kPlainTypes)) {
        estimate.m_resultBytes = result;
    }
    // The source, its chain of mips, the result and its file; when it is resized, both as floats.
    const std::uint64_t floats =
        std::uint64_t{from.m_width} * from.m_height + std::uint64_t{estimate.m_width} * estimate.m_height;
    estimate.m_memory = fileBytes(source) + from.m_texelBytes + bytesOfChain(estimate, from.m_format) +
                        2 * result +
                        (options.m_size || options.m_steps.changePicture() ? kBytesOfFloats * floats : 0);
    return estimate;
}

} // namespace Tool
