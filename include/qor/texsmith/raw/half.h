// Half: a 16-bit IEEE 754 half precision value with the arithmetic of a small class.
//
// To float every pattern converts exactly. From float it rounds half up, and every magnitude of 32768 or
// more, infinity and NaN included, deliberately gives +0. The texel codecs have other rules for small floats.
#pragma once

#include "qor/texsmith/export.h"

#include <cstdint>

// Some C libraries have a macro of this name in <math.h>, which would take the place of Half::SNAN. It comes
// back below: where it is there, only SignalingNAN can be called.
#pragma push_macro("SNAN")
#undef SNAN

namespace qor::Texsmith::Raw {

// A plain value of 16 bits. Results of its operators are those of floats, rounded again.
class QOR_TEXSMITH_API Half {
public:
    Half() = default; // unset
    Half(unsigned short bits) : m_bits(bits) {}
    Half(float value);

    operator unsigned short() const { return m_bits; }
    operator float() const;
    Half operator-() const { return Half(static_cast<unsigned short>(m_bits ^ 0x8000)); }
    Half& operator+=(Half other);
    Half& operator-=(Half other);
    Half& operator*=(Half other);
    Half& operator/=(Half other);
    Half& operator+=(float other);
    Half& operator-=(float other);
    Half& operator*=(float other);
    Half& operator/=(float other);

    bool IsZero() const { return (m_bits & 0x7FFF) == 0; }
    bool IsNegative() const { return (m_bits & 0x8000) != 0; }
    bool IsNormalized() const { return exponent() >= 1 && exponent() <= 30; }
    bool IsDenormalized() const { return exponent() == 0 && mantissa() != 0; }
    bool IsFinite() const { return exponent() < 31; }
    bool IsInf() const { return exponent() == 31 && mantissa() == 0; }
    bool IsNAN() const { return exponent() == 31 && mantissa() != 0; }

    static Half PosInf() { return Half(static_cast<unsigned short>(0x7C00)); }
    static Half NegInf() { return Half(static_cast<unsigned short>(0xFC00)); }
    static Half QNAN() { return Half(static_cast<unsigned short>(0x7FFF)); }
    static Half SignalingNAN() { return Half(static_cast<unsigned short>(0x7DFF)); }
    static Half SNAN() { return SignalingNAN(); }

    // The tables are constant: these three do nothing.
    static void InitializeTables() {}
    static void InitExpLUT() {}
    static void InitToFloatLUT() {}
    // Converts sample values and reports each that comes out wrong.
    static void UnitTest();

    static constexpr bool s_initialized = true;

private:
    friend struct HalfAccess; // the tests' door to the slow path

    unsigned exponent() const { return m_bits >> 10 & 31; }
    unsigned mantissa() const { return m_bits & 0x3FF; }
    static float Overflow();
    static short Convert(int floatBits);
    static int Convert(short halfBits);

    std::uint16_t m_bits;
};

static_assert(sizeof(Half) == 2);

} // namespace qor::Texsmith::Raw

#pragma pop_macro("SNAN")
