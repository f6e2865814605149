// What becomes of numbers on the roads of the tool: every pair of a source's meaning and a destination's
// kind. Results are read by the library, as they are stored.
#include "platform/platform.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

namespace fs = std::filesystem;
using namespace qor;
using namespace qor::Texsmith;
using namespace qor::Texsmith::Raw;
using namespace TestSupport;

constexpr unsigned kSize = 64; // 256 squares of 4 x 4 texels, of which square i holds i / 255 in red
double valueAt(unsigned x, unsigned y) { return (y / 4 * 16 + x / 4) / 255.0; }

double encoded(double v) { return v <= 0.0031308 ? v * 12.92 : 1.055 * std::pow(v, 1 / 2.4) - 0.055; }
double decoded(double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); }
double same(double v) { return v; }

class Colour : public testing::Test {
protected:
    void SetUp() override {
        m_folder =
            fs::temp_directory_path() / ("texsmith-colour-" + std::to_string(Platform::getProcessId()));
        fs::create_directory(m_folder);
        fs::current_path(m_folder);
        write("said.png", "R8G8B8A8UnormSrgb", 255);
        write("silent.tga", "B8G8R8A8Unorm", 255);
        write("silent.png", "R8G8B8A8Unorm", 255);
        write("deep.png", "R16G16B16A16Unorm", 65535);
        write("light.pfm", "R32G32B32X32Float", 0);
    }
    void TearDown() override {
        fs::current_path(fs::temp_directory_path());
        fs::remove_all(m_folder);
    }

    static Configuration configuration() {
        Configuration configuration;
        configuration.m_readingOptions = kReadKindly;
        return configuration;
    }

    // Red, green, blue and alpha differ. `most` is 0 for floats.
    static void write(const char* name, const char* format, unsigned most) {
        TestImage image(makeFlat(format, kSize, kSize));
        for (unsigned i = 0; i < kSize * kSize; ++i) {
            const double red = valueAt(i % kSize, i / kSize);
            const double channels[] = {red, 1 - red, std::fmod(red * 7, 1.0), most != 0 ? 1 - red / 2 : 0};
            for (unsigned channel = 0; channel < 4; ++channel) {
                const unsigned place = format[0] == 'B' && channel < 3 ? 2 - channel : channel;
                const unsigned bytes = image.getBytesPerElement() / 4;
                const auto number = static_cast<std::uint32_t>(std::lround(channels[channel] * most));
                const auto real = static_cast<float>(channels[channel]);
                std::memcpy(&image.bytes()[(i * 4 + place) * bytes],
                            most != 0 ? static_cast<const void*>(&number) : &real, bytes);
            }
        }
        Configuration writing = configuration();
        ASSERT_EQ(saveWithResult(&image, name, &writing), kErrorNone);
    }

