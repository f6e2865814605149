// Files of all types that a codec reads and writes, by function and by GUID.
#include "qor/texsmith/raw/wic.h"

#include "qor/texsmith/raw/exr.h"
#include "qor/texsmith/raw/jpg.h"
#include "qor/texsmith/raw/png.h"
#include "raw/files/codec.h"
#include "raw/files/flat_image.h"

#include <algorithm>
#include <iterator>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\files\\wic";
constexpr FileKind kKind = {"image", kSourcePath};

constexpr FileType kExr = makeFileType(".EXR");
constexpr FileType kJpg = makeFileType(".JPG");
constexpr FileType kPng = makeFileType(".PNG");

struct GuidRow {
    WicGuid m_guid;
    FileType m_type;
};

constexpr GuidRow kGuids[] = {
    {g_wicGuidBmp, makeFileType(".BMP")},
    {g_wicGuidGif, makeFileType(".GIF")},
    {g_wicGuidIco, makeFileType(".ICO")},
    {g_wicGuidJpg, kJpg},
    {g_wicGuidPng, kPng},
    {g_wicGuidTif, makeFileType(".TIF")},
    {g_wicGuidWdp, makeFileType(".WDP")},
};

// That of an unknown GUID is one that no codec has.
FileType typeOf(const WicGuid& guid) {
    const auto* row = std::find_if(std::begin(kGuids), std::end(kGuids),
                                   [&guid](const GuidRow& candidate) { return candidate.m_guid == guid; });
    return row != std::end(kGuids) ? row->m_type : makeFileType("GUID");
}

Error readChecked(FileType type, MemoryRegion* source, ReallocatableImage* destination,
                  Configuration* configuration, int index) {
    return readFlatImage(kKind, source, destination, configuration, [=](MemoryRegion* file) {
        return readByCodec(type, file, destination, configuration, index);
    });
}

Error writeChecked(FileType type, const Image* source, ResizableMemoryRegion* destination,
                   Configuration* configuration) {
    return writeFlatImage(kKind, source, destination, configuration,
                          [=] { return writeByCodec(type, source, destination, configuration); });
}

} // namespace

Error convertFromExr(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration) {
    return readChecked(kExr, source, destination, configuration, 0);
}

Error convertToExr(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    return writeChecked(kExr, source, destination, configuration);
}

Error convertFromJpg(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration) {
    return readChecked(kJpg, source, destination, configuration, 0);
}

Error convertToJpg(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    return writeChecked(kJpg, source, destination, configuration);
}

Error convertFromPng(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration) {
    return readChecked(kPng, source, destination, configuration, 0);
}

Error convertToPng(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    return writeChecked(kPng, source, destination, configuration);
}

Error convertFromWic(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration,
                     const WicGuid& guid, int index) {
    return readChecked(typeOf(guid), source, destination, configuration, index);
}

Error convertToWic(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration,
                   const WicGuid& guid) {
    return writeChecked(typeOf(guid), source, destination, configuration);
}

} // namespace qor::Texsmith::Raw
