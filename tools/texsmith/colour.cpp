#include "colour.h"

#include "qor/texsmith/raw/format.h"
#include "qor/vex/data_formats.h"

#include <algorithm>
#include <iterator>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr auto kUNorm = Vex::kTextureChannelTypeUNorm;
constexpr auto kSrgb = Vex::kTextureChannelTypeSrgb;

template <std::size_t kCount> bool isOneOf(Raw::FileType type, const Raw::FileType (&types)[kCount]) {
    return std::find(std::begin(types), std::end(types), type) != std::end(types);
}

unsigned mostBits(Vex::DataFormat format) {
    const auto& bits = Raw::getSurfaceFormatInfo(format.getSurfaceFormat()).bitsPerChannel;
    return *std::max_element(std::begin(bits), std::end(bits));
}

// More than eight bits a channel.
bool isDeep(Vex::DataFormat format) {
    return isFloat(format) || (!format.isBlockCompressedFormat() && mostBits(format) > 8);
}

bool isBytes(Vex::DataFormat format) { return format.getSurfaceFormat() == Vex::kSurfaceFormat8_8_8_8; }

bool hasColourBlocks(Vex::DataFormat format) {
    const Vex::SurfaceFormat blocks = format.getSurfaceFormat();
    return (blocks >= Vex::kSurfaceFormatBc1 && blocks <= Vex::kSurfaceFormatBc3) ||
           blocks == Vex::kSurfaceFormatBc7;
}

bool selectsAlpha(Vex::DataFormat format) { return format.getChannel(3) >= Vex::kTextureChannelX; }

bool isGrey(Vex::DataFormat format) {
    const Vex::TextureChannel x = format.getChannel(0);
    return x >= Vex::kTextureChannelX && format.getChannel(1) == x && format.getChannel(2) == x;
}

// The curve is for the first three channels, so that alpha may stand in the fourth alone.
bool hasPlaceForCurve(Vex::DataFormat format) {
    return hasColourBlocks(format) || format.getChannel(3) < Vex::kTextureChannelX ||
           format.getChannel(3) == Vex::kTextureChannelW;
}

// Hardware has such types for channels of eight bits.
bool hasSrgbType(Vex::DataFormat format) {
    return hasColourBlocks(format) || isBytes(format) ||
           (format.getSurfaceFormat() == Vex::kSurfaceFormat8 && hasPlaceForCurve(format));
}

void reformatTo(NumberedPicture* picture, Vex::DataFormat format, Configuration* configuration) {
    if (!(picture->m_image->getDataFormat() == format)) {
        picture->m_image = inFormat(*picture->m_image, format, configuration);
    }
}

void setType(NumberedPicture* picture, Vex::TextureChannelType type) {
    Vex::Texture texture = *picture->m_image->getVexTexture();
    texture = Raw::changeDataFormat(texture, texture.getDataFormat().withTextureChannelType(type));
    picture->m_image->reallocate(&texture); // of the same size: the texels stay
}

// Four channels, or as few as the format reads, of 8 or 16 bits.
Vex::DataFormat plainFormat(Vex::DataFormat like, bool deep) {
    if (selectsAlpha(like)) {
        return deep ? Vex::kDataFormatR16G16B16A16Unorm : Vex::kDataFormatR8G8B8A8Unorm;
    }
    if (isGrey(like)) {
        return deep ? Vex::kDataFormatL16Unorm : Vex::kDataFormatL8Unorm;
    }
    constexpr Vex::DataFormat kR16G16B16X16{0x3AC00C}, kR8G8B8X8{0x3AC00A};
    return deep ? kR16G16B16X16 : kR8G8B8X8;
}

// Stored as sRGB in a format of that layout.
void encodeTo(NumberedPicture* picture, Vex::DataFormat format, Configuration* configuration) {
    showAsSrgb(picture, configuration);
    picture->m_numbers = Numbers::kSrgb;
    if (!format.isBlockCompressedFormat()) {
        reformatTo(picture, format.withTextureChannelType(kSrgb), configuration);
        return;
    }
    // Encoders of sRGB blocks may apply the curve twice, so they are given its bytes as numbers.
    const Vex::DataFormat from = picture->m_image->getDataFormat();
    if (!isSrgb(from) || isDeep(from)) {
        reformatTo(picture, Vex::kDataFormatR8G8B8A8UnormSrgb, configuration);
    }
    showAsNumbers(picture);
    reformatTo(picture, format.withTextureChannelType(kUNorm), configuration);
    setType(picture, kSrgb);
}

// Encoded numbers in a format that knows nothing of it.
void storeEncoded(NumberedPicture* picture, Vex::DataFormat format, Configuration* configuration) {
    if (picture->m_numbers != Numbers::kSrgb) {
        encodeTo(picture, plainFormat(picture->m_image->getDataFormat(), true), configuration);
    }
    showAsNumbers(picture);
    reformatTo(picture, format, configuration);
}

