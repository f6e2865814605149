// The loops of PlaneConversion: runs of one plane or one word, without a question about formats inside.
//
// A plane holds one 32-bit lane of each of up to kPlaneTexels texels. Words are planes of the 32-bit words
// that elements are made of; elements of one or two bytes are widened to a word. Every count is a multiple of
// kPlaneStep. All kernels of a table give the bits of the generic codec.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

inline constexpr std::size_t kPlaneTexels = 256;
inline constexpr std::size_t kPlaneStep = 8;

// A channel of n bits, as the conversions need it.
struct PlaneChannel {
    unsigned m_shift;      // inside its word
    std::uint32_t m_most;  // (1 << n) - 1
    std::uint32_t m_half;  // 1 << (n - 1)
    float m_unormScale;    // to 0..1
    float m_snormScale;    // to -1..1
    float m_mostAsFloat;   // m_most
    float m_halfAsFloat;   // m_half
    float m_signedAsFloat; // m_half - 1
    unsigned m_floatShift; // from the mantissa of a small float to that of a float
    const float* m_table;  // of all values, for those that are looked up
    unsigned m_plane;      // what is encoded
};

// How the channels of one word come together.
struct PlaneWord {
    PlaneChannel m_channels[4];
    std::uint32_t m_constant; // bits of channels that are alike in all texels
};

// Reads four planes that lie anywhere and writes four neighbours.
struct PlaneTransform {
    unsigned m_from[4];
    unsigned m_to;
    float m_multiply[4][4];
    float m_add[4];
};

using GatherWords = void (*)(std::uint32_t* words, const void* source, std::size_t count);
using ScatterWords = void (*)(void* destination, const std::uint32_t* words, std::size_t count);
using DecodePlane = void (*)(std::uint32_t* plane, const void* words, const PlaneChannel& channel,
                             std::size_t count);
using EncodeWord = void (*)(void* words, const std::uint32_t* planes, const PlaneWord& word,
                            std::size_t count);
using ConvertPlane = void (*)(std::uint32_t* plane, std::size_t count);
using TransformPlanes = void (*)(std::uint32_t* planes, const PlaneTransform& transform, std::size_t count);

// The numbers of the channel types stand for themselves, Float for small floats without a sign; these kinds
// are added. sRGB has no kernels.
enum : unsigned {
    kPlaneSignedFloat = 8,
    kPlaneUNormInRange = 9, // of values that cannot round to above 1
    kPlaneSharedExponent = 14,
    kPlaneIdentity = 15, // whole words
    kPlaneKinds = 16
};

// Null where a table has none: then the base line's serves.
struct PlaneKernels {
    GatherWords m_gather[17]; // by bytes of an element; there is none for 4
    ScatterWords m_scatter[17];
    DecodePlane m_decode[kPlaneKinds];
    EncodeWord m_encode[kPlaneKinds][5]; // by channels of the word
    ConvertPlane m_toFloats;
    ConvertPlane m_toInts;
    TransformPlanes m_transform;
};

extern const PlaneKernels g_planeKernels;
// Null where the build has none.
const PlaneKernels* getPlaneKernelsAvx2();

} // namespace qor::Texsmith::Raw
