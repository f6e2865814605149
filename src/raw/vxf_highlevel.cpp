// Moves textures between files of the native container and surfaces in memory: tiled, as they lie, or from
// file to file.
#include "qor/texsmith/raw/vxf.h"

#include "qor/gpu_address/gpu_address.h"
#include "raw/configuration/check_configuration.h"
#include "raw/files/flat_image.h"
#include "raw/files/vxf_texture.h"
#include "raw/surfaces/region_image.h"
#include "raw/tiles/tiling.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\vxf_highlevel";
constexpr FileKind kKind = {"VXF", kSourcePath};

Error firstError(Error first, Error second) { return first != kErrorNone ? first : second; }

// A descriptor from a file, without the words that the file has for itself.
Vex::Texture toImageTexture(const Vex::Texture* inFile) {
    Vex::Texture texture;
    std::memcpy(&texture, inFile, sizeof texture); // a file may lie at any address
    texture.m_regs[0] = 0;
    texture.m_regs[1] &= ~0xFFu;
    texture.m_regs[7] = 0;
    return texture;
}

std::uint64_t getTiledBytes(const Vex::Texture& texture) {
    std::uint64_t size = 0;
    unsigned alignment = 0;
    GpuAddress::computeTotalTiledTextureSize(&size, &alignment, &texture);
    return size;
}

Error reportMissingTexels(int index, std::uint64_t missing, std::uint64_t needed) {
    toolsWarning(kSourcePath, __LINE__,
                 "The VXF file ends early: texture %d lacks %llu of its %llu bytes of texels.", index,
                 static_cast<unsigned long long>(missing), static_cast<unsigned long long>(needed));
    return kErrorFailed;
}

Error reportMissingTexture(int index) {
    toolsWarning(kSourcePath, __LINE__, "The VXF file ends early: it lacks the descriptor of texture %d.",
                 index);
    return kErrorFailed;
}

// False, and reported, when the file does not hold the descriptor, or when it describes more than any file
// could hold, or far more than this one does.
bool findTexture(FileTexture* found, const VxfManipulator& file, int index) {
    const Vex::Texture* inFile = file.getTextureInFile(index);
    if (inFile == nullptr) {
        reportMissingTexture(index);
        return false;
    }
    found->m_index = index;
    found->m_texture = toImageTexture(inFile);
    found->m_neededBytes = getTiledBytes(found->m_texture);
    found->m_texels = file.getTexelsToEndOfFile(index);
    if (found->m_neededBytes > std::numeric_limits<std::uint32_t>::max() ||
        !isClaimCredible(found->m_neededBytes, found->m_texels.length(), kMostGainOfPlainTexels)) {
        reportMissingTexels(index, found->missingBytes(), found->m_neededBytes);
        return false;
    }
    found->m_texels.end =
        found->m_texels.begin + std::min(found->m_neededBytes, std::uint64_t{found->m_texels.length()});
    return true;
}

// Opens the file and finds the texture of an index that it must have. A header with any fault is refused
// once all is said about it.
bool findTexture(FileTexture* found, VxfManipulator* file, MemoryRegion* source, int index) {
    file->readFrom(source);
    if (!file->hasFile()) {
        return false;
    }
    const int count = file->getNumberOfTextures();
    if (index < 0 || index >= count) {
        toolsAssert(kSourcePath, __LINE__, "VXF has only %d textures, so you can't request texture index %d",
                    count, index);
        return false;
    }
    return file->isWellFormed() && findTexture(found, *file, index);
}

void readModifiers(ElementProvider* image, const VxfManipulator& file) {
    const VxfChunkTable::Entry chunk = file.m_chunks.getEntry(kVxfChunkTypeModifiers);
    if (chunk.m_type == 0) {
        return;
    }
    Modifiers modifiers = image->getModifiers();
    const std::uint64_t bytes = std::min<std::uint64_t>(sizeof modifiers, chunk.m_region.length());
    std::memcpy(static_cast<void*>(&modifiers), chunk.m_region.begin, bytes);
    image->setModifiers(modifiers);
}

// What the file lacks reads as zeros.
Error detile(Image* image, const FileTexture& source, Configuration* configuration) {
    if (source.missingBytes() == 0) {
        return detileImage(image, &source.m_texels, configuration, 0);
    }
    MappedMemory whole;
    whole.resize(source.m_neededBytes);
    if (whole.length() < source.m_neededBytes) {
        return kErrorFailed;
    }
    copy(whole, source.m_texels);
    return detileImage(image, &whole, configuration, 0);
}

// Only the tile modes of the two descriptors differ, and that of the file says how its texels lie.
Error readTexels(Image* image, const FileTexture& source, Configuration* configuration) {
    RegionImage elements(source.m_texture, image->getMemoryRegion());
    const Error error = detile(&elements, source, configuration);
    const Error missing = source.reportMissing();
    return error != kErrorNone ? error : missing;
}

