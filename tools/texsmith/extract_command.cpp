// texsmith extract: parts of textures as files of their own.
#include "commands.h"
#include "console.h"
#include "failure.h"
#include "file_conversion.h"
#include "json_output.h"
#include "options.h"
#include "paths.h"
#include "source_file.h"
#include "source_numbers.h"
#include "steps/image_parts.h"

#include "qor/texsmith/raw/helpers.h"
#include "qor/texsmith/raw/vxf.h"

#include <optional>
#include <string>
#include <vector>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr Option kOptions[] = {
    {.m_name = "--mip", .m_value = "N", .m_help = "that mip; 0 is the largest", .m_example = "1"},
    {.m_name = "--slice", .m_value = "N", .m_help = "that slice of an array", .m_example = "2"},
    {.m_name = "--face",
     .m_value = "N",
     .m_help = "that face of a cube, from 0 to 5: +X, -X, +Y, -Y, +Z, -Z",
     .m_example = "5"},
    {.m_name = "--depth", .m_value = "N", .m_help = "that slice of a volume", .m_example = "3"},
    {.m_name = "--texture", .m_value = "N", .m_help = "that texture of a .vxf file", .m_example = "1"},
};

// Parts are numbered by these, from the outermost on. A pattern names all parts of the ones that it mentions.
enum Axis { kTexture, kSlice, kFace, kDepth, kMip, kAxes };
constexpr const char* kAxisOptions[kAxes] = {"--texture", "--slice", "--face", "--depth", "--mip"};
constexpr const char* kPlaceholders[kAxes] = {"{texture}", "{slice}", "{face}", "{depth}", "{mip}"};

using AxisNumbers = std::optional<unsigned>[kAxes];

class Extraction {
public:
    Extraction(const Options& options, SourceFile* source)
        : m_source(source), m_pattern(options.names()[1]), m_conversion(conversionOptionsOf(options)) {
        for (unsigned axis = 0; axis < kAxes; ++axis) {
            if (options.has(kAxisOptions[axis])) {
                m_numbers[axis] = options.number(kAxisOptions[axis], 0, ~0u, 0);
            }
            m_isAll[axis] = !m_numbers[axis] && m_pattern.find(kPlaceholders[axis]) != m_pattern.npos;
        }
    }

    void run() {
        Configuration configuration;
        const bool isVxf = Raw::getFileTypeFromExtension(m_source->typeName()) == Raw::makeFileType(".VXF");
        const unsigned textures =
            isVxf ? static_cast<unsigned>(Raw::vxfGetNumberOfTextures(m_source->region(), &configuration))
                  : 1;
        if (m_numbers[kTexture] && *m_numbers[kTexture] >= textures) {
            throw Failure("there is no texture " + std::to_string(*m_numbers[kTexture]) + " of " +
                              std::to_string(textures),
                          kExitUnsupported);
        }
        forEachNumber(kTexture, textures, [&] { takeTexture(); });
    }
    const std::vector<std::string>& written() const { return m_written; }

private:
    // Calls use() for every number of the axis if the pattern asks for all, and once otherwise.
    template <typename Use> void forEachNumber(Axis axis, unsigned count, Use use) {
        if (!m_isAll[axis]) {
            use();
            return;
        }
        for (unsigned number = 0; number < count; ++number) {
            m_numbers[axis] = number;
            use();
        }
        m_numbers[axis].reset();
    }

    void takeTexture() {
        Configuration configuration;
        configuration.m_readingOptions = m_conversion.m_isLiteral ? Raw::kReadLiterally : Raw::kReadKindly;
        Raw::MemoryMappedImage image;
        const int texture = static_cast<int>(m_numbers[kTexture].value_or(0));
        callLibrary(m_source->name(), [&] {
            m_description = {};
            Raw::describeFile(&m_description, m_source->region(), m_source->typeName(), &configuration,
                              texture);
            return Raw::loadWithResult(&image, m_source->region(), m_source->typeName(), &configuration,
                                       texture);
        });
        const Raw::SurfaceCount count = image.getSurfaceCount();
        forEachNumber(kSlice, count.arrayEntries, [&] {
            forEachNumber(kFace, count.faces, [&] {
                forEachNumber(kMip, count.mips, [&] {
                    forEachNumber(kDepth, image.getDepth(m_numbers[kMip].value_or(0)), [&] { write(image); });
                });
            });
        });
    }

