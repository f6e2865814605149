// How readers take what files say by halves.
#pragma once

#include <cstdint>

namespace qor::Texsmith::Raw {

// Each bit replaces a literal reading by the one that the writers of such files meant. They are combined in
// Configuration::m_readingOptions, which has none of them at first; describeFile tells which of those asked
// for make a difference to a file.
enum ReadingOption : std::uint32_t {
    // TGA, grey pixels of 16 bits whose descriptor counts 8 attribute bits: grey and alpha (L8A8, or
    // R8G8B8A8 where the channel type is sRGB), and not 16 bits of grey.
    kReadTgaGreyWithAlpha = 1u << 0,
    // TGA, colours of 16 bits whose descriptor counts no attribute bits: B5G5R5X1, and not B5G5R5A1.
    kReadTgaColorAsOpaque = 1u << 1,
    // DDS, all entries of an array and all faces of a cube that only the extended header tells of, and all
    // slices of a volume that lacks its flag but has a depth: by the extended header's dimension, by the flag
    // of the depth, or, without either header saying otherwise, because the file holds them.
    kReadDdsWholeTexture = 1u << 2,
    // DDS, masks of 10, 10, 10 and 2 bits as they are, and not with red and blue changed.
    kReadDdsMasksAsTheyAre = 1u << 3,
    // PFM, numbers with the most significant byte first where the scale is positive. Writers write the least
    // significant byte first, and a scale of -1, with and without this.
    kReadPfmByteOrder = 1u << 4,
    // PFM, rows from the bottom up, in reading and in writing.
    kReadPfmBottomUp = 1u << 5,
    // Files without a known extension: PNG by its signature, whose first byte is 0x89 and no dot.
    kReadPngBySignature = 1u << 6,

    kReadLiterally = 0,
    kReadKindly = (1u << 7) - 1,
};

} // namespace qor::Texsmith::Raw
