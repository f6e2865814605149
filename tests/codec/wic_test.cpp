// The Windows Imaging Component as a codec, beside the tests that all codecs share.
#include "codec/wic_codec_windows.h"
#include "support/damaged_files.h"
#include "support/png_writer.h"
#include "support/surfaces.h"
#include "support/tiff_and_gif_writer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <thread>

#include <objbase.h>

namespace {

using namespace qor::Texsmith;
using namespace TestSupport;

Bytes saved(const Raw::Image& image, const char* extension) {
    Configuration configuration;
    Raw::AllocatedMemory file;
    EXPECT_EQ(Raw::saveWithResult(&image, &file, extension, &configuration), Raw::kErrorNone) << extension;
    return bytesOf(file);
}

void fillWithWaves(TestImage& image) {
    for (std::size_t i = 0; i < image.bytes().size(); ++i) {
        const double x = double(i / 4 % image.getPixelsWide(0)), y = double(i / 4 / image.getPixelsWide(0));
        image.bytes()[i] =
            i % 4 == 3 ? std::uint8_t{0}
                       : std::uint8_t(127.5 + 100 * std::sin(x * 0.11 + double(i % 4)) * std::cos(y * 0.07));
    }
}

int largestDifference(const Bytes& a, const Bytes& b) {
    EXPECT_EQ(a.size(), b.size());
    int largest = 0;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
        largest = std::max(largest, std::abs(a[i] - b[i]));
    }
    return largest;
}

// Steps of the coefficients are 2 to 12 at this quality, blue takes nearly twice the error of its channel,
// and Wine's component halves the colours.
TEST(Wic, KeepsJpegWithinWhatTheEyeSees) {
    TestImage image(makeFlat("R8G8B8A8Unorm", 83, 51));
    fillWithWaves(image);
    const Bytes file = saved(image, ".jpg");
    EXPECT_LE(largestDifference(loadFront(file, file.size(), ".jpg").m_texels, image.bytes()), 16);
}

// Decoders may differ by 1 in the transform and in the change of colours. Between the samples of halved
// colours one takes the nearest curve and the other a line: that is a quarter of their contrast here.
TEST(Wic, ReadsJpegAsOtherLibrariesDo) {
    const std::pair<std::string, int> pictures[] = {{"grey", 2}, {"progressive", 3}, {"halved", 24}};
    for (const auto& [name, largest] : pictures) {
        Configuration configuration;
        Raw::MemoryMappedImage jpeg, expected;
        const std::string root = TEXSMITH_SOURCE_DIR;
        ASSERT_EQ(Raw::loadWithResult(&jpeg, (root + "/fuzz/corpus/jpeg/" + name + ".jpg").c_str(),
                                      &configuration, 0),
                  Raw::kErrorNone);
        ASSERT_EQ(Raw::loadWithResult(&expected, (root + "/tests/golden/jpeg_" + name + ".dds").c_str(),
                                      &configuration, 0),
                  Raw::kErrorNone);
        EXPECT_EQ(jpeg.getDataFormat().getSurfaceFormat(), expected.getDataFormat().getSurfaceFormat());
        EXPECT_LE(largestDifference(bytesOf(jpeg), bytesOf(expected)), largest) << name;
    }
}

// Before the component sees them: sizes that the file cannot fill, and segments without a length.
TEST(Wic, LooksAtTheHeadersOfJpegFirst) {
    TestImage image(makeFlat("R8G8B8A8Unorm", 20, 30));
    const Bytes file = saved(image, ".jpg");
    const auto frame = std::search(file.begin(), file.end(), std::begin("\xFF\xC0"), std::end("\xFF\xC0") - 1,
                                   [](std::uint8_t a, char b) { return a == std::uint8_t(b); });
    ASSERT_NE(frame, file.end());
    for (const auto& [offset, value] : {std::pair{frame - file.begin() + 5, 0x3F}, {std::ptrdiff_t{5}, 0}}) {
        Bytes wrong = file;
        wrong[static_cast<std::size_t>(offset)] = static_cast<std::uint8_t>(value);
        wrong[static_cast<std::size_t>(offset) + 2] = static_cast<std::uint8_t>(value);
        const Outcome outcome = loadFront(wrong, wrong.size(), ".jpg");
        EXPECT_TRUE(outcome.m_error == Raw::kErrorFailed && outcome.m_texels.empty()) << offset;
        EXPECT_EQ(outcome.m_warnings, 1u) << offset;
    }
}

// An icon of two pictures, of which the first is read.
TEST(Wic, ReadsTheFirstPictureOfAnIcon) {
    const PngWriter picture{16, 16,    8,
                            6,  false, [](unsigned x, unsigned y, unsigned c) { return x * 9 + y * 3 + c; }};
    const Bytes png = picture.file();
    Bytes icon{0, 0, 1, 0, 1, 0, 16, 16, 0, 0, 1, 0, 32, 0};
    putLittle(icon, static_cast<std::uint32_t>(png.size()), 4);
    putLittle(icon, 22, 4);
    icon.insert(icon.end(), png.begin(), png.end());
    EXPECT_EQ(loadFront(icon, icon.size(), ".ico").m_texels, loadFront(png, png.size(), ".png").m_texels);
    const ReportRecorder recorder;
    Configuration configuration;
    Raw::AllocatedMemory file;
    const TestImage image(makeFlat("R8G8B8A8Unorm", 4, 4), 5);
    EXPECT_EQ(Raw::saveWithResult(&image, &file, ".ico", &configuration), Raw::kErrorWicFactory);
}

// Where the system has no such codec, the type is named as if the build had none.
TEST(Wic, KeepsJpegXrOrNamesIt) {
    const ReportRecorder recorder;
    TestImage image(makeFlat("R8G8B8A8Unorm", 32, 16), 5);
    Configuration configuration;
    Raw::AllocatedMemory file;
    const Raw::Error error = Raw::saveWithResult(&image, &file, ".jxr", &configuration);
    if (error != Raw::kErrorNone) {
        EXPECT_EQ(error, Raw::kErrorWicFactory);
        EXPECT_EQ(recorder.warnings().at(0).m_text, "There is no codec for files of type '.WDP' here.");
        return;
    }
    const Bytes bytes = bytesOf(file);
    EXPECT_EQ(loadFront(bytes, bytes.size(), ".jxr").m_texels, image.bytes());
}

// Threads that have no apartment, or one of another kind, come out as they went in; files and what is made of
// them leave nothing behind, and neither do failures.
TEST(Wic, LeavesThreadsAndObjectsAsTheyWere) {
    const TestImage image(makeFlat("R8G8B8A8Unorm", 20, 30), 5);
    const auto work = [&image] {
        for (const char* extension : {".png", ".tif", ".gif", ".jpg"}) {
            const Bytes file = saved(image, extension);
            EXPECT_FALSE(loadFront(file, file.size(), extension).m_texels.empty()) << extension;
            loadFront(file, file.size() / 3, extension);
            loadFront(file, file.size() / 3, extension, ReportRecorder::kThrow);
            loadFront(Bytes(40), 40, extension);
        }
    };
    for (const DWORD apartment : {COINIT_MULTITHREADED, COINIT_APARTMENTTHREADED}) {
        std::thread([&] {
            EXPECT_EQ(CoInitializeEx(nullptr, apartment), S_OK);
            work();
            CoUninitialize();
            EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK); // nothing was left initialised
            CoUninitialize();
        }).join();
    }
    std::thread(work).join();
    EXPECT_EQ(Raw::countLeakedWicReferences(), 0u);
}

} // namespace
