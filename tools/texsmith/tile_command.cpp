// texsmith tile and untile: raw texels into the order of the console's memory, and back.
#include "commands.h"
#include "console.h"
#include "failure.h"
#include "file_conversion.h"
#include "format_lookup.h"
#include "json_output.h"
#include "options.h"
#include "resizing.h"
#include "source_file.h"
#include "steps/owned_image.h"
#include "steps/step_options.h"

#include "qor/texsmith/raw/texture.h"
#include "qor/texsmith/raw/vxf.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr char kTexture[] = "the texture"; // for what is wrong with its description
constexpr unsigned kMostSlices = 8192, kMostDepth = 8192, kMostMips = 16;

// What the raw bytes hold.
Vex::Texture textureOf(const Options& options) {
    if (!options.has("--format") || !options.has("--size")) {
        throw UsageFailure("raw bytes do not tell what they hold: --format and --size must");
    }
    const Vex::DataFormat format = findFormat(options.value("--format"));
    const Size size = readSize(options.value("--size"), "--size");
    const unsigned depth = options.number("--depth", 1, kMostDepth, 1),
                   mips = options.number("--mips", 1, kMostMips, 1);
    const unsigned slices = options.number("--slices", 1, kMostSlices, 1);
    if (depth > 1 && (slices > 1 || options.has("--cube"))) {
        throw UsageFailure("--depth is for volumes, which are neither arrays nor cubes");
    }
    if (options.has("--cube") && size.m_width != size.m_height) {
        throw UsageFailure("the faces of a cube are squares");
    }
    const Vex::TileMode mode = options.has("--tile-mode") ? tileModeNamed(options.value("--tile-mode"))
                               : depth > 1                ? Vex::kTileModeThick_1dThick
                                                          : Vex::kTileModeThin_1dThin;
    Vex::Texture texture;
    if (depth > 1) {
        texture.initAs3d(size.m_width, size.m_height, depth, mips, format, mode);
    } else {
        texture.initAs2dArray(size.m_width, size.m_height, slices, 0, mips, format, mode, Vex::kNumFragments1,
                              options.has("--cube"));
    }
    return texture;
}

// A file in memory, in which the tiled texels lie.
class TiledTexels {
public:
    explicit TiledTexels(const Raw::MemoryMappedImage& image) {
        Configuration configuration;
        callLibrary(kTexture, [&] {
            const Raw::Error error = Raw::convertToVxf(&image, &m_file, &configuration);
            m_manipulator.readFrom(&m_file);
            return error;
        });
    }
    MemoryRegion texels() const { return m_manipulator.getTexelsInFile(0); }
    void readInto(Raw::MemoryMappedImage* image) {
        Configuration configuration;
        callLibrary(kTexture, [&] { return Raw::convertFromVxf(&m_file, image, &configuration); });
    }

private:
    Raw::MappedMemory m_file;
    Raw::VxfManipulator m_manipulator;
};

void copyWhole(const MemoryRegion& to, SourceFile* source) {
    const std::uint64_t has = source->region()->length(), wants = to.length();
    if (has != wants) {
        throw Failure("it has " + std::to_string(has) + " bytes, and a texture of that description " +
                          std::to_string(wants),
                      kExitDamaged, source->name());
    }
    std::memcpy(to.begin, source->region()->begin, static_cast<std::size_t>(wants));
}

Raw::Error fill(Raw::ResizableMemoryRegion* file, const MemoryRegion& bytes) {
    file->resize(bytes.length());
    if (file->length() != bytes.length()) {
        return Raw::kErrorFailed;
    }
    std::memcpy(file->begin, bytes.begin, static_cast<std::size_t>(bytes.length()));
    return Raw::kErrorNone;
}

void finish(const Options& options, const MemoryRegion& bytes) {
    const std::string& destination = options.names()[1];
    writeFile(destination, [&bytes](Raw::ResizableMemoryRegion* file) { return fill(file, bytes); });
    if (isJson()) {
        printJson(options.command(), {{"source", nameOfSource(options.names()[0])},
                                      {"destination", destination},
                                      {"bytes", bytes.length()}});
    }
}

void tile(const Options& options) {
    SourceFile source(options.names()[0], "");
    const OwnedImage image = makeImage(textureOf(options));
    copyWhole(image->getMemoryRegion(), &source);
    finish(options, TiledTexels(*image).texels());
}

void untile(const Options& options) {
    SourceFile source(options.names()[0], "");
    const OwnedImage image = makeImage(textureOf(options));
    const MemoryRegion rows = image->getMemoryRegion();
    std::memset(rows.begin, 0, static_cast<std::size_t>(rows.length()));
    TiledTexels tiled(*image);
    copyWhole(tiled.texels(), &source);
    tiled.readInto(image.get());
    finish(options, rows);
}

constexpr Operand kOperands[] = {{.m_name = "SOURCE", .m_help = "raw bytes"},
                                 {.m_name = "DESTINATION", .m_help = "a file for raw bytes"}};

constexpr Option kOptions[] = {
    {.m_name = "--format",
     .m_value = "FORMAT",
     .m_help = "the format of the texels",
     .m_example = "Bc7Unorm"},
    {.m_name = "--size", .m_value = "WxH", .m_help = "the size of the largest mip", .m_example = "256x128"},
    {.m_name = "--depth", .m_value = "N", .m_help = "the slices of a volume", .m_example = "16"},
    {.m_name = "--mips", .m_value = "N", .m_help = "the number of mips, 1 without it", .m_example = "9"},
    {.m_name = "--slices", .m_value = "N", .m_help = "the slices of an array", .m_example = "4"},
    {.m_name = "--cube", .m_help = "six faces a slice"},
    {.m_name = "--tile-mode",
     .m_value = "NAME",
     .m_help = "the order, Thin_1dThin without it, of volumes Thick_1dThick",
     .m_example = "Thin_2dThin"},
};
constexpr OptionGroup kGroups[] = {{"What the bytes hold", kOptions}};

constexpr Example kTileExamples[] = {
    {"tile rows.bin tiled.bin --format Bc1Unorm --size 64x64", "blocks into the default order"}};
constexpr Example kUntileExamples[] = {
    {"untile tiled.bin rows.bin --format rgba8 --size 64x64 --tile-mode Thin_2dThin",
     "texels back into rows"}};

constexpr char kDescription[] =
    "Raw bytes in rows hold the slices of an array one after another, in each the faces, "
    "in each the mips from the largest one on, and in each of these the slices of a "
    "volume.";

} // namespace

const Command kTileCommand = {
    .m_name = "tile",
    .m_summary = "puts raw texels into the tiled order of the console's memory",
    .m_description = kDescription,
    .m_operands = kOperands,
    .m_groups = kGroups,
    .m_examples = kTileExamples,
    .m_run = &tile,
};

const Command kUntileCommand = {
    .m_name = "untile",
    .m_summary = "puts tiled texels back into rows",
    .m_description = kDescription,
    .m_operands = kOperands,
    .m_groups = kGroups,
    .m_examples = kUntileExamples,
    .m_run = &untile,
};

} // namespace Tool
