// A texture of a VXF file: opened, and its reports made, once; then read into an image or used where it lies.
#pragma once

#include "qor/texsmith/raw/image.h"
#include "qor/texsmith/raw/view.h"
#include "qor/texsmith/raw/vxf.h"

#include <memory>

namespace qor::Texsmith::Raw {

// One texture of a file: its shape, and its texels as far as the file has them.
struct FileTexture {
    int m_index;
    Vex::Texture m_texture;
    std::uint64_t m_neededBytes;
    MemoryRegion m_texels;

    std::uint64_t missingBytes() const { return m_neededBytes - m_texels.length(); }
    Error reportMissing() const;
};

struct VxfPicture {
    VxfManipulator m_file;
    FileTexture m_texture;
};

// Makes the checks and reports of convertFromVxf. False when there is nothing to read.
bool openVxf(VxfPicture* picture, MemoryRegion* source, const void* destination,
             const Configuration* configuration, int index);
Error readVxf(const VxfPicture& picture, ReallocatableImage* destination, Configuration* configuration);
// The texels where they lie, as far as the file has them, under identity modifiers.
std::unique_ptr<TextureElementProvider> providerOf(const VxfPicture& picture);
// The same with the modifiers of the file. Null when the file lacks texels, or has them in an order that
// gives no strips.
std::unique_ptr<TextureElementProvider> viewVxf(const VxfPicture& picture);

} // namespace qor::Texsmith::Raw
