#include "support/counting_heap.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using namespace qor::Texsmith::Raw;
using TestSupport::ReportRecorder;

const std::string kMark = "\xEF\xBB\xBF";

MemoryRegion regionOf(std::string& text) {
    MemoryRegion region;
    region.build(text.data(), static_cast<unsigned>(text.size()));
    return region;
}

std::string readAll(File& file) {
    std::string all;
    for (int c = file.getCharacter(); c >= 0; c = file.getCharacter()) {
        all += static_cast<char>(c);
    }
    return all;
}

TEST(File, TextModeSkipsTheMarkAndJoinsLineEnds) {
    const struct {
        std::string m_contents;
        File::Mode m_mode;
        std::string m_read;
    } kCases[] = {
        {"a\r\nb\r\r\nc\r", File::kModeText, "a\nb\r\nc\r"},
        {"a\r\nb", File::kModeBinary, "a\r\nb"},
        {kMark + "x", File::kModeText, "x"},
        {kMark + "x", File::kModeBinary, kMark + "x"},
        {kMark, File::kModeText, ""},
        {"\xEF\xBB", File::kModeText, "\xEF\xBB"},
        {"", File::kModeText, ""},
    };
    for (auto c : kCases) {
        MemoryRegion region = regionOf(c.m_contents);
        File file;
        file.open(&region, c.m_mode);
        EXPECT_EQ(readAll(file), c.m_read);
        file.reset();
        EXPECT_EQ(readAll(file), c.m_read);
    }
}

TEST(File, SeeksWithinTheContents) {
    std::string text = kMark + "0123456";
    MemoryRegion region = regionOf(text);
    File file;
    file.open(&region, File::kModeText);
    const struct {
        std::int64_t m_offset;
        File::Origin m_origin;
        std::int64_t m_position;
    } kCases[] = {{0, File::kOriginStart, 3},
                  {1, File::kOriginStart, 1},
                  {4, File::kOriginCurrent, 5},
                  {INT64_MAX, File::kOriginCurrent, 10},
                  {-2, File::kOriginEnd, 8},
                  {INT64_MAX, File::kOriginEnd, 10},
                  {INT64_MIN, File::kOriginCurrent, 3},
                  {INT64_MIN, File::kOriginEnd, 3}};
    for (const auto& c : kCases) {
        file.seek(c.m_offset, c.m_origin);
        EXPECT_EQ(file.position(), c.m_position) << c.m_offset << " " << c.m_origin;
    }
}

TEST(File, FgetsReadsLines) {
    std::string text = "ab\r\nlonger\n\nend";
    MemoryRegion region = regionOf(text);
    File file;
    file.open(&region, File::kModeText);
    char buffer[5];
    EXPECT_EQ(fgets(buffer, 0, &file), nullptr);
    EXPECT_EQ(std::string(fgets(buffer, 1, &file)), "");
    for (const char* expected : {"ab\n", "long", "er\n", "\n", "end"}) {
        ASSERT_EQ(fgets(buffer, sizeof buffer, &file), buffer);
        EXPECT_EQ(std::string(buffer), expected);
    }
    EXPECT_EQ(fgets(buffer, sizeof buffer, &file), nullptr);
}

TEST(File, AFixedRegionCutsWrites) {
    std::string text = "........";
    MemoryRegion region = regionOf(text);
    File file;
    file.open(&region, File::kModeBinary);
    EXPECT_EQ(file.write("abcdef", 2, 3), 6u);
    EXPECT_EQ(file.write("ghij", 1, 4), 2u);
    EXPECT_EQ(file.write("k", 1, 1), 0u);
    file.seek(2, File::kOriginStart);
    EXPECT_EQ(file.write("k", UINT64_MAX / 2, 3), 0u); // a product beyond 64 bits
    EXPECT_EQ(file.write("CD", 1, 2), 2u);
    EXPECT_EQ(text, "abCDefgh");
}

TEST(File, AResizableRegionGrowsInStepsAndLosesTheSlack) {
    TestSupport::CountingHeap heap;
    heap.m_limit = 16384;
    AllocatedMemory memory(heap.allocator());
    File file;
    file.open(&memory, File::kModeText);
    fprintf(&file, "%s %d\n", "line", 1);
    EXPECT_EQ(memory.length(), 8192u);
    const std::string block(8186, 'b');
    EXPECT_EQ(file.write(block.data(), 1, block.size()), block.size());
    EXPECT_EQ(memory.length(), 16384u);
    fprintf(&file, "%s", std::string(2000, 'c').c_str()); // formats at most 1023 bytes
    file.close();
    EXPECT_EQ(std::string(memory.begin, memory.end), "line 1\n" + block + std::string(1023, 'c'));

    file.open(&memory, File::kModeBinary);
    file.seek(0, File::kOriginEnd);
    const ReportRecorder recorder;
    EXPECT_EQ(file.write(block.data(), 1, block.size()), 0u); // the region fails to grow, and stays
    EXPECT_EQ(file.size(), 9216);
    EXPECT_EQ(recorder.assertions().size(), 1u);
}

TEST(File, WritesBytesOfItsOwnRegionThatMoves) {
    AllocatedMemory memory;
    memory.resize(8192);
    std::memset(memory.begin, 'a', 8192);
    File file;
    file.open(&memory, File::kModeBinary);
    file.seek(0, File::kOriginEnd);
    EXPECT_EQ(file.write(memory.begin + 92, 1, 8100), 8100u);
    file.close();
    EXPECT_EQ(std::string(memory.begin, memory.end), std::string(16292, 'a'));
}

TEST(File, ReportsMisuse) {
    const ReportRecorder recorder;
    File* const none = nullptr;
    File file;
    file.close();
    char buffer[4];
    EXPECT_EQ(fgets(nullptr, 4, none), nullptr);
    fprintf(none, "%s", "x");
    fprintf(&file, nullptr);
    EXPECT_EQ(file.write("x", 1, 1), 0u); // never opened
    EXPECT_EQ(fgets(buffer, 4, &file), nullptr);
    EXPECT_EQ(recorder.texts(), "File can't be closed if it was never opened.\nbuffer must not be NULL.\n"
                                "file must not be NULL.\nfile must not be NULL.\nformat must not be NULL.\n");
}

} // namespace
