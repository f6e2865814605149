// The endpoint words of a block of BC6H, taken out by shifts that are known at compile time.
#pragma once

#include "raw/blocks/bc6_tables.h"

#include <utility>

namespace qor::Texsmith::Raw {

// `Build` is a type of the file that instantiates it, so that files for different instruction sets share no
// instance.
template <typename Build, unsigned kNumber> class Bc6EndpointBits {
public:
    // Endpoints and differences as they are stored: R, G, B from the lowest word of each number on.
    static void take(std::uint64_t (&ends)[4], std::uint64_t low, std::uint64_t high) {
        for (std::uint64_t& end : ends) {
            end = 0;
        }
        takeFields(ends, low, high, std::make_integer_sequence<unsigned, kBc6Layouts[kNumber].m_count>());
    }

private:
    template <unsigned... kFields>
    static void takeFields(std::uint64_t (&ends)[4], std::uint64_t low, std::uint64_t high,
                           std::integer_sequence<unsigned, kFields...>) {
        (takeField<kFields>(ends, low, high), ...);
    }

    static constexpr unsigned placeOf(unsigned number) {
        unsigned at = kBc6ModeTable[kNumber].m_bitCount;
        for (unsigned i = 0; i < number; ++i) {
            at += kBc6Layouts[kNumber].m_fields[i].bits();
        }
        return at;
    }

    template <unsigned kField>
    static void takeField(std::uint64_t (&ends)[4], std::uint64_t low, std::uint64_t high) {
        constexpr Bc6Field kWhich = kBc6Layouts[kNumber].m_fields[kField];
        constexpr unsigned kAt = placeOf(kField), kBits = kWhich.bits();
        constexpr bool kRunsDown = kWhich.m_first > kWhich.m_last;
        constexpr unsigned kTo = kWhich.m_word % 3 * 16u + (kRunsDown ? kWhich.m_last : kWhich.m_first);
        constexpr std::uint64_t kMask = (std::uint64_t{1} << kBits) - 1;
        std::uint64_t& end = ends[kWhich.m_word / 3];
        if constexpr (kRunsDown) {
            const std::uint64_t bits = bitsFrom<kAt, 0, kBits>(low, high) & kMask;
            for (unsigned bit = 0; bit < kBits; ++bit) {
                end |= (bits >> bit & 1) << (kTo + kBits - 1 - bit);
            }
        } else {
            end |= bitsFrom<kAt, kTo, kBits>(low, high) & kMask << kTo;
        }
    }

    // The block moved so that bit kAt stands at kTo.
    template <unsigned kAt, unsigned kTo, unsigned kBits>
    static std::uint64_t bitsFrom(std::uint64_t low, std::uint64_t high) {
        if constexpr (kAt < 64 && kAt + kBits > 64) {
            return (low >> kAt | high << (64 - kAt)) << kTo;
        } else {
            constexpr unsigned kFrom = kAt % 64;
            const std::uint64_t half = kAt < 64 ? low : high;
            return kFrom >= kTo ? half >> (kFrom >= kTo ? kFrom - kTo : 0)
                                : half << (kFrom >= kTo ? 0 : kTo - kFrom);
        }
    }
};

} // namespace qor::Texsmith::Raw
