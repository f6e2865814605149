// texsmith view: draws a texture as a picture.
#include "commands.h"
#include "console.h"
#include "failure.h"
#include "float_image.h"
#include "json_output.h"
#include "options.h"
#include "picture.h"
#include "resizing.h"
#include "shown_surfaces.h"
#include "shown_values.h"
#include "source_file.h"

#include "qor/texsmith/raw/reformat.h"
#include "qor/texsmith/raw/view.h"
#include "qor/vex/data_formats.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr Raw::SurfaceIndex kOnlySurface;
constexpr unsigned kBandTall = 128; // pixels, whole tiles
constexpr std::uint8_t kGap[] = {56, 48, 48, 255};
constexpr unsigned kMostRepeats = 64;

// Some rows of tiles of a view.
class Band : public Raw::ElementProvider {
public:
    Band(const Raw::ElementProvider& view, unsigned top, unsigned tall) : m_view(view), m_firstTile(top / 8) {
        setupAsTwoDimensional(view.getDataFormat(), view.getPixelsWide(0), tall);
        setModifiers(view.getModifiers());
    }

private:
    void doGetTile(const Raw::SurfaceIndex*, Raw::Tile* tile, unsigned x, unsigned y) const override {
        m_view.getTile(&kOnlySurface, tile, x, y + m_firstTile);
    }
    void doPutTile(const Raw::SurfaceIndex*, const Raw::Tile*, unsigned, unsigned) const override {}
    const std::type_info* doGetRowsClass() const override { return &typeid(Band); }
    bool doGetStrip(const Raw::SurfaceIndex*, const Raw::ElementRows& strip, unsigned x,
                    unsigned y) const override {
        return m_view.getStrip(&kOnlySurface, strip, x, y + m_firstTile);
    }

    const Raw::ElementProvider& m_view;
    unsigned m_firstTile;
};

template <typename Element>
Raw::RasterElementProvider rasterOn(std::vector<Element>& elements, Vex::DataFormat format, unsigned wide,
                                    unsigned tall) {
    Raw::Raster raster;
    raster.begin = reinterpret_cast<std::uint8_t*>(elements.data());
    raster.end = raster.begin + elements.size() * sizeof(Element);
    raster.dataFormat = format;
    raster.width = wide;
    raster.height = tall;
    raster.pitch = wide * format.getBytesPerElement();
    return Raw::RasterElementProvider(&raster);
}

// Bytes of blue, green, red and 255, rows without gaps.
struct Drawing {
    unsigned m_wide, m_tall;
    std::vector<std::uint8_t> m_bytes;
};

class Drawer {
public:
    Drawer(const Raw::MemoryMappedImage& image, const ShownSurfaces& surfaces, const ShownValues& values,
           const std::string& name)
        : m_values(values), m_name(name), m_view(surfaces.of(image)) {
        if (surfaces.hasGaps()) {
            const Vex::Texture cover = Raw::changeDataFormat(image.getTexture(), Vex::kDataFormatR8Unorm);
            m_cover.reallocate(&cover);
            if (m_cover.getMemoryRegion().length() < m_cover.getBytesTotal()) {
                throw Failure("there is not enough memory for the picture");
            }
            std::memset(m_cover.getMemoryRegion().begin, 0xFF, m_cover.getBytesTotal());
            m_coverView = surfaces.of(m_cover);
        }
        m_configuration.m_decoderConfiguration.m_srgbAsLinear = true; // as stored
    }

