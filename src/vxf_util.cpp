// The native container by error codes, C files and classic pictures.
#include "qor/texsmith/vxf_util.h"

#include "platform/platform.h"
#include "raw/frame/check.h"
#include "tools_memory.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>

namespace qor::Texsmith {
namespace {

constexpr char kSourcePath[] = "vxf_util";

constexpr unsigned kVersion = 2; // what is written here; 1 is read as well
constexpr unsigned kMaxAlignment = 31;
constexpr std::uint64_t kHeaderBytes = sizeof(Vxf::Header), kContentsBytes = sizeof(Vxf::Contents);
constexpr std::uint64_t kDescriptorBytes = 32, kChunkHeadBytes = sizeof(Vxf::UserData);
constexpr std::uint64_t kSmallestRegion = 257;
constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint32_t kUser = Raw::kVxfChunkTypeUser;

constexpr std::uint64_t roundUp(std::uint64_t size, std::uint64_t alignment) {
    return (size + alignment - 1) / alignment * alignment;
}

// From the start of the contents to behind the descriptors.
std::uint64_t descriptorsEnd(const Vxf::Contents& contents) {
    return kContentsBytes + kDescriptorBytes * contents.m_numTextures;
}

constexpr unsigned saturated(std::uint64_t size) {
    return static_cast<unsigned>(std::min<std::uint64_t>(size, std::numeric_limits<unsigned>::max()));
}

// What the contents ask for, of which `known` bytes are there: a chunk whose head lies behind them is none.
std::uint64_t contentSizeWithin(const Vxf::Contents& contents, std::uint64_t known) {
    std::uint64_t end = kHeaderBytes + descriptorsEnd(contents);
    if (known >= descriptorsEnd(contents) + kChunkHeadBytes) {
        Vxf::UserData chunk;
        std::memcpy(&chunk, reinterpret_cast<const std::uint8_t*>(&contents) + descriptorsEnd(contents),
                    sizeof(chunk));
        end += chunk.m_type == kUser ? chunk.m_size + kChunkHeadBytes : 0;
    }
    return roundUp(end, std::uint64_t{1} << (contents.m_alignment & kMaxAlignment)) - kHeaderBytes;
}

ErrorCode checkContents(const Vxf::Contents& contents, unsigned contentsSize) {
    if (contents.m_alignment > kMaxAlignment) {
        return kVxfErrorWrongAlignment;
    }
    switch (contents.m_version) {
    case 1:
        return contentsSize == descriptorsEnd(contents) ? kVxfErrorNone : kVxfErrorWrongContentsSize;
    case kVersion:
        return contentSizeWithin(contents, contentsSize) <= contentsSize ? kVxfErrorNone
                                                                         : kVxfErrorWrongContentsSize;
    default:
        return kVxfErrorWrongVersion;
    }
}

ErrorCode checkMagic(const Vxf::Header& header) {
    return header.m_magic == Vxf::kMagic ? kVxfErrorNone : kVxfErrorWrongMagic;
}

} // namespace

ErrorCode loadVxfHeader(Vxf::Header* header, std::FILE* file) {
    if (header == nullptr || file == nullptr) {
        return kVxfErrorNullPointer;
    }
    *header = {};
    std::fseek(file, 0, SEEK_SET);
    // Deliberately not tested: of a short file the magic is 0.
    [[maybe_unused]] const std::size_t read = std::fread(header, 1, sizeof(*header), file);
    return checkMagic(*header);
}

ErrorCode loadVxfHeader(Vxf::Header* header, Raw::MemoryRegion* region) {
    if (header == nullptr || region == nullptr) {
        return kVxfErrorNullPointer;
    }
    if (region->length() < kSmallestRegion) {
        return kVxfErrorTooShort;
    }
    Vxf::Header found;
    std::memcpy(&found, region->begin, sizeof(found));
    const ErrorCode error = checkMagic(found);
    if (error == kVxfErrorNone) {
        *header = found;
    }
    return error;
}

ErrorCode readVxfHeader(std::FILE** file, Vxf::Header* header, const char* filename) {
    if (file == nullptr || filename == nullptr) {
        return kVxfErrorNullPointer;
    }
    *file = Platform::openStream(filename, "r+b");
    return *file != nullptr ? loadVxfHeader(header, *file) : kVxfErrorCannotOpen;
}

ErrorCode readVxfContents(Vxf::Contents* contents, unsigned int contentsSize, std::FILE* file) {
    if (contents == nullptr || file == nullptr) {
        return kVxfErrorNullPointer;
    }
    if (contentsSize < kContentsBytes || std::fseek(file, long{kHeaderBytes}, SEEK_SET) != 0 ||
        std::fread(contents, 1, contentsSize, file) != contentsSize) {
        return kVxfErrorTooShort;
    }
    return checkContents(*contents, contentsSize);
}

ErrorCode readVxfContents(Vxf::Contents* contents, unsigned int contentsSize, Raw::MemoryRegion* region) {
    if (contents == nullptr || region == nullptr) {
        return kVxfErrorNullPointer;
    }
    if (contentsSize < kContentsBytes || region->length() < kHeaderBytes + contentsSize) {
        return kVxfErrorTooShort;
    }
    std::memcpy(contents, region->begin + kHeaderBytes, contentsSize);
    return checkContents(*contents, contentsSize);
}

unsigned int computeContentSize(const Vxf::Contents* contents) {
    if (contents == nullptr) {
        return 0;
    }
    return saturated(contentSizeWithin(*contents, kNoLimit));
}

Vxf::UserData* getUserData(const Vxf::Contents* contents) {
    if (contents == nullptr) {
        return nullptr;
    }
    auto* bytes = reinterpret_cast<const std::uint8_t*>(contents) + descriptorsEnd(*contents);
    return const_cast<Vxf::UserData*>(reinterpret_cast<const Vxf::UserData*>(bytes));
}

void createVxfErrorMessage(char* buffer, unsigned int size, ErrorCode code, const Vxf::Header* header,
                           const Vxf::Contents* contents) {
    if (buffer == nullptr || size == 0) {
        return;
    }
    const unsigned contentsSize =
        header != nullptr && code != kVxfErrorCannotOpen ? header->m_contentsSize : 0;
    switch (code) {
    case kVxfErrorNullPointer:
        std::snprintf(buffer, size, "NULL pointer is passed as vxf header");
        break;
    case kVxfErrorWrongMagic:
        std::snprintf(buffer, size, "File is not a valid vxf file.");
        break;
    case kVxfErrorContentsTooBig:
        std::snprintf(buffer, size, "Bad header, contents size is too big.");
        break;
    case kVxfErrorTooShort:
        std::snprintf(buffer, size, "File is too short to contain texture contents.");
        break;
    case kVxfErrorWrongVersion:
        std::snprintf(buffer, size, "Vxf file version(%i) does not match current version of this tool(%i)",
                      contents != nullptr ? contents->m_version : 0, static_cast<int>(kVersion));
        break;
    case kVxfErrorWrongAlignment:
        std::snprintf(buffer, size, "File is corrupt. Max m_alignment is out of range 0-31 (%i).",
                      contents != nullptr ? contents->m_alignment : 0);
        break;
    case kVxfErrorWrongContentsSize:
        std::snprintf(
            buffer, size,
            "Header data is corrupt. Expected content size %i does not correspond to actual content size %i.",
            static_cast<int>(contentsSize),
            contents != nullptr ? static_cast<int>(saturated(contentSizeWithin(*contents, contentsSize)))
                                : 0);
        break;
    case kVxfErrorCannotOpen:
        std::snprintf(buffer, size, "Cannot open the file for read: %s",
                      header != nullptr ? reinterpret_cast<const char*>(header) : "");
        break;
    case kVxfErrorWrongFileSize:
        std::snprintf(buffer, size, "File size does not match with header data.");
        break;
    default:
        buffer[0] = 0;
        break;
    }
}

namespace {

// Where the parts of a file with one texture lie.
struct FileLayout {
    Vex::Texture m_texture;
    std::uint64_t m_texelBytes = 0;
    unsigned m_alignment = 0;
    unsigned m_payloadBytes = 0;
    std::uint64_t m_texelOffset = 0;

