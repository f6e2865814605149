#include "raw/surface_walk.h"
#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

namespace {

using namespace TestSupport;

class Counted : public Raw::ElementProvider {
public:
    explicit Counted(const Vex::Texture& texture) { setupAsVexTexture(&texture); }
};

std::vector<Raw::SurfaceIndex> surfacesInOrder(const Vex::Texture& texture, const Shape& shape) {
    const bool volume = shape.m_type == Vex::kTextureType3d;
    const unsigned faces = shape.m_type == Vex::kTextureTypeCubemap ? 6 : 1;
    std::vector<Raw::SurfaceIndex> surfaces;
    for (unsigned mip = 0; mip < shape.m_mips; ++mip) {
        for (unsigned entry = 0; entry < (volume ? 1 : shape.m_depth); ++entry) {
            for (unsigned face = 0; face < faces; ++face) {
                for (unsigned depth = 0; depth < Raw::getDepthOfMip(texture, mip); ++depth) {
                    for (unsigned fragment = 0; fragment < 1u << shape.m_log2Fragments; ++fragment) {
                        surfaces.push_back({0, entry, face, mip, depth, fragment, 0});
                    }
                }
            }
        }
    }
    return surfaces;
}

bool equal(const Raw::SurfaceIndex& a, const Raw::SurfaceIndex& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

TEST(Surfaces, AreNumberedWithTheMipOutermost) {
    for (const Shape& shape : kShapes) {
        SCOPED_TRACE(shape.m_name);
        const Counted provider(makeTexture(shape, formatNamed("R8Unorm")));
        const auto expected = surfacesInOrder(provider.getTexture(), shape);
        const int count = Raw::getNumberOfSurfaces(&provider);
        ASSERT_EQ(static_cast<std::size_t>(count), expected.size());
        Raw::SurfaceWalk walk(provider.getSurfaceCount(), provider.getTexture());
        for (int i = 0; i < count; ++i, walk.advance()) {
            Raw::SurfaceIndex index;
            Raw::getSurfaceIndexFromSurfaceNumber(&index, &provider, i);
            EXPECT_TRUE(equal(index, expected[static_cast<std::size_t>(i)])) << i;
            EXPECT_TRUE(!walk.atEnd() && equal(walk.index(), index)) << i;
        }
        EXPECT_TRUE(walk.atEnd());
        for (const int outside : {-1, count, count + 1000}) {
            Raw::SurfaceIndex untouched{1, 2, 3, 4, 5, 6, 7};
            Raw::getSurfaceIndexFromSurfaceNumber(&untouched, &provider, outside);
            EXPECT_EQ(untouched.depth, 5u);
        }
    }
    EXPECT_EQ(Raw::getNumberOfSurfaces(
                  std::make_unique<Counted>(
                      makeTexture({"", Vex::kTextureType3d, 8, 8, 8, 4, 0}, formatNamed("R8Unorm")))
                      .get()),
              15);
    EXPECT_TRUE(equal(Raw::SurfaceIndex{0, 1, 2, 3, 4, 5, 6}.getNext(), {1, 2, 3, 4, 5, 6, 7}));
}

TEST(ChangeDataFormat, KeepsTheShapeAndTheStatedFieldsOnly) {
    for (const Shape& shape : kShapes) {
        for (const char* name : {"Invalid", "R32G32B32Float", "Bc1Unorm"}) {
            SCOPED_TRACE(std::string(shape.m_name) + " " + name);
            Vex::Texture texture = makeTexture(shape, formatNamed("R8Unorm"));
            texture.setMipLevelRange(shape.m_mips - 1, shape.m_mips - 1);
            texture.setMinLodClamp(0xABC);
            texture.m_regs[6] = (texture.m_regs[6] & ~0xFFFFFu) | 0x54321;
            const Vex::Texture plain = texture;
            texture.setArrayView(1, 1);
            texture.setPitchMinus1(99);
            texture.setResourceMemoryType(Vex::kResourceMemoryTypePrivate);
            const Vex::Texture changed = Raw::changeDataFormat(texture, formatNamed(name));
            EXPECT_TRUE(Raw::dimensionsAreIdentical(changed, plain));
            EXPECT_EQ(changed.getDataFormat(), formatNamed(name));
            EXPECT_EQ(Raw::SurfaceCount(changed), Raw::SurfaceCount(plain));
            EXPECT_EQ(changed.getMinLodClamp(), 0xABCu);
            EXPECT_EQ(changed.m_regs[6] & 0xFFFFF, 0x54321u);
            EXPECT_EQ(changed.getResourceMemoryType(), Vex::kResourceMemoryTypeReadOnly);
            EXPECT_NE(changed.getPitch(), 100u);
            EXPECT_TRUE(Raw::dimensionsAreIdentical(Raw::changeDataFormat(changed, {0xFAC00A}), plain));
        }
    }
    Vex::Texture unknown = makeFlat("R8Unorm", 4, 4);
    unknown.setTextureType(Vex::TextureType(3));
    EXPECT_TRUE(isZero(Raw::changeDataFormat(unknown, formatNamed("R8Uint"))));
}

TEST(ChangeChannelType, ReplacesFourBitsOfTheFormatOnly) {
    Raw::Texture texture;
    static_cast<Vex::Texture&>(texture) = makeFlat("B8G8R8A8Unorm", 5, 6);
    const Vex::Texture changed = Raw::changeChannelType(texture, Vex::kTextureChannelTypeSrgb);
    EXPECT_EQ(changed.getDataFormat(), formatNamed("B8G8R8A8UnormSrgb"));
    texture.setTextureChannelType(Vex::kTextureChannelTypeSrgb);
    EXPECT_EQ(std::memcmp(&texture, &changed, sizeof changed), 0);
}

TEST(Pitches, FollowTheRowOfTheFormat) {
    struct Case {
        const char* m_name;
        unsigned m_block, m_tile;
    };
    for (const Case& c : {Case{"Invalid", 0, 0}, Case{"R8Unorm", 4, 8}, Case{"R32G32B32Float", 48, 96},
                          Case{"Bc1Unorm", 8, 16}, Case{"Bc7Unorm", 16, 32}, Case{"G8B8G8R8Unorm", 0, 0}}) {
        EXPECT_EQ(Raw::getBlockPitchInBytes(formatNamed(c.m_name)), c.m_block) << c.m_name;
        EXPECT_EQ(Raw::getTilePitchInBytes(formatNamed(c.m_name)), c.m_tile) << c.m_name;
    }
    const ReportRecorder reports;
    EXPECT_EQ(Raw::getTilePitchInBytes({0xFAC000 + 59}), 0u);
    EXPECT_EQ(reports.texts(), "surfaceFormat is 59, but must be between 0 and 58\n");
    EXPECT_EQ(reports.assertions()[0].m_file, "raw/texture");
}

TEST(Comparisons, AddToEachOther) {
    struct Case {
        const char* m_name;
        void (*m_change)(Vex::Texture&);
        int m_holding; // of the five comparisons, the first so many hold
    };
    const Case cases[] = {
        {"type", [](Vex::Texture& t) { t.setTextureType(Vex::kTextureType2d); }, 0},
        {"width", [](Vex::Texture& t) { t.setWidthMinus1(3); }, 0},
        {"height", [](Vex::Texture& t) { t.setHeightMinus1(3); }, 0},
        {"depth", [](Vex::Texture& t) { t.setDepthMinus1(3); }, 0},
        {"base slice", [](Vex::Texture& t) { t.setArrayView(1, 0); }, 0},
        {"last slice", [](Vex::Texture& t) { t.setArrayView(0, 1); }, 0},
        {"base mip", [](Vex::Texture& t) { t.setMipLevelRange(1, 2); }, 1},
        {"last mip", [](Vex::Texture& t) { t.setMipLevelRange(0, 3); }, 1},
        {"format", [](Vex::Texture& t) { t.setDataFormat({0xFAC00B}); }, 2},
        {"channel type", [](Vex::Texture& t) { t.setDataFormat({0xFAC10A}); }, 3},
        {"swizzle", [](Vex::Texture& t) { t.setDataFormat({0xF2E00A}); }, 3},
        {"nothing seen",
         [](Vex::Texture& t) {
             t.setPitchMinus1(77);
             t.setTileMode(Vex::kTileModeThin_2dThin);
             t.setResourceMemoryType(Vex::kResourceMemoryTypePrivate);
         },
         5},
    };
    const Vex::Texture a = makeFlat("R8G8B8A8Unorm", 9, 9, 3);
    const Counted providerA(a);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.m_name);
        Vex::Texture b = a;
        c.m_change(b);
        Counted providerB(b);
        EXPECT_EQ(Raw::dimensionsAreIdenticalExceptMips(a, b), c.m_holding > 0);
        EXPECT_EQ(Raw::dimensionsAreIdenticalExceptMips(&providerA, &providerB), c.m_holding > 0);
        EXPECT_EQ(Raw::dimensionsAreIdentical(a, b), c.m_holding > 1);
        EXPECT_EQ(Raw::dimensionsAreIdentical(&providerA, &providerB), c.m_holding > 1);
        EXPECT_EQ(Raw::dimensionsAndSurfaceFormatAreIdentical(a, b), c.m_holding > 2);
        EXPECT_EQ(Raw::dimensionsAndSurfaceFormatAreIdentical(&providerA, &providerB), c.m_holding > 2);
        EXPECT_EQ(Raw::dimensionsAndFormatAreIdentical(&providerA, &providerB), c.m_holding > 3);
        EXPECT_EQ(Raw::areBitwiseComparableForEquality(&providerA, &providerB), c.m_holding > 4);
        Raw::Modifiers modifiers;
        modifiers.m_encode.m_power[3] = 2.0f;
        providerB.setModifiers(modifiers);
        EXPECT_FALSE(Raw::areBitwiseComparableForEquality(&providerA, &providerB));
    }
    const ReportRecorder reports;
    EXPECT_FALSE(Raw::dimensionsAreIdentical(static_cast<const Raw::ElementProvider*>(nullptr), nullptr));
    EXPECT_EQ(reports.texts(), "a must not be NULL.\nb must not be NULL.\n");
}

} // namespace
