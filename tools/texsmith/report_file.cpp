#include "report_file.h"

#include "failure.h"
#include "float_image.h"
#include "measures.h"
#include "paths.h"
#include "shown_values.h"

#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/helpers.h"
#include "qor/texsmith/raw/mip_maps.h"
#include "qor/texsmith/raw/reformat.h"
#include "qor/texsmith/raw/view.h"
#include "qor/vex/data_formats.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace Tool {

using namespace qor;
using namespace qor::Texsmith;

namespace {

std::string sizeText(const Vex::Texture& texture) {
    const unsigned depth = Raw::getDepthOfMip(texture, 0);
    const std::string text = std::to_string(texture.getWidth()) + " x " + std::to_string(texture.getHeight());
    return depth > 1 ? text + " x " + std::to_string(depth) : text;
}

std::string exactBytesText(std::uint64_t bytes) {
    return bytes < 1000 ? bytesText(bytes) : bytesText(bytes) + " (" + std::to_string(bytes) + " bytes)";
}

void addFact(Json* facts, const char* name, const std::string& value) {
    facts->push_back(Json::array({name, value}));
}

void addFacts(Json* facts, const TextureInfo& info) {
    const Raw::SurfaceCount count(info.m_texture);
    const auto add = [facts](const char* name, const std::string& value) { addFact(facts, name, value); };
    add("Size", sizeText(info.m_texture));
    add("Format", formatName(info.m_texture.getDataFormat()));
    add("Mips", std::to_string(count.mips));
    add("Faces", std::to_string(count.faces));
    add("Slices", std::to_string(count.arrayEntries));
    if (count.fragments > 1) {
        add("Samples", std::to_string(count.fragments));
    }
    add("Tile mode", info.m_tileMode);
    add("Texels", exactBytesText(info.m_bytes));
}

Json factsOf(const FileInfo& info) {
    Json facts = Json::array();
    addFact(&facts, "File", info.m_name);
    addFact(&facts, "Type", info.m_type);
    addFact(&facts, "Bytes", exactBytesText(info.m_bytes));
    for (std::size_t i = 0; i < info.m_textures.size(); ++i) {
        if (info.m_textures.size() > 1) {
            addFact(&facts, "Texture",
                    std::to_string(i) + " of " + std::to_string(info.m_textures.size()) +
                        (i == 0 ? ", shown here" : ""));
        }
        addFacts(&facts, info.m_textures[i]);
    }
    for (const ChunkInfo& chunk : info.m_chunks) {
        addFact(&facts, "Chunk", chunk.m_type + ", " + std::to_string(chunk.m_bytes) + " bytes");
    }
    return facts;
}

std::string summaryOf(const LoadedFile& file) {
    const Vex::Texture& texture = *file.m_image.getVexTexture();
    const Raw::SurfaceCount count = file.m_image.getSurfaceCount();
    std::string text = sizeText(texture) + ", " + formatName(texture.getDataFormat());
    const auto add = [&text](unsigned number, const char* what) {
        text += number > 1 ? ", " + std::to_string(number) + " " + what : "";
    };
    add(count.mips, "mips");
    add(count.faces, "faces");
    add(count.arrayEntries, "slices");
    return text + ", " + bytesText(file.m_info.m_bytes);
}

// Values that go through the sRGB curve before they are seen.
bool isSeenAsLight(Vex::DataFormat format) {
    return isLight(format) || format.getTextureChannelType() == Vex::kTextureChannelTypeSrgb;
}

Json layoutOf(Vex::DataFormat format) {
    const Raw::SurfaceFormatInfo& info = Raw::getSurfaceFormatInfo(format.getSurfaceFormat());
    return {{"surface", format.getSurfaceFormat()},
            {"type", format.getTextureChannelType()},
            {"block", info.blockWidth},
            {"bytes", info.bytesPerElement},
            {"bits", info.bitsPerChannel},
            {"shifts", info.channelShift},
            {"isLight", isSeenAsLight(format)},
            {"selects",
             {format.getChannel(0), format.getChannel(1), format.getChannel(2), format.getChannel(3)}}};
}

Json transformOf(const Raw::Transform& transform) {
    if (transform.isNop()) {
        return nullptr;
    }
    Json rows = Json::array();
    for (const Raw::VectorFloat& row : transform.m_multiply.m_rows) {
        rows.push_back(row.m_lanes);
    }
    return {{"power", transform.m_power.m_lanes}, {"rows", rows}, {"add", transform.m_add.m_lanes}};
}

Json channelsOf(const Measures& measures) {
    Json channels = Json::array();
    const Raw::VectorFloat mean = measures.m_mean.Mean();
    for (unsigned channel = 0; channel < 4; ++channel) {
        channels.push_back({{"name", kChannelNames[channel]},
                            {"least", numberText(measures.m_range.min[channel], "%.6g")},
                            {"greatest", numberText(measures.m_range.max[channel], "%.6g")},
                            {"mean", numberText(mean[channel], "%.6g")},
                            {"constant", constantText(measures, channel)},
                            {"low", numberText(measures.m_bins.min[channel], "%.4g")},
                            {"high", numberText(measures.m_bins.max[channel], "%.4g")},
                            {"bins", measures.m_histogram.m_bins[channel]}});
    }
    return channels;
}

// What is shown as black and as white at first.
Json rangeOf(Vex::DataFormat format, const Raw::MinMax& measured) {
    if (isLight(format) || !isInteger(format)) {
        return Json::array({isSigned(format) && !isLight(format) ? -1 : 0, 1});
    }
    const float low = std::min({measured.min[0], measured.min[1], measured.min[2]});
    const float high = std::max({measured.max[0], measured.max[1], measured.max[2]});
    return std::isfinite(high - low) && low < high ? Json::array({low, high}) : Json::array({0, 1});
}

Raw::SurfaceIndex surfaceForThumbnail(const Raw::MemoryMappedImage& image, unsigned size) {
    Raw::SurfaceIndex index;
    const unsigned mips = image.getSurfaceCount().mips;
    while (index.mip + 1 < mips &&
           std::max(image.getPixelsWide(index.mip + 1), image.getPixelsTall(index.mip + 1)) >= size) {
        ++index.mip;
    }
    return index;
}

} // namespace

