#include "qor/texsmith/texsmith.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

using namespace qor::Texsmith;
using TestSupport::ReportRecorder;

const Filters::BoxFilter kBox;
const Filters::TriangleFilter kTriangle;
const Filters::CubicFilter kCubic(-0.5f);
const Filters::LanczosFilter kLanczos;
const Filters::IFilter* const kFilters[] = {&kBox, &kTriangle, &kCubic, &kLanczos};

void fill(Image* image, unsigned seed) {
    std::minstd_rand random(seed);
    std::vector<float> row(image->getWidth());
    for (unsigned plane = 0; plane < image->getNumPlanes(); ++plane) {
        for (unsigned y = 0; y < image->getHeight(); ++y) {
            for (float& value : row) {
                value = static_cast<float>(random() >> 8 & 1023) / 512.0f - 1.0f;
            }
            image->setScanline(row.data(), image->getWidth(), y, plane);
        }
    }
}

// The formula, sample after sample.
std::vector<float> resampledLine(const std::vector<float>& source, unsigned size,
                                 const Filters::IFilter& filter) {
    const float s = static_cast<float>(size) / static_cast<float>(source.size());
    const float half = s > 1 ? filter.getWidth() : filter.getWidth() / s, f = s > 1 ? 1 : s;
    const int slots = static_cast<int>(std::ceil(half)) * 2 + 1, samples = static_cast<int>(source.size());
    std::vector<float> result(size);
    for (unsigned i = 0; i < size; ++i) {
        const float center = static_cast<float>(i) / s, c = 0.5f / s - 0.5f;
        int first = std::max(static_cast<int>(std::floor(center - half)), 0);
        int last = std::min(static_cast<int>(std::ceil(center + half)), samples - 1);
        if (last - first + 1 > slots) {
            first < samples ? ++first : --last;
        }
        std::vector<float> weights;
        float sum = 0;
        for (int j = first; j <= last; ++j) {
            weights.push_back(filter.evaluate((center - static_cast<float>(j) + c) * f) * f);
            sum += weights.back();
        }
        for (int j = first; j <= last; ++j) {
            const float weight = weights[unsigned(j - first)];
            result[i] += source[unsigned(j)] * (sum > 0 && sum != 1 ? weight / sum : weight);
        }
    }
    return result;
}

std::vector<float> rowOf(const Image& image, unsigned y, unsigned plane) {
    std::vector<float> row(image.getWidth());
    image.getScanline(row.data(), image.getWidth(), y, plane);
    return row;
}

std::vector<float> columnOf(const Image& image, unsigned x, unsigned plane) {
    std::vector<float> column(image.getHeight());
    image.getColumn(column.data(), image.getHeight(), x, plane);
    return column;
}

// Across, then down, by the formula.
void expectResized(const Image& source, const Image& result, const Filters::IFilter& filter) {
    for (unsigned plane = 0; plane < source.getNumPlanes(); ++plane) {
        std::vector<std::vector<float>> between;
        for (unsigned y = 0; y < source.getHeight(); ++y) {
            between.push_back(resampledLine(rowOf(source, y, plane), result.getWidth(), filter));
        }
        for (unsigned x = 0; x < result.getWidth(); ++x) {
            std::vector<float> line;
            for (const std::vector<float>& row : between) {
                line.push_back(row[x]);
            }
            EXPECT_EQ(resampledLine(line, result.getHeight(), filter), columnOf(result, x, plane));
        }
    }
}

TEST(Filters, HaveTheValuesOfTheirFormulas) {
    EXPECT_EQ(kBox.evaluate(-0.5f), 1.0f);
    EXPECT_EQ(kBox.evaluate(0.5f), 0.0f);
    EXPECT_EQ(kTriangle.evaluate(-0.25f), 0.75f);
    EXPECT_EQ(kTriangle.evaluate(1.0f), 0.0f);
    EXPECT_EQ(kCubic.evaluate(0.0f), 1.0f);
    EXPECT_EQ(kCubic.evaluate(-1.5f), -0.0625f);
    EXPECT_EQ(Filters::CubicFilter(0.0f).evaluate(1.5f), 0.0f);
    EXPECT_EQ(kLanczos.evaluate(0.0f), 1.0f);
    EXPECT_EQ(kLanczos.evaluate(3.0f), 0.0f);
    for (float x = 0.01f; x < 3.0f; x += 0.037f) {
        const double y = static_cast<double>(x * 3.1415925f), z = static_cast<double>(x / 3 * 3.1415925f);
        // A float or two: the sine is that of a double.
        EXPECT_NEAR(kLanczos.evaluate(-x), std::sin(y) / y * (std::sin(z) / z), 2e-7) << x;
    }
}

TEST(ResizeImage, FollowsTheFormulaForAllSmallSizes) {
    for (const Filters::IFilter* filter : kFilters) {
        for (unsigned from = 1; from <= 9; ++from) {
            for (unsigned to = 1; to <= 9; ++to) {
                const unsigned planes = (from + to) % 4 + 1;
                Image source(from, 10 - from, planes), result(to, (to * 2) % 7 + 1, planes);
                fill(&source, from * 16 + to);
                if (planes == 4) {
                    source.swapPlanes(1, 3);
                }
                ImageHelper::resizeImage(source, &result, *filter);
                expectResized(source, result, *filter);
            }
        }
    }
}

