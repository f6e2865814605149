#include "raw/blocks/bc7_writers.h"

#include "raw/blocks/bc7_fields.h"
#include "raw/blocks/bc7_quantise_lanes.h"
#include "raw/frame/check.h"
#include "simd/lanes4.h"

#include <algorithm>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\bc7";

using Lanes = Simd::Lanes4;

// The same in all lanes.
template <int kSubsets> Bc7Lanes::Ends<Lanes, kSubsets> spread(const Bc7Candidate& candidate) {
    Bc7Lanes::Ends<Lanes, kSubsets> ends;
    for (unsigned subset = 0; subset < kSubsets; ++subset) {
        for (unsigned end = 0; end < 2; ++end) {
            for (unsigned channel = 0; channel < 4; ++channel) {
                ends.m_channels[subset][end][channel] = Lanes::splat(candidate.m_ends[subset][end][channel]);
            }
            if (candidate.m_rotation != 0) {
                std::swap(ends.m_channels[subset][end][3],
                          ends.m_channels[subset][end][candidate.m_rotation - 1]);
            }
        }
    }
    return ends;
}

std::uint8_t firstLane(Lanes::Int lanes) {
    std::uint32_t values[Lanes::kCount];
    store(values, lanes);
    return static_cast<std::uint8_t>(values[0]);
}

template <int kSubsets>
void setEnds(Bc7Fields& fields, const Bc7Lanes::QuantisedEnds<Lanes, kSubsets>& ends) {
    for (unsigned subset = 0; subset < kSubsets; ++subset) {
        for (unsigned end = 0; end < 2; ++end) {
            fields.m_pBits[subset][end] = firstLane(ends.m_pBits[subset][end]);
            for (unsigned channel = 0; channel < 4; ++channel) {
                fields.m_ends[subset][end][channel] = firstLane(ends.m_codes[subset][end][channel]);
            }
        }
    }
}

bool areBelow(const std::uint8_t (&indices)[16], unsigned bits) {
    return std::all_of(indices, indices + 16, [=](unsigned index) { return index >> bits == 0; });
}

} // namespace

template <int kMode> void writeBc7Mode(Bc7Candidate& candidate) {
    constexpr Bc7Mode kLayout = kBc7Modes[kMode];
    const bool hasPartition = check(candidate.m_partition < 1u << kLayout.m_partitionBits, kSourcePath,
                                    "partition < partitionCount");
    const bool hasRotation =
        check(candidate.m_rotation < 1u << kLayout.m_rotationBits, kSourcePath, "rotation < rotationCount");
    const bool hasIndices = check(areBelow(candidate.m_indices, kLayout.m_indexBits) &&
                                      (kLayout.m_secondIndexBits == 0 ||
                                       areBelow(candidate.m_scalarIndices, kLayout.m_secondIndexBits)),
                                  kSourcePath, "index < indexCount");
    if (!hasPartition || !hasRotation || !hasIndices) {
        return;
    }
    Bc7Fields fields = {};
    fields.m_mode = kMode;
    fields.m_partition = static_cast<std::uint8_t>(candidate.m_partition);
    fields.m_rotation = static_cast<std::uint8_t>(candidate.m_rotation);
    std::copy_n(candidate.m_indices, 16, fields.m_indices);
    std::copy_n(candidate.m_scalarIndices, 16, fields.m_scalarIndices);
    const auto ends = spread<kLayout.m_subsets>(candidate);
    setEnds(fields, candidate.m_hasAlpha ? Bc7Lanes::Quantiser<Lanes, kMode, true>::quantise(ends)
                                         : Bc7Lanes::Quantiser<Lanes, kMode, false>::quantise(ends));
    packBc7(candidate.m_bytes, fields);
}

template void writeBc7Mode<0>(Bc7Candidate& candidate);
template void writeBc7Mode<1>(Bc7Candidate& candidate);
template void writeBc7Mode<2>(Bc7Candidate& candidate);
template void writeBc7Mode<3>(Bc7Candidate& candidate);
template void writeBc7Mode<4>(Bc7Candidate& candidate);
template void writeBc7Mode<5>(Bc7Candidate& candidate);
template void writeBc7Mode<6>(Bc7Candidate& candidate);
template void writeBc7Mode<7>(Bc7Candidate& candidate);

} // namespace qor::Texsmith::Raw
