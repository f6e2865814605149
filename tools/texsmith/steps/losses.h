// What a destination cannot carry.
#pragma once

#include "conversion_options.h"

#include "qor/texsmith/raw/file_description.h"
#include "qor/texsmith/raw/image.h"

#include <string>

namespace Tool {

// One hint for each part of a described source that a file of that name has no place for: textures, slices,
// faces, depth and mips. With --strict the first of them is thrown as a Failure.
void tellLostParts(const qor::Texsmith::Raw::FileDescription& source, const std::string& sourceName,
                   const std::string& destinationName, const ConversionOptions& options);

// The same for alpha, range and precision of a picture that is about to be stored in that format, if one was
// asked for, in a file of that name.
void tellLostValues(const qor::Texsmith::Raw::MemoryMappedImage& image, const std::string& destinationName,
                    const ConversionOptions& options, qor::Texsmith::Configuration* configuration);

// Whether tellLostValues may have something to say of a picture of that format.
bool mayLoseValues(qor::Vex::DataFormat format, const std::string& destinationName,
                   const ConversionOptions& options);

} // namespace Tool
