// Conversions between DDS files and images, textures or files of the native container. Texels are copied or
// put into another order, never decoded.
#include "qor/texsmith/raw/dds.h"

#include "qor/texsmith/raw/job_manager.h"
#include "qor/texsmith/raw/per_tile.h"
#include "qor/texsmith/raw/view.h"
#include "qor/texsmith/raw/vxf.h"
#include "raw/configuration/check_configuration.h"
#include "raw/dds_layout/file_header.h"
#include "raw/files/dds_and_vxf.h"
#include "raw/files/describe.h"
#include "raw/files/flat_image.h"
#include "raw/files/vxf_texture.h"
#include "raw/surfaces/copy_tiles.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\dds";
constexpr FileKind kKind = {"DDS", kSourcePath};

// Whether the channel type is the file's, and not the caller's.
bool isTyped(const DdsFileHeader& header) {
    const auto formatAs = [&header](Vex::TextureChannelType type) {
        return findDdsFormat(header, type, kReadLiterally).m_format;
    };
    return header.isDx10() &&
           formatAs(Vex::kTextureChannelTypeUNorm) == formatAs(Vex::kTextureChannelTypeSrgb);
}

Error firstError(Error a, Error b) { return a != kErrorNone ? a : b; }

// A view on a file, with all of its texels unless m_error says otherwise.
struct OpenFile {
    DdsImage m_image;
    Error m_error;

    OpenFile(MemoryRegion* source, const Configuration* configuration)
        : m_error(m_image.readFrom(source, configuration->m_textureChannelType,
                                   configuration->m_readingOptions)) {
        if (m_image.hasFile() && !hasTexels()) {
            toolsWarning(kSourcePath, __LINE__, "The texels of surface format %d cannot be converted.",
                         static_cast<int>(m_image.getDataFormat().getSurfaceFormat()));
            m_error = kErrorFailed;
        }
    }
    // Formats whose texels share channels are known by name only.
    bool hasTexels() const { return m_image.getBytesTotal() != 0; }
};

Error copyTiles(const ElementProvider* destination, const ElementProvider* source,
                Configuration* configuration) {
    CopyPerTile copyPerTile(destination, source);
    PerTileJob job(source, &copyPerTile, configuration);
    return configuration->m_jobManager->submitAndStall(&job);
}

// Bytes that the source lacks become zeros, and the copy has failed.
Error copyBytes(MemoryRegion destination, MemoryRegion source, Configuration* configuration) {
    const std::uint64_t bytes = std::min(destination.length(), source.length());
    std::fill(destination.begin + bytes, destination.end, std::uint8_t{0});
    return multicoreMemcpy(destination, source, static_cast<unsigned>(bytes), configuration);
}

// Whether the elements of `provider` may share memory with `region`; true for one whose memory is not known.
bool mayLieIn(const ElementProvider& provider, const MemoryRegion& region) {
    if (const auto* image = dynamic_cast<const Image*>(&provider); image != nullptr) {
        return overlap(image->getStorage(), region);
    }
    const auto* texture = dynamic_cast<const TextureElementProvider*>(&provider);
    return texture == nullptr || overlap(texture->getTexture().m_memoryRegion, region);
}

Error readTiles(MemoryRegion* source, ElementProvider* destination, Configuration* configuration) {
    OpenFile file(source, configuration);
    if (!file.hasTexels()) {
        return file.m_error;
    }
    if (!dimensionsAndFormatAreIdentical(destination, &file.m_image)) {
        file.m_error = kErrorFailed;
        toolsAssert(kSourcePath, __LINE__,
                    "destination and source must have the same dimensions and format.");
        if (!dimensionsAndSurfaceFormatAreIdentical(destination, &file.m_image)) {
            return kErrorFailed;
        }
    }
    return firstError(file.m_error, copyTiles(destination, &file.m_image, configuration));
}

Error readImage(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration) {
    const OpenFile file(source, configuration);
    if (!file.hasTexels()) {
        return file.m_error;
    }
    const bool hasMemory = allocateImage(kKind, destination, *file.m_image.getVexTexture());
    destination->setModifiers(Modifiers());
    return hasMemory ? firstError(file.m_error, copyBytes(destination->getMemoryRegion(),
                                                          file.m_image.getMemoryRegion(), configuration))
                     : kErrorFailed;
}

Error writeTiles(const ElementProvider* source, ResizableMemoryRegion* destination, unsigned version,
                 Configuration* configuration) {
    DdsImage image;
    const Error error = image.writeTo(source->getVexTexture(), destination, version);
    return error == kErrorNone ? copyTiles(&image, source, configuration) : error;
}

