// Bitmaps as sections of the system's graphics.

#include "platform/platform.h"
#include "platform/windows/win32.h"

namespace qor::Texsmith::Platform {

void* createBitmap(unsigned width, unsigned height) {
    if (width == 0 || height == 0 || width > kMaxBitmapSize || height > kMaxBitmapSize) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = static_cast<LONG>(width);
    info.bmiHeader.biHeight = -static_cast<LONG>(height); // the top row first
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    return CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
}

bool getBitmapBits(void* bitmap, BitmapBits* bits) {
    DIBSECTION section = {};
    if (bitmap == nullptr ||
        GetObjectW(static_cast<HBITMAP>(bitmap), sizeof section, &section) != sizeof section) {
        return false; // also a bitmap that is no section
    }
    GdiFlush(); // what the system still draws
    const BITMAP& about = section.dsBm;
    *bits = {static_cast<unsigned>(about.bmWidth), static_cast<unsigned>(about.bmHeight),
             static_cast<unsigned>(about.bmWidthBytes), static_cast<std::uint8_t*>(about.bmBits)};
    return about.bmBitsPixel == 32 && about.bmBits != nullptr;
}

bool deleteBitmap(void* bitmap) { return DeleteObject(static_cast<HBITMAP>(bitmap)) != 0; }

} // namespace qor::Texsmith::Platform
