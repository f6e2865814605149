#include "qor/texsmith/raw/helpers.h"

#include "platform/platform.h"
#include "qor/texsmith/raw/names.h"
#include "raw/frame/check.h"
#include "raw/helpers/routes.h"
#include "raw/helpers/shortcuts.h"
#include "raw/helpers/stored_comparison.h"
#include "raw/memory/overlap.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <iterator>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\helpers";

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
    const LoadRoute* route = findLoader(type);
    if (route == nullptr) {
        toolsAssert(kSourcePath, __LINE__, "can't determine image format from extension: '%s'", extension);
    }
    return route;
}

const SaveRoute* findSaveRoute(const char* extension) {
    const SaveRoute* route = findSaver(getFileTypeFromExtension(extension));
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
    destination->ensureSize(source->length());
    return destination->length() == source->length() ? copy(*destination, *source) : kErrorFailed;
}

// The roads on which no texel is decoded. False when none of them joins the two types.
bool convertDirectly(Error* result, MemoryRegion* source, const char* sourceExtension,
                     ResizableMemoryRegion* destination, const char* destinationExtension,
                     Configuration* configuration) {
    const FileType sourceType = getFileTypeFromExtension(sourceExtension);
    const FileType destinationType = getFileTypeFromExtension(destinationExtension);
    if (sourceType == destinationType) {
        *result = copyFile(source, destination);
        return true;
    }
    const FileRoad* road = findFileRoad(sourceType, destinationType);
    return road != nullptr && road->m_keepsStoredTexels && !overlap(*source, *destination) &&
           road->m_convert(result, source, destination, configuration);
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
    const FileRoad* road = findFileRoad(getFileTypeFromExtension(sourceExtension),
                                        getFileTypeFromExtension(destinationExtension));
    if (road != nullptr && !overlap(*source, *destination) &&
        road->m_convert(&result, source, destination, configuration)) {
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
        convertDirectly(&result, source, sourceExtension, destination, destinationExtension, configuration)) {
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

constexpr char kMse[] = "mse must not be NULL.";

struct Source {
    MemoryRegion* m_file;
    const char* m_extension;
};

bool checkPair(const Source& a, const Source& b, const Configuration* configuration) {
    return checkArguments({{a.m_file, "sourceA must not be NULL."},
                           {a.m_extension, "sourceAExtension must not be NULL."},
                           {b.m_file, "sourceB must not be NULL."},
                           {b.m_extension, "sourceBExtension must not be NULL."},
                           {configuration, kConfiguration}});
}

bool checkNames(const char* a, const char* b, const Configuration* configuration) {
    return checkArguments({{a, "sourceAFilenameOrUrl must not be NULL."},
                           {b, "sourceBFilenameOrUrl must not be NULL."},
                           {configuration, kConfiguration}});
}

// What a file cannot give is not equal to anything, whatever the comparison says of the rest.
template <typename Compare>
Error compareLoaded(const Source& a, const Source& b, Configuration* configuration, Compare compareImages) {
    MemoryMappedImage imageA, imageB;
    const Error loadedA = loadWithResult(&imageA, a.m_file, a.m_extension, configuration, 0);
    const Error loadedB = loadWithResult(&imageB, b.m_file, b.m_extension, configuration, 0);
    const Error loaded = loadedA != kErrorNone ? loadedA : loadedB;
    if (loaded != kErrorNone && (imageA.getBytesTotal() == 0 || imageB.getBytesTotal() == 0)) {
        return loaded;
    }
    const Error compared = compareImages(imageA, imageB);
    return loaded != kErrorNone ? loaded : compared;
}

template <typename Compare>
int compareFiles(const char* a, const char* b, Configuration* configuration, Compare compareOpened) {
    MemoryMappedFile fileA(a, kPermissionsReadOnly, configuration->m_allocator);
    MemoryMappedFile fileB(b, kPermissionsReadOnly, configuration->m_allocator);
    const bool areOpen = fileA.begin != nullptr && fileB.begin != nullptr; // reported otherwise
    return areOpen ? compareOpened(&fileA, &fileB) : toInt(kErrorFailed);
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
        convertDirectly(&result, source, sourceExtension, destination, destinationExtension, configuration)) {
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

int areBitwiseEqual(MemoryRegion* sourceA, const char* sourceAExtension, MemoryRegion* sourceB,
                    const char* sourceBExtension, Configuration* configuration) {
    if (!checkPair({sourceA, sourceAExtension}, {sourceB, sourceBExtension}, configuration)) {
        return toInt(kErrorFailed);
    }
    Error result = kErrorFailed;
    if (compareStoredTexels(&result, {sourceA, getFileTypeFromExtension(sourceAExtension)},
                            {sourceB, getFileTypeFromExtension(sourceBExtension)}, configuration)) {
        return toInt(result);
    }
    return toInt(compareLoaded(
        {sourceA, sourceAExtension}, {sourceB, sourceBExtension}, configuration,
        [&](const Image& a, const Image& b) { return areBitwiseEqual(&a, &b, configuration); }));
}

int areBitwiseEqual(const char* sourceAFilenameOrUrl, const char* sourceBFilenameOrUrl,
                    Configuration* configuration) {
    if (!checkNames(sourceAFilenameOrUrl, sourceBFilenameOrUrl, configuration)) {
        return toInt(kErrorFailed);
    }
    if (strcmpCaseInsensitive(sourceAFilenameOrUrl, sourceBFilenameOrUrl) == 0) {
        return kErrorNone;
    }
    return compareFiles(
        sourceAFilenameOrUrl, sourceBFilenameOrUrl, configuration, [&](MemoryRegion* a, MemoryRegion* b) {
            return areBitwiseEqual(a, sourceAFilenameOrUrl, b, sourceBFilenameOrUrl, configuration);
        });
}

int compare(VectorFloat* mse, MemoryRegion* sourceA, const char* sourceAExtension, MemoryRegion* sourceB,
            const char* sourceBExtension, Configuration* configuration,
            const SquaredErrorCalculator* calculator) {
    const bool hasMse = checkNotNull(mse, kSourcePath, kMse);
    if (!checkPair({sourceA, sourceAExtension}, {sourceB, sourceBExtension}, configuration) || !hasMse) {
        return toInt(kErrorFailed);
    }
    if (sourceA == sourceB) {
        *mse = {};
        return kErrorNone;
    }
    return toInt(compareLoaded(
        {sourceA, sourceAExtension}, {sourceB, sourceBExtension}, configuration,
        [&](const Image& a, const Image& b) { return compare(mse, &a, &b, configuration, calculator); }));
}

int compare(VectorFloat* mse, const char* sourceAFilenameOrUrl, const char* sourceBFilenameOrUrl,
            Configuration* configuration, const SquaredErrorCalculator* calculator) {
    const bool hasMse = checkNotNull(mse, kSourcePath, kMse);
    if (!checkNames(sourceAFilenameOrUrl, sourceBFilenameOrUrl, configuration) || !hasMse) {
        return toInt(kErrorFailed);
    }
    if (strcmpCaseInsensitive(sourceAFilenameOrUrl, sourceBFilenameOrUrl) == 0) {
        *mse = {};
        return kErrorNone;
    }
    return compareFiles(
        sourceAFilenameOrUrl, sourceBFilenameOrUrl, configuration, [&](MemoryRegion* a, MemoryRegion* b) {
            return compare(mse, a, sourceAFilenameOrUrl, b, sourceBFilenameOrUrl, configuration, calculator);
        });
}

} // namespace qor::Texsmith::Raw
