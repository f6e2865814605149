// What a file says of itself in its headers, without a look at its texels.
//
//     FileDescription description;
//     describeFile(&description, &file, "photo.png", &configuration, 0);
//     if (description.m_transfer == kFileTransferSrgb) { ... }
//
// The bytes of the file are all that counts: no codec is asked, so that every build on every system tells the
// same.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/error.h"
#include "qor/texsmith/raw/filetype.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// What the numbers of a file mean.
enum FileTransfer : std::uint32_t {
    kFileTransferUnstated = 0, // the file does not say
    kFileTransferSrgb = 1,     // encoded by the sRGB curve
    kFileTransferLinear = 2,   // light, or data that is no colour
    kFileTransferOther = 3,    // encoded by another curve
};

// What describeFile found. A plain value.
struct FileDescription {
    FileType m_type = 0;     // 0: not known, and nothing else is
    unsigned m_textures = 1; // in the file; the rest tells of the one that was asked for
    unsigned m_width = 0;    // 0: not known, here and in m_height
    unsigned m_height = 0;   // as the header has them, also where no texture is as large
    unsigned m_depth = 1;    // slices of a volume
    unsigned m_mips = 1;
    unsigned m_faces = 1;
    unsigned m_arrayEntries = 1;
    unsigned m_fragments = 1;
    Vex::DataFormat m_format = {0}; // that loading gives; 0: not known
    Vex::TileMode m_tileMode = {};  // of a .vxf file
    std::uint64_t m_texelBytes = 0; // of all surfaces: in a .vxf file as they are tiled, else as an image
    unsigned m_attributeBits = 0;   // of a TGA file
    std::uint32_t m_readingOptions = kReadLiterally; // those asked for that make a difference to this file

    FileTransfer m_transfer = kFileTransferUnstated;
    // What says it, to be shown to people: "its sRGB chunk", "its profile 'Display P3'", "its format". Empty
    // where nothing does.
    char m_transferSource[96] = {};
};

// Describes texture `index` of a .vxf file, and 0 of all others. The type is that of the extension, or where
// that tells none, that of the first bytes. `configuration` has the reading options, and the channel type of
// files that leave it open. Null pointers are reported; what is odd about the file is not, but by the reader
// of .tsh texts. kErrorFailed where a header is cut or wrong: the description then has what comes before
// that; and for types that are only named (.gif .ico .tif .jxr .wdp .psd .exr).
//
// The transfer is stated by: the format, of .vxf files and of DDS files with the extended header, whose types
// other than sRGB mean linear; PNG's chunks cICP, iCCP (by the profile's name), sRGB and gAMA, of which the
// first in this order counts; the name of JPEG's ICC profile; and by the type itself of HDR and PFM, and of
// DDS files of floats.
QOR_TEXSMITH_API Error describeFile(FileDescription* description, const MemoryRegion* source,
                                    const char* extension, const Configuration* configuration, int index);

} // namespace qor::Texsmith::Raw
