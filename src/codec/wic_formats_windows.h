// The pixel formats of the Windows Imaging Component.
#pragma once

#include "codec/com_windows.h"
#include "codec/pixel_rows.h"

namespace qor::Texsmith::Raw {

struct WicPixelFormat {
    GUID m_format;        // of the file
    GUID m_convertedTo;   // the same, or one that it has to be converted to
    PixelLayout m_pixels; // of the latter
};

// Null for a format that is not read.
const WicPixelFormat* findWicPixelFormat(const GUID& format);
// The one that pixels of packRow are written in, red and blue exchanged in those of 8 bits.
GUID wicPixelFormatOf(const ChannelLayout& layout);

} // namespace qor::Texsmith::Raw