void storeDecoded(NumberedPicture* picture, Vex::DataFormat format, Configuration* configuration) {
    showAsSrgb(picture, configuration);
    reformatTo(picture, format, configuration);
    if (picture->m_numbers == Numbers::kSrgb) {
        picture->m_numbers = isFloat(format) ? Numbers::kLight : Numbers::kData;
    }
}

bool isDecoded(Numbers numbers) { return numbers != Numbers::kSrgb; }

} // namespace

bool holdsPicture(Raw::FileType type) {
    constexpr Raw::FileType kTypes[] = {
        Raw::makeFileType(".PNG"), Raw::makeFileType(".JPG"), Raw::makeFileType(".BMP"),
        Raw::makeFileType(".TGA"), Raw::makeFileType(".TIF"), Raw::makeFileType(".GIF"),
        Raw::makeFileType(".ICO"), Raw::makeFileType(".JXR"), Raw::makeFileType(".WDP")};
    return isOneOf(type, kTypes);
}

bool holdsFloats(Raw::FileType type) {
    constexpr Raw::FileType kTypes[] = {Raw::makeFileType(".HDR"), Raw::makeFileType(".PFM"),
                                        Raw::makeFileType(".EXR")};
    return isOneOf(type, kTypes);
}

bool isSrgb(Vex::DataFormat format) { return format.getTextureChannelType() == kSrgb; }

bool isFloat(Vex::DataFormat format) {
    return format.getTextureChannelType() == Vex::kTextureChannelTypeFloat ||
           format.getSurfaceFormat() == Vex::kSurfaceFormatBc6;
}

bool mayBeSrgb(Vex::DataFormat format) {
    const bool isUnsigned = format.getTextureChannelType() == kUNorm || isSrgb(format);
    if (format.isBlockCompressedFormat()) {
        return isUnsigned && hasColourBlocks(format);
    }
    return isFloat(format) || (isUnsigned && mostBits(format) <= 16);
}

void showAsSrgb(NumberedPicture* picture, Configuration* configuration) {
    const Vex::DataFormat format = picture->m_image->getDataFormat();
    if (picture->m_numbers != Numbers::kSrgb || isSrgb(format)) {
        return;
    }
    if (isFloat(format) || !hasPlaceForCurve(format)) {
        reformatTo(picture, plainFormat(format, isDeep(format)), configuration);
    }
    setType(picture, kSrgb);
}

void showAsNumbers(NumberedPicture* picture) {
    if (isSrgb(picture->m_image->getDataFormat())) {
        setType(picture, kUNorm);
    }
}

void convertFormat(NumberedPicture* picture, Vex::DataFormat format, std::optional<Numbers> out,
                   Configuration* configuration) {
    if (isSrgb(format)) {
        encodeTo(picture, format, configuration);
    } else if (out == Numbers::kSrgb) {
        storeEncoded(picture, format, configuration);
    } else if (out.has_value() || isFloat(format)) {
        storeDecoded(picture, format, configuration);
    } else {
        showAsNumbers(picture);
        reformatTo(picture, format, configuration);
    }
}

void convertForPicture(NumberedPicture* picture, Raw::FileType type, std::optional<Numbers> out,
                       Configuration* configuration) {
    const Vex::DataFormat format = picture->m_image->getDataFormat();
    const bool keepsDepth = type == Raw::makeFileType(".PNG") || type == Raw::makeFileType(".TIF");
    const bool wantsSrgb =
        out.value_or(holdsPicture(type) ? Numbers::kSrgb : Numbers::kData) == Numbers::kSrgb;
    if (wantsSrgb && (picture->m_numbers == Numbers::kLight || (out && isDecoded(picture->m_numbers)))) {
        encodeTo(picture, plainFormat(format, keepsDepth && isDeep(format)), configuration);
    } else if (!wantsSrgb && picture->m_numbers == Numbers::kSrgb) {
        storeDecoded(picture,
                     holdsFloats(type) ? Vex::kDataFormatR32G32B32A32Float
                                       : plainFormat(format, isDeep(format)),
                     configuration);
    }
    showAsNumbers(picture);
}

void convertForContainer(NumberedPicture* picture, Raw::FileType type, std::optional<Numbers> out,
                         Configuration* configuration) {
    const Vex::DataFormat format = picture->m_image->getDataFormat();
    if (out == Numbers::kSrgb && isDecoded(picture->m_numbers)) {
        encodeTo(picture, hasSrgbType(format) ? format : plainFormat(format, false), configuration);
    } else if (out && isDecoded(*out) && picture->m_numbers == Numbers::kSrgb) {
        storeDecoded(picture, isSrgb(format) ? format.withTextureChannelType(kUNorm) : format, configuration);
    }
    if (picture->m_numbers != Numbers::kSrgb) {
        return;
    }
    showAsSrgb(picture, configuration);
    const Vex::DataFormat shown = picture->m_image->getDataFormat();
    if (!hasSrgbType(shown)) {
        showAsNumbers(picture);
    } else if (type == Raw::makeFileType(".DDS") && isBytes(shown) && !selectsAlpha(shown)) {
        reformatTo(picture, Vex::kDataFormatB8G8R8X8UnormSrgb, configuration); // which its header can name
    }
}

} // namespace Tool
