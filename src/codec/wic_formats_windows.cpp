#include "codec/wic_formats_windows.h"

#include <algorithm>
#include <iterator>

#include <wincodec.h>

namespace qor::Texsmith::Raw {
namespace {

using Kind = PixelLayout::Kind;

// Bits and number of the samples.
constexpr PixelLayout grey(unsigned bits, bool isFloat = false) {
    return {Kind::kGrey, bits, 1, false, isFloat, false};
}
constexpr PixelLayout indices(unsigned bits) { return {Kind::kPalette, bits, 1, false, false, false}; }
constexpr PixelLayout color(Kind kind, unsigned bits, unsigned samples, bool hasAlpha, bool isFloat = false) {
    return {kind, bits, samples, hasAlpha, isFloat, false};
}

constexpr PixelLayout kBgr24 = color(Kind::kBgr, 8, 3, false), kBgra32 = color(Kind::kBgr, 8, 4, true),
                      kRgba64 = color(Kind::kRgb, 16, 4, true),
                      kFloats = color(Kind::kRgb, 32, 4, true, true),
                      kFloatsX = color(Kind::kRgb, 32, 4, false, true);

// Colours that were multiplied by alpha stay so. Formats of ink (CMYK) and of channels without names are left
// out.
const WicPixelFormat kFormats[] = {
#define AS_IT_IS(name, pixels) \
    { GUID_WICPixelFormat##name, GUID_WICPixelFormat##name, pixels }
#define CONVERTED(name, to, pixels) \
    { GUID_WICPixelFormat##name, GUID_WICPixelFormat##to, pixels }
    AS_IT_IS(1bppIndexed, indices(1)),
    AS_IT_IS(2bppIndexed, indices(2)),
    AS_IT_IS(4bppIndexed, indices(4)),
    AS_IT_IS(8bppIndexed, indices(8)),
    AS_IT_IS(BlackWhite, grey(1)),
    AS_IT_IS(2bppGray, grey(2)),
    AS_IT_IS(4bppGray, grey(4)),
    AS_IT_IS(8bppGray, grey(8)),
    AS_IT_IS(16bppGray, grey(16)),
    AS_IT_IS(16bppGrayHalf, grey(16, true)),
    AS_IT_IS(32bppGrayFloat, grey(32, true)),
    AS_IT_IS(24bppBGR, kBgr24),
    AS_IT_IS(24bppRGB, color(Kind::kRgb, 8, 3, false)),
    AS_IT_IS(32bppBGR, color(Kind::kBgr, 8, 4, false)),
    AS_IT_IS(32bppRGB, color(Kind::kRgb, 8, 4, false)),
    AS_IT_IS(32bppBGRA, kBgra32),
    AS_IT_IS(32bppPBGRA, kBgra32),
    AS_IT_IS(32bppRGBA, color(Kind::kRgb, 8, 4, true)),
    AS_IT_IS(32bppPRGBA, color(Kind::kRgb, 8, 4, true)),
    AS_IT_IS(48bppRGB, color(Kind::kRgb, 16, 3, false)),
    AS_IT_IS(48bppBGR, color(Kind::kBgr, 16, 3, false)),
    AS_IT_IS(64bppRGB, color(Kind::kRgb, 16, 4, false)),
    AS_IT_IS(64bppRGBA, kRgba64),
    AS_IT_IS(64bppPRGBA, kRgba64),
    AS_IT_IS(64bppBGRA, color(Kind::kBgr, 16, 4, true)),
    AS_IT_IS(64bppPBGRA, color(Kind::kBgr, 16, 4, true)),
    AS_IT_IS(48bppRGBHalf, color(Kind::kRgb, 16, 3, false, true)),
    AS_IT_IS(64bppRGBHalf, color(Kind::kRgb, 16, 4, false, true)),
    AS_IT_IS(64bppRGBAHalf, color(Kind::kRgb, 16, 4, true, true)),
    AS_IT_IS(64bppPRGBAHalf, color(Kind::kRgb, 16, 4, true, true)),
    AS_IT_IS(96bppRGBFloat, color(Kind::kRgb, 32, 3, false, true)),
    AS_IT_IS(128bppRGBFloat, kFloatsX),
    AS_IT_IS(128bppRGBAFloat, kFloats),
    AS_IT_IS(128bppPRGBAFloat, kFloats),
    CONVERTED(16bppBGR555, 24bppBGR, kBgr24),
    CONVERTED(16bppBGR565, 24bppBGR, kBgr24),
    CONVERTED(16bppBGRA5551, 32bppBGRA, kBgra32),
    CONVERTED(32bppBGR101010, 48bppRGB, color(Kind::kRgb, 16, 3, false)),
    CONVERTED(32bppRGBA1010102, 64bppRGBA, kRgba64),
    CONVERTED(32bppRGBA1010102XR, 64bppRGBA, kRgba64),
    CONVERTED(32bppRGBE, 128bppRGBFloat, kFloatsX),
    CONVERTED(16bppGrayFixedPoint, 32bppGrayFloat, grey(32, true)),
    CONVERTED(32bppGrayFixedPoint, 32bppGrayFloat, grey(32, true)),
    CONVERTED(48bppRGBFixedPoint, 128bppRGBFloat, kFloatsX),
    CONVERTED(48bppBGRFixedPoint, 128bppRGBFloat, kFloatsX),
    CONVERTED(64bppRGBFixedPoint, 128bppRGBFloat, kFloatsX),
    CONVERTED(64bppRGBAFixedPoint, 128bppRGBAFloat, kFloats),
    CONVERTED(64bppBGRAFixedPoint, 128bppRGBAFloat, kFloats),
    CONVERTED(96bppRGBFixedPoint, 128bppRGBFloat, kFloatsX),
    CONVERTED(128bppRGBFixedPoint, 128bppRGBFloat, kFloatsX),
    CONVERTED(128bppRGBAFixedPoint, 128bppRGBAFloat, kFloats),
    CONVERTED(8bppAlpha, 32bppBGRA, kBgra32),
#undef AS_IT_IS
#undef CONVERTED
};

} // namespace

const WicPixelFormat* findWicPixelFormat(const GUID& format) {
    const auto* row =
        std::find_if(std::begin(kFormats), std::end(kFormats), [&format](const auto& candidate) {
            return IsEqualGUID(candidate.m_format, format) != 0;
        });
    return row != std::end(kFormats) ? row : nullptr;
}

GUID wicPixelFormatOf(const ChannelLayout& layout) {
    if (layout.m_depth == ChannelDepth::k8) {
        return layout.m_isGrey     ? GUID_WICPixelFormat8bppGray
               : layout.m_hasAlpha ? GUID_WICPixelFormat32bppBGRA
                                   : GUID_WICPixelFormat24bppBGR;
    }
    return layout.m_isGrey     ? GUID_WICPixelFormat16bppGray
           : layout.m_hasAlpha ? GUID_WICPixelFormat64bppRGBA
                               : GUID_WICPixelFormat48bppRGB;
}

} // namespace qor::Texsmith::Raw
