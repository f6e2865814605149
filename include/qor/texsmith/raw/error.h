// The result type of the Raw interface.
#pragma once

#include <cstdint>

namespace qor::Texsmith::Raw {

// Zero is success; every failure has bit 31 set. Functions that return a plain int return the same values,
// cast. A reader that fails reports the detail through toolsWarning before it returns the code.
enum Error : std::uint32_t {
    kErrorNone = 0x00000000,
    kErrorFailed = 0xC0D78000, // general failure, and the first result of every callback
    kErrorWicFactory = 0xC0D78001,
    kErrorWicFormatConverterCreate = 0xC0D78009,
    kErrorWicFormatConverterInitialize = 0xC0D7800A,
    kErrorStreamSeek = 0xC0D7800E,
    kErrorStreamWrite = 0xC0D78010,
    kErrorWicDecoderCreate = 0xC0D78011,
    kErrorWicDecoderInitialize = 0xC0D78012,
    kErrorWicGetFrame = 0xC0D78013,
    kErrorWicGetSize = 0xC0D78014,
    kErrorWicGetPixelFormat = 0xC0D78015,
    kErrorWicPixelFormatUnknown = 0xC0D78016,
    kErrorWicCopyPixels = 0xC0D78017,
    kErrorTgaTooSmall = 0xC0D78019,           // fewer than 18 bytes
    kErrorTgaColorMapType = 0xC0D7801B,       // colour map type 2 or more
    kErrorTgaImageType = 0xC0D7801C,          // image type outside 1, 2, 3, 9, 10, 11
    kErrorTgaNoImageData = 0xC0D7801D,        // image type 0
    kErrorTgaMissingColorMap = 0xC0D7801E,    // colour-mapped image without a map
    kErrorTgaUnexpectedColorMap = 0xC0D7801F, // a map on an image that is not colour-mapped
    kErrorTgaEmptyColorMap = 0xC0D78020,      // map of length zero
    kErrorTgaColorMapEntrySize = 0xC0D78021,  // map entry size other than 8, 16, 24, 32
    kErrorTgaZeroDimension = 0xC0D78022,      // width or height zero
    kErrorTgaPixelDepth = 0xC0D78023,         // pixel depth other than 8, 16, 24, 32, 48, 64
    kErrorTgaUnsupported = 0xC0D78029,        // no data format for these keys
    kErrorAborted = 0xC0D7802A,               // the caller's abort word was set
};

} // namespace qor::Texsmith::Raw
