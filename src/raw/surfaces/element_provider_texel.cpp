// Texels for inspection, described by properties.
#include "qor/texsmith/raw/element_provider.h"
#include "qor/texsmith/raw/property.h"
#include "raw/frame/check.h"
#include "raw/texels/channels.h"
#include "raw/texels/codec.h"
#include "raw/texels/texture_format.h"

#include <cstring>
#include <iterator>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\surfaces\\element_provider";

struct Position {
    unsigned m_x, m_y, m_depth;
    float m_u, m_v, m_t; // 0..1, of the texel's middle
};

Position positionOf(const ElementProvider& provider, const SurfaceIndex& index, unsigned x, unsigned y) {
    const auto middle = [](unsigned at, unsigned size) {
        return (static_cast<float>(at) + 0.5f) / static_cast<float>(size);
    };
    return {x,
            y,
            index.depth,
            middle(x, provider.getPixelsWide(index.mip)),
            middle(y, provider.getPixelsTall(index.mip)),
            middle(index.depth, provider.getDepth(index.mip))};
}

void setCubeDirection(Properties* properties, unsigned face, const Position& at) {
    const float s = 2 * at.m_u - 1, r = 2 * at.m_v - 1;
    const float directions[6][3] = {{1, r, -s}, {-1, r, s}, {s, 1, -r}, {s, -1, r}, {s, r, 1}, {-s, r, -1}};
    if (face < std::size(directions)) {
        properties->set(kPropertyTexelUVW, directions[face]);
    }
}

// Arrays of lines and surfaces of samples that are no array deliberately tell no position.
void setPosition(Properties* properties, Vex::TextureType type, const SurfaceIndex& index,
                 const Position& at) {
    const unsigned xyz[3] = {at.m_x, at.m_y, at.m_depth}, xy[2] = {at.m_x, at.m_y};
    const float uvw[3] = {at.m_u, at.m_v, at.m_t}, uv[2] = {at.m_u, at.m_v};
    switch (type) {
    case Vex::kTextureType1d:
        properties->set(kPropertyTexelX, at.m_x);
        properties->set(kPropertyTexelU, at.m_u);
        break;
    case Vex::kTextureType2d:
    case Vex::kTextureType2dArray:
    case Vex::kTextureType2dArrayMsaa:
        properties->set(kPropertyTexelXY, xy);
        properties->set(kPropertyTexelUV, uv);
        break;
    case Vex::kTextureType3d:
        properties->set(kPropertyTexelXYZ, xyz);
        properties->set(kPropertyTexelUVW, uvw);
        break;
    case Vex::kTextureTypeCubemap:
        properties->set(kPropertyTexelXY, xy);
        setCubeDirection(properties, index.face, at);
        break;
    default:
        break;
    }
}

template <std::size_t kBytes> void setBytes(Properties* properties, const VectorFloat& element) {
    std::uint8_t bytes[kBytes];
    std::memcpy(bytes, &element, kBytes);
    properties->set(kPropertyElement, bytes, kPropertyFormatHexadecimal);
}

void setElement(Properties* properties, const VectorFloat& element, unsigned bytes) {
    VectorFloat threeWords = {};
    std::memcpy(&threeWords, &element, 12);
    switch (bytes) {
    case 1:
        return setBytes<1>(properties, element);
    case 2:
        return setBytes<2>(properties, element);
    case 4:
        return setBytes<4>(properties, element);
    case 8:
        return setBytes<8>(properties, element);
    case 12: // no type has twelve bytes: the four behind them are zero
        return setBytes<16>(properties, threeWords);
    case 16:
        return setBytes<16>(properties, element);
    default:
        return;
    }
}

bool decodeOne(VectorFloat* texel, const VectorFloat& element, const DecoderConfiguration& decoder,
               bool asHardware, unsigned texelOfBlock) {
    const SurfaceFormatInfo& info = infoOf(formatOf(&decoder));
    if (info.blockWidth == 1) {
        const bool known = (asHardware ? info.hardwareDecodeTexels : info.decodeTexels) != nullptr;
        (asHardware ? hardwareDecodeTexelRun : decodeTexelRun)(texel, &element, &decoder, known ? 1 : 0);
        return known;
    }
    if ((asHardware ? info.hardwareDecodeBlock : info.decodeBlock) == nullptr) {
        return false;
    }
    Block block = {};
    (asHardware ? hardwareDecodeBlockAndModify : decodeBlockAndModify)(&block, &element, info.bytesPerElement,
                                                                       &decoder);
    *texel = block.m_texels[texelOfBlock];
    return true;
}

template <typename Word> void setLanes(Properties* properties, const VectorFloat& texel) {
    Word lanes[4];
    std::memcpy(lanes, &texel, sizeof lanes);
    properties->set(kPropertyValue, lanes);
}

} // namespace

void ElementProvider::getTexel(const SurfaceIndex* surfaceIndex, Properties* properties, unsigned x,
                               unsigned y) const {
    checkNotNull(surfaceIndex, kSourcePath, "surfaceIndex must not be NULL.");
    if (!checkNotNull(properties, kSourcePath, "properties must not be NULL.")) {
        return;
    }
    properties->clear();
    if (pixelIsOutside(surfaceIndex, x, y)) {
        return;
    }
    const unsigned surface[4] = {surfaceIndex->arrayEntry, surfaceIndex->face, surfaceIndex->mip,
                                 surfaceIndex->depth};
    const unsigned tile[2] = {x >> 3, y >> 3};
    properties->set(kPropertyArrayEntryFaceMipDepth, surface);
    setPosition(properties, m_texture.getTextureType(), *surfaceIndex,
                positionOf(*this, *surfaceIndex, x, y));
    properties->set(kPropertyTileXY, tile);
    doGetTexel(surfaceIndex, properties, x, y);
}

void ElementProvider::doGetTexel(const SurfaceIndex* surfaceIndex, Properties* properties, unsigned x,
                                 unsigned y) const {
    getTexelFromTexture(surfaceIndex, properties, x, y);
}

void ElementProvider::getTexelFromTexture(const SurfaceIndex* surfaceIndex, Properties* properties,
                                          unsigned x, unsigned y) const {
    VectorFloat element = {};
    getElement(surfaceIndex, &element, x / getPixelsPerElementWide(), y / getPixelsPerElementTall());
    getTexelFromElement(element, properties, x, y);
}

void ElementProvider::getTexelFromElement(const VectorFloat& element, Properties* properties, unsigned x,
                                          unsigned y) const {
    if (!checkNotNull(properties, kSourcePath, "properties must not be NULL.")) {
        return;
    }
    setElement(properties, element, getBytesPerElement());
    DecoderConfiguration decoder;
    decoder.setTexture(&m_texture);
    const unsigned texelOfBlock = (x & 3) + (y & 3) * 4;
    const Vex::TextureChannelType type = getDataFormat().getTextureChannelType();
    VectorFloat value = {}, hardwareValue = {};
    if (!decodeOne(&value, element, decoder, false, texelOfBlock)) {
        return;
    }
    if (!isFloatingChannelType(type)) {
        return type == Vex::kTextureChannelTypeUInt ? setLanes<std::uint32_t>(properties, value)
                                                    : setLanes<std::int32_t>(properties, value);
    }
    properties->set(kPropertyValue, value.m_lanes);
    if (decodeOne(&hardwareValue, element, decoder, true, texelOfBlock) &&
        std::memcmp(&value, &hardwareValue, sizeof value) != 0) {
        properties->set(kPropertyHardwareValue, hardwareValue.m_lanes);
    }
}

} // namespace qor::Texsmith::Raw
