#include "support/hooked_manager.h"
#include "support/measures.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

namespace {

using namespace TestSupport;
using Raw::Configuration;
using Raw::Madd;
using Raw::VectorFloat;

constexpr const char* kFormats[] = {"R8G8B8A8Unorm", "B8G8R8A8Unorm",     "B8G8R8X8Unorm", "R8G8Unorm",
                                    "R8G8B8A8Snorm", "R8G8B8A8UnormSrgb", "Bc4Unorm",      "R5G6B5Unorm"};

VectorFloat apply(const Madd& madd, const VectorFloat& v) {
    VectorFloat result = v;
    Raw::Transform transform;
    transform.Init(madd);
    transform.Decode(&result, 1);
    return result;
}

template <typename PerTexel>
Raw::Error run(const Raw::ElementProvider& source, Configuration& configuration, PerTexel& perTexel) {
    Raw::PerTileJob job(&source, &perTexel, &configuration);
    return configuration.m_jobManager->submitAndStall(&job);
}

Raw::FastHistogram fastHistogramOf(const Raw::ElementProvider& source, Configuration& configuration) {
    Raw::FastHistogram histogram = filledWith<Raw::FastHistogram>(1);
    const auto perTexel = std::make_unique<Raw::FastHistogramPerTexel>(&source, &configuration);
    Raw::PerTileJob job(&source, perTexel.get(), &configuration);
    EXPECT_EQ(configuration.m_jobManager->submitAndStall(&job), Raw::kErrorNone);
    perTexel->getHistogram(&histogram, static_cast<unsigned>(job.getCallbacks()));
    return histogram;
}

// One letter a lane.
std::string selectsOf(const TestImage& image) {
    std::string selects;
    for (unsigned lane = 0; lane < 4; ++lane) {
        selects += "01??XYZW"[image.getDataFormat().getChannel(lane)];
    }
    return selects;
}

// The reference sums in double precision; single precision may be off by the roundings of its sums.
TEST(Statistics, RangeAndMeanAgreeWithDoubles) {
    for (const Shape& shape : kShapes) {
        for (const char* format : kFormats) {
            const TestImage image(makeTexture(shape, formatNamed(format)), 7);
            const Texels texels = decodedTexels(image);
            Configuration configuration;
            Raw::MinMaxMean range;
            ASSERT_EQ(Raw::getMinMaxMean(&image, &range, &configuration), Raw::kErrorNone);
            ASSERT_EQ(range.count, texels.size()) << format << ' ' << shape.m_name;
            for (unsigned lane = 0; lane < 4; ++lane) {
                float low = INFINITY, high = 1.17549435e-38f;
                double sum = 0;
                for (const VectorFloat& texel : texels) {
                    low = std::min(low, texel[lane]);
                    high = std::max(high, texel[lane]);
                    sum += texel[lane];
                }
                EXPECT_EQ(range.min[lane], low) << format << ' ' << shape.m_name;
                EXPECT_EQ(range.max[lane], high) << format << ' ' << shape.m_name;
                EXPECT_NEAR(range.Mean()[lane], sum / static_cast<double>(texels.size()), 1e-6);
            }
        }
    }
}

TEST(Statistics, HaveTheSameBitsEveryWay) {
    for (const unsigned callbacks : {1u, 5u, 32u}) {
        for (const char* format : kFormats) {
            const TestImage image(makeFlat(format, 283, 77), 3); // wide enough for bytes to be counted
            Configuration first;
            first.m_callbacksPerJob = callbacks;
            Raw::MinMaxMean expected;
            Raw::getMinMaxMean(&image, &expected, &first);
            const Raw::FastHistogram bins = fastHistogramOf(image, first);
            const Raw::MinMax inner = {{{0.1f, 0, -1, 0.5f}}, {{0.9f, 1, 2, 0.75f}}};
            Raw::Histogram expectedBins;
            Raw::getHistogram(&image, &expectedBins, &inner, &first);
            inEveryWay(image, callbacks, [&](const auto& provider, Configuration& configuration) {
                Raw::MinMaxMean range;
                Raw::getMinMaxMean(&provider, &range, &configuration);
                EXPECT_TRUE(equal(range, expected, 52)) << format;
                EXPECT_TRUE(equal(fastHistogramOf(provider, configuration), bins, 2088)) << format;
                Raw::Histogram histogram;
                Raw::getHistogram(&provider, &histogram, &inner, &configuration);
                EXPECT_TRUE(equal(histogram, expectedBins)) << format;
            });
        }
    }
}

// Sums that are exact do not depend on how the rows are shared out. Tiles overhang by one column or
// row, and by all but one.
TEST(Statistics, CountOnlyWhatLiesInTheSurface) {
    for (const auto& [wide, tall] : {std::pair{9u, 9u}, {15u, 9u}, {9u, 15u}}) {
        TestImage image(makeFloats(wide, tall));
        const Texels texels = exactTexels(wide * tall, 1);
        setTexels(image, texels);
        Raw::MinMaxMean expected;
        expected.Clear();
        Raw::Histogram bins = {};
        for (const VectorFloat& texel : texels) {
            expected.Add(texel);
            ++bins.count;
            for (unsigned lane = 0; lane < 4; ++lane) {
                ++bins.m_bins[lane][static_cast<unsigned>(std::floor((texel[lane] + 1.0) / 4 * 255 + 0.5))];
            }
        }
        for (const unsigned callbacks : {1u, 32u}) {
            inEveryWay(image, callbacks, [&](const auto& provider, Configuration& configuration) {
                Raw::MinMaxMean range;
                Raw::getMinMaxMean(&provider, &range, &configuration);
                EXPECT_TRUE(equal(range, expected, 52));
                Raw::Histogram histogram;
                const Raw::MinMax whole = {{{-1, -1, -1, -1}}, {{3, 3, 3, 3}}};
                EXPECT_EQ(Raw::getHistogram(&provider, &histogram, &whole, &configuration), Raw::kErrorNone);
                EXPECT_TRUE(equal(histogram, bins));
            });
        }
    }
}

TEST(Statistics, TakeNegativeValuesNansAndZerosAsTold) {
    TestImage image(makeFloats(16, 8));
    Texels texels(128, VectorFloat{{-3, -2, 0.0f, 1}});
    texels[70] = {{-5, std::numeric_limits<float>::quiet_NaN(), -0.0f, 2}};
    setTexels(image, texels);
    inEveryWay(image, 1, [&](const auto& provider, Configuration& configuration) {
        Raw::MinMaxMean range;
        Raw::getMinMaxMean(&provider, &range, &configuration);
        const float least = 1.17549435e-38f;
        EXPECT_TRUE(equal(range.min, VectorFloat{{-5, -2, 0, 1}}));
        EXPECT_TRUE(equal(range.max, VectorFloat{{least, least, least, 2}}));
        EXPECT_TRUE(std::isnan(range.sum[1]) && range.sum[0] == -386 && range.count == 128);
        const Raw::FastHistogram bins = fastHistogramOf(provider, configuration);
        EXPECT_TRUE(equal(bins.min, range.min) && equal(bins.max, VectorFloat{{-3, -2, 0, 2}}));
        EXPECT_EQ(bins.flags, Raw::FastHistogram::kFlagOutside);
        EXPECT_TRUE(bins.m_bins[0][0] == 128 && bins.m_bins[1][0] == 128 && bins.m_bins[3][255] == 128);
    });
}

TEST(Statistics, FastHistogramTellsOfFractionsAndFullBins) {
    TestImage image(makeFloats(260, 256)); // 66560 texels, of which 1024 lie in tiles that overhang
    Texels texels(image.getPixels(), VectorFloat{{1, 0, 0.2f, 1}});
    setTexels(image, texels);
    inEveryWay(image, 1, [&](const auto& provider, Configuration& one) {
        for (const unsigned callbacks : {1u, 32u}) { // full in one worker, and in the merge
            one.m_callbacksPerJob = callbacks;
            const Raw::FastHistogram bins = fastHistogramOf(provider, one);
            EXPECT_EQ(bins.flags, Raw::FastHistogram::kFlagSaturated);
            EXPECT_TRUE(bins.m_bins[0][255] == 65535 && bins.m_bins[1][0] == 65535 &&
                        bins.m_bins[2][51] == 65535 && bins.count == 66560);
        }
    });
    texels.back()[2] = 0.3f;
    for (std::size_t i = 0; i < 66560 - 65535 - 1; ++i) {
        texels[i] = {{0, 1, 1, 0}};
    }
    setTexels(image, texels);
    Configuration configuration;
    const Raw::FastHistogram bins = fastHistogramOf(image, configuration);
    EXPECT_EQ(bins.flags, Raw::FastHistogram::kFlagNotBytes | Raw::FastHistogram::kFlagSaturated);
    EXPECT_TRUE(bins.m_bins[2][77] == 1 && bins.m_bins[2][51] == 65535 && bins.m_bins[2][255] == 1024);
}

// A cloud that is stretched along three known directions, away from the origin.
struct Cloud {
    VectorFloat m_axes[3] = {{{0.6f, 0, 0.8f, 0}}, {{0, 0.6f, 0, 0.8f}}, {{0.8f, 0, -0.6f, 0}}};
    TestImage m_image{makeFloats(61, 50)};

