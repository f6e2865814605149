// The rows of an image on their way into a file by an outside library.
#pragma once

#include "raw/files/channel_formats.h"
#include "raw/files/flat_image.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qor::Texsmith::Raw {

// How the texels of `image` are best kept: alpha where lane W is read from a channel, 16 bits where a channel
// has more than 8 or is a float, grey where X, Y and Z are read from one channel and stay equal.
ChannelLayout layoutOf(const Image& image);
// The same, but grey with alpha only for images that lie so: all others would come to it by way of R, G, B
// and A, of which it stores R and G. For files of up to that depth.
ChannelLayout layoutToKeep(const Image& image, ChannelDepth most);
// Whether halves hold the image's values: no channel is a float of more bits, or has more than 11.
bool fitsHalf(const Image& image);

// Zeros in that shape, with identity modifiers. Null, and warned about, where there is no memory for it.
std::uint8_t* makeRows(const FileKind& kind, ReallocatableImage* image, unsigned width, unsigned height,
                       Vex::DataFormat format);

// The first surface of an image. Rows lie one behind the other.
struct ImageRows {
    const std::uint8_t* m_begin;
    std::size_t m_pitch;
    unsigned m_width;
    unsigned m_height;
    ChannelLayout m_layout;
    bool m_isSrgb;
    EncoderEffort m_effort;

    const std::uint8_t* row(unsigned y) const { return m_begin + std::size_t{y} * m_pitch; }
};

using WriteRows = Error (*)(const ImageRows& rows, std::vector<std::uint8_t>* file);

// Writes the image in the format of that layout, with the sRGB type where the image has it and the layout
// may, and else as UNorm. The destination is resized once the whole file is there.
Error writeRows(const FileKind& kind, const Image& source, const ChannelLayout& layout,
                ResizableMemoryRegion* destination, Configuration* configuration, WriteRows write);

// For callbacks that no exception may leave. False where there is no memory.
bool appendBytes(std::vector<std::uint8_t>* file, const std::uint8_t* bytes, std::size_t count) noexcept;

} // namespace qor::Texsmith::Raw
