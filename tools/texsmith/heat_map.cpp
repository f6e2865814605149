#include "heat_map.h"

#include "float_image.h"

#include <algorithm>
#include <cmath>

namespace Tool {
namespace {

constexpr unsigned kLeastWide = 192, kMargin = 4, kBarTall = 12;
constexpr Colour kBackground = {40, 40, 40}, kInk = {230, 230, 230};

double differenceAt(const qor::Texsmith::Raw::ElementRows& a, const qor::Texsmith::Raw::ElementRows& b,
                    unsigned x, unsigned y) {
    double largest = 0;
    for (unsigned channel = 0; channel < 4; ++channel) {
        const double difference = std::fabs(static_cast<double>(texelOf(a, x, y)[channel]) -
                                            static_cast<double>(texelOf(b, x, y)[channel]));
        largest = std::max(largest, difference);
    }
    return largest;
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

} // namespace

Picture drawHeatMap(const qor::Texsmith::Raw::ElementRows& a, const qor::Texsmith::Raw::ElementRows& b,
                    double largest) {
    const unsigned zoom = std::max(1u, kLeastWide / std::max(a.m_wide, a.m_tall));
    const unsigned wide = std::max(kLeastWide, a.m_wide * zoom), tall = a.m_tall * zoom;
    Picture picture(wide, tall + kBarTall + 3 * kMargin + Picture::kTextTall, kBackground);
    for (unsigned y = 0; y < a.m_tall; ++y) {
        for (unsigned x = 0; x < a.m_wide; ++x) {
            const double share = largest > 0 ? differenceAt(a, b, x, y) / largest : 0;
            picture.fill(x * zoom, y * zoom, zoom, zoom, heatColour(share));
        }
    }
    drawScale(picture, tall + kMargin, largest);
    return picture;
}

} // namespace Tool
