// Range, mean, constants and histogram of the values of a texture.
#pragma once

#include "qor/texsmith/raw/statistics.h"

namespace Tool {

struct Measures {
    qor::Texsmith::Raw::MinMaxMean m_mean;
    qor::Texsmith::Raw::ConstantCounts m_constants;
    qor::Texsmith::Raw::MinMax m_range; // the true one: the mean's deliberately starts above zero
    qor::Texsmith::Raw::Histogram m_histogram;
    qor::Texsmith::Raw::MinMax m_bins;
};

// Of all surfaces of an image of floats. Throws Failure.
void measure(Measures* measures, const qor::Texsmith::Raw::ElementProvider& image);

// "constant zero", "constant one", "constant", or nothing.
const char* constantText(const Measures& measures, unsigned channel);

} // namespace Tool
