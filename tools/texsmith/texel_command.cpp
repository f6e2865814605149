// texsmith texel: what stands at one place of a file.
#include "commands.h"
#include "console.h"
#include "failure.h"
#include "float_image.h"
#include "json_output.h"
#include "options.h"
#include "source_file.h"

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/helpers.h"
#include "qor/texsmith/raw/property.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace Tool {
namespace {

using namespace qor::Texsmith;

Raw::SurfaceIndex surfaceOf(const Options& options) {
    const auto valueOf = [&options](const char* option) { return options.number(option, 0, ~0u, 0); };
    Raw::SurfaceIndex surface;
    surface.arrayEntry = valueOf("--slice");
    surface.face = valueOf("--face");
    surface.mip = valueOf("--mip");
    surface.depth = valueOf("--depth");
    return surface;
}

std::string lineOf(const Raw::Property& property) {
    char line[512] = "";
    property.print(line, sizeof line, nullptr);
    return line;
}

template <typename Element> Json elementsOf(const Raw::Property& property, unsigned count) {
    Element elements[sizeof property.m_value / sizeof(Element)];
    std::memcpy(elements, property.m_value, sizeof elements);
    return std::vector<Element>(elements, elements + count);
}

// As an array of numbers, or the rest of the line for a type that no texel has.
Json valueOf(const Raw::Property& property, const std::string& line) {
    const unsigned type = property.m_type;
    if (type >= Raw::kPropertyTypeFloat && type < Raw::kPropertyTypeCount) {
        return elementsOf<float>(property, type - Raw::kPropertyTypeFloat + 1);
    }
    if (type >= Raw::kPropertyTypeUnsigned32 && type < Raw::kPropertyTypeUnsigned64) {
        return elementsOf<std::uint32_t>(property, type - Raw::kPropertyTypeUnsigned32 + 1);
    }
    if (type >= Raw::kPropertyTypeUnsigned8 && type < Raw::kPropertyTypeUnsigned16) {
        return elementsOf<std::uint8_t>(property, 1u << (type - Raw::kPropertyTypeUnsigned8));
    }
    const std::size_t blank = std::min(line.find(' '), line.size() - 1);
    return line.substr(blank + 1, line.find('\n') - blank - 1);
}

void print(const std::string& file, const Raw::Properties& properties) {
    Json described;
    for (unsigned i = 0; i < properties.getCount(); ++i) {
        const std::string line = lineOf(properties[i]);
        described[line.substr(0, line.find(' '))] = valueOf(properties[i], line);
        std::fputs(isJson() ? "" : line.c_str(), stdout);
    }
    if (isJson()) {
        printJson(kTexelCommand, {{"file", file}, {"texel", described}});
    }
}

void run(const Options& options) {
    const std::string name = nameOfSource(options.names()[0]);
    const unsigned x = readNumber(options.names()[1], "X", 0, ~0u);
    const unsigned y = readNumber(options.names()[2], "Y", 0, ~0u);
    const Raw::SurfaceIndex surface = surfaceOf(options);
    Raw::MemoryMappedImage image;
    loadFile(&image, options.names()[0], options.value("--type"));
    Raw::Properties properties;
    image.getTexel(&surface, &properties, x, y);
    if (properties.getCount() == 0) {
        const unsigned mip = std::min(surface.mip, image.getSurfaceCount().mips - 1);
        throw Failure("there is no such texel; mip " + std::to_string(mip) + " has " +
                          std::to_string(image.getPixelsWide(mip)) + " x " +
                          std::to_string(image.getPixelsTall(mip)),
                      kExitWrongArguments, name);
    }
    print(name, properties);
}

constexpr Operand kOperands[] = {{.m_name = "FILE", .m_help = "a picture or texture"},
                                 {.m_name = "X", .m_help = "the column, from 0 on"},
                                 {.m_name = "Y", .m_help = "the row, from 0 on at the top"}};

constexpr Option kOptions[] = {
    {.m_name = "--mip", .m_value = "N", .m_help = "in that mip; 0 is the largest", .m_example = "1"},
    {.m_name = "--slice", .m_value = "N", .m_help = "in that slice of an array", .m_example = "2"},
    {.m_name = "--face", .m_value = "N", .m_help = "on that face of a cube, from 0 to 5", .m_example = "5"},
    {.m_name = "--depth", .m_value = "N", .m_help = "in that slice of a volume", .m_example = "3"},
};
const OptionGroup kGroups[] = {{"Where", kOptions}, kWarningOptions, kStandardStreamOptions};

constexpr Example kExamples[] = {{"texel rock.dds 16 9 --mip 2", "one texel of the third largest mip"}};

} // namespace

const Command kTexelCommand = {
    .m_name = "texel",
    .m_summary = "tells what stands at one texel: place, stored bytes and value",
    .m_operands = kOperands,
    .m_groups = kGroups,
    .m_examples = kExamples,
    .m_run = &run,
};

} // namespace Tool
