// texsmith convert: writes a file as another type.
#include "commands.h"
#include "console.h"
#include "file_conversion.h"
#include "json_output.h"
#include "options.h"
#include "source_file.h"

namespace Tool {
namespace {

constexpr Operand kOperands[] = {
    {.m_name = "SOURCE", .m_help = "a file or URL, or - for the standard input"},
    {.m_name = "DESTINATION",
     .m_help = "a file, or an extension that begins with a dot, such as .vxf, for SOURCE with that "
               "extension; - for the standard output"},
};

const OptionGroup kGroups[] = {kConversionGroups[0], kConversionGroups[1], kStandardStreamOptions};

constexpr Example kExamples[] = {
    {"convert photo.png photo.dds --format Bc7UnormSrgb --mips", "a compressed texture with all its mips"},
    {"convert rock.dds .vxf", "the same texels in the native container, as rock.vxf"},
    {"convert big.tga small.png --resize 512x512", "a smaller picture"},
};

void run(const Options& options) {
    const std::string& source = options.names()[0];
    const std::string destination = resolveDestination(source, options.names()[1]);
    convertFile(source, destination, conversionOptionsOf(options));
    if (isJson() && destination != kStandardStream) {
        printJson(kConvertCommand,
                  {{"files", Json::array({{{"source", source}, {"destination", destination}}})}});
    }
}

} // namespace

const Command kConvertCommand = {
    .m_name = "convert",
    .m_summary = "writes a picture or texture as another type of file",
    .m_description =
        "The destination's extension says its type. A file that stands there is replaced once the new "
        "one is whole, and survives a failure.",
    .m_operands = kOperands,
    .m_groups = kGroups,
    .m_examples = kExamples,
    .m_run = &run,
};

} // namespace Tool
