#include "raw/helpers/shortcuts.h"

#include "qor/texsmith/raw/tga.h"
#include "raw/files/dds_and_vxf.h"
#include "raw/files/tga_encode.h"
#include "raw/files/tga_view.h"
#include "raw/files/vxf_texture.h"

#include <algorithm>
#include <iterator>

namespace qor::Texsmith::Raw {
namespace {

// A file that loads in part is saved in part.
Error vxfToTgaThroughImage(const VxfTexture& texture, ResizableMemoryRegion* destination,
                           Configuration* configuration) {
    MemoryMappedImage image;
    const Error loaded = readVxf(texture, &image, configuration);
    if (loaded != kErrorNone && image.getBytesTotal() == 0) {
        return loaded;
    }
    const Error saved = convertToTga(&image, destination, configuration);
    return loaded != kErrorNone ? loaded : saved;
}

bool vxfToTga(Error* result, MemoryRegion* source, ResizableMemoryRegion* destination,
              Configuration* configuration) {
    VxfTexture texture;
    if (!openVxf(&texture, source, destination, configuration, 0)) {
        *result = kErrorFailed;
        return true;
    }
    const auto view = viewVxf(texture);
    *result = view != nullptr ? writeTga(*view, destination, configuration)
                              : vxfToTgaThroughImage(texture, destination, configuration);
    return true;
}

bool tgaToVxf(Error* result, MemoryRegion* source, ResizableMemoryRegion* destination,
              Configuration* configuration) {
    RegionImage view;
    RowOrder rowOrder = RowOrder::kTopDown;
    if (!viewTga(&view, &rowOrder, *source, *configuration)) {
        return false;
    }
    *result = convertToVxf(&view, rowOrder, destination, configuration);
    return true;
}

bool ddsToVxf(Error* result, MemoryRegion* source, ResizableMemoryRegion* destination,
              Configuration* configuration) {
    *result = convertDdsToVxf(source, destination, configuration);
    return true;
}

bool vxfToDds(Error* result, MemoryRegion* source, ResizableMemoryRegion* destination,
              Configuration* configuration) {
    constexpr unsigned kClassicHeader = 9;
    *result = convertVxfToDds(source, destination, kClassicHeader, configuration);
    return true;
}

constexpr Shortcut kShortcuts[] = {
    {makeFileType(".VXF"), makeFileType(".TGA"), false, &vxfToTga},
    {makeFileType(".TGA"), makeFileType(".VXF"), false, &tgaToVxf},
    {makeFileType(".DDS"), makeFileType(".VXF"), true, &ddsToVxf},
    {makeFileType(".VXF"), makeFileType(".DDS"), true, &vxfToDds},
};

} // namespace

const Shortcut* findShortcut(FileType source, FileType destination) {
    const Shortcut* shortcut =
        std::find_if(std::begin(kShortcuts), std::end(kShortcuts), [&](const Shortcut& row) {
            return row.m_source == source && row.m_destination == destination;
        });
    return shortcut != std::end(kShortcuts) ? shortcut : nullptr;
}

} // namespace qor::Texsmith::Raw
