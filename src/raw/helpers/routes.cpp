#include "raw/helpers/routes.h"

#include "qor/texsmith/raw/bmp.h"
#include "qor/texsmith/raw/dds.h"
#include "qor/texsmith/raw/exr.h"
#include "qor/texsmith/raw/hdr.h"
#include "qor/texsmith/raw/jpg.h"
#include "qor/texsmith/raw/pfm.h"
#include "qor/texsmith/raw/png.h"
#include "qor/texsmith/raw/tga.h"
#include "qor/texsmith/raw/tsh.h"
#include "qor/texsmith/raw/vxf.h"
#include "qor/texsmith/raw/wic.h"

#include <algorithm>
#include <iterator>

namespace qor::Texsmith::Raw {
namespace {

// For the readers of files with a single picture.
template <Error (*kLoad)(MemoryRegion*, ReallocatableImage*, Configuration*)>
Error withoutIndex(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration, int) {
    return kLoad(source, destination, configuration);
}

constexpr unsigned kClassicDds = 9;
Error saveClassicDds(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    return convertToDds(source, destination, kClassicDds, configuration);
}

Error saveColorPfm(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    return convertToPfm(source, destination, kPfmChannels3, configuration);
}

template <const WicGuid& kGuid>
Error loadFrame(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration,
                int index) {
    return convertFromWic(source, destination, configuration, kGuid, index);
}

template <const WicGuid& kGuid>
Error loadFirstFrame(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration,
                     int) {
    return convertFromWic(source, destination, configuration, kGuid, 0);
}

template <const WicGuid& kGuid>
Error saveFrame(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    return convertToWic(source, destination, configuration, kGuid);
}

constexpr LoadRoute kLoadRoutes[] = {
    {makeFileType(".DDS"), &withoutIndex<&convertFromDds>},
    {makeFileType(".VXF"), &convertFromVxf},
    {makeFileType(".TGA"), &withoutIndex<&convertFromTga>},
    {makeFileType(".BMP"), &withoutIndex<&convertFromBmp>},
    {makeFileType(".HDR"), &withoutIndex<&convertFromHdr>},
    {makeFileType(".PFM"), &withoutIndex<&convertFromPfm>},
    {makeFileType(".TSH"), &withoutIndex<&convertFromTsh>},
    {makeFileType(".EXR"), &withoutIndex<&convertFromExr>, makeFileType(".EXR")},
    {makeFileType(".JPG"), &withoutIndex<&convertFromJpg>, makeFileType(".JPG")},
    {makeFileType(".PNG"), &withoutIndex<&convertFromPng>, makeFileType(".PNG")},
    {makeFileType(".GIF"), &loadFrame<g_wicGuidGif>, makeFileType(".GIF")},
    {makeFileType(".ICO"), &loadFirstFrame<g_wicGuidIco>, makeFileType(".ICO")},
    {makeFileType(".TIF"), &loadFirstFrame<g_wicGuidTif>, makeFileType(".TIF")},
    {makeFileType(".JXR"), &loadFirstFrame<g_wicGuidWdp>, makeFileType(".WDP")},
    {makeFileType(".WDP"), &loadFirstFrame<g_wicGuidWdp>, makeFileType(".WDP")},
};

constexpr SaveRoute kSaveRoutes[] = {
    {makeFileType(".DDS"), &saveClassicDds},
    {makeFileType(".VXF"), &convertToVxf},
    {makeFileType(".TGA"), &convertToTga},
    {makeFileType(".BMP"), &convertToBmp},
    {makeFileType(".HDR"), &convertToHdr},
    {makeFileType(".PFM"), &saveColorPfm},
    {makeFileType(".TSH"), &convertToTsh},
    {makeFileType(".EXR"), &convertToExr},
    {makeFileType(".JPG"), &convertToJpg},
    {makeFileType(".PNG"), &convertToPng},
    {makeFileType(".GIF"), &saveFrame<g_wicGuidGif>},
    {makeFileType(".ICO"), &saveFrame<g_wicGuidIco>},
    {makeFileType(".TIF"), &saveFrame<g_wicGuidTif>},
    {makeFileType(".JXR"), &saveFrame<g_wicGuidWdp>},
    {makeFileType(".WDP"), &saveFrame<g_wicGuidWdp>},
};

template <typename Routes> auto findRoute(const Routes& routes, FileType type) {
    const auto* route = std::find_if(std::begin(routes), std::end(routes),
                                     [type](const auto& row) { return row.m_type == type; });
    return route != std::end(routes) ? route : nullptr;
}

} // namespace

std::span<const LoadRoute> getLoadRoutes() { return kLoadRoutes; }

const LoadRoute* findLoader(FileType type) { return findRoute(kLoadRoutes, type); }
const SaveRoute* findSaver(FileType type) { return findRoute(kSaveRoutes, type); }

} // namespace qor::Texsmith::Raw