    unsigned alignmentLog2() const { return static_cast<unsigned>(std::bit_width(m_alignment)) - 1; }
    // A client's picture may ask for any size: too much stays so.
    std::uint64_t total() const { return m_texelOffset + std::min(m_texelBytes, kNoLimit - m_texelOffset); }
};

bool layOut(FileLayout* layout, const VexTextureGen& image, Vex::DataFormat format,
            const Vxf::UserData* userData) {
    const ImageType type = image.getImageType();
    const bool isVolume = type == kImageTypeVolume || type == kImageTypeMippedVolume;
    const Vex::TileMode tileMode = isVolume ? Vex::kTileModeThick_1dThick : Vex::kTileModeThin_1dThin;
    if (!image.initTexture(&layout->m_texture, &layout->m_texelBytes, &layout->m_alignment, format,
                           tileMode)) {
        return false;
    }
    layout->m_alignment = std::max(layout->m_alignment, 1u);
    layout->m_payloadBytes = userData != nullptr ? userData->m_size : 0;
    layout->m_texelOffset =
        roundUp(kHeaderBytes + kContentsBytes + kDescriptorBytes + kChunkHeadBytes + layout->m_payloadBytes,
                std::uint64_t{1} << layout->alignmentLog2());
    return true;
}

void writeHead(std::uint8_t* bytes, const FileLayout& layout, const Vxf::UserData* userData) {
    const Vxf::VxfFile head = {{Vxf::kMagic, static_cast<std::uint32_t>(layout.m_texelOffset - kHeaderBytes)},
                               {kVersion, 1, static_cast<std::uint8_t>(layout.alignmentLog2()), 0,
                                static_cast<std::uint32_t>(layout.total())}};
    Vex::Texture descriptor = layout.m_texture;
    descriptor.m_regs[0] = 0;
    descriptor.m_regs[1] = (descriptor.m_regs[1] & ~0xFFu) | layout.alignmentLog2();
    descriptor.m_regs[7] = static_cast<std::uint32_t>(layout.m_texelBytes);
    const Vxf::UserData chunk = {kUser, layout.m_payloadBytes};
    std::memcpy(bytes, &head, sizeof(head));
    std::memcpy(bytes + sizeof(head), &descriptor, sizeof(descriptor));
    std::memcpy(bytes + sizeof(head) + sizeof(descriptor), &chunk, sizeof(chunk));
    if (layout.m_payloadBytes != 0) {
        std::memcpy(bytes + sizeof(head) + sizeof(descriptor) + sizeof(chunk), userData + 1,
                    layout.m_payloadBytes);
    }
}

} // namespace

Vxf::VxfFile* writeImage2VxfInMemory(VexTextureGen* image, Vex::DataFormat format, Vxf::UserData* userData,
                                     JobManager* jobManager) {
    FileLayout layout;
    if (!Raw::checkNotNull(image, kSourcePath, "image must not be NULL.") ||
        !Raw::check(layOut(&layout, *image, format, userData), kSourcePath, "image->initTexture()")) {
        return nullptr;
    }
    ToolsBytes bytes = allocateToolsBytes(layout.total(), std::max(layout.m_alignment, 16u));
    if (bytes == nullptr) {
        toolsAssert(kSourcePath, __LINE__, // deliberately this text
                    "Out of memory! failed to allocate buffer needed for Opacity Threshold histogram. Buffer "
                    "size: %i.",
                    static_cast<int>(layout.total()));
        return nullptr;
    }
    std::memset(bytes.get(), 0, static_cast<std::size_t>(layout.total()));
    writeHead(bytes.get(), layout, userData);
    const bool isEncoded = image->encodeSurfaces(bytes.get() + layout.m_texelOffset, layout.m_texelBytes,
                                                 layout.m_texture, jobManager);
    const bool holds = Raw::check(isEncoded, kSourcePath, "image->encodeSurfaces()");
    return holds ? reinterpret_cast<Vxf::VxfFile*>(bytes.release()) : nullptr;
}

void writeImage2VxfFile(const char* filename, VexTextureGen* image, Vex::DataFormat format,
                        Vxf::UserData* userData, JobManager* jobManager) {
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    const std::unique_ptr<std::FILE, CloseFile> file(
        filename != nullptr ? Platform::openStream(filename, "wb") : nullptr);
    if (file == nullptr) {
        return;
    }
    const ToolsBytes vxf(
        reinterpret_cast<std::uint8_t*>(writeImage2VxfInMemory(image, format, userData, jobManager)));
    if (vxf != nullptr) {
        const std::size_t size = reinterpret_cast<const Vxf::VxfFile*>(vxf.get())->m_contents.m_streamSize;
        const bool isWritten = std::fwrite(vxf.get(), 1, size, file.get()) == size;
        Raw::check(isWritten && std::fflush(file.get()) == 0, kSourcePath, "isWritten");
    }
}

} // namespace qor::Texsmith
