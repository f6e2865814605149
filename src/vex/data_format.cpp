// Sizes of elements, looked up by surface format.
#include "qor/vex/data_format.h"

#include "vex/surface_formats.h"

namespace qor::Vex {

namespace {

unsigned lookUp(const ByteByFormat& table, unsigned surfaceFormat) {
    return surfaceFormat < table.size() ? table[surfaceFormat] : 0;
}

} // namespace

unsigned bitsPerElementFromSurfaceFormat(unsigned surfaceFormat) {
    return lookUp(kBitsPerElement, surfaceFormat);
}

unsigned bytesPerElementFromSurfaceFormat(unsigned surfaceFormat) {
    return lookUp(kBytesPerElement, surfaceFormat);
}

void DataFormat::init(SurfaceFormat surfaceFormat, TextureChannelType channelType, TextureChannel x,
                      TextureChannel y, TextureChannel z, TextureChannel w) {
    m_word = (surfaceFormat & 0xFFu) | (channelType & 0xFu) << 8 | (x & 7u) << 12 | (y & 7u) << 15 |
             (z & 7u) << 18 | (w & 7u) << 21;
}

unsigned DataFormat::getBitsPerElement() const { return lookUp(kBitsPerElement, getSurfaceFormat()); }

unsigned DataFormat::getBytesPerElement() const { return lookUp(kBytesPerElement, getSurfaceFormat()); }

unsigned DataFormat::getNumComponents() const { return lookUp(kNumComponents, getSurfaceFormat()); }

} // namespace qor::Vex
