// Bitmaps as plain memory, since the system has none.

#include "platform/platform.h"

#include <cstdlib>
#include <new>

namespace qor::Texsmith::Platform {
namespace {

struct Bitmap {
    unsigned m_width, m_height;
    std::uint8_t* m_bits;
};

} // namespace

void* createBitmap(unsigned width, unsigned height) {
    if (width == 0 || height == 0 || width > kMaxBitmapSize || height > kMaxBitmapSize) {
        return nullptr;
    }
    void* const bits = std::calloc(std::size_t{width} * height, 4);
    auto* const bitmap = bits != nullptr ? new (std::nothrow)
                                               Bitmap{width, height, static_cast<std::uint8_t*>(bits)}
                                         : nullptr;
    if (bitmap == nullptr) {
        std::free(bits);
    }
    return bitmap;
}

bool getBitmapBits(void* bitmap, BitmapBits* bits) {
    if (bitmap == nullptr) {
        return false;
    }
    const auto& section = *static_cast<const Bitmap*>(bitmap);
    *bits = {section.m_width, section.m_height, section.m_width * 4, section.m_bits};
    return true;
}

bool deleteBitmap(void* bitmap) {
    if (bitmap == nullptr) {
        return false;
    }
    std::free(static_cast<Bitmap*>(bitmap)->m_bits);
    delete static_cast<Bitmap*>(bitmap);
    return true;
}

} // namespace qor::Texsmith::Platform
