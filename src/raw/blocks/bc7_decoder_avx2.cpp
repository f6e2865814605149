#include "raw/blocks/bc7_decoder_avx2.h"

#if defined(__AVX2__)

#    include "raw/blocks/bc7_tables.h"
#    include "raw/blocks/bptc_avx2.h"

namespace qor::Texsmith::Raw {
namespace {

using namespace BptcAvx2;

// Where a mode keeps its endpoints. Words: four channels of a subset and of the next one; the first ends
// stand in the low half, the second ones in the high half. The last subset is its own next one.
struct alignas(32) EndpointFields {
    Fields m_values;             // to the top of the word
    Fields m_pBits;              // below them
    std::uint16_t m_repeats[16]; // the high half of the product is the word's top bits repeated
    std::uint16_t m_opaque[16];
};

constexpr unsigned endpointsAt(unsigned number) {
    const Bc7Mode& mode = kBc7Modes[number];
    return number + 1 + mode.m_partitionBits + mode.m_rotationBits + mode.m_selectionBits;
}
constexpr unsigned pBitsAt(unsigned number) {
    const Bc7Mode& mode = kBc7Modes[number];
    return endpointsAt(number) + 2u * mode.m_subsets * (3u * mode.m_colourBits + mode.m_alphaBits);
}
constexpr unsigned indicesAt(unsigned number) { return pBitsAt(number) + kBc7Modes[number].pBitCount(); }

constexpr EndpointFields makeEndpointFields(unsigned number, unsigned firstSubset) {
    const Bc7Mode& mode = kBc7Modes[number];
    EndpointFields fields = {};
    for (unsigned word = 0; word < 16; ++word) {
        const unsigned end = word / 8, channel = word % 4;
        const unsigned next = firstSubset + word / 4 % 2;
        const unsigned subset = next < mode.m_subsets ? next : mode.m_subsets - 1u;
        const unsigned bits = channel < 3 ? mode.m_colourBits : mode.m_alphaBits;
        if (bits == 0) {
            fields.m_opaque[word] = 255;
            continue;
        }
        const unsigned colours = 2u * mode.m_subsets * mode.m_colourBits;
        fields.m_values.set(word, endpointsAt(number) + channel * colours + (2 * subset + end) * bits, bits,
                            16 - bits);
        if (mode.m_pBits != Bc7PBits::None) {
            const unsigned place = mode.m_pBits == Bc7PBits::OfSubset ? subset : 2 * subset + end;
            fields.m_pBits.set(word, pBitsAt(number) + place, 1, 15 - bits);
        }
        const unsigned all = bits + (mode.m_pBits != Bc7PBits::None ? 1 : 0);
        fields.m_repeats[word] = static_cast<std::uint16_t>(1u << (8 - all));
    }
    return fields;
}
template <unsigned kNumber, unsigned kSubset>
constexpr EndpointFields kEndpointFields = makeEndpointFields(kNumber, kSubset);

// Step i of a block works on texels 2i and 2i + 1 and, in the high half, 2i + 8 and 2i + 9; each has four
// words, R to A.
constexpr unsigned kSteps = 4;
struct alignas(32) Step {
    std::uint8_t m_spreadWeights[32];     // the low bytes of two words, each to the high bytes of four
    std::uint8_t m_spreadBothWeights[32]; // for alpha the high byte
    std::uint64_t m_partitionShifts[4];   // bring the texel's bit of a mask, doubled, to bit 1
    std::uint64_t m_partitionShifts3[4];  // and its pair of bits
};
struct Steps {
    Step m_steps[kSteps];
};
constexpr Steps makeSteps() {
    Steps steps = {};
    for (unsigned i = 0; i < kSteps; ++i) {
        Step& step = steps.m_steps[i];
        for (unsigned word = 0; word < 16; ++word) {
            const unsigned texelOfHalf = 2 * i + word / 4 % 2;
            step.m_spreadWeights[2 * word] = step.m_spreadBothWeights[2 * word] = kNoByte;
            step.m_spreadWeights[2 * word + 1] = static_cast<std::uint8_t>(2 * texelOfHalf);
            step.m_spreadBothWeights[2 * word + 1] =
                static_cast<std::uint8_t>(2 * texelOfHalf + (word % 4 == 3 ? 1 : 0));
        }
        for (unsigned place = 0; place < 4; ++place) {
            const unsigned texel = place / 2 * 8 + 2 * i + place % 2;
            step.m_partitionShifts[place] = 15 - texel;
            step.m_partitionShifts3[place] = 30 - 2 * texel;
        }
    }
    return steps;
}
constexpr Steps kStepTable = makeSteps();

// Anchors of partitions into three subsets, the lower one first.
struct SortedAnchors {
    std::uint8_t m_lower[64];
    std::uint8_t m_upper[64];
};
constexpr SortedAnchors makeSortedAnchors() {
    SortedAnchors anchors = {};
    for (unsigned partition = 0; partition < 64; ++partition) {
        const std::uint8_t second = kBc7SecondAnchors3[partition], third = kBc7ThirdAnchors3[partition];
        anchors.m_lower[partition] = second < third ? second : third;
        anchors.m_upper[partition] = second < third ? third : second;
    }
    return anchors;
}
constexpr SortedAnchors kAnchors3 = makeSortedAnchors();

// Alpha changes places with red, green or blue, in four texels.
constexpr std::uint8_t kNone = 0, kRed = 1, kGreen = 2, kBlue = 3;
struct alignas(16) Rotations {
    std::uint8_t m_bytes[4][16];
};
constexpr Rotations makeRotations() {
    Rotations rotations = {};
    for (unsigned rotation = kNone; rotation <= kBlue; ++rotation) {
        for (unsigned byte = 0; byte < 16; ++byte) {
            const unsigned channel = byte % 4, swapped = rotation == kNone ? 3 : rotation - 1;
            const unsigned from = channel == 3 ? swapped : channel == swapped ? 3 : channel;
            rotations.m_bytes[rotation][byte] = static_cast<std::uint8_t>(byte - channel + from);
        }
    }
    return rotations;
}
static_assert(kRed + 2 == kBlue && kGreen + 1 == kBlue);
constexpr Rotations kRotations = makeRotations();

// In both halves: the first ends of two subsets, and twice what is missing to the second ends.
struct Endpoints {
    __m256i m_first;
    __m256i m_doubleDifference;
};

template <unsigned kNumber, unsigned kSubset> Endpoints endpointsOf(__m256i block) {
    constexpr const EndpointFields& kFields = kEndpointFields<kNumber, kSubset>;
    __m256i tops = takeMasked(block, kFields.m_values);
    if constexpr (kBc7Modes[kNumber].m_pBits != Bc7PBits::None) {
        tops = _mm256_or_si256(tops, takeMasked(block, kFields.m_pBits));
    }
    __m256i ends =
        _mm256_or_si256(_mm256_srli_epi16(tops, 8), _mm256_mulhi_epu16(tops, load(kFields.m_repeats)));
    if constexpr (kBc7Modes[kNumber].m_alphaBits == 0) {
        ends = _mm256_or_si256(ends, load(kFields.m_opaque));
    }
    const __m256i first = _mm256_permute2x128_si256(ends, ends, 0x00);
    const __m256i second = _mm256_permute2x128_si256(ends, ends, 0x11);
    const __m256i difference = _mm256_sub_epi16(second, first);
    return {first, _mm256_add_epi16(difference, difference)};
}

// (64 * first + difference * weight + 32) >> 6, with the weight in the high byte.
__m256i mix(const Endpoints& ends, __m256i weights) {
    return _mm256_add_epi16(ends.m_first, _mm256_mulhrs_epi16(ends.m_doubleDifference, weights));
}

class Rows {
public:
    Rows(std::uint8_t* destination, std::size_t pitch) : m_destination(destination), m_pitch(pitch) {}
    // Texels as words, by step.
    void store(const __m256i (&steps)[kSteps]) const {
        storePair(0, _mm256_packus_epi16(steps[0], steps[1]));
        storePair(1, _mm256_packus_epi16(steps[2], steps[3]));
    }
    void storeRotated(const __m256i (&steps)[kSteps], unsigned rotation) const {
        const __m256i places = loadTwice(kRotations.m_bytes[rotation]);
        storePair(0, _mm256_shuffle_epi8(_mm256_packus_epi16(steps[0], steps[1]), places));
        storePair(1, _mm256_shuffle_epi8(_mm256_packus_epi16(steps[2], steps[3]), places));
    }

private:
    // Rows `row` and `row + 2`.
    void storePair(std::size_t row, __m256i texels) const {
        std::uint8_t* at = m_destination + row * m_pitch;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(at), _mm256_castsi256_si128(texels));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(at + 2 * m_pitch), _mm256_extracti128_si256(texels, 1));
    }

