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
    // What encoders meet: any bits, numbers of any size, values about the unit range, and the odd ones.
    std::uint32_t lane() {
        static constexpr std::uint32_t kOdd[] = {0x7F800000, 0xFF800000, 0x7FC00000, 0xFFC00001,
                                                 0x00000001, 0x80000000, 0x4F800000, 0xCF000000};
        const std::uint32_t random = word();
        const float number = static_cast<float>(static_cast<std::int32_t>(random) >> random % 32) + 0.5f;
        const std::uint32_t kinds[] = {random,
                                       random >> random % 32,
                                       kOdd[random % 8],
                                       bitsOf(number),
                                       bitsOf(static_cast<float>(random % 7) * 0.5f - 1.5f),
                                       bitsOf(static_cast<float>(random) * 0x1.8p-31f - 1.5f)};
        return kinds[word() % 6];
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
