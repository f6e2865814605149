// Range, mean, constants and histogram of the values of a texture.
#pragma once

#include "qor/texsmith/raw/image.h"
#include "qor/texsmith/raw/statistics.h"

#include <string>

namespace Tool {

struct Measures {
    qor::Texsmith::Raw::MinMaxMean m_mean;
    qor::Texsmith::Raw::ConstantCounts m_constants;
    qor::Texsmith::Raw::MinMax m_range; // the true one: the mean's deliberately starts above zero
    qor::Texsmith::Raw::Histogram m_histogram;
    qor::Texsmith::Raw::MinMax m_bins;
};

// Of all texels of a file's image, those of sRGB as they are stored. Throws Failure, in the name of the file,
// for a format that cannot be read.
void measureTexture(Measures* measures, const qor::Texsmith::Raw::MemoryMappedImage& image,
                    const std::string& name);

// "constant zero", "constant one", "constant", or nothing.
const char* constantText(const Measures& measures, unsigned channel);

} // namespace Tool
