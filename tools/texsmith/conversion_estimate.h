// What a conversion will need and give, told from the headers of its source.
#pragma once

#include "conversion_options.h"

#include <cstdint>
#include <string>

namespace Tool {

struct ConversionEstimate {
    unsigned m_width = 0, m_height = 0; // of the result; 0 where the source does not tell
    unsigned m_mips = 1;
    unsigned m_surfaces = 1;             // faces, slices, depth of the largest mip
    qor::Vex::DataFormat m_format = {0}; // of the result; 0: not known
    std::uint64_t m_resultBytes = 0;     // about; 0 where the type of file compresses, or nothing is known
    std::uint64_t m_memory = 0;          // the most that is needed at once, about
};

// Never throws for a file that cannot be read: little is known of it then.
ConversionEstimate estimateConversion(const std::string& source, const std::string& destination,
                                      const ConversionOptions& options);

} // namespace Tool
