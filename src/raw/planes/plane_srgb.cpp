#include "raw/planes/plane_srgb.h"

#include "raw/texels/srgb.h"

#include <array>
#include <bit>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr unsigned kMostBitsOfTable = 11;

float decodeValue(std::uint32_t raw, float unormScale) {
    return srgbDecode(static_cast<float>(raw) * unormScale);
}

// Made at first use, for all conversions to come.
template <unsigned kBits> const float* decodedValues(float unormScale) {
    static const auto s_values = [=] {
        std::array<float, 1u << kBits> values;
        for (std::uint32_t raw = 0; raw < values.size(); ++raw) {
            values[raw] = decodeValue(raw, unormScale);
        }
        return values;
    }();
    return s_values.data();
}

// Calls `store(i, raw)` for the values of the channel.
template <typename Store>
void forEachValue(const void* words, const PlaneChannel& channel, std::size_t count, Store store) {
    const auto* from = static_cast<const std::uint8_t*>(words);
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t word;
        std::memcpy(&word, from + 4 * i, sizeof word);
        store(i, word >> channel.m_shift & channel.m_most);
    }
}

void lookUp(std::uint32_t* plane, const void* words, const PlaneChannel& channel, std::size_t count) {
    forEachValue(words, channel, count, [plane, table = channel.m_table](std::size_t i, std::uint32_t raw) {
        plane[i] = std::bit_cast<std::uint32_t>(table[raw]);
    });
}

void compute(std::uint32_t* plane, const void* words, const PlaneChannel& channel, std::size_t count) {
    forEachValue(words, channel, count, [plane, &channel](std::size_t i, std::uint32_t raw) {
        plane[i] = std::bit_cast<std::uint32_t>(decodeValue(raw, channel.m_unormScale));
    });
}

} // namespace

void chooseSrgbDecoder(DecodePlane* run, PlaneChannel* channel, unsigned bits) {
    using Values = const float* (*)(float unormScale);
    constexpr Values kByBits[kMostBitsOfTable + 1] = {
        nullptr,           &decodedValues<1>, &decodedValues<2>,  nullptr,
        &decodedValues<4>, &decodedValues<5>, &decodedValues<6>,  nullptr,
        &decodedValues<8>, nullptr,           &decodedValues<10>, &decodedValues<11>};
    const Values values = bits <= kMostBitsOfTable ? kByBits[bits] : nullptr;
    *run = values != nullptr ? &lookUp : &compute;
    channel->m_table = values != nullptr ? values(channel->m_unormScale) : nullptr;
}

} // namespace qor::Texsmith::Raw
