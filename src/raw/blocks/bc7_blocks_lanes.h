// Blocks of BC7 in lanes: their texels, and the candidates that are made of them.
#pragma once

#include "raw/blocks/bc7_fields.h"
#include "raw/blocks/bc7_quantise_lanes.h"

#include <cstddef>

namespace qor::Texsmith::Raw::Bc7Lanes {

// One block in each lane.
template <typename Lanes> struct BlockTexels {
    using Float = typename Lanes::Float;
    Float m_channels[16][4]; // 0..1
    Float m_means[4];
    Float m_centred[16][4]; // minus the means

    // Sixteen texels of four floats for each block, one behind the other. Blocks without alpha have it at 1.
    BlockTexels(const float* blocks, bool hasAlpha) {
        for (unsigned i = 0; i < 16; ++i) {
            Lanes::loadTexels(m_channels[i], blocks + 4 * i, 64);
            m_channels[i][3] = hasAlpha ? m_channels[i][3] : Lanes::splat(1.0f);
        }
        for (unsigned channel = 0; channel < 4; ++channel) {
            m_means[channel] = sumOf(0, 16, channel) * Lanes::splat(1.0f / 16.0f);
            for (auto& texel : m_centred) {
                texel[channel] = m_channels[&texel - m_centred][channel] - m_means[channel];
            }
        }
    }

private:
    // By halves, so that the mean of equal texels is their value.
    Float sumOf(unsigned first, unsigned count, unsigned channel) const {
        return count == 1 ? m_channels[first][channel]
                          : sumOf(first, count / 2, channel) + sumOf(first + count / 2, count / 2, channel);
    }
};

// What a candidate stores, for each lane: rows of vectors throughout.
template <typename Lanes> struct Candidates {
    static constexpr unsigned kCount = Lanes::kCount;
    alignas(32) std::uint32_t m_modes[kCount];
    alignas(32) std::uint32_t m_partitions[kCount];
    alignas(32) std::uint32_t m_rotations[kCount];
    alignas(32) std::uint32_t m_selections[kCount];
    alignas(32) std::uint32_t m_codes[3][2][4][kCount];
    alignas(32) std::uint32_t m_pBits[3][2][kCount];
    alignas(32) std::uint32_t m_indices[16][kCount];
    alignas(32) std::uint32_t m_scalarIndices[16][kCount];
    alignas(32) float m_scores[kCount]; // squares of what the decoded texels miss, over four channels

    void setKind(unsigned mode, typename Lanes::Int partitions, typename Lanes::Int rotations,
                 unsigned selection) {
        store(m_modes, Lanes::splat(mode));
        store(m_partitions, partitions);
        store(m_rotations, rotations);
        store(m_selections, Lanes::splat(selection));
    }

    template <int kBits> void setIndices(const typename Lanes::Float (&weights)[16]) {
        for (unsigned i = 0; i < 16; ++i) {
            store(m_indices[i], indexOf<Lanes, kBits>(weights[i]));
        }
    }
    template <int kBits> void setScalarIndices(const typename Lanes::Float (&weights)[16]) {
        for (unsigned i = 0; i < 16; ++i) {
            store(m_scalarIndices[i], indexOf<Lanes, kBits>(weights[i]));
        }
    }

    // Takes another candidate in the lanes of a mask.
    void take(const Candidates& other, typename Lanes::Int mask) {
        static_assert(sizeof(Candidates) % sizeof m_modes == 0);
        auto* to = reinterpret_cast<unsigned char*>(this);
        const auto* from = reinterpret_cast<const unsigned char*>(&other);
        for (std::size_t at = 0; at < sizeof(Candidates); at += sizeof m_modes) {
            store(to + at, select(mask, Lanes::loadInts(from + at), Lanes::loadInts(to + at)));
        }
    }
    // Takes it where it decodes better.
    void takeBetter(const Candidates& other, typename Lanes::Int mask) {
        take(other, mask & less(Lanes::loadFloats(other.m_scores), Lanes::loadFloats(m_scores)));
    }

    template <int kSubsets> void setEnds(const QuantisedEnds<Lanes, kSubsets>& ends) {
        for (int subset = 0; subset < kSubsets; ++subset) {
            for (int end = 0; end < 2; ++end) {
                store(m_pBits[subset][end], ends.m_pBits[subset][end]);
                for (int channel = 0; channel < 4; ++channel) {
                    store(m_codes[subset][end][channel], ends.m_codes[subset][end][channel]);
                }
            }
        }
    }

    Bc7Fields fieldsOf(unsigned lane) const {
        Bc7Fields fields = {};
        fields.m_mode = static_cast<std::uint8_t>(m_modes[lane]);
        fields.m_partition = static_cast<std::uint8_t>(m_partitions[lane]);
        fields.m_rotation = static_cast<std::uint8_t>(m_rotations[lane]);
        fields.m_selection = static_cast<std::uint8_t>(m_selections[lane]);
        for (unsigned subset = 0; subset < kBc7Modes[fields.m_mode].m_subsets; ++subset) {
            for (unsigned end = 0; end < 2; ++end) {
                fields.m_pBits[subset][end] = static_cast<std::uint8_t>(m_pBits[subset][end][lane]);
                for (unsigned channel = 0; channel < 4; ++channel) {
                    fields.m_ends[subset][end][channel] =
                        static_cast<std::uint8_t>(m_codes[subset][end][channel][lane]);
                }
            }
        }
        for (unsigned i = 0; i < 16; ++i) {
            fields.m_indices[i] = static_cast<std::uint8_t>(m_indices[i][lane]);
        }
        if (kBc7Modes[fields.m_mode].m_secondIndexBits != 0) {
            for (unsigned i = 0; i < 16; ++i) {
                fields.m_scalarIndices[i] = static_cast<std::uint8_t>(m_scalarIndices[i][lane]);
            }
        }
        return fields;
    }
};

} // namespace qor::Texsmith::Raw::Bc7Lanes
