#include "codec/png_rows.h"

#include <bit>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace qor::Texsmith::Raw {
namespace {

static_assert(std::endian::native == std::endian::little, "packWords turns bytes around");

enum Filter : std::uint8_t { kNone, kLeft, kAbove, kMean, kPaeth, kFilters };

std::uint8_t toByte(int value) { return static_cast<std::uint8_t>(value & 0xFF); }

// The neighbour nearest to left + above - corner.
int paeth(int left, int above, int corner) {
    const int toLeft = std::abs(above - corner), toAbove = std::abs(left - corner);
    const int toCorner = std::abs(left + above - 2 * corner);
    return toLeft <= toAbove && toLeft <= toCorner ? left : toAbove <= toCorner ? above : corner;
}

template <Filter kFilter> int predict(int left, int above, int corner) {
    switch (kFilter) {
    case kLeft:
        return left;
    case kAbove:
        return above;
    case kMean:
        return (left + above) / 2;
    case kPaeth:
        return paeth(left, above, corner);
    default:
        return 0;
    }
}

template <Filter kFilter>
void filterRow(std::uint8_t* to, const std::uint8_t* row, const std::uint8_t* above, std::size_t bytes,
               std::size_t pixelBytes) {
    *to++ = kFilter;
    for (std::size_t i = 0; i < pixelBytes; ++i) {
        to[i] = toByte(row[i] - predict<kFilter>(0, above[i], 0));
    }
    for (std::size_t i = pixelBytes; i < bytes; ++i) {
        to[i] = toByte(row[i] - predict<kFilter>(row[i - pixelBytes], above[i], above[i - pixelBytes]));
    }
}

constexpr decltype(&filterRow<kNone>) kFilterRows[kFilters] = {
    &filterRow<kNone>, &filterRow<kLeft>, &filterRow<kAbove>, &filterRow<kMean>, &filterRow<kPaeth>};

std::uint64_t sumOf(const std::uint8_t* filtered, std::size_t bytes) {
    std::uint64_t sum = 0;
    for (std::size_t i = 1; i <= bytes; ++i) {
        sum += static_cast<unsigned>(std::abs(static_cast<std::int8_t>(filtered[i])));
    }
    return sum;
}

template <unsigned kFrom, unsigned kTo>
void packBytes(std::uint8_t* to, const std::uint8_t* from, std::size_t pixels) {
    for (std::size_t x = 0; x < pixels; ++x, to += kTo, from += kFrom) {
        for (unsigned c = 0; c < kTo; ++c) {
            to[c] = from[c];
        }
    }
}

template <unsigned kFrom, unsigned kTo>
void packWords(std::uint8_t* to, const std::uint8_t* from, std::size_t pixels) {
    for (std::size_t x = 0; x < pixels; ++x, to += 2 * kTo, from += 2 * kFrom) {
        for (unsigned c = 0; c < kTo; ++c) {
            to[2 * c] = from[2 * c + 1];
            to[2 * c + 1] = from[2 * c];
        }
    }
}

unsigned channelsOf(const ChannelLayout& layout) {
    return (layout.m_isGrey ? 1 : 3) + (layout.m_hasAlpha ? 1 : 0);
}

} // namespace

std::size_t packedPixelBytes(const ChannelLayout& layout) {
    return channelsOf(layout) * (layout.m_depth == ChannelDepth::k8 ? 1 : 2);
}

void packRow(std::uint8_t* to, const std::uint8_t* elements, std::size_t pixels,
             const ChannelLayout& layout) {
    const unsigned channels = channelsOf(layout);
    if (layout.m_depth == ChannelDepth::k8) {
        channels == 3 ? packBytes<4, 3>(to, elements, pixels)
                      : static_cast<void>(std::memcpy(to, elements, pixels * channels));
    } else {
        channels == 3 ? packWords<4, 3>(to, elements, pixels)
                      : packWords<1, 1>(to, elements, pixels * channels);
    }
}

void filterByLeft(std::uint8_t* to, const std::uint8_t* row, std::size_t bytes, std::size_t pixelBytes) {
    filterRow<kLeft>(to, row, row, bytes, pixelBytes); // nothing above is looked at
}

void filterBySmallestSum(std::uint8_t* to, const std::uint8_t* row, const std::uint8_t* above,
                         std::size_t bytes, std::size_t pixelBytes) {
    std::vector<std::uint8_t> tried(bytes + 1);
    std::uint64_t smallest = ~std::uint64_t{0};
    for (const auto filter : kFilterRows) {
        filter(tried.data(), row, above, bytes, pixelBytes);
        if (const std::uint64_t sum = sumOf(tried.data(), bytes); sum < smallest) {
            smallest = sum;
            std::memcpy(to, tried.data(), bytes + 1);
        }
    }
}

} // namespace qor::Texsmith::Raw
