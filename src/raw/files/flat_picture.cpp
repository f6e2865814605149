#include "raw/files/flat_picture.h"

#include "qor/texsmith/tools_assert.h"
#include "raw/surfaces/default_tile_mode.h"

namespace qor::Texsmith::Raw {

bool pictureSizeFits(const FileKind& kind, std::int64_t width, std::int64_t height) {
    const auto fits = [](std::int64_t size) { return size >= 1 && size <= kMaxPictureSize; };
    if (fits(width) && fits(height)) {
        return true;
    }
    toolsWarning(kind.m_sourcePath, __LINE__,
                 "The %s image is %lld x %lld, but a texture is 1 to %u wide and tall.", kind.m_name,
                 static_cast<long long>(width), static_cast<long long>(height), kMaxPictureSize);
    return false;
}

MemoryRegion allocatePicture(ReallocatableImage* image, unsigned width, unsigned height,
                             Vex::DataFormat format, GpuAddress::SurfaceType type) {
    Vex::Texture texture;
    texture.initAs2dArray(width, height, 1, 0, 1, format, defaultTileMode(type, format, 1),
                          Vex::kNumFragments1, false);
    image->reallocate(&texture);
    image->setModifiers(Modifiers());
    return firstSurface(*image);
}

Error reportMissingTexels(const FileKind& kind, std::uint64_t missing, std::uint64_t texels) {
    if (missing == 0) {
        return kErrorNone;
    }
    toolsWarning(kind.m_sourcePath, __LINE__, "The %s file ends early: %llu of its %llu pixels are missing.",
                 kind.m_name, static_cast<unsigned long long>(missing),
                 static_cast<unsigned long long>(texels));
    return kErrorFailed;
}

MemoryRegion firstSurface(const Image& image) {
    const SurfaceIndex first;
    return image.getMemoryRegion(&first);
}

bool resizeFile(ResizableMemoryRegion* destination, std::uint64_t bytes) {
    destination->resize(bytes);
    return destination->length() >= bytes;
}

} // namespace qor::Texsmith::Raw
