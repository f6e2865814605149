// Finds the codec of a type among those of this build.
#include "codec/codecs.h"

#include <algorithm>
#include <iterator>

namespace qor::Texsmith::Raw {
namespace {

constexpr const Codec* kCodecs[] = {
    &g_bmpCodec,
#if defined(TEXSMITH_HAS_EXR)
    &g_exrCodec,
#endif
#if defined(TEXSMITH_HAS_GIF)
    &g_gifCodec,
#endif
#if defined(TEXSMITH_HAS_JPEG)
    &g_jpegCodec,
#endif
#if defined(TEXSMITH_HAS_PNG)
    &g_pngCodec,
#endif
#if defined(TEXSMITH_HAS_TIFF)
    &g_tiffCodec,
#endif
    nullptr,
};

} // namespace

const Codec* findCodec(FileType type) {
    return *std::find_if(std::begin(kCodecs), std::end(kCodecs) - 1,
                         [type](const Codec* codec) { return codec->m_type == type; });
}

} // namespace qor::Texsmith::Raw
