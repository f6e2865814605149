#include "heat_map.h"

#include "band_walk.h"

#include <algorithm>
#include <cmath>

namespace Tool {

using namespace qor::Texsmith;

namespace {

constexpr unsigned kLeastWide = 192, kMostSide = 4096, kMargin = 4, kBarTall = 12, kRing = 6;
constexpr Colour kBackground = {40, 40, 40}, kInk = {230, 230, 230}, kMark = {0, 230, 255};

struct Place {
    unsigned m_x, m_y;
};

// Where surfaces lie, in squares of `shrink` texels.
class Canvas {
public:
    Canvas(const ImagePair& pair, const Selection& selection, unsigned shrink)
        : m_count(pair.a().getSurfaceCount()) {
        const bool isOne = selection.m_mip.has_value() || selection.m_region.has_value();
        const unsigned first = selection.m_mip.value_or(0), end = isOne ? first + 1 : pair.mips();
        Place at = {0, 0};
        m_groups.resize(end);
        for (unsigned mip = first; mip < end; ++mip) {
            const Region region = pair.regionOf(selection, mip);
            const unsigned surfaces =
                m_count.arrayEntries * m_count.faces * pair.a().getDepth(mip) * m_count.fragments;
            Group& group = m_groups[mip];
            group.m_at = at;
            group.m_depth = pair.a().getDepth(mip);
            group.m_across = static_cast<unsigned>(std::ceil(std::sqrt(surfaces)));
            group.m_wide = (region.m_right - region.m_left + shrink - 1) / shrink;
            group.m_tall = (region.m_bottom - region.m_top + shrink - 1) / shrink;
            const unsigned right = at.m_x + group.m_across * group.m_wide;
            const unsigned bottom = at.m_y + (surfaces + group.m_across - 1) / group.m_across * group.m_tall;
            m_wide = std::max(m_wide, right);
            m_tall = std::max(m_tall, bottom);
            at = mip == first ? Place{right, 0} : Place{at.m_x, bottom};
        }
    }

    unsigned wide() const { return m_wide; }
    unsigned tall() const { return m_tall; }
    Place placeOf(const Raw::SurfaceIndex& index) const {
        const Group& group = m_groups[index.mip];
        const unsigned number =
            ((index.arrayEntry * m_count.faces + index.face) * group.m_depth + index.depth) *
                m_count.fragments +
            index.fragment;
        return {group.m_at.m_x + number % group.m_across * group.m_wide,
                group.m_at.m_y + number / group.m_across * group.m_tall};
    }

private:
    struct Group { // the surfaces of a mip
        Place m_at = {0, 0};
        unsigned m_depth = 1, m_across = 1, m_wide = 0, m_tall = 0;
    };

