#include "raw/memory/byte_triples.h"

#include "simd/dispatch.h"

#include <bit>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

static_assert(std::endian::native == std::endian::little, "pixels are put together as words");

std::size_t moveWide(MoveTriples TripleKernels::*kernel, std::uint8_t* to, const std::uint8_t* from,
                     std::size_t pixels) {
    const TripleKernels* kernels = Simd::mayUseAvx2() ? getTripleKernelsAvx2() : nullptr;
    return kernels != nullptr ? (kernels->*kernel)(to, from, pixels) : 0;
}

} // namespace

// Four pixels from three words at a time.
void widenTriples(std::uint8_t* to, const std::uint8_t* from, std::size_t pixels) {
    constexpr std::uint32_t kMask = 0xFFFFFF;
    const std::size_t done = moveWide(&TripleKernels::m_widen, to, from, pixels);
    from += done * 3;
    to += done * 4;
    pixels -= done;
    for (; pixels >= 4; pixels -= 4, from += 12, to += 16) {
        std::uint32_t in[3];
        std::memcpy(in, from, sizeof in);
        const std::uint32_t out[] = {in[0] & kMask, (in[0] >> 24 | in[1] << 8) & kMask,
                                     (in[1] >> 16 | in[2] << 16) & kMask, in[2] >> 8};
        std::memcpy(to, out, sizeof out);
    }
    for (; pixels > 0; --pixels, from += 3, to += 4) {
        const std::uint8_t out[] = {from[0], from[1], from[2], 0};
        std::memcpy(to, out, sizeof out);
    }
}

void narrowToTriples(std::uint8_t* to, const std::uint8_t* from, std::size_t pixels) {
    const std::size_t done = moveWide(&TripleKernels::m_narrow, to, from, pixels);
    from += done * 4;
    to += done * 3;
    pixels -= done;
    for (; pixels > 1; --pixels, from += 4, to += 3) {
        std::memcpy(to, from, 4); // the fourth byte is written again
    }
    std::memcpy(to, from, pixels * 3);
}

} // namespace qor::Texsmith::Raw
