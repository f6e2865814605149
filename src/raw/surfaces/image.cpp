// Images that bring storage along, and the ways to give them a descriptor.
#include "qor/texsmith/raw/image.h"

#include "raw/frame/check.h"

#include <utility>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\surfaces\\image";

bool checkArguments(const ReallocatableImage* reallocatableImage, const void* source, const char* message) {
    const bool hasImage =
        checkNotNull(reallocatableImage, kSourcePath, "reallocatableImage must not be NULL.");
    const bool hasSource = checkNotNull(source, kSourcePath, message);
    return hasImage && hasSource;
}

constexpr char kNeedsProvider[] = "elementProvider must not be NULL.";
constexpr char kNeedsTexture[] = "texture must not be NULL.";
constexpr char kNeedsVexTexture[] = "vexTexture must not be NULL.";

void reallocateChanged(ReallocatableImage* image, const Vex::Texture& texture, Vex::DataFormat format) {
    const Vex::Texture changed = changeDataFormat(texture, format);
    image->reallocate(&changed);
}

} // namespace

ReallocatableImage::ReallocatableImage(ResizableMemoryRegion* resizableMemoryRegion) {
    setStorage(resizableMemoryRegion);
}

void ReallocatableImage::setStorage(ResizableMemoryRegion* resizableMemoryRegion) {
    m_resizableMemoryRegion = resizableMemoryRegion;
    m_memoryRegion = resizableMemoryRegion;
}

void ReallocatableImage::reallocate(const Texture* texture) {
    reallocate(static_cast<const Vex::Texture*>(texture));
}

void ReallocatableImage::reallocate(const Vex::Texture* texture) {
    if (!checkNotNull(texture, kSourcePath, kNeedsTexture)) {
        return;
    }
    setupAsVexTexture(texture);
    const bool isTooLarge = getDataFormat() != texture->getDataFormat(); // as was reported
    if (m_resizableMemoryRegion != nullptr && !isTooLarge) {
        m_resizableMemoryRegion->ensureSize(m_bytesTotal);
    }
}

const std::type_info* ReallocatableImage::doGetRowsClass() const { return &typeid(ReallocatableImage); }

MemoryMappedImage::MemoryMappedImage() : ReallocatableImage(nullptr) { setStorage(&m_mappedMemory); }

MemoryMappedImage::MemoryMappedImage(const MemoryMappedImage& other)
    : ReallocatableImage(other), m_mappedMemory(other.m_mappedMemory) {
    setStorage(&m_mappedMemory);
}

MemoryMappedImage::MemoryMappedImage(MemoryMappedImage&& other) noexcept
    : ReallocatableImage(other), m_mappedMemory(std::move(other.m_mappedMemory)) {
    setStorage(&m_mappedMemory);
}

MemoryMappedImage& MemoryMappedImage::operator=(MemoryMappedImage&& other) noexcept {
    ReallocatableImage::operator=(other);
    m_mappedMemory = std::move(other.m_mappedMemory);
    setStorage(&m_mappedMemory);
    return *this;
}

MemoryMappedImage& MemoryMappedImage::operator=(const MemoryMappedImage& other) {
    if (this != &other) {
        ReallocatableImage::operator=(other);
        m_mappedMemory = other.m_mappedMemory;
        setStorage(&m_mappedMemory);
    }
    return *this;
}

const std::type_info* MemoryMappedImage::doGetRowsClass() const { return &typeid(MemoryMappedImage); }

void reallocate(ReallocatableImage* reallocatableImage, const ElementProvider* elementProvider) {
    if (checkArguments(reallocatableImage, elementProvider, kNeedsProvider)) {
        reallocatableImage->reallocate(elementProvider->getVexTexture());
    }
}

void reallocate(ReallocatableImage* reallocatableImage, const ElementProvider* elementProvider,
                Vex::DataFormat format) {
    if (checkArguments(reallocatableImage, elementProvider, kNeedsProvider)) {
        reallocateChanged(reallocatableImage, elementProvider->getTexture(), format);
    }
}

void reallocate(ReallocatableImage* reallocatableImage, const Texture* texture) {
    if (checkArguments(reallocatableImage, texture, kNeedsTexture)) {
        reallocatableImage->reallocate(texture);
    }
}

void reallocate(ReallocatableImage* reallocatableImage, const Texture* texture, Vex::DataFormat format) {
    if (checkArguments(reallocatableImage, texture, kNeedsTexture)) {
        reallocateChanged(reallocatableImage, *texture, format);
    }
}

void reallocate(ReallocatableImage* reallocatableImage, const Vex::Texture* vexTexture) {
    if (checkArguments(reallocatableImage, vexTexture, kNeedsVexTexture)) {
        reallocatableImage->reallocate(vexTexture);
    }
}

void reallocate(ReallocatableImage* reallocatableImage, const Vex::Texture* vexTexture,
                Vex::DataFormat format) {
    if (checkArguments(reallocatableImage, vexTexture, kNeedsVexTexture)) {
        reallocateChanged(reallocatableImage, *vexTexture, format);
    }
}

} // namespace qor::Texsmith::Raw
