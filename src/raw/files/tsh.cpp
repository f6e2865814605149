#include "qor/texsmith/raw/tsh.h"

#include "qor/texsmith/raw/json.h"
#include "qor/texsmith/raw/reflected_types.h"
#include "raw/files/check_arguments.h"
#include "raw/files/flat_picture.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\files\\tsh";
constexpr unsigned kMostText = 2048; // the longest descriptor takes about a quarter

} // namespace

Error convertFromTsh(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration) {
    if (!checkConvertArguments(source, destination, configuration, kSourcePath)) {
        return kErrorFailed;
    }
    constexpr unsigned long long kMostSource = std::numeric_limits<unsigned>::max();
    Json::Node node(configuration->m_allocator);
    Json::Reader reader;
    reader.init(source->begin, static_cast<unsigned>(std::min(source->length(), kMostSource)),
                configuration->m_allocator);
    Json::read(&node, &reader);
    Vex::Texture texture = {};
    ReflectedTypes::g_vexTexture.fromJson(&texture, &node);
    destination->reallocate(&texture);
    destination->setModifiers(Modifiers());
    if (destination->getBytesTotal() != 0) {
        return kErrorNone;
    }
    toolsWarning(kSourcePath, __LINE__, "The TSH file describes no image.");
    return kErrorFailed;
}

Error convertToTsh(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    if (!checkConvertArguments(source, destination, configuration, kSourcePath)) {
        return kErrorFailed;
    }
    Vex::Texture texture = source->getTexture();
    Json::Node node(configuration->m_allocator);
    ReflectedTypes::g_vexTexture.toJson(&node, &texture);
    char text[kMostText];
    Json::Writer writer;
    writer.init(text, kMostText);
    Json::write(&node, &writer);
    if (writer.offset() == 0 || !resizeFile(destination, writer.offset())) {
        return kErrorFailed;
    }
    std::memcpy(destination->begin, text, writer.offset());
    return kErrorNone;
}

} // namespace qor::Texsmith::Raw
