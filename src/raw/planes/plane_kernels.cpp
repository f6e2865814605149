#include "raw/planes/plane_kernels.h"

#include "raw/planes/plane_kernels_lanes.h"
#include "simd/float4.h"

#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

struct FourLanes {
    using Float = Simd::Float4;
    using Int = Simd::Int4;
    static constexpr std::size_t kLanes = 4;

    static Int ints(std::uint32_t value) { return Simd::splat(value); }
    static Float floats(float value) { return Simd::splat(value); }
    static Int load(const void* source) { return Simd::loadInts(source); }
    static auto count(unsigned bits) { return Simd::shiftCount(bits); }
    template <int kBits> static Int shiftLeftBy(Int a) { return Simd::shiftLeft<kBits>(a); }
    template <int kBits> static Int shiftRightBy(Int a) { return Simd::shiftRight<kBits>(a); }
};

void gatherBytes(std::uint32_t* words, const void* source, std::size_t count) {
    const auto* from = static_cast<const std::uint8_t*>(source);
    for (std::size_t i = 0; i < count; i += 4) {
        std::uint32_t bytes;
        std::memcpy(&bytes, from + i, sizeof bytes);
        Simd::store(words + i, Simd::fromBytes(bytes));
    }
}

void scatterBytes(void* destination, const std::uint32_t* words, std::size_t count) {
    auto* to = static_cast<std::uint8_t*>(destination);
    for (std::size_t i = 0; i < count; i += 4) {
        const std::uint32_t bytes = Simd::toBytes(Simd::loadInts(words + i));
        std::memcpy(to + i, &bytes, sizeof bytes);
    }
}

void gatherPairs(std::uint32_t* words, const void* source, std::size_t count) {
    const auto* from = static_cast<const std::uint8_t*>(source);
    for (std::size_t i = 0; i < count; i += 4) {
        std::uint64_t pairs;
        std::memcpy(&pairs, from + 2 * i, sizeof pairs);
        Simd::store(words + i, Simd::fromWords(pairs));
    }
}

void scatterPairs(void* destination, const std::uint32_t* words, std::size_t count) {
    auto* to = static_cast<std::uint8_t*>(destination);
    for (std::size_t i = 0; i < count; i += 4) {
        const std::uint64_t pairs = Simd::toWords(Simd::loadInts(words + i));
        std::memcpy(to + 2 * i, &pairs, sizeof pairs);
    }
}

template <unsigned kWords> void gatherWords(std::uint32_t* words, const void* source, std::size_t count) {
    const auto* from = static_cast<const std::uint8_t*>(source);
    for (std::size_t i = 0; i < count; ++i, from += 4 * kWords) {
        for (unsigned word = 0; word < kWords; ++word) {
            std::memcpy(&words[word * kPlaneTexels + i], from + 4 * word, 4);
        }
    }
}

template <unsigned kWords>
void scatterWords(void* destination, const std::uint32_t* words, std::size_t count) {
    auto* to = static_cast<std::uint8_t*>(destination);
    for (std::size_t i = 0; i < count; ++i, to += 4 * kWords) {
        for (unsigned word = 0; word < kWords; ++word) {
            std::memcpy(to + 4 * word, &words[word * kPlaneTexels + i], 4);
        }
    }
}

// Four words are the rows of a square.
void gatherFours(std::uint32_t* words, const void* source, std::size_t count) {
    const auto* from = static_cast<const std::uint8_t*>(source);
    for (std::size_t i = 0; i < count; i += 4, from += 64) {
        Simd::Float4 rows[4] = {Simd::loadFloats(from), Simd::loadFloats(from + 16),
                                Simd::loadFloats(from + 32), Simd::loadFloats(from + 48)};
        Simd::transpose(rows);
        for (unsigned word = 0; word < 4; ++word) {
            Simd::store(&words[word * kPlaneTexels + i], rows[word]);
        }
    }
}

void scatterFours(void* destination, const std::uint32_t* words, std::size_t count) {
    auto* to = static_cast<std::uint8_t*>(destination);
    for (std::size_t i = 0; i < count; i += 4, to += 64) {
        Simd::Float4 rows[4];
        for (unsigned word = 0; word < 4; ++word) {
            rows[word] = Simd::loadFloats(&words[word * kPlaneTexels + i]);
        }
        Simd::transpose(rows);
        for (unsigned texel = 0; texel < 4; ++texel) {
            Simd::store(to + 16 * texel, rows[texel]);
        }
    }
}

constexpr PlaneKernels makeBaseKernels() {
    PlaneKernels kernels = Planes::makeKernels<FourLanes>();
    kernels.m_gather[1] = &gatherBytes;
    kernels.m_gather[2] = &gatherPairs;
    kernels.m_gather[8] = &gatherWords<2>;
    kernels.m_gather[12] = &gatherWords<3>;
    kernels.m_gather[16] = &gatherFours;
    kernels.m_scatter[1] = &scatterBytes;
    kernels.m_scatter[2] = &scatterPairs;
    kernels.m_scatter[8] = &scatterWords<2>;
    kernels.m_scatter[12] = &scatterWords<3>;
    kernels.m_scatter[16] = &scatterFours;
    return kernels;
}

} // namespace

constinit const PlaneKernels g_planeKernels = makeBaseKernels();

} // namespace qor::Texsmith::Raw
