// texsmith texel: what stands at one place of a file.
#include "commands.h"
#include "failure.h"
#include "options.h"

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/helpers.h"
#include "qor/texsmith/raw/property.h"

#include <charconv>
#include <cstdio>
#include <string>

namespace Tool {
namespace {

using namespace qor::Texsmith;

unsigned toNumber(const std::string& text, const char* what) {
    unsigned value = 0;
    const char* const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stopped != end) {
        throw UsageFailure(std::string(what) + " is a number from 0 on, and not '" + text + "'");
    }
    return value;
}

Raw::SurfaceIndex surfaceOf(const Options& options) {
    const auto valueOf = [&options](const char* option) {
        return options.has(option) ? toNumber(options.value(option), option) : 0;
    };
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

} // namespace

void texelCommand(Arguments arguments) {
    const Options options(arguments, {}, {"--slice", "--face", "--mip", "--depth"});
    if (options.names().size() != 3) {
        throw UsageFailure("texel takes a file and a position; see texsmith --help");
    }
    const std::string& name = options.names()[0];
    const unsigned x = toNumber(options.names()[1], "X"), y = toNumber(options.names()[2], "Y");
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

} // namespace Tool
