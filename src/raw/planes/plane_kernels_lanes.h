// The kernels of planes over lanes.
//
// A conversion is made once for a channel, with its constants, and then called for each vector. Each follows
// the arithmetic of texels/lanes.h, for channels of at most 24 bits, or of 32 for whole numbers.
#pragma once

#include "raw/planes/plane_kernels.h"
#include "simd/canonical_nan.h"

#include <utility>

namespace qor::Texsmith::Raw::Planes {

// `high` first, then `low`: the order of the operands makes a NaN `low`.
template <typename Lanes> typename Lanes::Float clampBetween(typename Lanes::Float a, float low, float high) {
    return maximum(minimum(Lanes::splat(high), a), Lanes::splat(low));
}

template <typename Lanes> auto signExtension(const PlaneChannel& channel) {
    const auto half = Lanes::splat(channel.m_half), rest = Lanes::splat(0 - channel.m_half);
    return [=](typename Lanes::Int raw) { return (raw ^ rest) + half; };
}

template <typename Lanes> auto decodeUNorm(const PlaneChannel& channel) {
    const auto scale = Lanes::splat(channel.m_unormScale);
    return [=](typename Lanes::Int raw) { return bitsOf(toFloats(raw) * scale); };
}
template <typename Lanes> auto decodeSNorm(const PlaneChannel& channel) {
    const auto extend = signExtension<Lanes>(channel);
    const auto scale = Lanes::splat(channel.m_snormScale);
    return [=](typename Lanes::Int raw) {
        return bitsOf(maximum(toFloats(extend(raw)) * scale, Lanes::splat(-1.0f)));
    };
}
template <typename Lanes> auto decodeUScaled(const PlaneChannel&) {
    return [](typename Lanes::Int raw) { return bitsOf(toFloats(raw)); };
}
template <typename Lanes> auto decodeSScaled(const PlaneChannel& channel) {
    const auto extend = signExtension<Lanes>(channel);
    return [=](typename Lanes::Int raw) { return bitsOf(toFloats(extend(raw))); };
}
template <typename Lanes> auto decodeSNormNoZero(const PlaneChannel& channel) {
    // The sign-extended value plus m_half is the raw one with its upper bit flipped.
    const auto half = Lanes::splat(channel.m_half);
    const auto scale = Lanes::splat(channel.m_unormScale);
    return [=](typename Lanes::Int raw) {
        const auto unit = clampBetween<Lanes>(toFloats(raw ^ half) * scale, 0.0f, 1.0f);
        return bitsOf(unit * Lanes::splat(2.0f) - Lanes::splat(1.0f));
    };
}
template <typename Lanes> auto decodeUBNorm(const PlaneChannel& channel) {
    const auto half = Lanes::splat(channel.m_half);
    const auto scale = Lanes::splat(channel.m_snormScale);
    return [=](typename Lanes::Int raw) {
        return bitsOf(maximum(toFloats(raw - half) * scale, Lanes::splat(-1.0f)));
    };
}
template <typename Lanes> auto decodeUBNormNoZero(const PlaneChannel& channel) {
    const auto scale = Lanes::splat(channel.m_unormScale);
    return [=](typename Lanes::Int raw) {
        return bitsOf(toFloats(raw) * scale * Lanes::splat(2.0f) - Lanes::splat(1.0f));
    };
}
template <typename Lanes> auto decodeUBInt(const PlaneChannel& channel) {
    const auto half = Lanes::splat(channel.m_half);
    return [=](typename Lanes::Int raw) { return raw - half; };
}
template <typename Lanes> auto decodeUBScaled(const PlaneChannel& channel) {
    const auto half = Lanes::splat(channel.m_half);
    return [=](typename Lanes::Int raw) { return bitsOf(toFloats(raw - half)); };
}
template <typename Lanes> auto keepLane(const PlaneChannel&) {
    return [](typename Lanes::Int lane) { return lane; };
}

// The bias of a float's exponent is 127, that of an exponent of five bits 15. Normal numbers move by the
// difference; infinities and NaNs by twice as much, from 31 to 255; zeros and denormals stay at 0.
inline constexpr std::uint32_t kExponentMove = 112u << 23;

// Floats of 10, 11 or 16 bits. The first two have no sign, and m_most none of its bits.
template <typename Lanes> auto decodeFloat(const PlaneChannel& channel) {
    const auto sign = Lanes::splat(channel.m_most & 0x8000), rest = Lanes::splat(channel.m_most & 0x7FFF);
    const auto shift = Lanes::shiftCount(channel.m_floatShift);
    return [=](typename Lanes::Int raw) {
        const auto magnitude = shiftLeft(raw & rest, shift), move = Lanes::splat(kExponentMove);
        const auto normal = greaterSigned(magnitude, Lanes::splat(0x007FFFFFu)) & move;
        const auto endless = greaterSigned(magnitude, Lanes::splat(0x0F7FFFFFu)) & move;
        return shiftLeft<16>(raw & sign) | (magnitude + normal + endless);
    };
}

// To a small float without its sign. Truncates, and limits numbers to the normal ones; zeros, denormals,
// infinities and NaNs keep the upper bits of their mantissa.
template <typename Lanes>
typename Lanes::Int smallMagnitude(typename Lanes::Int magnitude, decltype(Lanes::shiftCount(0)) floatShift) {
    const auto move = Lanes::splat(kExponentMove);
    const auto high = floatsOf(Lanes::splat(0x477FFFFFu)), low = floatsOf(Lanes::splat(0x38800000u));
    const auto normal = bitsOf(maximum(minimum(floatsOf(magnitude), high), low)) - move;
    const auto endless = greaterSigned(magnitude, Lanes::splat(0x7F7FFFFFu));
    const auto denormal = greaterSigned(Lanes::splat(0x00800000u), magnitude);
    const auto odd = magnitude - (endless & (move + move));
    return shiftRight(select(endless | denormal, odd, normal), floatShift);
}
template <typename Lanes> auto encodeSignedFloat(const PlaneChannel& channel) {
    const auto shift = Lanes::shiftCount(channel.m_floatShift);
    return [=](typename Lanes::Int bits) {
        const auto sign = shiftRight<16>(bits) & Lanes::splat(0x8000u);
        return sign | smallMagnitude<Lanes>(bits & Lanes::splat(0x7FFFFFFFu), shift);
    };
}
template <typename Lanes> auto encodeUnsignedFloat(const PlaneChannel& channel) {
    const auto shift = Lanes::shiftCount(channel.m_floatShift);
    return [=](typename Lanes::Int bits) { // what is not above 0 becomes 0, a NaN too
        return smallMagnitude<Lanes>(bitsOf(maximum(floatsOf(bits), Lanes::splat(0.0f))), shift);
    };
}

// To the nearest whole number, halves away from zero.
template <typename Lanes> typename Lanes::Int roundAway(typename Lanes::Float a) {
    const auto half = (bitsOf(a) & Lanes::splat(0x80000000u)) | bitsOf(Lanes::splat(0.5f));
    return truncateToInts(a + floatsOf(half));
}

template <typename Lanes> auto encodeUNorm(const PlaneChannel& channel) {
    const auto most = Lanes::splat(channel.m_mostAsFloat);
    return [=](typename Lanes::Int bits) {
        return truncateToInts(most * clampBetween<Lanes>(floatsOf(bits), 0.0f, 1.0f) + Lanes::splat(0.5f));
    };
}
// For values that are in 0..1 or exceed 1 by an error of rounding, which truncation takes away.
template <typename Lanes> auto encodeUNormInRange(const PlaneChannel& channel) {
    const auto most = Lanes::splat(channel.m_mostAsFloat);
    return
        [=](typename Lanes::Int bits) { return truncateToInts(most * floatsOf(bits) + Lanes::splat(0.5f)); };
}
template <typename Lanes> auto encodeSNorm(const PlaneChannel& channel) {
    const auto most = Lanes::splat(channel.m_signedAsFloat);
    return [=](typename Lanes::Int bits) {
        return roundAway<Lanes>(most * clampBetween<Lanes>(floatsOf(bits), -1.0f, 1.0f));
    };
}
template <typename Lanes> auto encodeUScaled(const PlaneChannel& channel) {
    const float most = channel.m_mostAsFloat;
    return [=](typename Lanes::Int bits) {
        return truncateToInts(clampBetween<Lanes>(floatsOf(bits), 0.0f, most) + Lanes::splat(0.5f));
    };
}
template <typename Lanes> auto encodeSScaled(const PlaneChannel& channel) {
    const float low = -channel.m_halfAsFloat, high = channel.m_signedAsFloat;
    return [=](typename Lanes::Int bits) {
        return roundAway<Lanes>(clampBetween<Lanes>(floatsOf(bits), low, high));
    };
}
template <typename Lanes> auto encodeUInt(const PlaneChannel& channel) {
    const auto top = Lanes::splat(0x80000000u), most = Lanes::splat(channel.m_most);
    return
        [=](typename Lanes::Int bits) { return select(greaterSigned(bits ^ top, most ^ top), most, bits); };
}
template <typename Lanes> auto encodeSInt(const PlaneChannel& channel) {
    const auto low = Lanes::splat(0 - channel.m_half), high = Lanes::splat(channel.m_half - 1);
    return [=](typename Lanes::Int bits) {
        const auto limited = select(greaterSigned(bits, high), high, bits);
        return select(greaterSigned(low, limited), low, limited);
    };
}
template <typename Lanes> auto encodeSNormNoZero(const PlaneChannel& channel) {
    const auto fromUnit = encodeUNorm<Lanes>(channel);
    const auto half = Lanes::splat(channel.m_half);
    return [=](typename Lanes::Int bits) {
        return fromUnit(bitsOf(floatsOf(bits) * Lanes::splat(0.5f) + Lanes::splat(0.5f))) - half;
    };
}
template <typename Lanes> auto encodeUBNormNoZero(const PlaneChannel& channel) {
    const auto half = Lanes::splat(channel.m_half);
    const auto most = Lanes::splat(channel.m_mostAsFloat), halfAsFloat = Lanes::splat(channel.m_halfAsFloat);
    return [=](typename Lanes::Int bits) {
        const auto unit =
            clampBetween<Lanes>(floatsOf(bits), -1.0f, 1.0f) * Lanes::splat(0.5f) + Lanes::splat(0.5f);
        return roundAway<Lanes>(unit * most - halfAsFloat) + half;
    };
}
// The unsigned types UBNorm, UBInt and UBScaled: a signed type plus half the range.
template <typename Lanes, auto kMake> auto encodeMovedUp(const PlaneChannel& channel) {
    const auto encode = kMake(channel);
    const auto half = Lanes::splat(channel.m_half);
    return [=](typename Lanes::Int bits) { return encode(bits) + half; };
}

template <typename Lanes, auto kMake>
void decodePlane(std::uint32_t* plane, const void* words, const PlaneChannel& channel, std::size_t count) {
    const auto convert = kMake(channel);
    const auto mask = Lanes::splat(channel.m_most);
    const auto shift = Lanes::shiftCount(channel.m_shift);
    const auto* from = static_cast<const std::uint8_t*>(words);
    for (std::size_t i = 0; i < count; i += Lanes::kCount) {
        store(plane + i, convert(shiftRight(Lanes::loadInts(from + 4 * i), shift) & mask));
    }
}

template <typename Lanes, auto kMake, std::size_t... kChannels>
void encodeChannels(void* words, const std::uint32_t* planes, const PlaneWord& word, std::size_t count,
                    std::index_sequence<kChannels...>) {
    const PlaneChannel* channels = word.m_channels;
    const decltype(kMake(*channels)) convert[] = {kMake(channels[kChannels])...};
    const typename Lanes::Int masks[] = {Lanes::splat(channels[kChannels].m_most)...};
    const decltype(Lanes::shiftCount(0)) shifts[] = {Lanes::shiftCount(channels[kChannels].m_shift)...};
    const std::uint32_t* from[] = {planes + channels[kChannels].m_plane * kPlaneTexels...};
    const auto constant = Lanes::splat(word.m_constant);
    auto* to = static_cast<std::uint8_t*>(words);
    for (std::size_t i = 0; i < count; i += Lanes::kCount) {
        store(to + 4 * i,
              (constant | ... |
               shiftLeft(convert[kChannels](Lanes::loadInts(from[kChannels] + i)) & masks[kChannels],
                         shifts[kChannels])));
    }
}

template <typename Lanes, auto kMake, std::size_t kCount>
void encodeWord(void* words, const std::uint32_t* planes, const PlaneWord& word, std::size_t count) {
    encodeChannels<Lanes, kMake>(words, planes, word, count, std::make_index_sequence<kCount>());
}

template <typename Lanes>
void fillWord(void* words, const std::uint32_t*, const PlaneWord& word, std::size_t count) {
    const auto constant = Lanes::splat(word.m_constant);
    for (std::size_t i = 0; i < count; i += Lanes::kCount) {
        store(static_cast<std::uint8_t*>(words) + 4 * i, constant);
    }
}

// Nine bits of mantissa, and five of the exponent that all channels share.
template <typename Lanes>
void decodeShared(std::uint32_t* plane, const void* words, const PlaneChannel& channel, std::size_t count) {
    const auto mask = Lanes::splat(channel.m_most);
    const auto shift = Lanes::shiftCount(channel.m_shift);
    const auto* from = static_cast<const std::uint8_t*>(words);
    for (std::size_t i = 0; i < count; i += Lanes::kCount) {
        const auto word = Lanes::loadInts(from + 4 * i);
        const auto exponent = shiftRight<27>(word) + Lanes::splat(127u - 23u);
        const auto power = floatsOf(shiftLeft<23>(exponent));
        store(plane + i, bitsOf(toFloats(shiftRight(word, shift) & mask) * power));
    }
}

template <typename Lanes> typename Lanes::Int biasedExponent(typename Lanes::Int bits) {
    return shiftRight<23>(bits) & Lanes::splat(0xFFu);
}
template <typename Lanes> typename Lanes::Int greaterOf(typename Lanes::Int a, typename Lanes::Int b) {
    return select(greaterSigned(a, b), a, b);
}

// A channel times the power of two that brings the largest of the three to 256..512, as a whole number. It is
// done on the exponent's bits; zeros and denormals have none to change.
template <typename Lanes>
typename Lanes::Int sharedMantissa(typename Lanes::Int bits, typename Lanes::Int largest) {
    const auto zero = Lanes::splat(0u), biased = biasedExponent<Lanes>(bits);
    const auto moved = biased - largest + Lanes::splat(135u);
    const auto exponent = moved & greaterSigned(moved, zero) & greaterSigned(biased, zero);
    const auto scaled = floatsOf((bits & Lanes::splat(0x807FFFFFu)) | shiftLeft<23>(exponent));
    return truncateToInts(clampBetween<Lanes>(scaled, 0.0f, 511.0f) + Lanes::splat(0.5f));
}

template <typename Lanes>
void encodeShared(void* words, const std::uint32_t* planes, const PlaneWord& word, std::size_t count) {
    const auto plane = [&](unsigned channel) {
        return planes + word.m_channels[channel].m_plane * kPlaneTexels;
    };
    const std::uint32_t *xs = plane(0), *ys = plane(1), *zs = plane(2);
    for (std::size_t i = 0; i < count; i += Lanes::kCount) {
        const auto x = Lanes::loadInts(xs + i), y = Lanes::loadInts(ys + i), z = Lanes::loadInts(zs + i);
        const auto largest = greaterOf<Lanes>(
            greaterOf<Lanes>(biasedExponent<Lanes>(x), biasedExponent<Lanes>(y)), biasedExponent<Lanes>(z));
        const auto low = greaterOf<Lanes>(largest, Lanes::splat(112u)), high = Lanes::splat(143u);
        const auto exponent = select(greaterSigned(low, high), high, low) - Lanes::splat(112u);
        const auto upper = shiftLeft<27>(exponent) | shiftLeft<18>(sharedMantissa<Lanes>(z, largest));
        const auto lower =
            shiftLeft<9>(sharedMantissa<Lanes>(y, largest)) | sharedMantissa<Lanes>(x, largest);
        store(static_cast<std::uint8_t*>(words) + 4 * i, upper | lower);
    }
}

template <typename Lanes> void convertToFloats(std::uint32_t* plane, std::size_t count) {
    for (std::size_t i = 0; i < count; i += Lanes::kCount) {
        store(plane + i, toFloats(Lanes::loadInts(plane + i)));
    }
}
template <typename Lanes> void convertToInts(std::uint32_t* plane, std::size_t count) {
    for (std::size_t i = 0; i < count; i += Lanes::kCount) {
        store(plane + i, roundToInts(floatsOf(Lanes::loadInts(plane + i))));
    }
}

// The sums are added up in the order of Transform, which gives the same bits.
template <typename Lanes>
void transformPlanes(std::uint32_t* planes, const PlaneTransform& transform, std::size_t count) {
    const auto from = [&](unsigned lane) { return planes + transform.m_from[lane] * kPlaneTexels; };
    const std::uint32_t *xs = from(0), *ys = from(1), *zs = from(2), *ws = from(3);
    for (unsigned lane = 0; lane < 4; ++lane) {
        const auto factor = [&](unsigned axis) { return Lanes::splat(transform.m_multiply[axis][lane]); };
        const auto x = factor(0), y = factor(1), z = factor(2), w = factor(3);
        const auto add = Lanes::splat(transform.m_add[lane]);
        std::uint32_t* to = planes + (transform.m_to + lane) * kPlaneTexels;
        for (std::size_t i = 0; i < count; i += Lanes::kCount) {
            const auto pair = x * floatsOf(Lanes::loadInts(xs + i)) + y * floatsOf(Lanes::loadInts(ys + i));
            const auto sum =
                pair + z * floatsOf(Lanes::loadInts(zs + i)) + w * floatsOf(Lanes::loadInts(ws + i));
            store(to + i, Simd::canonical<Lanes>(sum + add));
        }
    }
}

// Elements of one or two bytes, a lane each.
template <typename Lanes> void gatherBytes(std::uint32_t* words, const void* source, std::size_t count) {
    for (std::size_t i = 0; i < count; i += Lanes::kCount) {
        store(words + i, Lanes::loadBytes(static_cast<const std::uint8_t*>(source) + i));
    }
}
template <typename Lanes>
void scatterBytes(void* destination, const std::uint32_t* words, std::size_t count) {
    for (std::size_t i = 0; i < count; i += Lanes::kCount) {
        Lanes::storeBytes(static_cast<std::uint8_t*>(destination) + i, Lanes::loadInts(words + i));
    }
}
template <typename Lanes> void gatherPairs(std::uint32_t* words, const void* source, std::size_t count) {
    for (std::size_t i = 0; i < count; i += Lanes::kCount) {
        store(words + i, Lanes::loadWords(static_cast<const std::uint8_t*>(source) + 2 * i));
    }
}
template <typename Lanes>
void scatterPairs(void* destination, const std::uint32_t* words, std::size_t count) {
    for (std::size_t i = 0; i < count; i += Lanes::kCount) {
        Lanes::storeWords(static_cast<std::uint8_t*>(destination) + 2 * i, Lanes::loadInts(words + i));
    }
}

// Elements of four words: the rows of squares.
template <typename Lanes> void gatherFours(std::uint32_t* words, const void* source, std::size_t count) {
    for (std::size_t i = 0; i < count; i += Lanes::kCount) {
        typename Lanes::Float planes[4];
        Lanes::loadTexels(planes, static_cast<const float*>(source) + 4 * i, 4);
        for (unsigned word = 0; word < 4; ++word) {
            store(&words[word * kPlaneTexels + i], planes[word]);
        }
    }
}
template <typename Lanes>
void scatterFours(void* destination, const std::uint32_t* words, std::size_t count) {
    for (std::size_t i = 0; i < count; i += Lanes::kCount) {
        typename Lanes::Float planes[4];
        for (unsigned word = 0; word < 4; ++word) {
            planes[word] = Lanes::loadFloats(&words[word * kPlaneTexels + i]);
        }
        Lanes::storeTexels(static_cast<float*>(destination) + 4 * i, 4, planes);
    }
}

template <typename Lanes, auto kMake> constexpr void setEncoders(EncodeWord (&byCount)[5]) {
    byCount[0] = &fillWord<Lanes>;
    byCount[1] = &encodeWord<Lanes, kMake, 1>;
    byCount[2] = &encodeWord<Lanes, kMake, 2>;
    byCount[3] = &encodeWord<Lanes, kMake, 3>;
    byCount[4] = &encodeWord<Lanes, kMake, 4>;
}

// All but the elements of two and of three words.
template <typename Lanes> constexpr PlaneKernels makeKernels() {
    PlaneKernels kernels = {};
    kernels.m_gather[1] = &gatherBytes<Lanes>;
    kernels.m_gather[2] = &gatherPairs<Lanes>;
    kernels.m_gather[16] = &gatherFours<Lanes>;
    kernels.m_scatter[1] = &scatterBytes<Lanes>;
    kernels.m_scatter[2] = &scatterPairs<Lanes>;
    kernels.m_scatter[16] = &scatterFours<Lanes>;
    DecodePlane* decode = kernels.m_decode;
    decode[0] = &decodePlane<Lanes, &decodeUNorm<Lanes>>;
    decode[1] = &decodePlane<Lanes, &decodeSNorm<Lanes>>;
    decode[2] = &decodePlane<Lanes, &decodeUScaled<Lanes>>;
    decode[3] = &decodePlane<Lanes, &decodeSScaled<Lanes>>;
    decode[4] = &decodePlane<Lanes, &keepLane<Lanes>>;
    decode[5] = &decodePlane<Lanes, &signExtension<Lanes>>;
    decode[6] = &decodePlane<Lanes, &decodeSNormNoZero<Lanes>>;
    decode[7] = &decodePlane<Lanes, &decodeFloat<Lanes>>;
    decode[kPlaneSignedFloat] = decode[7];
    decode[10] = &decodePlane<Lanes, &decodeUBNorm<Lanes>>;
    decode[11] = &decodePlane<Lanes, &decodeUBNormNoZero<Lanes>>;
    decode[12] = &decodePlane<Lanes, &decodeUBInt<Lanes>>;
    decode[13] = &decodePlane<Lanes, &decodeUBScaled<Lanes>>;
    decode[kPlaneSharedExponent] = &decodeShared<Lanes>;
    decode[kPlaneIdentity] = &decodePlane<Lanes, &keepLane<Lanes>>;
    auto& encode = kernels.m_encode;
    setEncoders<Lanes, &encodeUNorm<Lanes>>(encode[0]);
    setEncoders<Lanes, &encodeSNorm<Lanes>>(encode[1]);
    setEncoders<Lanes, &encodeUScaled<Lanes>>(encode[2]);
    setEncoders<Lanes, &encodeSScaled<Lanes>>(encode[3]);
    setEncoders<Lanes, &encodeUInt<Lanes>>(encode[4]);
    setEncoders<Lanes, &encodeSInt<Lanes>>(encode[5]);
    setEncoders<Lanes, &encodeSNormNoZero<Lanes>>(encode[6]);
    setEncoders<Lanes, &encodeUnsignedFloat<Lanes>>(encode[7]);
    setEncoders<Lanes, &encodeSignedFloat<Lanes>>(encode[kPlaneSignedFloat]);
    setEncoders<Lanes, &encodeUNormInRange<Lanes>>(encode[kPlaneUNormInRange]);
    setEncoders<Lanes, &encodeMovedUp<Lanes, &encodeSNorm<Lanes>>>(encode[10]);
    setEncoders<Lanes, &encodeUBNormNoZero<Lanes>>(encode[11]);
    setEncoders<Lanes, &encodeMovedUp<Lanes, &encodeSInt<Lanes>>>(encode[12]);
    setEncoders<Lanes, &encodeMovedUp<Lanes, &encodeSScaled<Lanes>>>(encode[13]);
    encode[kPlaneSharedExponent][3] = &encodeShared<Lanes>;
    setEncoders<Lanes, &keepLane<Lanes>>(encode[kPlaneIdentity]);
    kernels.m_toFloats = &convertToFloats<Lanes>;
    kernels.m_toInts = &convertToInts<Lanes>;
    kernels.m_transform = &transformPlanes<Lanes>;
    return kernels;
}

} // namespace qor::Texsmith::Raw::Planes
