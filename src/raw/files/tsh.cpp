// Reads and writes TSH files, whose JSON text describes a texture and has no texels.
#include "qor/texsmith/raw/tsh.h"

#include "qor/texsmith/raw/json.h"
#include "qor/texsmith/raw/reflected_types.h"
#include "raw/files/describe.h"
#include "raw/files/flat_image.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\files\\tsh";
constexpr FileKind kKind = {"TSH", kSourcePath};
constexpr unsigned kMostText = 2048; // the longest descriptor takes about a quarter

// False, and warned about, for a text that is not whole.
bool readText(Json::Node* node, const MemoryRegion& text, const IAllocator& allocator) {
    constexpr unsigned long long kMostSource = std::numeric_limits<unsigned>::max();
    Json::Reader reader;
    reader.init(text.begin, static_cast<unsigned>(std::min(text.length(), kMostSource)), allocator);
    Json::read(node, &reader);
    if (node->getType() != Json::kTypeObject) {
        refuseFile(kKind, "it describes no image");
        return false;
    }
    if (reader.hasFailed()) {
        refuseFile(kKind, "its text is damaged or ends early");
    }
    return !reader.hasFailed();
}

// False, and reported, for a text that describes no image.
bool readTexture(Vex::Texture* texture, const MemoryRegion& source, const IAllocator& allocator) {
    Json::Node node(allocator);
    if (!readText(&node, source, allocator)) {
        return false;
    }
    *texture = {};
    ReflectedTypes::g_vexTexture.fromJson(texture, &node);
    if (texture->getDataFormat().getBytesPerElement() == 0) {
        refuseFile(kKind, "it describes no image");
        return false;
    }
    return true;
}

Error readFile(const MemoryRegion& source, ReallocatableImage* destination, const IAllocator& allocator) {
    Vex::Texture texture;
    if (!readTexture(&texture, source, allocator)) {
        return kErrorFailed;
    }
    const bool hasMemory = allocateImage(kKind, destination, texture);
    destination->setModifiers(Modifiers());
    if (hasMemory && destination->getBytesTotal() == 0) {
        return refuseFile(kKind, "its image is too large");
    }
    return hasMemory ? kErrorNone : kErrorFailed;
}

Error writeFile(const Image& source, ResizableMemoryRegion* destination, const IAllocator& allocator) {
    Vex::Texture texture = source.getTexture();
    Json::Node node(allocator);
    ReflectedTypes::g_vexTexture.toJson(&node, &texture);
    char text[kMostText];
    Json::Writer writer;
    writer.init(text, kMostText);
    Json::write(&node, &writer);
    if (!resizeFile(kKind, destination, writer.offset())) {
        return kErrorFailed;
    }
    std::memcpy(destination->begin, text, writer.offset());
    return kErrorNone;
}

} // namespace

Error convertFromTsh(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration) {
    return readFlatImage(kKind, source, destination, configuration, [=](const MemoryRegion* file) {
        return readFile(*file, destination, configuration->m_allocator);
    });
}

bool describeTsh(FileDescription* description, const DescribedFile& file) {
    Vex::Texture texture;
    if (!readTexture(&texture, file.m_region, file.m_configuration->m_allocator)) {
        return false;
    }
    describeTexture(description, texture);
    setTransferByFormat(description);
    return true;
}

Error convertToTsh(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    return writeFlatImage(kKind, source, destination, configuration,
                          [=] { return writeFile(*source, destination, configuration->m_allocator); });
}

} // namespace qor::Texsmith::Raw