std::string numberText(double value, const char* format) {
    char text[48];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

std::string bytesText(std::uint64_t bytes) {
    constexpr const char* kUnits[] = {"bytes", "kB", "MB", "GB"};
    double value = static_cast<double>(bytes);
    unsigned unit = 0;
    for (; value >= 1000 && unit + 1 < std::size(kUnits); ++unit) {
        value /= 1000;
    }
    return numberText(value, unit == 0 || value >= 100 ? "%.0f " : "%.3g ") + kUnits[unit];
}

void loadForReport(LoadedFile* file, const std::string& name) {
    file->m_name = toName(toPath(name).filename());
    file->m_transfer = loadFile(&file->m_image, name);
    try {
        file->m_info = readFileInfo(name, {});
    } catch (const Failure& failure) {
        throwFileFailure(name, failure);
    }
    if (file->m_image.getBytesPerElement() == 0) {
        throw Failure("texels of format " + formatName(file->m_image.getDataFormat()) + " cannot be shown",
                      kExitUnsupported, name);
    }
}

Json describeForReport(const LoadedFile& file) {
    const Raw::MemoryMappedImage& image = file.m_image;
    const Vex::Texture& texture = *image.getVexTexture();
    const Raw::SurfaceCount count = image.getSurfaceCount();
    Measures measures;
    measureTexture(&measures, image, file.m_info.m_name);
    return {{"name", file.m_name},
            {"summary", summaryOf(file)},
            {"facts", factsOf(file.m_info)},
            {"formatName", formatName(texture.getDataFormat())},
            {"bytes", file.m_info.m_bytes},
            {"texels", image.getPixels()},
            {"width", texture.getWidth()},
            {"height", texture.getHeight()},
            {"depth", Raw::getDepthOfMip(texture, 0)},
            {"mips", count.mips},
            {"faces", count.faces},
            {"slices", count.arrayEntries},
            {"fragments", count.fragments},
            {"format", layoutOf(texture.getDataFormat())},
            {"transform", transformOf(image.getModifiers().m_decode)},
            {"range", rangeOf(texture.getDataFormat(), measures.m_range)},
            {"channels", channelsOf(measures)}};
}

std::string thumbnailOf(const Raw::MemoryMappedImage& image, const Json& range, unsigned size) {
    const Raw::SurfaceIndex index = surfaceForThumbnail(image, size);
    const Raw::AsSurfaceElementProvider surface(&image, &index);
    const float low = range[0], high = range[1];
    const Raw::MinMax shown = {{{low, low, low, low}}, {{high, high, high, high}}};
    Configuration configuration, plain;
    configuration.m_decoderConfiguration.m_transform.Init(Raw::maddFromRange(shown));
    Raw::MemoryMappedImage floats, flat, chain, small;
    const Vex::DataFormat format = isSeenAsLight(image.getDataFormat()) ? Vex::kDataFormatB8G8R8X8UnormSrgb
                                                                        : Vex::kDataFormatB8G8R8X8Unorm;
    // Through floats, since integers are mapped to a range as numbers only.
    Raw::reallocate(&floats, &surface, Vex::kDataFormatR32G32B32A32Float);
    Raw::reallocate(&flat, &surface, format);
    if (Raw::reformat(&surface, &floats, &plain) != Raw::kErrorNone ||
        Raw::reformat(&floats, &flat, &configuration) != Raw::kErrorNone ||
        Raw::makeMipMaps(&flat, &chain, format, &plain) != 0) {
        return {};
    }
    const Raw::SurfaceIndex chosen = surfaceForThumbnail(chain, size);
    const Raw::AsSurfaceElementProvider level(&chain, &chosen);
    Raw::reallocate(&small, &level);
    Raw::MappedMemory file;
    if (Raw::copy(&small, &level, &plain) != Raw::kErrorNone ||
        Raw::saveWithResult(&small, &file, ".bmp", &plain) != Raw::kErrorNone) {
        return {};
    }
    return "data:image/bmp;base64," +
           toBase64(static_cast<const std::uint8_t*>(file.begin), static_cast<std::size_t>(file.length()));
}

} // namespace Tool
