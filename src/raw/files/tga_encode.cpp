#include "raw/files/tga_encode.h"

#include "qor/texsmith/raw/reformat.h"
#include "qor/texsmith/raw/view.h"
#include "raw/files/tga_header.h"
#include "raw/pertile/reformatpertile.h"
#include "raw/surfaces/region_image.h"

#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

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

// Makes a file and gives the place of its elements, which is empty when there is no memory for it.
MemoryRegion layOut(ResizableMemoryRegion* destination, std::uint64_t elementBytes, unsigned width,
                    unsigned height) {
    const std::uint64_t bytes = kTgaHeaderBytes + elementBytes;
    destination->ensureSize(bytes);
    if (destination->length() < bytes) {
        return {};
    }
    writeHeader(destination->begin, width, height);
    MemoryRegion elements = *destination;
    elements.begin += kTgaHeaderBytes;
    return elements;
}

// Formats without a way to the file's, and configurations that run no jobs.
bool canConvert(const ElementProvider& source, const ElementProvider& destination,
                const Configuration& configuration) {
    return configuration.m_jobManager != nullptr && ReformatPerTile::canReformat(&source, &destination);
}

bool isAsWritten(const ElementProvider& source) {
    return source.getModifiers().m_decode.isNop() && source.getDataFormat() == kTgaFormat;
}

// Elements in plain memory, which go as they are and without a job.
Error writeElements(const Image& source, ResizableMemoryRegion* destination) {
    const SurfaceIndex first;
    const MemoryRegion elements = source.getMemoryRegion(&first);
    if (elements.length() == 0) {
        return kErrorFailed;
    }
    const MemoryRegion inFile =
        layOut(destination, elements.length(), source.getPixelsWide(0), source.getPixelsTall(0));
    return inFile.length() != 0 ? copy(inFile, elements) : kErrorFailed;
}

} // namespace

Error writeTga(const ElementProvider& source, ResizableMemoryRegion* destination,
               Configuration* configuration) {
    const SurfaceIndex first;
    const AsSurfaceElementProvider surface(&source, &first);
    RegionImage elements(changeDataFormat(*surface.getVexTexture(), kTgaFormat), {});
    if (canConvert(surface, elements, *configuration)) {
        elements.setMemory(layOut(destination, elements.getBytesTotal(), elements.getPixelsWide(0),
                                  elements.getPixelsTall(0)));
        if (elements.getMemoryRegion().length() == 0) {
            return kErrorFailed;
        }
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
