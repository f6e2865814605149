// What the command line asks for beyond a change of the file type.
#pragma once

#include "colour.h"
#include "command.h"
#include "resizing.h"
#include "steps/step_options.h"

#include "qor/texsmith/raw/configuration.h"
#include "qor/vex/data_format.h"

#include <optional>
#include <string>

namespace Tool {

// What a source's numbers mean.
enum class Transfer { kAuto, kSrgb, kLinear };

struct ConversionOptions {
    std::optional<Size> m_size;
    std::string m_filter = "lanczos";
    bool m_mips = false;
    StepOptions m_steps;
    std::optional<qor::Vex::DataFormat> m_format;
    std::optional<unsigned> m_ddsVersion; // 9 or 10
    std::optional<float> m_quality;       // of BC6H
    qor::Texsmith::Raw::EncoderEffort m_effort = qor::Texsmith::Raw::kEncoderEffortNormal;
    bool m_isStrict = false;               // what a destination cannot carry is a failure
    std::string m_inputType, m_outputType; // extensions, of what the standard streams hold

    Transfer m_transfer = Transfer::kAuto;
    std::optional<Numbers> m_transferOut; // kSrgb or kData
    bool m_isLiteral = false;             // reads files as the library does by itself

    // Whether texels of the result are made of several of the source.
    bool average() const { return m_size || m_mips || m_steps.m_maxSize || m_steps.m_premultiplies; }
    // Whether a file of the destination's type already is what is asked for.
    bool changeNothing() const {
        return !m_size && !m_mips && !m_format && !m_ddsVersion && !m_steps.changePicture() &&
               !m_steps.m_tileMode && m_transfer == Transfer::kAuto && !m_transferOut;
    }
};

// The options that a command offers which converts files.
extern const OptionGroup kConversionGroups[3];

// From the options of such a command. Throws UsageFailure.
ConversionOptions conversionOptionsOf(const Options& options);
// Throws UsageFailure for types of file that cannot keep what is asked for.
void checkConversionOptions(const ConversionOptions& options, const std::string& destination);

} // namespace Tool
