#include "raw/blocks/bc6_decoder_avx2.h"

#if defined(__AVX2__)

#    include "raw/blocks/bc6_endpoint_bits.h"
#    include "raw/blocks/bptc_avx2.h"

namespace qor::Texsmith::Raw {
namespace {

using namespace BptcAvx2;

constexpr unsigned kRows = 4;
constexpr std::uint16_t kHalfOne = 0x3C00, kLeastNormal = 0x400, kSignBit = 0x8000;

// Words of the four endpoints: R, G, B and alpha of each.
struct alignas(32) Words {
    std::uint16_t m_words[16];
};
struct EndpointConstants {
    Words m_signs;  // the top bit of a stored difference
    Words m_ranges; // the bits of an endpoint
    Words m_topBit; // of an endpoint
    Words m_alpha;  // what comes out as a half of one
};

template <bool kSigned> constexpr EndpointConstants makeConstants(const Bc6Mode& mode) {
    EndpointConstants constants = {};
    for (unsigned word = 0; word < 16; ++word) {
        const unsigned channel = word % 4;
        if (channel == 3) {
            constants.m_alpha.m_words[word] =
                kSigned ? (kHalfOne * 32u + 31) / 31 : (kHalfOne * 64u + 63) / 31;
            continue;
        }
        constants.m_ranges.m_words[word] = static_cast<std::uint16_t>((1u << mode.m_endpointBits) - 1);
        constants.m_topBit.m_words[word] = static_cast<std::uint16_t>(1u << (mode.m_endpointBits - 1));
        if (word >= 4) {
            constants.m_signs.m_words[word] =
                static_cast<std::uint16_t>(1u << (mode.m_deltaBits[channel] - 1));
        }
    }
    return constants;
}
template <unsigned kNumber, bool kSigned>
constexpr EndpointConstants kConstants = makeConstants<kSigned>(kBc6ModeTable[kNumber]);

struct alignas(32) Bytes {
    std::uint8_t m_bytes[32];
};
// Of the two endpoints in each half, channel by channel.
constexpr Bytes makePairing() {
    Bytes pairing = {};
    for (unsigned byte = 0; byte < 32; ++byte) {
        const unsigned channel = byte / 4 % 4, end = byte / 2 % 2;
        pairing.m_bytes[byte] = static_cast<std::uint8_t>(end * 8 + channel * 2 + byte % 2);
    }
    return pairing;
}
constexpr Bytes kPairing = makePairing();

// A step works on one texel of the left two columns and one of the right two; there are two for each row.
constexpr unsigned kSteps = 8;
struct alignas(32) Step {
    std::uint8_t m_spreadWeights[32];   // the two bytes of a word, each to a word, for all channels
    std::uint64_t m_partitionShifts[4]; // bring the texel's bit of a mask to the top
};
struct Steps {
    Step m_steps[kSteps];
};
constexpr Steps makeSteps() {
    Steps steps = {};
    for (unsigned i = 0; i < kSteps; ++i) {
        for (unsigned byte = 0; byte < 32; ++byte) {
            steps.m_steps[i].m_spreadWeights[byte] =
                static_cast<std::uint8_t>(byte % 2 != 0 ? kNoByte : 2 * i + byte / 2 % 2);
        }
        for (unsigned place = 0; place < 4; ++place) {
            const unsigned texel = kLeftAndRightColumns.m_texels[place / 2 * 8 + i];
            steps.m_steps[i].m_partitionShifts[place] = 48 + texel;
        }
    }
    return steps;
}
constexpr Steps kStepTable = makeSteps();

__m256i loadWords(const Words& words) { return load(words.m_words); }
__m256i splatWord(unsigned value) { return _mm256_set1_epi16(static_cast<short>(value)); }

// Two's complement, of which `sign` is the top bit.
__m256i signExtend(__m256i words, __m256i sign) {
    return _mm256_sub_epi16(_mm256_xor_si256(words, sign), sign);
}

template <unsigned kNumber, bool kSigned> __m256i addDifferences(__m256i ends) {
    constexpr const EndpointConstants& kAll = kConstants<kNumber, kSigned>;
    const __m256i first = _mm256_permute4x64_epi64(ends, 0x00);
    const __m256i base = _mm256_blend_epi32(first, _mm256_setzero_si256(), 0x03);
    const __m256i sums = _mm256_add_epi16(signExtend(ends, loadWords(kAll.m_signs)), base);
    return _mm256_and_si256(sums, loadWords(kAll.m_ranges));
}

template <unsigned kBits> __m256i unquantize(__m256i values, __m256i range) {
    if constexpr (kBits >= 15) {
        return values;
    } else {
        const __m256i middle = splatWord(1u << (15 - kBits));
        const __m256i wide = _mm256_add_epi16(_mm256_slli_epi16(values, 16 - kBits), middle);
        const __m256i isZero = _mm256_cmpeq_epi16(values, _mm256_setzero_si256());
        return _mm256_or_si256(_mm256_andnot_si256(isZero, wide), _mm256_cmpeq_epi16(values, range));
    }
}

template <unsigned kBits> __m256i unquantizeSigned(__m256i values) {
    if constexpr (kBits >= 16) {
        return values;
    } else {
        const __m256i magnitude = _mm256_abs_epi16(values);
        const __m256i middle = splatWord(1u << (15 - kBits));
        const __m256i wide = _mm256_add_epi16(_mm256_slli_epi16(magnitude, 16 - kBits), middle);
        const __m256i isTop = _mm256_cmpgt_epi16(magnitude, splatWord((1u << (kBits - 1)) - 2));
        const __m256i limited = _mm256_and_si256(_mm256_or_si256(wide, isTop), splatWord(0x7FFF));
        return _mm256_sign_epi16(limited, values);
    }
}

// The four endpoints, in the range that is mixed in: 16 bits with a sign. Unsigned ones are less by 32768.
template <unsigned kNumber, bool kSigned> __m256i endpointsOf(const Halves& halves) {
    constexpr Bc6Mode kMode = kBc6ModeTable[kNumber];
    constexpr const EndpointConstants& kAll = kConstants<kNumber, kSigned>;
    std::uint64_t stored[4];
    Bc6EndpointBits<Avx2Build, kNumber>::take(stored, halves.m_low, halves.m_high);
    __m256i ends = _mm256_setr_epi64x(static_cast<long long>(stored[0]), static_cast<long long>(stored[1]),
                                      static_cast<long long>(stored[2]), static_cast<long long>(stored[3]));
    if constexpr (!kMode.isDirect()) {
        ends = addDifferences<kNumber, kSigned>(ends);
    }
    const __m256i alpha = loadWords(kAll.m_alpha);
    if constexpr (kSigned) {
        ends = unquantizeSigned<kMode.m_endpointBits>(signExtend(ends, loadWords(kAll.m_topBit)));
        return _mm256_or_si256(ends, alpha);
    } else {
        ends = unquantize<kMode.m_endpointBits>(ends, loadWords(kAll.m_ranges));
        return _mm256_xor_si256(_mm256_blend_epi16(ends, alpha, 0x88), splatWord(kSignBit));
    }
}

// For each texel, 64 less its weight in the low byte and its weight in the high one.
template <unsigned kBits> __m256i weightPairsOf(std::uint64_t indices) {
    const __m256i weights = weightsOf<kBits, kLeftAndRightColumns>(indices);
    return _mm256_add_epi16(_mm256_mullo_epi16(weights, splatWord(255)), splatWord(64));
}

// Unsigned sums are put right by what their endpoints lack.
template <bool kSigned> __m256i mix(__m256i pairs, __m256i weights) {
    const __m256i rest = _mm256_set1_epi32(kSigned ? 32 : 32 + 64 * 32768);
    return _mm256_srai_epi32(_mm256_add_epi32(_mm256_madd_epi16(pairs, weights), rest), 6);
}

// A row of texels, from two steps.
template <bool kSigned> __m256i finish(__m256i outer, __m256i inner) {
    if constexpr (!kSigned) {
        return _mm256_mulhi_epu16(_mm256_packus_epi32(outer, inner), splatWord(31 << 10));
    }
    const __m256i values = _mm256_packs_epi32(outer, inner);
    const __m256i magnitude = _mm256_mulhi_epu16(_mm256_abs_epi16(values), splatWord(31 << 11));
    const __m256i isZero = _mm256_cmpeq_epi16(magnitude, _mm256_setzero_si256());
    const __m256i sign = _mm256_and_si256(values, splatWord(kSignBit));
    return _mm256_or_si256(magnitude, _mm256_andnot_si256(isZero, sign));
}

// Stores rows as halves. Denormals become the least normal number.
template <bool kSigned> class HalfRows {
public:
    static constexpr std::size_t kBlockBytes = 32;

    HalfRows(std::uint8_t* destination, std::size_t pitch) : m_destination(destination), m_pitch(pitch) {}
    void store(std::size_t row, __m256i halves) const {
        const __m256i sign = kSigned ? _mm256_and_si256(halves, splatWord(kSignBit)) : _mm256_setzero_si256();
        const __m256i magnitude = _mm256_xor_si256(halves, sign);
        const __m256i isZero = _mm256_cmpeq_epi16(magnitude, _mm256_setzero_si256());
        const __m256i normal = _mm256_or_si256(_mm256_max_epu16(magnitude, splatWord(kLeastNormal)), sign);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(m_destination + row * m_pitch),
                            _mm256_andnot_si256(isZero, normal));
    }

private:
    std::uint8_t* m_destination;
    std::size_t m_pitch;
};

// Stores rows as floats of the same value.
template <bool kSigned> class FloatRows {
public:
    static constexpr std::size_t kBlockBytes = 64;

    FloatRows(std::uint8_t* destination, std::size_t pitch) : m_destination(destination), m_pitch(pitch) {}
    void store(std::size_t row, __m256i halves) const {
        float* at = reinterpret_cast<float*>(m_destination + row * m_pitch);
        _mm256_storeu_ps(at, widen(_mm256_castsi256_si128(halves)));
        _mm256_storeu_ps(at + 8, widen(_mm256_extracti128_si256(halves, 1)));
    }

private:
    // A half's bits, moved up, are a float of which 2^112 is missing.
    static __m256 widen(__m128i halves) {
        const __m256 missing = _mm256_set1_ps(0x1p112f);
        if constexpr (!kSigned) {
            const __m256i bits = _mm256_slli_epi32(_mm256_cvtepu16_epi32(halves), 13);
            return _mm256_mul_ps(_mm256_castsi256_ps(bits), missing);
        }
        const __m256i words = _mm256_slli_epi32(_mm256_cvtepu16_epi32(halves), 16);
        const __m256i sign = _mm256_and_si256(words, _mm256_set1_epi32(static_cast<int>(0x80000000u)));
        const __m256i bits = _mm256_srli_epi32(_mm256_xor_si256(words, sign), 3);
        const __m256i isInfinite =
            _mm256_cmpeq_epi32(words, _mm256_set1_epi32(static_cast<int>(0xFC000000u)));
        const __m256 finite = _mm256_mul_ps(_mm256_castsi256_ps(bits), missing);
        const __m256 magnitude = _mm256_blendv_ps(finite, _mm256_castsi256_ps(_mm256_set1_epi32(0x7F800000)),
                                                  _mm256_castsi256_ps(isInfinite));
        return _mm256_or_ps(magnitude, _mm256_castsi256_ps(sign));
    }

    std::uint8_t* m_destination;
    std::size_t m_pitch;
};

template <unsigned kNumber, bool kSigned, typename Rows>
void decodeMode(const Rows& rows, const Halves& halves) {
    constexpr Bc6Mode kMode = kBc6ModeTable[kNumber];
    constexpr unsigned kBits = kMode.indexBits(), kAt = kMode.indicesAt();
    const __m256i pairs = _mm256_shuffle_epi8(endpointsOf<kNumber, kSigned>(halves), load(kPairing.m_bytes));
    const __m256i first = _mm256_permute2x128_si256(pairs, pairs, 0x00);
    std::uint64_t indices = withAnchorBit<Avx2Build, kBits>(halves.from<kAt>(), 0);
    __m256i second = first, subsets = first;
    if constexpr (kMode.m_subsets == 2) {
        const unsigned partition = static_cast<unsigned>(halves.m_high >> 13) & 31;
        indices = withAnchorBit<Avx2Build, kBits>(indices, kBc7SecondAnchors2[partition]);
        second = _mm256_permute2x128_si256(pairs, pairs, 0x11);
        subsets = splat(kBc7Partitions2[partition]);
    }
    const __m256i weights = weightPairsOf<kBits>(indices);
    __m256i texels[kSteps];
    for (unsigned i = 0; i < kSteps; ++i) {
        const Step& step = kStepTable.m_steps[i];
        __m256i ends = first;
        if constexpr (kMode.m_subsets == 2) {
            const __m256i isSecond = _mm256_sllv_epi64(subsets, load(step.m_partitionShifts));
            ends = _mm256_castpd_si256(_mm256_blendv_pd(
                _mm256_castsi256_pd(first), _mm256_castsi256_pd(second), _mm256_castsi256_pd(isSecond)));
        }
        texels[i] = mix<kSigned>(ends, _mm256_shuffle_epi8(weights, load(step.m_spreadWeights)));
    }
    for (unsigned row = 0; row < kRows; ++row) {
        rows.store(row, finish<kSigned>(texels[2 * row], texels[2 * row + 1]));
    }
}

template <typename Rows> void decodeReserved(const Rows& rows, const Halves&) {
    const __m256i black = splat(std::uint64_t{kHalfOne} << 48);
    for (unsigned row = 0; row < kRows; ++row) {
        rows.store(row, black);
    }
}

struct ModeNumbers {
    std::uint8_t m_modes[32];
};
constexpr ModeNumbers makeModeNumbers() {
    ModeNumbers numbers = {};
    for (unsigned bits = 0; bits < 32; ++bits) {
        numbers.m_modes[bits] = kBc6ModeOfBits[bits];
    }
    return numbers;
}
constexpr ModeNumbers kModeNumbers = makeModeNumbers();

template <bool kSigned, typename Rows> void decodeBlock(const Rows& rows, const Halves& halves) {
    switch (kModeNumbers.m_modes[halves.m_low & 31]) {
    case 0:
        return decodeMode<0, kSigned>(rows, halves);
    case 1:
        return decodeMode<1, kSigned>(rows, halves);
    case 2:
        return decodeMode<2, kSigned>(rows, halves);
    case 3:
        return decodeMode<3, kSigned>(rows, halves);
    case 4:
        return decodeMode<4, kSigned>(rows, halves);
    case 5:
        return decodeMode<5, kSigned>(rows, halves);
    case 6:
        return decodeMode<6, kSigned>(rows, halves);
    case 7:
        return decodeMode<7, kSigned>(rows, halves);
    case 8:
        return decodeMode<8, kSigned>(rows, halves);
    case 9:
        return decodeMode<9, kSigned>(rows, halves);
    case 10:
        return decodeMode<10, kSigned>(rows, halves);
    case 11:
        return decodeMode<11, kSigned>(rows, halves);
    case 12:
        return decodeMode<12, kSigned>(rows, halves);
    case 13:
        return decodeMode<13, kSigned>(rows, halves);
    default:
        return decodeReserved(rows, halves);
    }
}

template <bool kSigned, typename Rows>
void decodeRun(std::uint8_t* destination, std::size_t pitch, const std::uint8_t* source, std::size_t count) {
    for (std::size_t block = 0; block < count; ++block) {
        decodeBlock<kSigned>(Rows(destination + block * Rows::kBlockBytes, pitch),
                             Halves(source + block * 16));
    }
}

constexpr Bc6DecodersAvx2 kDecoders = {&decodeRun<false, HalfRows<false>>,
                                       &decodeRun<false, FloatRows<false>>, &decodeRun<true, HalfRows<true>>,
                                       &decodeRun<true, FloatRows<true>>};

} // namespace

const Bc6DecodersAvx2* getBc6DecodersAvx2() { return &kDecoders; }

} // namespace qor::Texsmith::Raw

#else

namespace qor::Texsmith::Raw {

const Bc6DecodersAvx2* getBc6DecodersAvx2() { return nullptr; }

} // namespace qor::Texsmith::Raw

#endif
