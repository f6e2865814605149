#include "raw/files/flat_image.h"

#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/reformat.h"
#include "qor/texsmith/raw/view.h"
#include "raw/pertile/reformatpertile.h"
#include "raw/surfaces/default_tile_mode.h"
#include "raw/surfaces/region_image.h"

namespace qor::Texsmith::Raw {
namespace {

using LongLong = unsigned long long; // as reports print it

// Null for a word that has none.
const char* nameOf(Vex::DataFormat format) {
    for (int i = 0; i < getNamedDataFormatCount(); ++i) {
        if (const NamedDataFormat named = getNamedDataFormat(i); named.m_dataFormat == format) {
            return named.m_name;
        }
    }
    return nullptr;
}

void reportNoConversion(const FileKind& kind, Vex::DataFormat format) {
    if (const char* name = nameOf(format); name != nullptr) {
        toolsWarning(kind.m_sourcePath, __LINE__,
                     "The %s file cannot be written: texels of the format %s cannot be converted for it.",
                     kind.m_name, name);
        return;
    }
    toolsWarning(kind.m_sourcePath, __LINE__,
                 "The %s file cannot be written: texels of the format 0x%06x cannot be converted for it.",
                 kind.m_name, format.m_word);
}

} // namespace

Error refuseFile(const FileKind& kind, const char* reason) {
    toolsWarning(kind.m_sourcePath, __LINE__, "The %s file cannot be read: %s.", kind.m_name, reason);
    return kErrorFailed;
}

bool checkFrame(const FileKind& kind, int index, unsigned frames) {
    if (index >= 0 && static_cast<unsigned>(index) < frames) {
        return true;
    }
    toolsWarning(kind.m_sourcePath, __LINE__, "The %s file has %u image%s, so there is no image %d.",
                 kind.m_name, frames, frames == 1 ? "" : "s", index);
    return false;
}

bool imageSizeFits(const FileKind& kind, std::int64_t width, std::int64_t height) {
    const auto fits = [](std::int64_t size) { return size >= 1 && size <= Vex::kMaxTextureSize; };
    if (fits(width) && fits(height)) {
        return true;
    }
    toolsWarning(kind.m_sourcePath, __LINE__,
                 "The %s image is %lld x %lld, but a texture is 1 to %u wide and tall.", kind.m_name,
                 static_cast<long long>(width), static_cast<long long>(height), Vex::kMaxTextureSize);
    return false;
}

bool isClaimJust(const FileKind& kind, const ImageClaim& claim) {
    if (isClaimCredible(claim.m_imageBytes, claim.m_fileBytes, claim.m_mostGain)) {
        return true;
    }
    toolsWarning(kind.m_sourcePath, __LINE__,
                 "The %s image is %u x %u, but its file has only %llu bytes of texels.", kind.m_name,
                 claim.m_width, claim.m_height, LongLong{claim.m_fileBytes});
    return false;
}

Vex::Texture flatTexture(unsigned width, unsigned height, Vex::DataFormat format,
                         GpuAddress::SurfaceType type) {
    Vex::Texture texture;
    texture.initAs2dArray(width, height, 1, 0, 1, format, defaultTileMode(type, format, 1),
                          Vex::kNumFragments1, false);
    return texture;
}

bool allocateImage(const FileKind& kind, ReallocatableImage* image, const Vex::Texture& texture) {
    image->reallocate(&texture);
    if (image->getMemoryRegion().length() == image->getBytesTotal()) {
        return true;
    }
    toolsWarning(kind.m_sourcePath, __LINE__, "There is no memory for the %u bytes of the %s image.",
                 image->getBytesTotal(), kind.m_name);
    return false;
}

MemoryRegion allocateFlatImage(const FileKind& kind, ReallocatableImage* image, unsigned width,
                               unsigned height, Vex::DataFormat format, GpuAddress::SurfaceType type) {
    const bool hasMemory = allocateImage(kind, image, flatTexture(width, height, format, type));
    image->setModifiers(Modifiers());
    return hasMemory ? image->getMemoryRegion() : MemoryRegion();
}

Error reportMissingTexels(const FileKind& kind, std::uint64_t missing, std::uint64_t texels) {
    if (missing == 0) {
        return kErrorNone;
    }
    toolsWarning(kind.m_sourcePath, __LINE__, "The %s file ends early: %llu of its %llu pixels are missing.",
                 kind.m_name, LongLong{missing}, LongLong{texels});
    return kErrorFailed;
}

MemoryRegion firstSurface(const Image& image) {
    const SurfaceIndex first;
    return image.getMemoryRegion(&first);
}

bool resizeFile(const FileKind& kind, ResizableMemoryRegion* destination, std::uint64_t bytes) {
    destination->ensureSize(bytes);
    if (destination->length() >= bytes) {
        return true;
    }
    toolsWarning(kind.m_sourcePath, __LINE__, "There is no room for the %llu bytes of the %s file.",
                 LongLong{bytes}, kind.m_name);
    return false;
}

bool canWrite(const FileKind& kind, const ElementProvider& source, Vex::DataFormat format) {
    const auto* image = dynamic_cast<const Image*>(&source);
    const bool isShort =
        image != nullptr && image->getBytesTotal() != 0 && firstSurface(*image).length() == 0;
    if (isShort) {
        return false; // reported
    }
    if (image != nullptr && image->getBytesTotal() == 0) {
        toolsWarning(kind.m_sourcePath, __LINE__, "The %s file cannot be written: the image has no texels.",
                     kind.m_name);
        return false;
    }
    const RegionImage target(flatTexture(1, 1, format), {});
    if (source.getDataFormat() != format && !ReformatPerTile::canReformat(&source, &target)) {
        reportNoConversion(kind, source.getDataFormat());
        return false;
    }
    return true;
}

Error convertFirstSurface(const Image& source, MemoryMappedImage* image, Vex::DataFormat format,
                          Configuration* configuration) {
    const SurfaceIndex first;
    const AsSurfaceElementProvider surface(&source, &first);
    reallocate(image, &surface, format);
    return reformat(&surface, image, configuration);
}

} // namespace qor::Texsmith::Raw