    void write(const Raw::MemoryMappedImage& image) {
        const OwnedImage part =
            partOf(image, {m_numbers[kMip], m_numbers[kSlice], m_numbers[kFace], m_numbers[kDepth]});
        convertImage(*part, m_source->name(), destination(), conversionOf(image.getDataFormat()));
        m_written.push_back(destination());
    }

    // Parts mean what the file says, or what convert assumes of it.
    ConversionOptions conversionOf(Vex::DataFormat format) const {
        ConversionOptions conversion = m_conversion;
        const Raw::FileType to = Raw::getFileTypeFromExtension(destination().c_str());
        const bool isEncoded =
            numbersOf(m_description, format, conversion, to).m_numbers == Numbers::kSrgb && !isSrgb(format);
        if (isEncoded) {
            conversion.m_transfer = Transfer::kSrgb;
        }
        return conversion;
    }

    std::string destination() const {
        std::string name = m_pattern;
        for (unsigned axis = 0; axis < kAxes; ++axis) {
            const std::string number = std::to_string(m_numbers[axis].value_or(0));
            replace(&name, kPlaceholders[axis], number);
        }
        const std::size_t begin = nameOffset(m_source->name()), end = extensionOffset(m_source->name());
        replace(&name, "{name}", m_source->name().substr(begin, end - begin));
        return name;
    }

    static void replace(std::string* text, const std::string& placeholder, const std::string& value) {
        for (std::size_t at = text->find(placeholder); at != text->npos;
             at = text->find(placeholder, at + value.size())) {
            text->replace(at, placeholder.size(), value);
        }
    }

    SourceFile* m_source;
    std::string m_pattern;
    ConversionOptions m_conversion;
    Raw::FileDescription m_description;
    AxisNumbers m_numbers;
    bool m_isAll[kAxes] = {};
    std::vector<std::string> m_written;
};

void run(const Options& options) {
    SourceFile source(options.names()[0], options.value("--type"));
    Extraction extraction(options, &source);
    try {
        extraction.run();
    } catch (const Failure& failure) {
        throwFileFailure(source.name(), failure);
    }
    if (isJson()) {
        printJson(kExtractCommand, {{"source", source.name()}, {"written", extraction.written()}});
    }
}

constexpr Operand kOperands[] = {
    {.m_name = "SOURCE", .m_help = "a texture, or - for the standard input"},
    {.m_name = "DESTINATION",
     .m_help =
         "a file. {mip}, {slice}, {face}, {depth} and {texture} in its name stand for the numbers of parts, "
         "all of which are written; {name} is the name of SOURCE"},
};

const OptionGroup kGroups[] = {{"Which part", kOptions},
                               kConversionGroups[0],
                               kConversionGroups[1],
                               kConversionGroups[2],
                               kStandardStreamOptions};

constexpr Example kExamples[] = {
    {"extract sky.dds face{face}.png", "each face of a cube as a picture"},
    {"extract rock.dds small.png --mip 3", "the fourth largest mip"},
    {"extract set.vxf {name}{texture}.vxf", "a file for each texture, with all its mips"},
};

} // namespace

const Command kExtractCommand = {
    .m_name = "extract",
    .m_summary = "writes parts of a texture as files of their own",
    .m_description = "What is not chosen is taken whole, where the type of the destination holds it.",
    .m_operands = kOperands,
    .m_groups = kGroups,
    .m_examples = kExamples,
    .m_run = &run,
};

} // namespace Tool
