// Names of data formats, parsed and printed by rule.
#include "qor/texsmith/format_strings.h"

#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/names.h"
#include "qor/texsmith/raw/reflected_types.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace qor::Texsmith {

const char* const blessedFormats[kBlessedFormats + 1] = {
    "Bc1UNorm",
    "Bc1UNormSrgb",
    "Bc2UNorm",
    "Bc2UNormSrgb",
    "Bc3UNorm",
    "Bc3UNormSrgb",
    "Bc4UNorm",
    "Bc4Snorm",
    "Bc5UNorm",
    "Bc5Snorm",
    "Bc6UNorm",
    "Bc6Snorm",
    "Bc7UNorm",
    "Bc7UNormSrgb",
    "R32G32B32A32Float",
    "R32G32B32A32Uint",
    "R32G32B32A32Sint",
    "R32G32Float",
    "R32G32Uint",
    "R32G32Sint",
    "R32Float",
    "R32Uint",
    "R32Sint",
    "R16G16B16A16Float",
    "R16G16B16A16Uint",
    "R16G16B16A16Sint",
    "R16G16B16A16UNorm",
    "R16G16B16A16UBNorm",
    "R16G16B16A16UBNormNoZero",
    "R16G16B16A16UScaled",
    "R16G16B16A16SScaled",
    "R16G16B16A16UBInt",
    "R16G16B16A16UBScaled",
    "R16G16B16A16Snorm",
    "R16G16Float",
    "R16G16Uint",
    "R16G16Sint",
    "R16G16UNorm",
    "L16A16UNorm",
    "R16G16UBNorm",
    "R16G16UBNormNoZero",
    "R16G16UScaled",
    "R16G16SScaled",
    "R16G16UBInt",
    "R16G16UBScaled",
    "R16G16Snorm",
    "R16Float",
    "R16Uint",
    "R16Sint",
    "R16UNorm",
    "R16UBNorm",
    "R16UBNormNoZero",
    "R16UScaled",
    "R16SScaled",
    "R16UBInt",
    "R16UBScaled",
    "R16Snorm",
    "L16UNorm",
    "A16UNorm",
    "R8G8B8A8Uint",
    "R8G8B8A8Sint",
    "R8G8B8A8UNorm",
    "R8G8B8A8UNormSrgb",
    "R8G8B8A8UBNorm",
    "R8G8B8A8UBNormNoZero",
    "R8G8B8A8UScaled",
    "R8G8B8A8SScaled",
    "R8G8B8A8UBInt",
    "R8G8B8A8UBScaled",
    "R8G8B8A8Snorm",
    "R8G8Uint",
    "R8G8Sint",
    "R8G8UNorm",
    "R8G8UNormSrgb",
    "R8G8UBNorm",
    "R8G8UBNormNoZero",
    "R8G8UScaled",
    "R8G8SScaled",
    "R8G8UBInt",
    "R8G8UBScaled",
    "R8G8Snorm",
    "L8A8UNorm",
    "L8A8UNormSrgb",
    "R8Uint",
    "R8Sint",
    "R8UNorm",
    "R8UNormSrgb",
    "R8UBNorm",
    "R8UBNormNoZero",
    "R8UScaled",
    "R8SScaled",
    "R8UBInt",
    "R8UBScaled",
    "R8Snorm",
    "L8UNorm",
    "L8UNormSrgb",
    "A8UNorm",
    "B4G4R4A4UNorm",
    "B4G4R4X4UNorm",
    "B5G6R5UNorm",
    "B5G5R5A1UNorm",
    "B5G5R5X1UNorm",
    "R5G6B5UNorm",
    "B10G10R10A2UNorm",
    "R10G10B10A2UNorm",
    "B10G10R10A2Uint",
    "R10G10B10A2Uint",
    "R11G11B10Float",
    "R9G9B9X5Float",
    nullptr,
};

