// Finds the codec of a type among those of this build.
#include "codec/codecs.h"

#if defined(TEXSMITH_HAS_WIC)
#    include "codec/wic_codec_windows.h"
#endif

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

// Null on systems without a component of their own for that type.
#if defined(TEXSMITH_HAS_WIC)
const Codec* findSystemCodec(FileType type) {
    const auto codecs = wicCodecs();
    const auto codec = std::find_if(codecs.begin(), codecs.end(),
                                    [type](const Codec& candidate) { return candidate.m_type == type; });
    return codec != codecs.end() ? &*codec : nullptr;
}
#else
const Codec* findSystemCodec(FileType) { return nullptr; }
#endif

} // namespace

const Codec* findCodec(FileType type) {
    const Codec* codec = *std::find_if(std::begin(kCodecs), std::end(kCodecs) - 1,
                                       [type](const Codec* candidate) { return candidate->m_type == type; });
    return codec != nullptr ? codec : findSystemCodec(type);
}

} // namespace qor::Texsmith::Raw
