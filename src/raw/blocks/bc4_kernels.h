// The inner loops of the BC4 fit: 16 values against palettes. Whole numbers throughout, so that every kernel
// gives the same.
#pragma once

#include <cstdint>

namespace qor::Texsmith::Raw {

// Entry i of a palette is first[i] * a + second[i] * b + constant[i], in 64ths of a level.
struct Bc4Mode {
    alignas(16) std::int16_t m_first[8];
    alignas(16) std::int16_t m_second[8];
    alignas(16) std::int16_t m_constant[8];
};

struct Bc4Endpoints {
    std::int16_t a, b; // in levels
};

// Values in 64ths of a level, from -8128 or 0 to 8128 or 16320.
struct Bc4Values {
    alignas(32) std::int16_t m_texels[16];
};

// Over the texels, with the weights of the entry nearest to each: what the normal equations need.
struct Bc4Sums {
    std::int32_t m_firstFirst, m_firstSecond, m_secondSecond;
    std::int32_t m_firstValue, m_secondValue;
};

struct Bc4Kernels {
    // Sums of squared distances to the nearest entry, for `count` pairs of endpoints. They fit 32 bits.
    void (*m_errors)(const Bc4Values& values, const Bc4Mode& mode, const Bc4Endpoints* ends, unsigned count,
                     std::uint32_t* errors);
    Bc4Sums (*m_sums)(const Bc4Values& values, const Bc4Mode& mode, Bc4Endpoints ends);
    // The number of the nearest entry; the lowest of equals.
    void (*m_codes)(const Bc4Values& values, const Bc4Mode& mode, Bc4Endpoints ends, std::uint16_t* codes);
};

const Bc4Kernels* bc4KernelsScalar();
// Null where the build has none.
const Bc4Kernels* bc4KernelsAvx2();
const Bc4Kernels* bc4KernelsSse2();

} // namespace qor::Texsmith::Raw