    Drawing draw() {
        const unsigned wide = m_view->getPixelsWide(0), tall = m_view->getPixelsTall(0);
        Drawing drawing = {wide, tall, std::vector<std::uint8_t>(std::size_t{wide} * tall * 4)};
        for (unsigned top = 0; top < tall; top += kBandTall) {
            const unsigned rows = std::min(kBandTall, tall - top);
            drawBand(&drawing, top, rows);
            if (m_coverView != nullptr) {
                fillGaps(&drawing, top, rows);
            }
        }
        return drawing;
    }

private:
    void check(Raw::Error error) const {
        if (haveFailed(error)) {
            throwFileFailure(m_name, error);
        }
    }
    void drawBand(Drawing* drawing, unsigned top, unsigned rows) {
        const unsigned wide = drawing->m_wide;
        m_floats.resize(std::size_t{wide} * rows * 4);
        m_bytes.resize(m_floats.size());
        Raw::RasterElementProvider floats = rasterOn(m_floats, Vex::kDataFormatR32G32B32A32Float, wide, rows);
        const Band band(*m_view, top, rows);
        check(Raw::reformat(&band, &floats, &m_configuration));
        for (unsigned y = 0; y < rows; ++y) {
            m_values.show(m_floats.data() + std::size_t{wide} * 4 * y, wide, top + y);
        }
        const Vex::DataFormat format =
            m_values.areLight() ? Vex::kDataFormatB8G8R8A8UnormSrgb : Vex::kDataFormatB8G8R8A8Unorm;
        Raw::RasterElementProvider bytes = rasterOn(m_bytes, format, wide, rows);
        check(Raw::reformat(&floats, &bytes, &m_configuration));
        std::memcpy(drawing->m_bytes.data() + std::size_t{wide} * top * 4, m_bytes.data(), m_bytes.size());
    }
    // What is no surface's is told from black.
    void fillGaps(Drawing* drawing, unsigned top, unsigned rows) {
        const unsigned wide = drawing->m_wide;
        m_covered.resize(std::size_t{wide} * rows);
        const Raw::RasterElementProvider covered = rasterOn(m_covered, Vex::kDataFormatR8Unorm, wide, rows);
        const Band band(*m_coverView, top, rows);
        check(Raw::copy(&covered, &band, &m_configuration));
        for (std::size_t i = 0; i < m_covered.size(); ++i) {
            if (m_covered[i] == 0) {
                std::memcpy(drawing->m_bytes.data() + (std::size_t{wide} * top + i) * 4, kGap, sizeof kGap);
            }
        }
    }

    const ShownValues& m_values;
    const std::string& m_name;
    std::unique_ptr<Raw::ElementProvider> m_view, m_coverView;
    Raw::MemoryMappedImage m_cover; // of the same shape, with all texels set
    Configuration m_configuration;
    std::vector<float> m_floats;
    std::vector<std::uint8_t> m_bytes, m_covered;
};

void widenTexels(std::uint8_t* to, const std::uint8_t* from, unsigned count, unsigned scale) {
    for (unsigned x = 0; x < count; ++x, from += 4) {
        for (unsigned i = 0; i < scale; ++i, to += 4) {
            std::memcpy(to, from, 4);
        }
    }
}

// Each texel `scale` pixels wide and tall, the whole `repeats` times across and down.
std::unique_ptr<Raw::MemoryMappedImage> imageOf(const Drawing& drawing, unsigned scale, unsigned repeats) {
    const std::uint64_t wide = std::uint64_t{drawing.m_wide} * scale * repeats;
    const std::uint64_t tall = std::uint64_t{drawing.m_tall} * scale * repeats;
    if (wide > Vex::kMaxTextureSize || tall > Vex::kMaxTextureSize) {
        throw UsageFailure("the picture would have " + std::to_string(wide) + " x " + std::to_string(tall) +
                           " pixels, and 16384 either way are the most");
    }
    Vex::Texture texture;
    texture.initAs2dArray(static_cast<unsigned>(wide), static_cast<unsigned>(tall), 1, 0, 1,
                          Vex::kDataFormatB8G8R8A8Unorm, Vex::kTileModeDisplay_LinearAligned,
                          Vex::kNumFragments1, false);
    auto image = std::make_unique<Raw::MemoryMappedImage>();
    image->reallocate(&texture);
    std::uint8_t* const pixels = image->getMemoryRegion().begin;
    if (image->getMemoryRegion().length() < image->getBytesTotal()) {
        throw Failure("there is not enough memory for the picture");
    }
    const std::size_t rowBytes = static_cast<std::size_t>(wide) * 4, onceBytes = rowBytes / repeats;
    for (std::size_t y = 0; y < tall; ++y) {
        std::uint8_t* const row = pixels + y * rowBytes;
        if (y % scale != 0) {
            std::memcpy(row, row - rowBytes, rowBytes);
            continue;
        }
        const std::uint8_t* const from =
            drawing.m_bytes.data() + y / scale % drawing.m_tall * drawing.m_wide * std::size_t{4};
        widenTexels(row, from, drawing.m_wide, scale);
        for (unsigned i = 1; i < repeats; ++i) {
            std::memcpy(row + i * onceBytes, row, onceBytes);
        }
    }
    return image;
}

