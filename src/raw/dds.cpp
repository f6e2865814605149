#include "qor/texsmith/raw/dds.h"

#include "qor/texsmith/raw/job_manager.h"
#include "qor/texsmith/raw/per_tile.h"
#include "qor/texsmith/raw/vxf.h"
#include "raw/configuration/check_configuration.h"
#include "raw/files/check_arguments.h"
#include "raw/files/dds_and_vxf.h"
#include "raw/surfaces/copy_tiles.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\dds";

Error firstError(Error a, Error b) { return a != kErrorNone ? a : b; }

// A view on a file, with all of its texels unless m_error says otherwise.
struct OpenFile {
    DdsImage m_image;
    Error m_error;

    OpenFile(MemoryRegion* source, const Configuration* configuration)
        : m_error(m_image.readFrom(source, configuration->m_textureChannelType)) {
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
    const Error error = multicoreMemcpy(destination, source, static_cast<unsigned>(bytes), configuration);
    return bytes == destination.length() ? error : kErrorFailed;
}

// The descriptor without the words that the file has for itself.
Vex::Texture readDescriptor(const Vex::Texture* inFile) {
    Vex::Texture texture;
    std::memcpy(&texture, inFile, sizeof texture); // a file may lie at any address
    texture.m_regs[0] = 0;
    texture.m_regs[1] &= ~0xFFu;
    texture.m_regs[7] = 0;
    return texture;
}

} // namespace

Error convertFromDds(MemoryRegion* source, ElementProvider* destination, Configuration* configuration) {
    if (!checkConvertJobArguments(source, destination, configuration, kSourcePath)) {
        return kErrorFailed;
    }
    const OpenFile file(source, configuration);
    if (!file.hasTexels()) {
        return file.m_error;
    }
    if (!dimensionsAndFormatAreIdentical(destination, &file.m_image)) {
        toolsAssert(kSourcePath, __LINE__,
                    "destination and source must have the same dimensions and format.");
        if (!dimensionsAndSurfaceFormatAreIdentical(destination, &file.m_image)) {
            return kErrorFailed;
        }
    }
    return firstError(file.m_error, copyTiles(destination, &file.m_image, configuration));
}

Error convertFromDds(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration) {
    if (!checkConvertJobArguments(source, destination, configuration, kSourcePath)) {
        return kErrorFailed;
    }
    const OpenFile file(source, configuration);
    if (!file.hasTexels()) {
        return file.m_error;
    }
    destination->reallocate(file.m_image.getVexTexture());
    destination->setModifiers(Modifiers());
    const MemoryRegion texels = destination->getMemoryRegion();
    if (texels.length() < file.m_image.getBytesTotal()) {
        return kErrorFailed;
    }
    return firstError(file.m_error, copyBytes(texels, file.m_image.getMemoryRegion(), configuration));
}

Error convertToDds(const ElementProvider* source, ResizableMemoryRegion* destination, unsigned version,
                   Configuration* configuration) {
    if (!checkConvertJobArguments(source, destination, configuration, kSourcePath)) {
        return kErrorFailed;
    }
    DdsImage image;
    const Error error = image.writeTo(source->getVexTexture(), destination, version);
    return error == kErrorNone ? copyTiles(&image, source, configuration) : error;
}

Error convertToDds(const Image* source, ResizableMemoryRegion* destination, unsigned version,
                   Configuration* configuration) {
    if (!checkConvertJobArguments(source, destination, configuration, kSourcePath)) {
        return kErrorFailed;
    }
    DdsImage image;
    const Error error = image.writeTo(source->getVexTexture(), destination, version);
    return error == kErrorNone ? copyBytes(image.getMemoryRegion(), source->getMemoryRegion(), configuration)
                               : error;
}

Error convertDdsToVxf(MemoryRegion* source, ResizableMemoryRegion* destination,
                      Configuration* configuration) {
    if (!checkConvertJobArguments(source, destination, configuration, kSourcePath)) {
        return kErrorFailed;
    }
    const OpenFile file(source, configuration);
    return file.hasTexels()
               ? firstError(file.m_error, convertToVxf(&file.m_image, destination, configuration))
               : file.m_error;
}

Error convertVxfToDds(MemoryRegion* source, ResizableMemoryRegion* destination, unsigned version,
                      Configuration* configuration) {
    if (!checkConvertJobArguments(source, destination, configuration, kSourcePath)) {
        return kErrorFailed;
    }
    VxfManipulator file;
    file.readFrom(source);
    const Vex::Texture* inFile = file.getTextureInFile(0);
    if (inFile == nullptr) {
        return kErrorFailed;
    }
    const Vex::Texture texture = readDescriptor(inFile);
    DdsImage image;
    const Error error = image.writeTo(&texture, destination, version);
    return error == kErrorNone ? convertFromVxf(source, static_cast<Image*>(&image), configuration) : error;
}

} // namespace qor::Texsmith::Raw
