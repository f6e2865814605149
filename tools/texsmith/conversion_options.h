// What the command line asks for beyond a change of the file type.
#pragma once

#include "command.h"
#include "resizing.h"
#include "steps/step_options.h"

#include "qor/texsmith/raw/configuration.h"
#include "qor/vex/data_format.h"

#include <optional>
#include <string>

namespace Tool {

struct ConversionOptions {
    std::optional<Size> m_size;
    std::string m_filter = "lanczos";
    bool m_mips = false;
    StepOptions m_steps;
    std::optional<qor::Vex::DataFormat> m_format;
    std::optional<unsigned> m_ddsVersion; // 9 or 10
    std::optional<float> m_quality;       // of BC6H
    qor::Texsmith::Raw::EncoderEffort m_effort = qor::Texsmith::Raw::kEncoderEffortNormal;
    std::string m_inputType, m_outputType; // extensions, of what the standard streams hold

    // Whether a file of the destination's type already is what is asked for.
    bool changeNothing() const {
        return !m_size && !m_mips && !m_format && !m_ddsVersion && !m_steps.changePicture() &&
               !m_steps.m_tileMode;
    }
};

// The options that a command offers which converts files.
extern const OptionGroup kConversionGroups[2];

// From the options of such a command. Throws UsageFailure.
ConversionOptions conversionOptionsOf(const Options& options);
// Throws UsageFailure for types of file that cannot keep what is asked for.
void checkConversionOptions(const ConversionOptions& options, const std::string& destination);

} // namespace Tool