// Zeros stand for what the source lacks. Returns the number of bytes that it lacks.
std::uint64_t copyOrZero(MemoryRegion destination, MemoryRegion source) {
    copy(destination, source);
    const std::uint64_t copied = std::min(destination.length(), source.length());
    std::fill(destination.begin + copied, destination.end, std::uint8_t{0});
    return destination.length() - copied;
}

// Copies what the file has of a texture into a file just laid out.
Error copyTexels(MemoryRegion destination, const FileTexture& source) {
    copyOrZero(destination, source.m_texels);
    return source.reportMissing();
}

bool layOut(VxfManipulator* file, ResizableMemoryRegion* destination, const Vex::Texture* textures,
            int count) {
    file->writeTo(destination, textures, count);
    file->zeroPadding();
    return file->hasFile();
}

// False, and reported, when the layout has no such surface.
bool findSurface(MemoryRegion* surface, const MemoryRegion& texels, const Vex::Texture& texture, unsigned mip,
                 unsigned slice) {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
    const int addrStatus =
        GpuAddress::computeTextureSurfaceOffsetAndSize(&offset, &size, &texture, mip, slice);
    if (!check(addrStatus == GpuAddress::kStatusSuccess, kSourcePath,
               "addrStatus == GpuAddress::kStatusSuccess")) {
        return false;
    }
    const std::uint64_t begin = std::min<std::uint64_t>(offset, texels.length());
    surface->begin = texels.begin + begin;
    surface->end = surface->begin + std::min<std::uint64_t>(size, texels.length() - begin);
    return true;
}

} // namespace

Error FileTexture::reportMissing() const {
    return missingBytes() == 0 ? kErrorNone : reportMissingTexels(m_index, missingBytes(), m_neededBytes);
}

bool openVxf(VxfTexture* texture, MemoryRegion* source, const void* destination,
             const Configuration* configuration, int index) {
    return checkConvertJobArguments(source, destination, configuration, kSourcePath) &&
           findTexture(&texture->m_stored, &texture->m_file, source, index);
}

Error readVxf(const VxfTexture& texture, ReallocatableImage* destination, Configuration* configuration) {
    return allocateImage(kKind, destination, texture.m_stored.m_texture)
               ? readVxf(texture, static_cast<Image*>(destination), configuration)
               : kErrorFailed;
}

Error readVxf(const VxfTexture& texture, Image* destination, Configuration* configuration) {
    readModifiers(destination, texture.m_file);
    return readTexels(destination, texture.m_stored, configuration);
}

std::unique_ptr<TextureElementProvider> providerOf(const VxfTexture& texture) {
    Texture stored;
    static_cast<Vex::Texture&>(stored) = texture.m_stored.m_texture;
    stored.m_memoryRegion = texture.m_stored.m_texels;
    return std::make_unique<TextureElementProvider>(&stored);
}

std::unique_ptr<TextureElementProvider> viewVxf(const VxfTexture& texture) {
    if (texture.m_stored.missingBytes() != 0) {
        return nullptr;
    }
    auto view = providerOf(texture);
    readModifiers(view.get(), texture.m_file);
    const SurfaceIndex first;
    return view->getStrip(&first, ElementRows{}, 0, 0) ? std::move(view) : nullptr;
}

