// Structural similarity (SSIM) of two surfaces, row by row.
//
// Z. Wang, A. C. Bovik, H. R. Sheikh, E. P. Simoncelli: Image quality assessment: from error visibility to
// structural similarity, IEEE Transactions on Image Processing 13 (2004). Windows are squares of 8 x 8
// texels, one at every fourth texel and row, whose texels all weigh the same.
#pragma once

#include <cstdint>
#include <vector>

namespace Tool {

class Similarity {
public:
    static constexpr unsigned kStep = 4; // a window is two steps wide and tall

    struct Sums {
        double m_similarity[4] = {}; // of all windows, by channel
        std::uint64_t m_windows = 0;
    };

    // `peak` is the square of the range of values.
    explicit Similarity(double peak);

    // Begins anew: the next rows are no neighbours of the last ones.
    void restart() { m_hasAbove = false; }
    // Adds the windows that end with these kStep rows, of `wide` texels of four floats each. The first rows
    // after a restart end none.
    void addRows(Sums* sums, const float* const (&a)[kStep], const float* const (&b)[kStep], unsigned wide);

private:
    struct Square { // sums over kStep x kStep texels
        double m_a[4], m_b[4], m_squares[4], m_products[4];
    };

    double similarityOf(const Square* const (&squares)[4], unsigned channel) const;

    double m_ofMeans, m_ofVariances; // the constants that keep quotients stable
    bool m_hasAbove = false;
    std::vector<Square> m_above, m_row;
};

} // namespace Tool
