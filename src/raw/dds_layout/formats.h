// How DDS files name formats: by DXGI value, by FourCC, or by masks.
#pragma once

#include "qor/vex/data_format.h"
#include "raw/dds_layout/header.h"

namespace qor::Texsmith::Raw {

// 0 when there is none. A typeless value takes `channelType`.
Vex::DataFormat formatFromDxgi(std::uint32_t dxgi, Vex::TextureChannelType channelType);
std::uint32_t dxgiFromFormat(Vex::DataFormat format);

struct DdsFormat {
    Vex::DataFormat m_format; // 0: none
    unsigned m_bytesInFile;   // of an element; fewer than its format has where files of 24 bits are meant
};

// From FourCC or masks. `readingOptions` are bits of ReadingOption.
DdsFormat formatFromPixelFormat(const Dds::PixelFormat& pixelFormat, Vex::TextureChannelType channelType,
                                std::uint32_t readingOptions);
// All that a header says of a format; the DXGI value is for the extended header.
Dds::PixelFormat pixelFormatOf(Vex::DataFormat format, bool isDx10);

// The version that a file of this format gets.
bool needsDx10Header(Vex::DataFormat format, unsigned version);

} // namespace qor::Texsmith::Raw
