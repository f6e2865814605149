// The front door for files: finds who reads and writes them, by name or by type, and compares them.
#include "qor/texsmith/raw/helpers.h"

#include "platform/platform.h"
#include "qor/texsmith/raw/names.h"
#include "raw/files/codec.h"
#include "raw/frame/check.h"
#include "raw/frame/out_of_memory.h"
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
const LoadRoute* findLoadRoute(const MemoryRegion* source, const char* extension,
                               std::uint32_t readingOptions) {
    FileType type = getFileTypeFromExtension(extension);
    if (type == 0) {
        type = getFileTypeFromContents(source, readingOptions);
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
    return good ? findLoadRoute(source, extension, configuration->m_readingOptions) : nullptr;
}

// Calls loadOpened(region), which returns an Error, with the file of that name.
template <typename Load>
Error loadNamedFile(ReallocatableImage* destination, const char* name, Configuration* configuration,
                    Load loadOpened) {
    if (!checkArguments({{destination, kDestination},
                         {name, "filenameOrUrl must not be NULL."},
                         {configuration, kConfiguration}})) {
        return kErrorFailed;
    }
    return failWithoutMemory(kSourcePath, [&] {
        MemoryMappedFile source(name, kPermissionsReadOnly, configuration->m_allocator);
        const bool isOpen = source.begin != nullptr; // reported otherwise
        return isOpen ? loadOpened(static_cast<MemoryRegion*>(&source)) : kErrorFailed;
    });
}

// Two files in memory, by type.
struct Conversion {
    MemoryRegion* m_source;
    const char* m_sourceExtension;
    ResizableMemoryRegion* m_destination;
    const char* m_destinationExtension;
    Configuration* m_configuration;

    bool check() const {
        return checkArguments({{m_source, kSource},
                               {m_sourceExtension, "sourceExtension must not be NULL."},
                               {m_destination, kDestination},
                               {m_destinationExtension, "destinationExtension must not be NULL."},
                               {m_configuration, kConfiguration}});
    }
};

// Whether it went through an image, and its error.
struct Converted {
    bool m_throughImage;
    Error m_error;
};

Error copyFile(MemoryRegion* source, ResizableMemoryRegion* destination) {
    destination->ensureSize(source->length());
    if (destination->length() == source->length()) {
        return copy(*destination, *source);
    }
    toolsWarning(kSourcePath, __LINE__, "There is no room for the %llu bytes of the file.", source->length());
    return kErrorFailed;
}

// A file that loads in part is saved in part.
Error convertThroughImage(const Conversion& files) {
    MemoryMappedImage image;
    const Error loaded =
        loadWithResult(&image, files.m_source, files.m_sourceExtension, files.m_configuration, 0);
    const SaveRoute* route = findSaveRoute(files.m_destinationExtension);
    const bool isEmpty = loaded != kErrorNone && image.getBytesTotal() == 0;
    if (route == nullptr || isEmpty) {
        return loaded != kErrorNone ? loaded : kErrorFailed;
    }
    const Error saved = route->m_save(&image, files.m_destination, files.m_configuration);
    return loaded != kErrorNone ? loaded : saved;
}

// The two regions do not overlap.
Converted convertApart(const Conversion& files) {
    const FileType sourceType = getFileTypeFromExtension(files.m_sourceExtension);
    const FileType destinationType = getFileTypeFromExtension(files.m_destinationExtension);
    if (sourceType == destinationType) {
        return {false, copyFile(files.m_source, files.m_destination)};
    }
    Error error = kErrorFailed;
    const Shortcut* shortcut = findShortcut(sourceType, destinationType);
    return shortcut != nullptr &&
                   shortcut->m_convert(&error, files.m_source, files.m_destination, files.m_configuration)
               ? Converted{!shortcut->m_keepsStoredTexels, error}
               : Converted{true, convertThroughImage(files)};
}

enum class Results { kAll, kOfStoredTexels };

// Silent about what became of an image where only the results of stored texels are asked for.
Error convertFiles(const Conversion& files, Results results) {
    return failWithoutMemory(kSourcePath, [&] {
        if (!files.check()) {
            return kErrorFailed;
        }
        bool throughImage = false;
        const Error error = writeApart(overlap(*files.m_source, *files.m_destination), files.m_destination,
                                       [&](ResizableMemoryRegion* place) {
                                           Conversion apart = files;
                                           apart.m_destination = place;
                                           const Converted converted = convertApart(apart);
                                           throughImage = converted.m_throughImage;
                                           return converted.m_error;
                                       });
        return throughImage && results == Results::kOfStoredTexels ? kErrorNone : error;
    });
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

    // A source that is a URL cannot be copied, and is converted instead.
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

Error convertNamedFiles(const char* sourceName, const char* destinationName, Configuration* configuration,
                        Results results) {
    if (!checkArguments({{sourceName, "sourceFilenameOrUrl must not be NULL."},
                         {destinationName, "destinationFilenameOrExtension must not be NULL."},
                         {configuration, kConfiguration}})) {
        return kErrorFailed;
    }
    return failWithoutMemory(kSourcePath, [=] {
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
        return convertFiles({&source, names.source(), &destination, names.destination(), configuration},
                            results);
    });
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
    return failWithoutMemory(kSourcePath, [&] {
        MemoryMappedImage imageA, imageB;
        const Error loadedA = loadWithResult(&imageA, a.m_file, a.m_extension, configuration, 0);
        const Error loadedB = loadWithResult(&imageB, b.m_file, b.m_extension, configuration, 0);
        const Error loaded = loadedA != kErrorNone ? loadedA : loadedB;
        if (loaded != kErrorNone && (imageA.getBytesTotal() == 0 || imageB.getBytesTotal() == 0)) {
            return loaded;
        }
        const Error compared = compareImages(imageA, imageB);
        return loaded != kErrorNone ? loaded : compared;
    });
}

template <typename Compare>
int compareFiles(const char* a, const char* b, Configuration* configuration, Compare compareOpened) {
    return failWithoutMemory(kSourcePath, [&] {
        MemoryMappedFile fileA(a, kPermissionsReadOnly, configuration->m_allocator);
        MemoryMappedFile fileB(b, kPermissionsReadOnly, configuration->m_allocator);
        const bool areOpen = fileA.begin != nullptr && fileB.begin != nullptr; // reported otherwise
        return areOpen ? compareOpened(&fileA, &fileB) : toInt(kErrorFailed);
    });
}

} // namespace

int getFileTypeSupportCount() { return static_cast<int>(getLoadRoutes().size()); }

FileTypeSupport getFileTypeSupport(int index) {
    if (index < 0 || index >= getFileTypeSupportCount()) {
        return {};
    }
    const LoadRoute& route = getLoadRoutes()[static_cast<std::size_t>(index)];
    const Codec* codec = findCodec(route.m_codec);
    const bool isOwn = route.m_codec == 0;
    FileTypeSupport support{{},
                            isOwn || codec != nullptr,
                            isOwn || (codec != nullptr && codec->m_write != nullptr),
                            codec != nullptr ? codec->m_library : nullptr};
    for (unsigned i = 0; i < 4; ++i) {
        support.m_extension[i] = static_cast<char>(route.m_type >> 8 * i & 0xFF);
    }
    return support;
}

Error loadWithResult(ReallocatableImage* destination, MemoryRegion* source, const char* extension,
                     Configuration* configuration, int index) {
    const LoadRoute* route = checkLoad(destination, source, extension, configuration);
    return route != nullptr ? route->m_load(source, destination, configuration, index) : kErrorFailed;
}

Error loadWithResult(ReallocatableImage* destination, const char* filenameOrUrl, Configuration* configuration,
                     int index) {
    return loadNamedFile(destination, filenameOrUrl, configuration, [=](MemoryRegion* source) {
        return loadWithResult(destination, source, filenameOrUrl, configuration, index);
    });
}

int load(ReallocatableImage* destination, MemoryRegion* source, const char* extension,
         Configuration* configuration, int index) {
    const LoadRoute* route = checkLoad(destination, source, extension, configuration);
    if (route == nullptr) {
        return toInt(kErrorFailed);
    }
    route->m_load(source, destination, configuration, index);
    return kErrorNone; // whatever the reader says, on purpose
}

int load(ReallocatableImage* destination, MemoryRegion* source, const char* extension,
         Configuration* configuration) {
    return load(destination, source, extension, configuration, 0);
}

int load(ReallocatableImage* destination, const char* filenameOrUrl, Configuration* configuration,
         int index) {
    return toInt(loadNamedFile(destination, filenameOrUrl, configuration, [=](MemoryRegion* source) {
        return static_cast<Error>(load(destination, source, filenameOrUrl, configuration, index));
    }));
}

int load(ReallocatableImage* destination, const char* filenameOrUrl, Configuration* configuration) {
    return load(destination, filenameOrUrl, configuration, 0);
}

Error saveWithResult(const Image* source, ResizableMemoryRegion* destination, const char* extension,
                     Configuration* configuration) {
    if (!checkArguments({{source, kSource},
                         {destination, kDestination},
                         {extension, kExtension},
                         {configuration, kConfiguration}})) {
        return kErrorFailed;
    }
    const SaveRoute* route = findSaveRoute(extension);
    return route != nullptr ? route->m_save(source, destination, configuration) : kErrorFailed;
}

Error saveWithResult(const Image* source, const char* filename, Configuration* configuration) {
    if (!checkArguments(
            {{source, kSource}, {filename, "filename must not be NULL."}, {configuration, kConfiguration}})) {
        return kErrorFailed;
    }
    return failWithoutMemory(kSourcePath, [=] {
        MemoryMappedFile destination(filename, kPermissionsReadWrite, configuration->m_allocator);
        return saveWithResult(source, &destination, filename, configuration);
    });
}

int save(Image* source, ResizableMemoryRegion* destination, const char* extension,
         Configuration* configuration) {
    return toInt(saveWithResult(source, destination, extension, configuration));
}

int save(Image* source, const char* filename, Configuration* configuration) {
    return toInt(saveWithResult(source, filename, configuration));
}

int convert(MemoryRegion* source, const char* sourceExtension, ResizableMemoryRegion* destination,
            const char* destinationExtension, Configuration* configuration) {
    return toInt(convertFiles({source, sourceExtension, destination, destinationExtension, configuration},
                              Results::kOfStoredTexels));
}

Error convertWithResult(MemoryRegion* source, const char* sourceExtension, ResizableMemoryRegion* destination,
                        const char* destinationExtension, Configuration* configuration) {
    return convertFiles({source, sourceExtension, destination, destinationExtension, configuration},
                        Results::kAll);
}

int convert(const char* sourceFilenameOrUrl, const char* destinationFilenameOrExtension,
            Configuration* configuration) {
    return toInt(convertNamedFiles(sourceFilenameOrUrl, destinationFilenameOrExtension, configuration,
                                   Results::kOfStoredTexels));
}

Error convertWithResult(const char* sourceFilenameOrUrl, const char* destinationFilenameOrExtension,
                        Configuration* configuration) {
    return convertNamedFiles(sourceFilenameOrUrl, destinationFilenameOrExtension, configuration,
                             Results::kAll);
}

int areBitwiseEqual(MemoryRegion* sourceA, const char* sourceAExtension, MemoryRegion* sourceB,
                    const char* sourceBExtension, Configuration* configuration) {
    if (!checkPair({sourceA, sourceAExtension}, {sourceB, sourceBExtension}, configuration)) {
        return toInt(kErrorFailed);
    }
    return toInt(failWithoutMemory(kSourcePath, [=] {
        Error result = kErrorFailed;
        return compareStoredTexels(&result, {sourceA, getFileTypeFromExtension(sourceAExtension)},
                                   {sourceB, getFileTypeFromExtension(sourceBExtension)}, configuration)
                   ? result
                   : compareLoaded({sourceA, sourceAExtension}, {sourceB, sourceBExtension}, configuration,
                                   [=](const Image& a, const Image& b) {
                                       return areBitwiseEqual(&a, &b, configuration);
                                   });
    }));
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
