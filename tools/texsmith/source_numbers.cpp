#include "source_numbers.h"

#include "console.h"
#include "file_info.h"

#include <utility>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

Numbers linear(Vex::DataFormat format) { return isFloat(format) ? Numbers::kLight : Numbers::kData; }

bool wantsLight(const ConversionOptions& options, Raw::FileType destination) {
    return options.m_format ? isFloat(*options.m_format) : holdsFloats(destination);
}

bool hasUNormFormat(const ConversionOptions& options) {
    return options.m_format && !isSrgb(*options.m_format) && !isFloat(*options.m_format);
}

} // namespace

bool wantsSrgb(const ConversionOptions& options, Raw::FileType destination) {
    return options.m_format ? isSrgb(*options.m_format) : holdsPicture(destination);
}

SourceNumbers numbersOf(const Raw::FileDescription& source, Vex::DataFormat format,
                        const ConversionOptions& options, Raw::FileType destination) {
    if (!mayBeSrgb(format)) {
        return {linear(format), false};
    }
    if (options.m_transfer != Transfer::kAuto) {
        return {options.m_transfer == Transfer::kSrgb ? Numbers::kSrgb : linear(format), false};
    }
    if (isFloat(format) || source.m_transfer == Raw::kFileTransferLinear) {
        return {linear(format), false};
    }
    if (source.m_transfer != Raw::kFileTransferUnstated || isSrgb(format)) {
        return {Numbers::kSrgb, false};
    }
    return {wantsSrgb(options, destination) ? Numbers::kSrgb : Numbers::kData, true};
}

void hintAtNumbers(const Raw::FileDescription& source, const SourceNumbers& numbers,
                   const ConversionOptions& options, Raw::FileType destination) {
    const bool isEncoded = numbers.m_numbers == Numbers::kSrgb;
    const bool hasSrgbFormat = options.m_format && isSrgb(*options.m_format);
    if (numbers.m_isAssumed && isEncoded && (hasSrgbFormat || options.average() || options.m_transferOut)) {
        hint("the file does not say what its numbers mean: they are taken for sRGB; --transfer linear takes "
             "them as they are");
    }
    if (numbers.m_isAssumed && !isEncoded &&
        (wantsLight(options, destination) || options.average() || options.m_transferOut)) {
        hint("the file does not say what its numbers mean: they are taken for data; --transfer srgb takes "
             "them for colours");
    }
    if (isEncoded && source.m_transfer == Raw::kFileTransferOther && options.m_transfer == Transfer::kAuto) {
        hint(std::string("the numbers are taken for sRGB, though by ") + source.m_transferSource +
             " they are something else");
    }
    if (isEncoded && !numbers.m_isAssumed && hasUNormFormat(options) && !options.m_transferOut) {
        const Vex::DataFormat twin = options.m_format->withTextureChannelType(Vex::kTextureChannelTypeSrgb);
        hint("sRGB numbers are kept as they are in " + formatName(*options.m_format) +
             ", which does not say that they are" +
             (mayBeSrgb(*options.m_format) ? "; " + formatName(twin) + " does" : ""));
    }
    if (numbers.m_numbers == Numbers::kData && hasSrgbFormat) {
        hint("linear numbers are encoded for " + formatName(*options.m_format) +
             (options.m_transfer == Transfer::kAuto
                  ? std::string(": ") + source.m_transferSource + " says that they are linear"
                  : "; " +
                        formatName(options.m_format->withTextureChannelType(Vex::kTextureChannelTypeUNorm)) +
                        " keeps them as they are"));
    }
}

void hintAtReading(const Raw::FileDescription& source) {
    constexpr std::pair<std::uint32_t, const char*> kTexts[] = {
        {Raw::kReadTgaGreyWithAlpha, "its attribute bits say that its pixels are grey and alpha"},
        {Raw::kReadTgaColorAsOpaque, "it has no attribute bits, so that its pixels are opaque"},
        {Raw::kReadDdsWholeTexture, "all entries, faces and slices that its headers tell of are read"},
        {Raw::kReadDdsMasksAsTheyAre, "its masks of ten bits are taken as they are"},
        {Raw::kReadPfmByteOrder, "its scale says that the most significant byte comes first"},
        {Raw::kReadPfmBottomUp, "its rows are read from the bottom up"},
        {Raw::kReadPngBySignature, "its first bytes say that it is a PNG file"},
    };
    for (const auto& [option, text] : kTexts) {
        if ((source.m_readingOptions & option) != 0) {
            hint(std::string(text) + "; --literal reads it otherwise");
        }
    }
}

} // namespace Tool
