// Floats by their bits, and repeatable random words.
#pragma once

#include "qor/texsmith/raw/vector_math.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <random>

namespace TestSupport {

inline std::uint32_t bitsOf(float value) { return std::bit_cast<std::uint32_t>(value); }
inline float floatOf(std::uint32_t bits) { return std::bit_cast<float>(bits); }
inline std::uint32_t laneBits(const qor::Texsmith::Raw::VectorFloat& texel, unsigned lane) {
    return std::bit_cast<std::array<std::uint32_t, 4>>(texel)[lane];
}
inline bool runsSlowly() { return std::getenv("TEXSMITH_SLOW") != nullptr; }

class RandomBits {
public:
    std::uint32_t word() { return static_cast<std::uint32_t>(m_engine()); }
    // What encoders meet: any bits, values about the unit range, numbers of any size, and the odd ones.
    std::uint32_t lane() {
        static constexpr float kUnits[] = {0.0f, -0.0f, 1.0f, -1.0f, 0.5f, -0.5f, 2.0f, 1e-10f};
        static constexpr std::uint32_t kOdd[] = {0x7F800000, 0xFF800000, 0x7FC00000, 0xFFC00001, 0x7F800001,
                                                 0x00000001, 0x80000001, 0x4F800000, 0xCF000000, 0x4B7FFFFF};
        const std::uint32_t random = word();
        switch (word() % 6) {
        case 0:
            return random;
        case 1:
            return bitsOf(kUnits[random % 8]);
        case 2:
            return kOdd[random % 10];
        case 3:
            return random >> random % 32;
        case 4:
            return bitsOf(static_cast<float>(static_cast<std::int32_t>(random) >> random % 32) + 0.5f);
        default:
            return bitsOf(static_cast<float>(random) * 0x1.8p-31f - 1.5f);
        }
    }
    void fill(void* bytes, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            static_cast<std::uint8_t*>(bytes)[i] = static_cast<std::uint8_t>(m_engine());
        }
    }

private:
    std::mt19937 m_engine{20240607};
};

} // namespace TestSupport
