// Blocks through whole surfaces: runs of blocks beside the steps of a tile, the cache, and groups of blocks.
#include "platform/platform.h"
#include "raw/blocks/bc1_group.h"
#include "raw/blocks/block_cache.h"
#include "raw/blocks/block_encoders.h"
#include "raw/configuration/external_compressor.h"
#include "raw/rows/block_row_conversion.h"
#include "raw/rows/steps.h"
#include "support/report_recorder.h"
#include "support/surfaces.h"
#include "support/temporary_file.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <system_error>

namespace {

using namespace TestSupport;
using namespace qor::Texsmith;
using Bytes = std::vector<std::uint8_t>;

class StripsOnly final : public TestImage {
public:
    using TestImage::TestImage;

private:
    const std::type_info* doGetRowsClass() const override { return &typeid(StripsOnly); }
    Raw::ElementRows doGetElementRows(const Index*) const override { return {}; }
    bool doGetStrip(const Index* index, const Raw::ElementRows& strip, unsigned x,
                    unsigned y) const override {
        for (unsigned row = 0; row < strip.m_tall; ++row) {
            std::memcpy(strip.row(row), at(index, x, y, row), strip.m_wide * getBytesPerElement());
        }
        return true;
    }
    bool doPutStrip(const Index* index, const Raw::ElementRows& strip, unsigned x,
                    unsigned y) const override {
        for (unsigned row = 0; row < strip.m_tall; ++row) {
            std::memcpy(at(index, x, y, row), strip.row(row), strip.m_wide * getBytesPerElement());
        }
        return true;
    }
    std::uint8_t* at(const Index* index, unsigned x, unsigned y, unsigned row) const {
        const unsigned line = y * getElementsPerTileTall() + row;
        const unsigned element = line * getElementsWide(index->mip) + x * getElementsPerTileWide();
        return getMemoryRegion(index).begin + element * getBytesPerElement();
    }
};

std::atomic<unsigned> g_encoded = 0;
void countAndEncode(const Raw::ExternalSurface* source, std::uint8_t* destination) {
    ++g_encoded;
    for (int i = 0; i < 8; ++i) {
        destination[i] = source->m_texels[i * 5 + i / 4 * source->m_pitch % 13];
    }
}
const Raw::ExternalCompressor kCounting = {&countAndEncode, nullptr, {}, {}, {}, nullptr};

template <typename Provider>
Bytes reformatted(TestImage& pixels, const Vex::Texture& to, Raw::Configuration& configuration) {
    Provider source(pixels.getTexture()), destination(to);
    source.setModifiers(pixels.getModifiers());
    source.bytes() = pixels.bytes();
    source.resize(pixels.bytes().size());
    EXPECT_EQ(Raw::reformat(&source, &destination, &configuration), Raw::kErrorNone);
    return destination.bytes();
}

TEST(BlockRows, GiveWhatTheStepsOfATileGive) {
    const char* const partners[] = {"R8G8B8A8Unorm",     "B8G8R8X8Unorm",     "R8G8B8A8UnormSrgb",
                                    "R8G8B8A8Snorm",     "R16G16B16A16Float", "R16G16B16X16Float",
                                    "B16G16R16A16Float", "L8A8Unorm",         "R8G8B8A8Uint",
                                    "Bc1UnormNoAlpha",   "Bc3UnormRABG",      "Bc5Snorm"};
    unsigned pairs = 0;
    for (int i = 0; i < Raw::getNamedDataFormatCount(); ++i) {
        const Raw::NamedDataFormat blocks = Raw::getNamedDataFormat(i);
        const unsigned number = blocks.m_dataFormat.getSurfaceFormat();
        if (number < Vex::kSurfaceFormatBc1 || number > Vex::kSurfaceFormatBc7) {
            continue;
        }
        for (const char* partner : partners) {
            const unsigned variant = pairs++ % 4; // plain twice as often
            Raw::Configuration configuration = onThisThread();
            Raw::Modifiers modifiers;
            modifiers.m_decode.m_add[1] = variant == 1 ? 0.25f : 0.0f;
            configuration.m_encoderConfiguration.m_externalCompressor = variant == 2 ? &kCounting : nullptr;
            for (const bool compresses : {true, false}) {
                if (compresses &&
                    Raw::getSurfaceFormatInfo(blocks.m_dataFormat.getSurfaceFormat()).encodeTile == nullptr) {
                    continue;
                }
                const char *from = compresses ? partner : blocks.m_name,
                           *to = compresses ? blocks.m_name : partner;
                for (const auto& [width, height] : {std::pair{8u, 8u}, {17u, 9u}, {283u, 8u}}) {
                    TestImage source(makeFlat(from, width, height), width + pairs);
                    source.setModifiers(modifiers);
                    const Vex::Texture result = makeFlat(to, width, height);
                    const Bytes expected = reformatted<ImageByTiles>(source, result, configuration);
                    EXPECT_TRUE(expected == reformatted<TestImage>(source, result, configuration) &&
                                expected == reformatted<StripsOnly>(source, result, configuration))
                        << from << " to " << to << ", " << width << ", " << variant;
                    EXPECT_TRUE(Raw::BlockRowConversion(Raw::stepsBetween<Raw::TileConversion>(
                                                            source, TestImage(result), configuration))
                                    .isUsable());
                }
            }
        }
    }
    EXPECT_EQ(pairs, 21 * std::size(partners));
}

// Two array entries with two mips each, so that records and the walk differ in order.
Vex::Texture makeArray(const char* format) {
    return makeTexture({"", Vex::kTextureType2dArray, 24, 12, 2, 2, 0, 0}, formatNamed(format));
}
constexpr unsigned kRecords = 2 * (6 * 3 + 3 * 2), kSourceBytes = 64, kResultBytes = 9;

class ReformatCached : public testing::Test {
protected:
    ReformatCached() { m_configuration.m_encoderConfiguration.m_externalCompressor = &kCounting; }
    // How many blocks it took.
    unsigned run(const std::string& state) {
        m_file = Raw::BlockCache::fileName(bytesOf(state), static_cast<std::uint32_t>(state.size()));
        std::fill(m_destination.bytes().begin(), m_destination.bytes().end(), std::uint8_t{0xEE});
        g_encoded = 0;
        EXPECT_EQ(Raw::reformatCached(&m_source, &m_destination, &m_configuration, bytesOf(state),
                                      static_cast<int>(state.size())),
                  0);
        const unsigned encoded = g_encoded;
        TestImage plain(m_destination.getTexture());
        EXPECT_EQ(Raw::reformatCrunchy(&m_source, &plain, &m_configuration, 0, 0), Raw::kErrorNone);
        EXPECT_EQ(m_destination.bytes(), plain.bytes());
        return encoded;
    }
    void TearDown() override { removeFile(); }
    void removeFile() const { Platform::deleteFile(m_file.c_str()); }
    Bytes file() const {
        std::ifstream stream(m_file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    static const unsigned char* bytesOf(const std::string& state) {
        return reinterpret_cast<const unsigned char*>(state.data());
    }

    // Behind pointers, since the destructors of providers may throw.
    const std::unique_ptr<TestImage> m_images[2] = {
        std::make_unique<TestImage>(makeArray("R8G8B8A8Unorm"), 3),
        std::make_unique<TestImage>(makeArray("Bc1UnormNoAlpha"))};
    TestImage &m_source = *m_images[0], &m_destination = *m_images[1];
    Raw::Configuration m_configuration;
    std::string m_file;
};

TEST_F(ReformatCached, NamesItsFileByTheDigestOfTheState) {
    char directory[4096];
    ASSERT_TRUE(Platform::getTemporaryDirectory(directory, sizeof directory));
    EXPECT_EQ(Raw::BlockCache::fileName(bytesOf("abc"), 3),
              std::string(directory) + "9A99E363746018A6ABE3521787052CC6C90D8DD9");
}

TEST_F(ReformatCached, EncodesOnlyWhatItHasNotSeen) {
    const std::string state = "a state longer than the header " + std::to_string(Platform::getProcessId());
    removeFile();
    EXPECT_EQ(run(state), kRecords);
    EXPECT_EQ(run(state), 0u);
    const auto begin = static_cast<std::ptrdiff_t>(state.size());
    const Bytes bytes = file();
    ASSERT_EQ(bytes.size(), (kSourceBytes + kResultBytes) * kRecords + 16 + state.size());
    EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 13),
              (Bytes{0xFE, 0xCA, 0xAD, 0xDE, kSourceBytes, 0, 0, 0, kResultBytes, 0, 0, 0,
                     static_cast<std::uint8_t>(state.size())}));
    // The last surface: the second array entry's mip 1, whose first block is six records from the end.
    Raw::Block block = {};
    Index index = {};
    index.arrayEntry = index.mip = 1;
    m_source.getBlock(&index, &block, 0, 0);
    EXPECT_EQ(0, std::memcmp(&block, bytes.data() + begin + (kRecords - 6) * kSourceBytes, kSourceBytes));
    m_source.bytes()[100] ^= 1;
    EXPECT_EQ(run(state), 1u);
    EXPECT_EQ(run(state), 0u);
    std::fstream(m_file, std::ios::binary | std::ios::in | std::ios::out).put('\xFF'); // of the magic
    EXPECT_EQ(run(state), kRecords);
    EXPECT_EQ(run(state), 0u);
    volatile unsigned abort = 1;
    m_configuration.m_abort = &abort;
    EXPECT_NE(Raw::reformatCached(&m_source, &m_destination, &m_configuration, bytesOf(state),
                                  static_cast<int>(state.size())),
              0);
    m_configuration.m_abort = nullptr;
    EXPECT_EQ(run(state), kRecords); // a run that was cut short is not believed
    const ReportRecorder recorder;
    EXPECT_NE(Raw::reformatCached(&m_source, &m_destination, &m_configuration, bytesOf(state), -1), 0);
    EXPECT_EQ(recorder.texts(), "Assertion 'stateLength >= 0' failed.\n");
}

// Records lie over what a short state leaves of the header: the next run believes it only where they fit.
TEST_F(ReformatCached, TakesStatesOfAnyLength) {
    const std::string name = "texsmith " + std::to_string(Platform::getProcessId()) + "..........";
    for (const auto& [length, first, again] :
         {std::tuple{0u, 1, kRecords}, {15u, 0, 0u}, {15u, 1, kRecords}, {16u, 1, 0u}, {17u, 1, 0u}}) {
        m_source.bytes()[0] = static_cast<std::uint8_t>(first);
        const std::string state = name.substr(0, length);
        m_file = Raw::BlockCache::fileName(bytesOf(state), length);
        removeFile();
        EXPECT_EQ(run(state), kRecords) << length;
        EXPECT_EQ(run(state), again) << length;
        EXPECT_EQ(file().size(), (kSourceBytes + kResultBytes) * kRecords + 16 + length);
        removeFile();
    }
}

// Who comes second goes without the cache, and must not cut the file that the first one has mapped.
TEST_F(ReformatCached, LeavesTheFileToWhoeverHasIt) {
    const std::string state = "a state that two share " + std::to_string(Platform::getProcessId());
    EXPECT_EQ(run(state), kRecords);
    {
        const Raw::MemoryMappedFile first(m_file.c_str(), Raw::kPermissionsReadWrite,
                                          m_configuration.m_allocator);
        const ReportRecorder recorder;
        EXPECT_EQ(run(state), kRecords);
        EXPECT_FALSE(recorder.empty());
        const TestImage small(makeFlat("R8G8B8A8Unorm", 4, 4), 1);
        TestImage result(makeFlat("Bc1Unorm", 4, 4));
        EXPECT_EQ(Raw::reformatCached(&small, &result, &m_configuration, bytesOf(state),
                                      static_cast<int>(state.size())),
                  0);
        EXPECT_EQ(file().size(), (kSourceBytes + kResultBytes) * kRecords + 16 + state.size());
    }
    EXPECT_EQ(run(state), 0u);
}

// Another user may have put one there, to have a file of this user overwritten.
TEST_F(ReformatCached, FollowsNoLink) {
    const std::string state = "a state behind a link " + std::to_string(Platform::getProcessId());
    m_file = Raw::BlockCache::fileName(bytesOf(state), static_cast<std::uint32_t>(state.size()));
    const TestSupport::TemporaryFile other("not a cache");
    std::error_code error;
    std::filesystem::create_symlink(std::filesystem::u8path(other.name()), m_file, error);
    if (error) {
        GTEST_SKIP() << error.message();
    }
    const ReportRecorder recorder;
    EXPECT_EQ(run(state), kRecords);
    EXPECT_EQ(recorder.assertions().size(), 1u);
    EXPECT_EQ(other.read(), "not a cache");
}

// Block (x, y) of a picture of bytes as floats; false outside.
bool appendBlock(std::vector<ColorRGBA32F>* list, const TestImage& image, unsigned mip, unsigned x,
                 unsigned y) {
    if (x >= image.getBlocksWide(mip) || y >= image.getBlocksTall(mip)) {
        return false;
    }
    Index index = {};
    index.mip = mip;
    Raw::Block raw = {};
    image.getBlock(&index, &raw, x, y);
    std::uint8_t bytes[64];
    std::memcpy(bytes, &raw, sizeof bytes);
    const auto unit = [&](unsigned i) { return static_cast<float>(bytes[i]) * (1.0f / 255.0f); };
    for (unsigned i = 0; i < 64; i += 4) {
        list->push_back({unit(i), unit(i + 1), unit(i + 2), 1.0f});
    }
    return true;
}

struct Place {
    unsigned m_mip, m_x, m_y;
};

TEST(ReformatMipCrunchy, GivesTheBlocksOfAGroupOnePairOfEndpoints) {
    Raw::Configuration configuration;
    for (const auto& [down, across] :
         {std::pair{1u, 1u}, {1u, 2u}, {2u, 1u}, {3u, 1u}, {1u, 3u}, {2u, 2u}, {1u, 4u}}) {
        const TestImage source(makeFlat("R8G8B8A8Unorm", 52, 60, 3), 5); // 13 x 15 blocks, 7 x 8 in mip 1
        TestImage result(makeFlat("Bc1UnormNoAlpha", 52, 60, 3)), plain(result.getTexture());
        Bytes expected(result.bytes().size(), 0xEE);
        std::fill(result.bytes().begin(), result.bytes().end(), std::uint8_t{0xEE});
        ASSERT_EQ(Raw::reformatCrunchy(&source, &plain, &configuration, down, across), Raw::kErrorNone);
        const std::size_t mip1 = 13 * 15 * 8, mip2 = mip1 + 7 * 8 * 8;
        std::copy(plain.bytes().begin() + mip2, plain.bytes().end(), expected.begin() + mip2);
        for (unsigned group = 0; group < (8 / down) * (7 / across); ++group) {
            const unsigned top = group / (7 / across) * down, left = group % (7 / across) * across;
            std::vector<ColorRGBA32F> list;
            std::vector<Place> places;
            for (unsigned i = 0; i < down * across; ++i) {
                const unsigned x = left + i % across, y = top + i / across;
                for (const Place place : {Place{1, x, y},
                                          {1, x, y},
                                          {0, 2 * x, 2 * y},
                                          {0, 2 * x + 1, 2 * y},
                                          {0, 2 * x, 2 * y + 1},
                                          {0, 2 * x + 1, 2 * y + 1}}) {
                    if (appendBlock(&list, source, place.m_mip, place.m_x, place.m_y)) {
                        places.push_back(place);
                    }
                }
            }
            Raw::Bc1GroupResult shared = {};
            Raw::encodeBc1Group(&shared, list.data(), static_cast<unsigned>(places.size()));
            for (std::size_t i = 0; i < places.size(); ++i) {
                const auto [mip, x, y] = places[i];
                std::uint8_t* block =
                    expected.data() + (mip == 0 ? (y * 13 + x) * 8 : mip1 + (y * 7 + x) * 8);
                std::memcpy(block, &shared, 4);
                std::memcpy(block + 4, &shared.indices[i], 4);
            }
        }
        ASSERT_EQ(Raw::reformatMipCrunchy(&source, &result, &configuration, down, across), Raw::kErrorNone);
        EXPECT_EQ(result.bytes(), expected) << down << " x " << across;
    }
}

TEST(ReformatMipCrunchy, FailsForGroupsThatDoNotFitAndLeavesIndicesOfFormatsWithAlphaZero) {
    Raw::Configuration configuration;
    const TestImage source(makeFlat("R8G8B8A8Unorm", 8, 8, 2), 5), single(makeFlat("R8G8B8A8Unorm", 8, 8), 5);
    TestImage result(makeFlat("Bc1Unorm", 8, 8, 2)), singleResult(makeFlat("Bc1Unorm", 8, 8));
    for (const auto& [a, b] : {std::pair{0u, 1u}, {1u, 0u}, {5u, 1u}, {3u, 2u}, {0x80000000u, 2u}}) {
        const ReportRecorder recorder;
        EXPECT_EQ(Raw::reformatMipCrunchy(&source, &result, &configuration, a, b), Raw::kErrorFailed);
        EXPECT_EQ(recorder.texts(), "Assertion 'a * b >= 1 && a * b <= 4' failed.\n");
    }
    EXPECT_EQ(result.bytes(), Bytes(40, 0));
    EXPECT_EQ(Raw::reformatMipCrunchy(&source, &result, &configuration, 1, 1), Raw::kErrorNone);
    for (unsigned block = 1; block < 5; ++block) {
        EXPECT_EQ(0, std::memcmp(&result.bytes()[0], &result.bytes()[8 * block], 4));
    }
    EXPECT_EQ(Bytes(result.bytes().begin() + 36, result.bytes().end()), Bytes(4, 0)); // the second of mip 1
    const ReportRecorder recorder;
    EXPECT_EQ(Raw::reformatMipCrunchy(&single, &singleResult, &configuration, 1, 1), Raw::kErrorFailed);
    TestImage notBc1(makeFlat("Bc3Unorm", 8, 8, 2));
    EXPECT_EQ(Raw::reformatMipCrunchy(&source, &notBc1, &configuration, 1, 1), Raw::kErrorFailed);
    EXPECT_EQ(notBc1.bytes(), Bytes(notBc1.bytes().size(), 0));
    EXPECT_EQ(recorder.texts(), "mip parameter must be smaller than number of mips.\n"
                                "Assertion 'destination is BC1' failed.\n");
}

TEST(BlockJobs, TheNumberOfCallbacksChangesNothing) {
    const TestImage source(makeFlat("R8G8B8A8UnormSrgb", 150, 87, 4), 9);
    for (const char* format : {"Bc1UnormSrgb", "Bc1UnormSrgbNoAlpha", "Bc3Unorm", "Bc5Snorm"}) {
        for (const auto convert : {+[](const Provider*from, Provider*to, Raw::Configuration*configuration) {
                                       return Raw::reformat(from, to, configuration);
                                   },
                                   +[](const Provider*from, Provider*to, Raw::Configuration*configuration) {
                                       return Raw::reformatCrunchy(from, to, configuration, 1, 1);
                                   },
                                   +[](const Provider*from, Provider*to, Raw::Configuration*configuration) {
                                       return Raw::reformatMipCrunchy(from, to, configuration, 1, 2);
                                   }}) {
            const ReportRecorder reports; // of groups that are not BC1
            TestImage one(makeFlat(format, 150, 87, 4)), many(one.getTexture());
            Raw::Configuration configuration;
            const Raw::Error error = convert(&source, &many, &configuration);
            ASSERT_EQ(error, reports.empty() ? Raw::kErrorNone : Raw::kErrorFailed);
            configuration.m_callbacksPerJob = 1;
            ASSERT_EQ(convert(&source, &one, &configuration), error);
            EXPECT_EQ(one.bytes(), many.bytes()) << format;
        }
    }
}

} // namespace