namespace {

// Surface by surface, since the descriptor may name fewer than its memory holds.
Error captureTo(const Texture& source, ResizableMemoryRegion* destination) {
    VxfManipulator file;
    if (!layOut(&file, destination, &source, 1)) {
        return kErrorFailed;
    }
    Error error = kErrorNone;
    std::uint64_t missing = 0;
    for (unsigned mip = source.getBaseMipLevel(); mip <= source.getLastMipLevel(); ++mip) {
        for (unsigned slice = source.getBaseArraySlice(); slice <= source.getLastArraySlice(); ++slice) {
            MemoryRegion from;
            MemoryRegion to;
            if (findSurface(&from, source.m_memoryRegion, source, mip, slice) &&
                findSurface(&to, file.getTexels(0), source, mip, slice)) {
                missing += copyOrZero(to, from);
            } else {
                error = kErrorFailed;
            }
        }
    }
    if (missing == 0) {
        return error;
    }
    toolsWarning(kSourcePath, __LINE__, "The source lacks %llu bytes of its texels.",
                 static_cast<unsigned long long>(missing));
    return kErrorFailed;
}

// False, and reported, for a descriptor of far more texels than its memory holds.
bool hasCredibleMemory(const Texture& source) {
    const std::uint64_t needed = getTiledBytes(source), length = source.m_memoryRegion.length();
    if (isClaimCredible(needed, length, kMostGainOfPlainTexels)) {
        return true;
    }
    toolsWarning(kSourcePath, __LINE__, "The source lacks %llu bytes of its texels.",
                 static_cast<unsigned long long>(needed - length));
    return false;
}

Error readInto(Image* destination, MemoryRegion* source, Configuration* configuration, int index) {
    VxfTexture texture;
    if (!findTexture(&texture.m_stored, &texture.m_file, source, index)) {
        return kErrorFailed;
    }
    Error error = kErrorNone;
    if (!dimensionsAndSurfaceFormatAreIdentical(texture.m_stored.m_texture, *destination->getVexTexture())) {
        error = kErrorFailed;
        toolsAssert(kSourcePath, __LINE__,
                    "source and destination must have the same dimensions and Vex::SurfaceFormat.");
    }
    return firstError(error, readVxf(texture, destination, configuration));
}

Error writeFile(const Image* source, RowOrder rowOrder, ResizableMemoryRegion* destination,
                Configuration* configuration) {
    Modifiers modifiers = source->getModifiers();
    VxfChunkTable::Entry chunk;
    chunk.m_type = kVxfChunkTypeModifiers;
    chunk.m_region.build(&modifiers, sizeof modifiers);
    VxfManipulator file;
    file.m_chunks.setEntry(chunk);
    if (!layOut(&file, destination, source->getVexTexture(), 1)) {
        return kErrorFailed;
    }
    MemoryRegion texels = file.getTexels(0);
    if (texels.length() != source->getBytesTotal()) {
        // Tiling leaves the padding elements alone, and equal images are to give equal files.
        std::fill(texels.begin, texels.end, std::uint8_t{0});
    }
    return tileImageRows(&texels, source, configuration, rowOrder);
}

Error takeTexture(MemoryRegion* source, Texture* destination, int index) {
    VxfManipulator file;
    file.readFrom(source);
    if (!file.isWellFormed()) {
        return kErrorFailed;
    }
    const Vex::Texture* inFile = file.getTextureInFile(index); // beyond the file's count as well
    if (inFile == nullptr) {
        return reportMissingTexture(index);
    }
    std::memcpy(destination->m_regs, inFile, sizeof destination->m_regs);
    destination->m_memoryRegion = file.getTexelsInFile(index);
    const std::uint64_t length = destination->m_regs[7], found = destination->m_memoryRegion.length();
    return found == length ? kErrorNone : reportMissingTexels(index, length - found, length);
}

using Found = std::array<FileTexture, Vxf::kMaxTextures>;

bool findFirstTextures(Found* found, MemoryRegion** sources, unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
        VxfManipulator source;
        if (!findTexture(&(*found)[i], &source, sources[i], 0)) {
            return false;
        }
    }
    return true;
}

Error join(ResizableMemoryRegion* destination, const Found& found, unsigned count) {
    std::array<Vex::Texture, Vxf::kMaxTextures> textures;
    std::transform(found.begin(), found.begin() + count, textures.begin(),
                   [](const FileTexture& texture) { return texture.m_texture; });
    VxfManipulator file;
    if (!layOut(&file, destination, textures.data(), static_cast<int>(count))) {
        return kErrorFailed;
    }
    Error result = kErrorNone;
    for (unsigned i = 0; i < count; ++i) {
        result = firstError(result, copyTexels(file.getTexels(static_cast<int>(i)), found[i]));
    }
    return result;
}

// A count that differs from the file's is reported, and what both have is split.
Error split(ResizableMemoryRegion** destinations, int count, MemoryRegion* source) {
    VxfManipulator whole;
    whole.readFrom(source);
    if (!whole.isWellFormed()) {
        return kErrorFailed;
    }
    const int textures = whole.getNumberOfTextures();
    Error result = kErrorNone;
    if (count != textures) {
        result = kErrorFailed;
        toolsAssert(kSourcePath, __LINE__, "Source VXF has %d textures. Must match destinations value of %d.",
                    textures, count);
    }
    for (int i = 0; i < std::min(count, textures); ++i) {
        FileTexture texture;
        VxfManipulator part;
        part.m_chunks = whole.m_chunks;
        const bool good =
            findTexture(&texture, whole, i) && layOut(&part, destinations[i], &texture.m_texture, 1);
        result = firstError(result, good ? copyTexels(part.getTexels(0), texture) : kErrorFailed);
    }
    return result;
}

// Calls work(), which returns an Error, once the arguments are checked.
template <typename Work>
Error runChecked(const void* source, const void* destination, const Configuration* configuration, Work work) {
    return failWithoutMemory(kSourcePath, [&] {
        return checkConvertJobArguments(source, destination, configuration, kSourcePath) ? work()
                                                                                         : kErrorFailed;
    });
}

} // namespace

Error capture2Vxf(const Texture* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    return runChecked(source, destination, configuration, [=] {
        return hasCredibleMemory(*source)
                   ? writeApart(overlap(source->m_memoryRegion, *destination), destination,
                                [=](ResizableMemoryRegion* place) { return captureTo(*source, place); })
                   : kErrorFailed;
    });
}

