#include "qor/texsmith/raw/vxf.h"

#include "qor/gpu_address/gpu_address.h"
#include "raw/configuration/check_configuration.h"
#include "raw/files/check_arguments.h"
#include "raw/files/vxf_picture.h"
#include "raw/surfaces/region_image.h"
#include "raw/tiles/tiling.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\vxf_highlevel";

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
// could hold.
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
    if (found->m_neededBytes > std::numeric_limits<std::uint32_t>::max()) {
        reportMissingTexels(index, found->missingBytes(), found->m_neededBytes);
        return false;
    }
    found->m_texels.end =
        found->m_texels.begin + std::min(found->m_neededBytes, std::uint64_t{found->m_texels.length()});
    return true;
}

// Opens the file and finds the texture of an index that it must have.
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
    return findTexture(found, *file, index);
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

bool openVxf(VxfPicture* picture, MemoryRegion* source, const void* destination,
             const Configuration* configuration, int index) {
    return checkConvertJobArguments(source, destination, configuration, kSourcePath) &&
           findTexture(&picture->m_texture, &picture->m_file, source, index);
}

Error readVxf(const VxfPicture& picture, ReallocatableImage* destination, Configuration* configuration) {
    reallocate(destination, &picture.m_texture.m_texture);
    readModifiers(destination, picture.m_file);
    return readTexels(destination, picture.m_texture, configuration);
}

std::unique_ptr<TextureElementProvider> providerOf(const VxfPicture& picture) {
    Texture texture;
    static_cast<Vex::Texture&>(texture) = picture.m_texture.m_texture;
    texture.m_memoryRegion = picture.m_texture.m_texels;
    return std::make_unique<TextureElementProvider>(&texture);
}

std::unique_ptr<TextureElementProvider> viewVxf(const VxfPicture& picture) {
    if (picture.m_texture.missingBytes() != 0) {
        return nullptr;
    }
    auto view = providerOf(picture);
    readModifiers(view.get(), picture.m_file);
    const SurfaceIndex first;
    return view->getStrip(&first, ElementRows{}, 0, 0) ? std::move(view) : nullptr;
}

Error capture2Vxf(const Texture* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    VxfManipulator file;
    if (!checkConvertJobArguments(source, destination, configuration, kSourcePath) ||
        !layOut(&file, destination, source, 1)) {
        return kErrorFailed;
    }
    std::uint64_t missing = 0;
    // Surface by surface, since the descriptor may name fewer than its memory holds.
    for (unsigned mip = source->getBaseMipLevel(); mip <= source->getLastMipLevel(); ++mip) {
        for (unsigned slice = source->getBaseArraySlice(); slice <= source->getLastArraySlice(); ++slice) {
            MemoryRegion from;
            MemoryRegion to;
            if (findSurface(&from, source->m_memoryRegion, *source, mip, slice) &&
                findSurface(&to, file.getTexels(0), *source, mip, slice)) {
                missing += copyOrZero(to, from);
            }
        }
    }
    if (missing == 0) {
        return kErrorNone;
    }
    toolsWarning(kSourcePath, __LINE__, "The source lacks %llu bytes of its texels.",
                 static_cast<unsigned long long>(missing));
    return kErrorFailed;
}

Error capture2ReallocatableImage(const Texture* source, ReallocatableImage* destination,
                                 Configuration* configuration) {
    if (!checkConvertJobArguments(source, destination, configuration, kSourcePath)) {
        return kErrorFailed;
    }
    reallocate(destination, source);
    return detileImage(destination, &source->m_memoryRegion, configuration, 0);
}

Error convertFromVxf(MemoryRegion* source, Image* destination, Configuration* configuration, int index) {
    VxfPicture picture;
    if (!openVxf(&picture, source, destination, configuration, index)) {
        return kErrorFailed;
    }
    if (!dimensionsAndSurfaceFormatAreIdentical(picture.m_texture.m_texture, *destination->getVexTexture())) {
        toolsAssert(kSourcePath, __LINE__,
                    "source and destination must have the same dimensions and Vex::SurfaceFormat.");
    }
    readModifiers(destination, picture.m_file);
    return readTexels(destination, picture.m_texture, configuration);
}

Error convertFromVxf(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration,
                     int index) {
    VxfPicture picture;
    return openVxf(&picture, source, destination, configuration, index)
               ? readVxf(picture, destination, configuration)
               : kErrorFailed;
}

Error convertFromVxf(MemoryRegion* source, Image* destination, Configuration* configuration) {
    return convertFromVxf(source, destination, configuration, 0);
}

Error convertFromVxf(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration) {
    return convertFromVxf(source, destination, configuration, 0);
}

Error convertToVxf(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    if (!checkConvertJobArguments(source, destination, configuration, kSourcePath)) {
        return kErrorFailed;
    }
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
    return tileImage(&texels, source, configuration, 0);
}

Error vxf2Texture(MemoryRegion* source, Texture* destination, Configuration* configuration, int index) {
    if (!checkConvertArguments(source, destination, configuration, kSourcePath)) {
        return kErrorFailed;
    }
    VxfManipulator file;
    file.readFrom(source);
    const Vex::Texture* inFile = file.getTextureInFile(index);
    if (inFile == nullptr) {
        return kErrorFailed;
    }
    std::memcpy(destination->m_regs, inFile, sizeof destination->m_regs);
    destination->m_memoryRegion = file.getTexelsInFile(index);
    return kErrorNone;
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
    if (count < 0 || (sources == nullptr && count > 0)) {
        return kErrorFailed;
    }
    std::array<FileTexture, Vxf::kMaxTextures> found;
    std::array<Vex::Texture, Vxf::kMaxTextures> textures;
    for (int i = 0; i < count; ++i) {
        VxfManipulator source;
        source.readFrom(sources[i]);
        if (!source.hasFile() || !findTexture(&found[unsigned(i)], source, 0)) {
            return kErrorFailed;
        }
        textures[unsigned(i)] = found[unsigned(i)].m_texture;
    }
    VxfManipulator file;
    if (!layOut(&file, destination, textures.data(), count)) {
        return kErrorFailed;
    }
    Error result = kErrorNone;
    for (int i = 0; i < count; ++i) {
        const Error error = copyTexels(file.getTexels(i), found[unsigned(i)]);
        result = result != kErrorNone ? result : error;
    }
    return result;
}

Error vxfSplit(ResizableMemoryRegion** destinations, int count, MemoryRegion* source, Configuration*) {
    VxfManipulator whole;
    whole.readFrom(source);
    const int textures = whole.getNumberOfTextures();
    if (whole.hasFile() && count != textures) {
        toolsAssert(kSourcePath, __LINE__, "Source VXF has %d textures. Must match destinations value of %d.",
                    textures, count);
    }
    if (!whole.hasFile() || destinations == nullptr) {
        return kErrorFailed;
    }
    Error result = kErrorNone;
    for (int i = 0; i < std::min(count, textures); ++i) {
        FileTexture texture;
        VxfManipulator part;
        part.m_chunks = whole.m_chunks;
        const bool good =
            findTexture(&texture, whole, i) && layOut(&part, destinations[i], &texture.m_texture, 1);
        const Error error = good ? copyTexels(part.getTexels(0), texture) : kErrorFailed;
        result = result != kErrorNone ? result : error;
    }
    return result;
}

} // namespace qor::Texsmith::Raw
