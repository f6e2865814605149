// The kernels of runs over lanes.
//
// Their class of lanes also swizzles texels of four bytes, one to a lane (Moves, movesOf, swizzle), and has
// `write`, which stores a vector as the destination wants it, past the caches or not.
#pragma once

#include "raw/rows/run_kernels.h"
#include "raw/texels/srgb_bytes.h"

namespace qor::Texsmith::Raw::RunLanes {

using Bytes = std::uint8_t;

inline constexpr float kByteToUnit = static_cast<float>(1.0 / 255);
inline constexpr float kHalfExponents = 0x1p112f; // between the exponents of small and single floats

// Where the channels of a packed texel lie, and whether the swizzle is done on it.
struct EightEightEightEight {
    static constexpr bool kSwizzles = true;
    static constexpr unsigned kBytes = 4;
    static constexpr unsigned kShifts[4] = {0, 8, 16, 24};
    static constexpr unsigned kWidths[4] = {8, 8, 8, 8};
};
struct TwoTenTenTen {
    static constexpr bool kSwizzles = false;
    static constexpr unsigned kBytes = 4;
    static constexpr unsigned kShifts[4] = {0, 10, 20, 30};
    static constexpr unsigned kWidths[4] = {10, 10, 10, 2};
};
struct FiveSixFive {
    static constexpr bool kSwizzles = false;
    static constexpr unsigned kBytes = 2;
    static constexpr unsigned kShifts[4] = {0, 5, 11, 16};
    static constexpr unsigned kWidths[4] = {5, 6, 5, 0};
};

// ---- one vector of channels ----

template <typename Lanes> struct Values {
    using Int = typename Lanes::Int;
    using Float = typename Lanes::Float;

    static Int splat(std::uint32_t value) { return Lanes::splat(value); }
    static Float splat(float value) { return Lanes::splat(value); }

    static Int floatsOfBytes(Int bytes) { return bitsOf(toFloats(bytes) * splat(kByteToUnit)); }
    // Divided by 2^112, a float has the exponent field that the half of its value has: without the last 13
    // bits of the mantissa it is that half. Zero stays zero.
    static Int halvesOfBytes(Int bytes) {
        return shiftRight<13>(bitsOf(toFloats(bytes) * splat(kByteToUnit / kHalfExponents)));
    }
    // For packBytes, which makes 0 of what is below. Of a NaN the minimum makes a NaN again, as it gives the
    // second operand, and that becomes the least integer.
    static Int bytesOfFloats(Float values) {
        return truncateToInts(splat(255.0f) * minimum(splat(1.0f), values) + splat(0.5f));
    }
    // 65535 is 257 times 255, which is odd, so that no quotient lies halfway between two bytes.
    static Int bytesOfWords(Int words) { return roundToInts(toFloats(words) * splat(1.0f / 257)); }
    static Int wordsOfBytes(Int bytes) { return bytes | shiftLeft<8>(bytes); }
    // A half's bits, moved to where a float has sign, exponent and mantissa, are a float that is smaller by
    // 2^112; so are the limits here, and the factor makes up for it. Infinity comes out above one, NaNs are
    // made zero first, and the smallest numbers may be raised to a normal float, as their byte is 0 anyway.
    static Int bytesOfHalves(Int halves) {
        const Int raised = shiftLeft<16>(halves);
        const Int numbers = raised & greaterSigned(splat(0x7C000001u), raised);
        const Float scaled = floatsOf(shiftRightSigned<3>(numbers));
        const Float unit =
            maximum(minimum(splat(1.0f / kHalfExponents), scaled), floatsOf(splat(0x00800000u)));
        return truncateToInts(splat(255.0f * kHalfExponents) * unit + splat(0.5f));
    }
    // The biases of the exponents differ by 112. Zeros and denormals keep the exponent 0, infinities and NaNs
    // get 31 for 255; what is out of the range of halves becomes its nearest normal number.
    static Int halvesOfFloats(Int values) {
        const Int magnitude = values & splat(0x7FFFFFFFu);
        const Int shifted = shiftRight<13>(magnitude);
        const Float raised = maximum(floatsOf(magnitude), floatsOf(splat(0x38800000u)));
        const Float limited = minimum(raised, floatsOf(splat(0x477FE000u)));
        const Int normal = shiftRight<13>(bitsOf(limited)) - splat(0x1C000u);
        const Int endless = greaterSigned(magnitude, splat(0x7F7FFFFFu));
        const Int denormal = greaterSigned(splat(0x00800000u), magnitude);
        const Int small = select(endless, shifted - splat(0x38000u), select(denormal, shifted, normal));
        return (shiftRight<16>(values) & splat(0x8000u)) | small;
    }
    static Int floatsOfHalves(Int halves) {
        const Int exponents = splat(0x38000000u);
        const Int magnitude = shiftLeft<13>(halves & splat(0x7FFFu));
        const Int ifNormal = greaterSigned(magnitude, splat(0x007FFFFFu)) & exponents;
        const Int ifEndless = greaterSigned(magnitude, splat(0x0F7FFFFFu)) & exponents;
        return shiftLeft<16>(halves & splat(0x8000u)) | (magnitude + ifNormal + ifEndless);
    }
    static Int srgbOfFloats(Float values, Int linear) {
        const Float unit = minimum(maximum(values, floatsOf(splat(kSrgbStepsFirst << 16))), splat(1.0f));
        const Int bits = bitsOf(unit);
        const Int words = Lanes::lookUp(g_srgbSteps.m_words, shiftRight<16>(bits) - splat(kSrgbStepsFirst));
        const Int encoded = shiftRight<16>(words + bits);
        return select(linear, truncateToInts(splat(255.0f) * unit + splat(0.5f)), encoded);
    }
};

// ---- packed texels, one to a lane ----

// One channel, scaled where it stands in the texel: the factor makes up for its place. No product lies
// halfway between two whole numbers, so that rounding to nearest gives what the codecs' "add a half and
// truncate" does.
template <typename Lanes, typename From, typename To, unsigned kChannel>
typename Lanes::Int repackChannel(typename Lanes::Int texels) {
    constexpr unsigned kWidth = From::kWidths[kChannel], kShift = From::kShifts[kChannel];
    constexpr unsigned kEnd = kShift + kWidth, kToWidth = To::kWidths[kChannel];
    constexpr unsigned kToShift = To::kShifts[kChannel]; // as a name: not all compilers parse it in place
    constexpr float kFactor =
        static_cast<float>((1u << kToWidth) - 1) / static_cast<float>((1u << kWidth) - 1);
    if constexpr (kEnd == 32) {
        const auto values = toFloats(shiftRight<kShift>(texels)) * Lanes::splat(kFactor);
        return shiftLeft<kToShift>(roundToInts(values));
    } else {
        constexpr float kInPlace = kFactor / static_cast<float>(1u << kShift);
        const auto channel = texels & Lanes::splat(((1u << kWidth) - 1) << kShift);
        return shiftLeft<kToShift>(roundToInts(toFloats(channel) * Lanes::splat(kInPlace)));
    }
}

template <typename Lanes, typename From, typename To>
typename Lanes::Int repackTexels(typename Lanes::Int texels) {
    const auto low = repackChannel<Lanes, From, To, 0>(texels) | repackChannel<Lanes, From, To, 1>(texels);
    const auto most = low | repackChannel<Lanes, From, To, 2>(texels);
    if constexpr (From::kWidths[3] == 0 || To::kWidths[3] == 0) {
        return most;
    } else {
        return most | repackChannel<Lanes, From, To, 3>(texels);
    }
}

template <typename Lanes, typename From>
typename Lanes::Int loadTexels(const Bytes* source, typename Lanes::Moves moves) {
    if constexpr (From::kBytes == 2) {
        return Lanes::loadWords(source);
    } else if constexpr (From::kSwizzles) {
        return Lanes::swizzle(Lanes::loadInts(source), moves);
    } else {
        return Lanes::loadInts(source);
    }
}

// Two vectors of texels.
template <typename Lanes, typename To>
void storeTexels(Bytes* destination, const typename Lanes::Int (&texels)[2], typename Lanes::Moves moves) {
    if constexpr (To::kBytes == 2) {
        Lanes::write(destination, packWords(texels[0], texels[1]));
    } else {
        for (unsigned i = 0; i < 2; ++i) {
            const auto stored = To::kSwizzles ? Lanes::swizzle(texels[i], moves) : texels[i];
            Lanes::write(destination + i * 4 * Lanes::kCount, stored);
        }
    }
}

template <typename Lanes, typename From, typename To>
void repack(void* destination, const void* source, std::size_t groups, const RunSettings& settings) {
    const typename Lanes::Moves moves = Lanes::movesOf(settings);
    auto* to = static_cast<Bytes*>(destination);
    const auto* from = static_cast<const Bytes*>(source);
    for (std::size_t i = 0; i < groups * kTexelsPerGroup; i += 2 * Lanes::kCount) {
        typename Lanes::Int texels[2];
        for (unsigned half = 0; half < 2; ++half) {
            const Bytes* const at = from + (i + half * Lanes::kCount) * From::kBytes;
            texels[half] = repackTexels<Lanes, From, To>(loadTexels<Lanes, From>(at, moves));
        }
        storeTexels<Lanes, To>(to + i * To::kBytes, texels, moves);
    }
}

// ---- channels, one to a lane ----

template <typename Lanes> struct LoadBytes {
    static constexpr unsigned kBytes = 1;
    static typename Lanes::Int load(const Bytes* source) { return Lanes::loadBytes(source); }
};
template <typename Lanes> struct LoadWords {
    static constexpr unsigned kBytes = 2;
    static typename Lanes::Int load(const Bytes* source) { return Lanes::loadWords(source); }
};
template <typename Lanes> struct LoadFloats {
    static constexpr unsigned kBytes = 4;
    static typename Lanes::Int load(const Bytes* source) { return Lanes::loadInts(source); }
};

// Four vectors to the bytes, words or lanes of their values.
template <typename Lanes, unsigned kBytes>
void storeFour(Bytes* destination, const typename Lanes::Int (&values)[4]) {
    if constexpr (kBytes == 1) {
        Lanes::write(destination, packBytes(values));
    } else if constexpr (kBytes == 2) {
        Lanes::write(destination, packWords(values[0], values[1]));
        Lanes::write(destination + 4 * Lanes::kCount, packWords(values[2], values[3]));
    } else {
        for (unsigned i = 0; i < 4; ++i) {
            Lanes::write(destination + i * 4 * Lanes::kCount, values[i]);
        }
    }
}

template <typename Lanes, typename Load, unsigned kToBytes, typename Convert>
void convertChannels(void* destination, const void* source, std::size_t groups, Convert convert) {
    auto* to = static_cast<Bytes*>(destination);
    const auto* from = static_cast<const Bytes*>(source);
    for (std::size_t i = 0; i < groups * kTexelsPerGroup * 4; i += 4 * Lanes::kCount) {
        const Bytes* const at = from + i * Load::kBytes;
        typename Lanes::Int values[4];
        for (unsigned part = 0; part < 4; ++part) {
            values[part] = convert(Load::load(at + part * Lanes::kCount * Load::kBytes));
        }
        storeFour<Lanes, kToBytes>(to + i * kToBytes, values);
    }
}

template <typename Lanes, typename Load, unsigned kToBytes,
          typename Lanes::Int (*kConvert)(typename Lanes::Int)>
void channels(void* destination, const void* source, std::size_t groups, const RunSettings&) {
    convertChannels<Lanes, Load, kToBytes>(destination, source, groups,
                                           [](typename Lanes::Int value) { return kConvert(value); });
}

// `Load` may make the floats of something else.
template <typename Lanes, typename Load>
void floatsToBytes(void* destination, const void* source, std::size_t groups, const RunSettings&) {
    convertChannels<Lanes, Load, 1>(destination, source, groups, [](typename Lanes::Int value) {
        return Values<Lanes>::bytesOfFloats(floatsOf(value));
    });
}

template <typename Lanes>
void floatsToSrgb(void* destination, const void* source, std::size_t groups, const RunSettings& settings) {
    const auto linear = Lanes::repeatInts(settings.m_linearLanes);
    convertChannels<Lanes, LoadFloats<Lanes>, 1>(
        destination, source, groups,
        [linear](typename Lanes::Int value) { return Values<Lanes>::srgbOfFloats(floatsOf(value), linear); });
}

// The kernels of a class of lanes, but for those of swizzles and tables.
template <typename Lanes> struct Kernels {
    using V = Values<Lanes>;

    static constexpr RunKernel kBytesToFloats = &channels<Lanes, LoadBytes<Lanes>, 4, &V::floatsOfBytes>;
    static constexpr RunKernel kBytesToWords = &channels<Lanes, LoadBytes<Lanes>, 2, &V::wordsOfBytes>;
    static constexpr RunKernel kWordsToBytes = &channels<Lanes, LoadWords<Lanes>, 1, &V::bytesOfWords>;
    static constexpr RunKernel kFloatsToBytes = &floatsToBytes<Lanes, LoadFloats<Lanes>>;
    static constexpr RunKernel kBytesToHalves = &channels<Lanes, LoadBytes<Lanes>, 2, &V::halvesOfBytes>;
    static constexpr RunKernel kHalvesToBytes = &channels<Lanes, LoadWords<Lanes>, 1, &V::bytesOfHalves>;
    static constexpr RunKernel kFloatsToHalves = &channels<Lanes, LoadFloats<Lanes>, 2, &V::halvesOfFloats>;
    static constexpr RunKernel kHalvesToFloats = &channels<Lanes, LoadWords<Lanes>, 4, &V::floatsOfHalves>;
    static constexpr RunKernel kBytesToTens = &repack<Lanes, EightEightEightEight, TwoTenTenTen>;
    static constexpr RunKernel kTensToBytes = &repack<Lanes, TwoTenTenTen, EightEightEightEight>;
    static constexpr RunKernel kBytesToFiveSixFive = &repack<Lanes, EightEightEightEight, FiveSixFive>;
    static constexpr RunKernel kFiveSixFiveToBytes = &repack<Lanes, FiveSixFive, EightEightEightEight>;
};

} // namespace qor::Texsmith::Raw::RunLanes