    std::uint8_t* m_destination;
    std::size_t m_pitch;
};

__m256i spread(__m256i weights, unsigned step) {
    return _mm256_shuffle_epi8(weights, load(kStepTable.m_steps[step].m_spreadWeights));
}

// One of two subsets for each texel: bit 1 of its 64 bits chooses.
__m256i choose(__m256i subsets, __m256i choice) {
    return _mm256_castpd_si256(_mm256_permutevar_pd(_mm256_castsi256_pd(subsets), choice));
}
Endpoints choose(const Endpoints& subsets, __m256i choice) {
    return {choose(subsets.m_first, choice), choose(subsets.m_doubleDifference, choice)};
}
// The third subset where the sign of a texel's 64 bits is set.
__m256i blend(__m256i other, __m256i third, __m256i choice) {
    return _mm256_castpd_si256(_mm256_blendv_pd(_mm256_castsi256_pd(other), _mm256_castsi256_pd(third),
                                                _mm256_castsi256_pd(choice)));
}

template <unsigned kNumber> unsigned partitionOf(const Halves& halves) {
    constexpr unsigned kMask = (1u << kBc7Modes[kNumber].m_partitionBits) - 1;
    return static_cast<unsigned>(halves.m_low >> (kNumber + 1)) & kMask;
}

