// The steps of a conversion: load, resize, add mips, change the format, write.
#pragma once

#include "resizing.h"

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/memory_region.h"
#include "qor/vex/data_format.h"

#include <optional>
#include <string>

namespace Tool {

// What the command line asks for beyond a change of the file type.
struct ConversionOptions {
    std::optional<Size> m_size;
    std::string m_filter = "lanczos";
    bool m_mips = false;
    std::optional<qor::Vex::DataFormat> m_format;
    std::optional<unsigned> m_ddsVersion; // 9 or 10
    std::optional<float> m_quality;       // of BC6H
    qor::Texsmith::Raw::EncoderEffort m_effort = qor::Texsmith::Raw::kEncoderEffortNormal;
};

// Throws UsageFailure for a name that no format has, and for formats without texels.
qor::Vex::DataFormat findFormat(const std::string& name);
// Throws UsageFailure for types that cannot keep what is asked for.
void checkConversionOptions(const ConversionOptions& options, const std::string& destination);

// With no option set this is the library's own conversion, but that a DDS file gets the extended header when
// the classic one would bring back another format. What a file cannot keep is told on the standard error
// stream.
qor::Texsmith::Raw::Error convertRegions(qor::Texsmith::MemoryRegion* source, const std::string& sourceName,
                                         qor::Texsmith::Raw::ResizableMemoryRegion* destination,
                                         const std::string& destinationName, const ConversionOptions& options,
                                         qor::Texsmith::Configuration* configuration);

} // namespace Tool
