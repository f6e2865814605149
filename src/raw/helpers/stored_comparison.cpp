#include "raw/helpers/stored_comparison.h"

#include "qor/texsmith/raw/dds.h"
#include "raw/files/vxf_texture.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr FileType kVxf = makeFileType(".VXF");
constexpr FileType kDds = makeFileType(".DDS");

Error firstError(Error first, Error second) { return first != kErrorNone ? first : second; }

Error compareVxf(MemoryRegion* a, MemoryRegion* b, Configuration* configuration) {
    Texture textureA, textureB;
    const Error openedA = vxf2Texture(a, &textureA, configuration);
    const Error openedB = vxf2Texture(b, &textureB, configuration);
    const Error opened = firstError(openedA, openedB);
    return opened != kErrorNone
               ? opened
               : areBitwiseEqual(textureA.m_memoryRegion, textureB.m_memoryRegion, configuration);
}

Error openDds(DdsImage* image, MemoryRegion* file, const Configuration* configuration) {
    const Error error =
        image->readFrom(file, configuration->m_textureChannelType, configuration->m_readingOptions);
    return image->hasFile() ? error : firstError(error, kErrorFailed);
}

Error compareDds(MemoryRegion* a, MemoryRegion* b, Configuration* configuration) {
    DdsImage imageA, imageB;
    const Error openedA = openDds(&imageA, a, configuration), openedB = openDds(&imageB, b, configuration);
    if (!imageA.hasFile() || !imageB.hasFile()) {
        return kErrorFailed;
    }
    return firstError(firstError(openedA, openedB), areBitwiseEqual(&imageA, &imageB, configuration));
}

// The order of the two shows in nothing.
Error compareVxfWithDds(MemoryRegion* vxf, MemoryRegion* dds, Configuration* configuration) {
    VxfTexture texture;
    DdsImage image;
    const bool hasTexture = openVxf(&texture, vxf, dds, configuration, 0);
    const Error opened = openDds(&image, dds, configuration);
    if (!hasTexture || !image.hasFile()) {
        return kErrorFailed;
    }
    const auto texels = providerOf(texture);
    const Error compared = areBitwiseEqual(texels.get(), &image, configuration);
    return firstError(firstError(texture.m_stored.reportMissing(), opened), compared);
}

} // namespace

bool compareStoredTexels(Error* result, const TypedFile& a, const TypedFile& b,
                         Configuration* configuration) {
    const bool isVxfA = a.m_type == kVxf, isVxfB = b.m_type == kVxf;
    if ((!isVxfA && a.m_type != kDds) || (!isVxfB && b.m_type != kDds)) {
        return false;
    }
    if (isVxfA && isVxfB) {
        *result = compareVxf(a.m_region, b.m_region, configuration);
    } else if (isVxfA || isVxfB) {
        *result = compareVxfWithDds((isVxfA ? a : b).m_region, (isVxfA ? b : a).m_region, configuration);
    } else {
        *result = compareDds(a.m_region, b.m_region, configuration);
    }
    return true;
}

} // namespace qor::Texsmith::Raw
