// Pictures in another size.
#pragma once

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/image.h"

#include <memory>
#include <string>

namespace Tool {

struct Size {
    unsigned m_width = 0;
    unsigned m_height = 0;
};

// "256x128", the value of that option. Throws UsageFailure for anything else, and for sizes that no texture
// has.
Size readSize(const std::string& text, const std::string& option);

// All faces and slices of the largest mip in that size, in the format of the picture: in light where that is
// sRGB, and otherwise of the numbers. `filter` is box, triangle, cubic or lanczos.
std::unique_ptr<qor::Texsmith::Raw::MemoryMappedImage>
resized(const qor::Texsmith::Raw::MemoryMappedImage& picture, Size size, const std::string& filter,
        qor::Texsmith::Configuration* configuration);

} // namespace Tool
