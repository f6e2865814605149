#include "file_info.h"

#include "failure.h"
#include "source_file.h"

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/file_description.h"
#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/helpers.h"
#include "qor/texsmith/raw/reading_options.h"
#include "qor/texsmith/raw/reflected_types.h"
#include "qor/texsmith/raw/vxf.h"

#include <cstdio>
#include <iterator>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr char kNoTileMode[] = "none: rows";

std::string tileModeName(Vex::TileMode mode) {
    const std::string name = Raw::ReflectedTypes::g_vexTileMode.valueToName(mode);
    return name.empty() ? std::to_string(mode) : name;
}

void readVxf(FileInfo* info, SourceFile* file) {
    Raw::VxfManipulator manipulator;
    callLibrary(file->name(), [&] {
        manipulator.readFrom(file->region());
        return Raw::kErrorNone;
    });
    for (int index = 0; index < manipulator.getNumberOfTextures(); ++index) {
        const Vex::Texture* texture = manipulator.getTextureInFile(index);
        if (texture == nullptr) {
            throw Failure("the file ends within its texture descriptors");
        }
        info->m_textures.push_back({*texture, tileModeName(texture->getTileMode()), texture->m_regs[7]});
    }
    for (int index = 0; index < manipulator.m_chunks.getEntries(); ++index) {
        const Raw::VxfChunkTable::Entry entry = manipulator.m_chunks.getEntryAt(index);
        const char type[] = {static_cast<char>(entry.m_type), static_cast<char>(entry.m_type >> 8),
                             static_cast<char>(entry.m_type >> 16), static_cast<char>(entry.m_type >> 24)};
        info->m_chunks.push_back({std::string(type, sizeof type), entry.m_region.length()});
    }
}

// For types that are not described by their headers.
void loadImage(FileInfo* info, SourceFile* file) {
    Configuration configuration;
    configuration.m_readingOptions = Raw::kReadKindly; // as convert does
    Raw::MappedMemory memory;
    Raw::ReallocatableImage image(&memory);
    callLibrary(file->name(), [&] {
        return Raw::loadWithResult(&image, file->region(), file->typeName(), &configuration, 0);
    });
    info->m_textures.push_back({*image.getVexTexture(), kNoTileMode, image.getBytesTotal()});
    info->m_isCut = false;
}

Vex::Texture textureOf(const Raw::FileDescription& description) {
    Vex::Texture texture;
    if (description.m_depth > 1) {
        texture.initAs3d(description.m_width, description.m_height, description.m_depth, description.m_mips,
                         description.m_format, Vex::kTileModeThick_1dThick);
    } else {
        texture.initAs2dArray(description.m_width, description.m_height, description.m_arrayEntries, 0,
                              description.m_mips, description.m_format, Vex::kTileModeThin_1dThin,
                              Vex::kNumFragments1, description.m_faces > 1);
    }
    return texture;
}

const char* meaningOf(Raw::FileTransfer transfer) {
    constexpr const char* kMeanings[] = {"", "sRGB", "linear", "another curve"};
    return transfer < std::size(kMeanings) ? kMeanings[transfer] : "";
}

bool fitsTexture(const Raw::FileDescription& file) {
    const auto isSide = [](unsigned length) { return length >= 1 && length <= Vex::kMaxTextureSize; };
    const auto isCount = [](unsigned count) { return count >= 1 && count <= Vex::kMaxTextureSlices; };
    return isSide(file.m_width) && isSide(file.m_height) && isCount(file.m_depth) &&
           isCount(file.m_arrayEntries) && file.m_format.m_word != 0;
}

// By its headers alone, as far as they go.
void readHeaders(FileInfo* info, SourceFile* file) {
    Configuration configuration;
    configuration.m_readingOptions = Raw::kReadKindly;
    Raw::FileDescription description;
    callLibrary(file->name(), [&] {
        const Raw::Error error =
            Raw::describeFile(&description, file->region(), file->typeName(), &configuration, 0);
        info->m_isCut = error != Raw::kErrorNone; // which is no failure
        return Raw::kErrorNone;
    });
    if (!fitsTexture(description)) { // whose reader tells why
        loadImage(info, file);
        return;
    }
    info->m_textures.push_back({textureOf(description), kNoTileMode, description.m_texelBytes});
    info->m_transfer = meaningOf(description.m_transfer);
    info->m_transferSource = description.m_transferSource;
}

} // namespace

std::string formatName(Vex::DataFormat format) {
    std::string withoutAlpha; // pictures without alpha have formats that have no name of their own
    for (int index = 0; index < Raw::getNamedDataFormatCount(); ++index) {
        const Raw::NamedDataFormat named = Raw::getNamedDataFormat(index);
        if (named.m_dataFormat == format) {
            return named.m_name;
        }
        if (withoutAlpha.empty() && named.m_dataFormat.withChannel(3, Vex::kTextureChannel1) == format) {
            withoutAlpha = std::string(named.m_name) + " without alpha";
        }
    }
    char text[16];
    std::snprintf(text, sizeof text, "0x%06x", format.m_word);
    return withoutAlpha.empty() ? text : withoutAlpha;
}

FileInfo readFileInfo(const std::string& name, const std::string& wantedType) {
    SourceFile file(name, wantedType);
    Raw::FileType type = Raw::getFileTypeFromExtension(file.typeName());
    if (type == 0) {
        type = Raw::getFileTypeFromContents(file.region(), Raw::kReadKindly);
    }
    if (type == 0) {
        throw Failure("neither its name nor its first bytes tell its type", kExitUnsupported, file.name());
    }
    FileInfo info;
    info.m_name = file.name();
    info.m_type = typeText(type);
    info.m_bytes = file.region()->length();
    if (type == Raw::makeFileType(".VXF")) {
        readVxf(&info, &file);
    } else {
        readHeaders(&info, &file);
    }
    return info;
}

} // namespace Tool