    // Returns what was said.
    static std::string run(const std::string& arguments) {
        std::string tool = TEXSMITH_TOOL_PATH;
        const bool onWindows = fs::path::preferred_separator == '\\';
        std::replace(tool.begin(), tool.end(), '/', static_cast<char>(fs::path::preferred_separator));
        const std::string command = "\"" + tool + "\" " + arguments + " 2>said.txt";
        EXPECT_EQ(std::system((onWindows ? '"' + command + '"' : command).c_str()), 0) << arguments;
        std::ifstream stream("said.txt");
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    static FileDescription described(const std::string& name) {
        FileDescription description;
        const Configuration reading = configuration();
        const MemoryMappedFile file(name.c_str(), kPermissionsReadOnly, g_mallocAllocator);
        EXPECT_EQ(describeFile(&description, &file, name.c_str(), &reading, 0), kErrorNone) << name;
        return description;
    }

    // The stored numbers of the first surface of a mip, as floats.
    static std::vector<float> numbersIn(const std::string& name, unsigned mip = 0) {
        MemoryMappedImage image, floats;
        Configuration reading = configuration();
        reading.m_decoderConfiguration.m_srgbAsLinear = true;
        EXPECT_EQ(loadWithResult(&image, name.c_str(), &reading, 0), kErrorNone);
        SurfaceIndex index;
        index.mip = mip;
        const AsSurfaceElementProvider surface(&image, &index);
        reallocate(&floats, &surface, formatNamed("R32G32B32A32Float"));
        EXPECT_EQ(reformat(&surface, &floats, &reading), kErrorNone);
        std::vector<float> numbers(floats.getBytesTotal() / sizeof(float));
        std::memcpy(numbers.data(), floats.getMemoryRegion().begin, numbers.size() * sizeof(float));
        return numbers;
    }

    fs::path m_folder;
};

TEST_F(Colour, EveryRoadGivesTheNumbersOfTheTable) {
    struct Case {
        const char* m_arguments; // the destination stands last
        double (*m_expected)(double);
        FileTransfer m_said;
        const char* m_hint; // a part of it, or null for none
    };
    constexpr auto kSaysSrgb = kFileTransferSrgb, kSaysLinear = kFileTransferLinear;
    constexpr auto kSaysNothing = kFileTransferUnstated;
    const char* const kForSrgb = "they are taken for sRGB";
    const char* const kForData = "they are taken for data";
    const char* const kKept = "sRGB numbers are kept as they are in";
    const char* const kEncodes = "linear numbers are encoded for";
    const char* const kOdd = "its rows are read from the bottom up";
    const Case kCases[] = {
        // the source means sRGB
        {"said.png --format R8G8B8A8UnormSrgb a.dds", same, kSaysSrgb, nullptr},
        {"said.png --format Bc3UnormSrgb a.vxf", same, kSaysSrgb, nullptr},
        {"said.png --format Bc7UnormSrgb a.dds", same, kSaysSrgb, nullptr},
        {"said.png a.vxf", same, kSaysSrgb, nullptr},
        {"said.png a.dds", same, kSaysSrgb, nullptr},
        {"said.png a.tga", same, kSaysNothing, nullptr},
        {"said.png a.bmp", same, kSaysNothing, nullptr},
        {"said.png --format R8G8B8A8Unorm a.vxf", same, kSaysLinear, kKept},
        {"said.png --format Bc2Unorm a.dds", same, kSaysNothing, kKept},
        {"said.png --format Bc5Unorm a.vxf", same, kSaysLinear, kKept},
        {"said.png --format Bc7Unorm a.vxf", same, kSaysLinear, kKept},
        {"said.png --format R16G16B16A16Float a.vxf", decoded, kSaysLinear, nullptr},
        {"said.png --format Bc6Uf16 a.vxf", decoded, kSaysLinear, nullptr},
        {"said.png a.hdr", decoded, kSaysLinear, nullptr},
        {"said.png a.pfm", decoded, kSaysLinear, nullptr},
        {"deep.png --transfer srgb --format R8G8B8A8UnormSrgb a.vxf", same, kSaysSrgb, nullptr},
        // it says nothing
        {"silent.tga --format R8G8B8A8UnormSrgb a.vxf", same, kSaysSrgb, kForSrgb},
        {"silent.tga a.png", same, kSaysSrgb, nullptr},
        {"silent.tga --format R8G8B8A8Unorm a.vxf", same, kSaysLinear, nullptr},
        {"silent.tga a.vxf", same, kSaysLinear, nullptr},
        {"silent.tga --format R16G16B16A16Float a.vxf", same, kSaysLinear, kForData},
        {"silent.tga a.hdr", same, kSaysLinear, kForData},
        // linear, of floats
        {"light.pfm --format R8G8B8A8UnormSrgb a.vxf", encoded, kSaysSrgb, kOdd},
        {"light.pfm --format Bc3UnormSrgb a.vxf", encoded, kSaysSrgb, kOdd},
        {"light.pfm a.png", encoded, kSaysSrgb, kOdd},
        {"light.pfm a.tga", encoded, kSaysNothing, kOdd},
        {"light.pfm a.bmp", encoded, kSaysNothing, kOdd},
        {"light.pfm --format Bc1UnormNoAlpha a.vxf", same, kSaysLinear, kOdd},
        {"light.pfm --format Bc6Uf16 a.vxf", same, kSaysLinear, kOdd},
        {"light.pfm a.hdr", same, kSaysLinear, kOdd},
        // linear, of integers
        {"silent.tga --data --format R8G8B8A8UnormSrgb a.vxf", encoded, kSaysSrgb, kEncodes},
        {"deep.png --data --format Bc7UnormSrgb a.vxf", encoded, kSaysSrgb, kEncodes},
        {"said.png --data a.tga", same, kSaysNothing, nullptr},
        {"silent.tga --data a.png", same, kSaysNothing, nullptr},
        {"silent.tga --transfer linear --format Bc3Unorm a.vxf", same, kSaysLinear, nullptr},
        {"deep.png --data a.pfm", same, kSaysLinear, nullptr},
        // asked for
        {"said.png --transfer-out linear a.tga", decoded, kSaysNothing, nullptr},
        {"said.png --transfer-out linear a.dds", decoded, kSaysNothing, nullptr},
        {"said.png --transfer-out linear --format Bc7Unorm a.vxf", decoded, kSaysLinear, nullptr},
        {"said.png --transfer-out srgb --format R16G16B16A16Float a.vxf", same, kSaysLinear, nullptr},
        {"light.pfm --transfer-out linear a.png", same, kSaysNothing, kOdd},
        {"light.pfm --transfer-out srgb --format Bc5Unorm a.vxf", encoded, kSaysLinear, kOdd},
        {"silent.tga --data --transfer-out srgb a.vxf", encoded, kSaysSrgb, nullptr},
        {"silent.tga --literal --transfer srgb a.pfm", decoded, kSaysLinear, nullptr},
    };
    for (const Case& testCase : kCases) {
        SCOPED_TRACE(testCase.m_arguments);
        const std::string arguments = testCase.m_arguments;
        const std::string name = arguments.substr(arguments.rfind(' ') + 1);
        const std::string said = run("convert -v " + arguments);
        const bool saysNothing = said.empty() || said == "texsmith: hint: its alpha is lost\n";
        EXPECT_TRUE(testCase.m_hint != nullptr ? said.find(testCase.m_hint) != said.npos : saysNothing)
            << said;
        EXPECT_EQ(described(name).m_transfer, testCase.m_said);
        const bool turns = arguments.find("--literal") != arguments.npos; // a PFM of the other order
        const std::vector<float> numbers = numbersIn(name);
        ASSERT_EQ(numbers.size(), kSize * kSize * 4);
        double sum = 0;
        for (unsigned i = 0; i < kSize * kSize; ++i) {
            const unsigned y = turns ? kSize - 1 - i / kSize : i / kSize;
            const double error = std::abs(numbers[i * 4] - testCase.m_expected(valueAt(i % kSize, y)));
            ASSERT_LT(error, 0.05) << i;
            sum += error;
        }
        EXPECT_LT(sum / (kSize * kSize), 0.01);
    }
}

std::string bytesOf(const std::string& name) {
    std::ifstream stream(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST_F(Colour, BytesArePreservedWhereNothingAsksForAChange) {
    const auto pass = [](std::string from, std::initializer_list<const char*> road) {
        for (const char* to : road) {
            run("convert -q " + from + " " + to);
            from = std::string(to).substr(std::string(to).rfind(' ') + 1);
        }
    };
    Configuration reading = configuration();
    pass("silent.png", {"--format R8G8B8A8UnormSrgb 1.dds", "2.vxf", "3.dds", "4.png"});
    EXPECT_EQ(areBitwiseEqual("silent.png", "4.png", &reading), 0);
    EXPECT_EQ(bytesOf("4.png"), bytesOf("said.png"));
    pass("said.png", {"1.vxf", "2.dds", "3.vxf", "4.png"});
    EXPECT_EQ(bytesOf("4.png"), bytesOf("said.png"));
    pass("silent.png", {"--data 1.vxf", "2.tga", "--data 3.dds", "4.bmp", "5.tga", "--data 6.png"});
    EXPECT_EQ(bytesOf("6.png"), bytesOf("silent.png"));
    pass("deep.png", {"1.vxf", "2.dds", "--data 3.png"});
    EXPECT_EQ(bytesOf("3.png"), bytesOf("deep.png"));
}

TEST_F(Colour, AveragesAreMadeInLightWhereTheSourceMeansSrgb) {
    TestImage board(makeFlat("R8G8B8A8UnormSrgb", 8, 8));
    for (std::size_t i = 0; i < board.bytes().size(); ++i) {
        board.bytes()[i] = i % 4 == 3 || (i / 4 + i / 32) % 2 != 0 ? 255 : 0;
    }
    Configuration writing;
    ASSERT_EQ(saveWithResult(&board, "board.png", &writing), kErrorNone);
    const struct {
        const char* m_arguments;
        unsigned m_mip;
        double m_average;
    } kCases[] = {
        {"board.png --mips --format R8G8B8A8UnormSrgb a.dds", 1, 188},
        {"board.png --mips --format R8G8B8A8Unorm a.vxf", 1, 188},
        {"board.png --mips --format Bc1UnormNoAlpha a.vxf", 1, 188},
        {"board.png --data --mips --format R8G8B8A8Unorm a.vxf", 1, 127.5},
        {"board.png --resize 4x4 --filter box a.tga", 0, 188},
        {"board.png --resize 4x4 --filter box --data a.tga", 0, 127.5},
        {"board.png --mips --format R32G32B32A32Float a.vxf", 1, 127.5}, // light
    };
    for (const auto& row : kCases) {
        const std::string arguments = row.m_arguments;
        run("convert -q " + arguments);
        const auto numbers = numbersIn(arguments.substr(arguments.rfind(' ') + 1), row.m_mip);
        EXPECT_NEAR(numbers.at(0) * 255, row.m_average, 3) << arguments;
    }
}

TEST_F(Colour, WhatCostsQualityIsHintedAt) {
    EXPECT_NE(run("convert -v said.png --format Bc4Unorm a.vxf").find("keeps red alone"), std::string::npos);
    EXPECT_NE(run("convert -v light.pfm --format Bc1UnormSrgb a.vxf").find("pick Bc1UnormSrgbNoAlpha"),
              std::string::npos);
    EXPECT_NE(run("convert -v said.png --resize 30x30 --format Bc3UnormSrgb a.vxf").find("no multiple of 4"),
              std::string::npos);
}

} // namespace
