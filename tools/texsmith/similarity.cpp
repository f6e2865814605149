#include "similarity.h"

#include <utility>

namespace Tool {

Similarity::Similarity(double peak) : m_ofMeans(0.01 * 0.01 * peak), m_ofVariances(0.03 * 0.03 * peak) {}

void Similarity::addRows(Sums* sums, const float* const (&a)[kStep], const float* const (&b)[kStep],
                         unsigned wide) {
    m_row.assign(wide / kStep, {});
    for (unsigned row = 0; row < kStep; ++row) {
        const float *texelsA = a[row], *texelsB = b[row];
        for (Square& square : m_row) {
            for (unsigned i = 0; i < 4 * kStep; ++i) {
                const auto x = static_cast<double>(*texelsA++), y = static_cast<double>(*texelsB++);
                square.m_a[i % 4] += x;
                square.m_b[i % 4] += y;
                square.m_squares[i % 4] += x * x + y * y;
                square.m_products[i % 4] += x * y;
            }
        }
    }
    for (std::size_t i = 0; m_hasAbove && i + 1 < m_row.size(); ++i) {
        const Square* const window[] = {&m_above[i], &m_above[i + 1], &m_row[i], &m_row[i + 1]};
        for (unsigned channel = 0; channel < 4; ++channel) {
            sums->m_similarity[channel] += similarityOf(window, channel);
        }
        ++sums->m_windows;
    }
    std::swap(m_above, m_row);
    m_hasAbove = true;
}

// Exactly 1 where the texels are the same: every step then gives both sides of the quotient the same bits.
double Similarity::similarityOf(const Square* const (&squares)[4], unsigned channel) const {
    constexpr double kTexels = 4 * kStep * kStep;
    const auto meanOf = [&](const double(Square::*sums)[4]) {
        double sum = 0;
        for (const Square* const square : squares) {
            sum += (square->*sums)[channel];
        }
        return sum / kTexels;
    };
    const double meanA = meanOf(&Square::m_a), meanB = meanOf(&Square::m_b);
    const double ofMeans = meanA * meanA + meanB * meanB, product = 2 * (meanA * meanB);
    const double variances = meanOf(&Square::m_squares) - ofMeans;
    const double covariance = 2 * meanOf(&Square::m_products) - product;
    return (product + m_ofMeans) * (covariance + m_ofVariances) /
           ((ofMeans + m_ofMeans) * (variances + m_ofVariances));
}

} // namespace Tool
