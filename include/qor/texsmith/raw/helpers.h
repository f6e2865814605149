// The front door for files: loading, saving, converting and comparing them, whatever their type.
//
// A file is a region of memory with an extension that tells its type, or a name. An `extension` may be a
// whole file name: what stands behind its last dot counts. Names are UTF-8 on Windows and bytes as they are
// elsewhere; a name to read may be a URL. Regions, images and configurations stay the caller's, and nothing
// keeps them. A destination may share memory with its source: the work then goes through memory of its own.
// All of that goes for the readers and writers of each type as well, which have headers of their own.
//
// Results are Error values, also where the type is int, and every failure has been reported: null pointers
// and unknown types as assertions, files that cannot be read or written as assertions or warnings that say
// why. Running out of memory is kErrorFailed after a report. Each function may run on any thread, several at
// once with destinations and configurations of their own; work goes to the job manager of the configuration,
// which DDS, .vxf, TGA and all changes of format need.
//
// Types that are read and written: .dds .vxf .tga .bmp .hdr .pfm .tsh, and by outside libraries those that
// getFileTypeSupport tells. Others give kErrorWicFactory after a warning that names the type.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/comparison.h"
#include "qor/texsmith/raw/filetype.h"
#include "qor/texsmith/raw/image.h"

namespace qor::Texsmith::Raw {

// A type of file, and what this build does with it.
struct FileTypeSupport {
    char m_extension[5]; // ".PNG"
    bool m_isRead;
    bool m_isWritten;
    const char* m_library; // the outside library that does it, a static text; null for own code, and for none
};
// The types that there are routes for, also those that this build neither reads nor writes. An index outside
// 0..count - 1 gives an empty extension. A library of the system is only asked when it is used, and may lack
// a type all the same.
QOR_TEXSMITH_API int getFileTypeSupportCount();
QOR_TEXSMITH_API FileTypeSupport getFileTypeSupport(int index);

// Make `destination` the image of a file. The type is that of the extension, or where that tells none, that
// of the first bytes. `index` is the texture of a .vxf file; the forms without it take the first. A file that
// ends early gives what it has, zeros for the rest, and kErrorFailed. A header that claims more than 1 MiB of
// texels, of which the file has less than a sixteenth (types by outside libraries: less than compression can
// gain), is refused, and the destination stays as it was; so is every other header that cannot be read.
//
// Programs want loadWithResult. load fails for null pointers, unknown types and files that cannot be opened,
// and returns 0 otherwise, whatever the reader's result.
QOR_TEXSMITH_API Error loadWithResult(ReallocatableImage* destination, MemoryRegion* source,
                                      const char* extension, Configuration* configuration, int index);
QOR_TEXSMITH_API Error loadWithResult(ReallocatableImage* destination, const char* filenameOrUrl,
                                      Configuration* configuration, int index);
QOR_TEXSMITH_API int load(ReallocatableImage* destination, MemoryRegion* source, const char* extension,
                          Configuration* configuration, int index);
QOR_TEXSMITH_API int load(ReallocatableImage* destination, MemoryRegion* source, const char* extension,
                          Configuration* configuration);
QOR_TEXSMITH_API int load(ReallocatableImage* destination, const char* filenameOrUrl,
                          Configuration* configuration, int index);
QOR_TEXSMITH_API int load(ReallocatableImage* destination, const char* filenameOrUrl,
                          Configuration* configuration);

// Write `source` as the type of the extension. .dds (with the classic header) and .vxf keep the format, every
// mip and every slice; .tsh keeps the shape alone; the other types keep the first surface, converted to a
// format of theirs. The destination is resized to the file. By name the file is written where it stands: one
// that must survive a failure is written beside it and renamed. save and saveWithResult return the same.
QOR_TEXSMITH_API Error saveWithResult(const Image* source, ResizableMemoryRegion* destination,
                                      const char* extension, Configuration* configuration);
QOR_TEXSMITH_API Error saveWithResult(const Image* source, const char* filename,
                                      Configuration* configuration);
QOR_TEXSMITH_API int save(Image* source, ResizableMemoryRegion* destination, const char* extension,
                          Configuration* configuration);
QOR_TEXSMITH_API int save(Image* source, const char* filename, Configuration* configuration);

// Turn a file into one of another type. Files of one type are copied byte by byte, and so are two of unknown
// type. Between .dds and .vxf texels move as they are stored; of a .vxf file the first texture is taken. All
// others are loaded and saved; a file that ends early is saved as far as it goes, and has failed. A
// destination name that begins with a dot is an extension for the source's name. Source and destination may
// be the same file, which is left as it is. A source that is missing or empty leaves the destination alone.
//
// Programs want convertWithResult. convert returns 0 for whatever had to be loaded and saved, whatever the
// reader's and the writer's results.
QOR_TEXSMITH_API Error convertWithResult(MemoryRegion* source, const char* sourceExtension,
                                         ResizableMemoryRegion* destination, const char* destinationExtension,
                                         Configuration* configuration);
QOR_TEXSMITH_API Error convertWithResult(const char* sourceFilenameOrUrl,
                                         const char* destinationFilenameOrExtension,
                                         Configuration* configuration);
QOR_TEXSMITH_API int convert(MemoryRegion* source, const char* sourceExtension,
                             ResizableMemoryRegion* destination, const char* destinationExtension,
                             Configuration* configuration);
QOR_TEXSMITH_API int convert(const char* sourceFilenameOrUrl, const char* destinationFilenameOrExtension,
                             Configuration* configuration);

// kErrorNone when the two files hold the same stored texels, kErrorFailed when not, which is no fault and not
// reported. Two .vxf files are compared as their first textures lie, whatever their descriptors say, and
// neither they nor DDS files are decoded; other files are loaded first. A file that cannot be read whole
// gives its reader's error. Names that differ at most in case are equal without a look at the files.
QOR_TEXSMITH_API int areBitwiseEqual(MemoryRegion* sourceA, const char* sourceAExtension,
                                     MemoryRegion* sourceB, const char* sourceBExtension,
                                     Configuration* configuration);
QOR_TEXSMITH_API int areBitwiseEqual(const char* sourceAFilenameOrUrl, const char* sourceBFilenameOrUrl,
                                     Configuration* configuration);

// The mean squared error of the pictures of two files, as compare of surfaces gives it. One region given
// twice, and names that differ at most in case, give zeros without being read.
QOR_TEXSMITH_API int compare(VectorFloat* mse, MemoryRegion* sourceA, const char* sourceAExtension,
                             MemoryRegion* sourceB, const char* sourceBExtension,
                             Configuration* configuration, const SquaredErrorCalculator* calculator);
QOR_TEXSMITH_API int compare(VectorFloat* mse, const char* sourceAFilenameOrUrl,
                             const char* sourceBFilenameOrUrl, Configuration* configuration,
                             const SquaredErrorCalculator* calculator);

} // namespace qor::Texsmith::Raw
