#include "raw/files/channel_formats.h"

#include "qor/vex/data_formats.h"

namespace qor::Texsmith::Raw {
namespace {

// By alpha, grey and depth.
constexpr Vex::DataFormat kFormats[2][2][4] = {
    {{{0x3AC00A}, {0x3AC00C}, Vex::kDataFormatR16G16B16X16Float, Vex::kDataFormatR32G32B32X32Float},
     {Vex::kDataFormatL8Unorm, Vex::kDataFormatL16Unorm, Vex::kDataFormatL16Float, Vex::kDataFormatL32Float}},
    {{Vex::kDataFormatR8G8B8A8Unorm, Vex::kDataFormatR16G16B16A16Unorm, Vex::kDataFormatR16G16B16A16Float,
      Vex::kDataFormatR32G32B32A32Float},
     {Vex::kDataFormatL8A8Unorm, {0xB24005}, {0xB24705}, {0xB2470B}}},
};

} // namespace

Vex::DataFormat formatOf(const ChannelLayout& layout, Vex::TextureChannelType channelType) {
    const auto depth = static_cast<unsigned>(layout.m_depth);
    const Vex::DataFormat format = kFormats[layout.m_hasAlpha][layout.m_isGrey][depth];
    const bool isAsItIs = layout.m_depth > ChannelDepth::k16 || (layout.m_depth == ChannelDepth::k16 &&
                                                                 channelType == Vex::kTextureChannelTypeSrgb);
    return isAsItIs ? format : format.withTextureChannelType(channelType);
}

ChannelLayout layoutToRead(const ChannelLayout& inFile, Vex::TextureChannelType channelType) {
    const bool isSrgb = inFile.m_depth == ChannelDepth::k8 && channelType == Vex::kTextureChannelTypeSrgb;
    ChannelLayout layout = inFile;
    layout.m_isGrey = layout.m_isGrey && !(layout.m_hasAlpha && isSrgb);
    return layout;
}

} // namespace qor::Texsmith::Raw
