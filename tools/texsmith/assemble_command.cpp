// texsmith assemble: one texture of several files, and one picture of several channels.
#include "commands.h"
#include "console.h"
#include "failure.h"
#include "file_conversion.h"
#include "float_image.h"
#include "json_output.h"
#include "options.h"
#include "source_file.h"
#include "steps/image_parts.h"
#include "steps/losses.h"
#include "steps/picture_steps.h"

#include "qor/texsmith/raw/channel_packing.h"
#include "qor/texsmith/raw/filetype.h"
#include "qor/texsmith/raw/texture.h"
#include "qor/texsmith/raw/vxf.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr char kFlatPicture[] = ".png"; // a type of file that holds one surface

constexpr Option kOptions[] = {
    {.m_name = "--as",
     .m_value = "KIND",
     .m_help = "what becomes of the files: slices, faces (+X, -X, +Y, -Y, +Z, -Z), slices of a volume, mips "
               "from the largest on, or textures of one .vxf file",
     .m_example = "cube",
     .m_choices = "array|cube|volume|chain|textures"},
    {.m_name = "--pack",
     .m_value = "LIST",
     .m_help = "makes one picture of channels: r=a.png takes the red of a file, g=b.png:a another channel, "
               "and b=0 and "
               "a=1 are constants; what is not named is 0, and alpha 1",
     .m_example = "r=rough.png,g=metal.png:r,b=height.png"},
};

// Of each file one surface is taken, with its mips or without.
void tellUnused(const std::string& name, const Raw::MemoryMappedImage& image, unsigned textures,
                bool takesMips, const ConversionOptions& conversion) {
    const Raw::SurfaceCount count = image.getSurfaceCount();
    Raw::FileDescription parts;
    parts.m_textures = textures;
    parts.m_mips = takesMips ? 1 : count.mips;
    parts.m_faces = count.faces;
    parts.m_arrayEntries = count.arrayEntries;
    parts.m_depth = image.getDepth(0);
    ConversionOptions onlyStrict;
    onlyStrict.m_isStrict = conversion.m_isStrict;
    const HintsAbout about(name);
    try {
        tellLostParts(parts, name, kFlatPicture, onlyStrict);
    } catch (const Failure& failure) {
        throwFileFailure(name, failure);
    }
}

// The numbers of the pictures are made what the options ask for before they are put together.
OwnedImage loadConverted(const std::string& name, const ConversionOptions& conversion, bool takesMips) {
    Raw::MappedMemory memory;
    convertIntoVxf(&memory, name, conversion);
    auto image = std::make_unique<Raw::MemoryMappedImage>();
    Configuration configuration;
    const Raw::Error error = Raw::convertFromVxf(&memory, image.get(), &configuration);
    if (error != Raw::kErrorNone) {
        throwFileFailure(name, error);
    }
    const auto textures = static_cast<unsigned>(Raw::vxfGetNumberOfTextures(&memory, &configuration));
    tellUnused(name, *image, textures, takesMips, conversion);
    return image;
}

Assembly assemblyNamed(const std::string& kind) {
    return kind == "cube"     ? Assembly::kCube
           : kind == "volume" ? Assembly::kVolume
           : kind == "chain"  ? Assembly::kChain
                              : Assembly::kArray;
}

void assembleParts(const std::vector<std::string>& sources, const std::string& destination,
                   const std::string& kind, const ConversionOptions& conversion) {
    const Assembly as = assemblyNamed(kind);
    if (as == Assembly::kChain && conversion.m_mips) {
        throw UsageFailure("--mips does not go with --as chain, whose mips are the files");
    }
    ConversionOptions each = conversion, whole; // what is done before and after
    each.m_steps.m_tileMode.reset();
    whole.m_steps.m_tileMode = conversion.m_steps.m_tileMode;
    whole.m_ddsVersion = conversion.m_ddsVersion;
    whole.m_isStrict = conversion.m_isStrict;
    if (as == Assembly::kVolume) { // whose mips are averages of slices too
        each.m_mips = false;
        whole.m_mips = conversion.m_mips;
        whole.m_steps.m_mostMips = conversion.m_steps.m_mostMips;
        whole.m_steps.m_mipFilter = conversion.m_steps.m_mipFilter;
        whole.m_steps.m_alphaCoverage = conversion.m_steps.m_alphaCoverage;
        whole.m_steps.m_isNormalMap = conversion.m_steps.m_isNormalMap;
    }
    std::vector<NamedImage> pictures;
    for (const std::string& source : sources) {
        pictures.push_back(
            {source, loadConverted(source, each, as == Assembly::kArray || as == Assembly::kCube)});
    }
    convertImage(*assembled(pictures, as), destination, destination, whole);
}

void assembleTextures(const std::vector<std::string>& sources, const std::string& destination,
                      const ConversionOptions& conversion) {
    if (Raw::getFileTypeFromExtension(destination.c_str()) != Raw::makeFileType(".VXF")) {
        throw UsageFailure(destination + ": only .vxf files hold several textures");
    }
    std::vector<std::unique_ptr<Raw::MappedMemory>> files;
    std::vector<MemoryRegion*> regions;
    for (const std::string& source : sources) {
        files.push_back(std::make_unique<Raw::MappedMemory>());
        convertIntoVxf(files.back().get(), source, conversion);
        regions.push_back(files.back().get());
    }
    writeFile(destination, [&](Raw::ResizableMemoryRegion* file) {
        Configuration configuration;
        return Raw::vxfJoin(file, regions.data(), static_cast<int>(regions.size()), &configuration);
    });
}

// "g=b.png:a": where one channel comes from.
struct ChannelSource {
    std::string m_file; // empty for a constant
    char m_channel = '0';
};
using ChannelSources = std::array<ChannelSource, 4>;
constexpr std::string_view kChannels = "rgba";

