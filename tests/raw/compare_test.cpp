#include "support/measures.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <memory>

namespace {

using namespace TestSupport;
using Raw::Configuration;
using Raw::VectorFloat;

using Term = std::array<double, 4>;
double square(double x) { return x * x; }

struct Metric {
    const char* m_name;
    std::shared_ptr<const Raw::SquaredErrorCalculator> m_calculator;
    Term (*m_term)(const VectorFloat& a, const VectorFloat& b);
};

Term weighed(double weight, const VectorFloat& a, const VectorFloat& b) {
    const auto d = [&](unsigned lane) { return square(double{a[lane]} - b[lane]); };
    return {weight * d(0), weight * d(1), weight * d(2), d(3)};
}

double normalZ(const VectorFloat& v) {
    return std::sqrt(1 - std::min(1.0, square(2.0 * v[0] - 1) + square(2.0 * v[1] - 1)));
}

const Metric kMetrics[] = {
    {"standard", std::make_shared<Raw::StandardSquaredErrorCalculator>(),
     [](const VectorFloat& a, const VectorFloat& b) { return weighed(1, a, b); }},
    {"normals", std::make_shared<Raw::TangentSpaceNormalErrorCalculator>(),
     [](const VectorFloat& a, const VectorFloat& b) -> Term {
         return {square(double{a[0]} - b[0]), square(double{a[1]} - b[1]),
                 square((normalZ(a) - normalZ(b)) / 2), 0};
     }},
    {"alpha of the first", std::make_shared<Raw::SpecialSquaredErrorCalculator0>(),
     [](const VectorFloat& a, const VectorFloat& b) { return weighed(a[3], a, b); }},
    {"mean alpha", std::make_shared<Raw::SpecialSquaredErrorCalculator1>(),
     [](const VectorFloat& a, const VectorFloat& b) { return weighed((a[3] + b[3]) / 2, a, b); }},
    {"premultiplied", std::make_shared<Raw::SpecialSquaredErrorCalculator2>(),
     [](const VectorFloat& a, const VectorFloat& b) -> Term {
         const auto d = [&](unsigned i) { return square(double{b[3]} * b[i] - double{a[3]} * a[i]); };
         return {d(0), d(1), d(2), square(double{a[3]} - b[3])};
     }},
};

// The mean of the terms in double precision; single precision may be off by the roundings of its sums, whose
// size is that of the terms.
void expectMean(const Metric& metric, const VectorFloat& mean, const Texels& a, const Texels& b,
                double tolerance = 1e-6) {
    Term sum = {};
    for (std::size_t i = 0; i < a.size(); ++i) {
        const Term term = metric.m_term(a[i], b[i]);
        for (unsigned lane = 0; lane < 4; ++lane) {
            sum[lane] += term[lane];
        }
    }
    for (unsigned lane = 0; lane < 4; ++lane) {
        EXPECT_NEAR(mean[lane], sum[lane] / static_cast<double>(a.size()), tolerance)
            << metric.m_name << lane;
    }
}

TEST(Compare, EveryMetricAgreesWithDoublesOnEveryShape) {
    for (const Shape& shape : kShapes) {
        for (const auto& [formatA, formatB] :
             {std::pair("R8G8B8A8Unorm", "B8G8R8A8UnormSrgb"), std::pair("R8G8B8A8Unorm", "B8G8R8X8Unorm")}) {
            const TestImage a(makeTexture(shape, formatNamed(formatA)), 11);
            const TestImage b(makeTexture(shape, formatNamed(formatB)), 12);
            for (const Metric& metric : kMetrics) {
                Configuration configuration;
                VectorFloat mean;
                ASSERT_EQ(Raw::compare(&mean, &a, &b, &configuration, metric.m_calculator.get()),
                          Raw::kErrorNone);
                expectMean(metric, mean, decodedTexels(a), decodedTexels(b));
            }
        }
    }
}

TEST(Compare, HasTheSameBitsEveryWay) {
    for (const char* format :
         {"R8G8B8A8Unorm", "B8G8R8X8Unorm", "R16G16B16A16Float", "R32G32B32A32Float", "Bc4Unorm"}) {
        const TestImage a(makeFlat(format, 171, 45, 4), 21), b(makeFlat(format, 171, 45, 4), 22);
        for (const Metric& metric : kMetrics) {
            for (const unsigned callbacks : {1u, 32u}) {
                const TilesOnly tilesOfB(b);
                Configuration first;
                first.m_callbacksPerJob = callbacks;
                VectorFloat expected;
                Raw::compare(&expected, &a, &tilesOfB, &first, metric.m_calculator.get());
                inEveryWay(a, callbacks, [&](const auto& provider, Configuration& configuration) {
                    VectorFloat mean;
                    Raw::compare(&mean, &provider, &b, &configuration, metric.m_calculator.get());
                    EXPECT_TRUE(equal(mean, expected)) << format << metric.m_name;
                });
            }
        }
    }
}

// Exact sums do not depend on the sharing out of rows either.
TEST(Compare, KeepsMipsApartAndCountsWhatLiesInThem) {
    const Vex::Texture texture = makeFlat("R32G32B32A32Float", 23, 15, 5);
    TestImage a(texture), b(texture);
    setTexels(a, exactTexels(a.bytes().size() / 16, 31));
    setTexels(b, exactTexels(a.bytes().size() / 16, 32));
    const Texels texelsA = texelsOf(a), texelsB = texelsOf(b);
    const Raw::StandardSquaredErrorCalculator standard;
    Raw::ErrorSummary expected = {};
    std::size_t at = 0;
    for (expected.mipCount = 0; expected.mipCount < 5; ++expected.mipCount) {
        expected.counts[expected.mipCount] = a.getPixels(expected.mipCount);
        for (unsigned i = 0; i < a.getPixels(expected.mipCount); ++i, ++at) {
            for (unsigned lane = 0; lane < 4; ++lane) {
                const float difference = texelsA[at][lane] - texelsB[at][lane];
                expected.sums[expected.mipCount][lane] += difference * difference;
            }
        }
    }
    for (const unsigned callbacks : {1u, 32u}) {
        inEveryWay(a, callbacks, [&](const auto& provider, Configuration& configuration) {
            Raw::ErrorSummary summary = filledWith<Raw::ErrorSummary>(1);
            Raw::CalculateErrorPerTexel perTexel(&summary, &provider, &b, &configuration, &standard);
            Raw::PerTileJob job(&provider, &perTexel, &configuration);
            EXPECT_EQ(configuration.m_jobManager->submitAndStall(&job), Raw::kErrorNone);
            EXPECT_TRUE(summary.mipCount == 5 && equal(summary.sums, expected.sums) &&
                        equal(summary.counts, expected.counts));
        });
    }
}

TEST(Compare, WithItselfIsZeroWhateverTheTexels) {
    TestImage image(makeFloats(3, 3));
    image.bytes().assign(image.bytes().size(), 0xFF); // NaNs
    Configuration configuration;
    VectorFloat mean = {{1, 1, 1, 1}};
    const Raw::StandardSquaredErrorCalculator standard;
    EXPECT_EQ(Raw::compare(&mean, &image, &image, &configuration, &standard), Raw::kErrorNone);
    EXPECT_TRUE(equal(mean, VectorFloat{}));
}

TEST(Compare, ErrorsOfRunsOfEveryLengthAgreeWithDoubles) {
    const Texels a = exactTexels(70, 41), b = exactTexels(70, 42);
    for (const Metric& metric : kMetrics) {
        for (unsigned count = 1; count <= 70; ++count) {
            VectorFloat mean = metric.m_calculator->calculate(a.data(), b.data(), count);
            for (float& lane : mean.m_lanes) {
                lane /= static_cast<float>(count);
            }
            expectMean(metric, mean, {a.begin(), a.begin() + count}, {b.begin(), b.begin() + count}, 1e-4);
        }
    }
}

TEST(Compare, AbsoluteDifferencesAreWritten) {
    TestImage a(makeFloats(9, 5)), b(makeFloats(9, 5)), difference(makeFloats(9, 5));
    setTexels(a, exactTexels(45, 51));
    setTexels(b, exactTexels(45, 52));
    Configuration configuration;
    ASSERT_EQ(Raw::getAbsoluteDifference(&difference, &a, &b, &configuration), Raw::kErrorNone);
    const Texels texelsA = texelsOf(a), texelsB = texelsOf(b), result = texelsOf(difference);
    for (std::size_t i = 0; i < 45; ++i) {
        for (unsigned lane = 0; lane < 4; ++lane) {
            EXPECT_EQ(result[i][lane], std::abs(texelsA[i][lane] - texelsB[i][lane]));
        }
    }
}

TEST(Compare, EveryByteCountsForEquality) {
    for (const char* format : {"R8Unorm", "Bc1Unorm", "R32G32B32A32Float"}) {
        for (const Shape& shape : kShapes) {
            const TestImage a(makeTexture(shape, formatNamed(format)), 61);
            TestImage b(makeTexture(shape, formatNamed(format)), 61);
            inEveryWay(a, 7, [&](const auto& provider, Configuration& configuration) {
                const Raw::ElementProvider& other = b;
                const Raw::Image &imageA = a, &imageB = b;
                EXPECT_EQ(Raw::areBitwiseEqual(&provider, &other, &configuration), Raw::kErrorNone);
                EXPECT_EQ(Raw::areBitwiseEqual(&imageA, &imageB, &configuration), Raw::kErrorNone);
                for (std::size_t at = 0; at < b.bytes().size(); at += 1 + b.bytes().size() / 19) {
                    b.bytes()[at] ^= 1;
                    EXPECT_EQ(Raw::areBitwiseEqual(&provider, &other, &configuration), Raw::kErrorFailed)
                        << format << shape.m_name << at;
                    EXPECT_EQ(Raw::areBitwiseEqual(&imageA, &imageB, &configuration), Raw::kErrorFailed);
                    b.bytes()[at] ^= 1;
                }
            });
        }
    }
}

TEST(Compare, ModifiersTakePartInEquality) {
    TestImage a(makeFlat("R8Unorm", 4, 4), 1), b(makeFlat("R8Unorm", 4, 4), 1);
    Raw::Modifiers modifiers;
    modifiers.appendPower({{2, 2, 2, 2}});
    b.setModifiers(modifiers);
    ReportRecorder recorder;
    Configuration configuration;
    const Raw::ElementProvider &first = a, &second = b;
    EXPECT_EQ(Raw::areBitwiseEqual(&first, &second, &configuration), Raw::kErrorFailed);
    EXPECT_EQ(recorder.texts(),
              "ElementProviders a and b are not bitwise comparable for equality, because dimensions and/or "
              "format are different.\nElementProviders a and b must be bitwise comparable for equality.\n");
    EXPECT_EQ(recorder.assertions().at(0).m_file, "raw\\arebitwiseequal");
    EXPECT_EQ(recorder.assertions().at(1).m_file, "raw\\pertile\\arebitwiseequalpertile");
    recorder.clear();
    const Raw::Image &firstImage = a, &secondImage = b; // of equal bytes
    EXPECT_EQ(Raw::areBitwiseEqual(&firstImage, &secondImage, &configuration), Raw::kErrorFailed);
    EXPECT_EQ(recorder.texts(), "Images a and b are not bitwise comparable for equality, because dimensions "
                                "and/or format are different.\n");
}

TEST(ChannelPacking, PutsFirstChannelsTogetherAndTakesChannelsApart) {
    TestImage red(makeFlat("R8Unorm", 11, 9), 71), green(makeFlat("R8G8Unorm", 11, 9), 72),
        blue(makeFlat("R16Unorm", 11, 9), 73), packed(makeFloats(11, 9)), grey(makeFloats(11, 9)),
        single(makeFlat("R8Unorm", 11, 9));
    Raw::ElementProvider* sources[] = {&red, &green, &blue};
    Configuration configuration;
    ASSERT_EQ(Raw::channelpack(&packed, sources, 3, &configuration), Raw::kErrorNone);
    Raw::ElementProvider* destinations[] = {&single, &grey};
    ASSERT_EQ(Raw::channelunpack(destinations, 2, &packed, &configuration), Raw::kErrorNone);
    EXPECT_EQ(single.bytes(), red.bytes());
    const Texels result = texelsOf(packed), greys = texelsOf(grey);
    for (std::size_t i = 0; i < result.size(); ++i) {
        const float g = decodedTexels(green)[i][0];
        EXPECT_TRUE(
            equal(result[i], VectorFloat{{decodedTexels(red)[i][0], g, decodedTexels(blue)[i][0], 0}}));
        EXPECT_TRUE(equal(greys[i], VectorFloat{{g, g, g, g}}));
    }
}

TEST(Compare, DifferingDimensionsAreReportedAndFail) {
    ReportRecorder recorder;
    TestImage small(makeFlat("R8Unorm", 8, 8)), large(makeFlat("R8Unorm", 9, 8), 7);
    Configuration configuration;
    Raw::ElementProvider* providers[] = {&large};
    EXPECT_EQ(Raw::channelpack(&small, providers, 1, &configuration), Raw::kErrorFailed);
    EXPECT_EQ(Raw::channelunpack(providers, 1, &small, &configuration), Raw::kErrorFailed);
    EXPECT_EQ(large.bytes()[9 * 7 + 7], small.bytes()[8 * 7 + 7]); // what fits is converted
    EXPECT_EQ(recorder.texts(), "source 0 and destination must have the same dimensions.\n"
                                "destination 0 and source must have the same dimensions.\n");
    recorder.clear();
    VectorFloat mean;
    const Raw::StandardSquaredErrorCalculator standard;
    EXPECT_EQ(Raw::compare(&mean, &large, &small, &configuration, &standard), Raw::kErrorFailed);
    EXPECT_EQ(Raw::getAbsoluteDifference(&small, &large, &small, &configuration), Raw::kErrorFailed);
    EXPECT_EQ(recorder.texts(), "sourceA and sourceB must have the same dimensions.\n"
                                "imageA and imageB must have the same dimensions.\n"
                                "destination and sourceA must have the same dimensions and format.\n"
                                "sourceA and sourceB must have the same dimensions and format.\n"
                                "destination and imageA must have the same dimensions.\n");
}

} // namespace
