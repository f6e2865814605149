// What a report tells of one texture.
#pragma once

#include "file_info.h"
#include "json_output.h"
#include "report_texels.h"

#include "qor/texsmith/raw/file_description.h"
#include "qor/texsmith/raw/image.h"

#include <string>

namespace Tool {

// A file as it was loaded.
struct LoadedFile {
    std::string m_name;
    FileInfo m_info;
    qor::Texsmith::Raw::MemoryMappedImage m_image;
    qor::Texsmith::Raw::FileTransfer m_transfer = {};
};

// Throws Failure.
void loadForReport(LoadedFile* file, const std::string& name);

// Facts, measures and the layout of the first texture, in the form that the page's scripts expect. Throws
// Failure.
Json describeForReport(const LoadedFile& file);

// A picture of the texture's first surface as a data: URL, about `size` texels wide or tall. `range` is what
// the description has: what is shown as black and as white. Empty where the format cannot be converted.
std::string thumbnailOf(const qor::Texsmith::Raw::MemoryMappedImage& image, const Json& range, unsigned size);

// By a format of printf for one double.
std::string numberText(double value, const char* format);
// "1.5 MB"
std::string bytesText(std::uint64_t bytes);

} // namespace Tool