// Into a square of `side` pixels, and no larger than it is.
std::unique_ptr<Raw::MemoryMappedImage> thumbnailOf(std::unique_ptr<Raw::MemoryMappedImage> image,
                                                    unsigned side) {
    const unsigned wide = image->getPixelsWide(0), tall = image->getPixelsTall(0);
    const std::uint64_t longest = std::max(wide, tall);
    if (longest <= side) {
        return image;
    }
    const auto reduced = [&](unsigned size) {
        return std::max(1u, static_cast<unsigned>((std::uint64_t{size} * side + longest / 2) / longest));
    };
    Configuration configuration;
    image->setTextureChannelType(Vex::kTextureChannelTypeSrgb); // resized in light
    auto small = resized(*image, {reduced(wide), reduced(tall)}, "lanczos", &configuration);
    small->setTextureChannelType(Vex::kTextureChannelTypeUNorm);
    return small;
}

void refuseTogether(const Options& options, std::string_view first,
                    std::initializer_list<std::string_view> others) {
    for (const std::string_view other : others) {
        if (options.has(first) && options.has(other)) {
            throw UsageFailure(std::string(first) + " and " + std::string(other) + " exclude each other");
        }
    }
}

SurfaceChoice surfaceChoiceOf(const Options& options) {
    refuseTogether(options, "--cross", {"--slices", "--face", "--wrap"});
    refuseTogether(options, "--slices", {"--face", "--slice", "--wrap"});
    SurfaceChoice choice;
    if (options.has("--mip")) {
        choice.m_mip = options.number("--mip", 0, ~0u, 0);
    }
    choice.m_face = options.number("--face", 0, ~0u, 0);
    choice.m_slice = options.number("--slice", 0, ~0u, 0);
    choice.m_columns = options.number("--slices", 1, Vex::kMaxTextureSize, 0);
    const bool isOne =
        options.has("--mip") || options.has("--face") || options.has("--slice") || options.has("--wrap");
    choice.m_kind = options.has("--cross")    ? SurfaceChoice::Kind::kCross
                    : options.has("--slices") ? SurfaceChoice::Kind::kGrid
                    : isOne                   ? SurfaceChoice::Kind::kSurface
                                              : SurfaceChoice::Kind::kCanvas;
    return choice;
}

ValueOptions valueOptionsOf(const Options& options) {
    refuseTogether(options, "--range", {"--exposure", "--tone", "--normal"});
    refuseTogether(options, "--normal", {"--exposure", "--tone", "--channels"});
    ValueOptions values;
    values.m_channels = options.value("--channels");
    values.m_exposure = options.has("--exposure") ? options.real("--exposure") : 0;
    values.m_cutsOff = options.value("--tone") == "cut";
    values.m_isNormal = options.has("--normal");
    if (options.has("--range")) {
        const auto [low, high] = options.realPair("--range");
        if (!(low < high)) {
            throw UsageFailure("--range takes the lower value first");
        }
        values.m_low = low;
        values.m_high = high;
    }
    return values;
}

void run(const Options& options) {
    const std::string name = nameOfSource(options.names()[0]), &to = options.names()[1];
    Picture::checkName(to);
    refuseTogether(options, "--thumbnail", {"--scale"});
    const SurfaceChoice choice = surfaceChoiceOf(options);
    ValueOptions valueOptions = valueOptionsOf(options);
    const unsigned scale = options.number("--scale", 1, kMostRepeats, 1);
    const unsigned repeats = options.number("--wrap", 1, kMostRepeats, 1);
    const unsigned side = options.number("--thumbnail", 1, Vex::kMaxTextureSize, 0);
    Raw::MemoryMappedImage image;
    loadFile(&image, options.names()[0], options.value("--type"));
    const ShownSurfaces surfaces(image, choice);
    valueOptions.m_checkWide = std::max(1u, valueOptions.m_checkWide / scale);
    const ShownValues values(image, valueOptions, name);
    auto picture = imageOf(Drawer(image, surfaces, values, name).draw(), scale, repeats);
    picture = side != 0 ? thumbnailOf(std::move(picture), side) : std::move(picture);
    savePicture(*picture, to);
    if (isJson()) {
        printJson(kViewCommand, {{"file", name},
                                 {"picture", to},
                                 {"width", picture->getPixelsWide(0)},
                                 {"height", picture->getPixelsTall(0)}});
    }
}

