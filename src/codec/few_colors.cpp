#include "codec/few_colors.h"

#include <algorithm>
#include <array>
#include <unordered_map>

namespace qor::Texsmith::Raw {
namespace {

constexpr unsigned kBits = 5; // of a channel, in the histogram
constexpr unsigned kSide = 1u << kBits;
constexpr std::size_t kMostColors = 256;

using Color = std::array<std::uint8_t, 4>;

std::uint32_t wordOf(const Color& color) {
    return std::uint32_t{color[0]} | std::uint32_t{color[1]} << 8 | std::uint32_t{color[2]} << 16;
}

// Calls visit(colour, isTransparent) for each pixel in order, until it returns false.
template <typename Visit> void forEachPixel(const ImageRows& rows, Visit visit) {
    const bool isGrey = rows.m_layout.m_isGrey, hasAlpha = rows.m_layout.m_hasAlpha;
    const unsigned step = isGrey ? (hasAlpha ? 2 : 1) : 4;
    for (unsigned y = 0; y < rows.m_height; ++y) {
        const std::uint8_t* at = rows.row(y);
        for (unsigned x = 0; x < rows.m_width; ++x, at += step) {
            const Color color{at[0], at[isGrey ? 0 : 1], at[isGrey ? 0 : 2], 0};
            if (!visit(color, hasAlpha && at[step - 1] < 128)) {
                return;
            }
        }
    }
}

// False for more colours than there is room for.
bool keepColors(const ImageRows& rows, FewColors* picture) {
    std::unordered_map<std::uint32_t, std::uint8_t> known;
    bool fits = true;
    forEachPixel(rows, [&](const Color& color, bool isTransparent) {
        constexpr std::uint32_t kTransparent = 1u << 31;
        const std::uint32_t key = isTransparent ? kTransparent : wordOf(color);
        const auto [entry, isNew] = known.try_emplace(key, static_cast<std::uint8_t>(known.size() & 255));
        fits = known.size() <= kMostColors;
        if (fits && isNew) {
            picture->m_transparent = isTransparent ? int{entry->second} : picture->m_transparent;
            picture->m_colors.push_back(isTransparent ? 0 : key);
        }
        picture->m_indices.push_back(entry->second);
        return fits;
    });
    return fits;
}

struct Bin {
    std::uint64_t m_count = 0;
    std::array<std::uint64_t, 3> m_sums{};
};

// Ranges of bins, ends included, that hold `m_count` pixels.
struct Box {
    std::array<unsigned, 3> m_low, m_high;
    std::uint64_t m_count;

    unsigned longest() const {
        const auto length = [this](unsigned c) { return m_high[c] - m_low[c]; };
        const unsigned first = length(0) >= length(1) ? 0 : 1;
        return length(first) >= length(2) ? first : 2;
    }
    bool isOneBin() const { return m_low == m_high; }
};

class Histogram {
public:
    explicit Histogram(const ImageRows& rows) : m_bins(std::size_t{kSide} * kSide * kSide) {
        forEachPixel(rows, [this](const Color& color, bool isTransparent) {
            Bin& bin = m_bins[indexOf(color)];
            bin.m_count += isTransparent ? 0 : 1;
            for (unsigned c = 0; c < 3; ++c) {
                bin.m_sums[c] += isTransparent ? 0 : color[c];
            }
            m_hasTransparent |= isTransparent;
            return true;
        });
    }

    static std::size_t indexOf(const Color& color) {
        return (std::size_t{color[0]} >> (8 - kBits)) * kSide * kSide +
               (std::size_t{color[1]} >> (8 - kBits)) * kSide + (color[2] >> (8 - kBits));
    }
    bool hasTransparent() const { return m_hasTransparent; }

    Box whole() const { return shrunk({{0, 0, 0}, {kSide - 1, kSide - 1, kSide - 1}, 0}); }
    // Two boxes of about as many pixels each.
    std::array<Box, 2> halves(const Box& box) const;
    std::uint32_t mean(const Box& box) const;
    template <typename Visit> void forEachBin(const Box& box, Visit visit) const {
        for (unsigned r = box.m_low[0]; r <= box.m_high[0]; ++r) {
            for (unsigned g = box.m_low[1]; g <= box.m_high[1]; ++g) {
                for (unsigned b = box.m_low[2]; b <= box.m_high[2]; ++b) {
                    visit(std::array<unsigned, 3>{r, g, b}, (std::size_t{r} * kSide + g) * kSide + b);
                }
            }
        }
    }

private:
    Box shrunk(const Box& box) const;

