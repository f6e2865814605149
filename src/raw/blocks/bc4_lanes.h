// The inner loops of the BC4 fit on 16 words at a time.
//
// `Words` is a vector of 16 signed words, or two of eight, with the operations of lanes4.h that are needed
// here, for words; and with a palette of eight entries, of which it makes vectors.
#pragma once

#include "raw/blocks/bc4_kernels.h"

#include <utility>

namespace qor::Texsmith::Raw {

template <typename Words> class Bc4Lanes {
public:
    static constexpr Bc4Kernels makeKernels() { return {&findErrors, &findSums, &findCodes}; }

private:
    using Palette = typename Words::Palette;
    using LaterEntries = std::integer_sequence<int, 1, 2, 3, 4, 5, 6, 7>;

    template <int kEntry> static Words distanceTo(Words values, Palette palette) {
        return absolute(values - Words::template entry<kEntry>(palette));
    }

    template <int... kEntries>
    static Words nearestDistances(Words values, Palette palette, std::integer_sequence<int, kEntries...>) {
        Words best = distanceTo<0>(values, palette);
        ((best = minimumSigned(best, distanceTo<kEntries>(values, palette))), ...);
        return best;
    }

    template <int kEntry> static void compareWith(Words values, Palette palette, Words* best, Words* codes) {
        const Words distance = distanceTo<kEntry>(values, palette);
        *codes = select(greaterSigned(*best, distance), Words::splat(kEntry), *codes);
        *best = minimumSigned(*best, distance);
    }
    template <int... kEntries>
    static Words nearestCodes(Words values, Palette palette, std::integer_sequence<int, kEntries...>) {
        Words best = distanceTo<0>(values, palette), codes = Words::splat(0);
        (compareWith<kEntries>(values, palette, &best, &codes), ...);
        return codes;
    }

    static void findErrors(const Bc4Values& values, const Bc4Mode& mode, const Bc4Endpoints* ends,
                           unsigned count, std::uint32_t* errors) {
        const Words texels = Words::load(values.m_texels);
        for (unsigned i = 0; i < count; ++i) {
            const Words distances =
                nearestDistances(texels, Words::makePalette(mode, ends[i]), LaterEntries());
            errors[i] = dot(distances, distances);
        }
    }

    static Bc4Sums findSums(const Bc4Values& values, const Bc4Mode& mode, Bc4Endpoints ends) {
        const Words texels = Words::load(values.m_texels);
        const Words codes = nearestCodes(texels, Words::makePalette(mode, ends), LaterEntries());
        const Words first = Words::lookUp(mode.m_first, codes), second = Words::lookUp(mode.m_second, codes);
        const auto sum = [](Words a, Words b) { return static_cast<std::int32_t>(dot(a, b)); };
        return {sum(first, first), sum(first, second), sum(second, second), sum(first, texels),
                sum(second, texels)};
    }

    static void findCodes(const Bc4Values& values, const Bc4Mode& mode, Bc4Endpoints ends,
                          std::uint16_t* codes) {
        const Words texels = Words::load(values.m_texels);
        store(codes, nearestCodes(texels, Words::makePalette(mode, ends), LaterEntries()));
    }
};

} // namespace qor::Texsmith::Raw