constexpr Operand kOperands[] = {
    {.m_name = "FILE", .m_help = "a picture or texture"},
    {.m_name = "PICTURE", .m_help = "the picture that is drawn: a .bmp, .jpg, .png or .tga file"}};

constexpr Option kSurfaceOptions[] = {
    {.m_name = "--mip", .m_value = "N", .m_help = "that mip; 0 is the largest", .m_example = "1"},
    {.m_name = "--face", .m_value = "N", .m_help = "that face of a cube, from 0 to 5", .m_example = "4"},
    {.m_name = "--slice", .m_value = "N", .m_help = "that slice of an array or volume", .m_example = "2"},
    {.m_name = "--cross", .m_help = "the faces of a cube as a cross"},
    {.m_name = "--slices",
     .m_value = "N",
     .m_help = "all slices of a mip, or the faces of cubes, in N columns",
     .m_example = "8"},
};
constexpr Option kValueOptions[] = {
    {.m_name = "--channels",
     .m_value = "CHANNELS",
     .m_help = "one channel as grey, all colours, or these over a checkerboard where they are transparent",
     .m_example = "a",
     .m_choices = "rgb|r|g|b|a|rgba"},
    {.m_name = "--exposure",
     .m_value = "STOPS",
     .m_help = "makes light of formats of floats brighter, or darker below 0",
     .m_example = "-1.5"},
    {.m_name = "--tone",
     .m_value = "CURVE",
     .m_help = "bends light above 0.75 so that all of it stays below white, or cuts it off at 1; soft unless "
               "told otherwise",
     .m_example = "cut",
     .m_choices = "soft|cut"},
    {.m_name = "--range",
     .m_value = "LOW HIGH",
     .m_help = "the values that are shown as black and white",
     .m_example = "-1 1"},
    {.m_name = "--normal",
     .m_help = "as normals of -1 to 1, whose Z is made up where the format has two channels"},
};
constexpr Option kSizeOptions[] = {
    {.m_name = "--scale", .m_value = "N", .m_help = "each texel N pixels wide and tall", .m_example = "8"},
    {.m_name = "--wrap",
     .m_value = "N",
     .m_help = "the surface N times across and down, so that seams show",
     .m_example = "2"},
    {.m_name = "--thumbnail",
     .m_value = "SIZE",
     .m_help = "reduced to fit into a square of SIZE pixels",
     .m_example = "256"},
};
const OptionGroup kGroups[] = {{"Surfaces", kSurfaceOptions},
                               {"Values", kValueOptions},
                               {"Size", kSizeOptions},
                               kWarningOptions,
                               kStandardStreamOptions};

constexpr Example kExamples[] = {
    {"view rock.dds rock.png", "all mips, faces and slices side by side"},
    {"view sky.dds sky.png --cross --exposure -2", "a cube of light, two stops darker"},
    {"view bumps.dds bumps.png --mip 0 --normal --wrap 2", "a map of normals, with its seams"},
};

} // namespace

const Command kViewCommand = {
    .m_name = "view",
    .m_summary = "draws a texture as a picture",
    .m_description =
        "Without options for surfaces all of them are drawn side by side; --mip, --face, --slice and --wrap "
        "draw one. Where there is no texel, the picture is dark grey.\n\nFormats of floats are drawn as "
        "light, signed values from -1 as black to 1 as white, and all others as they are stored. Formats of "
        "one channel are grey.",
    .m_operands = kOperands,
    .m_groups = kGroups,
    .m_examples = kExamples,
    .m_run = &run,
};

} // namespace Tool
