// What the codecs of pictures have in common: which format a picture is held in, making its image, and
// handing the rows of an image to a writer.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/image.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qor::Texsmith::Raw {

struct PictureKind {
    bool m_isGrey;
    bool m_hasAlpha;
    bool m_isDeep; // 16 bits a channel instead of 8
};

// L8, L8A8, R8G8B8X8 and R8G8B8A8, and the same with 16 bits. These have sRGB types with 8 bits only: deep
// kinds become UNorm instead.
Vex::DataFormat formatOf(const PictureKind& kind, Vex::TextureChannelType channelType);

// How a picture with the texels of `image` is best kept: alpha where lane W is read from a channel, grey
// where X, Y and Z are read from one and stay equal, deep where a channel has more than 8 bits or is a float.
PictureKind kindOf(const Image& image);

// A compressed file that is shorter than this has no right to a large image.
struct PictureClaim {
    const char* m_name; // of the file's kind, for the warning
    unsigned m_width;
    unsigned m_height;
    std::uint64_t m_packedBytes;  // of the whole picture, as the file counts
    std::uint64_t m_bytesPerByte; // that its compression can gain at most
    std::uint64_t m_fileBytes;
};
// Warns where it is not.
bool isClaimJust(const PictureClaim& claim, const char* sourcePath);

// A two-dimensional image of zeros with identity modifiers. Null where there is no memory for it.
std::uint8_t* makePicture(ReallocatableImage* image, unsigned width, unsigned height, Vex::DataFormat format);

// The first surface of an image. Rows lie one behind the other.
struct PictureRows {
    const std::uint8_t* m_begin;
    std::size_t m_pitch;
    unsigned m_width;
    unsigned m_height;
    PictureKind m_kind;
    bool m_isSrgb;

    const std::uint8_t* row(unsigned y) const { return m_begin + std::size_t{y} * m_pitch; }
};

using WritePicture = Error (*)(const PictureRows& rows, std::vector<std::uint8_t>* file);

// Writes the image in the format of that kind, with the sRGB type where the image has it and the kind may,
// and else as UNorm. The destination is resized once the whole file is there.
Error writePicture(const Image* source, const PictureKind& kind, ResizableMemoryRegion* destination,
                   Configuration* configuration, WritePicture write);

// For callbacks that no exception may leave. False where there is no memory.
bool appendBytes(std::vector<std::uint8_t>* file, const std::uint8_t* bytes, std::size_t count) noexcept;

} // namespace qor::Texsmith::Raw
