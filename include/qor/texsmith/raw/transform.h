// Colour transforms between a stored texel and a working VectorFloat.
//
// Decode: power, then matrix. Encode: matrix, then power. Results are the same bits on every machine: a
// product is ((X*x + Y*y) + Z*z) + W*w, then + add, without fused multiply-add. The power of all ones does
// nothing, of all twos squares, of all halves takes the exact square root; any other goes through
// approximations of exp2 and log2 (about 3e-6 relative) that check for no zero, negative or non-finite input.
// Where a result is a NaN it is the quiet one of no payload, 0x7FC00000. Null arguments are reported and
// nothing is done. The objects are plain values; const members may be called from any number of threads.
//
//     Modifiers modifiers;                           // do nothing
//     modifiers.m_decode.Init(maddFromRange(range)); // what `range` spans is read as 0..1
//     image.setModifiers(modifiers);                 // for reformat, mips and measures
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/vector_math.h"

namespace qor::Texsmith::Raw {

// y = M x + b.
struct QOR_TEXSMITH_API Madd {
    Matrix m_multiply;
    VectorFloat m_add;

    void Init(); // the identity
    bool isNop() const;
};

// y = M x + b and a power for each channel, in the order that the use asks for.
struct QOR_TEXSMITH_API Transform : Madd {
    VectorFloat m_power;

    void Init();
    void Init(const Madd& madd); // with a power of one
    bool isNop() const;

    // In place. `count` is in texels.
    void Decode(VectorFloat* vectorFloat, int count) const;
    void Decode(Block* block) const;
    void Decode(Tile* tile) const;
    void Encode(VectorFloat* vectorFloat, int count) const;
    void Encode(Block* block) const;
    void Encode(Tile* tile) const;
};

// The pair that every provider carries: what its texels pass through when read and when written. 192 bytes.
struct QOR_TEXSMITH_API Modifiers {
    Transform m_decode;
    Transform m_encode;

    Modifiers();
    void appendMadd(const Madd& madd);  // last in decode, first in encode
    void prependMadd(const Madd& madd); // first in decode, last in encode
    // Deliberately the same: each multiplies both powers, lane by lane.
    void appendPower(VectorFloat power);
    void prependPower(VectorFloat power);
};

static_assert(sizeof(Madd) == 80 && sizeof(Transform) == 96 && sizeof(Modifiers) == 192);

// Applies `first` and then `then`.
QOR_TEXSMITH_API Madd composeMadd(const Madd& first, const Madd& then);
// Maps `range` to 0..1 lane by lane; a lane of zero extent gets a zero scale.
QOR_TEXSMITH_API Madd maddFromRange(const MinMax& range);
QOR_TEXSMITH_API Madd maddFromRangeToRange(const MinMax& from, const MinMax& to);

} // namespace qor::Texsmith::Raw
