#include "commands.h"
#include "failure.h"

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/helpers.h"
#include "qor/texsmith/raw/vxf.h"

#include <cstdio>
#include <string>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr const char* kTileModeNames[] = {
    "Depth_2dThin_64",       "Depth_2dThin_128", "Depth_2dThin_256",    "Depth_2dThin_512",
    "Depth_2dThin_1K",       "Depth_1dThin",     "Depth_2dThinPrt_256", "Depth_2dThinPrt_1K",
    "Display_LinearAligned", "Display_1dThin",   "Display_2dThin",      "Display_ThinPrt",
    "Display_2dThinPrt",     "Thin_1dThin",      "Thin_2dThin",         "Thin_3dThin",
    "Thin_ThinPrt",          "Thin_2dThinPrt",   "Thin_3dThinPrt",      "Thick_1dThick",
    "Thick_2dThick",         "Thick_3dThick",    "Thick_ThickPrt",      "Thick_2dThickPrt",
    "Thick_3dThickPrt",      "Thick_2dXThick",   "Thick_3dXThick",
};

std::string tileModeName(Vex::TileMode mode) {
    return mode < std::size(kTileModeNames) ? kTileModeNames[mode] : std::to_string(mode);
}

// The first name of the format, or its word in hexadecimal.
std::string formatName(Vex::DataFormat format) {
    for (int index = 0; index < Raw::getNamedDataFormatCount(); ++index) {
        const Raw::NamedDataFormat named = Raw::getNamedDataFormat(index);
        if (named.m_dataFormat == format) {
            return named.m_name;
        }
    }
    char text[16];
    std::snprintf(text, sizeof text, "0x%06x", format.m_word);
    return text;
}

void printTexture(const Vex::Texture& texture) {
    const Raw::SurfaceCount count(texture);
    const unsigned depth = Raw::getDepthOfMip(texture, 0);
    std::printf("size       %u x %u", texture.getWidth(), texture.getHeight());
    if (depth > 1) {
        std::printf(" x %u", depth);
    }
    std::printf("\nformat     %s\n", formatName(texture.getDataFormat()).c_str());
    std::printf("mips       %u\nfaces      %u\nslices     %u\n", count.mips, count.faces, count.arrayEntries);
    if (count.fragments > 1) {
        std::printf("fragments  %u\n", count.fragments);
    }
}

void printChunks(const Raw::VxfChunkTable& chunks) {
    for (int index = 0; index < chunks.getEntries(); ++index) {
        const Raw::VxfChunkTable::Entry entry = chunks.getEntryAt(index);
        std::printf("chunk      %c%c%c%c, %llu bytes\n", static_cast<char>(entry.m_type),
                    static_cast<char>(entry.m_type >> 8), static_cast<char>(entry.m_type >> 16),
                    static_cast<char>(entry.m_type >> 24), entry.m_region.length());
    }
}

void printVxf(MemoryRegion* file) {
    Raw::VxfManipulator manipulator;
    manipulator.readFrom(file);
    const int textures = manipulator.getNumberOfTextures();
    for (int index = 0; index < textures; ++index) {
        const Vex::Texture* texture = manipulator.getTextureInFile(index);
        if (texture == nullptr) {
            throw Failure("the file ends within its texture descriptors");
        }
        if (textures > 1) {
            std::printf("\ntexture    %d of %d\n", index, textures);
        }
        printTexture(*texture);
        std::printf("tile mode  %s\n", tileModeName(texture->getTileMode()).c_str());
        std::printf("bytes      %u\n", texture->m_regs[7]);
    }
    printChunks(manipulator.m_chunks);
}

void printImage(MemoryRegion* file, const char* name) {
    Configuration configuration;
    Raw::MappedMemory memory;
    Raw::ReallocatableImage image(&memory);
    const Raw::Error error = Raw::loadWithResult(&image, file, name, &configuration, 0);
    if (error != Raw::kErrorNone || !firstReport().empty()) {
        throwFileFailure(name, error);
    }
    printTexture(*image.getVexTexture());
    std::printf("tile mode  none: rows\nbytes      %u\n", image.getBytesTotal());
}

std::string typeName(Raw::FileType type) {
    return {static_cast<char>(type >> 8), static_cast<char>(type >> 16), static_cast<char>(type >> 24)};
}

void printFile(const char* name) {
    Raw::MemoryMappedFile file(name, Raw::kPermissionsReadOnly, Raw::g_mallocAllocator);
    Raw::FileType type = Raw::getFileTypeFromExtension(name);
    if (type == 0) {
        type = Raw::getFileTypeFromContents(&file);
    }
    if (type == 0) {
        throw Failure("the type of the file is not known");
    }
    std::printf("file       %s, %llu bytes\ntype       %s\n", name, file.length(), typeName(type).c_str());
    if (type == Raw::makeFileType(".VXF")) {
        printVxf(&file);
    } else {
        printImage(&file, name);
    }
}

} // namespace

void infoCommand(Arguments arguments) {
    if (arguments.size() != 1) {
        throw UsageFailure("info takes one file; see texsmith --help");
    }
    const std::string name = arguments[0];
    try {
        printFile(name.c_str());
    } catch (const Failure& failure) {
        const std::string text = failure.what();
        throw Failure(text.starts_with(name + ": ") ? text : name + ": " + text);
    }
}

} // namespace Tool