    Raw::SurfaceCount m_count;
    std::vector<Group> m_groups;
    unsigned m_wide = 0, m_tall = 0;
};

float largestOf(const float* a, const float* b, const Selection& selection) {
    double largest = 0;
    for (unsigned channel = 0; channel < 4; ++channel) {
        if (selection.m_channels[channel]) {
            largest = std::max(largest, differenceOf(a[channel], b[channel]));
        }
    }
    return static_cast<float>(largest);
}

// The largest differences of the canvas' squares. Bands end where squares end, so that no two threads share
// one.
std::vector<float> differencesOn(const Canvas& canvas, const ImagePair& pair, const Selection& selection,
                                 unsigned shrink) {
    std::vector<float> differences(std::size_t{canvas.wide()} * canvas.tall());
    walkBands(pair, bandsOf(pair, selection, std::max(shrink, 2 * kBandStep)), 0,
              [&](unsigned, const Band& band, const BandRows& rows, bool) {
                  const Place at = canvas.placeOf(band.m_index);
                  for (unsigned y = band.m_top; y < band.m_bottom; ++y) {
                      const float *a = rows.a(band, y), *b = rows.b(band, y);
                      const unsigned row = at.m_y + (y - band.m_region.m_top) / shrink;
                      float* line = &differences[std::size_t{row} * canvas.wide() + at.m_x];
                      for (unsigned x = 0; x < band.m_region.m_right - band.m_region.m_left; ++x) {
                          float& square = line[x / shrink];
                          square = std::max(square, largestOf(a + x * 4, b + x * 4, selection));
                      }
                  }
              });
    return differences;
}

void drawScale(Picture& picture, unsigned top, double largest) {
    const unsigned wide = picture.wide() - 2 * kMargin;
    for (unsigned x = 0; x < wide; ++x) {
        picture.fill(kMargin + x, top, 1, kBarTall, heatColour(static_cast<double>(x) / (wide - 1)));
    }
    const unsigned textTop = top + kBarTall + kMargin;
    const double middle = largest / 2;
    picture.number(kMargin, textTop, 0, kInk);
    picture.number((picture.wide() - Picture::numberWide(middle)) / 2, textTop, middle, kInk);
    picture.number(picture.wide() - kMargin - Picture::numberWide(largest), textTop, largest, kInk);
}

// A square ring, two pixels thick, kRing pixels away from the texel's square.
void drawMark(Picture& picture, Place texel, unsigned zoom) {
    constexpr unsigned kThick = 2;
    const auto back = [](unsigned from) { return from > kRing ? from - kRing : 0; };
    const unsigned left = back(texel.m_x * zoom), right = (texel.m_x + 1) * zoom + kRing;
    const unsigned top = back(texel.m_y * zoom), bottom = (texel.m_y + 1) * zoom + kRing;
    picture.fill(left, top, right - left, kThick, kMark);
    picture.fill(left, bottom - kThick, right - left, kThick, kMark);
    picture.fill(left, top, kThick, bottom - top, kMark);
    picture.fill(right - kThick, top, kThick, bottom - top, kMark);
}

unsigned shrinkFor(const ImagePair& pair, const Selection& selection) {
    unsigned shrink = 1;
    for (;; shrink *= 2) {
        const Canvas canvas(pair, selection, shrink);
        if (std::max(canvas.wide(), canvas.tall()) <= kMostSide || shrink == kMostSide) {
            return shrink;
        }
    }
}

} // namespace

Picture drawHeatMap(const ImagePair& pair, const Selection& selection, const Difference& largest) {
    const unsigned shrink = shrinkFor(pair, selection);
    const Canvas canvas(pair, selection, shrink);
    const std::vector<float> differences = differencesOn(canvas, pair, selection, shrink);
    const unsigned zoom = std::max(1u, kLeastWide / std::max(canvas.wide(), canvas.tall()));
    const unsigned wide = std::max(kLeastWide, canvas.wide() * zoom), tall = canvas.tall() * zoom;
    Picture picture(wide, tall + kBarTall + 3 * kMargin + Picture::kTextTall, kBackground);
    const double scale = std::isfinite(largest.m_value) && largest.m_value > 0 ? largest.m_value : 1;
    forEachSurface(pair.a(), [&](const Raw::SurfaceIndex& index) {
        if (!pair.isChosen(selection, index.mip)) {
            return;
        }
        const Place at = canvas.placeOf(index);
        const Region region = pair.regionOf(selection, index.mip);
        for (unsigned y = 0; y < (region.m_bottom - region.m_top + shrink - 1) / shrink; ++y) {
            for (unsigned x = 0; x < (region.m_right - region.m_left + shrink - 1) / shrink; ++x) {
                const float value = differences[std::size_t{at.m_y + y} * canvas.wide() + at.m_x + x];
                picture.fill((at.m_x + x) * zoom, (at.m_y + y) * zoom, zoom, zoom,
                             heatColour(static_cast<double>(value) / scale));
            }
        }
    });
    if (largest.m_value > 0) {
        const Place at = canvas.placeOf(largest.m_index);
        const Region region = pair.regionOf(selection, largest.m_index.mip);
        drawMark(
            picture,
            {at.m_x + (largest.m_x - region.m_left) / shrink, at.m_y + (largest.m_y - region.m_top) / shrink},
            zoom);
    }
    drawScale(picture, tall + kMargin, largest.m_value);
    return picture;
}

} // namespace Tool