Error writeImage(const Image* source, ResizableMemoryRegion* destination, unsigned version,
                 Configuration* configuration) {
    DdsImage image;
    if (const Error error = image.writeTo(source->getVexTexture(), destination, version);
        error != kErrorNone) {
        return error;
    }
    const MemoryRegion texels = source->getMemoryRegion();
    const Error error = copyBytes(image.getMemoryRegion(), texels, configuration);
    if (texels.length() == source->getBytesTotal()) {
        return error;
    }
    toolsWarning(kSourcePath, __LINE__, "The image has %u bytes, but its memory has only %llu of them.",
                 source->getBytesTotal(), texels.length());
    return kErrorFailed;
}

Error writeTexture(MemoryRegion* vxf, ResizableMemoryRegion* destination, unsigned version,
                   Configuration* configuration) {
    VxfTexture texture;
    if (!openVxf(&texture, vxf, destination, configuration, 0)) {
        return kErrorFailed;
    }
    DdsImage image;
    const Error error = image.writeTo(&texture.m_stored.m_texture, destination, version);
    return error == kErrorNone ? readVxf(texture, static_cast<Image*>(&image), configuration) : error;
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

Error convertFromDds(MemoryRegion* source, ElementProvider* destination, Configuration* configuration) {
    return runChecked(source, destination, configuration, [=] {
        const MemoryRegion shared = mayLieIn(*destination, *source) ? *source : MemoryRegion();
        return readApart(source, shared,
                         [=](MemoryRegion* file) { return readTiles(file, destination, configuration); });
    });
}

Error convertFromDds(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration) {
    return runChecked(source, destination, configuration, [=] {
        return readApart(source, destination->getStorage(),
                         [=](MemoryRegion* file) { return readImage(file, destination, configuration); });
    });
}

bool describeDds(FileDescription* description, const DescribedFile& file) {
    const DdsFileHeader header = copyDdsHeader(file.m_region);
    const Configuration& configuration = *file.m_configuration;
    const std::uint64_t texelBytes =
        file.m_region.length() - std::min<std::uint64_t>(file.m_region.length(), header.bytes());
    const auto formatUnder = [&](std::uint32_t options) {
        return findDdsFormat(header, configuration.m_textureChannelType, options);
    };
    const auto shapeUnder = [&](std::uint32_t options) {
        return findDdsShape(header, formatUnder(options), texelBytes, options);
    };
    if (header.m_magic != Dds::kMagic || file.m_region.length() < Dds::kBytesBefore) {
        return false;
    }
    const std::uint32_t options = configuration.m_readingOptions;
    const DdsFormat format = formatUnder(options);
    const DdsShape shape = shapeUnder(options);
    describeFlat(description, shape.m_width, shape.m_height, format.m_format);
    description->m_depth = shape.m_depth;
    description->m_mips = shape.m_mips;
    description->m_faces = shape.m_isCube ? 6 : 1;
    description->m_arrayEntries = shape.m_entries;
    const bool differsInShape = !(shape == shapeUnder(options & ~kReadDdsWholeTexture));
    const bool differsInMasks = !(format.m_format == formatUnder(kReadLiterally).m_format);
    description->m_readingOptions |=
        (differsInShape ? kReadDdsWholeTexture : 0u) | (differsInMasks ? kReadDdsMasksAsTheyAre : 0u);
    const bool isFloat = format.m_format.getTextureChannelType() == Vex::kTextureChannelTypeFloat;
    if (isTyped(header) || isFloat) {
        setTransferByFormat(description);
    }
    return header.m_header.m_size == sizeof header.m_header && file.m_region.length() >= header.bytes() &&
           format.m_format.getSurfaceFormat() != Vex::kSurfaceFormatInvalid;
}

Error convertToDds(const ElementProvider* source, ResizableMemoryRegion* destination, unsigned version,
                   Configuration* configuration) {
    return runChecked(source, destination, configuration, [=] {
        return writeApart(mayLieIn(*source, *destination), destination, [=](ResizableMemoryRegion* place) {
            return writeTiles(source, place, version, configuration);
        });
    });
}

Error convertToDds(const Image* source, ResizableMemoryRegion* destination, unsigned version,
                   Configuration* configuration) {
    return runChecked(source, destination, configuration, [=] {
        return writeApart(
            overlap(source->getStorage(), *destination), destination,
            [=](ResizableMemoryRegion* place) { return writeImage(source, place, version, configuration); });
    });
}

Error convertDdsToVxf(MemoryRegion* source, ResizableMemoryRegion* destination,
                      Configuration* configuration) {
    return runChecked(source, destination, configuration, [=] {
        const OpenFile file(source, configuration);
        return file.hasTexels()
                   ? firstError(file.m_error, convertToVxf(&file.m_image, destination, configuration))
                   : file.m_error;
    });
}

Error convertVxfToDds(MemoryRegion* source, ResizableMemoryRegion* destination, unsigned version,
                      Configuration* configuration) {
    return runChecked(source, destination, configuration, [=] {
        return writeApart(overlap(*source, *destination), destination, [=](ResizableMemoryRegion* place) {
            return writeTexture(source, place, version, configuration);
        });
    });
}

} // namespace qor::Texsmith::Raw
