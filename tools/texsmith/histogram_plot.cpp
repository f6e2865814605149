#include "histogram_plot.h"

#include <algorithm>
#include <cmath>

namespace Tool {
namespace {

using qor::Texsmith::Raw::Histogram;

constexpr unsigned kBins = 256, kBarWide = 2, kPanelTall = 96, kMargin = 8;
constexpr Colour kBackground = {24, 24, 24}, kPanel = {44, 44, 44}, kInk = {230, 230, 230};
constexpr Colour kBars[4] = {{230, 80, 70}, {90, 200, 90}, {90, 130, 240}, {200, 200, 200}};

// Of the fullest bin, 0 to 1.
double heightOf(std::uint32_t count, std::uint32_t most) {
    return most != 0 ? std::sqrt(static_cast<double>(count) / most) : 0;
}

void drawPanel(Picture& picture, unsigned top, const std::uint32_t (&bins)[kBins], Colour colour) {
    picture.fill(kMargin, top, kBins * kBarWide, kPanelTall, kPanel);
    const std::uint32_t most = *std::max_element(std::begin(bins), std::end(bins));
    for (unsigned bin = 0; bin < kBins; ++bin) {
        const auto tall = static_cast<unsigned>(std::ceil(heightOf(bins[bin], most) * kPanelTall));
        picture.fill(kMargin + bin * kBarWide, top + kPanelTall - tall, kBarWide, tall, colour);
    }
}

} // namespace

Picture drawHistogram(const Histogram& histogram, const qor::Texsmith::Raw::MinMax& range) {
    constexpr unsigned kStep = kPanelTall + Picture::kTextTall + kMargin;
    Picture picture(kBins * kBarWide + 2 * kMargin, 4 * kStep + kMargin, kBackground);
    for (unsigned channel = 0; channel < 4; ++channel) {
        const unsigned top = kMargin + channel * kStep;
        drawPanel(picture, top, histogram.m_bins[channel], kBars[channel]);
        const double low = static_cast<double>(range.min[channel]);
        const double high = static_cast<double>(range.max[channel]);
        picture.number(kMargin, top + kPanelTall + 2, low, kInk);
        picture.number(picture.wide() - kMargin - Picture::numberWide(high), top + kPanelTall + 2, high,
                       kInk);
    }
    return picture;
}

std::string histogramLine(const Histogram& histogram, unsigned channel) {
    constexpr char kLevels[] = " .:-=+*#";
    constexpr unsigned kColumns = 64, kPerColumn = kBins / kColumns, kMostLevel = sizeof kLevels - 2;
    std::uint32_t sums[kColumns] = {};
    for (unsigned bin = 0; bin < kBins; ++bin) {
        sums[bin / kPerColumn] += histogram.m_bins[channel][bin];
    }
    const std::uint32_t most = *std::max_element(std::begin(sums), std::end(sums));
    std::string line;
    for (const std::uint32_t sum : sums) {
        line += kLevels[static_cast<unsigned>(std::ceil(heightOf(sum, most) * kMostLevel))];
    }
    return line;
}

} // namespace Tool