    std::vector<Bin> m_bins;
    bool m_hasTransparent = false;
};

// To the bins that hold anything.
Box Histogram::shrunk(const Box& box) const {
    Box small{box.m_high, box.m_low, 0};
    forEachBin(box, [&](const std::array<unsigned, 3>& place, std::size_t index) {
        for (unsigned c = 0; c < 3 && m_bins[index].m_count != 0; ++c) {
            small.m_low[c] = std::min(small.m_low[c], place[c]);
            small.m_high[c] = std::max(small.m_high[c], place[c]);
        }
        small.m_count += m_bins[index].m_count;
    });
    return small;
}

std::array<Box, 2> Histogram::halves(const Box& box) const {
    const unsigned side = box.longest();
    std::array<std::uint64_t, kSide> counts{};
    forEachBin(box, [&](const std::array<unsigned, 3>& place, std::size_t index) {
        counts[place[side]] += m_bins[index].m_count;
    });
    unsigned last = box.m_low[side]; // of the first half
    for (std::uint64_t count = counts[last]; last + 1 < box.m_high[side] && 2 * count < box.m_count;) {
        count += counts[++last];
    }
    Box low = box, high = box;
    low.m_high[side] = last;
    high.m_low[side] = last + 1;
    return {shrunk(low), shrunk(high)};
}

std::uint32_t Histogram::mean(const Box& box) const {
    std::array<std::uint64_t, 3> sums{};
    forEachBin(box, [&](const std::array<unsigned, 3>&, std::size_t index) {
        for (unsigned c = 0; c < 3; ++c) {
            sums[c] += m_bins[index].m_sums[c];
        }
    });
    Color color{};
    for (unsigned c = 0; c < 3; ++c) {
        color[c] = static_cast<std::uint8_t>((sums[c] + box.m_count / 2) / box.m_count);
    }
    return wordOf(color);
}

void mergeColors(const ImageRows& rows, FewColors* picture) {
    const Histogram histogram(rows);
    const std::size_t most = kMostColors - (histogram.hasTransparent() ? 1 : 0);
    std::vector<Box> boxes{histogram.whole()};
    while (boxes.size() < most) {
        const auto weight = [](const Box& box) { return box.isOneBin() ? 0 : box.m_count; };
        const auto fullest = std::max_element(
            boxes.begin(), boxes.end(), [&](const Box& a, const Box& b) { return weight(a) < weight(b); });
        if (weight(*fullest) == 0) {
            break;
        }
        const auto [low, high] = histogram.halves(*fullest);
        *fullest = low;
        boxes.push_back(high);
    }
    std::vector<std::uint8_t> entries(std::size_t{kSide} * kSide * kSide);
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        picture->m_colors.push_back(histogram.mean(boxes[i]));
        histogram.forEachBin(boxes[i], [&](const std::array<unsigned, 3>&, std::size_t index) {
            entries[index] = static_cast<std::uint8_t>(i);
        });
    }
    if (histogram.hasTransparent()) {
        picture->m_transparent = static_cast<int>(picture->m_colors.size());
        picture->m_colors.push_back(0);
    }
    const auto transparent = static_cast<std::uint8_t>(picture->m_transparent & 255);
    forEachPixel(rows, [&](const Color& color, bool isTransparent) {
        picture->m_indices.push_back(isTransparent ? transparent : entries[Histogram::indexOf(color)]);
        return true;
    });
}

} // namespace

FewColors reduceColors(const ImageRows& rows) {
    FewColors picture;
    picture.m_indices.reserve(std::size_t{rows.m_width} * rows.m_height);
    if (!keepColors(rows, &picture)) {
        picture = {};
        mergeColors(rows, &picture);
    }
    return picture;
}

} // namespace qor::Texsmith::Raw
