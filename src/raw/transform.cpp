// Colour matrices and powers on runs of texels, and how such steps are put together.
#include "qor/texsmith/raw/transform.h"

#include "raw/frame/check.h"
#include "simd/canonical_nan.h"
#include "simd/lanes4.h"
#include "simd/power.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\transform";
constexpr Matrix kIdentity = {{{{1, 0, 0, 0}}, {{0, 1, 0, 0}}, {{0, 0, 1, 0}}, {{0, 0, 0, 1}}}};

using Simd::Float4;

Float4 canonical(Float4 a) { return Simd::canonical<Simd::Lanes4>(a); }

bool allEqual(const VectorFloat& vector, float value) {
    return vector[0] == value && vector[1] == value && vector[2] == value && vector[3] == value;
}

bool areEqual(const VectorFloat& a, const VectorFloat& b) {
    return a[0] == b[0] && a[1] == b[1] && a[2] == b[2] && a[3] == b[3];
}

class LoadedMadd {
public:
    explicit LoadedMadd(const Madd& madd)
        : m_x(Simd::loadFloats(&madd.m_multiply[0])), m_y(Simd::loadFloats(&madd.m_multiply[1])),
          m_z(Simd::loadFloats(&madd.m_multiply[2])), m_w(Simd::loadFloats(&madd.m_multiply[3])),
          m_add(Simd::loadFloats(&madd.m_add)) {}

    Float4 multiply(const float* v) const {
        return ((m_x * Simd::splat(v[0]) + m_y * Simd::splat(v[1])) + m_z * Simd::splat(v[2])) +
               m_w * Simd::splat(v[3]);
    }
    Float4 apply(const float* v) const { return multiply(v) + m_add; }

private:
    Float4 m_x, m_y, m_z, m_w, m_add;
};

// The kinds of power, chosen once for a run by all four lanes together.
struct PowerOfOne {
    Float4 operator()(Float4 v) const { return v; }
};
struct Square {
    Float4 operator()(Float4 v) const { return v * v; }
};
struct SquareRoot {
    Float4 operator()(Float4 v) const { return Simd::squareRoot(v); }
};
// Works on the bits of its input, so that those of a NaN decide what comes out.
struct AnyPower {
    Float4 m_power;
    Float4 operator()(Float4 v) const {
        return Simd::exp2Approximately(m_power * Simd::log2Approximately(v));
    }
};

template <typename Run> void withPower(const VectorFloat& power, Run run) {
    if (allEqual(power, 1.0f)) {
        run(PowerOfOne());
    } else if (allEqual(power, 2.0f)) {
        run(Square());
    } else if (allEqual(power, 0.5f)) {
        run(SquareRoot());
    } else {
        run(AnyPower{Simd::loadFloats(&power)});
    }
}

void decodeRun(const Transform& transform, VectorFloat* texels, int count) {
    const LoadedMadd madd(transform);
    withPower(transform.m_power, [&](auto power) {
        for (int i = 0; i < count; ++i) {
            VectorFloat raised;
            Simd::store(&raised, power(Simd::loadFloats(&texels[i])));
            Simd::store(&texels[i], canonical(madd.apply(raised.m_lanes)));
        }
    });
}

void encodeRun(const Transform& transform, VectorFloat* texels, int count) {
    const LoadedMadd madd(transform);
    withPower(transform.m_power, [&](auto power) {
        for (int i = 0; i < count; ++i) {
            Simd::store(&texels[i], canonical(power(canonical(madd.apply(texels[i].m_lanes)))));
        }
    });
}

VectorFloat multiplied(const VectorFloat& a, const VectorFloat& b) {
    return Simd::canonical<Simd::Lanes4>(VectorFloat{{a[0] * b[0], a[1] * b[1], a[2] * b[2], a[3] * b[3]}});
}

} // namespace

void Madd::Init() {
    m_multiply = kIdentity;
    m_add = {};
}

