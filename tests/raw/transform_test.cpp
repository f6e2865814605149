#include "qor/texsmith/raw/transform.h"
#include "support/bit_patterns.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <tuple>

namespace qor::Texsmith::Raw {
namespace {

// X goes to Y and so on: rows and columns give different answers.
constexpr Madd kAsymmetric = {{{{{0, 1, 0, 0}}, {{0, 0, 2, 0}}, {{0, 0, 0, 4}}, {{8, 0, 0, 1}}}},
                              {{1, 2, 3, 4}}};

void expectEqual(const VectorFloat& expected, const VectorFloat& actual) {
    EXPECT_EQ(0, std::memcmp(&expected, &actual, sizeof expected))
        << actual[0] << " " << actual[1] << " " << actual[2] << " " << actual[3];
}

void expectEqual(const Madd& expected, const Madd& actual) {
    for (unsigned row = 0; row < 4; ++row) {
        expectEqual(expected.m_multiply[row], actual.m_multiply[row]);
    }
    expectEqual(expected.m_add, actual.m_add);
}

Transform withPower(float x, float y, float z, float w) {
    Transform transform;
    transform.Init();
    transform.m_power = {{x, y, z, w}};
    return transform;
}

TEST(Transform, MatrixAndPowerComeInTheirOrder) {
    Transform transform;
    transform.Init(kAsymmetric);
    VectorFloat decoded = {{1, 10, 100, 1000}};
    transform.Decode(&decoded, 1);
    expectEqual({{8001, 3, 23, 1404}}, decoded);
    transform.m_power = {{2, 2, 2, 2}};
    Tile tiles[2] = {};
    Block blocks[2] = {};
    tiles[0].m_texels[63] = blocks[0].m_texels[15] = {{1, -1, 2, 0}};
    tiles[1] = tiles[0];
    blocks[1] = blocks[0];
    transform.Decode(&tiles[0]);
    transform.Decode(&blocks[0]);
    transform.Encode(&tiles[1]);
    transform.Encode(&blocks[1]);
    for (const unsigned way : {0u, 1u}) {
        const VectorFloat expected = way == 0 ? VectorFloat{{1, 3, 5, 20}} : VectorFloat{{1, 9, 1, 144}};
        expectEqual(expected, tiles[way].m_texels[63]);
        expectEqual(expected, blocks[way].m_texels[15]);
    }
}

TEST(Transform, SumsRunFromXToWAndThenTheAdd) {
    Transform transform;
    transform.Init();
    transform.m_multiply = {
        {{{1e8f, 1, 1, 1}}, {{1, 1e8f, 1, 1}}, {{-1e8f, -1e8f, 1, 1}}, {{1, 1, 1e8f, 1}}}};
    transform.m_add = {{0, 0, -1e8f, 0.5f}};
    VectorFloat texel = {{1, 1, 1, 1}};
    transform.Decode(&texel, 1);
    expectEqual({{1, 1, 0, 4.5f}}, texel);
}

TEST(Transform, PowersAreTheSameBitsOnEveryMachine) {
    // clang-format off
    const std::tuple<float, float, std::uint32_t> kVectors[] = {
        {0.5f, 2.2f, 0x3E5EDC66}, {0.18f, 2.2f, 0x3CBC5C3D}, {0.75f, 0.45454547f, 0x3F609EE1},
        {1.0f, 2.2f, 0x3F800000}, {0.003921569f, 0.45454547f, 0x3DA4FC80}, {3.7f, 1.5f, 0x40E3BF38},
        {0.0f, 0.5f, 0x1FB504EF}, {2.0f, 128.0f, 0x7F800000}, {2.0f, 129.0f, 0x80000000},
        {100.0f, -1.25f, 0x3B4F3E39}, {2.0f, -0.5f, 0x3F3504F3}};
    // clang-format on
    for (const auto& [value, power, bits] : kVectors) {
        VectorFloat texel = {{value, value, value, 0.2f}};
        withPower(power, power, power, 1).Encode(&texel, 1); // one lane keeps all from the short ways
        expectEqual(
            {{TestSupport::floatOf(bits), TestSupport::floatOf(bits), TestSupport::floatOf(bits), 0.2f}},
            texel);
    }
    VectorFloat texel = {{2, 3, 0.5f, 0}};
    withPower(0.5f, 0.5f, 0.5f, 0.5f).Decode(&texel, 1);
    expectEqual({{1.41421354f, 1.73205078f, 0.707106769f, 0}}, texel);
}

TEST(Transform, KnowsWhenItDoesNothing) {
    Modifiers modifiers;
    EXPECT_TRUE(modifiers.m_decode.isNop() && modifiers.m_encode.isNop());
    EXPECT_FALSE(withPower(1, 1, 1, 2).isNop());
    for (unsigned i = 0; i < 20; ++i) {
        Madd madd;
        madd.Init();
        EXPECT_TRUE(madd.isNop());
        (i < 16 ? madd.m_multiply[i / 4][i % 4] : madd.m_add[i - 16]) = 3;
        EXPECT_FALSE(madd.isNop()) << i;
    }
}

TEST(Modifiers, AppendAndPrependMirrorEachOther) {
    Madd doubled;
    doubled.Init();
    doubled.m_multiply[0][0] = 2;
    doubled.m_add = {{0, 0, 0, 5}};
    Transform steps[3];
    steps[0].Init(kAsymmetric);
    steps[1].Init(doubled);
    steps[2].Init(composeMadd(kAsymmetric, doubled));
    VectorFloat apart = {{1, 2, 3, 4}}, together = apart;
    steps[0].Decode(&apart, 1);
    steps[1].Decode(&apart, 1);
    steps[2].Decode(&together, 1);
    expectEqual(apart, together);
    Modifiers modifiers;
    modifiers.appendMadd(kAsymmetric);
    modifiers.appendMadd(doubled);
    expectEqual(composeMadd(kAsymmetric, doubled), modifiers.m_decode);
    expectEqual(composeMadd(doubled, kAsymmetric), modifiers.m_encode);
    modifiers = Modifiers();
    modifiers.prependMadd(kAsymmetric);
    modifiers.prependMadd(doubled);
    expectEqual(composeMadd(doubled, kAsymmetric), modifiers.m_decode);
    expectEqual(composeMadd(kAsymmetric, doubled), modifiers.m_encode);
    modifiers.appendPower({{2, 3, 4, 5}});
    modifiers.prependPower({{2, 2, 2, 3}});
    expectEqual({{4, 6, 8, 15}}, modifiers.m_decode.m_power);
    expectEqual({{4, 6, 8, 15}}, modifiers.m_encode.m_power);
}

TEST(Madd, RangesMapLaneByLane) {
    Transform transform;
    const MinMax from = {{{-1, 0, 2, 7}}, {{1, 4, 6, 7}}}, to = {{{10, -1, 0, 3}}, {{20, 1, 0, 4}}};
    VectorFloat texel = {{1, 1, 2, 99}};
    transform.Init(maddFromRange(from));
    transform.Decode(&texel, 1);
    expectEqual({{1, 0.25f, 0, 0}}, texel);
    texel = {{0, 4, 3, 99}};
    transform.Init(maddFromRangeToRange(from, to));
    transform.Decode(&texel, 1);
    expectEqual({{15, 1, 0, 3}}, texel);
}

} // namespace
} // namespace qor::Texsmith::Raw