[[noreturn]] void refusePart(const std::string& part) {
    throw UsageFailure("--pack takes a list such as r=a.png,g=b.png:a,b=0, and not '" + part + "' in it");
}

ChannelSource readChannelSource(const std::string& part) {
    const std::string from = part.substr(2);
    if (from == "0" || from == "1") {
        return {"", from[0]};
    }
    const std::size_t colon = from.size() >= 2 ? from.size() - 2 : 0;
    const bool namesChannel =
        from.size() > 2 && from[colon] == ':' && kChannels.find(from.back()) != kChannels.npos;
    if (from.empty()) {
        refusePart(part);
    }
    return namesChannel ? ChannelSource{from.substr(0, colon), from.back()} : ChannelSource{from, 'r'};
}

ChannelSources readPack(const std::string& list) {
    ChannelSources sources;
    sources[3].m_channel = '1';
    for (std::size_t begin = 0; begin <= list.size();) {
        const std::size_t end = std::min(list.find(',', begin), list.size());
        const std::string part = list.substr(begin, end - begin);
        const std::size_t channel =
            part.size() > 2 && part[1] == '=' ? kChannels.find(part[0]) : kChannels.npos;
        if (channel == kChannels.npos) {
            refusePart(part);
        }
        sources[channel] = readChannelSource(part);
        begin = end + 1;
    }
    return sources;
}

// Its red is what the channel is made of.
OwnedImage withRed(const Raw::MemoryMappedImage& image, char channel, Configuration* configuration) {
    StepOptions swizzle;
    swizzle.m_swizzle = std::string(4, channel);
    return withPictureSteps(inFormat(image, fourChannelsLike(image.getDataFormat()), configuration), swizzle,
                            {}, "", configuration);
}

void pack(const std::string& list, const std::string& destination, const ConversionOptions& conversion) {
    const ChannelSources wanted = readPack(list);
    std::array<OwnedImage, 4> images;
    const Raw::MemoryMappedImage* first = nullptr;
    std::string firstName;
    Configuration configuration;
    for (unsigned i = 0; i < 4; ++i) {
        if (wanted[i].m_file.empty()) {
            continue;
        }
        Raw::MemoryMappedImage image;
        loadFile(&image, wanted[i].m_file);
        if (first != nullptr && !Raw::dimensionsAreIdentical(first, &image)) {
            throw Failure("its size is not that of " + firstName, kExitUnsupported, wanted[i].m_file);
        }
        images[i] = withRed(image, wanted[i].m_channel, &configuration);
        firstName = first != nullptr ? firstName : wanted[i].m_file;
        first = first != nullptr ? first : images[i].get();
    }
    if (first == nullptr) {
        throw UsageFailure("--pack names no file");
    }
    Raw::ElementProvider* sources[4];
    for (unsigned i = 0; i < 4; ++i) {
        if (images[i] == nullptr) {
            images[i] = withRed(*first, wanted[i].m_channel, &configuration);
        }
        sources[i] = images[i].get();
    }
    const OwnedImage packed =
        makeImage(Raw::changeDataFormat(*first->getVexTexture(), first->getDataFormat()));
    if (Raw::channelpack(packed.get(), sources, 4, &configuration) != Raw::kErrorNone) {
        throw Failure("the channels cannot be packed: " + firstReport(), kExitUnsupported, destination);
    }
    convertImage(*packed, destination, destination, conversion);
}

void run(const Options& options) {
    const std::string& destination = options.names().back();
    const std::vector<std::string> sources(options.names().begin(), options.names().end() - 1);
    const ConversionOptions conversion = conversionOptionsOf(options);
    const std::string kind = options.value("--as");
    checkConversionOptions(conversion, destination);
    if (options.has("--pack") == options.has("--as") || options.has("--pack") != sources.empty()) {
        throw UsageFailure(
            "assemble takes --as KIND, sources and a destination, or --pack LIST and a destination");
    }
    if (options.has("--pack")) {
        pack(options.value("--pack"), destination, conversion);
    } else if (kind == "textures") {
        assembleTextures(sources, destination, conversion);
    } else {
        assembleParts(sources, destination, kind, conversion);
    }
    if (isJson()) {
        printJson(kAssembleCommand, {{"sources", sources}, {"destination", destination}});
    }
}

constexpr Operand kOperands[] = {
    {.m_name = "SOURCE", .m_help = "pictures", .m_least = 0, .m_most = Operand::kAnyNumber},
    {.m_name = "DESTINATION", .m_help = "a .vxf or .dds file; with --pack any file"},
};

const OptionGroup kGroups[] = {{"What becomes of the sources", kOptions},
                               kConversionGroups[0],
                               kConversionGroups[1],
                               kConversionGroups[2],
                               kStepOptions,
                               kMipOptions};

constexpr Example kExamples[] = {
    {"assemble --as cube px.png nx.png py.png ny.png pz.png nz.png sky.dds --format bc7-srgb --mips",
     "a cube"},
    {"assemble --as textures albedo.dds normal.dds rock.vxf", "one file with two textures"},
    {"assemble --pack r=rough.png,g=metal.png,b=ao.png orm.dds --format bc7", "three masks in one texture"},
};

} // namespace

const Command kAssembleCommand = {
    .m_name = "assemble",
    .m_summary = "makes one texture of several files, or one picture of several channels",
    .m_description =
        "Options of texels, shape and mips are applied to each file before it takes its place; of "
        "--pack, to the whole picture. The mips of a volume are made of the whole.",
    .m_operands = kOperands,
    .m_groups = kGroups,
    .m_examples = kExamples,
    .m_run = &run,
};

} // namespace Tool