bool Madd::isNop() const {
    bool nop = allEqual(m_add, 0.0f);
    for (unsigned row = 0; row < 4; ++row) {
        nop = nop && areEqual(m_multiply[row], kIdentity[row]);
    }
    return nop;
}

void Transform::Init() {
    Madd::Init();
    m_power = {{1, 1, 1, 1}};
}

void Transform::Init(const Madd& madd) {
    static_cast<Madd&>(*this) = madd;
    m_power = {{1, 1, 1, 1}};
}

bool Transform::isNop() const { return allEqual(m_power, 1.0f) && Madd::isNop(); }

void Transform::Decode(VectorFloat* vectorFloat, int count) const {
    if (checkNotNull(vectorFloat, kSourcePath, "vectorFloat must not be NULL.")) {
        decodeRun(*this, vectorFloat, count);
    }
}

void Transform::Decode(Block* block) const {
    if (checkNotNull(block, kSourcePath, "block must not be NULL.")) {
        decodeRun(*this, block->m_texels, 16);
    }
}

void Transform::Decode(Tile* tile) const {
    if (checkNotNull(tile, kSourcePath, "tile must not be NULL.")) {
        decodeRun(*this, tile->m_texels, 64);
    }
}

void Transform::Encode(VectorFloat* vectorFloat, int count) const {
    if (checkNotNull(vectorFloat, kSourcePath, "vectorFloat must not be NULL.")) {
        encodeRun(*this, vectorFloat, count);
    }
}

void Transform::Encode(Block* block) const {
    if (checkNotNull(block, kSourcePath, "block must not be NULL.")) {
        encodeRun(*this, block->m_texels, 16);
    }
}

void Transform::Encode(Tile* tile) const {
    if (checkNotNull(tile, kSourcePath, "tile must not be NULL.")) {
        encodeRun(*this, tile->m_texels, 64);
    }
}

Modifiers::Modifiers() {
    m_decode.Init();
    m_encode.Init();
}

void Modifiers::appendMadd(const Madd& madd) {
    static_cast<Madd&>(m_decode) = composeMadd(m_decode, madd);
    static_cast<Madd&>(m_encode) = composeMadd(madd, m_encode);
}

void Modifiers::prependMadd(const Madd& madd) {
    static_cast<Madd&>(m_decode) = composeMadd(madd, m_decode);
    static_cast<Madd&>(m_encode) = composeMadd(m_encode, madd);
}

void Modifiers::appendPower(VectorFloat power) {
    m_decode.m_power = multiplied(m_decode.m_power, power);
    m_encode.m_power = multiplied(m_encode.m_power, power);
}

void Modifiers::prependPower(VectorFloat power) { appendPower(power); }

Madd composeMadd(const Madd& first, const Madd& then) {
    const LoadedMadd outer(then);
    Madd result;
    for (unsigned row = 0; row < 4; ++row) {
        Simd::store(&result.m_multiply[row], canonical(outer.multiply(first.m_multiply[row].m_lanes)));
    }
    Simd::store(&result.m_add, canonical(outer.apply(first.m_add.m_lanes)));
    return result;
}

Madd maddFromRange(const MinMax& range) {
    Madd result = {};
    for (unsigned lane = 0; lane < 4; ++lane) {
        const float extent = range.max[lane] - range.min[lane];
        const float scale = extent == 0.0f ? 0.0f : 1.0f / extent;
        result.m_multiply[lane][lane] = scale;
        result.m_add[lane] = 0.0f - range.min[lane] * scale;
    }
    return result;
}

Madd maddFromRangeToRange(const MinMax& from, const MinMax& to) {
    Madd result = {};
    for (unsigned lane = 0; lane < 4; ++lane) {
        const float extent = from.max[lane] - from.min[lane];
        const float scale = extent == 0.0f ? 0.0f : (to.max[lane] - to.min[lane]) / extent;
        result.m_multiply[lane][lane] = scale;
        result.m_add[lane] = to.min[lane] - from.min[lane] * scale;
    }
    return result;
}

} // namespace qor::Texsmith::Raw
