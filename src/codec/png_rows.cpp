#include "codec/png_rows.h"

#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

namespace qor::Texsmith::Raw {
namespace {

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

} // namespace

void swapBytes(std::uint8_t* words, std::size_t bytes) {
    for (std::size_t i = 0; i + 1 < bytes; i += 2) {
        std::swap(words[i], words[i + 1]);
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