    Cloud() {
        std::minstd_rand random(5);
        Texels texels(m_image.getPixels(), VectorFloat{{1, 2, -3, 4}});
        for (VectorFloat& texel : texels) {
            for (unsigned axis = 0; axis < 3; ++axis) {
                float normal = -6; // by the sum of twelve
                for (unsigned i = 0; i < 12; ++i) {
                    normal += static_cast<float>(random() % 65536) / 65536;
                }
                for (unsigned lane = 0; lane < 4; ++lane) {
                    texel[lane] += m_axes[axis][lane] * normal * (axis == 0 ? 4 : axis == 1 ? 1 : 0.25f);
                }
            }
        }
        setTexels(m_image, texels);
    }
};

double dot(const VectorFloat& a, const VectorFloat& b) {
    return double{a[0]} * b[0] + double{a[1]} * b[1] + double{a[2]} * b[2] + double{a[3]} * b[3];
}

TEST(Statistics, PcaFindsTheAxesOfARotatedCloud) {
    Cloud cloud;
    Configuration configuration;
    Madd fromPca, toPca;
    ASSERT_EQ(Raw::getPca(&cloud.m_image, &fromPca, &toPca, &configuration), Raw::kErrorNone);
    EXPECT_TRUE(configuration.m_decoderConfiguration.m_transform.isNop());
    for (unsigned i = 0; i < 3; ++i) {
        for (unsigned j = 0; j <= i; ++j) { // as exact as eight rounds in single precision make it
            EXPECT_NEAR(dot(fromPca.m_multiply[i], fromPca.m_multiply[j]), i == j, 1e-5) << i << j;
        }
        EXPECT_GT(std::abs(dot(fromPca.m_multiply[i], cloud.m_axes[i])), 0.99) << i;
    }
    for (const VectorFloat& texel : texelsOf(cloud.m_image)) {
        const VectorFloat there = apply(toPca, texel), back = apply(fromPca, there);
        for (unsigned lane = 0; lane < 4; ++lane) {
            ASSERT_NEAR(back[lane], texel[lane], 2e-5) << lane; // values of up to 30
        }
    }
}

TEST(Statistics, PcaOfOneValueHasNoAxes) {
    TestImage image(makeFloats(16, 16));
    setTexels(image, Texels(256, VectorFloat{{0.5f, -2, 0, 1}}));
    Configuration configuration;
    Madd fromPca, toPca;
    ASSERT_EQ(Raw::getPca(&image, &fromPca, &toPca, &configuration), Raw::kErrorNone);
    EXPECT_TRUE(fromPca.m_multiply == Raw::Matrix{} && toPca.m_multiply == Raw::Matrix{});
    EXPECT_TRUE(equal(fromPca.m_add, VectorFloat{{0.5f, -2, 0, 1}}) && dot(toPca.m_add, toPca.m_add) == 0);
}

TEST(Statistics, TheTransformIsGivenBackWhenAJobThrows) {
    Cloud cloud;
    for (int jobs = 0; jobs < 10; ++jobs) { // eight of them find axes
        int left = jobs;
        HookedManager manager([&left](const Raw::Job&) {
            if (left-- == 0) {
                throw std::runtime_error("no more jobs");
            }
        });
        Configuration configuration;
        configuration.m_jobManager = &manager;
        configuration.m_callbacksPerJob = 1;
        EXPECT_THROW(
            Raw::renormalize(&cloud.m_image, &cloud.m_image, &configuration, Raw::RenormalizationPca, 0.5f),
            std::runtime_error);
        EXPECT_TRUE(configuration.m_decoderConfiguration.m_transform.isNop()) << jobs;
    }
}

TEST(Statistics, ConstantChannelsAreMarked) {
    for (const Shape& shape : kShapes) {
        TestImage image(makeTexture(shape, formatNamed("R32G32B32A32Float")));
        Texels texels(image.bytes().size() / 16, VectorFloat{{0, 1, 0, 1}});
        texels.back()[2] = 0.5f;
        texels.front()[3] = 0;
        setTexels(image, texels);
        Configuration configuration;
        ASSERT_EQ(Raw::markConstantChannels(&image, &configuration), Raw::kErrorNone);
        EXPECT_EQ(selectsOf(image), "01ZW") << shape.m_name;
        EXPECT_TRUE(equal(decodedTexels(image).back(), texels.back())) << shape.m_name;
    }
}

// Two faces of a cube, one of 1 and one of 2 in X. The hidden ones hold what would change every measure.
TEST(Statistics, LeaveOutWhatTheViewHides) {
    Vex::Texture texture =
        makeTexture({"", Vex::kTextureTypeCubemap, 16, 16, 1, 2, 0, 0}, formatNamed("R32G32B32A32Float"));
    texture.setMipLevelRange(1, 1);
    texture.setArrayView(2, 3);
    TestImage image(texture), other(texture);
    Texels texels(image.bytes().size() / 16, VectorFloat{{-9, -9, -9, -9}});
    setTexels(image, texels);
    for (const unsigned face : {2u, 3u}) {
        const Raw::SurfaceIndex index = {0, 0, face, 1, 0, 0, 0};
        const auto surface = reinterpret_cast<VectorFloat*>(image.getMemoryRegion(&index).begin);
        std::fill_n(surface, 64, VectorFloat{{static_cast<float>(face) - 1, 1, 0, 0.5f}});
    }
    std::fill(texels.begin(), texels.end(), VectorFloat{{2, 1, 0, 0.5f}});
    setTexels(other, texels);
    inEveryWay(image, 7, [&](const auto& provider, Configuration& configuration) {
        Raw::MinMaxMean range;
        EXPECT_EQ(Raw::getMinMaxMean(&provider, &range, &configuration), Raw::kErrorNone);
        EXPECT_TRUE(range.count == 128 && range.Mean()[0] == 1.5f && range.min[1] == 1 && range.max[1] == 1);
        EXPECT_EQ(fastHistogramOf(provider, configuration).count, 128u);
        Madd fromPca, toPca;
        EXPECT_EQ(Raw::getPca(&provider, &fromPca, &toPca, &configuration), Raw::kErrorNone);
        EXPECT_TRUE(equal(fromPca.m_multiply[0], VectorFloat{{1, 0, 0, 0}}));
        VectorFloat mean;
        const Raw::StandardSquaredErrorCalculator standard;
        EXPECT_EQ(Raw::compare(&mean, &provider, &other, &configuration, &standard), Raw::kErrorNone);
        EXPECT_TRUE(equal(mean, VectorFloat{{0.5f, 0, 0, 0}}));
    });
    Configuration configuration;
    ASSERT_EQ(Raw::markConstantChannels(&image, &configuration), Raw::kErrorNone);
    EXPECT_EQ(selectsOf(image), "X10W");
    texture.setDataFormat(image.getDataFormat());
    EXPECT_TRUE(equal<Vex::Texture>(*image.getVexTexture(), texture)); // the view is kept
    texture.setArrayView(3, 2);
    TestImage nothing(texture);
    ASSERT_EQ(Raw::markConstantChannels(&nothing, &configuration), Raw::kErrorNone);
    EXPECT_EQ(nothing.getDataFormat(), image.getDataFormat());
}

// A constant stands for what is stored, before modifiers and transforms.
TEST(Statistics, ConstantChannelsAreThoseOfTheStoredValues) {
    TestImage image(makeFloats(8, 8));
    setTexels(image, Texels(64, VectorFloat{{0, 1, 0.5f, 0.5f}}));
    Raw::Modifiers modifiers;
    modifiers.m_decode.m_add = {{1, -1, 0.5f, 0}};
    image.setModifiers(modifiers);
    Configuration configuration;
    configuration.m_decoderConfiguration.m_transform.m_add = {{0, 0, 0, -0.5f}};
    ASSERT_EQ(Raw::markConstantChannels(&image, &configuration), Raw::kErrorNone);
    EXPECT_EQ(selectsOf(image), "01ZW");
}

// A NaN makes a mean that is no number, infinity a range: such channels stay, and the others are spread.
TEST(Statistics, RenormalizeKeepsChannelsThatAreNoNumbers) {
    for (const auto scheme : {Raw::RenormalizationChannels, Raw::RenormalizationPca}) {
        for (const float fraction : {1.0f, 0.9f}) {
            for (const bool shares : {false, true}) {
                TestImage image(makeFloats(8, 8)), destination(makeFlat("Bc3Unorm", 8, 8));
                Texels texels(64, VectorFloat{{1, NAN, 0, 4}});
                for (std::size_t i = 0; i < 32; ++i) {
                    texels[i] = {{3, 0, 0, 8}};
                }
                texels[7][2] = INFINITY;
                setTexels(image, texels);
                Configuration configuration;
                configuration.m_encoderConfiguration.m_renormalizeFlag = shares;
                Raw::renormalize(&image, &destination, &configuration, scheme, fraction);
                const Raw::Transform& decode = destination.getModifiers().m_decode;
                const Raw::Transform& encode = destination.getModifiers().m_encode;
                for (const unsigned lane : {1u, 2u}) {
                    EXPECT_TRUE(decode.m_multiply[lane][lane] == 1 && decode.m_add[lane] == 0);
                    EXPECT_TRUE(encode.m_multiply[lane][lane] == 1 && encode.m_add[lane] == 0);
                }
                if (fraction == 1.0f) {
                    EXPECT_TRUE(decode.m_multiply == Raw::MatrixScale({{2, 1, 1, 4}}) &&
                                equal(decode.m_add, VectorFloat{{1, 0, 0, 4}}));
                    EXPECT_TRUE(encode.m_multiply == Raw::MatrixScale({{0.5f, 1, 1, 0.25f}}) &&
                                equal(encode.m_add, VectorFloat{{-0.5f, 0, 0, -1}}));
                }
            }
        }
    }
    TestImage none(makeFloats(8, 8)), destination(makeFlat("R8G8B8A8Unorm", 8, 8));
    setTexels(none, Texels(64, VectorFloat{{NAN, NAN, NAN, NAN}})); // an inverted range
    Configuration configuration;
    Raw::renormalize(&none, &destination, &configuration, Raw::RenormalizationPca, 0.5f);
    EXPECT_TRUE(destination.getModifiers().m_decode.isNop() && destination.getModifiers().m_encode.isNop());
}

// Stored in eight bits after renormalisation, values come back within half a step of their range, and a
// little for the arithmetic.
TEST(Statistics, RenormalizedSurfacesKeepTheirValues) {
    Cloud cloud;
    const Texels texels = texelsOf(cloud.m_image);
    for (const char* format : {"R8G8B8A8Unorm", "R8G8B8A8Snorm"}) {
        for (const auto scheme : {Raw::RenormalizationChannels, Raw::RenormalizationPca}) {
            TestImage stored(makeFlat(format, 61, 50));
            Configuration configuration;
            Raw::renormalize(&cloud.m_image, &stored, &configuration, scheme, 1.0f);
            ASSERT_EQ(Raw::reformat(&cloud.m_image, &stored, &configuration), Raw::kErrorNone);
            const Texels back = decodedTexels(stored);
            double worst = 0;
            for (std::size_t i = 0; i < texels.size(); ++i) {
                for (unsigned lane = 0; lane < 4; ++lane) {
                    worst = std::max(worst, std::abs(double{back[i][lane]} - texels[i][lane]));
                }
            }
            EXPECT_LT(worst, 32.0 / 254) << format << ' ' << scheme; // the longest axis spans less than 32
        }
    }
}

TEST(Statistics, RenormalizeTrimsSharesAndLeavesAlone) {
    TestImage image(makeFloats(16, 16));
    Texels texels(256, VectorFloat{{0.5f, 0, 0, 0}});
    for (std::size_t i = 0; i < 256; ++i) {
        texels[i] = {{static_cast<float>(i) / 255, static_cast<float>(i) / 510, 0.25f, 3}};
    }
    setTexels(image, texels);
    Configuration configuration;
    const auto decodeOf = [&](const char* format, float fraction, Raw::RenormalizationScheme scheme) {
        TestImage destination(makeFlat(format, 16, 16));
        Raw::renormalize(&image, &destination, &configuration, scheme, fraction);
        return destination.getModifiers().m_decode;
    };
    EXPECT_TRUE(decodeOf("R8G8B8A8Unorm", 1, Raw::RenormalizationNone).isNop());
    EXPECT_TRUE(decodeOf("R16G16B16A16Float", 1, Raw::RenormalizationChannels).isNop());
    // Of one texel in each bin, 26 of 256 may go and the 27th passes the budget: 13 from the low end, 14 from
    // the high one, whose turn comes first.
    const Raw::Transform trimmed = decodeOf("R8G8B8A8Unorm", 0.9f, Raw::RenormalizationChannels);
    EXPECT_NEAR(trimmed.m_add[0], 13.0 / 255, 1e-6);
    EXPECT_NEAR(trimmed.m_multiply[0][0], 228.0 / 255, 1e-6);
    configuration.m_encoderConfiguration.m_renormalizeFlag = true;
    const Raw::Transform shared = decodeOf("Bc1Unorm", 1, Raw::RenormalizationChannels);
    EXPECT_NEAR(shared.m_multiply[1][1], 1, 1e-6);
    EXPECT_NEAR(shared.m_add[1], -0.25, 1e-6);
    EXPECT_NEAR(shared.m_add[2], -0.25, 1e-6);
    EXPECT_TRUE(shared.m_multiply[3][3] == 0 && shared.m_add[3] == 3);
    const Raw::Transform apart = decodeOf("Bc5Unorm", 1, Raw::RenormalizationChannels);
    EXPECT_NEAR(apart.m_multiply[1][1], 0.5, 1e-6);
}

TEST(Matrix, ProductsRotationsAndInversesAgree) {
    std::minstd_rand random(9);
    Raw::Matrix a, b;
    for (unsigned i = 0; i < 16; ++i) { // small whole numbers, so that all is exact
        a[i / 4][i % 4] = static_cast<float>(random() % 9) - 4;
        b[i / 4][i % 4] = static_cast<float>(random() % 9) - 4;
    }
    const VectorFloat v = {{1, -2, 3, 5}};
    const VectorFloat both = (a * b) * v, steps = b * (a * v);
    EXPECT_TRUE(equal(both, steps));
    EXPECT_TRUE(a * b == Raw::composeMadd({a, {}}, {b, {}}).m_multiply && a * b != b * a);
    EXPECT_TRUE(Raw::MatrixTranspose(a * b) == Raw::MatrixTranspose(b) * Raw::MatrixTranspose(a));
    const Raw::Matrix scaled = (a + b - b) * Raw::MatrixScale({{2, 2, 2, 2}});
    EXPECT_TRUE(scaled == a * 2.0f);
    const Raw::Matrix identity = a * Raw::MatrixInverse(a);
    for (unsigned i = 0; i < 16; ++i) {
        EXPECT_NEAR(identity[i / 4][i % 4], i / 4 == i % 4, 1e-5) << i;
    }
    // A quarter turn about Z takes X to Y, within the error of the approximate root.
    const VectorFloat turned = Raw::MatrixRotation({{0, 0, 3, 9}}, 1.5707964f) * VectorFloat{{1, 0, 0, 1}};
    EXPECT_NEAR(turned[0], 0, 2e-4);
    EXPECT_NEAR(turned[1], 1, 2e-4);
    EXPECT_TRUE(turned[2] == 0 && turned[3] == 1);
    // About the diagonal, a third of a turn takes X to Y to Z.
    const VectorFloat next = Raw::MatrixRotation({{1, 1, 1, 0}}, 2.0943952f) * VectorFloat{{1, 2, 4, 0}};
    EXPECT_NEAR(next[0], 4, 2e-3);
    EXPECT_NEAR(next[1], 1, 2e-3);
}

} // namespace
