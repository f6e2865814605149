#include "raw/rows/row_conversion.h"

#include "raw/texels/texture_format.h"

#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr unsigned kTexelsPerTile = 64;

bool isSingleTexels(const SurfaceFormatInfo& info) { return info.blockWidth == 1 && info.blockHeight == 1; }

} // namespace

RowConversion::RowConversion(const TileConversion& steps)
    : m_steps(steps), m_direct(steps), m_planes(steps),
      m_sourceBytes(infoOf(formatOf(&steps.decoder())).bytesPerElement),
      m_destinationBytes(infoOf(formatOf(&steps.encoder())).bytesPerElement) {
    m_convert = m_direct.isUsable()   ? &convertDirectly
                : m_planes.isUsable() ? &convertInPlanes
                                      : &convertInSteps;
}

bool RowConversion::canConvert(Vex::DataFormat from, Vex::DataFormat to) {
    return isSingleTexels(infoOf(from)) && isSingleTexels(infoOf(to)) && TileConversion::canConvert(from, to);
}

void RowConversion::convertDirectly(const RowConversion& conversion, void* destination, const void* source,
                                    std::size_t count, RowStores stores) {
    conversion.m_direct.convert(destination, source, count, stores);
}

void RowConversion::convertInPlanes(const RowConversion& conversion, void* destination, const void* source,
                                    std::size_t count, RowStores) {
    conversion.m_planes.convert(destination, source, count);
}

// 64 elements in a row lie like a packed tile.
void RowConversion::convertInSteps(const RowConversion& conversion, void* destination, const void* source,
                                   std::size_t count, RowStores) {
    const unsigned sourceBytes = conversion.m_sourceBytes, destinationBytes = conversion.m_destinationBytes;
    auto* to = static_cast<std::uint8_t*>(destination);
    const auto* from = static_cast<const std::uint8_t*>(source);
    for (; count >= kTexelsPerTile; count -= kTexelsPerTile) {
        conversion.m_steps.convert(to, destinationBytes * 8, from, sourceBytes * 8);
        to += destinationBytes * kTexelsPerTile;
        from += sourceBytes * kTexelsPerTile;
    }
    if (count != 0) {
        Tile raw = {}, encoded = {};
        std::memcpy(&raw, from, sourceBytes * count);
        conversion.m_steps.convert(&encoded, destinationBytes * 8, &raw, sourceBytes * 8);
        std::memcpy(to, &encoded, destinationBytes * count);
    }
}

ByteConversion::ByteConversion(Vex::DataFormat from, Vex::DataFormat to)
    : m_direct(from, to), m_copies(LaneSwizzle(from, to).isIdentity()) {}

bool ByteConversion::canConvert(Vex::DataFormat from, Vex::DataFormat to) {
    return from.getSurfaceFormat() == Vex::kSurfaceFormat8_8_8_8 &&
           to.getSurfaceFormat() == Vex::kSurfaceFormat8_8_8_8;
}

void ByteConversion::convert(void* destination, const void* source, std::size_t count,
                             RowStores stores) const {
    if (m_copies) {
        copyRow(destination, source, count * 4, stores);
    } else {
        m_direct.convert(destination, source, count, stores);
    }
}

} // namespace qor::Texsmith::Raw
