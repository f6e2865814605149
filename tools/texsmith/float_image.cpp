#include "float_image.h"

#include "failure.h"
#include "source_file.h"

#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/helpers.h"
#include "qor/texsmith/raw/reformat.h"
#include "qor/texsmith/raw/view.h"

namespace Tool {

using namespace qor;
using namespace qor::Texsmith;

Raw::FileTransfer loadFile(Raw::MemoryMappedImage* image, const std::string& name, const std::string& type) {
    SourceFile file(name, type);
    Configuration configuration;
    configuration.m_readingOptions = Raw::kReadKindly; // as convert does
    Raw::FileDescription description;
    callLibrary(file.name(), [&] {
        Raw::describeFile(&description, file.region(), file.typeName(), &configuration, 0);
        return Raw::loadWithResult(image, file.region(), file.typeName(), &configuration, 0);
    });
    return description.m_transfer;
}

void convertToFloats(Raw::MemoryMappedImage* floats, const Raw::MemoryMappedImage& image, unsigned mips,
                     SrgbValues srgb, const std::string& name) {
    Configuration configuration;
    configuration.m_decoderConfiguration.m_srgbAsLinear = srgb == SrgbValues::kAsStored;
    Vex::DataFormat format = {};
    Raw::makeDataFormat(&format, "R32G32B32A32Float", &configuration);
    Vex::Texture texture = *image.getVexTexture();
    texture.setMipLevelRange(0, mips - 1);
    texture = Raw::changeDataFormat(texture, format);
    floats->reallocate(&texture);
    callLibrary(name, [&] {
        Raw::Error error = Raw::kErrorNone;
        forEachSurface(*floats, [&](const Raw::SurfaceIndex& index) { // the image may have more mips
            const Raw::AsSurfaceElementProvider from(&image, &index);
            Raw::AsSurfaceElementProvider to(floats, &index);
            error = error == Raw::kErrorNone ? Raw::reformat(&from, &to, &configuration) : error;
        });
        return error;
    });
}

const float* texelOf(const Raw::ElementRows& rows, unsigned x, unsigned y) {
    return reinterpret_cast<const float*>(rows.row(y)) + std::size_t{x} * 4;
}

} // namespace Tool