template <unsigned kNumber> void decodeOneSubset(const Rows& rows, __m256i block, const Halves& halves) {
    constexpr unsigned kBits = kBc7Modes[kNumber].m_indexBits;
    const Endpoints ends = endpointsOf<kNumber, 0>(block);
    const __m256i weights = weightsOf<kBits, kUpperAndLowerRows>(
        withAnchorBit<Avx2Build, kBits>(halves.from<indicesAt(kNumber)>(), 0));
    __m256i texels[kSteps];
    for (unsigned step = 0; step < kSteps; ++step) {
        texels[step] = mix(ends, spread(weights, step));
    }
    rows.store(texels);
}

template <unsigned kNumber> void decodeTwoSubsets(const Rows& rows, __m256i block, const Halves& halves) {
    constexpr unsigned kBits = kBc7Modes[kNumber].m_indexBits;
    const unsigned partition = partitionOf<kNumber>(halves);
    const Endpoints ends = endpointsOf<kNumber, 0>(block);
    const std::uint64_t indices = withAnchorBit<Avx2Build, kBits>(halves.from<indicesAt(kNumber)>(), 0);
    const __m256i weights = weightsOf<kBits, kUpperAndLowerRows>(
        withAnchorBit<Avx2Build, kBits>(indices, kBc7SecondAnchors2[partition]));
    const __m256i subsets = splat(2u * kBc7Partitions2[partition]);
    __m256i texels[kSteps];
    for (unsigned step = 0; step < kSteps; ++step) {
        const __m256i choice = _mm256_srlv_epi64(subsets, load(kStepTable.m_steps[step].m_partitionShifts));
        texels[step] = mix(choose(ends, choice), spread(weights, step));
    }
    rows.store(texels);
}

template <unsigned kNumber> void decodeThreeSubsets(const Rows& rows, __m256i block, const Halves& halves) {
    constexpr unsigned kBits = kBc7Modes[kNumber].m_indexBits;
    const unsigned partition = partitionOf<kNumber>(halves);
    const Endpoints ends = endpointsOf<kNumber, 0>(block), third = endpointsOf<kNumber, 2>(block);
    std::uint64_t indices = withAnchorBit<Avx2Build, kBits>(halves.from<indicesAt(kNumber)>(), 0);
    indices = withAnchorBit<Avx2Build, kBits>(indices, kAnchors3.m_lower[partition]);
    indices = withAnchorBit<Avx2Build, kBits>(indices, kAnchors3.m_upper[partition]);
    const __m256i weights = weightsOf<kBits, kUpperAndLowerRows>(indices);
    const __m256i subsets = splat(2 * std::uint64_t{kBc7Partitions3[partition]});
    __m256i texels[kSteps];
    for (unsigned step = 0; step < kSteps; ++step) {
        const __m256i choice = _mm256_srlv_epi64(subsets, load(kStepTable.m_steps[step].m_partitionShifts3));
        const __m256i isThird = _mm256_slli_epi64(choice, 61);
        const Endpoints two = choose(ends, choice);
        texels[step] = mix({blend(two.m_first, third.m_first, isThird),
                            blend(two.m_doubleDifference, third.m_doubleDifference, isThird)},
                           spread(weights, step));
    }
    rows.store(texels);
}

