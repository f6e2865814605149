// A texture of a VXF file: opened, and its reports made, once; then read into an image or used where it lies.
#pragma once

#include "qor/texsmith/raw/image.h"
#include "qor/texsmith/raw/view.h"
#include "qor/texsmith/raw/vxf.h"
#include "raw/surfaces/row_order.h"

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

struct VxfTexture {
    VxfManipulator m_file;
    FileTexture m_stored;
};

// Makes the checks and reports of convertFromVxf. False when there is nothing to read.
bool openVxf(VxfTexture* texture, MemoryRegion* source, const void* destination,
             const Configuration* configuration, int index);
// Texels and modifiers. What the file lacks reads as zeros, and gives kErrorFailed after a warning.
Error readVxf(const VxfTexture& texture, ReallocatableImage* destination, Configuration* configuration);
// The same into an image of that shape.
Error readVxf(const VxfTexture& texture, Image* destination, Configuration* configuration);
// The texels where they lie, as far as the file has them, under identity modifiers.
std::unique_ptr<TextureElementProvider> providerOf(const VxfTexture& texture);
// The same with the modifiers of the file. Null when the file lacks texels, or has them in an order that
// gives no strips.
std::unique_ptr<TextureElementProvider> viewVxf(const VxfTexture& texture);
// As convertToVxf, of an image whose memory has its rows in that order.
Error convertToVxf(const Image* source, RowOrder rowOrder, ResizableMemoryRegion* destination,
                   Configuration* configuration);

} // namespace qor::Texsmith::Raw
