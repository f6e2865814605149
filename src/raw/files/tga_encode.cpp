#include "raw/files/tga_encode.h"

#include "qor/texsmith/raw/reformat.h"
#include "qor/texsmith/raw/view.h"
#include "raw/configuration/check_configuration.h"
#include "raw/files/flat_image.h"
#include "raw/files/tga_header.h"
#include "raw/surfaces/region_image.h"

#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\files\\tga_encode";
constexpr FileKind kKind = {"TGA", kSourcePath};

// Of a colour image of 32 bits, top row first, without ID and map.
void writeHeader(std::uint8_t* bytes, unsigned width, unsigned height) {
    std::memset(bytes, 0, kTgaHeaderBytes);
    bytes[2] = kTgaTypeColor;
    bytes[12] = static_cast<std::uint8_t>(width & 0xFF);
    bytes[13] = static_cast<std::uint8_t>(width >> 8);
    bytes[14] = static_cast<std::uint8_t>(height & 0xFF);
    bytes[15] = static_cast<std::uint8_t>(height >> 8);
    bytes[16] = 32;
    bytes[17] = kTgaDescriptorTopDown;
}

// Makes a file and gives the place of its elements, which is empty, and warned about, when there is no memory
// for it.
MemoryRegion layOut(ResizableMemoryRegion* destination, std::uint64_t elementBytes, unsigned width,
                    unsigned height) {
    if (!resizeFile(kKind, destination, kTgaHeaderBytes + elementBytes)) {
        return {};
    }
    writeHeader(destination->begin, width, height);
    MemoryRegion elements;
    elements.begin = destination->begin + kTgaHeaderBytes;
    elements.end = elements.begin + elementBytes;
    return elements;
}

bool isAsWritten(const ElementProvider& source) {
    return source.getModifiers().m_decode.isNop() && source.getDataFormat() == kTgaFormat;
}

// Elements in plain memory, which go as they are and without a job.
Error writeElements(const Image& source, ResizableMemoryRegion* destination) {
    if (!canWrite(kKind, source, kTgaFormat)) {
        return kErrorFailed;
    }
    const MemoryRegion elements = firstSurface(source);
    const MemoryRegion inFile =
        layOut(destination, elements.length(), source.getPixelsWide(0), source.getPixelsTall(0));
    return inFile.length() != 0 ? copy(inFile, elements) : kErrorFailed;
}

} // namespace

Error writeTga(const ElementProvider& source, ResizableMemoryRegion* destination,
               Configuration* configuration) {
    if (!checkNotNull(configuration->m_jobManager, kSourcePath, kNeedsJobManager) ||
        !canWrite(kKind, source, kTgaFormat)) {
        return kErrorFailed;
    }
    const SurfaceIndex first;
    const AsSurfaceElementProvider surface(&source, &first);
    RegionImage elements(changeDataFormat(*surface.getVexTexture(), kTgaFormat), {});
    elements.setMemory(
        layOut(destination, elements.getBytesTotal(), elements.getPixelsWide(0), elements.getPixelsTall(0)));
    if (elements.getMemoryRegion().length() == 0) {
        return kErrorFailed;
    }
    return isAsWritten(source) ? copy(&elements, &surface, configuration)
                               : reformat(&surface, &elements, configuration);
}

Error writeTga(const Image& source, ResizableMemoryRegion* destination, Configuration* configuration) {
    return isAsWritten(source)
               ? writeElements(source, destination)
               : writeTga(static_cast<const ElementProvider&>(source), destination, configuration);
}

} // namespace qor::Texsmith::Raw
