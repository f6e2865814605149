#include "raw/blocks/bc6_group.h"

#include "raw/blocks/bc6_endpoints.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr unsigned kFinestMode = 13, kDirectMode = 10;

struct Rounded {
    unsigned m_mode;
    Bc6Numbers m_numbers;
};

bool fits(const Bc6Numbers& numbers, const Bc6Mode& mode) {
    bool holds = true;
    for (unsigned channel = 0; channel < 3; ++channel) {
        holds &=
            mode.isDirect() || isBc6DeltaInRange(numbers.m_numbers[1][channel], numbers.m_numbers[0][channel],
                                                 mode.m_deltaBits[channel]);
    }
    return holds;
}

// In the finest mode that holds the ends.
Rounded roundEnds(const Bc6Group& group, unsigned lane, bool isSigned) {
    Bc6Codes codes = {};
    std::int64_t widest = 0;
    for (unsigned channel = 0; channel < 3; ++channel) {
        for (unsigned end = 0; end < 2; ++end) {
            codes[end][channel] =
                toBc6Code(toBc6Position(group.m_ends[end][channel][lane], isSigned), isSigned);
        }
        widest = std::max(widest, std::abs(codes[1][channel] - codes[0][channel]) >> 16);
    }
    Rounded rounded;
    rounded.m_mode = widest < 1 << 3 ? 13 : widest < 1 << 11 ? 12 : widest < 1 << 13 ? 11 : 10;
    for (; rounded.m_mode >= kDirectMode; --rounded.m_mode) {
        const Bc6Mode& mode = kBc6ModeTable[rounded.m_mode];
        quantiseBc6(codes, mode, isSigned, &rounded.m_numbers);
        if (fits(rounded.m_numbers, mode)) {
            break;
        }
    }
    return rounded;
}

// All texels alike: the numbers of 16 bits that decode to the very halves.
Rounded constantEnds(const Bc6Group& group, unsigned lane, bool isSigned) {
    Rounded rounded = {kFinestMode, {}};
    for (unsigned channel = 0; channel < 3; ++channel) {
        const std::int32_t number = bc6NumberOfHalf(group.m_firstPattern[channel][lane], isSigned);
        rounded.m_numbers.m_numbers[0][channel] = rounded.m_numbers.m_numbers[1][channel] = number;
    }
    return rounded;
}

void storeDecoded(const Rounded& rounded, bool isSigned, unsigned lane, Bc6Group* group) {
    const unsigned bits = kBc6ModeTable[rounded.m_mode].m_endpointBits;
    for (unsigned end = 0; end < 2; ++end) {
        for (unsigned channel = 0; channel < 3; ++channel) {
            const std::int32_t code = widenBc6(rounded.m_numbers.m_numbers[end][channel], bits, isSigned);
            group->m_decoded[end][channel][lane] = static_cast<float>(decodeBc6Code(code, isSigned));
        }
    }
}

// The ten bits behind the first ends: a difference, or a number, and above it what endpoint 0 has beyond ten
// bits, its highest bit first.
std::uint64_t secondField(std::int32_t first, std::int32_t second, unsigned deltaBits, bool isDirect) {
    const auto stored = static_cast<std::uint32_t>(isDirect ? second : second - first);
    std::uint64_t field = stored & ((1u << deltaBits) - 1);
    for (unsigned bit = deltaBits; bit < 10; ++bit) {
        const unsigned from = 10 + (9 - bit);
        field |= std::uint64_t{static_cast<std::uint32_t>(first) >> from & 1} << bit;
    }
    return field;
}

void pack(const Rounded& rounded, const Bc6Group& group, unsigned lane, std::uint8_t* destination) {
    const Bc6Mode& mode = kBc6ModeTable[rounded.m_mode];
    std::uint64_t words[2] = {mode.m_bits, 0};
    for (unsigned channel = 0; channel < 3; ++channel) {
        const std::int32_t first = rounded.m_numbers.m_numbers[0][channel];
        const std::int32_t second = rounded.m_numbers.m_numbers[1][channel];
        const std::uint64_t field = secondField(first, second, mode.m_deltaBits[channel], mode.isDirect());
        words[0] |= (static_cast<std::uint64_t>(first) & 0x3FF) << (5 + 10 * channel);
        words[0] |= field << (35 + 10 * channel);
        words[1] = field >> 9; // of blue the top bit lies there
    }
    // Three bits of the first index, four of the others.
    const std::uint64_t indices = group.m_indices[0][lane] | std::uint64_t{group.m_indices[1][lane]} << 32;
    words[1] |= (indices & 7) << 1 | indices >> 4 << 4;
    std::memcpy(destination, words, sizeof words);
}

void encodeGroup(std::uint8_t* destination, const ColorRGBA32F* source, bool isSigned,
                 const Bc6Kernels& kernels) {
    Bc6Group group;
    Rounded rounded[Bc6Group::kBlocks];
    kernels.m_fitGroup(source, isSigned, &group);
    for (unsigned lane = 0; lane < Bc6Group::kBlocks; ++lane) {
        rounded[lane] = group.m_changes[lane] != 0 ? roundEnds(group, lane, isSigned)
                                                   : constantEnds(group, lane, isSigned);
        storeDecoded(rounded[lane], isSigned, lane, &group);
    }
    kernels.m_findGroupIndices(&group);
    for (unsigned lane = 0; lane < Bc6Group::kBlocks; ++lane) {
        pack(rounded[lane], group, lane, destination + 16 * lane);
    }
}

} // namespace

void encodeBc6Groups(std::uint8_t* destination, const ColorRGBA32F* source, bool isSigned,
                     const Bc6Kernels& kernels, std::size_t count) {
    constexpr std::size_t kBlocks = Bc6Group::kBlocks;
    for (; count >= kBlocks; count -= kBlocks) {
        encodeGroup(destination, source, isSigned, kernels);
        destination += 16 * kBlocks;
        source += kBc6Texels * kBlocks;
    }
    if (count > 0) { // with zeros in the lanes behind
        ColorRGBA32F texels[kBc6Texels * kBlocks] = {};
        std::uint8_t blocks[16 * kBlocks];
        std::copy_n(source, kBc6Texels * count, texels);
        encodeGroup(blocks, texels, isSigned, kernels);
        std::memcpy(destination, blocks, 16 * count);
    }
}

} // namespace qor::Texsmith::Raw