namespace {

using Raw::SurfaceFormatInfo;
using Raw::ReflectedTypes::g_vexSurfaceFormat;
using Raw::ReflectedTypes::g_vexTextureChannelType;
using Vex::DataFormat;

constexpr unsigned kUnknownName = 0xFFFFFFFF;
constexpr unsigned kNameBytes = 32;
constexpr std::uint32_t kX = Vex::kTextureChannelX, kY = Vex::kTextureChannelY, kZ = Vex::kTextureChannelZ,
                        kW = Vex::kTextureChannelW;

struct Selects {
    std::uint32_t m_selects[4];
};

// What the first part of a name says, and where its channel type begins. Row 0 of the format table is none.
struct Layout {
    unsigned m_surfaceFormat = 0;
    Selects m_selects = {};
    const char* m_rest = "";
};

char capital(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

// Reads digits; numbers beyond any width stay so.
unsigned readNumber(const char** text) {
    unsigned number = 0;
    for (; **text >= '0' && **text <= '9'; ++*text) {
        number = std::min(number * 10 + static_cast<unsigned>(**text - '0'), 1000u);
    }
    return number;
}

Layout readBlockLayout(const char* text) {
    constexpr Selects kAll = {{kX, kY, kZ, kW}};
    constexpr Selects kSelects[] = {kAll, kAll, kAll, {{kX, 0, 0, 1}}, {{kX, kY, 0, 1}}, {{kX, kY, kZ, 1}},
                                    kAll};
    if (text[2] < '1' || text[2] > '7') {
        return {};
    }
    const unsigned number = static_cast<unsigned>(text[2] - '1');
    return {Vex::kSurfaceFormatBc1 + number, kSelects[number], text + 3};
}

unsigned findRow(const unsigned (&widths)[4]) {
    for (unsigned row = 0; row < Vex::kSurfaceFormatCount; ++row) {
        const SurfaceFormatInfo& info = Raw::getSurfaceFormatInfo(Vex::SurfaceFormat(row));
        if (std::equal(widths, widths + 4, info.bitsPerChannel)) {
            return row;
        }
    }
    return 0;
}

// Pairs of a letter and a width, channel after channel.
Layout readChannelLayout(const char* text) {
    constexpr char kLetters[] = "RGBAX";
    Layout layout = {0, {{0, 0, 0, 1}}, text};
    unsigned widths[4] = {};
    bool isTaken[4] = {};
    char last = 0;
    for (unsigned channel = 0; channel < 4; ++channel) {
        const char* letter = std::strchr(kLetters, capital(*layout.m_rest));
        if (*layout.m_rest == 0 || letter == nullptr) {
            break;
        }
        const auto lane = static_cast<unsigned>(letter - kLetters);
        if (lane < 4) {
            if (isTaken[lane]) {
                return {};
            }
            isTaken[lane] = true;
            layout.m_selects.m_selects[lane] = channel + kX;
        }
        last = *letter;
        ++layout.m_rest;
        widths[channel] = readNumber(&layout.m_rest);
    }
    layout.m_surfaceFormat = findRow(widths);
    const bool sharesExponent = layout.m_surfaceFormat == Vex::kSurfaceFormat5_9_9_9;
    return sharesExponent && last != 'X' ? Layout{} : layout;
}

// "L8", "L8A8" and "A8L8", of 8 or 16 bits.
Layout readLuminanceLayout(const char* text) {
    const bool startsWithAlpha = capital(text[0]) == 'A';
    if (!startsWithAlpha && capital(text[0]) != 'L') {
        return {};
    }
    const char* rest = text + 1;
    const unsigned width = readNumber(&rest);
    const char other = startsWithAlpha ? 'L' : 'A';
    const bool hasOther = capital(*rest) == other;
    if ((width != 8 && width != 16) || (startsWithAlpha && !hasOther)) {
        return {};
    }
    if (!hasOther) {
        return {width == 8 ? Vex::kSurfaceFormat8 : Vex::kSurfaceFormat16, {{kX, kX, kX, 1}}, rest};
    }
    ++rest;
    if (readNumber(&rest) != width) {
        return {};
    }
    const Selects selects = startsWithAlpha ? Selects{{kY, kY, kY, kX}} : Selects{{kX, kX, kX, kY}};
    return {width == 8 ? Vex::kSurfaceFormat8_8 : Vex::kSurfaceFormat16_16, selects, rest};
}

bool holdsLuminance(const char* text) {
    for (const char* part : {"L8", "L16", "l8", "l16"}) {
        if (std::strstr(text, part) != nullptr) {
            return true;
        }
    }
    return false;
}

Layout readLayout(const char* text) {
    if (capital(text[0]) == 'B' && capital(text[1]) == 'C') {
        return readBlockLayout(text);
    }
    return holdsLuminance(text) ? readLuminanceLayout(text) : readChannelLayout(text);
}

unsigned readChannelType(const char* name) {
    // Names of the list above have it so, where the table of types says Srgb.
    return Raw::strcmpCaseInsensitive(name, "UNormSrgb") == 0 ? unsigned{Vex::kTextureChannelTypeSrgb}
                                                              : g_vexTextureChannelType.nameToValue(name);
}

int componentOf(DataFormat format, unsigned lane) {
    return static_cast<int>(format.getChannel(lane)) - static_cast<int>(kX);
}

// One or two channels whose X, Y and Z are one.
bool isLuminance(DataFormat format, unsigned channels) {
    const int x = componentOf(format, 0), w = componentOf(format, 3);
    const bool isOne = x == componentOf(format, 1) && x == componentOf(format, 2);
    const bool isConstant =
        componentOf(format, 0) < 0 && componentOf(format, 1) < 0 && componentOf(format, 2) < 0 && w < 0;
    return channels <= 2 && (isConstant || (isOne && (w >= 0 || x >= 0)));
}

void printLuminance(DataFormat format, const SurfaceFormatInfo& info, const char* type, char* name) {
    const int width = info.bitsPerChannel[0];
    if (info.channels == 1) {
        std::snprintf(name, kNameBytes, "%c%i%s", componentOf(format, 3) < 0 ? 'L' : 'A', width, type);
        return;
    }
    const bool alphaFirst = componentOf(format, 3) == 0 || componentOf(format, 0) == 1;
    std::snprintf(name, kNameBytes, "%c%i%c%i%s", alphaFirst ? 'A' : 'L', width, alphaFirst ? 'L' : 'A',
                  info.bitsPerChannel[1], type);
}

void printChannels(DataFormat format, const SurfaceFormatInfo& info, const char* type, char* name) {
    char letters[] = "XXXX";
    for (unsigned lane = 0; lane < 4; ++lane) {
        const int component = componentOf(format, lane);
        if (component >= 0 && component < 4) {
            letters[component] = "RGBA"[lane];
        }
    }
    const std::uint8_t* bits = info.bitsPerChannel;
    switch (info.channels) {
    case 1:
        std::snprintf(name, kNameBytes, "%c%i%s", letters[0], bits[0], type);
        break;
    case 2:
        std::snprintf(name, kNameBytes, "%c%i%c%i%s", letters[0], bits[0], letters[1], bits[1], type);
        break;
    case 3:
        std::snprintf(name, kNameBytes, "%c%i%c%i%c%i%s", letters[0], bits[0], letters[1], bits[1],
                      letters[2], bits[2], type);
        break;
    case 4:
        std::snprintf(name, kNameBytes, "%c%i%c%i%c%i%c%i%s", letters[0], bits[0], letters[1], bits[1],
                      letters[2], bits[2], letters[3], bits[3], type);
        break;
    default:
        std::snprintf(name, kNameBytes, "Invalid");
        break;
    }
}

unsigned keyOf(DataFormat format) {
    return unsigned{format.getSurfaceFormat()} << 8 | format.getTextureChannelType();
}

std::array<unsigned, kBlessedFormats> sortedKeys() {
    std::array<unsigned, kBlessedFormats> keys;
    std::transform(blessedFormats, blessedFormats + kBlessedFormats, keys.begin(),
                   [](const char* name) { return keyOf(str2Format(name)); });
    std::sort(keys.begin(), keys.end());
    return keys;
}

} // namespace

DataFormat str2Format(const char* text) {
    if (text == nullptr) {
        return {0};
    }
    const Layout layout = readLayout(text);
    const unsigned type = readChannelType(layout.m_rest);
    if (layout.m_surfaceFormat == 0 || type == kUnknownName) {
        return {0};
    }
    const std::uint32_t(&selects)[4] = layout.m_selects.m_selects;
    return {layout.m_surfaceFormat | type << 8 | selects[0] << 12 | selects[1] << 15 | selects[2] << 18 |
            selects[3] << 21};
}

void format2Str(DataFormat format, char* destination, unsigned size) {
    if (destination == nullptr || size < kNameBytes) {
        return;
    }
    const char* type = g_vexTextureChannelType.valueToName(format.getTextureChannelType());
    const SurfaceFormatInfo& info = Raw::getSurfaceFormatInfo(format.getSurfaceFormat());
    if (format.isBlockCompressedFormat()) {
        const bool hasNoAlpha =
            format.getSurfaceFormat() == Vex::kSurfaceFormatBc1 && format.getChannel(3) == 1;
        std::snprintf(destination, kNameBytes, "Bc%u%s%s",
                      format.getSurfaceFormat() - Vex::kSurfaceFormatBc1 + 1, type,
                      hasNoAlpha ? "NoAlpha" : "");
    } else if (info.channels != 0 && isLuminance(format, info.channels)) {
        printLuminance(format, info, type, destination);
    } else {
        printChannels(format, info, type, destination);
    }
}

void getFormatDetails(DataFormat format, char* destination, unsigned size) {
    if (destination == nullptr || size == 0) {
        return;
    }
    char name[kNameBytes] = "";
    format2Str(format, name, sizeof(name));
    std::snprintf(destination, size,
                  "Format as int = 0x%X\nFormatString=%s\nsurfaceType= %s\nchannelType= %s\nchannelX =  %x\n"
                  "channelY =  %x\nchannelZ =  %x\nchannelW =  %x\n\n",
                  format.m_word, name, g_vexSurfaceFormat.valueToName(format.getSurfaceFormat()),
                  g_vexTextureChannelType.valueToName(format.getTextureChannelType()), format.getChannel(0),
                  format.getChannel(1), format.getChannel(2), format.getChannel(3));
}

bool isBlessedFormat(DataFormat format) {
    static const std::array<unsigned, kBlessedFormats> s_keys = sortedKeys();
    return std::binary_search(s_keys.begin(), s_keys.end(), keyOf(format));
}

bool isBlesssedFormat(DataFormat format) { return isBlessedFormat(format); }

} // namespace qor::Texsmith
