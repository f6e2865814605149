// The classic way to the native container: error codes in place of reports, and C files.
//
// The layout of a file stands in raw/vxf.h. Functions keep no state.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/job_manager.h"
#include "qor/texsmith/raw/memory_region.h"
#include "qor/texsmith/raw/vxf.h"
#include "qor/texsmith/vex_texture_gen.h"

#include <cstdint>
#include <cstdio>

namespace qor::Texsmith {

namespace Vxf {

// A chunk of type "USER"; the caller's bytes follow.
struct UserData {
    std::uint32_t m_type;
    std::uint32_t m_size; // of what follows
};

// A whole file in one allocation; its stream size says how long.
struct VxfFile {
    Header m_header;
    Contents m_contents;
};

} // namespace Vxf

enum ErrorCode : std::uint32_t {
    kVxfErrorNone = 0,
    kVxfErrorNullPointer = 0x80D70100,
    kVxfErrorWrongMagic = 0x80D70101,
    kVxfErrorContentsTooBig = 0x80D70102, // for callers; no function here returns it
    kVxfErrorTooShort = 0x80D70103,
    kVxfErrorWrongVersion = 0x80D70104,
    kVxfErrorWrongAlignment = 0x80D70105,
    kVxfErrorWrongContentsSize = 0x80D70106,
    kVxfErrorCannotOpen = 0x80D70107,
    kVxfErrorWrongFileSize = 0x80D70108, // for callers; no function here returns it
};

// A file is read from its start. A region below 257 bytes is deliberately too short, whatever it holds.
QOR_TEXSMITH_API ErrorCode loadVxfHeader(Vxf::Header* header, std::FILE* file);
QOR_TEXSMITH_API ErrorCode loadVxfHeader(Vxf::Header* header, Raw::MemoryRegion* region);
// Opens the file for reading and writing. `*file` is the caller's to close, null when it could not be opened.
// Names are UTF-8 on Windows and bytes as they are elsewhere.
QOR_TEXSMITH_API ErrorCode readVxfHeader(std::FILE** file, Vxf::Header* header, const char* filename);

// Reads the `contentsSize` bytes behind the header into `contents`, which has room for them, and checks them.
QOR_TEXSMITH_API ErrorCode readVxfContents(Vxf::Contents* contents, unsigned int contentsSize,
                                           std::FILE* file);
QOR_TEXSMITH_API ErrorCode readVxfContents(Vxf::Contents* contents, unsigned int contentsSize,
                                           Raw::MemoryRegion* region);

// Both read behind the contents without knowing where they end: `contents` must hold all its descriptors and
// the head of a chunk behind them, as what readVxfContents has accepted as version 2 does when it is at least
// 32 * textures + 16 bytes long. 0 and null for a null pointer.
QOR_TEXSMITH_API unsigned int computeContentSize(const Vxf::Contents* contents);
// What stands behind the descriptors, whether it is a chunk or not.
QOR_TEXSMITH_API Vxf::UserData* getUserData(const Vxf::Contents* contents);

// At most `size` bytes with the terminator; an empty text for an unknown code. For kVxfErrorCannotOpen
// `header` is deliberately taken for the name of the file.
QOR_TEXSMITH_API void createVxfErrorMessage(char* buffer, unsigned int size, ErrorCode code,
                                            const Vxf::Header* header, const Vxf::Contents* contents);

// A file with one texture in a default tile mode and a chunk of type "USER", with `userData`'s bytes or none.
// Free it with toolsSystemRelease. Null when memory is short, which is reported, or when the image cannot be
// encoded in that format.
QOR_TEXSMITH_API Vxf::VxfFile* writeImage2VxfInMemory(VexTextureGen* image, Vex::DataFormat format,
                                                      Vxf::UserData* userData, JobManager* jobManager);
// Into a file, which is made or emptied. Does nothing more when it cannot be opened.
QOR_TEXSMITH_API void writeImage2VxfFile(const char* filename, VexTextureGen* image, Vex::DataFormat format,
                                         Vxf::UserData* userData, JobManager* jobManager);

} // namespace qor::Texsmith