Error capture2ReallocatableImage(const Texture* source, ReallocatableImage* destination,
                                 Configuration* configuration) {
    return runChecked(source, destination, configuration, [=] {
        MemoryRegion texels = source->m_memoryRegion;
        return readApart(&texels, destination->getStorage(), [=](MemoryRegion* own) {
            return hasCredibleMemory(*source) && allocateImage(kKind, destination, *source)
                       ? detileImage(destination, own, configuration, 0)
                       : kErrorFailed;
        });
    });
}

Error convertFromVxf(MemoryRegion* source, Image* destination, Configuration* configuration, int index) {
    return runChecked(source, destination, configuration, [=] {
        return readApart(source, destination->getStorage(), [=](MemoryRegion* file) {
            return readInto(destination, file, configuration, index);
        });
    });
}

Error convertFromVxf(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration,
                     int index) {
    return runChecked(source, destination, configuration, [=] {
        return readApart(source, destination->getStorage(), [=](MemoryRegion* file) {
            VxfTexture texture;
            return findTexture(&texture.m_stored, &texture.m_file, file, index)
                       ? readVxf(texture, destination, configuration)
                       : kErrorFailed;
        });
    });
}

Error convertFromVxf(MemoryRegion* source, Image* destination, Configuration* configuration) {
    return convertFromVxf(source, destination, configuration, 0);
}

Error convertFromVxf(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration) {
    return convertFromVxf(source, destination, configuration, 0);
}

Error convertToVxf(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    return convertToVxf(source, RowOrder::kTopDown, destination, configuration);
}

Error convertToVxf(const Image* source, RowOrder rowOrder, ResizableMemoryRegion* destination,
                   Configuration* configuration) {
    return runChecked(source, destination, configuration, [=] {
        return writeApart(
            overlap(source->getStorage(), *destination), destination,
            [=](ResizableMemoryRegion* place) { return writeFile(source, rowOrder, place, configuration); });
    });
}

Error vxf2Texture(MemoryRegion* source, Texture* destination, Configuration* configuration, int index) {
    return checkConvertArguments(source, destination, configuration, kSourcePath)
               ? takeTexture(source, destination, index)
               : kErrorFailed;
}

Error vxf2Texture(MemoryRegion* source, Texture* destination, Configuration* configuration) {
    return vxf2Texture(source, destination, configuration, 0);
}

int vxfGetNumberOfTextures(MemoryRegion* source, Configuration*) {
    VxfManipulator file;
    file.readFrom(source);
    return file.getNumberOfTextures();
}

Error vxfJoin(ResizableMemoryRegion* destination, MemoryRegion** sources, int count, Configuration*) {
    if (count > int(Vxf::kMaxTextures)) {
        toolsAssert(kSourcePath, __LINE__, "can't write more than %d textures to a VXF file.",
                    int(Vxf::kMaxTextures));
        return kErrorFailed;
    }
    const bool hasCount = check(count >= 0, kSourcePath, "count >= 0");
    const bool hasDestination = checkNotNull(destination, kSourcePath, "destination must not be NULL.");
    const bool hasSources = count <= 0 || checkNotNull(static_cast<const void*>(sources), kSourcePath,
                                                       "sources must not be NULL.");
    if (!hasCount || !hasDestination || !hasSources) {
        return kErrorFailed;
    }
    return failWithoutMemory(kSourcePath, [=] {
        Found found;
        const auto textures = static_cast<unsigned>(count);
        if (!findFirstTextures(&found, sources, textures)) {
            return kErrorFailed;
        }
        const bool isShared = std::any_of(sources, sources + textures, [=](const MemoryRegion* source) {
            return overlap(*source, *destination);
        });
        return writeApart(isShared, destination,
                          [&](ResizableMemoryRegion* place) { return join(place, found, textures); });
    });
}

Error vxfSplit(ResizableMemoryRegion** destinations, int count, MemoryRegion* source, Configuration*) {
    const bool hasDestinations =
        checkNotNull(static_cast<const void*>(destinations), kSourcePath, "destinations must not be NULL.");
    if (!checkNotNull(source, kSourcePath, "source must not be NULL.") || !hasDestinations) {
        return kErrorFailed;
    }
    return failWithoutMemory(kSourcePath, [=] {
        const bool isShared = std::any_of(destinations, destinations + std::max(count, 0),
                                          [=](const ResizableMemoryRegion* destination) {
                                              return destination != nullptr && overlap(*source, *destination);
                                          });
        return readApart(source, isShared ? *source : MemoryRegion(),
                         [=](MemoryRegion* file) { return split(destinations, count, file); });
    });
}

} // namespace qor::Texsmith::Raw
