#include "qor/texsmith/raw/helpers.h"

#include "platform/platform.h"
#include "qor/texsmith/raw/bmp.h"
#include "qor/texsmith/raw/dds.h"
#include "qor/texsmith/raw/exr.h"
#include "qor/texsmith/raw/hdr.h"
#include "qor/texsmith/raw/jpg.h"
#include "qor/texsmith/raw/names.h"
#include "qor/texsmith/raw/pfm.h"
#include "qor/texsmith/raw/png.h"
#include "qor/texsmith/raw/tga.h"
#include "qor/texsmith/raw/tsh.h"
#include "qor/texsmith/raw/vxf.h"
#include "qor/texsmith/raw/wic.h"
#include "raw/check.h"
#include "raw/file_roads.h"
#include "raw/region_overlap.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <iterator>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\helpers";

// The routes: who reads and who writes a type of file. A type without a row is turned down.
struct LoadRoute {
    FileType m_type;
    Error (*m_load)(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration,
                    int index);
};

struct SaveRoute {
    FileType m_type;
    Error (*m_save)(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration);
};

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
    {makeFileType(".EXR"), &withoutIndex<&convertFromExr>},
    {makeFileType(".JPG"), &withoutIndex<&convertFromJpg>},
    {makeFileType(".PNG"), &withoutIndex<&convertFromPng>},
    {makeFileType(".GIF"), &loadFrame<g_wicGuidGif>},
    {makeFileType(".ICO"), &loadFirstFrame<g_wicGuidIco>},
    {makeFileType(".TIF"), &loadFirstFrame<g_wicGuidTif>},
    {makeFileType(".JXR"), &loadFirstFrame<g_wicGuidWdp>},
    {makeFileType(".WDP"), &loadFirstFrame<g_wicGuidWdp>},
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

struct Argument {
    const void* m_pointer;
    const char* m_report;
};

// Makes all checks, whatever the first ones say.
bool checkArguments(std::initializer_list<Argument> arguments) {
    bool good = true;
    for (const Argument& argument : arguments) {
        good &= checkNotNull(argument.m_pointer, kSourcePath, argument.m_report);
    }
    return good;
}

int toInt(Error error) { return static_cast<int>(error); }

constexpr char kSource[] = "source must not be NULL.";
constexpr char kDestination[] = "destination must not be NULL.";
constexpr char kExtension[] = "extension must not be NULL.";
constexpr char kConfiguration[] = "configuration must not be NULL.";

// Null, and reported, for a type that nobody reads.
const LoadRoute* findLoadRoute(const MemoryRegion* source, const char* extension) {
    FileType type = getFileTypeFromExtension(extension);
    if (type == 0) {
        type = getFileTypeFromContents(source);
    }
    const LoadRoute* route = findRoute(kLoadRoutes, type);
    if (route == nullptr) {
        toolsAssert(kSourcePath, __LINE__, "can't determine image format from extension: '%s'", extension);
    }
    return route;
}

const SaveRoute* findSaveRoute(const char* extension) {
    const SaveRoute* route = findRoute(kSaveRoutes, getFileTypeFromExtension(extension));
    if (route == nullptr) {
        toolsAssert(kSourcePath, __LINE__, "can't figure out what format to write extension '%s' as",
                    extension);
    }
    return route;
}

// The route of a load whose arguments are good, or null.
const LoadRoute* checkLoad(ReallocatableImage* destination, MemoryRegion* source, const char* extension,
                           Configuration* configuration) {
    const bool good = checkArguments({{destination, kDestination},
                                      {source, kSource},
                                      {extension, kExtension},
                                      {configuration, kConfiguration}});
    return good ? findLoadRoute(source, extension) : nullptr;
}

bool checkConvert(MemoryRegion* source, const char* sourceExtension, ResizableMemoryRegion* destination,
                  const char* destinationExtension, Configuration* configuration) {
    return checkArguments({{source, kSource},
                           {sourceExtension, "sourceExtension must not be NULL."},
                           {destination, kDestination},
                           {destinationExtension, "destinationExtension must not be NULL."},
                           {configuration, kConfiguration}});
}

