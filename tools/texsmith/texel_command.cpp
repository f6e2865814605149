// texsmith texel: what stands at one place of a file.
#include "commands.h"
#include "failure.h"
#include "options.h"

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/helpers.h"
#include "qor/texsmith/raw/property.h"

#include <cstdio>
#include <string>

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

void loadWhole(Raw::ReallocatableImage* image, const std::string& name) {
    try {
        Configuration configuration;
        Raw::MemoryMappedFile file(name.c_str(), Raw::kPermissionsReadOnly, configuration.m_allocator);
        const Raw::Error error = Raw::loadWithResult(image, &file, name.c_str(), &configuration, 0);
        if (error != Raw::kErrorNone || !firstReport().empty()) {
            throwFileFailure(name, error);
        }
    } catch (const Failure& failure) {
        throwFileFailure(name, failure);
    }
}

void run(const Options& options) {
    const std::string& name = options.names()[0];
    const unsigned x = readNumber(options.names()[1], "X", 0, ~0u);
    const unsigned y = readNumber(options.names()[2], "Y", 0, ~0u);
    const Raw::SurfaceIndex surface = surfaceOf(options);
    Raw::MemoryMappedImage image;
    loadWhole(&image, name);
    Raw::Properties properties;
    image.getTexel(&surface, &properties, x, y);
    if (properties.getCount() == 0) {
        throw Failure(name + ": there is no such texel");
    }
    for (unsigned i = 0; i < properties.getCount(); ++i) {
        char line[512] = "";
        properties[i].print(line, sizeof line, nullptr);
        std::fputs(line, stdout);
    }
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
constexpr OptionGroup kGroups[] = {{"Where", kOptions}};

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
