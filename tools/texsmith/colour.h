// What the numbers of a picture mean, and what becomes of them on their way into another format.
#pragma once

#include "steps/owned_image.h"

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/filetype.h"
#include "qor/texsmith/raw/image.h"
#include "qor/vex/data_format.h"

#include <optional>

namespace Tool {

enum class Numbers {
    kSrgb,  // encoded by the sRGB curve
    kLight, // of a float format
    kData   // of any other format: light, normals, masks
};

// An image whose numbers mean what is told here. Its format may say so as well, by an sRGB type, or not.
struct NumberedPicture {
    OwnedImage m_image;
    Numbers m_numbers;
};

// Files that hold a picture by bytes and are taken for sRGB by those who show them.
bool holdsPicture(qor::Texsmith::Raw::FileType type);
// Files of floats.
bool holdsFloats(qor::Texsmith::Raw::FileType type);

bool isSrgb(qor::Vex::DataFormat format);
// Formats whose numbers are light: floats, and blocks of halves.
bool isFloat(qor::Vex::DataFormat format);
// Whether texels of that format may be encoded by the curve: those of UNorm and sRGB types, but of one or two
// channels in blocks, and floats.
bool mayBeSrgb(qor::Vex::DataFormat format);

// The stored bytes of an sRGB picture under an sRGB type, in which averages and conversions take them for
// light. Where alpha stands in a place that the curve is for, or texels have no such type, they are moved
// into a format of four channels first. Others than sRGB pictures stay as they are.
void showAsSrgb(NumberedPicture* picture, qor::Texsmith::Configuration* configuration);
// The stored bytes under a UNorm type, in which they are taken as they are.
void showAsNumbers(NumberedPicture* picture);

// In another format. The numbers become those of `out` where that is given; else they are what the format
// asks for: encoded for an sRGB type; light for floats, if they are sRGB; and as they are for all others.
void convertFormat(NumberedPicture* picture, qor::Vex::DataFormat format, std::optional<Numbers> out,
                   qor::Texsmith::Configuration* configuration);

// The same for a file by bytes, such as PNG, or for one of floats, in a format near to that of the picture:
// light becomes sRGB in a file by bytes, and sRGB becomes light in one of floats, unless `out` is given.
void convertForPicture(NumberedPicture* picture, qor::Texsmith::Raw::FileType type,
                       std::optional<Numbers> out, qor::Texsmith::Configuration* configuration);
// And for files that keep any format, .vxf and .dds.
void convertForContainer(NumberedPicture* picture, qor::Texsmith::Raw::FileType type,
                         std::optional<Numbers> out, qor::Texsmith::Configuration* configuration);

} // namespace Tool
