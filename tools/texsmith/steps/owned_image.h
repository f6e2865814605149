// Images as the steps of a conversion hand them on.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/image.h"

#include <memory>

namespace Tool {

using OwnedImage = std::unique_ptr<qor::Texsmith::Raw::MemoryMappedImage>;

// Of that shape and format, with undefined contents. Throws Failure where there is no memory for it.
OwnedImage makeImage(const qor::Vex::Texture& texture);

// The same texels in another format. Throws Failure, which names both formats, for a pair that has no way.
OwnedImage inFormat(const qor::Texsmith::Raw::MemoryMappedImage& image, qor::Vex::DataFormat format,
                    qor::Texsmith::Configuration* configuration);

// The format of plain texels, four channels each, that holds what `format` does: of bytes, of 16 bits, of
// halves or of floats. Throws Failure for formats of integers.
qor::Vex::DataFormat fourChannelsLike(qor::Vex::DataFormat format);

} // namespace Tool