Error copyFile(MemoryRegion* source, ResizableMemoryRegion* destination) {
    destination->resize(source->length());
    return destination->length() == source->length() ? copy(*destination, *source) : kErrorFailed;
}

// The roads on which no texel is decoded. False when none of them joins the two types.
bool convertDirectly(Error* result, MemoryRegion* source, const char* sourceExtension,
                     ResizableMemoryRegion* destination, const char* destinationExtension) {
    const FileType sourceType = getFileTypeFromExtension(sourceExtension);
    const FileType destinationType = getFileTypeFromExtension(destinationExtension);
    if (sourceType != destinationType) {
        return false;
    }
    *result = copyFile(source, destination);
    return true;
}

// A file that loads in part is saved in part.
Error convertThroughImage(MemoryRegion* source, const char* sourceExtension,
                          ResizableMemoryRegion* destination, const char* destinationExtension,
                          Configuration* configuration) {
    MemoryMappedImage image;
    const Error loaded = loadWithResult(&image, source, sourceExtension, configuration, 0);
    const SaveRoute* route = findSaveRoute(destinationExtension);
    const bool isEmpty = loaded != kErrorNone && image.getBytesTotal() == 0;
    if (route == nullptr || isEmpty) {
        return loaded != kErrorNone ? loaded : kErrorFailed;
    }
    const Error saved = route->m_save(&image, destination, configuration);
    return loaded != kErrorNone ? loaded : saved;
}

Error convertPicture(MemoryRegion* source, const char* sourceExtension, ResizableMemoryRegion* destination,
                     const char* destinationExtension, Configuration* configuration) {
    Error result = kErrorFailed;
    const FileRoad road = findFileRoad(getFileTypeFromExtension(sourceExtension),
                                       getFileTypeFromExtension(destinationExtension));
    if (road != nullptr && !overlap(*source, *destination) &&
        road(&result, source, destination, configuration)) {
        return result;
    }
    return convertThroughImage(source, sourceExtension, destination, destinationExtension, configuration);
}

// The two files of a conversion by name, and what of it is done without opening them.
class FilePair {
public:
    FilePair(const char* source, const char* destination)
        : m_source(source), m_destination(destination), m_derived(destination, source) {}

    const char* source() const { return m_source; }
    const char* destination() const { return isDerived() ? m_derived.c_str() : m_destination; }

    // A name that was cut short would be that of another file.
    bool isWhole() const {
        return !isDerived() || std::strlen(m_source) + std::strlen(m_destination) < sizeof m_derived;
    }

    // A source that is a URL cannot be copied, and takes the other road.
    bool copyWhole() const {
        return Platform::isSameFile(source(), destination()) ||
               (getFileTypeFromExtension(source()) == getFileTypeFromExtension(destination()) &&
                Platform::copyFile(source(), destination()));
    }

private:
    bool isDerived() const { return m_destination[0] == '.'; }

    const char* m_source;
    const char* m_destination;
    DerivedFilename m_derived;
};

// As convertWithResult, but silent about what became of an image.
Error convertRegions(MemoryRegion* source, const char* sourceExtension, ResizableMemoryRegion* destination,
                     const char* destinationExtension, Configuration* configuration) {
    Error result = kErrorFailed;
    if (!checkConvert(source, sourceExtension, destination, destinationExtension, configuration) ||
        convertDirectly(&result, source, sourceExtension, destination, destinationExtension)) {
        return result;
    }
    convertPicture(source, sourceExtension, destination, destinationExtension, configuration);
    return kErrorNone;
}

using ConvertRegions = Error (*)(MemoryRegion* source, const char* sourceExtension,
                                 ResizableMemoryRegion* destination, const char* destinationExtension,
                                 Configuration* configuration);