TEST(ResizeImage, KeepsPixelsAtEqualSizeAndAveragesPairs) {
    Image source(8, 8, 3), same(8, 8, 3), half(4, 4, 3);
    fill(&source, 7);
    ImageHelper::resizeImage(source, &same, kBox);
    EXPECT_EQ(rowOf(source, 5, 2), rowOf(same, 5, 2));
    ImageHelper::resizeImage(source, &half, kBox);
    ImageHelper::resizeImage(same, &same, kLanczos); // onto itself
    Image sharper(8, 8, 3);
    ImageHelper::resizeImage(source, &sharper, kLanczos);
    EXPECT_EQ(rowOf(sharper, 4, 0), rowOf(same, 4, 0));
    const std::vector<float> a = rowOf(source, 2, 1), b = rowOf(source, 3, 1);
    EXPECT_EQ(rowOf(half, 1, 1)[2], (a[4] * 0.5f + a[5] * 0.5f) * 0.5f + (b[4] * 0.5f + b[5] * 0.5f) * 0.5f);
}

TEST(ResizeImage, GivesTheSameBitsOnAPool) {
    Image source(67, 41, 3), alone(23, 59, 3), together(23, 59, 3);
    fill(&source, 3);
    Raw::ThreadpoolJobManager manager;
    ImageHelper::resizeImage(source, &alone, kLanczos);
    ImageHelper::resizeImage(source, &together, kLanczos, &manager);
    for (unsigned plane = 0; plane < 3; ++plane) {
        for (unsigned y = 0; y < 59; ++y) {
            EXPECT_EQ(rowOf(alone, y, plane), rowOf(together, y, plane));
        }
    }
}

// A filter of a client may claim anything.
class OddFilter : public Filters::IFilter {
public:
    explicit OddFilter(float width) : m_width(width) {}
    float evaluate(float) const override { return 1.0f; }
    float getWidth() const override { return m_width; }

private:
    float m_width;
};

TEST(ResizeImage, StaysInMemoryWhateverItIsGiven) {
    ReportRecorder recorder;
    Image source(5, 3, 2), result(4, 4, 3), empty(0, 4, 2), constant(3, 3, 2, Image::Plane::kTypeConstant);
    fill(&source, 1);
    ImageHelper::resizeImage(source, nullptr, kBox);
    ImageHelper::resizeImage(source, &result, kBox);
    EXPECT_EQ(recorder.texts(),
              "destination must not be NULL.\nBoth images must have the same number of planes.\n");
    ImageHelper::resizeImage(source, &empty, kBox);
    ImageHelper::resizeImage(empty, &source, kBox);
    ImageHelper::resizeImage(source, &constant, kTriangle);
    EXPECT_EQ(constant.getPlane(0)->getValue(), 0.0f);
    Image other(7, 2, 2);
    for (const float width : {-1.0f, 0.0f, 1e30f, std::nanf("")}) {
        ImageHelper::resizeImage(source, &other, OddFilter(width));
        ImageHelper::resizeImage(other, &source, OddFilter(width));
    }
    EXPECT_EQ(recorder.assertions().size(), 2u);
    VolumeImage volume(4, 4, 2, 2), target(2, 2, 1, 2);
    volume.getSlice(1)->setWidth(3);
    ImageHelper::resizeImage(volume, &target, kBox);
    EXPECT_EQ(recorder.assertions().size(), 3u);
}

// A float cannot say where the last row of so many lies: a filter is asked for those that are there alone.
class CountingFilter : public Filters::IFilter {
public:
    float evaluate(float) const override {
        ++m_count;
        return 1.0f;
    }
    float getWidth() const override { return 1.0f; }
    mutable unsigned m_count = 0;
};

TEST(ResizeImage, ReadsNoRowBehindTheLastOfMillions) {
    constexpr unsigned kRows = (1u << 24) + 4;
    Image source(1, kRows, 1), result(1, 2, 1);
    const CountingFilter filter;
    ImageHelper::resizeImage(source, &result, filter);
    EXPECT_EQ(filter.m_count, 1 + (kRows / 2 + 1) + kRows); // across, the first row, and the second
}

TEST(ResizeImage, TakesVolumesInDepthToo) {
    VolumeImage source(6, 4, 4, 1), result(3, 2, 2, 1);
    for (unsigned z = 0; z < 4; ++z) {
        fill(source.getSlice(z), z + 1);
    }
    ImageHelper::resizeImage(source, &result, kTriangle);
    std::vector<float> line;
    for (unsigned z = 0; z < 4; ++z) {
        Image slice(3, 2, 1);
        ImageHelper::resizeImage(*source.getSlice(z), &slice, kTriangle);
        line.push_back(rowOf(slice, 1, 0)[2]);
    }
    EXPECT_EQ(rowOf(*result.getSlice(1), 1, 0)[2], resampledLine(line, 2, kTriangle)[1]);
}

} // namespace
