// What the numbers of a file are taken for.
#pragma once

#include "colour.h"
#include "conversion_options.h"

#include "qor/texsmith/raw/file_description.h"

#include <string>

namespace Tool {

struct SourceNumbers {
    Numbers m_numbers;
    bool m_isAssumed; // as neither the file nor the options say it
};

// Whether the destination asks for sRGB: by its format, or else by its type of file.
bool wantsSrgb(const ConversionOptions& options, qor::Texsmith::Raw::FileType destination);

// `format` is that of the texels. What is not said is taken for sRGB where the destination asks for that, and
// else for data.
SourceNumbers numbersOf(const qor::Texsmith::Raw::FileDescription& source, qor::Vex::DataFormat format,
                        const ConversionOptions& options, qor::Texsmith::Raw::FileType destination);

// Tells what was assumed, if it makes a difference, and what is unusual about the numbers on their way.
void hintAtNumbers(const qor::Texsmith::Raw::FileDescription& source, const SourceNumbers& numbers,
                   const ConversionOptions& options, qor::Texsmith::Raw::FileType destination);
// Tells which of the readings that were meant rather than literal made a difference.
void hintAtReading(const qor::Texsmith::Raw::FileDescription& source);

} // namespace Tool
