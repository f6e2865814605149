#include "picture.h"

#include "failure.h"
#include "paths.h"
#include "replacement_file.h"

#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/helpers.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string_view>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr Colour kHeat[] = {{0, 0, 0}, {70, 10, 120}, {190, 40, 70}, {250, 140, 20}, {255, 255, 200}};
constexpr unsigned kHeatSteps = std::size(kHeat) - 1;

// What %g writes, three by five dots each, the top row first.
struct Glyph {
    char m_character;
    const char* m_dots;
};
constexpr Glyph kGlyphs[] = {
    {'0', "####.##.##.####"}, {'1', ".#.##..#..#.###"}, {'2', "###..#####..###"}, {'3', "###..#.##..####"},
    {'4', "#.##.####..#..#"}, {'5', "####..###..####"}, {'6', "####..####.####"}, {'7', "###..#.#..#..#."},
    {'8', "####.#####.####"}, {'9', "####.####..####"}, {'.', ".............#."}, {'-', "......###......"},
    {'+', "....#.###.#...."}, {'e', "...####.###.###"}, {'i', ".#.....#..#..#."}, {'n', "......##.#.##.#"},
    {'f', ".##.#.###.#..#."}, {'a', "...##..####.###"},
};
constexpr unsigned kDot = 2, kGlyphWide = 3, kGlyphTall = 5;

std::string textOf(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.4g", value);
    return text;
}

} // namespace

Colour heatColour(double value) {
    const double position = (value > 0 ? std::min(value, 1.0) : 0.0) * kHeatSteps;
    const unsigned step = std::min(static_cast<unsigned>(position), kHeatSteps - 1);
    const auto mix = [&](std::uint8_t from, std::uint8_t to) {
        return static_cast<std::uint8_t>(std::lround(from + (position - step) * (to - from)));
    };
    const Colour &a = kHeat[step], &b = kHeat[step + 1];
    return {mix(a.red, b.red), mix(a.green, b.green), mix(a.blue, b.blue)};
}

Picture::Picture(unsigned wide, unsigned tall, Colour background)
    : m_wide(wide), m_tall(tall), m_pixels(std::size_t{wide} * tall * 4) {
    fill(0, 0, wide, tall, background);
}

void Picture::fill(unsigned x, unsigned y, unsigned wide, unsigned tall, Colour colour) {
    const std::uint8_t pixel[] = {colour.blue, colour.green, colour.red, 255};
    for (unsigned row = y; row < std::min(y + tall, m_tall); ++row) {
        for (unsigned column = x; column < std::min(x + wide, m_wide); ++column) {
            std::memcpy(&m_pixels[(std::size_t{row} * m_wide + column) * 4], pixel, sizeof pixel);
        }
    }
}

void Picture::number(unsigned x, unsigned y, double value, Colour colour) {
    for (const char character : textOf(value)) {
        const auto* glyph = std::find_if(std::begin(kGlyphs), std::end(kGlyphs),
                                         [character](const Glyph& g) { return g.m_character == character; });
        for (unsigned dot = 0; glyph != std::end(kGlyphs) && dot < kGlyphWide * kGlyphTall; ++dot) {
            if (glyph->m_dots[dot] == '#') {
                fill(x + dot % kGlyphWide * kDot, y + dot / kGlyphWide * kDot, kDot, kDot, colour);
            }
        }
        x += kDigitWide;
    }
}

unsigned Picture::numberWide(double value) {
    return static_cast<unsigned>(textOf(value).size()) * kDigitWide;
}

void Picture::checkName(const std::string& name, std::span<const std::string> inputs) {
    constexpr Raw::FileType kTypes[] = {Raw::makeFileType(".BMP"), Raw::makeFileType(".JPG"),
                                        Raw::makeFileType(".PNG"), Raw::makeFileType(".TGA")};
    const Raw::FileType type = Raw::getFileTypeFromExtension(name.c_str());
    if (std::find(std::begin(kTypes), std::end(kTypes), type) == std::end(kTypes)) {
        throw UsageFailure(name + ": pictures are written as .bmp, .jpg, .png or .tga");
    }
    for (const std::string& input : inputs) {
        if (isSameFile(name, input)) {
            throw UsageFailure(name + ": this file is read, and no picture is written over it");
        }
    }
}

void Picture::save(const std::string& name) const {
    checkName(name);
    Configuration configuration;
    Vex::DataFormat format = {};
    Raw::makeDataFormat(&format, "B8G8R8A8Unorm", &configuration);
    Vex::Texture texture;
    texture.initAs2dArray(m_wide, m_tall, 1, 0, 1, format, Vex::kTileModeDisplay_LinearAligned,
                          Vex::kNumFragments1, false);
    Raw::MemoryMappedImage image;
    image.reallocate(&texture);
    std::memcpy(image.getMemoryRegion().begin, m_pixels.data(), m_pixels.size());
    savePicture(image, name);
}

void savePicture(const Raw::Image& image, const std::string& name) {
    Configuration configuration;
    ReplacementFile file(followLinks(name));
    callLibrary(
        name, [&] { return Raw::saveWithResult(&image, file.name().c_str(), &configuration); },
        Work::kWriting);
    file.takePlace();
}

} // namespace Tool
