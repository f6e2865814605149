// The change of format for runs of elements, all steps chosen once.
//
// A conversion gives, element by element, the bits of the steps of a whole tile: decode, swizzle, decode
// transform, conversion between integers and floats, encode transform, swizzle, encode. It is immutable and
// may run on many threads at once.
#pragma once

#include "raw/memory/row_stores.h"
#include "raw/planes/plane_conversion.h"
#include "raw/rows/direct_conversion.h"
#include "raw/texels/area_conversion.h"

#include <cstddef>

namespace qor::Texsmith::Raw {

// Between formats whose elements are single texels. Takes copies of the configurations, whose textures are
// set and whose transforms are composed.
class RowConversion {
public:
    explicit RowConversion(const TileConversion& steps);

    // Whether both formats have single texels as elements and the functions that it takes.
    static bool canConvert(Vex::DataFormat from, Vex::DataFormat to);

    // Reads exactly `count` elements and writes as many. Source and destination do not overlap.
    void convert(void* destination, const void* source, std::size_t count, RowStores stores) const {
        m_convert(*this, destination, source, count, stores);
    }

private:
    using Convert = void (*)(const RowConversion& conversion, void* destination, const void* source,
                             std::size_t count, RowStores stores);

    static void convertDirectly(const RowConversion& conversion, void* destination, const void* source,
                                std::size_t count, RowStores stores);
    static void convertInPlanes(const RowConversion& conversion, void* destination, const void* source,
                                std::size_t count, RowStores stores);
    static void convertInSteps(const RowConversion& conversion, void* destination, const void* source,
                               std::size_t count, RowStores stores);

    Convert m_convert;
    TileConversion m_steps;
    DirectConversion m_direct;
    PlaneConversion m_planes;
    unsigned m_sourceBytes; // of an element
    unsigned m_destinationBytes;
};

// Between formats of four bytes for four channels, by bytes: both formats' swizzles and nothing else, as
// decodeBlock8 and encodeBlock8 make it.
class ByteConversion {
public:
    ByteConversion(Vex::DataFormat from, Vex::DataFormat to);

    // Whether both formats store texels of four bytes, one for each channel.
    static bool canConvert(Vex::DataFormat from, Vex::DataFormat to);

    void convert(void* destination, const void* source, std::size_t count, RowStores stores) const;

private:
    DirectConversion m_direct;
    bool m_copies; // the swizzles are the identity
};

} // namespace qor::Texsmith::Raw
