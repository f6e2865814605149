// Which format the pixels of files by outside libraries are held in, and the rows of an image on their way
// into one.
#pragma once

#include "raw/files/flat_image.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qor::Texsmith::Raw {

enum class ChannelDepth : std::uint8_t { k8, k16, kHalf, kFloat };

// The channels that such a file has.
struct ChannelLayout {
    bool m_isGrey;
    bool m_hasAlpha;
    ChannelDepth m_depth;
};

// L8, L8A8, R8G8B8X8 and R8G8B8A8, and the same with 16 bits, halves and floats. The channel type is for
// those of 8 and 16 bits, and sRGB types for 8 bits alone: 16 bits become UNorm instead.
Vex::DataFormat formatOf(const ChannelLayout& layout, Vex::TextureChannelType channelType);

// How the texels of `image` are best kept: alpha where lane W is read from a channel, 16 bits where a channel
// has more than 8 or is a float, grey where X, Y and Z are read from one channel and stay equal.
ChannelLayout layoutOf(const Image& image);

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
