#include "qor/texsmith/texsmith.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <string>

namespace {

namespace Raw = qor::Texsmith::Raw;
namespace Vex = qor::Vex;
namespace Json = Raw::Json;
namespace Types = Raw::ReflectedTypes;
using Raw::Reflection::Converter;

std::string toText(const Converter& converter, void* data) {
    Json::Node node(Raw::g_mallocAllocator);
    converter.toJson(&node, data);
    std::string text(2048, '\0');
    Json::Writer writer;
    writer.init(text.data(), 2048);
    Json::write(&node, &writer);
    text.resize(writer.offset());
    return text;
}

void fromText(const Converter& converter, void* data, std::string text) {
    Json::Node node(Raw::g_mallocAllocator);
    Json::Reader reader;
    reader.init(text.data(), static_cast<unsigned>(text.size()), Raw::g_mallocAllocator);
    Json::read(&node, &reader);
    converter.fromJson(data, &node);
}

template <typename Descriptor> void expectRoundTrips(const Converter& converter, const std::uint32_t* kept) {
    std::mt19937 random(1);
    ASSERT_EQ(converter.size(), sizeof(Descriptor));
    for (unsigned round = 0; round < 500; ++round) {
        std::uint32_t words[sizeof(Descriptor) / 4], read[sizeof(Descriptor) / 4] = {};
        for (std::uint32_t& word : words) {
            word = static_cast<std::uint32_t>(random());
        }
        fromText(converter, read, toText(converter, words));
        for (unsigned i = 0; i < std::size(words); ++i) {
            ASSERT_EQ(read[i], words[i] & kept[i]) << i << toText(converter, words);
        }
    }
}

TEST(ReflectedTypes, DescriptorsSurviveTheirText) {
    constexpr std::uint32_t kFormat[] = {0xFFFFFF};
    constexpr std::uint32_t kBuffer[] = {0, 0x3FFF0000, 0xFFFFFFFF, 0x1FFFFFFF};
    constexpr std::uint32_t kTexture[] = {0,          0x3FFFFF00, 0x0FFFFFFF, 0xF1FFFFFF,
                                          0x1FFFFFFF, 0x03FFFFFF, 0x07F00000, 0};
    expectRoundTrips<Vex::DataFormat>(Types::g_vexDataFormat, kFormat);
    expectRoundTrips<Vex::Buffer>(Types::g_vexBuffer, kBuffer);
    expectRoundTrips<Vex::Texture>(Types::g_vexTexture, kTexture);
}

TEST(ReflectedTypes, WritesFormatsOnOneLineAndNamesThem) {
    Vex::DataFormat format = Vex::kDataFormatR8G8B8A8Unorm;
    EXPECT_EQ(toText(Types::g_vexDataFormat, &format),
              "{\"SurfaceFormat\" : \"8_8_8_8\", \"ChannelType\" : \"UNorm\", \"X\" : \"X\", \"Y\" : \"Y\", "
              "\"Z\" : \"Z\", \"W\" : \"W\"}");
    Raw::Configuration configuration;
    Vex::DataFormat named = Vex::kDataFormatR8G8B8A8Unorm;
    EXPECT_EQ(
        Raw::makeDataFormat(&named, "{'channeltype':'srgb', 'X':'z', 'Y':7, 'other':1}", &configuration), 0);
    EXPECT_EQ(named.m_word, 0xFBE90Au);
    for (int i = 0; i < Raw::getNamedDataFormatCount(); ++i) {
        Vex::DataFormat original = Raw::getNamedDataFormat(i).m_dataFormat;
        EXPECT_EQ(
            Raw::makeDataFormat(&named, toText(Types::g_vexDataFormat, &original).c_str(), &configuration),
            0);
        EXPECT_EQ(named.m_word, original.m_word);
    }
    const unsigned kMembers[] = {47, 13, 6, 27, 8, 5, 5, 4, 35};
    const Raw::Reflection::EnumConverter* const kEnums[] = {
        &Types::g_vexSurfaceFormat, &Types::g_vexTextureChannelType, &Types::g_vexTextureChannel,
        &Types::g_vexTileMode,      &Types::g_vexTextureType,        &Types::g_vexResourceMemoryType,
        &Types::g_vexNumSamples,    &Types::g_vexNumFragments,       &Types::g_propertyName};
    for (unsigned i = 0; i < std::size(kEnums); ++i) {
        EXPECT_EQ(kEnums[i]->getMembers(), kMembers[i]) << i;
    }
    EXPECT_EQ(Types::g_vexTileMode.nameToValue("thick_2dxthick"), unsigned{Vex::kTileModeThick_2dXThick});
    EXPECT_EQ(Types::g_vexTileMode.nameToValue("thick"), 0xFFFFFFFF);
    EXPECT_STREQ(Types::g_vexSurfaceFormat.valueToName(15), "");
}

TEST(Reflection, ConvertsNumbersByTheirLowBytes) {
    struct Case {
        const Converter& m_converter;
        const char* m_text;
        const char* m_written;
    };
    using namespace Raw::Reflection;
    const Case kCases[] = {
        {g_int8Converter, "-1", "255"},
        {g_int32Converter, "-1", "4294967295.000000"},
        {g_int64Converter, "-1.9", "-1"},
        {g_uint16Converter, "65537.9", "1"},
        {g_uint64Converter, "99999999999999999999.5", "1661992959"}, // digits wrap
        {g_floatConverter, "0.1", "0.100000"},
        {Types::g_vexTextureType, "'3D'", "\"3d\""},
        {Types::g_vexTextureType, "77", "77"},
        {Types::g_vexTextureType, "true", "\"2d\""}, // left as it was
        {Types::g_vexTextureType, "'what'", "\"2d\""},
    };
    for (const Case& c : kCases) {
        std::uint64_t word = 9;
        fromText(c.m_converter, &word, c.m_text);
        EXPECT_EQ(toText(c.m_converter, &word), c.m_written) << c.m_text;
    }
    Json::Node node(Raw::g_mallocAllocator);
    for (const double out : {1e300, -1e300, double{NAN}}) {
        std::uint64_t word = 0;
        node.copyFromNumber(out);
        g_int64Converter.fromJson(&word, &node);
        EXPECT_EQ(word, 0x8000000000000000);
    }
}

TEST(Reflection, PatchesStructuresAndArrays) {
    constexpr Raw::Reflection::ArrayConverter kFour(&Raw::Reflection::g_uint8Converter, 4);
    std::uint8_t bytes[] = {1, 2, 3, 4, 5};
    fromText(kFour, bytes, "[9, 8]");
    fromText(kFour, bytes + 1, "[7, 6, 5, 4, 3, 2]");
    EXPECT_EQ(0, std::memcmp(bytes, "\x09\x07\x06\x05\x04", 5));

    EXPECT_EQ(toText(kFour, bytes), "[\r\n    9, \r\n    7, \r\n    6, \r\n    5\r\n]");

    Raw::Modifiers modifiers;
    fromText(Types::g_gpuFormatModifiers, &modifiers,
             "{'Encode':{'Power':{'Y':3}, 'MADD':{'Add':{'w':-2}, 'Mul':{'Z':{'X':5}}}}}");
    EXPECT_EQ(modifiers.m_decode.m_power[1], 3.0f); // both names mean the decode transform
    EXPECT_EQ(modifiers.m_decode.m_add[3], -2.0f);
    EXPECT_EQ(modifiers.m_decode.m_multiply[2][0], 5.0f);
    EXPECT_TRUE(modifiers.m_encode.isNop());
    const std::string text = toText(Types::g_gpuFormatTransform, &modifiers);
    EXPECT_EQ(
        text.find(
            "{\r\n    \"Madd\" : {\r\n        \"Mul\" : {\r\n            \"X\" : {\"X\" : 1, \"Y\" : 0"),
        0u)
        << text;
    Raw::Transform back = {};
    fromText(Types::g_gpuFormatTransform, &back, text);
    EXPECT_EQ(0, std::memcmp(&back, &modifiers.m_decode, sizeof back));
}

} // namespace