Error convertFiles(const char* sourceName, const char* destinationName, Configuration* configuration,
                   ConvertRegions convertOpened) {
    if (!checkArguments({{sourceName, "sourceFilenameOrUrl must not be NULL."},
                         {destinationName, "destinationFilenameOrExtension must not be NULL."},
                         {configuration, kConfiguration}})) {
        return kErrorFailed;
    }
    const FilePair names(sourceName, destinationName);
    if (!check(names.isWhole(), kSourcePath, "names.isWhole()")) {
        return kErrorFailed;
    }
    if (names.copyWhole()) {
        return kErrorNone;
    }
    MemoryMappedFile source(names.source(), kPermissionsReadOnly, configuration->m_allocator);
    if (source.begin == nullptr) {
        return kErrorFailed; // reported, and no reason to harm the destination
    }
    MemoryMappedFile destination(names.destination(), kPermissionsReadWrite, configuration->m_allocator);
    return convertOpened(&source, names.source(), &destination, names.destination(), configuration);
}

} // namespace

Error loadWithResult(ReallocatableImage* destination, MemoryRegion* source, const char* extension,
                     Configuration* configuration, int index) {
    const LoadRoute* route = checkLoad(destination, source, extension, configuration);
    return route != nullptr ? route->m_load(source, destination, configuration, index) : kErrorFailed;
}

int load(ReallocatableImage* destination, MemoryRegion* source, const char* extension,
         Configuration* configuration, int index) {
    const LoadRoute* route = checkLoad(destination, source, extension, configuration);
    if (route == nullptr) {
        return toInt(kErrorFailed);
    }
    route->m_load(source, destination, configuration, index);
    return kErrorNone;
}

int load(ReallocatableImage* destination, MemoryRegion* source, const char* extension,
         Configuration* configuration) {
    return load(destination, source, extension, configuration, 0);
}

int load(ReallocatableImage* destination, const char* filenameOrUrl, Configuration* configuration,
         int index) {
    if (!checkArguments({{destination, kDestination},
                         {filenameOrUrl, "filenameOrUrl must not be NULL."},
                         {configuration, kConfiguration}})) {
        return toInt(kErrorFailed);
    }
    MemoryMappedFile source(filenameOrUrl, kPermissionsReadOnly, configuration->m_allocator);
    return load(destination, &source, filenameOrUrl, configuration, index);
}

int load(ReallocatableImage* destination, const char* filenameOrUrl, Configuration* configuration) {
    return load(destination, filenameOrUrl, configuration, 0);
}

int save(Image* source, ResizableMemoryRegion* destination, const char* extension,
         Configuration* configuration) {
    if (!checkArguments({{source, kSource},
                         {destination, kDestination},
                         {extension, kExtension},
                         {configuration, kConfiguration}})) {
        return toInt(kErrorFailed);
    }
    const SaveRoute* route = findSaveRoute(extension);
    return toInt(route != nullptr ? route->m_save(source, destination, configuration) : kErrorFailed);
}

int save(Image* source, const char* filename, Configuration* configuration) {
    if (!checkArguments(
            {{source, kSource}, {filename, "filename must not be NULL."}, {configuration, kConfiguration}})) {
        return toInt(kErrorFailed);
    }
    MemoryMappedFile destination(filename, kPermissionsReadWrite, configuration->m_allocator);
    return save(source, &destination, filename, configuration);
}

int convert(MemoryRegion* source, const char* sourceExtension, ResizableMemoryRegion* destination,
            const char* destinationExtension, Configuration* configuration) {
    return toInt(convertRegions(source, sourceExtension, destination, destinationExtension, configuration));
}

Error convertWithResult(MemoryRegion* source, const char* sourceExtension, ResizableMemoryRegion* destination,
                        const char* destinationExtension, Configuration* configuration) {
    Error result = kErrorFailed;
    if (!checkConvert(source, sourceExtension, destination, destinationExtension, configuration) ||
        convertDirectly(&result, source, sourceExtension, destination, destinationExtension)) {
        return result;
    }
    return convertPicture(source, sourceExtension, destination, destinationExtension, configuration);
}

int convert(const char* sourceFilenameOrUrl, const char* destinationFilenameOrExtension,
            Configuration* configuration) {
    return toInt(
        convertFiles(sourceFilenameOrUrl, destinationFilenameOrExtension, configuration, &convertRegions));
}

Error convertWithResult(const char* sourceFilenameOrUrl, const char* destinationFilenameOrExtension,
                        Configuration* configuration) {
    return convertFiles(sourceFilenameOrUrl, destinationFilenameOrExtension, configuration,
                        &convertWithResult);
}

} // namespace qor::Texsmith::Raw