template <unsigned kNumber> void decodeTwoIndexSets(const Rows& rows, __m256i block, const Halves& halves) {
    constexpr Bc7Mode kMode = kBc7Modes[kNumber];
    constexpr unsigned kFirst = kMode.m_indexBits, kSecond = kMode.m_secondIndexBits;
    constexpr unsigned kFirstCount = kTexels * kFirst - 1, kAt = indicesAt(kNumber);
    const std::uint64_t firstMask = (std::uint64_t{1} << kFirstCount) - 1;
    const Endpoints ends = endpointsOf<kNumber, 0>(block);
    __m256i colours = weightsOf<kFirst, kUpperAndLowerRows>(
        withAnchorBit<Avx2Build, kFirst>(halves.from<kAt>() & firstMask, 0));
    __m256i alphas = weightsOf<kSecond, kUpperAndLowerRows>(
        withAnchorBit<Avx2Build, kSecond>(halves.from<kAt + kFirstCount>(), 0));
    if constexpr (kMode.m_selectionBits != 0) {
        constexpr unsigned kSelectionAt = kNumber + 1 + kMode.m_rotationBits;
        const __m256i swaps = splat(0 - (halves.m_low >> kSelectionAt & 1));
        const __m256i change = _mm256_and_si256(_mm256_xor_si256(colours, alphas), swaps);
        colours = _mm256_xor_si256(colours, change);
        alphas = _mm256_xor_si256(alphas, change);
    }
    const __m256i both = _mm256_or_si256(colours, _mm256_slli_epi16(alphas, 8));
    __m256i texels[kSteps];
    for (unsigned step = 0; step < kSteps; ++step) {
        texels[step] =
            mix(ends, _mm256_shuffle_epi8(both, load(kStepTable.m_steps[step].m_spreadBothWeights)));
    }
    rows.storeRotated(texels, static_cast<unsigned>(halves.m_low >> (kNumber + 1)) & 3);
}

void decodeReserved(const Rows& rows) {
    const __m256i black[kSteps] = {_mm256_setzero_si256(), _mm256_setzero_si256(), _mm256_setzero_si256(),
                                   _mm256_setzero_si256()};
    rows.store(black);
}

struct ModeNumbers {
    std::uint8_t m_modes[256];
};
constexpr ModeNumbers makeModeNumbers() {
    ModeNumbers numbers = {};
    for (unsigned byte = 0; byte < 256; ++byte) {
        while (numbers.m_modes[byte] < kBc7ModeCount && (byte >> numbers.m_modes[byte] & 1) == 0) {
            ++numbers.m_modes[byte];
        }
    }
    return numbers;
}
constexpr ModeNumbers kModeNumbers = makeModeNumbers(); // by the first byte

void decodeBlock(const Rows& rows, const std::uint8_t* source) {
    const __m256i block = loadTwice(source);
    const Halves halves(source);
    switch (kModeNumbers.m_modes[halves.m_low & 255]) {
    case 0:
        return decodeThreeSubsets<0>(rows, block, halves);
    case 1:
        return decodeTwoSubsets<1>(rows, block, halves);
    case 2:
        return decodeThreeSubsets<2>(rows, block, halves);
    case 3:
        return decodeTwoSubsets<3>(rows, block, halves);
    case 4:
        return decodeTwoIndexSets<4>(rows, block, halves);
    case 5:
        return decodeTwoIndexSets<5>(rows, block, halves);
    case 6:
        return decodeOneSubset<6>(rows, block, halves);
    case 7:
        return decodeTwoSubsets<7>(rows, block, halves);
    default:
        return decodeReserved(rows);
    }
}

void decodeRun(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source, std::size_t count) {
    for (std::size_t block = 0; block < count; ++block) {
        decodeBlock(Rows(destination + block * 16, pitch), source + block * 16);
    }
}

} // namespace

DecodeBlockRun getBc7RunDecoderAvx2() { return &decodeRun; }

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

DecodeBlockRun getBc7RunDecoderAvx2() { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
