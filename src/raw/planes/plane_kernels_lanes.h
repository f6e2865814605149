// The kernels of planes for any vector type.
//
// `V` names the types and makes their constants; all other operations are found by the types' namespace. A
// conversion is made once for a channel, with its constants, and then called for each vector. Each follows
// the arithmetic of format_lanes.h, for channels of at most 24 bits, or of 32 for whole numbers.
#pragma once

#include "raw/planes/plane_kernels.h"

#include <utility>

namespace qor::Texsmith::Raw::Planes {

// `high` first, then `low`: the order of the operands makes a NaN `low`.
template <typename V> typename V::Float clampBetween(typename V::Float a, float low, float high) {
    return maximum(minimum(V::floats(high), a), V::floats(low));
}

template <typename V> auto signExtension(const PlaneChannel& channel) {
    const auto half = V::ints(channel.m_half), rest = V::ints(0 - channel.m_half);
    return [=](typename V::Int raw) { return (raw ^ rest) + half; };
}

template <typename V> auto decodeUNorm(const PlaneChannel& channel) {
    const auto scale = V::floats(channel.m_unormScale);
    return [=](typename V::Int raw) { return bitsOf(toFloats(raw) * scale); };
}
template <typename V> auto decodeSNorm(const PlaneChannel& channel) {
    const auto extend = signExtension<V>(channel);
    const auto scale = V::floats(channel.m_snormScale);
    return
        [=](typename V::Int raw) { return bitsOf(maximum(toFloats(extend(raw)) * scale, V::floats(-1.0f))); };
}
template <typename V> auto decodeUScaled(const PlaneChannel&) {
    return [](typename V::Int raw) { return bitsOf(toFloats(raw)); };
}
template <typename V> auto decodeSScaled(const PlaneChannel& channel) {
    const auto extend = signExtension<V>(channel);
    return [=](typename V::Int raw) { return bitsOf(toFloats(extend(raw))); };
}
template <typename V> auto decodeSNormNoZero(const PlaneChannel& channel) {
    const auto half = V::ints(channel.m_half); // extended and moved up again, only the upper bit differs
    const auto scale = V::floats(channel.m_unormScale);
    return [=](typename V::Int raw) {
        const auto unit = clampBetween<V>(toFloats(raw ^ half) * scale, 0.0f, 1.0f);
        return bitsOf(unit * V::floats(2.0f) - V::floats(1.0f));
    };
}
template <typename V> auto decodeUBNorm(const PlaneChannel& channel) {
    const auto half = V::ints(channel.m_half);
    const auto scale = V::floats(channel.m_snormScale);
    return
        [=](typename V::Int raw) { return bitsOf(maximum(toFloats(raw - half) * scale, V::floats(-1.0f))); };
}
template <typename V> auto decodeUBNormNoZero(const PlaneChannel& channel) {
    const auto scale = V::floats(channel.m_unormScale);
    return [=](typename V::Int raw) {
        return bitsOf(toFloats(raw) * scale * V::floats(2.0f) - V::floats(1.0f));
    };
}
template <typename V> auto decodeUBInt(const PlaneChannel& channel) {
    const auto half = V::ints(channel.m_half);
    return [=](typename V::Int raw) { return raw - half; };
}
template <typename V> auto decodeUBScaled(const PlaneChannel& channel) {
    const auto half = V::ints(channel.m_half);
    return [=](typename V::Int raw) { return bitsOf(toFloats(raw - half)); };
}
template <typename V> auto keepLane(const PlaneChannel&) {
    return [](typename V::Int lane) { return lane; };
}

// Exponents of five bits move by 112, and once more at the upper end, but not at the lower one.
inline constexpr std::uint32_t kExponentMove = 112u << 23;

// Of 10, 11 or 16 bits; the mask leaves nothing of a sign that is not there.
template <typename V> auto decodeFloat(const PlaneChannel& channel) {
    const auto sign = V::ints(channel.m_most & 0x8000), rest = V::ints(channel.m_most & 0x7FFF);
    const auto shift = V::count(channel.m_floatShift);
    return [=](typename V::Int raw) {
        const auto magnitude = shiftLeft(raw & rest, shift), move = V::ints(kExponentMove);
        const auto normal = greaterSigned(magnitude, V::ints(0x007FFFFF)) & move;
        const auto endless = greaterSigned(magnitude, V::ints(0x0F7FFFFF)) & move;
        return V::template shiftLeftBy<16>(raw & sign) | (magnitude + normal + endless);
    };
}

// Truncates, and limits to the normal numbers; zeros, denormals, infinities and NaNs keep their mantissa.
template <typename V>
typename V::Int smallMagnitude(typename V::Int magnitude, decltype(V::count(0)) floatShift) {
    const auto move = V::ints(kExponentMove);
    const auto high = floatsOf(V::ints(0x477FFFFF)), low = floatsOf(V::ints(0x38800000));
    const auto normal = bitsOf(maximum(minimum(floatsOf(magnitude), high), low)) - move;
    const auto endless = greaterSigned(magnitude, V::ints(0x7F7FFFFF));
    const auto denormal = greaterSigned(V::ints(0x00800000), magnitude);
    const auto odd = magnitude - (endless & (move + move));
    return shiftRight(select(endless | denormal, odd, normal), floatShift);
}
template <typename V> auto encodeSignedFloat(const PlaneChannel& channel) {
    const auto shift = V::count(channel.m_floatShift);
    return [=](typename V::Int bits) {
        const auto sign = V::template shiftRightBy<16>(bits) & V::ints(0x8000);
        return sign | smallMagnitude<V>(bits & V::ints(0x7FFFFFFF), shift);
    };
}
template <typename V> auto encodeUnsignedFloat(const PlaneChannel& channel) {
    const auto shift = V::count(channel.m_floatShift);
    return [=](typename V::Int bits) { // what is not above 0 becomes 0, a NaN too
        return smallMagnitude<V>(bitsOf(maximum(floatsOf(bits), V::floats(0.0f))), shift);
    };
}

// Halves away from zero.
template <typename V> typename V::Int roundAway(typename V::Float a) {
    const auto half = (bitsOf(a) & V::ints(0x80000000)) | bitsOf(V::floats(0.5f));
    return truncateToInts(a + floatsOf(half));
}

template <typename V> auto encodeUNorm(const PlaneChannel& channel) {
    const auto most = V::floats(channel.m_mostAsFloat);
    return [=](typename V::Int bits) {
        return truncateToInts(most * clampBetween<V>(floatsOf(bits), 0.0f, 1.0f) + V::floats(0.5f));
    };
}
// What exceeds 1 by a rounding is truncated away.
template <typename V> auto encodeUNormInRange(const PlaneChannel& channel) {
    const auto most = V::floats(channel.m_mostAsFloat);
    return [=](typename V::Int bits) { return truncateToInts(most * floatsOf(bits) + V::floats(0.5f)); };
}
template <typename V> auto encodeSNorm(const PlaneChannel& channel) {
    const auto most = V::floats(channel.m_signedAsFloat);
    return [=](typename V::Int bits) {
        return roundAway<V>(most * clampBetween<V>(floatsOf(bits), -1.0f, 1.0f));
    };
}
template <typename V> auto encodeUScaled(const PlaneChannel& channel) {
    const float most = channel.m_mostAsFloat;
    return [=](typename V::Int bits) {
        return truncateToInts(clampBetween<V>(floatsOf(bits), 0.0f, most) + V::floats(0.5f));
    };
}
template <typename V> auto encodeSScaled(const PlaneChannel& channel) {
    const float low = -channel.m_halfAsFloat, high = channel.m_signedAsFloat;
    return [=](typename V::Int bits) { return roundAway<V>(clampBetween<V>(floatsOf(bits), low, high)); };
}
template <typename V> auto encodeUInt(const PlaneChannel& channel) {
    const auto top = V::ints(0x80000000), most = V::ints(channel.m_most);
    return [=](typename V::Int bits) { return select(greaterSigned(bits ^ top, most ^ top), most, bits); };
}
template <typename V> auto encodeSInt(const PlaneChannel& channel) {
    const auto low = V::ints(0 - channel.m_half), high = V::ints(channel.m_half - 1);
    return [=](typename V::Int bits) {
        const auto limited = select(greaterSigned(bits, high), high, bits);
        return select(greaterSigned(low, limited), low, limited);
    };
}
template <typename V> auto encodeSNormNoZero(const PlaneChannel& channel) {
    const auto fromUnit = encodeUNorm<V>(channel);
    const auto half = V::ints(channel.m_half);
    return [=](typename V::Int bits) {
        return fromUnit(bitsOf(floatsOf(bits) * V::floats(0.5f) + V::floats(0.5f))) - half;
    };
}
template <typename V> auto encodeUBNormNoZero(const PlaneChannel& channel) {
    const auto half = V::ints(channel.m_half);
    const auto most = V::floats(channel.m_mostAsFloat), halfAsFloat = V::floats(channel.m_halfAsFloat);
    return [=](typename V::Int bits) {
        const auto unit = clampBetween<V>(floatsOf(bits), -1.0f, 1.0f) * V::floats(0.5f) + V::floats(0.5f);
        return roundAway<V>(unit * most - halfAsFloat) + half;
    };
}
// The unsigned forms of the signed types.
template <typename V, auto kMake> auto encodeMovedUp(const PlaneChannel& channel) {
    const auto encode = kMake(channel);
    const auto half = V::ints(channel.m_half);
    return [=](typename V::Int bits) { return encode(bits) + half; };
}

template <typename V, auto kMake>
void decodePlane(std::uint32_t* plane, const void* words, const PlaneChannel& channel, std::size_t count) {
    const auto convert = kMake(channel);
    const auto mask = V::ints(channel.m_most);
    const auto shift = V::count(channel.m_shift);
    const auto* from = static_cast<const std::uint8_t*>(words);
    for (std::size_t i = 0; i < count; i += V::kLanes) {
        store(plane + i, convert(shiftRight(V::load(from + 4 * i), shift) & mask));
    }
}

template <typename V, auto kMake, std::size_t... kChannels>
void encodeChannels(void* words, const std::uint32_t* planes, const PlaneWord& word, std::size_t count,
                    std::index_sequence<kChannels...>) {
    const PlaneChannel* channels = word.m_channels;
    const decltype(kMake(*channels)) convert[] = {kMake(channels[kChannels])...};
    const typename V::Int masks[] = {V::ints(channels[kChannels].m_most)...};
    const decltype(V::count(0)) shifts[] = {V::count(channels[kChannels].m_shift)...};
    const std::uint32_t* from[] = {planes + channels[kChannels].m_plane * kPlaneTexels...};
    const auto constant = V::ints(word.m_constant);
    auto* to = static_cast<std::uint8_t*>(words);
    for (std::size_t i = 0; i < count; i += V::kLanes) {
        store(to + 4 * i, (constant | ... |
                           shiftLeft(convert[kChannels](V::load(from[kChannels] + i)) & masks[kChannels],
                                     shifts[kChannels])));
    }
}

template <typename V, auto kMake, std::size_t kCount>
void encodeWord(void* words, const std::uint32_t* planes, const PlaneWord& word, std::size_t count) {
    encodeChannels<V, kMake>(words, planes, word, count, std::make_index_sequence<kCount>());
}

template <typename V>
void fillWord(void* words, const std::uint32_t*, const PlaneWord& word, std::size_t count) {
    const auto constant = V::ints(word.m_constant);
    for (std::size_t i = 0; i < count; i += V::kLanes) {
        store(static_cast<std::uint8_t*>(words) + 4 * i, constant);
    }
}

// Nine bits of mantissa, and five of the exponent that all channels share.
template <typename V>
void decodeShared(std::uint32_t* plane, const void* words, const PlaneChannel& channel, std::size_t count) {
    const auto mask = V::ints(channel.m_most);
    const auto shift = V::count(channel.m_shift);
    const auto* from = static_cast<const std::uint8_t*>(words);
    for (std::size_t i = 0; i < count; i += V::kLanes) {
        const auto word = V::load(from + 4 * i);
        const auto exponent = V::template shiftRightBy<27>(word) + V::ints(127 - 23);
        const auto power = floatsOf(V::template shiftLeftBy<23>(exponent));
        store(plane + i, bitsOf(toFloats(shiftRight(word, shift) & mask) * power));
    }
}

template <typename V> typename V::Int biasedExponent(typename V::Int bits) {
    return V::template shiftRightBy<23>(bits) & V::ints(0xFF);
}
template <typename V> typename V::Int greaterOf(typename V::Int a, typename V::Int b) {
    return select(greaterSigned(a, b), a, b);
}

// The exponent is replaced, so that the largest channel comes to 256..512; zeros and denormals stay.
template <typename V> typename V::Int sharedMantissa(typename V::Int bits, typename V::Int largest) {
    const auto zero = V::ints(0), biased = biasedExponent<V>(bits);
    const auto moved = biased - largest + V::ints(135);
    const auto exponent = moved & greaterSigned(moved, zero) & greaterSigned(biased, zero);
    const auto scaled = floatsOf((bits & V::ints(0x807FFFFF)) | V::template shiftLeftBy<23>(exponent));
    return truncateToInts(clampBetween<V>(scaled, 0.0f, 511.0f) + V::floats(0.5f));
}

template <typename V>
void encodeShared(void* words, const std::uint32_t* planes, const PlaneWord& word, std::size_t count) {
    const auto plane = [&](unsigned channel) {
        return planes + word.m_channels[channel].m_plane * kPlaneTexels;
    };
    const std::uint32_t *xs = plane(0), *ys = plane(1), *zs = plane(2);
    for (std::size_t i = 0; i < count; i += V::kLanes) {
        const auto x = V::load(xs + i), y = V::load(ys + i), z = V::load(zs + i);
        const auto largest =
            greaterOf<V>(greaterOf<V>(biasedExponent<V>(x), biasedExponent<V>(y)), biasedExponent<V>(z));
        const auto low = greaterOf<V>(largest, V::ints(112)), high = V::ints(143);
        const auto exponent = select(greaterSigned(low, high), high, low) - V::ints(112);
        const auto upper = V::template shiftLeftBy<27>(exponent) |
                           V::template shiftLeftBy<18>(sharedMantissa<V>(z, largest));
        const auto lower =
            V::template shiftLeftBy<9>(sharedMantissa<V>(y, largest)) | sharedMantissa<V>(x, largest);
        store(static_cast<std::uint8_t*>(words) + 4 * i, upper | lower);
    }
}

template <typename V> void convertToFloats(std::uint32_t* plane, std::size_t count) {
    for (std::size_t i = 0; i < count; i += V::kLanes) {
        store(plane + i, toFloats(V::load(plane + i)));
    }
}
template <typename V> void convertToInts(std::uint32_t* plane, std::size_t count) {
    for (std::size_t i = 0; i < count; i += V::kLanes) {
        store(plane + i, roundToInts(floatsOf(V::load(plane + i))));
    }
}

// The sums in the order of Transform.
template <typename V>
void transformPlanes(std::uint32_t* planes, const PlaneTransform& transform, std::size_t count) {
    const auto from = [&](unsigned lane) { return planes + transform.m_from[lane] * kPlaneTexels; };
    const std::uint32_t *xs = from(0), *ys = from(1), *zs = from(2), *ws = from(3);
    for (unsigned lane = 0; lane < 4; ++lane) {
        const auto factor = [&](unsigned axis) { return V::floats(transform.m_multiply[axis][lane]); };
        const auto x = factor(0), y = factor(1), z = factor(2), w = factor(3);
        const auto add = V::floats(transform.m_add[lane]);
        std::uint32_t* to = planes + (transform.m_to + lane) * kPlaneTexels;
        for (std::size_t i = 0; i < count; i += V::kLanes) {
            const auto pair = x * floatsOf(V::load(xs + i)) + y * floatsOf(V::load(ys + i));
            const auto sum = pair + z * floatsOf(V::load(zs + i)) + w * floatsOf(V::load(ws + i));
            store(to + i, sum + add);
        }
    }
}

template <typename V, auto kMake> constexpr void setEncoders(EncodeWord (&byCount)[5]) {
    byCount[0] = &fillWord<V>;
    byCount[1] = &encodeWord<V, kMake, 1>;
    byCount[2] = &encodeWord<V, kMake, 2>;
    byCount[3] = &encodeWord<V, kMake, 3>;
    byCount[4] = &encodeWord<V, kMake, 4>;
}

// All that does not depend on how elements lie in memory.
template <typename V> constexpr PlaneKernels makeKernels() {
    PlaneKernels kernels = {};
    DecodePlane* decode = kernels.m_decode;
    decode[0] = &decodePlane<V, &decodeUNorm<V>>;
    decode[1] = &decodePlane<V, &decodeSNorm<V>>;
    decode[2] = &decodePlane<V, &decodeUScaled<V>>;
    decode[3] = &decodePlane<V, &decodeSScaled<V>>;
    decode[4] = &decodePlane<V, &keepLane<V>>;
    decode[5] = &decodePlane<V, &signExtension<V>>;
    decode[6] = &decodePlane<V, &decodeSNormNoZero<V>>;
    decode[7] = &decodePlane<V, &decodeFloat<V>>;
    decode[kPlaneSignedFloat] = decode[7];
    decode[10] = &decodePlane<V, &decodeUBNorm<V>>;
    decode[11] = &decodePlane<V, &decodeUBNormNoZero<V>>;
    decode[12] = &decodePlane<V, &decodeUBInt<V>>;
    decode[13] = &decodePlane<V, &decodeUBScaled<V>>;
    decode[kPlaneSharedExponent] = &decodeShared<V>;
    decode[kPlaneIdentity] = &decodePlane<V, &keepLane<V>>;
    auto& encode = kernels.m_encode;
    setEncoders<V, &encodeUNorm<V>>(encode[0]);
    setEncoders<V, &encodeSNorm<V>>(encode[1]);
    setEncoders<V, &encodeUScaled<V>>(encode[2]);
    setEncoders<V, &encodeSScaled<V>>(encode[3]);
    setEncoders<V, &encodeUInt<V>>(encode[4]);
    setEncoders<V, &encodeSInt<V>>(encode[5]);
    setEncoders<V, &encodeSNormNoZero<V>>(encode[6]);
    setEncoders<V, &encodeUnsignedFloat<V>>(encode[7]);
    setEncoders<V, &encodeSignedFloat<V>>(encode[kPlaneSignedFloat]);
    setEncoders<V, &encodeUNormInRange<V>>(encode[kPlaneUNormInRange]);
    setEncoders<V, &encodeMovedUp<V, &encodeSNorm<V>>>(encode[10]);
    setEncoders<V, &encodeUBNormNoZero<V>>(encode[11]);
    setEncoders<V, &encodeMovedUp<V, &encodeSInt<V>>>(encode[12]);
    setEncoders<V, &encodeMovedUp<V, &encodeSScaled<V>>>(encode[13]);
    encode[kPlaneSharedExponent][3] = &encodeShared<V>;
    setEncoders<V, &keepLane<V>>(encode[kPlaneIdentity]);
    kernels.m_toFloats = &convertToFloats<V>;
    kernels.m_toInts = &convertToInts<V>;
    kernels.m_transform = &transformPlanes<V>;
    return kernels;
}

} // namespace qor::Texsmith::Raw::Planes
