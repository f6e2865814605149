// The format that stands in a descriptor, and its row, whatever number stands there.
#pragma once

#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/tools_assert.h"
#include "qor/vex/data_format.h"

#include <algorithm>

namespace qor::Texsmith::Raw {

// Named as a header, with a slash.
inline constexpr char kTextureHeaderPath[] = "raw/texture";

inline Vex::DataFormat formatOf(const DecoderConfiguration* configuration) {
    return configuration->getTexture()->getDataFormat();
}

// A number without a row is reported and gives row 0.
inline const SurfaceFormatInfo& infoOf(Vex::DataFormat format) {
    const unsigned surfaceFormat = format.getSurfaceFormat();
    if (surfaceFormat < Vex::kSurfaceFormatCount) {
        return g_surfaceFormatInfo[surfaceFormat];
    }
    toolsAssert(kTextureHeaderPath, __LINE__, "surfaceFormat is %d, but must be between 0 and %d",
                static_cast<int>(surfaceFormat), static_cast<int>(Vex::kSurfaceFormatCount - 1));
    return g_surfaceFormatInfo[0];
}

// Bytes of one row of stored elements that cover `texels` texels, as in a Block (4) or Tile (8). Rows without
// a format have blocks of no width.
inline unsigned packedPitchInBytes(const SurfaceFormatInfo& info, unsigned texels) {
    return info.bytesPerElement * texels / std::max(1u, unsigned{info.blockWidth});
}

} // namespace qor::Texsmith::Raw
