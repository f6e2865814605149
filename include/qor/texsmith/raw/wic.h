// Types of file that only codecs of the machine read and write, each named by the GUID of its container
// format. Arguments, threads and failures are as in raw/helpers.h.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/image.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// Laid out as the operating system lays out its own.
struct WicGuid {
    std::uint32_t m_data1;
    std::uint16_t m_data2;
    std::uint16_t m_data3;
    std::uint8_t m_data4[8];

    friend constexpr bool operator==(const WicGuid& a, const WicGuid& b) {
        bool isEqual = a.m_data1 == b.m_data1 && a.m_data2 == b.m_data2 && a.m_data3 == b.m_data3;
        for (unsigned i = 0; i < sizeof a.m_data4; ++i) {
            isEqual = isEqual && a.m_data4[i] == b.m_data4[i];
        }
        return isEqual;
    }
    friend constexpr bool operator!=(const WicGuid& a, const WicGuid& b) { return !(a == b); }
};

// clang-format off
inline constexpr WicGuid g_wicGuidBmp{0x0AF1D87E, 0xFCFE, 0x4188, {0xBD, 0xEB, 0xA7, 0x90, 0x64, 0x71, 0xCB, 0xE3}};
inline constexpr WicGuid g_wicGuidGif{0x1F8A5601, 0x7D4D, 0x4CBD, {0x9C, 0x82, 0x1B, 0xC8, 0xD4, 0xEE, 0xB9, 0xA5}};
inline constexpr WicGuid g_wicGuidIco{0xA3A860C4, 0x338F, 0x4C17, {0x91, 0x9A, 0xFB, 0xA4, 0xB5, 0x62, 0x8F, 0x21}};
inline constexpr WicGuid g_wicGuidJpg{0x19E4A5AA, 0x5662, 0x4FC5, {0xA0, 0xC0, 0x17, 0x58, 0x02, 0x8E, 0x10, 0x57}};
inline constexpr WicGuid g_wicGuidPng{0x1B7CFAF4, 0x713F, 0x473C, {0xBB, 0xCD, 0x61, 0x37, 0x42, 0x5F, 0xAE, 0xAF}};
inline constexpr WicGuid g_wicGuidTif{0x163BCC30, 0xE2E9, 0x4F0B, {0x96, 0x1D, 0xA3, 0xE9, 0xFD, 0xB7, 0x88, 0xA3}};
inline constexpr WicGuid g_wicGuidWdp{0x57A37CAA, 0x367A, 0x4540, {0x91, 0x6B, 0xF1, 0x83, 0xC5, 0x09, 0x3A, 0x4B}};
// clang-format on

// `index` is that of a frame: a page of a TIFF file, an image of a GIF file as it is stored in its own
// rectangle, 0 for all other types. TIFF files become grey or colour of 8 or 16 bits, halves or floats, and
// GIF files colour of 8 bits, with alpha where they have transparency; they are written with 8 or 16 bits,
// and in up to 256 colours. Null arguments are reported. A faulty file gives a warning and an Error, a frame
// that the file does not have kErrorWicGetFrame. Without a codec of that GUID a warning and kErrorWicFactory;
// what the codecs of PNG and JPEG do is told in headers of their own.
QOR_TEXSMITH_API Error convertFromWic(MemoryRegion* source, ReallocatableImage* destination,
                                      Configuration* configuration, const WicGuid& guid, int index);
QOR_TEXSMITH_API Error convertToWic(const Image* source, ResizableMemoryRegion* destination,
                                    Configuration* configuration, const WicGuid& guid);

} // namespace qor::Texsmith::Raw
