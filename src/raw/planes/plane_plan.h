// What PlaneConversion does to each run of texels, decided once.
//
// Planes live in one buffer, each kind at its place:
//
//   0..3 decoded channels | 4..7, 8..11 after the decode and encode transform | 12..18 constants | 19..21
//   sRGB
#pragma once

#include "raw/planes/plane_kernels.h"
#include "raw/texels/area_conversion.h"

namespace qor::Texsmith::Raw {

inline constexpr unsigned kPlaneOfDecodeTransform = 4;
inline constexpr unsigned kPlaneOfEncodeTransform = 8;
inline constexpr unsigned kPlaneOfConstants = 12;
inline constexpr unsigned kPlaneOfSrgb = 19;
inline constexpr unsigned kPlaneCount = 22;

// A few of something, in order.
template <typename Item, unsigned kMost> struct FixedList {
    Item m_items[kMost];
    unsigned m_count = 0;

    void add(const Item& item) { m_items[m_count++] = item; }
    const Item* begin() const { return m_items; }
    const Item* end() const { return m_items + m_count; }
};

struct PlaneDecodeStep {
    DecodePlane m_run;
    PlaneChannel m_channel;
    unsigned m_word;
    unsigned m_plane;
};
struct PlaneFill {
    unsigned m_plane;
    std::uint32_t m_bits;
};
struct PlaneCurve { // linear to sRGB
    unsigned m_from;
    unsigned m_to;
};
struct PlaneEncodeStep {
    EncodeWord m_run;
    PlaneWord m_word;
};

struct PlanePlan {
    unsigned m_sourceBytes; // of an element
    unsigned m_destinationBytes;
    FixedList<PlaneFill, kPlaneOfSrgb - kPlaneOfConstants> m_fills;
    GatherWords m_gather; // null where the elements are the words
    FixedList<PlaneDecodeStep, 4> m_decode;
    FixedList<PlaneTransform, 1> m_decodeTransform;
    ConvertPlane m_convert;
    FixedList<unsigned, 4> m_converted; // planes
    FixedList<PlaneTransform, 1> m_encodeTransform;
    TransformPlanes m_transform;
    FixedList<PlaneCurve, 3> m_curves;
    FixedList<PlaneEncodeStep, 4> m_encode; // one for each word
    ScatterWords m_scatter;                 // null where the words are the elements
};

// False where the steps do something that planes do not: powers, channels of 32 bits other than floats and
// whole numbers, channel types without a meaning, elements that are not texels.
bool makePlanePlan(PlanePlan* plan, const TileConversion& steps);

} // namespace qor::Texsmith::Raw
