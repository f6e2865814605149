// Histograms as pictures and as text.
#pragma once

#include "picture.h"
#include "qor/texsmith/raw/statistics.h"

#include <string>

namespace Tool {

// Four panels, one for each channel, with the range of the bins below them. The bars of a channel are scaled
// to its fullest bin, by square roots, so that the sparse ones show.
Picture drawHistogram(const qor::Texsmith::Raw::Histogram& histogram,
                      const qor::Texsmith::Raw::MinMax& range);

// One channel in 64 characters, from blank for none to '#'.
std::string histogramLine(const qor::Texsmith::Raw::Histogram& histogram, unsigned channel);

} // namespace Tool
