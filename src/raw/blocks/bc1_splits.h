// The ways to give a block's texels, in the order of a line, to the four colours that lie on it.
//
// The first i texels take color0, those up to the j-th one entry 2, those up to the k-th one entry 3, the
// rest color1. With the weights 3, 2, 1, 0 of color0, x the weighted sum of the texels' places on the line,
// counted from their mean, the least squares leave a squared error that is smaller by x^2 / v, where v = (5i
// + 3j + k)
// - (i + j + k)^2 / 16.
#pragma once

namespace qor::Texsmith::Raw {

constexpr double bc1SplitVariance(int i, int j, int k) {
    const double sum = i + j + k;
    return 5 * i + 3 * j + k - sum * sum / 16;
}

constexpr double squareRootByNewton(double x) {
    double root = x < 1 ? 1 : x;
    for (int step = 0; step < 40; ++step) {
        root = (root + x / root) / 2;
    }
    return root;
}

// 1 / sqrt(v) for each split, k fastest; 0 where one colour takes all texels.
struct Bc1SplitScales {
    float m_scales[969];
};
constexpr Bc1SplitScales makeBc1SplitScales() {
    Bc1SplitScales scales = {};
    int count = 0;
    for (int i = 0; i <= 16; ++i) {
        for (int j = i; j <= 16; ++j) {
            for (int k = j; k <= 16; ++k, ++count) {
                const double v = bc1SplitVariance(i, j, k);
                scales.m_scales[count] = v > 0 ? static_cast<float>(1 / squareRootByNewton(v)) : 0.0f;
            }
        }
    }
    return scales;
}
inline constexpr Bc1SplitScales kBc1SplitScales = makeBc1SplitScales();

} // namespace qor::Texsmith::Raw
